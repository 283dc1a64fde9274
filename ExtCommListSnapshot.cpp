#include <VoBgp/ExtCommListSnapshot.h>

#include <Mox/Type.h>

namespace Routing::Bgp {

Mox::Type const& ExtCommListSnapshot::staticType() noexcept {
    using Snapshot = ExtCommListSnapshot;
    static Mox::Type const type(
        Mox::Type::Kind::entity, "Routing::Bgp::ExtCommListSnapshot",
        {Mox::readOnlyAttribute<Snapshot, &Snapshot::classificationLists>("classificationLists"),
         Mox::readOnlyAttribute<Snapshot, &Snapshot::comms>("comms")});
    return type;
}

Mox::Type const& ExtCommClassificationListSnapshot::staticType() noexcept {
    using Snapshot = ExtCommClassificationListSnapshot;
    static Mox::Type const type(
        Mox::Type::Kind::entity, "Routing::Bgp::ExtCommClassificationListSnapshot",
        {Mox::readOnlyAttribute<Snapshot, &Snapshot::classification>("classification"),
         Mox::readOnlyAttribute<Snapshot, &Snapshot::comms>("comms")});
    return type;
}

namespace {
Mox::TypeRegistration const extCommListSnapshotRegistrations[] = {
    Mox::TypeRegistration(ExtCommListSnapshot::staticType()),
    Mox::TypeRegistration(ExtCommClassificationListSnapshot::staticType()),
};
} // namespace

ExtCommListSnapshot::ExtCommListSnapshot() noexcept = default;
ExtCommListSnapshot::~ExtCommListSnapshot() = default;

ExtCommListSnapshot::Ptr extCommListSnapshotFactory() {
    return Mox::makeActive<ExtCommListSnapshot>();
}

ExtCommClassificationListSnapshot::ExtCommClassificationListSnapshot(
    ExtCommClassification classification) noexcept
  : ExtCommClassificationListSnapshotBase(classification) {}

ExtCommClassificationListSnapshot::~ExtCommClassificationListSnapshot() = default;

ExtCommClassificationListSnapshot::Ptr
extCommClassificationListSnapshotFactory(ExtCommClassification classification) {
    return Mox::makeActive<ExtCommClassificationListSnapshot>(classification);
}

} // namespace Routing::Bgp
