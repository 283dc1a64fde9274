#pragma once

#include <Acl/CommunityValue.h>
#include <Mox/Export.h>
#include <Mox/FlagWord.h>
#include <Mox/Notifiee.h>
#include <Mox/Ptr.h>
#include <Routing/RouteMap/PosixRegex.h>
#include <VoBgp/ExtCommListFamily.h>
#include <VoBgp/VoBgpCommunity.h>

#include <cstddef>
#include <iosfwd>
#include <string_view>

namespace Routing::Bgp {

class ExtCommClassificationList;
class ExtCommClassificationListSnapshot;
class ExtCommList;
class ExtCommListDedupTable;
class ExtCommListSnapshot;
class RtExtCommListLifeTimeNotifier;

/// The traits of lists of eight-octet communities.
struct VOBGP_EXPORT ExtCommListFamily {
    using Comm = ExtComm;
    using Key = U64;
    using List = ExtCommList;
    using ClassificationList = ExtCommClassificationList;
    using ListSnapshot = ExtCommListSnapshot;
    using ClassificationListSnapshot = ExtCommClassificationListSnapshot;
    using ListDedupTable = ExtCommListDedupTable;

    /// Record kind of a list in a store.
    static U32 const storedKind;

    /// Size of a member in a path attribute.
    static constexpr std::size_t memberOctets = 8;

    // Attribute numbers of a list's snapshot.
    static constexpr Mox::AttributeNumber listSnapshotClassificationListAttribute = 0;
    static constexpr Mox::AttributeNumber listSnapshotCommAttribute = 1;

    static constexpr char const* listSnapshotCommIs = "ExtCommListSnapshot::commIs";
    static constexpr char const* listSnapshotClassificationListIs =
        "ExtCommListSnapshot::classificationListIs";
    static constexpr char const* classificationListSnapshotCommIs =
        "ExtCommClassificationListSnapshot::commIs";

    /// Returns a new, empty list of the type that the class requires.
    static Mox::Ptr<ExtCommClassificationList>
    newClassificationList(ExtCommClassification classification);

    /// The table that classification lists of the class are interned in.
    static Kel::DedupHashTable const& classificationTable(ExtCommListDedupTable const& table,
                                                          ExtCommClassification classification);
};

/// The eight octets, read as a big-endian integer.
inline U64 extCommKey(ExtComm const& comm) noexcept {
    return comm.community();
}

/// The eight-octet communities of one class in a list.
class VOBGP_EXPORT ExtCommClassificationList
  : public ExtCommClassificationListBase<ExtCommListFamily> {
  public:
    MOX_COUNTED(ExtCommClassificationList)

    explicit ExtCommClassificationList(ExtCommClassification classification) noexcept;
    ~ExtCommClassificationList() override;

    /// Number of members.
    U32 comms() const noexcept { return commVector().size(); }

    /// Freezes the list and interns it in the table of its class: route targets have their own.
    /// REQUIRES: at most one link bandwidth (asserted). On `std::bad_alloc`, `dedup()` may be
    /// called again.
    PtrConst dedup(ExtCommListDedupTable const* table);
};

/// A classification list of route targets, with the notifier that announces it while it is interned
/// in a table of route-target lists. The notifier is set by the table: read it only from the
/// table's observers or in the thread that changes lists.
class VOBGP_EXPORT RtExtCommClassificationList : public ExtCommClassificationList {
  public:
    MOX_COUNTED(RtExtCommClassificationList)

    explicit RtExtCommClassificationList(ExtCommClassification classification) noexcept;
    ~RtExtCommClassificationList() override;

    void
    lifeTimeNotifierIs(Mox::Ptr<RtExtCommListLifeTimeNotifier> const& lifeTimeNotifier) noexcept;
    Mox::Ptr<RtExtCommListLifeTimeNotifier> getLifeTimeNotifier() const noexcept;
    RtExtCommListLifeTimeNotifier* lifeTimeNotifier() const noexcept {
        return lifeTimeNotifier_.get();
    }

  private:
    Mox::Ptr<RtExtCommListLifeTimeNotifier> lifeTimeNotifier_;
};

/// The eight-octet extended communities (RFC 4360) of a route.
class VOBGP_EXPORT ExtCommList : public ExtCommListBase<ExtCommListFamily> {
  public:
    MOX_COUNTED(ExtCommList)

    /// Selects the members to send: those that any of the four flags admits. Throws
    /// `Mox::RangeException` for a word above 0xf.
    class VOBGP_EXPORT Serialization : public Mox::FlagWord<Serialization> {
      public:
        /// Every member.
        static constexpr U32 all = 0x1;
        /// Members whose type octet has the bit 0x40 clear.
        static constexpr U32 transitive = 0x2;
        /// Link bandwidths.
        static constexpr U32 linkBandwidth = 0x4;
        /// Origin validation states.
        static constexpr U32 originAsValidity = 0x8;

        static constexpr std::string_view qualifiedName =
            "Routing::Bgp::ExtCommList::Serialization";
        static constexpr U32 maximum = 0xf;
        static constexpr char const* rangeError = "Serialization::value > 0xf not allowed";

        constexpr Serialization() noexcept = default;
        constexpr Serialization(U32 value)
          : FlagWord(value) {}

        /// Parses the value text and advances `it` past it.
        Serialization(String::IteratorConst& it, String::IteratorConst const& end)
          : FlagWord(it, end) {}

