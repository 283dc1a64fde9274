#include "Hex.h"

#include <array>

namespace BgpCommunities {

namespace {

constexpr U8 noDigit = 0xff;

consteval std::array<U8, 256> digitValues() {
    std::array<U8, 256> values{};
    values.fill(noDigit);
    for (U8 value = 0; value < 16; ++value) {
        values[static_cast<unsigned char>("0123456789abcdef"[value])] = value;
        values[static_cast<unsigned char>("0123456789ABCDEF"[value])] = value;
    }
    return values;
}

constexpr std::array<U8, 256> valuesOfDigits = digitValues();

U8 valueOf(char digit) {
    return valuesOfDigits[static_cast<unsigned char>(digit)];
}

} // namespace

std::string_view readHex(std::string_view text, std::vector<U8>& octets) {
    for (char const digit : text) {
        if (valueOf(digit) == noDigit) {
            return "not hexadecimal digits";
        }
    }
    if (text.size() % 2 != 0) {
        return "an odd number of hexadecimal digits";
    }
    octets.resize(text.size() / 2);
    for (std::size_t at = 0; at < octets.size(); ++at) {
        octets[at] = static_cast<U8>(valueOf(text[2 * at]) << 4 | valueOf(text[2 * at + 1]));
    }
    return {};
}

void appendHex(std::string& out, Octets octets, std::string_view separator) {
    std::string_view before;
    for (U8 const octet : octets) {
        out += before;
        out += "0123456789abcdef"[octet >> 4];
        out += "0123456789abcdef"[octet & 0xf];
        before = separator;
    }
}

} // namespace BgpCommunities
