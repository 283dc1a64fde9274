#pragma once

#include <Mox/SchedulingPoint.h>
#include <Mox/Types.h>

#include <atomic>
#include <bit>
#include <cstddef>
#include <utility>

namespace Kel {

using Mox::U32;
using Mox::U64;
using Mox::U8;

class DedupHandle;

/// The place of a content in a table: parts of its placement hash.
class Placement {
  public:
    explicit Placement(U64 placementHash) noexcept
      : hash_(placementHash) {}

    /// The part that an object keeps, and that an array has for each slot: enough to find the
    /// object in an array of any size without its content. The low bits select the shard, the high
    /// ones the bucket.
    U32 place() const noexcept { return static_cast<U32>(hash_); }

    /// 7 bits of the hash that are not in place(), and a 1. Kept beside each slot, so that few
    /// other objects have to be compared; 0 is the tag of an empty slot.
    U8 tag() const noexcept { return static_cast<U8>(hash_ >> 56 | 1); }

  private:
    U64 hash_;
};

/// Seven slots in one cache line: the addresses of objects, null if empty.
///
/// The control word has an octet for each slot: its object's tag, or 0 if the slot is empty. All
/// tags are compared at once, without a branch for each slot. The last octet counts the entries for
/// which this bucket was full and which are in a later one.
///
///      63         56 55                                                    0
///     +-------------+-------+-------+-------+-------+-------+-------+-------+
///     | passed over | tag 6 | tag 5 | tag 4 | tag 3 | tag 2 | tag 1 | tag 0 |
///     +-------------+-------+-------+-------+-------+-------+-------+-------+
///
/// One thread at a time changes a bucket; others may read it meanwhile. The tags are only a hint
/// for them: a slot may already be empty, or hold another object.
class alignas(64) SlotBucket {
  public:
    static constexpr unsigned slots = 7;

    /// The slots of a bucket with one tag.
    class Matches {
      public:
        explicit operator bool() const noexcept { return bits_ != 0; }
        unsigned first() const noexcept { return firstBit() / 8; }
        void removeFirst() noexcept { bits_ &= bits_ - 1; }

      private:
        friend class SlotBucket;
        explicit Matches(U64 bits) noexcept
          : bits_(bits) {}

        unsigned firstBit() const noexcept {
            return static_cast<unsigned>(std::countr_zero(bits_));
        }

        /// The highest bit of each octet that matches. Exact for the lowest match; above it, an
        /// octet that differs in the lowest bit only may be reported as well.
        U64 bits_;
    };

    // Acquire: an object that is found in a slot has been constructed, and DedupSlots detects
    // changes that were made meanwhile.

    U64 control() const noexcept { return word(0).load(std::memory_order_acquire); }
    DedupHandle* slot(unsigned index) const noexcept { return slotAt(sizeof(U64) * (1 + index)); }

    /// The index of the slot with that object, or `slots`. Compares all slots, because a branch for
    /// each of them could not be predicted.
    unsigned indexOf(DedupHandle const& handle) const noexcept {
        return [&]<unsigned... index>(std::integer_sequence<unsigned, index...>) {
            auto const equal = ((static_cast<unsigned>(slot(index) == &handle) << index) | ...);
            return static_cast<unsigned>(std::countr_zero(equal | 1U << slots));
        }
        (std::make_integer_sequence<unsigned, slots>());
    }

    /// The slot of the first match. REQUIRES: there is a match.
    DedupHandle* firstSlot(Matches matches) const noexcept {
        // Slot i begins 8 + 8 * i octets from the start, and its bit is 7 + 8 * i.
        return slotAt(matches.firstBit() + 1);
    }

    static Matches matches(U64 control, Placement placement) noexcept {
        return zeroTags(control ^ placement.tag() * lowBits);
    }
    static Matches emptySlots(U64 control) noexcept { return zeroTags(control); }
    static bool isPassedOver(U64 control) noexcept { return control >> passedShift != 0; }

    U8 tag(unsigned index) const noexcept { return static_cast<U8>(control() >> (8 * index)); }

