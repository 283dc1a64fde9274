#pragma once

#include <Mox/Types.h>

#include <array>
#include <cstddef>
#include <cstring>
#include <span>
#include <type_traits>

/// The layout of stores and shared-memory segments; drawn in docs/store-format.md. Internal, not
/// installed.
namespace MoxStash::Format {

using Mox::U32;
using Mox::U64;

/// The unit of the layout: records begin and end at multiples of it.
constexpr U64 wordOctets = 8;

constexpr std::array<char, 8> storeMagic = {'V', 'o', 'S', 't', 'a', 's', 'h', '\n'};
constexpr std::array<char, 8> segmentMagic = {'V', 'o', 'S', 't', 'a', 's', 'h', 'S'};

/// Stored in the byte order of the writer's processor, like all integers of the store.
constexpr U32 byteOrder = 0x01020304;

/// Incremented when older readers would misread a store.
constexpr U32 layoutVersion = 1;

/// At the beginning of every store.
struct StoreHeader {
    std::array<char, 8> magic;
    U32 byteOrder;
    U32 layoutVersion;
    U64 octets;     // of the whole store
    U64 generation; // from 1; the last word of the store repeats it
    U64 checksum;   // of all other words
    U64 directory;  // offset of the last record
    std::array<U64, 2> reserved;
};

static_assert(sizeof(StoreHeader) == 64 && std::is_trivially_copyable_v<StoreHeader>);

/// At the beginning of every record.
struct RecordHead {
    U32 kind;
    U32 words; // of the record, this one included
};

static_assert(sizeof(RecordHead) == wordOctets);

/// At the beginning of a shared-memory segment.
struct SegmentHeader {
    std::array<char, 8> magic;
    U32 byteOrder;
    U32 layoutVersion;
    U64 current; // offset of the area that holds the current store; 0 before there is one
    U64 begun;   // the generation of the last store that a writer began to write
    std::array<U64, 4> reserved;
};

static_assert(sizeof(SegmentHeader) == 64 && std::is_trivially_copyable_v<SegmentHeader>);

/// Areas begin at multiples of this. The segment header comes before the first one.
constexpr U64 areaAlignment = 4096;

constexpr U64 headerWords = sizeof(StoreHeader) / wordOctets;
constexpr U64 generationWord = offsetof(StoreHeader, generation) / wordOctets;
constexpr U64 checksumWord = offsetof(StoreHeader, checksum) / wordOctets;
constexpr U64 currentWord = offsetof(SegmentHeader, current) / wordOctets;
constexpr U64 begunWord = offsetof(SegmentHeader, begun) / wordOctets;

constexpr U64 wordsOf(U64 octets) noexcept {
    return octets / wordOctets + (octets % wordOctets != 0 ? 1 : 0);
}

/// Returns the next generation. Skips 0, which is not valid.
constexpr U64 generationAfter(U64 generation) noexcept {
    return generation + 1 == 0 ? 1 : generation + 1;
}

// Another process may write to the mapping concurrently, so every word is accessed by exactly one
// atomic load or store.

inline U64 loadWord(U64 const* word) noexcept {
    return __atomic_load_n(word, __ATOMIC_RELAXED);
}

inline void storeWord(U64* word, U64 value) noexcept {
    __atomic_store_n(word, value, __ATOMIC_RELAXED);
}

/// Copies a structure word by word. REQUIRES: `words` has enough words for it.
template <class Structure>
Structure load(U64 const* words) noexcept {
    std::array<U64, sizeof(Structure) / wordOctets> copy;
    for (std::size_t index = 0; index < copy.size(); ++index) {
        copy[index] = loadWord(words + index);
    }
    Structure structure;
    std::memcpy(&structure, copy.data(), sizeof structure);
    return structure;
}

template <class Structure>
void store(U64* words, Structure const& structure) noexcept {
    std::array<U64, sizeof(Structure) / wordOctets> copy;
    std::memcpy(copy.data(), &structure, sizeof structure);
    for (std::size_t index = 0; index < copy.size(); ++index) {
        storeWord(words + index, copy[index]);
    }
}

/// Detects every change of a single word, because each step is invertible, and any other change
/// except with probability 2^-64. Not a signature: anybody can compute it.
inline U64 checksum(std::span<U64 const> words) noexcept {
    U64 state = words.size();
    for (std::size_t index = 0; index < words.size(); ++index) {
        if (index != checksumWord) {
            state = (state ^ loadWord(&words[index])) * 0x9e3779b97f4a7c15U;
            state ^= state >> 32;
        }
    }
    return state;
}

} // namespace MoxStash::Format
