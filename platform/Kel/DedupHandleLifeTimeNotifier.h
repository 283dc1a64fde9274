#pragma once

#include <Kel/DedupHandle.h>
#include <Mox/Export.h>

namespace Kel {

/// A reference to an interned object that does not keep it interned.
///
/// Raises the object's floor together with its count, so the object is removed from its table when
/// all other references are released; the notifier keeps it alive until then. Usually created in
/// the table's `handleInsert`. For an object that is not interned, an ordinary reference. At most
/// 62 notifiers may refer to one interned object at a time (asserted). Immutable. REQUIRES: the
/// creator holds a reference to the object.
class VOBGP_EXPORT DedupHandleLifeTimeNotifier : public Mox::PtrInterface {
  public:
    MOX_COUNTED(DedupHandleLifeTimeNotifier)

    explicit DedupHandleLifeTimeNotifier(DedupHandle::PtrConst const& handle) noexcept;
    ~DedupHandleLifeTimeNotifier() override;

    /// The object. REQUIRES: a caller that creates a counted pointer from it already holds a
    /// reference.
    DedupHandle const* dedupHandle() const noexcept { return handle_; }

  private:
    DedupHandle const* handle_;
    bool raisedFloor_;
};

} // namespace Kel
