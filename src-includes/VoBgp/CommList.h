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

#include <iosfwd>

namespace Routing::Bgp {

class CommListText;

/// Rebuilds a list of values from a store: as it was written, frozen if it was then, and never
/// interned, so that `dedup` can intern it. What `dedup` finds out is not there before. Throws
/// `MoxStash::StoreException` if there is no such list. Traced at level 8.
template <class ListType, class ValueType>
VOBGP_EXPORT Mox::Ptr<ListType> destashCommList(void const* stored,
                                                MoxStash::StoreManager* manager);

/// Base of the lists whose members are plain values: exactly one object for each distinct set of
/// values in a table.
///
/// It is owned by its counted pointers and leaves its table with the last outside one. It is born
/// unsorted, when values are appended and it is its maker's alone; `dedup` of the deriving class
/// freezes it: sorted, each value once, and never changed again. Frozen it is immutable and may be
/// read from any thread. Values are in host order.
template <class Value>
class VOBGP_EXPORT ValueCommList : public MoxStash::DedupHandle {
  public:
    ~ValueCommList() override;

    // The interned-object contract: the values are what counts. A content to look up by is a
    // `std::span<Value const>`, sorted, each value once.
    U32 hash() const override;
    U64 placementHash() const override;
    bool compare(Kel::DedupHandle const* other) const override;
    bool compareByContent(Kel::DedupContentHandle const& content) const override;

    /// Appends a value, whatever is there already. Not to a frozen list (asserted).
    void commIs(Value const& value);

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

    /// Sorts the values, leaves each once, gives up unused memory. A list that is frozen already
    /// stays as it is; one for which memory runs out keeps its values and can be frozen again.
    void freeze();

  private:
    template <class ListType, class ValueType>
    friend Mox::Ptr<ListType> destashCommList(void const* stored, MoxStash::StoreManager* manager);

    Mox::CompactVector<Value> commVector_;
    bool commVectorSorted_ = false;
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
