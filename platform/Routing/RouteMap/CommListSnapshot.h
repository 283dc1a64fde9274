#pragma once

#include <Acl/CommunityValue.h>
#include <Mox/Export.h>
#include <Routing/RouteMap/CommSnapshot.h>

namespace Routing::RouteMap {

/// A snapshot of a list of large communities: a flag for each value. All else as its base.
class VOBGP_EXPORT CommListSnapshot : public CommSnapshot<Acl::CommunityValue, bool> {
  public:
    MOX_COUNTED(CommListSnapshot)

    CommListSnapshot() noexcept;
    ~CommListSnapshot() override;
};

/// A new, empty snapshot with its notifications switched on.
VOBGP_EXPORT CommListSnapshot::Ptr commListSnapshotFactory();

} // namespace Routing::RouteMap
