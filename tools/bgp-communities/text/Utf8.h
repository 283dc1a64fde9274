#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace BgpCommunities {

/** The character at the start of a text; a plain value. */
struct Utf8Character {
    char32_t codePoint = 0;
    std::size_t octets = 0; // 0: not well-formed UTF-8
};

/** Decodes the first character of `text`, which is not empty. */
Utf8Character utf8Character(std::string_view text);

/** True if a terminal acts on the character instead of showing it: C0 and C1 controls, DEL, line
    and paragraph separators, and the marks that change the direction of the text after them. */
bool movesTerminal(char32_t codePoint);

/** `text` safe to print on one line of a terminal: every character that moves the terminal, and
    every octet that is not UTF-8 (a terminal may read it as C1), becomes '?'. */
std::string masked(std::string_view text);

} // namespace BgpCommunities
