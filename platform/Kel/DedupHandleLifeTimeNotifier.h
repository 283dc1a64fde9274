#pragma once

#include <Kel/DedupHandle.h>
#include <Mox/Export.h>

namespace Kel {

/// Holds one interned object for as long as it exists, without keeping the object interned.
///
/// Its reference raises the object's floor with its count, so the object leaves its table when all
/// others have let go; whoever still holds the notifier then keeps the object itself alive. To be
/// made by a holder of the object once it is interned, as a rule in the table's `handleInsert`;
/// made of an object that is in no table, its reference is an ordinary one. At most 62 notifiers
/// hold one interned object at a time (asserted). Immutable.
class VOBGP_EXPORT DedupHandleLifeTimeNotifier : public Mox::PtrInterface {
  public:
    MOX_COUNTED(DedupHandleLifeTimeNotifier)

    explicit DedupHandleLifeTimeNotifier(DedupHandle::PtrConst const& handle) noexcept;
    ~DedupHandleLifeTimeNotifier() override;

    /// The object. Nobody makes a counted pointer of it unless he holds a reference already.
    DedupHandle const* dedupHandle() const noexcept { return handle_; }

  private:
    DedupHandle const* handle_;
    bool raisedFloor_;
};

} // namespace Kel
