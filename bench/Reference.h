#pragma once

#include <Mox/Hash.h>
#include <Mox/Types.h>

#include <atomic>
#include <cstddef>
#include <vector>

/// What a figure is set beside: the least that any table of counted values must do.
///
/// limP: an open-addressing table of {value, count}, one plain increment and one decrement a hit.
/// limA: the same with a locked increment and a locked decrement.
class ReferenceTable {
  public:
    explicit ReferenceTable(std::size_t values) {
        std::size_t capacity = 8;
        while (capacity * 4 < values * 8) {
            capacity *= 2;
        }
        slots_ = std::vector<Slot>(capacity);
    }

    void insert(Mox::U64 value) { find(value).value = value; }

    void hitPlain(Mox::U64 value) {
        auto& count = find(value).count;
        count.store(count.load(std::memory_order_relaxed) + 1, std::memory_order_relaxed);
        std::atomic_signal_fence(std::memory_order_seq_cst);
        count.store(count.load(std::memory_order_relaxed) - 1, std::memory_order_relaxed);
    }

    void hitAtomic(Mox::U64 value) {
        auto& count = find(value).count;
        count.fetch_add(1, std::memory_order_acquire);
        count.fetch_sub(1, std::memory_order_release);
    }

  private:
    struct Slot {
        Mox::U64 value = 0;
        std::atomic<Mox::U64> count{0};
    };

    Slot& find(Mox::U64 value) {
        auto const mask = slots_.size() - 1;
        for (auto place = Mox::hashWord(value) & mask;; place = (place + 1) & mask) {
            auto& slot = slots_[place];
            if (slot.value == value || slot.value == 0) {
                return slot;
            }
        }
    }

    std::vector<Slot> slots_;
};
