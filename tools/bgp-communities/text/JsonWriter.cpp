#include "JsonWriter.h"

#include <algorithm>
#include <array>

#include "Utf8.h"
#include "input/Hex.h"

namespace BgpCommunities {

namespace {

consteval std::array<bool, 256> plainOctets() {
    std::array<bool, 256> plain{};
    for (unsigned char octet = 0x20; octet < 0x7f; ++octet) {
        plain[octet] = octet != '"' && octet != '\\';
    }
    return plain;
}

/// By octet: whether it needs no escape in a string.
constexpr std::array<bool, 256> isPlain = plainOctets();

} // namespace

JsonWriter& JsonWriter::string(std::string_view text) {
    separate();
    out_ += '"';
    while (!text.empty()) {
        auto const plain = std::find_if_not(text.begin(), text.end(), [](char character) {
            return isPlain[static_cast<unsigned char>(character)];
        });
        auto const count = static_cast<std::size_t>(plain - text.begin());
        out_ += text.substr(0, count);
        text.remove_prefix(count);
        if (!text.empty()) {
            text.remove_prefix(character(text));
        }
    }
    out_ += '"';
    return *this;
}

/// Writes the first character of `text`, or its first octet if it is not UTF-8. Returns the number
/// of octets consumed.
std::size_t JsonWriter::character(std::string_view text) {
    auto const [codePoint, octets] = utf8Character(text);
    if (octets == 0) {
        escape(static_cast<unsigned char>(text[0]));
        return 1;
    }
    if (codePoint == '"' || codePoint == '\\') {
        out_ += '\\';
        out_ += text[0];
    } else if (isTerminalControl(codePoint)) {
        escape(codePoint);
    } else {
        out_ += text.substr(0, octets);
    }
    return octets;
}

void JsonWriter::escape(char32_t codePoint) {
    std::array<U8, 2> const octets = {static_cast<U8>(codePoint >> 8), static_cast<U8>(codePoint)};
    out_ += "\\u";
    appendHex(out_, octets);
}

JsonWriter& JsonWriter::octets(Octets octets) {
    separate();
    out_ += '"';
    appendHex(out_, octets);
    out_ += '"';
    return *this;
}

} // namespace BgpCommunities
