#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace BgpCommunities {

/// A decoded character.
struct Utf8Character {
    char32_t codePoint = 0;
    std::size_t octets = 0; // 0: not well-formed UTF-8
};

/// Decodes the first character of `text`. REQUIRES: `text` is not empty.
Utf8Character utf8Character(std::string_view text);

/// Whether a terminal interprets the character instead of showing it: C0 and C1 controls, DEL, line
/// and paragraph separators, and bidirectional controls.
bool isTerminalControl(char32_t codePoint);

/// Returns `text` safe to print on one line of a terminal: replaces every terminal control
/// character, and every octet that is not UTF-8 (a terminal may read it as C1), with '?'.
std::string masked(std::string_view text);

} // namespace BgpCommunities
