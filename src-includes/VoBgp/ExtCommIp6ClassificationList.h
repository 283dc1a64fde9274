#pragma once

#include <Mox/Export.h>
#include <Mox/Notifiee.h>
#include <Mox/Ptr.h>
#include <VoBgp/ExtCommIp6.h>
#include <VoBgp/ExtCommListFamily.h>

#include <cstddef>
#include <iosfwd>

namespace Routing::Bgp {

class ExtCommIp6ClassificationList;
class ExtCommIp6ClassificationListSnapshot;
class ExtCommIp6List;
class ExtCommIp6ListDedupTable;
class ExtCommIp6ListSnapshot;

/// The row of the lists of IPv6-address-specific communities.
struct VOBGP_EXPORT ExtCommIp6ListFamily {
    using Comm = ExtCommIp6;
    using Key = ExtCommIp6Content;
    using List = ExtCommIp6List;
    using ClassificationList = ExtCommIp6ClassificationList;
    using ListSnapshot = ExtCommIp6ListSnapshot;
    using ClassificationListSnapshot = ExtCommIp6ClassificationListSnapshot;
    using ListDedupTable = ExtCommIp6ListDedupTable;

    /// Of the lists in a store.
    static U32 const storedKind;

    /// Of a member in a path attribute.
    static constexpr std::size_t memberOctets = 20;

    // The places in the attribute table of a list's snapshot.
    static constexpr Mox::AttributeNumber listSnapshotCommAttribute = 0;
    static constexpr Mox::AttributeNumber listSnapshotClassificationListAttribute = 1;

    static constexpr char const* listSnapshotCommIs = "ExtCommIp6ListSnapshot::commIs";
    static constexpr char const* listSnapshotClassificationListIs =
        "ExtCommIp6ListSnapshot::classificationListIs";
    static constexpr char const* classificationListSnapshotCommIs =
        "ExtCommIp6ClassificationListSnapshot::commIs";

    static Mox::Ptr<ExtCommIp6ClassificationList>
    newClassificationList(ExtCommClassification classification);
};

inline ExtCommIp6Content extCommKey(ExtCommIp6 const& comm) noexcept {
    return comm.getContent();
}

/// The IPv6-address-specific communities of one class in a list. All else as its base.
class VOBGP_EXPORT ExtCommIp6ClassificationList
  : public ExtCommClassificationListBase<ExtCommIp6ListFamily> {
  public:
    MOX_COUNTED(ExtCommIp6ClassificationList)

    explicit ExtCommIp6ClassificationList(ExtCommClassification classification) noexcept;
    ~ExtCommIp6ClassificationList() override;

    /// The members.
    CommVector const& comms() const noexcept { return commVector(); }
    CommVector const* commVectorRawPtr() const noexcept { return &commVector(); }

    /// Freezes the list and interns it. If memory runs out the list can be interned again.
    PtrConst dedup(ExtCommIp6ListDedupTable const* table);
};

extern template class ExtCommClassificationListBase<ExtCommIp6ListFamily>;

using ExtCommIp6ClassificationListVector = ClassificationListVector<ExtCommIp6ClassificationList>;

/// The list in the slot of a class, which must never have been interned (asserted); a new one if
/// there is none.
VOBGP_EXPORT ExtCommIp6ClassificationList::Ptr
ExtCommIp6ListFindOrCreateClassificationList(ExtCommIp6ClassificationListVector& vector,
                                             ExtCommClassification classification);

/// Puts a classification list into the slot of its class, in place of the one that is there.
VOBGP_EXPORT void ExtCommIp6ListClassificationListIs(
    ExtCommIp6ClassificationListVector& vector,
    ExtCommIp6ClassificationList::PtrConst const& classificationList);

/// Writes the communities with a space between them, in brackets; `NULL` for null. The stream's
/// formatting state is afterwards as it was.
VOBGP_EXPORT std::ostream& operator<<(std::ostream& os, ExtCommIp6ClassificationList const* list);
VOBGP_EXPORT CommListText& operator<<(CommListText& text, ExtCommIp6ClassificationList const* list);
VOBGP_EXPORT std::ostream& operator<<(std::ostream& os, ExtCommIp6ClassificationList const& list);

/// A snapshot of a classification list of IPv6-address-specific communities. All else as its base.
class VOBGP_EXPORT ExtCommIp6ClassificationListSnapshot
  : public ExtCommClassificationListSnapshotBase<ExtCommIp6ListFamily> {
  public:
    MOX_COUNTED(ExtCommIp6ClassificationListSnapshot)

    explicit ExtCommIp6ClassificationListSnapshot(ExtCommClassification classification) noexcept;
    ~ExtCommIp6ClassificationListSnapshot() override;
};

} // namespace Routing::Bgp
