#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "OctetReader.h"

namespace BgpCommunities {

/**
 * What was made of octets that recur, found again by the octets.
 *
 * It owns copies of both. A `Value` is copied, and says by `octets()` how much memory it holds.
 * Thread-compatible. What never changes: a hit allocates nothing, and what is kept is bounded
 * whatever arrives: a key has one place, where it pushes out what was there before; what is large
 * is made anew each time; and when all is full, all is forgotten.
 */
template <class Value>
class OctetMemory {
  public:
    OctetMemory()
      : slots_(slotCount) {}

    /** What is kept for the octets, or else what `make(Value&)` makes of them, in a value that was
        used before. Good until the next call. */
    template <class Make>
    Value const& find(Octets octets, Make const& make) {
        std::string_view const key(reinterpret_cast<char const*>(octets.data()), octets.size());
        Slot& slot = slots_[std::hash<std::string_view>()(key) % slotCount];
        if (slot.used && slot.key == key) {
            return slot.value;
        }
        make(made_);
        std::size_t const size = key.size() + made_.octets();
        if (size > maxOctets / slotShare) {
            return made_;
        }
        if (size_ + size > maxOctets) {
            forget();
        }
        size_ -= slot.size();
        slot = {true, std::string(key), made_};
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

    void forget() {
        for (Slot& slot : slots_) {
            slot = {};
        }
        size_ = 0;
    }

    std::vector<Slot> slots_;
    std::size_t size_ = 0; // of what is in the slots, in octets
    Value made_;           // last
};

} // namespace BgpCommunities
