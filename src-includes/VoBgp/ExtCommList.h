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

/// The row of the lists of eight-octet communities.
struct VOBGP_EXPORT ExtCommListFamily {
    using Comm = ExtComm;
    using Key = U64;
    using List = ExtCommList;
    using ClassificationList = ExtCommClassificationList;
    using ListSnapshot = ExtCommListSnapshot;
    using ClassificationListSnapshot = ExtCommClassificationListSnapshot;
    using ListDedupTable = ExtCommListDedupTable;

    /// Of the lists in a store.
    static U32 const storedKind;

    /// Of a member in a path attribute.
    static constexpr std::size_t memberOctets = 8;

    // The places in the attribute table of a list's snapshot.
    static constexpr Mox::AttributeNumber listSnapshotClassificationListAttribute = 0;
    static constexpr Mox::AttributeNumber listSnapshotCommAttribute = 1;

    static constexpr char const* listSnapshotCommIs = "ExtCommListSnapshot::commIs";
    static constexpr char const* listSnapshotClassificationListIs =
        "ExtCommListSnapshot::classificationListIs";
    static constexpr char const* classificationListSnapshotCommIs =
        "ExtCommClassificationListSnapshot::commIs";

    /// A new, empty list of the kind that the class has.
    static Mox::Ptr<ExtCommClassificationList>
    newClassificationList(ExtCommClassification classification);
};

/// The eight octets in wire order as one integer in host order.
inline U64 extCommKey(ExtComm const& comm) noexcept {
    return comm.community();
}

/// The eight-octet communities of one class in a list. All else as its base.
class VOBGP_EXPORT ExtCommClassificationList
  : public ExtCommClassificationListBase<ExtCommListFamily> {
  public:
    MOX_COUNTED(ExtCommClassificationList)

    explicit ExtCommClassificationList(ExtCommClassification classification) noexcept;
    ~ExtCommClassificationList() override;

    /// How many members there are.
    U32 comms() const noexcept { return commVector().size(); }

    /// Freezes the list and interns it: in the table's own for route targets or in that for all
    /// others. Of link bandwidths there may be no more than one (asserted). If memory runs out the
    /// list can be interned again.
    PtrConst dedup(ExtCommListDedupTable const* table);
};

/// A classification list of route targets, and the notifier that stands for it while it is interned
/// in a table's own for them. All else as its base, but that the notifier is its table's to change:
/// it is read where the table's observers are told, and by whoever changes lists.
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

/// The list of eight-octet extended communities (RFC 4360) of a route. All else as its base.
class VOBGP_EXPORT ExtCommList : public ExtCommListBase<ExtCommListFamily> {
  public:
    MOX_COUNTED(ExtCommList)

    /// Which of a list's members are sent: those that any of four flags admits. A word above 0xf is
    /// a `Mox::RangeException`.
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
        constexpr explicit Serialization(U32 value)
          : FlagWord(value) {}

        /// Reads the value text and moves `it` behind it.
        Serialization(String::IteratorConst& it, String::IteratorConst const& end)
          : FlagWord(it, end) {}

