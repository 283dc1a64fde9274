#include "Utf8.h"

#include <algorithm>

namespace BgpCommunities {

namespace {

unsigned char octetAt(std::string_view text, std::size_t at) {
    return static_cast<unsigned char>(text[at]);
}

/// First octets of well-formed sequences, with the length and the range of the second octet
/// (Unicode, table 3-7). All further octets are 80 to bf.
struct Utf8Lead {
    unsigned char first, last;
    std::size_t length;
    unsigned char secondLow, secondHigh;
};

constexpr Utf8Lead utf8Leads[] = {
    {0xc2, 0xdf, 2, 0x80, 0xbf}, {0xe0, 0xe0, 3, 0xa0, 0xbf}, {0xe1, 0xec, 3, 0x80, 0xbf},
    {0xed, 0xed, 3, 0x80, 0x9f}, {0xee, 0xef, 3, 0x80, 0xbf}, {0xf0, 0xf0, 4, 0x90, 0xbf},
    {0xf1, 0xf3, 4, 0x80, 0xbf}, {0xf4, 0xf4, 4, 0x80, 0x8f},
};

struct Range {
    char32_t first, last;
};

constexpr Range terminalControls[] = {
    {0x00, 0x1f},     {0x7f, 0x9f},     {0x061c, 0x061c},
    {0x200e, 0x200f}, {0x2028, 0x202e}, {0x2066, 0x2069},
};

/// Decodes a sequence described by `row` at the start of `text`; 0 octets if malformed.
Utf8Character sequence(std::string_view text, Utf8Lead const& row) {
    unsigned char const second = octetAt(text, 1);
    bool valid = second >= row.secondLow && second <= row.secondHigh;
    char32_t codePoint = octetAt(text, 0) & (0xffU >> (row.length + 1));
    for (std::size_t at = 1; at < row.length; ++at) {
        valid = valid && (octetAt(text, at) & 0xc0) == 0x80;
        codePoint = codePoint << 6 | (octetAt(text, at) & 0x3fU);
    }
    return valid ? Utf8Character{codePoint, row.length} : Utf8Character{};
}

} // namespace

Utf8Character utf8Character(std::string_view text) {
    unsigned char const lead = octetAt(text, 0);
    if (lead < 0x80) {
        return {lead, 1};
    }
    for (Utf8Lead const& row : utf8Leads) {
        if (lead >= row.first && lead <= row.last && text.size() >= row.length) {
            return sequence(text, row);
        }
    }
    return {};
}

bool isTerminalControl(char32_t codePoint) {
    return std::any_of(std::begin(terminalControls), std::end(terminalControls), [&](Range range) {
        return codePoint >= range.first && codePoint <= range.last;
    });
}

std::string masked(std::string_view text) {
    std::string out;
    out.reserve(text.size());
    while (!text.empty()) {
        Utf8Character const character = utf8Character(text);
        std::size_t const octets = std::max<std::size_t>(character.octets, 1);
        if (character.octets == 0 || isTerminalControl(character.codePoint)) {
            out += '?';
        } else {
            out += text.substr(0, octets);
        }
        text.remove_prefix(octets);
    }
    return out;
}

} // namespace BgpCommunities