    /// Puts an object into an empty slot.
    void put(unsigned index, DedupHandle& handle, U8 tag) noexcept {
        word(1 + index).store(reinterpret_cast<U64>(&handle), std::memory_order_release);
        MOX_SCHEDULING_POINT(putTag);
        controlIs(control() | U64{tag} << (8 * index));
    }

    void clear(unsigned index) noexcept {
        controlIs(control() & ~(U64{0xff} << (8 * index)));
        MOX_SCHEDULING_POINT(clearSlot);
        word(1 + index).store(0, std::memory_order_release);
    }

    /// Counts an entry that goes to a later bucket. A count that reaches the maximum stays there.
    void passedOver() noexcept {
        if (control() >> passedShift != passedMaximum) {
            controlIs(control() + passedOne);
        }
    }

    void passedOverRemoved() noexcept {
        if (control() >> passedShift != passedMaximum) {
            controlIs(control() - passedOne);
        }
    }

  private:
    static constexpr unsigned passedShift = 8 * slots;
    static constexpr U64 passedOne = U64{1} << passedShift;
    static constexpr U64 passedMaximum = 0xff;
    static constexpr U64 lowBits = 0x0001'0101'0101'0101;
    static constexpr U64 highBits = lowBits << 7;

    static Matches zeroTags(U64 tags) noexcept {
        return Matches((tags - lowBits) & ~tags & highBits);
    }

    std::atomic_ref<U64> word(unsigned index) const noexcept {
        return std::atomic_ref<U64>(words_[index]);
    }

    DedupHandle* slotAt(std::size_t octet) const noexcept {
        auto& word = *reinterpret_cast<U64*>(reinterpret_cast<std::byte*>(words_) + octet);
        return reinterpret_cast<DedupHandle*>(
            std::atomic_ref<U64>(word).load(std::memory_order_acquire));
    }

    void controlIs(U64 control) noexcept { word(0).store(control, std::memory_order_release); }

    mutable U64 words_[1 + slots];
};

static_assert(sizeof(SlotBucket) == 64);

/// One flat array of buckets, a power of two. An entry is in the bucket that its place selects, or
/// in the first later one with an empty slot. A second array has the place of each slot's object,
/// so that moving an entry does not touch the object.
///
/// One thread at a time changes an array; others may probe it meanwhile. They may then miss an
/// object that is present, or find one that has been removed.
///
///     | header | bucket 0 | bucket 1 | ... | places of bucket 0 | places of bucket 1 | ... |
class alignas(SlotBucket) SlotArray {
  public:
    /// Creates an empty array. Throws `std::bad_alloc`.
    static SlotArray* create(std::size_t buckets);
    static void destroy(SlotArray* array) noexcept;

    std::size_t bucketCount() const noexcept { return std::size_t{1} << (placeBits - shift_); }
    std::size_t capacity() const noexcept { return SlotBucket::slots * bucketCount(); }
    /// Octets of memory, without the part that was returned to the system.
    std::size_t octets() const noexcept;

    /// The address of an array's buckets, and in its low bits how far a place is shifted to get the
    /// index of its bucket: a look-up need not read the header. May be null.
    class Reference {
      public:
        Reference() noexcept = default;
        explicit Reference(SlotArray const& array) noexcept
          : word_(reinterpret_cast<U64>(array.buckets()) | array.shift_) {}

        explicit operator bool() const noexcept { return word_ != 0; }
        SlotArray* get() const noexcept {
            return word_ == 0 ? nullptr : reinterpret_cast<SlotArray*>(buckets()) - 1;
        }

        /// The first object in that placement's bucket with its tag, or null: nearly always the
        /// only candidate. REQUIRES: the reference is not null.
        DedupHandle* candidate(Placement placement) const noexcept {
            auto const& bucket = buckets()[U64{placement.place()} >> (word_ & shiftMask)];
            auto const matches = SlotBucket::matches(bucket.control(), placement);
            return matches ? bucket.firstSlot(matches) : nullptr;
        }

      private:
        static constexpr U64 shiftMask = alignof(SlotBucket) - 1;

        SlotBucket* buckets() const noexcept {
            return reinterpret_cast<SlotBucket*>(word_ & ~shiftMask);
        }

        U64 word_ = 0;
    };

