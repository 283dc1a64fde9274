#include "Terminal.h"

#include <algorithm>

#include <sys/ioctl.h>

#include "Utf8.h"

namespace BgpCommunities {

namespace {

/// The number of octets in the first `characters` characters of the line, or in all if there are
/// fewer.
std::size_t octetsOfFirst(std::string_view line, std::size_t characters) {
    std::size_t octets = 0;
    for (; characters > 0 && octets < line.size(); --characters) {
        octets += std::max<std::size_t>(utf8Character(line.substr(octets)).octets, 1);
    }
    return octets;
}

} // namespace

TerminalWidth terminalColumns(int fd) {
    winsize size = {};
    bool const known = ::ioctl(fd, TIOCGWINSZ, &size) == 0 && size.ws_col != 0;
    return known ? TerminalWidth(size.ws_col) : std::nullopt;
}

void appendFitted(std::string& out, std::string_view text, std::size_t columns) {
    constexpr std::string_view cut = "...";
    while (!text.empty()) {
        std::size_t const end = text.find('\n');
        std::string_view const line = text.substr(0, end);
        if (octetsOfFirst(line, columns) == line.size()) {
            out.append(line);
        } else {
            std::size_t const kept = columns - std::min(columns, cut.size());
            out.append(line.substr(0, octetsOfFirst(line, kept))).append(cut);
        }
        out += '\n';
        text.remove_prefix(end + 1);
    }
}

} // namespace BgpCommunities
