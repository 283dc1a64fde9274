#pragma once

#include <Kel/DedupHandle.h>
#include <Mox/Assert.h>
#include <Mox/CharBuffer.h>
#include <Mox/CompactVector.h>
#include <Mox/Ptr.h>
#include <Mox/StreamState.h>
#include <Mox/TextStream.h>
#include <Routing/RouteMap/PosixRegex.h>
#include <VoBgp/ExtCommClassificationListVector.h>
#include <VoBgp/VoBgpMiscTypes.h>
#include <VoBgp/VoBgpSerialize.h>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <functional>
#include <ostream>
#include <span>
#include <string_view>
#include <type_traits>
#include <utility>

/// Shared by all kinds of lists of communities: sorted vectors, text, the path attribute.

namespace Routing::Bgp {

// ---- Sorted vectors -----------------------------------------------------------------------------

/// Whether the members are sorted by key and distinct.
template <class Members, class KeyOf = std::identity>
bool commVectorAscends(Members const& members, KeyOf keyOf = {}) {
    return std::adjacent_find(members.begin(), members.end(), [&](auto const& a, auto const& b) {
               return !(keyOf(a) < keyOf(b));
           }) == members.end();
}

/// Sorts the members by key and removes duplicates, keeping the first of each key. Allocates
/// nothing for a short vector. Guaranteed not to throw.
template <class Member, class KeyOf = std::identity>
void commVectorUnify(Mox::CompactVector<Member>& members, KeyOf keyOf = {}) {
    if (commVectorAscends(members, keyOf)) {
        // The usual case: most peers send their communities sorted.
        return;
    }
    auto const before = [&](Member const& a, Member const& b) { return keyOf(a) < keyOf(b); };
    if constexpr (std::is_trivially_copyable_v<Member>) {
        std::sort(members.begin(), members.end(), before);
    } else if (members.size() <= 32) {
        // An insertion sort: stable, and without a buffer.
        for (auto* next = members.begin(); next != members.end(); ++next) {
            std::rotate(std::upper_bound(members.begin(), next, *next, before), next, next + 1);
        }
    } else {
        // Stable, to keep the object that was appended first.
        std::stable_sort(members.begin(), members.end(), before);
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

// Of eight octets or of twenty. `extCommKey(comm)`, defined beside each kind of list, is what its
// communities are ordered and found by.

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

// ---- Text ---------------------------------------------------------------------------------------

/// The text of a list under construction, to which formatters append as to a stream.
///
/// Uses the heap only for texts longer than those of most lists. Thread-compatible.
class CommListText {
  public:
    /// Where the next value's text goes.
    Mox::CharBuffer& buffer() {
        text_.expect(longestUsualValue);
        return text_;
    }

    CommListText& append(std::string_view text) {
        text_.append(text);
        return *this;
    }

    /// The text so far; invalidated by the next append.
    std::string_view text() const noexcept { return text_.text(); }

    String string() const { return text_.string(); }

    /// The text with a terminating NUL; nothing may be appended afterwards.
    char const* terminated() { return text_.append('\0').text().data(); }

  private:
    static constexpr std::size_t longestUsualValue = 128;

    Mox::LocalCharBuffer<2048> text_;
};

/// What `formatCommList()` needs of the streams that it writes to.
inline void writeCommListText(std::ostream& os, std::string_view text) {
    os.write(text.data(), static_cast<std::streamsize>(text.size()));
}

inline void writeCommListText(CommListText& os, std::string_view text) {
    os.append(text);
}

inline Mox::StreamState savedState(std::ostream& os) {
    return Mox::StreamState(os);
}

/// A text under construction has no formatting state.
inline CommListText const& savedState(CommListText const& os) {
    return os;
}

/// Writes the values of a list, each by `formatter(os, value)`, separated and optionally in
/// brackets. A null list is `NULL` with brackets and empty without. Preserves the stream's
/// formatting state.
template <class Stream, class ListType, class ValueFormatter>
Stream& formatCommList(Stream& os, ListType const* list, ValueFormatter formatter, bool bracketed,
                       char const* separator) {
    [[maybe_unused]] auto const& state = savedState(os);
    if (list == nullptr) {
        writeCommListText(os, bracketed ? "NULL" : "");
        return os;
    }
    writeCommListText(os, bracketed ? "[ " : "");
    std::string_view before;
    for (auto const& value : *list) {
        writeCommListText(os, before);
        formatter(os, value);
        before = separator;
    }
    writeCommListText(os, bracketed ? " ]" : "");
    return os;
}

/// The text that streaming a pointer to the object writes.
template <class T>
String stringify(T const* const& object) {
    if constexpr (requires(CommListText & text) { text << object; }) {
        CommListText text;
        return (text << object).string();
    } else {
        Mox::TextStream os;
        os << object;
        return os.string();
    }
}

/// Whether the expression matches the values of a list, formatted by `formatter(text, value)` and
/// separated by spaces.
template <class ListType, class ValueFormatter>
bool commListMatches(RouteMap::PosixRegex const& regex, ListType const& list,
                     ValueFormatter formatter) {
    CommListText text;
    formatCommList(text, &list, formatter, false, " ");
    return regex.matches(text.terminated());
}

/// The result of `matches()`, remembered for interned lists, which never change.
template <class ListType, class Matches>
bool commListVerdict(RouteMap::PosixRegex const& regex, ListType const& list,
                     RouteMap::RegexSubject const& subject, Matches matches) {
    if (list.dedupState() != Kel::dedupHandleStateDeduped()) {
        return matches();
    }
    if (auto const verdict = regex.remembered(subject)) {
        return *verdict;
    }
    bool const verdict = matches();
    regex.remember(subject, verdict);
    return verdict;
}

// ---- The path attribute -------------------------------------------------------------------------

/// The path attribute, optional and transitive, of the members for which `admits(member)` is true;
/// `put(place, member)` writes the `memberSize` octets of one. REQUIRES: there are `count` of them
/// (asserted).
template <U32 memberSize, class ListType, class Admits, class Put>
String serializeCommList(BgpPathAttrType attrType, U32 count, ListType const& list, Admits admits,
                         Put put) {
    auto const attrSize = memberSize * count;
    auto const header =
        pathAttributeHeader(attrType, BgpPathAttrFlag::optionalTransitive, attrSize);
    return String::written(header.size + attrSize, [&](char* place) {
        std::memcpy(place, header.octets, header.size);
        place += header.size;
        auto const* const end = place + attrSize;
        for (auto const& member : list) {
            if (admits(member)) {
                MOX_ASSERT_TEXT(place != end, "serialized.size() == attrSize_ + headerSize_");
                put(place, member);
                place += memberSize;
            }
        }
        MOX_ASSERT_TEXT(place == end, "serialized.size() == attrSize_ + headerSize_");
    });
}

/// The same of members that are all sent, given their octets.
inline String serializeCommList(BgpPathAttrType attrType, std::span<std::byte const> octets) {
    auto const header = pathAttributeHeader(attrType, BgpPathAttrFlag::optionalTransitive,
                                            static_cast<U32>(octets.size()));
    return String::written(header.size + octets.size(), [&](char* place) {
        std::memcpy(place, header.octets, header.size);
        std::memcpy(place + header.size, octets.data(), octets.size());
    });
}

} // namespace Routing::Bgp
