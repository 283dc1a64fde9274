#pragma once

#include <Kel/DedupHandle.h>
#include <Mox/Assert.h>
#include <Mox/CharBuffer.h>
#include <Mox/CompactVector.h>
#include <Mox/Export.h>
#include <MoxStash/DedupHandle.h>
#include <Routing/RouteMap/PosixRegex.h>
#include <VoBgp/CommListDedupTable.h>
#include <VoBgp/CommListSnapshot.h>
#include <VoBgp/VoBgpMiscTypes.h>

#include <cstddef>
#include <cstring>
#include <iosfwd>
#include <span>

namespace Routing::Bgp {

class CommListText;

/// Rebuilds a list of values from a store: as it was written, frozen if it was then, and never
/// interned, so that `dedup` can intern it. What `dedup` finds out is not there before. Throws
/// `MoxStash::StoreException` if there is no such list. Traced at level 8.
template <class ListType, class ValueType>
VOBGP_EXPORT Mox::Ptr<ListType> destashCommList(void const* stored,
                                                MoxStash::StoreManager* manager);

/// Base of the lists whose members are plain values: a table holds at most one object per distinct
/// set of values.
///
/// Reference-counted; the object is removed from its table when the last external reference is
/// released. Fill with `commIs()` in any order; duplicates are allowed. `dedup()` of the derived
/// class freezes the list: sorted, distinct, immutable and thread-safe from then on. Values are in
/// host order; an interned list also holds their octets as on the wire.
template <class Value>
class VOBGP_EXPORT ValueCommList : public MoxStash::DedupHandle {
  public:
    ~ValueCommList() override;

    // The interned-object contract: the values are what counts. A content to look up by is a
    // `std::span<Value const>`, sorted, each value once. The list is placed by its octets.
    U32 hash() const override;
    U64 placementHash() const override;
    bool compare(Kel::DedupHandle const* other) const override;
    bool compareByContent(Kel::DedupContentHandle const& content) const override;

    /// Appends a value. REQUIRES: the list is not frozen (asserted).
    void commIs(Value const& value) {
        MOX_ASSERT(!commVectorSorted());
        commVector_.pushBack(value);
    }

    /// Whether the value is in the list, which must be frozen (asserted).
    bool comm(Value const& value) const;

    /// How many values there are.
    U32 comms() const noexcept { return commVector_.size(); }
    bool empty() const noexcept { return commVector_.empty(); }

    /// Whether the list is frozen.
    bool commVectorSorted() const noexcept { return commVectorSorted_; }

    Value const* begin() const noexcept { return commVector_.begin(); }
    Value const* end() const noexcept { return commVector_.end(); }

    Value const& operator[](U32 index) const noexcept {
        MOX_ASSERT(index < comms());
        return commVector_[index];
    }

    /// Writes the values into a store; returns their stored address.
    void const* stash(MoxStash::StoreWriter& writer) const;

  protected:
    ValueCommList() noexcept = default;

    /// Sorts the values and removes duplicates; a frozen list stays as it is. Guaranteed not to
    /// throw.
    void freeze() noexcept;

    /// Interns a frozen list. If it is inserted, it gives up unused memory first: on
    /// `std::bad_alloc` the list is unchanged.
    Kel::DedupHandle::PtrConst dedupIn(CommListDedupTableBase const& table);

  private:
    template <class ListType, class ValueType>
    friend Mox::Ptr<ListType> destashCommList(void const* stored, MoxStash::StoreManager* manager);
    friend class CommunityTables;

    std::span<std::byte const> octets() const noexcept {
        return {commVector_.tail(), comms() * sizeof(Value)};
    }

    /// Whether the list of an attribute value with these octets is this one.
    bool standsFor(std::span<std::byte const> value) const noexcept {
        return octetsHeld_ && value.size() == octets().size() &&
               std::memcmp(value.data(), octets().data(), value.size()) == 0;
    }

    /// Fills an empty list with the values whose octets these are, sorted and distinct;
    /// `load(std::byte const*)` returns a value.
    template <class Load>
    void fillSorted(std::span<std::byte const> octets, Load const& load) {
        commVector_.fit(static_cast<U32>(octets.size() / sizeof(Value)), octets.size());
        for (std::size_t at = 0; at < octets.size(); at += sizeof(Value)) {
            commVector_.pushBack(load(octets.data() + at));
        }
        std::memcpy(commVector_.tail(), octets.data(), octets.size());
        commVectorSorted_ = true;
        octetsHeld_ = true;
    }

    Mox::CompactVector<Value> commVector_;
    bool commVectorSorted_ = false;
    bool octetsHeld_ = false;
};

extern template class ValueCommList<U32>;

/// The list of standard communities (RFC 1997) of a route. The high half of a value is the AS part,
/// the low half the local part. All else as its base.
class VOBGP_EXPORT CommList : public ValueCommList<U32> {
  public:
    MOX_COUNTED(CommList)

    CommList() noexcept;
    ~CommList() override;

    void formatHandle(std::ostream& os) const override;

    /// Freezes the list and interns it: returns the equal one that is in the table already, or this
    /// one. If memory runs out the list can be interned again.
    PtrConst dedup(CommListDedupTable const* table);

    // Whether the list holds the well-known community. Found once, by dedup(); the list must be
    // frozen (asserted).
    bool noExport() const noexcept;
    bool noAdvertise() const noexcept;
    bool noExportSubconfed() const noexcept;

    /// The name of a well-known community; empty for any other value.
    static String wellKnownName(U32 value);

    /// `AS:local`, both in decimal.
    static String getStringValue(U32 value);

    /// As destashCommList() says.
    static Ptr destash(void const* stored, MoxStash::StoreManager* manager);

    /// Whether the expression matches the values as `AS:local`, with a space between them, or else
    /// the same with names for the well-known ones.
    bool matchCommunitiesRegex(RouteMap::PosixRegex const* regex) const;

    /// A new snapshot in which every value is mapped to true.
    CommListSnapshot::Ptr commSnapshot() const;

    /// The COMMUNITIES path attribute; that of an empty list has an empty value.
    ///
    ///     octet    0       1       2            4
    ///          +-------+-------+------------+---------------+---------------+-----
    ///          | 0xc0  |   8   |   length   | AS    : local | AS    : local | ...
    ///          +-------+-------+------------+---------------+---------------+-----
    ///
    /// The length takes one octet or, with 0x10 in the first one, two.
    String serialize() const;

    /// What streaming a pointer to this writes.
    String toStrep() const;

  private:
    bool noExport_ = false;
    bool noAdvertise_ = false;
    bool noExportSubconfed_ = false;
    RouteMap::RegexSubject regexSubject_;
};

/// A new, empty list with its notifications switched on.
VOBGP_EXPORT CommList::Ptr commListFactory();

/// Writes the values, by name where they have one, with a space between them; nothing for null.
VOBGP_EXPORT std::ostream& operator<<(std::ostream& os, CommList const* list);
VOBGP_EXPORT CommListText& operator<<(CommListText& text, CommList const* list);

/// Writes one standard community: as `AS:local` or, if `useWellKnownNames`, by its name where it
/// has one.
template <bool useWellKnownNames>
class VOBGP_EXPORT CommunityFormatter {
  public:
    static void format(Mox::CharBuffer& buffer, U32 value);
};

extern template class CommunityFormatter<false>;
extern template class CommunityFormatter<true>;

} // namespace Routing::Bgp
