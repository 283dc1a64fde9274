#pragma once

#include <Kel/DedupHandle.h>
#include <Mox/Assert.h>
#include <Mox/CompactVector.h>
#include <Mox/Ptr.h>
#include <VoBgp/ExtCommClassificationListVector.h>

#include <algorithm>
#include <functional>
#include <type_traits>
#include <utility>

/// Vectors of list members: sorting and searching. Header-only.

namespace Routing::Bgp {

// ---- Sorted vectors -----------------------------------------------------------------------------

/// Whether the members are sorted by key and distinct.
template <class Members, class KeyOf = std::identity>
bool commVectorAscends(Members const& members, KeyOf keyOf = {}) {
    return std::adjacent_find(members.begin(), members.end(), [&](auto const& a, auto const& b) {
               return !(keyOf(a) < keyOf(b));
           }) == members.end();
}

namespace Detail {

/// Merges two adjacent sorted ranges, stably and without a buffer: rotates the part of the left one
/// that belongs behind a part of the right one, then merges on both sides of the cut.
template <class Member, class Before>
void mergeInPlace(Member* first, Member* middle, Member* last, Before const& before) {
    if (first == middle || middle == last || !before(*middle, *(middle - 1))) {
        return;
    }
    if (last - first == 2) {
        std::iter_swap(first, middle);
        return;
    }
    auto* left = first + (middle - first) / 2;
    auto* right = middle + (last - middle) / 2;
    if (middle - first > last - middle) {
        right = std::lower_bound(middle, last, *left, before);
    } else {
        left = std::upper_bound(first, middle, *right, before);
    }
    auto* const cut = std::rotate(left, middle, right);
    mergeInPlace(first, left, cut, before);
    mergeInPlace(cut, right, last, before);
}

/// A stable sort that never allocates: insertion for short ranges, merging for longer ones.
template <class Member, class Before>
void sortInPlace(Member* first, Member* last, Before const& before) {
    if (last - first > 32) {
        auto* const middle = first + (last - first) / 2;
        sortInPlace(first, middle, before);
        sortInPlace(middle, last, before);
        mergeInPlace(first, middle, last, before);
        return;
    }
    for (auto* next = first; next != last; ++next) {
        std::rotate(std::upper_bound(first, next, *next, before), next, next + 1);
    }
}

} // namespace Detail

/// Sorts the members by key and removes duplicates, keeping the first of each key. Allocates
/// nothing. Guaranteed not to throw.
template <class Member, class KeyOf = std::identity>
void commVectorUnify(Mox::CompactVector<Member>& members, KeyOf keyOf = {}) {
    if (commVectorAscends(members, keyOf)) {
        // The usual case: most peers send their communities sorted.
        return;
    }
    auto const before = [&](Member const& a, Member const& b) { return keyOf(a) < keyOf(b); };
    if constexpr (std::is_trivially_copyable_v<Member>) {
        std::sort(members.begin(), members.end(), before);
    } else {
        // Stable, to keep the object that was appended first.
        Detail::sortInPlace(members.begin(), members.end(), before);
    }
    auto* const end =
        std::unique(members.begin(), members.end(),
                    [&](Member const& a, Member const& b) { return keyOf(a) == keyOf(b); });
    members.eraseFrom(end);
}

/// Returns the first member of a sorted vector whose key is not less than `key`, or the end.
template <class Member, class Key, class KeyOf = std::identity>
Member const* commVectorLowerBound(Mox::CompactVector<Member> const& members, Key const& key,
                                   KeyOf keyOf = {}) {
    return std::lower_bound(
        members.begin(), members.end(), key,
        [&](Member const& member, Key const& wanted) { return keyOf(member) < wanted; });
}

// ---- Vectors of interned communities ------------------------------------------------------------

// Communities of eight octets or of twenty. `extCommKey(comm)`, defined beside each kind of list,
// returns the key that its communities are sorted by.

/// Appends a community. REQUIRES: it is interned (asserted). `ExtCommVectorSort()` sorts.
template <class Comm>
[[gnu::always_inline]] inline void
ExtCommVectorAdd(Mox::PtrConst<Comm> comm, Mox::CompactVector<Mox::PtrConst<Comm>>& vector) {
    MOX_ASSERT_TEXT(comm != nullptr, "__null != comm");
    MOX_ASSERT_TEXT(comm->dedupState() != Kel::dedupHandleStateNeverDeduped(),
                    "__null == ( comm ) || ( comm )->dedupState() != "
                    "Kel::dedupHandleStateNeverDeduped()");
    vector.pushBack(std::move(comm));
}

/// Sorts the communities by their octets, removes duplicates, keeping the first, and frees unused
/// memory. On `std::bad_alloc` no distinct community is lost, and it may be called again.
template <class Comm>
void ExtCommVectorSort(Mox::CompactVector<Mox::PtrConst<Comm>>& vector) {
    commVectorUnify(vector, [](Mox::PtrConst<Comm> const& comm) { return extCommKey(*comm); });
    vector.shrinkToFit();
}

/// Returns the community with those octets, or null. REQUIRES: the vector is sorted (asserted).
template <class Comm, class Key>
Mox::PtrConst<Comm> ExtCommVectorLookup(bool commVectorSorted,
                                        Mox::CompactVector<Mox::PtrConst<Comm>> const& vector,
                                        Key const& community) {
    MOX_ASSERT(commVectorSorted);
    auto const* const found = commVectorLowerBound(
        vector, community, [](Mox::PtrConst<Comm> const& comm) { return extCommKey(*comm); });
    if (found == vector.end()) {
        return nullptr;
    }
    auto const key = extCommKey(**found);
    if (key == community) {
        return *found;
    }
    MOX_ASSERT_TEXT(key > community, "extComm->community() > community");
    return nullptr;
}

/// Puts a classification list into the slot of its class, replacing the current one. REQUIRES: it
/// is not null (asserted).
template <class ClassificationList>
void ExtCommListClassificationListIs(
    ClassificationListVector<ClassificationList>& vector,
    typename ClassificationListVector<ClassificationList>::ListPtr const& list) {
    MOX_ASSERT_TEXT(list != nullptr, "__null != list");
    vector.slotIs(list->classification(), list);
}

} // namespace Routing::Bgp
