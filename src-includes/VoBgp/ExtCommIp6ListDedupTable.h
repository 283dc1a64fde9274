#pragma once

#include <Kel/DedupHashTable.h>
#include <Kel/DumpContext.h>
#include <Mox/Export.h>
#include <Mox/Ptr.h>
#include <VoBgp/CommListDedupTable.h>

namespace Routing::Bgp {

/// The intern table of lists of IPv6-address-specific communities: of the lists, and of their
/// classification lists, including those of route targets. It has no observers.
class VOBGP_EXPORT ExtCommIp6ListDedupTable : public CommListDedupTableBase {
  public:
    MOX_COUNTED(ExtCommIp6ListDedupTable)

    ExtCommIp6ListDedupTable();
    ~ExtCommIp6ListDedupTable() override;

    /// Creates a new table of classification lists and releases the current one. Called once by the
    /// constructor.
    void handleInitialized();

    /// Whether lists may be interned here that were split with an earlier table of classification
    /// lists: then lists with equal members need not be equal.
    bool classificationTableReplaced() const noexcept { return classificationTableReplaced_; }

    Kel::DedupHashTable::Ptr const& extCommClassification() const noexcept {
        return extCommClassification_;
    }

    /// Uses the heading of the table of eight-octet lists.
    void dumpState(Kel::DumpContext::PtrConst const& dumpContext, U32 indent) const;

  private:
    Kel::DedupHashTable::Ptr extCommClassification_;
    bool classificationTableReplaced_ = false;
};

/// Returns a new, empty table with notifications enabled.
VOBGP_EXPORT ExtCommIp6ListDedupTable::Ptr extCommIp6ListDedupTableFactory();

} // namespace Routing::Bgp
