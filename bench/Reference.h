#pragma once

#include "Bench.h"

#include <Mox/Types.h>

#include <atomic>
#include <bit>
#include <cstddef>
#include <cstring>
#include <memory>
#include <string_view>
#include <vector>

/// The references: the minimal work of any table of reference-counted contents.
namespace Bench {

using Mox::U32;
using Mox::U64;
using Mox::U8;

/// Multiplies to 128 bits and xors the halves.
constexpr U64 mix(U64 a, U64 b) noexcept {
    __extension__ using U128 = unsigned __int128;
    U128 const product = static_cast<U128>(a) * b;
    return static_cast<U64>(product) ^ static_cast<U64>(product >> 64);
}

/// A good 64-bit hash of a word or of octets.
struct MixHash {
    static constexpr U64 secret = 0xa076'1d64'78bd'642f;
    static constexpr U64 odd = 0x9e37'79b9'7f4a'7c15;

    U64 operator()(U64 word) const noexcept { return mix(word ^ secret, odd); }

    U64 operator()(std::string_view octets) const noexcept {
        U64 hash = mix(octets.size() ^ secret, odd);
        for (; octets.size() >= 16; octets.remove_prefix(16)) {
            hash = mix(word<U64>(octets) ^ secret, word<U64>(octets.substr(8)) ^ hash);
        }
        if (octets.size() >= 8) {
            hash = mix(word<U64>(octets) ^ secret, odd ^ hash);
            octets.remove_prefix(8);
        }
        if (octets.size() >= 4) {
            hash = mix(word<U32>(octets) ^ secret, odd ^ hash);
            octets.remove_prefix(4);
        }
        for (char const octet : octets) {
            hash = mix(static_cast<U8>(octet) ^ secret, odd ^ hash);
        }
        return hash;
    }

  private:
    template <class Word>
    static Word word(std::string_view octets) noexcept {
        Word result = 0;
        std::memcpy(&result, octets.data(), sizeof result);
        return result;
    }
};

/// Adds and releases a reference: a plain or a locked increment and decrement.
template <bool locked>
void takeAndDrop(std::atomic<U64>& count) noexcept {
    if constexpr (locked) {
        count.fetch_add(1, std::memory_order_acquire);
        count.fetch_sub(1, std::memory_order_release);
    } else {
        count.store(count.load(std::memory_order_relaxed) + 1, std::memory_order_relaxed);
        std::atomic_signal_fence(std::memory_order_seq_cst);
        count.store(count.load(std::memory_order_relaxed) - 1, std::memory_order_relaxed);
    }
}

/// The number of slots for `count` contents: at most half of them are used.
inline std::size_t slotsFor(std::size_t contents) {
    return std::bit_ceil(2 * contents);
}

/// An open-addressing table of {value, count}: limP, or limA if counts are locked.
class CountedValues {
  public:
    explicit CountedValues(std::size_t values)
      : slots_(std::make_unique<Slot[]>(slotsFor(values)))
      , mask_(slotsFor(values) - 1) {}

    /// REQUIRES: `value` is not 0.
    void insert(U64 value) { find(value).value = value; }

    template <bool locked>
    void hit(U64 value) {
        auto& slot = find(value);
        takeAndDrop<locked>(slot.count);
        keep(&slot);
    }

  private:
    struct Slot {
        U64 value = 0;
        std::atomic<U64> count{0};
    };

    Slot& find(U64 value) {
        for (auto place = MixHash()(value) & mask_;; place = (place + 1) & mask_) {
            auto& slot = slots_[place];
            if (slot.value == value || slot.value == 0) {
                return slot;
            }
        }
    }

    std::unique_ptr<Slot[]> slots_;
    std::size_t mask_;
};

/// An open-addressing table of {hash, pointer} to lists of raw octets: limL.
class CountedLists {
  public:
    explicit CountedLists(std::size_t lists)
      : slots_(std::make_unique<Slot[]>(slotsFor(lists)))
      , mask_(slotsFor(lists) - 1) {}

    void insert(std::string_view octets) {
        auto& slot = find(octets);
        if (slot.list == nullptr) {
            slot = {MixHash()(octets), makeList(octets)};
        }
    }

    template <bool locked>
    void hit(std::string_view octets) {
        auto& list = *find(octets).list;
        takeAndDrop<locked>(list.count);
        keep(&list);
    }

  private:
    /// The octets follow in the same allocation.
    struct List {
        std::atomic<U64> count{0};
        std::size_t size = 0;

        std::string_view octets() const noexcept {
            return {reinterpret_cast<char const*>(this + 1), size};
        }
    };
    struct Slot {
        U64 hash = 0;
        List* list = nullptr;
    };

    List* makeList(std::string_view octets) {
        blocks_.push_back(std::make_unique<std::byte[]>(sizeof(List) + octets.size()));
        auto* const list = new (blocks_.back().get()) List;
        list->size = octets.size();
        std::memcpy(reinterpret_cast<char*>(list + 1), octets.data(), octets.size());
        return list;
    }

    Slot& find(std::string_view octets) {
        auto const hash = MixHash()(octets);
        for (auto place = hash & mask_;; place = (place + 1) & mask_) {
            auto& slot = slots_[place];
            if (slot.list == nullptr || (slot.hash == hash && slot.list->octets() == octets)) {
                return slot;
            }
        }
    }

    std::unique_ptr<Slot[]> slots_;
    std::size_t mask_;
    std::vector<std::unique_ptr<std::byte[]>> blocks_;
};

} // namespace Bench