        static Mox::Type const& staticType() noexcept;
    };

    ExtCommList() noexcept;
    ~ExtCommList() override;

    /// Number of members.
    U32 comms() const noexcept { return commVector().size(); }

    /// Freezes the members and splits them by class into new classification lists. `dedupMode` is
    /// false for a list rebuilt from a store: its classification lists are in state destashed, and
    /// transitive members and link bandwidths are not counted, so it can be read but not sent. On
    /// `std::bad_alloc` there are no classification lists, and it may be called again.
    void createClassificationListVector(bool dedupMode);

    /// Sorts the members, and interns the classification lists and then the list in `table`.
    /// Returns the existing equal list, or this one. REQUIRES: the table is not null; at most one
    /// distinct link bandwidth (type 0x40, subtype 0x04). Both are asserted: check untrusted input
    /// first. On `std::bad_alloc`, or if an observer of route-target lists throws, the list keeps
    /// its members and `dedup()` may be called again.
    PtrConst dedup(ExtCommListDedupTable const* table);

    // Set by `dedup()`.
    U32 totalTransitiveCommunities() const noexcept { return transitiveComms(); }
    bool hasLinkBandwidth() const noexcept { return hasLinkBandwidth_; }
    bool hasLinkBandwidthWithUnspecifiedAsNumber() const noexcept {
        return hasLinkBandwidthWithUnspecifiedAsNumber_;
    }
    bool hasOriginValidationState() const noexcept { return hasOriginValidationState_; }

    /// All members if `includeNonTransitive`; else the transitive ones and those that the other
    /// arguments name.
    static Serialization serialization(bool includeNonTransitive, bool includeLinkBandwidth,
                                       bool includeOriginAsValidity);

    /// Whether the selection admits the community.
    static bool serializable(ExtComm::PtrConst const& extComm, Serialization serialization);

    /// Number of members that the selection announces. A link bandwidth and an origin validation
    /// state each count in addition to the transitive members, so a transitive one counts twice:
    /// reject those in untrusted input.
    U32 serializableCommunities(Serialization serialization) const;

    /// The EXTENDED COMMUNITIES path attribute of the members that the selection admits, or nothing
    /// if it announces none. REQUIRES: `serializableCommunities()` equals the number of selected
    /// members (asserted).
    ///
    ///     octet    0       1       2            4             12
    ///          +-------+-------+------------+-------------+-------------+-----
    ///          | 0xc0  |  16   |   length   |  community  |  community  | ...
    ///          +-------+-------+------------+-------------+-------------+-----
    ///
    /// The length takes one octet or, with 0x10 in the first one, two.
    String serialize(Serialization serialization) const;

    /// Whether the expression matches the members' policy texts, separated by spaces, in the
    /// default form or in the form with the classification.
    bool matchCommunitiesRegex(RouteMap::PosixRegex const* regex) const;

    /// `LOCALDATA1:LOCALDATA2`, both in decimal, without the global administrator.
    static String getStringValue(Acl::CommunityValue const& value);

    Mox::Ptr<ExtCommListSnapshot> snapshot() const;

    /// Rebuilds a list from a store, in state destashed, split by class if it was when written. For
    /// reading only: the counts and flags that `dedup()` sets are not set. Throws
    /// `MoxStash::StoreException` if the address is not that of a list.
    static Ptr destash(void const* stored, MoxStash::StoreManager* manager);

  private:
    friend class CommunityTables;

    /// As in the base class; also sets the flags that `dedup()` sets.
    PtrConst insertMissed(ExtCommListDedupTable const& table, ExtCommClassCounts const& counts,
                          Kel::DedupMiss const& miss);
    void noteUnspecifiedAsNumber();

    // One octet, so that the subject fits in the padding.
    bool hasLinkBandwidth_ : 1 = false;
    bool hasLinkBandwidthWithUnspecifiedAsNumber_ : 1 = false;
    bool hasOriginValidationState_ : 1 = false;
    RouteMap::RegexSubject regexSubject_;
};

extern template class ExtCommClassificationListBase<ExtCommListFamily>;
extern template class ExtCommListBase<ExtCommListFamily>;

/// Returns a new, empty list with notifications enabled; an `RtExtCommClassificationList` for the
/// class of route targets.
VOBGP_EXPORT ExtCommList::Ptr extCommListFactory();
VOBGP_EXPORT ExtCommClassificationList::Ptr
extCommClassificationListFactory(ExtCommClassification classification);
VOBGP_EXPORT RtExtCommClassificationList::Ptr
rtExtCommClassificationListFactory(ExtCommClassification classification);

/// Writes the communities in brackets, separated by spaces; `NULL` for null. Preserves the stream's
/// formatting state.
VOBGP_EXPORT std::ostream& operator<<(std::ostream& os, ExtCommList const* list);
VOBGP_EXPORT CommListText& operator<<(CommListText& text, ExtCommList const* list);
VOBGP_EXPORT std::ostream& operator<<(std::ostream& os, ExtCommList const& list);

/// Writes the communities separated by spaces; nothing for null.
VOBGP_EXPORT std::ostream& operator<<(std::ostream& os, ExtCommClassificationList const* list);
VOBGP_EXPORT CommListText& operator<<(CommListText& text, ExtCommClassificationList const* list);

} // namespace Routing::Bgp
