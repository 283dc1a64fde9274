#pragma once

#include <charconv>
#include <concepts>
#include <string>

namespace BgpCommunities {

/** Appends the digits of a number; hexadecimal ones are lower-case. */
template <std::integral Number>
void appendNumber(std::string& out, Number value, int base = 10) {
    char digits[20]; // of the longest 64-bit number in base 10, sign and all
    out.append(digits, std::to_chars(digits, digits + sizeof digits, value, base).ptr);
}

} // namespace BgpCommunities
