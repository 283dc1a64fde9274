#pragma once

#include <Acl/CommunityValue.h>
#include <Mox/Export.h>
#include <Routing/RouteMap/CommSnapshot.h>

namespace Routing::RouteMap {

/// A snapshot of a list of large communities, with a flag for each value.
class VOBGP_EXPORT CommListSnapshot : public CommSnapshot<Acl::CommunityValue, bool> {
  public:
    MOX_COUNTED(CommListSnapshot)

    CommListSnapshot() noexcept;
    ~CommListSnapshot() override;
};

/// Returns a new, empty snapshot with notifications switched on.
VOBGP_EXPORT CommListSnapshot::Ptr commListSnapshotFactory();

} // namespace Routing::RouteMap
