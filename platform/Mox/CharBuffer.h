#pragma once

#include <Mox/Assert.h>
#include <Mox/Export.h>
#include <Mox/String.h>
#include <Mox/Types.h>

#include <charconv>
#include <cstddef>
#include <cstring>
#include <string_view>

namespace Mox {

/// A growable buffer of characters that every formatter of a value appends to.
///
/// It stands for a text under construction. The storage is the caller's local area
/// (`LocalCharBuffer`) until a write needs more than is left; then it moves to the heap with a
/// capacity of max(min(2 * used, 1024), used + required) characters. Thread-compatible.
class VOBGP_EXPORT CharBuffer {
  public:
    CharBuffer(CharBuffer const&) = delete;
    CharBuffer& operator=(CharBuffer const&) = delete;
    std::string_view text() const noexcept { return {start_, size()}; }
    std::size_t size() const noexcept { return static_cast<std::size_t>(writePtr_ - start_); }
    std::size_t capacity() const noexcept { return static_cast<std::size_t>(endPtr_ - start_); }
    void clear() noexcept { writePtr_ = start_; }
    String string() const { return String(text()); }

    CharBuffer& append(std::string_view text) {
        if (!text.empty()) {
            char* const place = reserve(text.size());
            std::memcpy(place, text.data(), text.size());
            writePtr_ = place + text.size();
        }
        return *this;
    }

    CharBuffer& append(char character) {
        *reserve(1) = character;
        ++writePtr_;
        return *this;
    }

    CharBuffer& appendDecimal(U64 number) {
        constexpr std::size_t longest = 20;
        if (static_cast<std::size_t>(endPtr_ - writePtr_) >= longest) [[likely]] {
            writePtr_ = std::to_chars(writePtr_, endPtr_, number).ptr;
            return *this;
        }
        // Near the end room is made for its digits only.
        char digits[longest];
        auto const* const end = std::to_chars(digits, digits + longest, number).ptr;
        return append(std::string_view(digits, static_cast<std::size_t>(end - digits)));
    }

    /// The low `digits` hexadecimal digits of a number, most significant first.
    CharBuffer& appendHex(U64 number, unsigned digits, bool upperCase = false) {
        char const* const alphabet = upperCase ? "0123456789ABCDEF" : "0123456789abcdef";
        char* const place = reserve(digits);
        for (unsigned i = 0; i < digits; ++i) {
            place[digits - 1 - i] = alphabet[(number >> (4 * i)) & 0xf];
        }
        writePtr_ = place + digits;
        return *this;
    }

  protected:
    CharBuffer(char* local, std::size_t capacity) noexcept
      : local_(local)
      , start_(local)
      , writePtr_(local)
      , endPtr_(local + capacity) {}

    ~CharBuffer();

  private:
    /// Where the next character goes, with room for `required` of them.
    char* reserve(std::size_t required) {
        if (static_cast<std::size_t>(endPtr_ - writePtr_) < required) [[unlikely]] {
            grow(required);
        }
        return writePtr_;
    }

    void grow(std::size_t required);

    char* local_;
    char* start_;
    char* writePtr_;
    char* endPtr_;
};

/// A CharBuffer whose storage starts in itself, on its owner's stack.
template <std::size_t N>
class LocalCharBuffer : public CharBuffer {
  public:
    LocalCharBuffer() noexcept
      : CharBuffer(area_, N) {}

  private:
    char area_[N];
};

} // namespace Mox
