#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "OctetReader.h"

namespace BgpCommunities {

/// Caches values computed from octets, keyed by the octets.
///
/// Owns copies of keys and values; `Value::octets()` returns the memory that a value holds. A hit
/// allocates nothing. Memory is bounded: each key maps to one slot and evicts what is there, large
/// values are not cached, and the cache is cleared when it is full. Thread-compatible.
template <class Value>
class OctetCache {
  public:
    OctetCache()
      : slots_(slotCount) {}

    /// Returns the cached value. On a miss, calls `make(Value&)` with a reused value, and caches
    /// it. Invalidated by the next call.
    template <class Make>
    Value const& find(Octets octets, Make const& make) {
        std::string_view const key(reinterpret_cast<char const*>(octets.data()), octets.size());
        Slot& slot = slots_[std::hash<std::string_view>()(key) % slotCount];
        if (slot.used && slot.key == key) {
            return slot.value;
        }
        make(scratch_);
        std::size_t const size = key.size() + scratch_.octets();
        if (size > maxOctets / slotShare) {
            return scratch_;
        }
        if (size_ + size > maxOctets) {
            clear();
        }
        size_ -= slot.size();
        slot = {true, std::string(key), scratch_};
        size_ += size;
        return slot.value;
    }

  private:
    static constexpr std::size_t slotCount = 4096;
    static constexpr std::size_t maxOctets = 16 << 20;
    static constexpr std::size_t slotShare = 64;

    struct Slot {
        bool used = false;
        std::string key;
        Value value;

        [[nodiscard]] std::size_t size() const { return key.size() + value.octets(); }
    };

    void clear() {
        for (Slot& slot : slots_) {
            slot = {};
        }
        size_ = 0;
    }

    std::vector<Slot> slots_;
    std::size_t size_ = 0; // of all slots, in octets
    Value scratch_;        // the last result of `make`
};

} // namespace BgpCommunities
