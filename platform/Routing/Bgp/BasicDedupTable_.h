#pragma once

#include <Kel/DedupHashTable.h>
#include <Kel/DumpContext.h>
#include <Mox/Export.h>
#include <Mox/PtrInterface.h>
#include <Mox/Types.h>

namespace Routing::Bgp {

using Mox::U32;

/// Base of intern tables that need no observer. A derived class adds what it needs to create its
/// objects.
///
/// Owns the framework's table. Thread-safe if `VoBgpGlobals::multiThreaded()` was on at
/// construction, otherwise thread-compatible.
class VOBGP_EXPORT BasicDedupTable_ : public Mox::PtrInterface {
  public:
    MOX_COUNTED(BasicDedupTable_)

    ~BasicDedupTable_() override;

    Kel::DedupHashTable::Ptr const& dedupHashTable() const noexcept { return dedupHashTable_; }

    void dumpState(Kel::DumpContext::PtrConst const& dumpContext, U32 indent) const;

  protected:
    BasicDedupTable_();

  private:
    Kel::DedupHashTable::Ptr const dedupHashTable_;
};

} // namespace Routing::Bgp
