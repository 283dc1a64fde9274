#pragma once

#include <charconv>
#include <cmath>
#include <concepts>
#include <string>
#include <string_view>

#include "input/Numbers.h"
#include "input/OctetReader.h"

namespace BgpCommunities {

/**
 * JSON (RFC 8259) being written, on one line and without blanks.
 *
 *     json.beginObject().key("attribute").number(16).key("octets").octets(value).endObject();
 *
 * It owns nothing: it appends to the text of the caller, who calls in an order that makes sense.
 * Thread-compatible. What never changes: the output is valid UTF-8 and holds no character that
 * moves a terminal, whatever octets the strings hold.
 */
class JsonWriter {
  public:
    explicit JsonWriter(std::string& out)
      : out_(out) {}

    JsonWriter& beginObject() { return begin('{'); }

    JsonWriter& endObject() { return end('}'); }

    JsonWriter& beginArray() { return begin('['); }

    JsonWriter& endArray() { return end(']'); }

    /** The name of the next value of an object: one of the program's own, which stands for itself
        between quotes. */
    JsonWriter& key(std::string_view name) {
        out_ += first_ ? "\"" : ",\"";
        out_ += name;
        out_ += "\":";
        first_ = true;
        return *this;
    }

    /** Octets that are not valid UTF-8, and characters that move a terminal, become \uXXXX. */
    JsonWriter& string(std::string_view text);

    /** A string of two lower-case hexadecimal digits for each octet. */
    JsonWriter& octets(Octets octets);

    /** A value that was written before, as it stands. */
    JsonWriter& ready(std::string_view json) {
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

    /** The shortest digits that read back to the same number; null for what JSON cannot hold. */
    JsonWriter& real(double value) {
        if (!std::isfinite(value)) {
            return null();
        }
        separate();
        if (value == 0) {
            // With a fraction: readers take `-0` for the integer 0.
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
    bool first_ = true; // no comma before the next value: it follows a bracket, a key or nothing
};

} // namespace BgpCommunities
