#include <Routing/RouteMap/CommListSnapshot.h>

#include <Mox/Type.h>

namespace Routing::RouteMap {

Mox::Type const& CommListSnapshot::staticType() noexcept {
    static Mox::Type const type(
        Mox::Type::Kind::entity, "Routing::RouteMap::CommListSnapshot",
        {Mox::readOnlyAttribute<CommListSnapshot, &CommListSnapshot::comms>("comms")});
    return type;
}

namespace {
Mox::TypeRegistration const commListSnapshotRegistration(CommListSnapshot::staticType());
} // namespace

CommListSnapshot::CommListSnapshot() noexcept = default;
CommListSnapshot::~CommListSnapshot() = default;

CommListSnapshot::Ptr commListSnapshotFactory() {
    return Mox::makeActive<CommListSnapshot>();
}

} // namespace Routing::RouteMap
