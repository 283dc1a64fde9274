#pragma once

#include <Kel/DedupHashTable.h>
#include <Kel/DumpContext.h>
#include <Mox/Export.h>
#include <Mox/PtrInterface.h>
#include <Mox/Types.h>

namespace Routing::Bgp {

using Mox::U32;

/// Base of an intern table that needs no observer: the framework's table and whatever the deriving
/// class must know to make its objects.
///
/// Owned by the agent; holds the framework's table, which never changes. Thread-safe if
/// `VoBgpGlobals::multiThreaded()` was set when it was made, else thread-compatible.
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
