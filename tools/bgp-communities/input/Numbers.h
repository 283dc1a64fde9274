#pragma once

#include <charconv>
#include <concepts>
#include <string>

namespace BgpCommunities {

/// Appends a number in `base`, with lower-case digits.
template <std::integral Number>
void appendNumber(std::string& out, Number value, int base = 10) {
    char digits[20]; // longest 64-bit number in base 10, with sign
    out.append(digits, std::to_chars(digits, digits + sizeof digits, value, base).ptr);
}

} // namespace BgpCommunities
