#pragma once

#include <Mox/Types.h>

#include <atomic>
#include <cstddef>

namespace Kel {

using Mox::U32;
using Mox::U64;

class DedupHandle;

/// Where in a table an object of some content is: parts of its placement hash.
class Placement {
  public:
    explicit Placement(U64 placementHash) noexcept
      : hash_(placementHash) {}

    /// What an object keeps of it, and a slot has beside it: enough to find the object's slot, in
    /// an array of any size, without the object's content.
    U32 place() const noexcept { return static_cast<U32>(hash_); }

    /// What a slot holds of it: one in 65,536 others has the same.
    U64 fragment() const noexcept { return hash_ & fragmentMask; }

    static constexpr unsigned fragmentShift = 48;
    static constexpr U64 fragmentMask = ~U64{0} << fragmentShift;

  private:
    U64 hash_;
};

/// One flat array of slots: open addressing, linear probing, no tombstones. The capacity is a power
/// of two.
///
/// A slot is one word: the address of an object in its low 48 bits and 16 bits of the object's
/// placement hash above them, so that a probe that fails does not touch the object. 0 is an empty
/// slot. A second array has the place of each slot's object, so that moving one does not touch the
/// object either.
///
/// One thread at a time changes an array; others may probe it meanwhile. They may then miss what is
/// there, or meet an object that is not there any more.
///
///     | capacity, ... | slot 0 | slot 1 | ... | place 0 | place 1 | ... |   in one piece
class SlotArray {
  public:
    /// An array of empty slots. Throws `std::bad_alloc`.
    static SlotArray* create(std::size_t capacity);
    static void destroy(SlotArray* array) noexcept;

    std::size_t capacity() const noexcept { return mask_ + 1; }
    /// Octets of memory, without what has been given back.
    std::size_t octets() const noexcept { return octetsFor(capacity()) - releasedOctets_; }

    /// The object in the first slot with that placement's fragment, or null: nearly always the only
    /// one there is.
    DedupHandle* candidate(Placement placement) const noexcept {
        std::size_t index = placement.place();
        for (auto const last = index + mask_;; ++index) {
            U64 const slot = slotAt(index & mask_);
            if (((slot ^ placement.fragment()) & Placement::fragmentMask) == 0) {
                return handleOf(slot); // of an empty slot: null
            }
            // Bounded for those who probe while entries move; an array always has an empty slot.
            if (slot == 0 || index == last) {
                return nullptr;
            }
        }
    }

    /// The first object with that placement that `accept(DedupHandle&)` accepts, or null.
    template <class Accept>
    DedupHandle* find(Placement placement, Accept const& accept) const {
        std::size_t index = placement.place();
        for (auto const end = index + capacity(); index != end; ++index) {
            U64 const slot = slotAt(index & mask_);
            if (slot == 0) {
                break;
            }
            if (((slot ^ placement.fragment()) & Placement::fragmentMask) == 0) {
                if (auto* const handle = handleOf(slot); accept(*handle)) {
                    return handle;
                }
            }
        }
        return nullptr;
    }

    /// Puts an entry into the first empty slot from its place on. There must be one.
    void put(U64 slot, U32 place) noexcept;

    /// Takes an object out and closes the gap. False if it is not here.
    bool erase(DedupHandle const& handle, U32 place) noexcept;

    /// Moves the entries from one empty slot to the next into another array; `index` is behind the
    /// first empty slot at the start and behind the second afterwards. Returns how many slots that
    /// were.
    std::size_t moveRunTo(SlotArray& other, std::size_t& index) noexcept;

    std::size_t firstEmpty() const noexcept;

    /// Gives the memory of some slots back to the system, all of which are empty and stay so. False
    /// when there is nothing left to give back.
    bool releaseSomeMemory() noexcept;

    template <class Visitor>
    void forEach(Visitor const& visitor) const {
        for (std::size_t index = 0; index < capacity(); ++index) {
            if (U64 const slot = slotAt(index); slot != 0) {
                visitor(*handleOf(slot));
            }
        }
    }

    /// An emptied array serves again.
    void reuse() noexcept { releasedOctets_ = 0; }

    /// The next array of a list of spare ones.
    SlotArray* nextSpare = nullptr;

  private:
    static constexpr std::size_t slotOctets = sizeof(U64) + sizeof(U32);

    SlotArray(std::size_t capacity, bool mapped) noexcept
      : mask_(capacity - 1)
      , mapped_(mapped) {}

    static std::size_t octetsFor(std::size_t capacity) noexcept {
        return sizeof(SlotArray) + capacity * slotOctets;
    }

    static DedupHandle* handleOf(U64 slot) noexcept {
        return reinterpret_cast<DedupHandle*>(slot & ~Placement::fragmentMask);
    }

    /// Acquire: an object that is found in a slot has been constructed.
    U64 slotAt(std::size_t index) const noexcept {
        return std::atomic_ref<U64>(slots()[index]).load(std::memory_order_acquire);
    }

    void slotIs(std::size_t index, U64 slot) noexcept {
        std::atomic_ref<U64>(slots()[index]).store(slot, std::memory_order_release);
    }

