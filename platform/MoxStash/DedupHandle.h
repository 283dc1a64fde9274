#pragma once

#include <Kel/DedupHandle.h>
#include <Mox/Export.h>

namespace MoxStash {

class StoreManager;
class StoreWriter;

/// An interned object that can also be kept in a shared store and rebuilt from it.
///
/// A kind of them has `stash`, which writes an object into a store, and `destash`, which rebuilds
/// it in another process. One that was rebuilt is in state destashed, unless its kind says
/// otherwise: it belongs to no table, ever, and its last release destroys it. All else as its base.
class VOBGP_EXPORT DedupHandle : public Kel::DedupHandle {
  public:
    ~DedupHandle() override;

  protected:
    DedupHandle() noexcept = default;
};

} // namespace MoxStash
