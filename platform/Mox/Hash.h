#pragma once

#include <Mox/Export.h>
#include <Mox/Types.h>

#include <cstddef>
#include <cstring>
#include <span>
#include <string_view>

namespace Mox {

namespace Detail {
/// Random per process, drawn before any other initialiser of these libraries runs. Values come from
/// untrusted peers, who must not be able to choose values with equal hashes.
struct HashSecret {
    U64 word;
    /// A multiplier: odd, with about as many ones as zeros.
    U64 factor;
};

VOBGP_EXPORT extern HashSecret const hashSecret;
} // namespace Detail

/// Multiplies to 128 bits and folds the halves, so that every bit of the result depends on nearly
/// every bit of the arguments. Of consecutive arguments the results are nearly in arithmetic
/// progression.
constexpr U64 mixHash(U64 a, U64 b) noexcept {
    __extension__ using U128 = unsigned __int128;
    U128 const product = static_cast<U128>(a) * b;
    return static_cast<U64>(product) ^ static_cast<U64>(product >> 64);
}

/// The framework's hash of a single-word attribute. Constant within a process; differs between
/// processes.
inline U64 hashWord(U64 word) noexcept {
    return mixHash(word ^ Detail::hashSecret.word, 0x9e3779b97f4a7c15U);
}

/// A 64-bit hash that cannot be predicted outside the process: both factors are secret. Determines
/// the placement of interned objects.
constexpr U64 keyedHash(U64 word, Detail::HashSecret const& secret) noexcept {
    U64 const mixed = mixHash(word ^ secret.word, secret.factor);
    // Agents intern consecutive numbers: without the second step some factors would put thousands
    // of them into few buckets.
    return (mixed ^ mixed >> 32) * secret.factor;
}

inline U64 keyedHash(U64 word) noexcept {
    return keyedHash(word, Detail::hashSecret);
}

/// Computes the keyed hash of a sequence of words or octets incrementally. The length is part of
/// the hash.
class KeyedHash {
  public:
    explicit KeyedHash(std::size_t length) noexcept
      : length_(length)
      , state_(Detail::hashSecret.word) {}

    void add(U64 first, U64 second = 0) noexcept {
        state_ = mixHash(first ^ state_, second ^ Detail::hashSecret.factor);
    }

    /// Adds octets, sixteen at a time. REQUIRES: the size of every piece but the last is a multiple
    /// of 16.
    void add(std::span<std::byte const> octets) noexcept {
        auto const* next = octets.data();
        auto left = octets.size();
        for (; left >= 16; left -= 16, next += 16) {
            add(load(next, 8), load(next + 8, 8));
        }
        if (left >= 8) {
            add(load(next, 8), load(next + left - 8, 8));
        } else if (left >= 4) {
            add(load(next, 4), load(next + left - 4, 4));
        } else if (left != 0) {
            add(load(next, left));
        }
    }

    U64 finish() const noexcept {
        return mixHash(state_ ^ length_ ^ Detail::hashSecret.word, Detail::hashSecret.factor);
    }

  private:
    static U64 load(std::byte const* from, std::size_t count) noexcept {
        U64 word = 0;
        std::memcpy(&word, from, count);
        return word;
    }

    U64 length_;
    U64 state_;
};

/// The keyed hash of octets.
inline U64 keyedHash(std::span<std::byte const> octets) noexcept {
    KeyedHash hash(octets.size());
    hash.add(octets);
    return hash.finish();
}

/// The framework's hash of octets.
VOBGP_EXPORT U64 hashOctets(std::string_view octets, U64 seed = 0) noexcept;

/// Returns a seed that is unique in the process.
VOBGP_EXPORT U64 nextHashSeed() noexcept;

/// The 32-bit one-at-a-time hash, starting from 0, used for lists and for contents longer than a
/// word. The same in every process.
class OneAtATimeHash {
  public:
    constexpr void add(U8 octet) noexcept {
        hash_ += octet;
        hash_ += hash_ << 10;
        hash_ ^= hash_ >> 6;
    }

    /// Adds the octets of an integer, least significant first.
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
