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

// Defined in VoBgpCommunityList.cpp, with LargeCommList.

namespace Routing::Bgp {

class CommListText;

/// Rebuilds a list of values from a store. The list is frozen if it was when written, and has never
/// been interned: call `dedup()` to intern it, which also finds its well-known values. Throws
/// `MoxStash::StoreException` if the address is not that of such a list. Traced at level 8.
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

    // The interned-object contract: lists are equal if their values are. A content to look up by is
    // a `std::span<Value const>`, sorted and distinct. The placement hash is that of the octets.
    U32 hash() const override;
    U64 placementHash() const override;
    bool compare(Kel::DedupHandle const* other) const override;
    bool compareByContent(Kel::DedupContentHandle const& content) const override;

    /// Appends a value. REQUIRES: the list is not frozen (asserted).
    void commIs(Value const& value) {
        MOX_ASSERT(!commVectorSorted());
        commVector_.push_back(value);
    }

    /// Whether the list contains the value. REQUIRES: the list is frozen (asserted).
    bool comm(Value const& value) const;

    /// Number of values.
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

    /// Interns a frozen list, whose unused memory is freed if it is inserted. On `std::bad_alloc`
    /// the list is unchanged.
    Kel::DedupHandle::PtrConst dedupIn(CommListDedupTableBase const& table);

    /// Fills an empty list from the octets of its values, which are sorted and distinct;
    /// `load(std::byte const*)` returns a value.
    template <class Load>
    void fillSorted(std::span<std::byte const> octets, Load const& load) {
        commVector_.fit(static_cast<U32>(octets.size() / sizeof(Value)), octets.size());
        for (std::size_t at = 0; at < octets.size(); at += sizeof(Value)) {
            commVector_.push_back(load(octets.data() + at));
        }
        std::memcpy(commVector_.tail(), octets.data(), octets.size());
        commVectorSorted_ = true;
        octetsHeld_ = true;
    }

  private:
    template <class ListType, class ValueType>
    friend Mox::Ptr<ListType> destashCommList(void const* stored, MoxStash::StoreManager* manager);
    friend class CommunityTables;

    std::span<std::byte const> octets() const noexcept {
        return {commVector_.tail(), comms() * sizeof(Value)};
    }

    /// Whether `decodesFrom()` can be true.
    bool isIdentifiedByOctets() const noexcept { return octetsHeld_; }

    /// Whether these octets of an attribute value decode to this list.
    bool decodesFrom(std::span<std::byte const> value) const noexcept {
        return octetsHeld_ && value.size() == octets().size() &&
               std::memcmp(value.data(), octets().data(), value.size()) == 0;
    }

    Mox::CompactVector<Value> commVector_;
    bool commVectorSorted_ = false;
    bool octetsHeld_ = false;
};

extern template class ValueCommList<U32>;

/// The standard communities (RFC 1997) of a route. The high half of a value is the AS part, the low
/// half the local part.
class VOBGP_EXPORT CommList : public ValueCommList<U32> {
  public:
    MOX_COUNTED(CommList)

    CommList() noexcept;
    ~CommList() override;

    void formatHandle(std::ostream& os) const override;

    /// Freezes the list and interns it. Returns the existing equal list, or this one. On
    /// `std::bad_alloc`, `dedup()` may be called again.
    PtrConst dedup(CommListDedupTable const* table);

    // Whether the list contains the well-known community. Set by `dedup()`. REQUIRES: the list is
    // frozen (asserted).
    bool noExport() const noexcept;
    bool noAdvertise() const noexcept;
    bool noExportSubconfed() const noexcept;

    /// The name of a well-known community; empty for any other value.
    static String wellKnownName(U32 value);

    /// `AS:local`, both in decimal.
    static String getStringValue(U32 value);

    /// See `destashCommList()`.
    static Ptr destash(void const* stored, MoxStash::StoreManager* manager);

    /// Whether the expression matches the values, separated by spaces, as `AS:local` or with the
    /// names of well-known ones.
    bool matchCommunitiesRegex(RouteMap::PosixRegex const* regex) const;

    /// Returns a new snapshot that maps every value to true.
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

    /// The text that `operator<<` writes.
    String toStrep() const;

  private:
    friend class CommunityTables;

    /// As in the base class; also sets the flags that `dedup()` sets.
    template <class Load>
    void fillSorted(std::span<std::byte const> octets, Load const& load) {
        ValueCommList::fillSorted(octets, load);
        findWellKnown();
    }
    void findWellKnown();

    bool noExport_ = false;
    bool noAdvertise_ = false;
    bool noExportSubconfed_ = false;
    RouteMap::RegexSubject regexSubject_;
};

/// Returns a new, empty list with notifications enabled.
VOBGP_EXPORT CommList::Ptr commListFactory();

/// Writes the values separated by spaces, well-known ones by name; nothing for null.
VOBGP_EXPORT std::ostream& operator<<(std::ostream& os, CommList const* list);
VOBGP_EXPORT CommListText& operator<<(CommListText& text, CommList const* list);

/// Writes one standard community as `AS:local`, or, with `useWellKnownNames`, by its name if it has
/// one.
template <bool useWellKnownNames>
class VOBGP_EXPORT CommunityFormatter {
  public:
    static void format(Mox::CharBuffer& buffer, U32 value);
};

extern template class CommunityFormatter<false>;
extern template class CommunityFormatter<true>;

} // namespace Routing::Bgp
