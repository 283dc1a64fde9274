#pragma once

#include <Mox/Assert.h>
#include <Mox/Export.h>
#include <Mox/NetworkOrder.h>
#include <Mox/String.h>
#include <Mox/Types.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstring>
#include <string_view>

namespace Mox {

namespace Detail {

/// The two decimal digits of each number below 100, concatenated.
inline constexpr auto decimalPairs = [] {
    std::array<char, 200> pairs{};
    for (unsigned i = 0; i < 100; ++i) {
        pairs[2 * i] = static_cast<char>('0' + i / 10);
        pairs[2 * i + 1] = static_cast<char>('0' + i % 10);
    }
    return pairs;
}();

inline constexpr auto powersOfTen = [] {
    std::array<U64, 20> powers{1};
    for (unsigned i = 1; i < powers.size(); ++i) {
        powers[i] = 10 * powers[i - 1];
    }
    return powers;
}();

inline constexpr unsigned maxDecimalDigits = 20;

constexpr unsigned decimalDigits(U64 number) noexcept {
    // 1233 / 4096 approximates log10(2), exactly enough for 64 bits.
    auto const least = static_cast<unsigned>(std::bit_width(number | 1)) * 1233 >> 12;
    return least + (number >= powersOfTen[least] ? 1 : 0);
}

/// Writes a number and returns the end of its digits.
inline char* writeDecimal(char* place, U64 number) noexcept {
    char* const end = place + std::max(decimalDigits(number), 1U);
    char* at = end;
    for (; number >= 100; number /= 100) {
        std::memcpy(at -= 2, &decimalPairs[2 * (number % 100)], 2);
    }
    if (number >= 10) {
        std::memcpy(place, &decimalPairs[2 * number], 2);
    } else {
        *place = static_cast<char>('0' + number);
    }
    return end;
}

/// Writes the eight hexadecimal digits of a number in parallel, one digit per octet of a word.
inline void writeHexDigits(char* place, U32 number, bool upperCase) noexcept {
    constexpr U64 ones = 0x0101'0101'0101'0101;
    U64 digits = number;
    digits = (digits << 16 | digits) & 0x0000'ffff'0000'ffff;
    digits = (digits << 8 | digits) & 0x00ff'00ff'00ff'00ff;
    digits = (digits << 4 | digits) & 0x0f0f'0f0f'0f0f'0f0f;
    // Adding 6 sets 0x10 for each digit that is a letter.
    U64 const letters = (digits + 6 * ones) >> 4 & ones;
    digits += '0' * ones + letters * static_cast<U64>((upperCase ? 'A' : 'a') - '0' - 10);
    writeNetworkOrder(place, digits);
}

} // namespace Detail

/// A growable character buffer, which all value formatters append to.
///
/// The storage is the caller's local area (`LocalCharBuffer`) until a write does not fit; then it
/// moves to the heap with a capacity of max(min(2 * used, 1024), used + required) characters.
/// Thread-compatible.
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
        if (static_cast<std::size_t>(endPtr_ - writePtr_) >= Detail::maxDecimalDigits) [[likely]] {
            writePtr_ = Detail::writeDecimal(writePtr_, number);
            return *this;
        }
        // Near the end, reserve only as many characters as the number has digits.
        char digits[Detail::maxDecimalDigits];
        auto const* const end = Detail::writeDecimal(digits, number);
        return append(std::string_view(digits, static_cast<std::size_t>(end - digits)));
    }

    /// Appends the low `digits` hexadecimal digits of a number, most significant first. REQUIRES:
    /// `digits` is at most 16.
    CharBuffer& appendHex(U64 number, unsigned digits, bool upperCase = false) {
        char text[16];
        Detail::writeHexDigits(text, static_cast<U32>(number >> 32), upperCase);
        Detail::writeHexDigits(text + 8, static_cast<U32>(number), upperCase);
        char* const place = reserve(digits);
        std::memcpy(place, text + sizeof text - digits, digits);
        writePtr_ = place + digits;
        return *this;
    }

    /// Reserves room for `characters` more characters. The capacity at least doubles, so building a
    /// text from any number of pieces, each reserved this way, takes linear time.
    void expect(std::size_t characters) {
        if (static_cast<std::size_t>(endPtr_ - writePtr_) < characters) [[unlikely]] {
            moveTo(std::max(2 * capacity(), size() + characters));
        }
    }

  protected:
    CharBuffer(char* local, std::size_t capacity) noexcept
      : local_(local)
      , start_(local)
      , writePtr_(local)
      , endPtr_(local + capacity) {}

    ~CharBuffer();

  private:
    /// Returns the write position after reserving room for `required` characters.
    char* reserve(std::size_t required) {
        if (static_cast<std::size_t>(endPtr_ - writePtr_) < required) [[unlikely]] {
            grow(required);
        }
        return writePtr_;
    }

    void grow(std::size_t required);
    void moveTo(std::size_t capacity);

    char* local_;
    char* start_;
    char* writePtr_;
    char* endPtr_;
};

/// A CharBuffer that contains its initial storage of `N` characters; for use on the stack.
template <std::size_t N>
class LocalCharBuffer : public CharBuffer {
  public:
    LocalCharBuffer() noexcept
      : CharBuffer(area_, N) {}

  private:
    char area_[N];
};

} // namespace Mox
