#pragma once

#include <Mox/Export.h>
#include <Routing/RouteMap/CommSnapshot.h>
#include <VoBgp/VoBgpMiscTypes.h>

namespace Routing::Bgp {

/// A snapshot of a list of standard communities: a flag for each value.
class VOBGP_EXPORT CommListSnapshot : public RouteMap::CommSnapshot<U32, bool> {
  public:
    MOX_COUNTED(CommListSnapshot)

    CommListSnapshot() noexcept;
    ~CommListSnapshot() override;
};

/// Returns a new, empty snapshot with notifications enabled.
VOBGP_EXPORT CommListSnapshot::Ptr commListSnapshotFactory();

} // namespace Routing::Bgp