    /// Returns the first object with this placement that `accept(DedupHandle&)` accepts, or null.
    template <class Accept>
    DedupHandle* find(Placement placement, Accept const& accept) const {
        auto index = homeOf(placement.place());
        // Bounded for look-ups while entries move.
        for (auto left = bucketCount(); left != 0; --left, index = next(index)) {
            auto const& bucket = buckets()[index];
            auto const control = bucket.control();
            for (auto found = SlotBucket::matches(control, placement); found; found.removeFirst()) {
                auto* const handle = bucket.firstSlot(found);
                if (handle != nullptr &&
                    place(index, found.first()).load(std::memory_order_acquire) ==
                        placement.place() &&
                    accept(*handle)) {
                    return handle;
                }
            }
            if (!SlotBucket::isPassedOver(control)) {
                break;
            }
        }
        return nullptr;
    }

    /// Puts an object into the first empty slot from its bucket on. REQUIRES: there is one.
    void put(DedupHandle& handle, U32 place, U8 tag) noexcept;

    /// Removes an object. Returns false if it is not in this array.
    bool erase(DedupHandle const& handle, U32 place) noexcept;

    /// Moves all entries of a bucket into another array.
    void moveBucketTo(SlotArray& other, std::size_t index) noexcept;

    /// Returns the memory of some slots to the system. REQUIRES: all slots are empty and stay so.
    /// False when there is nothing left to return.
    bool releaseSomeMemory() noexcept;

    template <class Visitor>
    void forEach(Visitor const& visitor) const {
        for (std::size_t index = 0; index < bucketCount(); ++index) {
            for (unsigned i = 0; i < SlotBucket::slots; ++i) {
                if (auto* const handle = buckets()[index].slot(i); handle != nullptr) {
                    visitor(*handle);
                }
            }
        }
    }

    /// Prepares an emptied array for new entries.
    void reuse() noexcept { releasedOctets_ = 0; }

    /// The next array in a list of spare ones.
    SlotArray* nextSpare = nullptr;

  private:
    static constexpr unsigned placeBits = 32;

    SlotArray(unsigned shift, bool mapped) noexcept
      : shift_(shift)
      , mapped_(mapped) {}

    static std::size_t octetsFor(std::size_t buckets) noexcept {
        return sizeof(SlotArray) + buckets * (sizeof(SlotBucket) + SlotBucket::slots * sizeof(U32));
    }

    SlotBucket* buckets() const noexcept {
        return reinterpret_cast<SlotBucket*>(const_cast<SlotArray*>(this) + 1);
    }

    /// The place of the object in a slot.
    std::atomic_ref<U32> place(std::size_t bucket, unsigned index) const noexcept {
        auto* const places = reinterpret_cast<U32*>(buckets() + bucketCount());
        return std::atomic_ref<U32>(places[SlotBucket::slots * bucket + index]);
    }

    std::size_t homeOf(U32 place) const noexcept { return U64{place} >> shift_; }
    std::size_t next(std::size_t bucket) const noexcept {
        return (bucket + 1) & (bucketCount() - 1);
    }

    bool eraseAfter(std::size_t home, DedupHandle const& handle) noexcept;
    void remove(std::size_t bucket, unsigned index, std::size_t home) noexcept;

    unsigned const shift_;
    bool const mapped_;
    /// Up to where the array's memory was returned to the system, except for its first page.
    std::size_t releasedOctets_ = 0;
};

static_assert(sizeof(SlotArray) == sizeof(SlotBucket));

/// The slots of one shard, which grow and shrink in bounded steps.
///
/// When the array is too full or too empty, it is replaced by one of twice or half its size, and
/// each later change moves some entries. Until all are moved, look-ups probe both arrays. An
/// emptied array must remain readable, because a probe may still access it: it is kept as a spare,
/// releases its memory step by step, and is reused when that size is needed again.
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

    // Without the lock, null may be wrong, and the object found may have been destroyed: until it
    // is retained, only its count word may be read.

    /// Returns the candidate in the current array; see SlotArray::Reference::candidate().
    DedupHandle* candidate(Placement placement) const noexcept {
        auto const array = current_.load(std::memory_order_acquire);
        return array ? array.candidate(placement) : nullptr;
    }

