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

/// The classification lists of a list, each in the slot that its class is the number of: as many
/// slots as the highest class present plus one, those of absent classes null.
///
/// It belongs to its list and holds a reference to each classification list. Only those that are
/// there take room, in the order of their slots. An operation that throws leaves it as it was.
/// Thread-compatible.
template <class ClassificationList>
class ClassificationListVector {
  public:
    using ListPtr = Mox::PtrConst<ClassificationList>;

    /// More slots than there are classes.
    static constexpr U32 maximumSlots = 16;
    static_assert(extCommClassificationOneBeyondLast <= maximumSlots);

    ClassificationListVector() noexcept = default;
    ClassificationListVector(ClassificationListVector const&) = delete;
    ClassificationListVector& operator=(ClassificationListVector const&) = delete;

    /// How many slots there are.
    U32 size() const noexcept { return static_cast<U32>(std::bit_width(present_)); }
    bool empty() const noexcept { return present_ == 0; }

    /// The list in a slot; null for an empty slot and for one beyond the last.
    ClassificationList const* operator[](U32 slot) const noexcept {
        return has(slot) ? lists_[placeOf(slot)].get() : nullptr;
    }

    /// Room for that many lists that are there.
    void reserve(U32 lists) {
        MOX_ASSERT(lists <= maximumSlots);
        if (lists > capacity_) {
            std::unique_ptr<ListPtr[]> larger(new ListPtr[lists]);
            std::move(lists_.get(), lists_.get() + count_, larger.get());
            lists_.swap(larger);
            capacity_ = static_cast<U8>(lists);
        }
    }

    void slotIs(U32 slot, ListPtr const& list) {
        MOX_ASSERT(slot < maximumSlots);
        auto* const place = lists_.get() + placeOf(slot);
        if (has(slot)) {
            *place = list;
        } else {
            insert(slot, list);
        }
    }

    /// Takes the lists of another one. REQUIRES: this is empty.
    void copy(ClassificationListVector const& other) {
        if (!other.empty()) {
            reserve(other.count_);
            std::copy(other.begin(), other.end(), lists_.get());
            present_ = other.present_;
            count_ = other.count_;
        }
    }

    void clear() noexcept {
        present_ = 0;
        count_ = 0;
        capacity_ = 0;
        // They go last: their release may come back here.
        auto const removed = std::exchange(lists_, nullptr);
    }

    // The lists that are there, in the order of their slots.
    ListPtr const* begin() const noexcept { return lists_.get(); }
    ListPtr const* end() const noexcept { return lists_.get() + count_; }

    /// Whether both hold the same objects in the same slots.
    friend bool operator==(ClassificationListVector const& a,
                           ClassificationListVector const& b) noexcept {
        return a.present_ == b.present_ && std::equal(a.begin(), a.end(), b.begin());
    }

  private:
    bool has(U32 slot) const noexcept {
        return slot < maximumSlots && (present_ >> slot & 1U) != 0;
    }

    /// Behind the lists of how many lower slots.
    U32 placeOf(U32 slot) const noexcept {
        return static_cast<U32>(std::popcount(present_ & ((1U << slot) - 1)));
    }

    void insert(U32 slot, ListPtr const& list) {
        reserve(count_ + 1U);
        auto* const place = lists_.get() + placeOf(slot);
        auto* const end = lists_.get() + count_;
        std::move_backward(place, end, end + 1);
        *place = list;
        present_ = static_cast<U16>(present_ | 1U << slot);
        ++count_;
    }

    std::unique_ptr<ListPtr[]> lists_;
    /// One bit for each slot that is not null.
    U16 present_ = 0;
    U8 count_ = 0;
    U8 capacity_ = 0;
};

} // namespace Routing::Bgp
