#pragma once

#include <Mox/Assert.h>
#include <Mox/Ptr.h>
#include <Mox/Types.h>
#include <VoBgp/VoBgpCommunityPacketTypes.h>

#include <algorithm>
#include <bit>
#include <memory>
#include <utility>

namespace Routing::Bgp {

/// The classification lists of a list, one slot for each class up to the highest one present. Slots
/// of absent classes are null.
///
/// Owned by its list; holds a reference to each classification list. Only present lists take
/// memory, in slot order, and up to two of them none on the heap. An operation that throws leaves
/// it unchanged. Thread-compatible. Header-only.
template <class ClassificationList>
class ClassificationListVector {
  public:
    using ListPtr = Mox::PtrConst<ClassificationList>;
    using value_type = ListPtr;

    /// More slots than there are classes.
    static constexpr U32 maximumSlots = 16;
    static_assert(extCommClassificationOneBeyondLast <= maximumSlots);

    ClassificationListVector() noexcept
      : local_() {}

    ~ClassificationListVector() { clear(); }

    ClassificationListVector(ClassificationListVector const&) = delete;
    ClassificationListVector& operator=(ClassificationListVector const&) = delete;

    /// Number of slots.
    U32 size() const noexcept { return static_cast<U32>(std::bit_width(present_)); }
    bool empty() const noexcept { return present_ == 0; }

    /// The list in a slot; null for an empty slot and for one beyond the last.
    ClassificationList const* operator[](U32 slot) const noexcept {
        return has(slot) ? begin()[placeOf(slot)].get() : nullptr;
    }

    /// Reserves room for that many present lists.
    void reserve(U32 lists) {
        MOX_ASSERT(lists <= maximumSlots);
        if (lists > capacity_) {
            auto* const larger = new ListPtr[lists];
            std::move(data(), data() + count_, larger);
            destroyPlaces();
            several_ = larger;
            capacity_ = static_cast<U8>(lists);
        }
    }

    void slotIs(U32 slot, ListPtr const& list) {
        MOX_ASSERT(slot < maximumSlots);
        if (has(slot)) {
            data()[placeOf(slot)] = list;
        } else {
            insert(slot, list);
        }
    }

    /// Puts a list into a slot above all present ones. REQUIRES: room for it is reserved.
    void append(U32 slot, ListPtr list) noexcept {
        data()[count_++] = std::move(list);
        present_ = static_cast<U16>(present_ | 1U << slot);
    }

    /// Copies the lists of another vector. REQUIRES: this one is empty.
    void copy(ClassificationListVector const& other) {
        if (!other.empty()) {
            reserve(other.count_);
            std::copy(other.begin(), other.end(), data());
            present_ = other.present_;
            count_ = other.count_;
        }
    }

    void clear() noexcept {
        present_ = 0;
        count_ = 0;
        // Released last, because a release may call back into this object.
        if (isLocal()) {
            ListPtr const removed[] = {std::move(local_[0]), std::move(local_[1])};
        } else {
            std::unique_ptr<ListPtr[]> const removed(several_);
            capacity_ = localCapacity;
            std::uninitialized_default_construct_n(local_, localCapacity);
        }
    }

    // The lists that are present, in the order of their slots.
    ListPtr const* begin() const noexcept { return isLocal() ? local_ : several_; }
    ListPtr const* end() const noexcept { return begin() + count_; }

    /// Whether both hold the same objects in the same slots.
    friend bool operator==(ClassificationListVector const& a,
                           ClassificationListVector const& b) noexcept {
        return a.present_ == b.present_ && std::equal(a.begin(), a.end(), b.begin());
    }

  private:
    static constexpr U8 localCapacity = 2;

    bool isLocal() const noexcept { return capacity_ == localCapacity; }
    ListPtr* data() noexcept { return isLocal() ? local_ : several_; }

    /// Destroys the objects that were moved from.
    void destroyPlaces() noexcept {
        if (isLocal()) {
            std::destroy_n(local_, localCapacity);
        } else {
            delete[] several_;
        }
    }

    bool has(U32 slot) const noexcept {
        return slot < maximumSlots && (present_ >> slot & 1U) != 0;
    }

    /// The number of lists in lower slots.
    U32 placeOf(U32 slot) const noexcept {
        return static_cast<U32>(std::popcount(present_ & ((1U << slot) - 1)));
    }

    void insert(U32 slot, ListPtr const& list) {
        reserve(count_ + 1U);
        auto* const place = data() + placeOf(slot);
        auto* const last = data() + count_;
        std::move_backward(place, last, last + 1);
        *place = list;
        present_ = static_cast<U16>(present_ | 1U << slot);
        ++count_;
    }

    /// The lists: an array on the heap if `capacity_` exceeds `localCapacity`.
    union {
        ListPtr local_[localCapacity];
        ListPtr* several_;
    };
    /// One bit for each slot that is not null.
    U16 present_ = 0;
    U8 count_ = 0;
    U8 capacity_ = localCapacity;
};

} // namespace Routing::Bgp
