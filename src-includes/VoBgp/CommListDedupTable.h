#pragma once

#include <Kel/DedupHandle.h>
#include <Kel/DedupHashTable.h>
#include <Kel/DumpContext.h>
#include <Mox/Export.h>
#include <Mox/Ptr.h>
#include <Mox/PtrInterface.h>
#include <VoBgp/VoBgpMiscTypes.h>

namespace Routing::Bgp {

/// Base of every intern table of lists.
///
/// Thread-safe if `VoBgpGlobals::multiThreaded()` was set when it was created, else
/// thread-compatible.
class VOBGP_EXPORT CommListDedupTableBase : public Mox::PtrInterface {
  public:
    MOX_COUNTED(CommListDedupTableBase)

    ~CommListDedupTableBase() override;

    /// Creates a new table and releases the current one. Called once by the constructor.
    void initDedupTable();

    Kel::DedupHashTable::Ptr const& dedupTable() const noexcept { return dedupTable_; }

    /// Interns a list: returns the existing equal one, or inserts this one.
    Kel::DedupHandle::PtrConst dedup(Kel::DedupHandle::Ptr const& object) const;

    void dumpState(Kel::DumpContext::PtrConst const& context, U32 indent) const;

  protected:
    CommListDedupTableBase();

  private:
    Kel::DedupHashTable::Ptr dedupTable_;
};

/// The intern table of lists of standard communities.
class VOBGP_EXPORT CommListDedupTable : public CommListDedupTableBase {
  public:
    MOX_COUNTED(CommListDedupTable)

    CommListDedupTable();
    ~CommListDedupTable() override;
};

/// The intern table of lists of large communities.
class VOBGP_EXPORT LargeCommListDedupTable : public CommListDedupTableBase {
  public:
    MOX_COUNTED(LargeCommListDedupTable)

    LargeCommListDedupTable();
    ~LargeCommListDedupTable() override;
};

/// Returns a new, empty table with notifications enabled.
VOBGP_EXPORT CommListDedupTable::Ptr commListDedupTableFactory();
VOBGP_EXPORT LargeCommListDedupTable::Ptr largeCommListDedupTableFactory();

} // namespace Routing::Bgp
