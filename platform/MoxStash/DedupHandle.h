#pragma once

#include <Kel/DedupHandle.h>
#include <Mox/Export.h>

namespace MoxStash {

/// An interned object that can also be rebuilt from a shared store.
///
/// One that was is in state destashed: it belongs to no table, ever, and its last release destroys
/// it. All else as its base.
class VOBGP_EXPORT DedupHandle : public Kel::DedupHandle {
  public:
    ~DedupHandle() override;

  protected:
    DedupHandle() noexcept = default;
};

} // namespace MoxStash
