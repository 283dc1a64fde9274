#include <VoBgp/CommListSnapshot.h>

#include <Routing/RouteMap/CommListSnapshotImpl.h>

namespace Routing::Bgp {

ROUTING_COMM_LIST_SNAPSHOT("Routing::Bgp::CommListSnapshot")

} // namespace Routing::Bgp
