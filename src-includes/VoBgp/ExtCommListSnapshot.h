#pragma once

#include <Mox/Export.h>
#include <Mox/Ptr.h>
#include <VoBgp/ExtCommList.h>

namespace Routing::Bgp {

/// A snapshot of a list of eight-octet communities.
class VOBGP_EXPORT ExtCommListSnapshot : public ExtCommListSnapshotBase<ExtCommListFamily> {
  public:
    MOX_COUNTED(ExtCommListSnapshot)

    ExtCommListSnapshot() noexcept;
    ~ExtCommListSnapshot() override;
};

/// A snapshot of a classification list of eight-octet communities.
class VOBGP_EXPORT ExtCommClassificationListSnapshot
  : public ExtCommClassificationListSnapshotBase<ExtCommListFamily> {
  public:
    MOX_COUNTED(ExtCommClassificationListSnapshot)

    explicit ExtCommClassificationListSnapshot(ExtCommClassification classification) noexcept;
    ~ExtCommClassificationListSnapshot() override;
};

/// Returns a new, empty snapshot with notifications enabled.
VOBGP_EXPORT ExtCommListSnapshot::Ptr extCommListSnapshotFactory();
VOBGP_EXPORT ExtCommClassificationListSnapshot::Ptr
extCommClassificationListSnapshotFactory(ExtCommClassification classification);

} // namespace Routing::Bgp
