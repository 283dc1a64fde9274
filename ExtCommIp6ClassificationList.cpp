#include <VoBgp/ExtCommIp6ClassificationList.h>

#include "ExtCommListFamilyImpl.h"

#include <Mox/Assert.h>
#include <Mox/Type.h>
#include <VoBgp/ExtCommIp6ListDedupTable.h>

#include <ostream>

namespace Routing::Bgp {

Mox::Type const& ExtCommIp6ClassificationList::staticType() noexcept {
    using List = ExtCommIp6ClassificationList;
    static Mox::Type const type(
        Mox::Type::Kind::entity, "Routing::Bgp::ExtCommIp6ClassificationList",
        {Mox::readOnlyAttribute<List, &List::classification>("classification"),
         Mox::readOnlyAttribute<List, &List::commVectorSorted>("commVectorSorted")});
    return type;
}

Mox::Type const& ExtCommIp6ClassificationListSnapshot::staticType() noexcept {
    using Snapshot = ExtCommIp6ClassificationListSnapshot;
    static Mox::Type const type(
        Mox::Type::Kind::entity, "Routing::Bgp::ExtCommIp6ClassificationListSnapshot",
        {Mox::readOnlyAttribute<Snapshot, &Snapshot::classification>("classification"),
         Mox::readOnlyAttribute<Snapshot, &Snapshot::comms>("comms")});
    return type;
}

namespace {
Mox::TypeRegistration const extCommIp6ClassificationListRegistrations[] = {
    Mox::TypeRegistration(ExtCommIp6ClassificationList::staticType()),
    Mox::TypeRegistration(ExtCommIp6ClassificationListSnapshot::staticType()),
};
} // namespace

std::ostream& operator<<(std::ostream& os, ExtCommIp6ClassificationList const* list) {
    return Detail::formatExtComms(os, list, true);
}

CommListText& operator<<(CommListText& text, ExtCommIp6ClassificationList const* list) {
    return Detail::formatExtComms(text, list, true);
}

std::ostream& operator<<(std::ostream& os, ExtCommIp6ClassificationList const& list) {
    return os << &list;
}

template class ExtCommClassificationListBase<ExtCommIp6ListFamily>;
static_assert(sizeof(ExtCommIp6ClassificationList) == 48);

Mox::Ptr<ExtCommIp6ClassificationList>
ExtCommIp6ListFamily::newClassificationList(ExtCommClassification classification) {
    return extCommIp6ClassificationListFactory(classification);
}

Kel::DedupHashTable const&
ExtCommIp6ListFamily::classificationTable(ExtCommIp6ListDedupTable const& table,
                                          ExtCommClassification /*classification*/) {
    return *table.extCommClassification();
}

ExtCommIp6ClassificationList::ExtCommIp6ClassificationList(
    ExtCommClassification classification) noexcept
  : ExtCommClassificationListBase(classification) {}

ExtCommIp6ClassificationList::~ExtCommIp6ClassificationList() = default;

ExtCommIp6ClassificationList::PtrConst
ExtCommIp6ClassificationList::dedup(ExtCommIp6ListDedupTable const* table) {
    MOX_ASSERT_TEXT(table != nullptr, "__null != table");
    sortComms();
    return dedupIn(ExtCommIp6ListFamily::classificationTable(*table, classification()));
}

ExtCommIp6ClassificationList::Ptr
ExtCommIp6ListFindOrCreateClassificationList(ExtCommIp6ClassificationListVector& vector,
                                             ExtCommClassification classification) {
    return ExtCommIp6ClassificationList::Ptr(
        &ExtCommIp6ClassificationList::findOrCreate(vector, classification, true));
}

ExtCommIp6ClassificationList::Ptr
extCommIp6ClassificationListFactory(ExtCommClassification classification) {
    return Mox::makeActive<ExtCommIp6ClassificationList>(classification);
}

void ExtCommIp6ListClassificationListIs(
    ExtCommIp6ClassificationListVector& vector,
    ExtCommIp6ClassificationList::PtrConst const& classificationList) {
    ExtCommListClassificationListIs(vector, classificationList);
}

ExtCommIp6ClassificationListSnapshot::ExtCommIp6ClassificationListSnapshot(
    ExtCommClassification classification) noexcept
  : ExtCommClassificationListSnapshotBase(classification) {}

ExtCommIp6ClassificationListSnapshot::~ExtCommIp6ClassificationListSnapshot() = default;

ExtCommIp6ClassificationListSnapshot::Ptr
extCommIp6ClassificationListSnapshotFactory(ExtCommClassification classification) {
    return Mox::makeActive<ExtCommIp6ClassificationListSnapshot>(classification);
}

} // namespace Routing::Bgp
