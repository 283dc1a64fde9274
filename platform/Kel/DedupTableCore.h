#pragma once

#include <Kel/DedupHandle.h>
#include <Kel/DedupHashTable.h>
#include <Mox/Ptr.h>
#include <Mox/Types.h>

#include <atomic>
#include <cstddef>
#include <functional>
#include <memory>
#include <mutex>
#include <vector>

namespace Kel {

using Mox::U64;

/// The flat array of one shard: open addressing, linear probing, no tombstones.
///
/// A slot is one word: the address of an object in its low 48 bits and 16 bits of the object's
/// placed hash above them, so that a probe that fails does not touch the object. 0 is an empty
/// slot. Guarded by its shard's lock.
class DedupSlots {
  public:
    std::size_t size() const noexcept { return size_; }
    std::size_t capacity() const noexcept { return slots_ == nullptr ? 0 : mask_ + 1; }
    std::size_t octets() const noexcept { return capacity() * sizeof(U64); }

    /// The object with that placed hash which the predicate accepts, or null.
    template <class Predicate>
    DedupHandle* find(U64 placed, Predicate const& matches) const {
        if (slots_ == nullptr) {
            return nullptr;
        }
        for (auto place = placed & mask_;; place = (place + 1) & mask_) {
            U64 const slot = slots_[place];
            if (slot == 0) {
                return nullptr;
            }
            if (fragmentOf(slot) == fragmentOf(placed) && matches(*handleOf(slot))) {
                return handleOf(slot);
            }
        }
    }

    /// Makes sure that the next insert() needs no memory. `placedOf` gives an object's placed hash.
    template <class PlacedOf>
    void makeRoomForOne(PlacedOf const& placedOf) {
        if (5 * (size_ + 1) > 4 * capacity()) {
            auto const larger = capacity() == 0 ? leastCapacity : 2 * capacity();
            moveTo(std::make_unique<U64[]>(larger), larger, placedOf);
        }
    }

    void insert(U64 placed, DedupHandle& handle) noexcept;

    template <class PlacedOf>
    void erase(U64 placed, DedupHandle const& handle, PlacedOf const& placedOf) noexcept;

    template <class Visitor>
    void forEach(Visitor const& visitor) const {
        for (std::size_t i = 0; i < capacity(); ++i) {
            if (slots_[i] != 0) {
                visitor(*handleOf(slots_[i]));
            }
        }
    }

  private:
    static constexpr std::size_t leastCapacity = 8;
    static constexpr unsigned fragmentShift = 48;

    static U64 fragmentOf(U64 word) noexcept { return word >> fragmentShift; }

    static DedupHandle* handleOf(U64 slot) noexcept {
        return reinterpret_cast<DedupHandle*>(slot & ((U64{1} << fragmentShift) - 1));
    }

    void put(U64 slot, U64 placed) noexcept;

    template <class PlacedOf>
    void moveTo(std::unique_ptr<U64[]> slots, std::size_t capacity,
                PlacedOf const& placedOf) noexcept;

    std::unique_ptr<U64[]> slots_;
    std::size_t mask_ = 0;
    std::size_t size_ = 0;
};

/// What a table is made of and what outlives it: the arrays, their locks, and the notifiee.
///
/// It belongs to its table and to every object that the table left behind: such an object's release
/// may be on its way here when the table goes. Thread-safe if made so, thread-compatible otherwise.
///
/// In thread-safe mode the arrays are split by hash into shards, each with a lock, so that threads
/// on different contents do not meet. Order of locks: the process-wide notification mutex, then one
/// shard's. No shard lock is held while foreign code runs.
class DedupTableCore {
  public:
    explicit DedupTableCore(bool threadSafe);
    ~DedupTableCore();
    DedupTableCore(DedupTableCore const&) = delete;
    DedupTableCore& operator=(DedupTableCore const&) = delete;
    bool isThreadSafe() const noexcept { return threadSafe_; }

    /// A reference to the object with that placement hash which `matches(context, object)` accepts,
    /// or null.
    DedupHandle::PtrConst find(U64 placementHash,
                               bool (*matches)(void const* context, DedupHandle const&),
                               void const* context);
    DedupHandle::PtrConst dedup(DedupHandle::Ptr const& object);

    /// A release that may be the last outside one of an object interned here.
    void releaseHandle(DedupHandle& handle) noexcept;

    void notifieeIs(Mox::Ptr<DedupHashTableLifeTimeNotifiee> const& notifiee,
                    Mox::PtrConst<DedupHashTable> const& table);
    Mox::Ptr<DedupHashTableLifeTimeNotifiee> notifiee() const;

    /// The table has gone: every object still here becomes a plain counted one.
    void abandon() noexcept;

    /// Gives back the table's hold on the core, or that of an object which the table left behind.
    void release() noexcept;

    std::size_t size() const;
    std::size_t capacity() const;
    std::size_t octets() const;
    std::vector<DedupHandle::PtrConst> handles();

  private:
    struct alignas(64) Shard {
        mutable std::mutex mutex;
        DedupSlots slots;
    };
    class Locks;

    static U64 placedHash(U32 placement) noexcept;

    static U64 placedHashOf(DedupHandle const& handle) noexcept {
        return placedHash(handle.placement_);
    }

    Shard& shardOf(U64 placed) noexcept;

    template <class Predicate>
    DedupHandle::PtrConst take(Locks& locks, Shard& shard, U64 placed, Predicate const& matches);

    void enter(Shard& shard, DedupHandle& handle, U32 placement, bool announce);
    void leave(Shard& shard, DedupHandle& handle) noexcept;
    DedupHandle::PtrConst announceInsertion(Locks& locks, Shard& shard, DedupHandle::Ptr object);
    void forgetAnnouncements() noexcept;

    bool const threadSafe_;
    std::vector<Shard> shards_;
    /// The notifiee, and whether it is told, are read and changed under the notification mutex
    /// only. Whether that mutex is needed is readable without.
    Mox::Ptr<DedupHashTableLifeTimeNotifiee> notifiee_;
    bool telling_ = false;
    std::atomic<bool> watched_{false};
    std::atomic<U64> holders_{1};
};

} // namespace Kel
