#include "JsonWriter.h"

#include <algorithm>
#include <array>

#include "Hex.h"

namespace BgpCommunities {

namespace {

unsigned char octetAt(std::string_view text, std::size_t at) {
    return static_cast<unsigned char>(text[at]);
}

consteval std::array<bool, 256> plainOctets() {
    std::array<bool, 256> plain{};
    for (unsigned char octet = 0x20; octet < 0x7f; ++octet) {
        plain[octet] = octet != '"' && octet != '\\';
    }
    return plain;
}

/** By octet: whether it stands for itself between the quotes of a string. */
constexpr std::array<bool, 256> isPlain = plainOctets();

/** The first octets of well-formed UTF-8 sequences, their length, and what the second octet may be
    (Unicode, table 3-7); all further ones are 80 to bf. */
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

/** How many octets the UTF-8 sequence of several that `text` begins with has; 0 if none. A control
    character of two octets (U+0080 to U+009F) is none. */
std::size_t utf8Length(std::string_view text) {
    unsigned char const lead = octetAt(text, 0);
    for (Utf8Lead const& row : utf8Leads) {
        if (lead < row.first || lead > row.last || text.size() < row.length) {
            continue;
        }
        unsigned char const second = octetAt(text, 1);
        bool valid = second >= row.secondLow && second <= row.secondHigh;
        for (std::size_t at = 2; at < row.length; ++at) {
            valid = valid && (octetAt(text, at) & 0xc0) == 0x80;
        }
        bool const control = lead == 0xc2 && second < 0xa0;
        return valid && !control ? row.length : 0;
    }
    return 0;
}

} // namespace

JsonWriter& JsonWriter::string(std::string_view text) {
    separate();
    out_ += '"';
    while (!text.empty()) {
        auto const plain = std::find_if_not(text.begin(), text.end(), [](char character) {
            return isPlain[static_cast<unsigned char>(character)];
        });
        std::size_t count = static_cast<std::size_t>(plain - text.begin());
        if (count == 0) {
            count = utf8Length(text);
        }
        out_ += text.substr(0, count);
        if (count == 0) {
            escape(octetAt(text, 0));
            count = 1;
        }
        text.remove_prefix(count);
    }
    out_ += '"';
    return *this;
}

void JsonWriter::escape(unsigned char octet) {
    if (octet == '"' || octet == '\\') {
        out_ += '\\';
        out_ += static_cast<char>(octet);
        return;
    }
    out_ += "\\u00";
    appendHex(out_, Octets(&octet, 1));
}

JsonWriter& JsonWriter::octets(Octets octets) {
    separate();
    out_ += '"';
    appendHex(out_, octets);
    out_ += '"';
    return *this;
}

} // namespace BgpCommunities
