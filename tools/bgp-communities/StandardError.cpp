#include "StandardError.h"

#include <string>

#include <unistd.h>

#include "InputStream.h"

namespace BgpCommunities {

namespace {

constexpr std::string_view clearLine = "\r\x1b[K";

/** One call for one line, so that those of several processes do not mix. */
void write(std::string_view text) {
    // Where an error of standard error itself would go, nobody knows.
    [[maybe_unused]] auto const written = ::write(STDERR_FILENO, text.data(), text.size());
}

bool isTerminal() {
    static bool const terminal = ::isatty(STDERR_FILENO) == 1;
    return terminal;
}

} // namespace

void complain(std::string_view message) {
    std::string line(isTerminal() ? clearLine : "");
    line.append("bgp-communities: ").append(message).append("\n");
    write(line);
}

Progress::Progress()
  : active_(isTerminal()) {}

Progress::~Progress() {
    if (active_) {
        write(clearLine);
    }
}

void Progress::show(InputStream const& input, std::uint64_t records) {
    if (!active_ || Clock::now() < next_) {
        return;
    }
    next_ = Clock::now() + std::chrono::milliseconds(200);
    std::string line(clearLine);
    line += input.name() + ": " + std::to_string(records) + " records";
    if (input.sourceSize() != 0) {
        line += ", " + std::to_string(input.sourceOctets() * 100 / input.sourceSize()) + " %";
    }
    write(line);
}

} // namespace BgpCommunities
