#pragma once

#include <charconv>
#include <cmath>
#include <concepts>
#include <string>
#include <string_view>

#include "input/Numbers.h"
#include "input/OctetReader.h"

namespace BgpCommunities {

/// Writes JSON (RFC 8259) on one line, without blanks.
///
///     json.beginObject().key("attribute").number(16).key("octets").octets(value).endObject();
///
/// Appends to a string, which is not owned. Calls must follow the JSON grammar; this is not
/// checked. The output is valid UTF-8 without terminal control characters, whatever the strings
/// contain. Thread-compatible.
class JsonWriter {
  public:
    explicit JsonWriter(std::string& out)
      : out_(out) {}

    JsonWriter& beginObject() { return begin('{'); }

    JsonWriter& endObject() { return end('}'); }

    JsonWriter& beginArray() { return begin('['); }

    JsonWriter& endArray() { return end(']'); }

    /// Writes the name of the next member of an object. REQUIRES: `name` needs no escapes.
    JsonWriter& key(std::string_view name) {
        out_ += first_ ? "\"" : ",\"";
        out_ += name;
        out_ += "\":";
        first_ = true;
        return *this;
    }

    /// Escapes octets that are not valid UTF-8 and terminal control characters as \uXXXX.
    JsonWriter& string(std::string_view text);

    /// Writes a string of two lower-case hexadecimal digits per octet.
    JsonWriter& octets(Octets octets);

    /// Writes a value that is JSON already.
    JsonWriter& raw(std::string_view json) {
        separate();
        out_ += json;
        return *this;
    }

    JsonWriter& boolean(bool value) {
        separate();
        out_ += value ? "true" : "false";
        return *this;
    }

    JsonWriter& null() {
        separate();
        out_ += "null";
        return *this;
    }

    /// Writes the shortest digits that read back as the same number; null for infinities and NaN.
    JsonWriter& real(double value) {
        if (!std::isfinite(value)) {
            return null();
        }
        separate();
        if (value == 0) {
            // With a fraction, because readers parse `-0` as the integer 0.
            out_ += std::signbit(value) ? "-0.0" : "0";
            return *this;
        }
        char digits[32];
        out_.append(digits, std::to_chars(digits, digits + sizeof digits, value).ptr);
        return *this;
    }

    template <std::integral Number>
    JsonWriter& number(Number value) {
        separate();
        appendNumber(out_, value);
        return *this;
    }

  private:
    JsonWriter& begin(char bracket) {
        separate();
        out_ += bracket;
        first_ = true;
        return *this;
    }

    JsonWriter& end(char bracket) {
        out_ += bracket;
        first_ = false;
        return *this;
    }

    void separate() {
        if (!first_) {
            out_ += ',';
        }
        first_ = false;
    }

    std::size_t character(std::string_view text);
    void escape(char32_t codePoint);

    std::string& out_;
    bool first_ = true; // the next value needs no comma
};

} // namespace BgpCommunities
