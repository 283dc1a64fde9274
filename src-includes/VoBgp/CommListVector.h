#pragma once

#include <Kel/DedupHandle.h>
#include <Mox/Assert.h>
#include <Mox/Types.h>

#include <algorithm>
#include <cstddef>
#include <functional>
#include <memory>
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
/// nothing. Guaranteed not to throw. `Members` is a `Mox::CompactVector` or a `std::vector`.
template <class Members, class KeyOf = std::identity>
void commVectorUnify(Members& members, KeyOf keyOf = {}) {
    using Member = typename Members::value_type;
    if (commVectorAscends(members, keyOf)) {
        // The usual case: most peers send their communities sorted.
        return;
    }
    auto const before = [&](Member const& a, Member const& b) { return keyOf(a) < keyOf(b); };
    if constexpr (std::is_trivially_copyable_v<Member>) {
        std::sort(members.begin(), members.end(), before);
    } else {
        // Stable, to keep the object that was appended first.
        auto* const first = std::to_address(members.begin());
        Detail::sortInPlace(first, first + members.size(), before);
    }
    auto const end =
        std::unique(members.begin(), members.end(),
                    [&](Member const& a, Member const& b) { return keyOf(a) == keyOf(b); });
    members.erase(end, members.end());
}

/// Returns the first member of a sorted vector whose key is not less than `key`, or the end.
template <class Members, class Key, class KeyOf = std::identity>
auto commVectorLowerBound(Members const& members, Key const& key, KeyOf keyOf = {}) {
    return std::lower_bound(members.begin(), members.end(), key,
                            [&](typename Members::value_type const& member, Key const& wanted) {
                                return keyOf(member) < wanted;
                            });
}

// ---- Vectors of interned communities ------------------------------------------------------------

// Vectors of `Mox::PtrConst` to communities of eight octets or of twenty; `Vector` is a
// `Mox::CompactVector` or a `std::vector`. `extCommKey(comm)`, defined beside each kind of list,
// returns the key that its communities are sorted by.

/// Appends a community. REQUIRES: it is interned (asserted). `ExtCommVectorSort()` sorts.
template <class Vector>
[[gnu::always_inline]] inline void ExtCommVectorAdd(typename Vector::value_type comm,
                                                    Vector& vector) {
    MOX_ASSERT_TEXT(comm != nullptr, "__null != comm");
    MOX_ASSERT_TEXT(comm->dedupState() != Kel::dedupHandleStateNeverDeduped(),
                    "__null == ( comm ) || ( comm )->dedupState() != "
                    "Kel::dedupHandleStateNeverDeduped()");
    vector.push_back(std::move(comm));
}

/// Sorts the communities by their octets, removes duplicates, keeping the first, and frees unused
/// memory. On `std::bad_alloc` no distinct community is lost, and it may be called again.
template <class Vector>
void ExtCommVectorSort(Vector& vector) {
    commVectorUnify(vector, [](auto const& comm) { return extCommKey(*comm); });
    vector.shrink_to_fit();
}

/// Returns the community with those octets, or null. REQUIRES: the vector is sorted (asserted).
template <class Vector, class Key>
typename Vector::value_type ExtCommVectorLookup(bool commVectorSorted, Vector const& vector,
                                                Key const& community) {
    MOX_ASSERT(commVectorSorted);
    auto const found =
        commVectorLowerBound(vector, community, [](auto const& comm) { return extCommKey(*comm); });
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

/// Puts a classification list into the slot of its class, replacing the current one, and adds null
/// slots up to it if it is beyond the last. `Vector` is a `ClassificationListVector` or a
/// `std::vector`. REQUIRES: the list is not null (asserted).
template <class Vector>
void ExtCommListClassificationListIs(Vector& vector, typename Vector::value_type const& list) {
    MOX_ASSERT_TEXT(list != nullptr, "__null != list");
    auto const slot = static_cast<Mox::U32>(list->classification());
    if constexpr (requires { vector.slotIs(slot, list); }) {
        vector.slotIs(slot, list);
    } else {
        vector.resize(std::max<std::size_t>(vector.size(), slot + 1));
        vector[slot] = list;
    }
}

} // namespace Routing::Bgp