        static Mox::Type const& staticType() noexcept;
    };

    ExtCommList() noexcept;
    ~ExtCommList() override;

    /// How many members there are.
    U32 comms() const noexcept { return commVector().size(); }

    /// Freezes the members and splits them by class into new classification lists. Outside
    /// `dedupMode`, for a list that is rebuilt from a store, these are in state destashed, and
    /// neither is the number of transitive members found nor whether there is a link bandwidth:
    /// such a list is read and not sent. If memory runs out there are no classification lists
    /// afterwards, and this can be done again.
    void createClassificationListVector(bool dedupMode);

    /// Sorts the members, and interns the classification lists and then the list in `table`.
    /// Returns the existing equal list, or this one.
    /// REQUIRES: the table is not null, and the list has at most one link bandwidth, that is, not
    /// two different ones of type 0x40 and subtype 0x04 (asserted); check untrusted input first.
    /// On `std::bad_alloc`, or if an observer of route-target lists throws, the list keeps its
    /// members and can be interned again.
    PtrConst dedup(ExtCommListDedupTable const* table);

    // Found by dedup(), with the exception above.
    U32 totalTransitiveCommunities() const noexcept { return transitiveComms(); }
    bool hasLinkBandwidth() const noexcept { return hasLinkBandwidth_; }
    bool hasLinkBandwidthWithUnspecifiedAsNumber() const noexcept {
        return hasLinkBandwidthWithUnspecifiedAsNumber_;
    }
    bool hasOriginValidationState() const noexcept { return hasOriginValidationState_; }

    /// All members if `includeNonTransitive`, whatever the others say; else the transitive ones and
    /// what the others name.
    static Serialization serialization(bool includeNonTransitive, bool includeLinkBandwidth,
                                       bool includeOriginAsValidity);

    /// Whether the selection admits the community.
    static bool serializable(ExtComm::PtrConst const& extComm, Serialization serialization);

    /// How many members the selection announces. A link bandwidth and an origin validation state
    /// count once each beside the transitive members: twice, if they are transitive themselves.
    /// Who sends what strangers sent sees to it that they are not.
    U32 serializableCommunities(Serialization serialization) const;

    /// The EXTENDED COMMUNITIES path attribute of the members that the selection admits, or nothing
    /// if it announces none. What is announced must be what is there (asserted).
    ///
    ///     octet    0       1       2            4             12
    ///          +-------+-------+------------+-------------+-------------+-----
    ///          | 0xc0  |  16   |   length   |  community  |  community  | ...
    ///          +-------+-------+------------+-------------+-------------+-----
    ///
    /// The length takes one octet or, with 0x10 in the first one, two.
    String serialize(Serialization serialization) const;

    /// Whether the expression matches the members' policy texts in the default form, with a space
    /// between them, or else those in the form with the classification.
    bool matchCommunitiesRegex(RouteMap::PosixRegex const* regex) const;

    /// `LOCALDATA1:LOCALDATA2`, both in decimal; the global administrator is left out on purpose.
    static String getStringValue(Acl::CommunityValue const& value);

    Mox::Ptr<ExtCommListSnapshot> snapshot() const;

    /// Rebuilds a list that was written: its members, split by class if they were, all in state
    /// destashed. It is there to be read: how many members are transitive and what else dedup()
    /// finds is not known of it. Throws `MoxStash::StoreException` if there is no list.
    static Ptr destash(void const* stored, MoxStash::StoreManager* manager);

  private:
    // One octet, so that the subject takes none that the list does not have anyway.
    bool hasLinkBandwidth_ : 1 = false;
    bool hasLinkBandwidthWithUnspecifiedAsNumber_ : 1 = false;
    bool hasOriginValidationState_ : 1 = false;
    RouteMap::RegexSubject regexSubject_;
};

extern template class ExtCommClassificationListBase<ExtCommListFamily>;
extern template class ExtCommListBase<ExtCommListFamily>;

/// A new, empty list with its notifications switched on; an `RtExtCommClassificationList` for the
/// class of route targets.
VOBGP_EXPORT ExtCommList::Ptr extCommListFactory();
VOBGP_EXPORT ExtCommClassificationList::Ptr
extCommClassificationListFactory(ExtCommClassification classification);
VOBGP_EXPORT RtExtCommClassificationList::Ptr
rtExtCommClassificationListFactory(ExtCommClassification classification);

/// Writes the communities with a space between them, in brackets; `NULL` for null. The stream's
/// formatting state is afterwards as it was.
VOBGP_EXPORT std::ostream& operator<<(std::ostream& os, ExtCommList const* list);
VOBGP_EXPORT CommListText& operator<<(CommListText& text, ExtCommList const* list);
VOBGP_EXPORT std::ostream& operator<<(std::ostream& os, ExtCommList const& list);

/// Writes the communities with a space between them, and nothing else; nothing for null.
VOBGP_EXPORT std::ostream& operator<<(std::ostream& os, ExtCommClassificationList const* list);
VOBGP_EXPORT CommListText& operator<<(CommListText& text, ExtCommClassificationList const* list);

} // namespace Routing::Bgp
