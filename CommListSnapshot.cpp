#include <VoBgp/CommListSnapshot.h>

#include <Mox/Type.h>

namespace Routing::Bgp {

Mox::Type const& CommListSnapshot::staticType() noexcept {
    static Mox::Type const type(
        Mox::Type::Kind::entity, "Routing::Bgp::CommListSnapshot",
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

} // namespace Routing::Bgp
