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

/// The traits of lists of IPv6-address-specific communities.
struct VOBGP_EXPORT ExtCommIp6ListFamily {
    using Comm = ExtCommIp6;
    using Key = ExtCommIp6Content;
    using List = ExtCommIp6List;
    using ClassificationList = ExtCommIp6ClassificationList;
    using ListSnapshot = ExtCommIp6ListSnapshot;
    using ClassificationListSnapshot = ExtCommIp6ClassificationListSnapshot;
    using ListDedupTable = ExtCommIp6ListDedupTable;

    /// Record kind of a list in a store.
    static U32 const storedKind;

    /// Size of a member in a path attribute.
    static constexpr std::size_t memberOctets = 20;

    // Attribute numbers of a list's snapshot.
    static constexpr Mox::AttributeNumber listSnapshotCommAttribute = 0;
    static constexpr Mox::AttributeNumber listSnapshotClassificationListAttribute = 1;

    static constexpr char const* listSnapshotCommIs = "ExtCommIp6ListSnapshot::commIs";
    static constexpr char const* listSnapshotClassificationListIs =
        "ExtCommIp6ListSnapshot::classificationListIs";
    static constexpr char const* classificationListSnapshotCommIs =
        "ExtCommIp6ClassificationListSnapshot::commIs";

    static Mox::Ptr<ExtCommIp6ClassificationList>
    newClassificationList(ExtCommClassification classification);

    /// The table that classification lists of any class are interned in.
    static Kel::DedupHashTable const& classificationTable(ExtCommIp6ListDedupTable const& table,
                                                          ExtCommClassification classification);
};

inline ExtCommIp6Content extCommKey(ExtCommIp6 const& comm) noexcept {
    return comm.getContent();
}

/// The IPv6-address-specific communities of one class in a list.
class VOBGP_EXPORT ExtCommIp6ClassificationList
  : public ExtCommClassificationListBase<ExtCommIp6ListFamily> {
  public:
    MOX_COUNTED(ExtCommIp6ClassificationList)

    explicit ExtCommIp6ClassificationList(ExtCommClassification classification) noexcept;
    ~ExtCommIp6ClassificationList() override;

    /// The members.
    CommVector const& comms() const noexcept { return commVector(); }
    CommVector const* commVectorRawPtr() const noexcept { return &commVector(); }

    /// Freezes the list and interns it. On `std::bad_alloc`, `dedup()` may be called again.
    PtrConst dedup(ExtCommIp6ListDedupTable const* table);
};

extern template class ExtCommClassificationListBase<ExtCommIp6ListFamily>;

using ExtCommIp6ClassificationListVector = ClassificationListVector<ExtCommIp6ClassificationList>;

/// Returns the list in the slot of a class, or puts a new one there. REQUIRES: a list in the slot
/// was never interned (asserted).
VOBGP_EXPORT ExtCommIp6ClassificationList::Ptr
ExtCommIp6ListFindOrCreateClassificationList(ExtCommIp6ClassificationListVector& vector,
                                             ExtCommClassification classification);

/// Puts a classification list into the slot of its class, replacing the current one.
VOBGP_EXPORT void ExtCommIp6ListClassificationListIs(
    ExtCommIp6ClassificationListVector& vector,
    ExtCommIp6ClassificationList::PtrConst const& classificationList);

/// A new, empty list with its notifications switched on.
VOBGP_EXPORT ExtCommIp6ClassificationList::Ptr
extCommIp6ClassificationListFactory(ExtCommClassification classification);

/// Writes the communities in brackets, separated by spaces; `NULL` for null. Preserves the stream's
/// formatting state.
VOBGP_EXPORT std::ostream& operator<<(std::ostream& os, ExtCommIp6ClassificationList const* list);
VOBGP_EXPORT CommListText& operator<<(CommListText& text, ExtCommIp6ClassificationList const* list);
VOBGP_EXPORT std::ostream& operator<<(std::ostream& os, ExtCommIp6ClassificationList const& list);

/// A snapshot of a classification list of IPv6-address-specific communities.
class VOBGP_EXPORT ExtCommIp6ClassificationListSnapshot
  : public ExtCommClassificationListSnapshotBase<ExtCommIp6ListFamily> {
  public:
    MOX_COUNTED(ExtCommIp6ClassificationListSnapshot)

    explicit ExtCommIp6ClassificationListSnapshot(ExtCommClassification classification) noexcept;
    ~ExtCommIp6ClassificationListSnapshot() override;
};

/// A new, empty snapshot with its notifications switched on.
VOBGP_EXPORT ExtCommIp6ClassificationListSnapshot::Ptr
extCommIp6ClassificationListSnapshotFactory(ExtCommClassification classification);

} // namespace Routing::Bgp