    /// Returns the object with this placement that `accept(DedupHandle&)` accepts, or null.
    template <class Accept>
    DedupHandle* find(Placement placement, Accept const& accept) const {
        if (auto const array = current_.load(std::memory_order_acquire)) {
            if (auto* const handle = array.get()->find(placement, accept); handle != nullptr) {
                return handle;
            }
        }
        MOX_SCHEDULING_POINT(findInPrevious);
        if (auto const* const array = previous_.load(std::memory_order_acquire); array != nullptr) {
            return array->find(placement, accept);
        }
        return nullptr;
    }

    /// Counts the beginnings and ends of changes. Read it before find() without the lock.
    U64 changes() const noexcept { return changes_.load(std::memory_order_acquire); }

    /// Whether no change was in progress when changes() returned `changes`, and none has begun
    /// since. If so, an object that find() did not find in between is not in the table. The loads
    /// of find() acquire, so this load comes after them; and the count of a change is visible
    /// before its stores to slots.
    bool unchangedSince(U64 changes) const noexcept {
        MOX_SCHEDULING_POINT(unchangedSince);
        return changes % 2 == 0 && changes_.load(std::memory_order_relaxed) == changes;
    }

    /// Ensures that the next insert() needs no memory. Throws `std::bad_alloc`; on error, nothing
    /// is changed.
    void makeRoomForOne() {
        if (size_ >= fullSize_) [[unlikely]] {
            grow();
        }
    }

    void insert(Placement placement, DedupHandle& handle) noexcept;

    /// Removes an object. REQUIRES: it is in the table (asserted).
    void erase(DedupHandle const& handle, U32 place) noexcept;

    template <class Visitor>
    void forEach(Visitor const& visitor) const {
        for (auto const* array : {current(), previous_.load(std::memory_order_relaxed)}) {
            if (array != nullptr) {
                array->forEach(visitor);
            }
        }
    }

  private:
    /// How many buckets a change moves, in a few microseconds. Growth completes long before the
    /// larger array is full, and soon enough that few look-ups search the previous array.
    static constexpr std::size_t bucketsPerStep = 16;

    /// Counts the beginning and the end of a change; the count is odd in between.
    class Change {
      public:
        explicit Change(DedupSlots& slots) noexcept
          : slots_(slots) {
            count(std::memory_order_relaxed); // before the stores to slots, which release
            MOX_SCHEDULING_POINT(beginChange);
        }
        ~Change() {
            MOX_SCHEDULING_POINT(endChange);
            count(std::memory_order_release);
        }
        Change(Change const&) = delete;
        Change& operator=(Change const&) = delete;

      private:
        void count(std::memory_order order) noexcept {
            slots_.changes_.store(slots_.changes_.load(std::memory_order_relaxed) + 1, order);
        }

        DedupSlots& slots_;
    };

    /// For changes by the holder of the lock.
    SlotArray* current() const noexcept { return current_.load(std::memory_order_relaxed).get(); }

    SlotArray* arrayOf(std::size_t buckets);
    void replaceBy(SlotArray* array) noexcept;
    void grow();
    void shrinkIfEmpty() noexcept {
        if (size_ < emptySize_) [[unlikely]] {
            shrink();
        }
    }
    void shrink() noexcept;
    bool isMoving() const noexcept { return previous_.load(std::memory_order_relaxed) != nullptr; }
    void step() noexcept;
    void move() noexcept;
    void releaseSpareMemory() noexcept;

    /// The array for new entries; null before the first one.
    std::atomic<SlotArray::Reference> current_{};
    /// The array being emptied into `current_`, or null.
    std::atomic<SlotArray*> previous_{nullptr};
    // On another cache line, so that a change does not invalidate the one above for other threads.
    alignas(64) std::atomic<U64> changes_{0};
    SlotArray* spares_ = nullptr;
    bool spareMemoryLeft_ = false;
    /// The next bucket of `previous_` to move.
    std::size_t next_ = 0;
    std::size_t size_ = 0;
    /// With so many entries, the array is replaced by a larger one.
    std::size_t fullSize_ = 0;
    /// With fewer, by a smaller one.
    std::size_t emptySize_ = 0;
};

} // namespace Kel
