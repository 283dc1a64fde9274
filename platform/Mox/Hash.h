#pragma once

#include <Mox/Export.h>
#include <Mox/Types.h>

#include <cstddef>
#include <string_view>

namespace Mox {

namespace Detail {
/// Drawn once per process before any other initialiser of these libraries runs. Values come from
/// strangers, who must not be able to choose many that share a hash.
struct HashSecret {
    explicit HashSecret(U64 drawn) noexcept
      : word(drawn) {}

    U64 word;
};

VOBGP_EXPORT extern HashSecret const hashSecret;
} // namespace Detail

/// Multiplies to 128 bits and folds the halves: every bit of the result, high and low, depends on
/// every bit of the argument.
constexpr U64 mixHash(U64 a, U64 b) noexcept {
    __extension__ using U128 = unsigned __int128;
    U128 const product = static_cast<U128>(a) * b;
    return static_cast<U64>(product) ^ static_cast<U64>(product >> 64);
}

/// The framework's hash of a single-word attribute. The same number everywhere in one process, and
/// another one in the next.
inline U64 hashWord(U64 word) noexcept {
    return mixHash(word ^ Detail::hashSecret.word, 0x9e3779b97f4a7c15U);
}

/// The framework's hash of octets.
VOBGP_EXPORT U64 hashOctets(std::string_view octets, U64 seed = 0) noexcept;

/// A seed that no other collection of the process has.
VOBGP_EXPORT U64 nextHashSeed() noexcept;

/// The 32-bit one-at-a-time mix, from 0: what lists and contents that are longer than a word hash
/// with. Independent of the process.
class OneAtATimeHash {
  public:
    constexpr void add(U8 octet) noexcept {
        hash_ += octet;
        hash_ += hash_ << 10;
        hash_ ^= hash_ >> 6;
    }

    /// The octets of an integer, least significant first.
    template <class Integer>
    constexpr void addLittleEndian(Integer value) noexcept {
        for (std::size_t i = 0; i < sizeof value; ++i) {
            add(static_cast<U8>(value >> (8 * i)));
        }
    }

    constexpr U32 finish() const noexcept {
        U32 hash = hash_;
        hash += hash << 3;
        hash ^= hash >> 11;
        hash += hash << 15;
        return hash;
    }

  private:
    U32 hash_ = 0;
};

} // namespace Mox
