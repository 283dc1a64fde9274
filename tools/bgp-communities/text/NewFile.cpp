#include "NewFile.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

#include <fcntl.h>
#include <unistd.h>

#include "Output.h"

namespace BgpCommunities {

namespace {

/// Returns false and sets `errno` on error.
bool writeAll(int fd, std::string_view content) {
    while (!content.empty()) {
        ssize_t const written = ::write(fd, content.data(), content.size());
        if (written < 0 && errno != EINTR) {
            return false;
        }
        content.remove_prefix(written < 0 ? 0 : static_cast<std::size_t>(written));
    }
    return ::fsync(fd) == 0;
}

} // namespace

void replaceFile(std::string const& name, std::string_view content) {
    std::string const aside = name + ".new";
    int const fd = ::open(aside.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC | O_NOFOLLOW,
                          0666); // less the umask
    bool written = fd >= 0 && writeAll(fd, content);
    int error = errno;
    if (fd >= 0 && ::close(fd) != 0 && written) {
        written = false;
        error = errno;
    }
    if (written && std::rename(aside.c_str(), name.c_str()) != 0) {
        written = false;
        error = errno;
    }
    if (!written) {
        if (fd >= 0) {
            ::unlink(aside.c_str());
        }
        throw OutputError(name + ": not written: " + std::strerror(error));
    }
}

} // namespace BgpCommunities