    U64* slots() const noexcept { return reinterpret_cast<U64*>(const_cast<SlotArray*>(this) + 1); }

    U32* places() const noexcept { return reinterpret_cast<U32*>(slots() + capacity()); }

    std::size_t const mask_;
    bool const mapped_;
    /// How far the memory of the array has been given back, in octets from its start.
    std::size_t releasedOctets_ = 0;
};

static_assert(sizeof(SlotArray) % sizeof(U64) == 0);

/// The slots of one shard, which grow and shrink by bounded steps.
///
/// When the array is too full or too empty, one of twice or half its size takes its place; each
/// later change moves some entries over. Until all have been moved, look-ups go to both. An array
/// that has been emptied stays readable, for a probe may still be in it: it is kept as a spare,
/// gives its memory back step by step, and serves again when that size is needed.
///
/// Guarded by its shard's lock, except candidate() and find().
class DedupSlots {
  public:
    DedupSlots() noexcept = default;
    DedupSlots(DedupSlots const&) = delete;
    DedupSlots& operator=(DedupSlots const&) = delete;
    ~DedupSlots();

    std::size_t size() const noexcept { return size_; }
    std::size_t capacity() const noexcept;
    std::size_t octets() const noexcept;

    // Without the lock null may be wrong, and what is found may have been destroyed: before an
    // object has been retained, its count word is all that may be read of it.

    /// The first object with that placement's fragment in the array that entries go to, or null.
    DedupHandle* candidate(Placement placement) const noexcept {
        auto const* const array = current_.load(std::memory_order_acquire);
        return array == nullptr ? nullptr : array->candidate(placement);
    }

    /// The object with that placement that `accept(DedupHandle&)` accepts, or null.
    template <class Accept>
    DedupHandle* find(Placement placement, Accept const& accept) const {
        if (auto const* const array = current_.load(std::memory_order_acquire); array != nullptr) {
            if (auto* const handle = array->find(placement, accept); handle != nullptr) {
                return handle;
            }
        }
        if (auto const* const array = previous_.load(std::memory_order_acquire); array != nullptr) {
            return array->find(placement, accept);
        }
        return nullptr;
    }

    /// How many changes have begun and ended. To be read before find() without the lock.
    U64 changes() const noexcept { return changes_.load(std::memory_order_acquire); }

    /// Whether nothing was being changed when changes() returned that number, nor has been since:
    /// what find() did not find in between is not there. The loads of find() acquire, so this one
    /// comes after them; and a slot that a change has written is seen after the change was counted.
    bool unchangedSince(U64 changes) const noexcept {
        return changes % 2 == 0 && changes_.load(std::memory_order_relaxed) == changes;
    }

    /// Makes sure that the next insert() needs no memory. Throws `std::bad_alloc`, with nothing
    /// changed.
    void makeRoomForOne();

    void insert(Placement placement, DedupHandle& handle) noexcept;

    /// Takes out an object, which must be here (asserted).
    void erase(DedupHandle const& handle, U32 place) noexcept;

    template <class Visitor>
    void forEach(Visitor const& visitor) const {
        for (auto const* array : {current_.load(std::memory_order_relaxed),
                                  previous_.load(std::memory_order_relaxed)}) {
            if (array != nullptr) {
                array->forEach(visitor);
            }
        }
    }

  private:
    static constexpr std::size_t leastCapacity = 8;
    /// How many slots a change moves at least. Growth is over long before the larger array is full,
    /// and shrinking before the smaller one has to grow again.
    static constexpr std::size_t slotsPerStep = 16;

    /// Counts a change at its begin and at its end: the number is odd meanwhile.
    class Change {
      public:
        explicit Change(DedupSlots& slots) noexcept
          : slots_(slots) {
            count(std::memory_order_relaxed); // before the stores to slots, which release
        }
        ~Change() { count(std::memory_order_release); }
        Change(Change const&) = delete;
        Change& operator=(Change const&) = delete;

      private:
        void count(std::memory_order order) noexcept {
            slots_.changes_.store(slots_.changes_.load(std::memory_order_relaxed) + 1, order);
        }

        DedupSlots& slots_;
    };

    SlotArray* arrayOf(std::size_t capacity);
    void replaceBy(SlotArray* array) noexcept;
    void shrinkIfEmpty() noexcept;
    void step() noexcept;
    void releaseSpareMemory() noexcept;

    /// Where entries go; null before the first.
    std::atomic<SlotArray*> current_{nullptr};
    /// What is being emptied into it, or null.
    std::atomic<SlotArray*> previous_{nullptr};
    // Another cache line, so that a change does not take the one above from other threads' probes.
    alignas(64) std::atomic<U64> changes_{0};
    SlotArray* spares_ = nullptr;
    bool spareMemoryLeft_ = false;
    /// Of `previous_`: the next slot to move, and how many are left.
    std::size_t next_ = 0;
    std::size_t left_ = 0;
    std::size_t size_ = 0;
};

} // namespace Kel
