#pragma once

#include <charconv>
#include <concepts>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>

namespace BgpCommunities {

/// Appends a number in `base`, with lower-case digits.
template <std::integral Number>
void appendNumber(std::string& out, Number value, int base = 10) {
    char digits[20]; // longest 64-bit number in base 10, with sign
    out.append(digits, std::to_chars(digits, digits + sizeof digits, value, base).ptr);
}

/// Parses a decimal number; none if the text is anything else or the number is out of range.
template <std::integral Number>
std::optional<Number> readNumber(std::string_view text) {
    Number number = 0;
    char const* const end = text.data() + text.size();
    auto const [read, error] = std::from_chars(text.data(), end, number);
    return error == std::errc() && read == end ? std::optional(number) : std::nullopt;
}

} // namespace BgpCommunities
