#include "Output.h"

#include <cerrno>
#include <cstring>
#include <mutex>
#include <string_view>

#include <unistd.h>

namespace BgpCommunities {

void Output::flush() {
    static std::mutex writing;
    std::lock_guard const lock(writing);
    std::string_view left = text_;
    while (!left.empty()) {
        ssize_t const written = ::write(STDOUT_FILENO, left.data(), left.size());
        if (written >= 0) {
            left.remove_prefix(static_cast<std::size_t>(written));
        } else if (errno == EPIPE) {
            throw BrokenPipe();
        } else if (errno != EINTR) {
            throw OutputError(std::string("standard output: ") + std::strerror(errno));
        }
    }
    text_.clear();
}

} // namespace BgpCommunities
