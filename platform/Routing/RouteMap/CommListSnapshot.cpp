#include <Routing/RouteMap/CommListSnapshot.h>

#include <Routing/RouteMap/CommListSnapshotImpl.h>

namespace Routing::RouteMap {

ROUTING_COMM_LIST_SNAPSHOT("Routing::RouteMap::CommListSnapshot")

} // namespace Routing::RouteMap
