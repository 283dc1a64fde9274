#include <Mox/Assert.h>

#include <cstdio>
#include <cstdlib>
#include <unistd.h>

namespace Mox {

void assertionFailed(char const* file, int line, char const* function, char const* text) noexcept {
    char buffer[1024];
    int const wanted = std::snprintf(buffer, sizeof buffer, "%s:%d: %s: Assertion '%s' failed.\n",
                                     file, line, function, text);
    if (wanted > 0) {
        auto const length = static_cast<std::size_t>(wanted) < sizeof buffer
                                ? static_cast<std::size_t>(wanted)
                                : sizeof buffer - 1;
        // Nothing to report a failed write to: the process is about to abort.
        [[maybe_unused]] auto const written = ::write(STDERR_FILENO, buffer, length);
    }
    std::abort();
}

} // namespace Mox
