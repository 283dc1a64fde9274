#pragma once

#include <Kel/DedupHashTable.h>
#include <Kel/DumpContext.h>
#include <Mox/Export.h>
#include <Mox/Ptr.h>
#include <VoBgp/CommListDedupTable.h>

namespace Routing::Bgp {

/// The intern table of lists of IPv6-address-specific communities: of the lists, and of their
/// classification lists, route targets or not. Nobody watches it.
///
/// Owned by the agent; holds the framework's tables. All else as its base.
class VOBGP_EXPORT ExtCommIp6ListDedupTable : public CommListDedupTableBase {
  public:
    MOX_COUNTED(ExtCommIp6ListDedupTable)

    ExtCommIp6ListDedupTable();
    ~ExtCommIp6ListDedupTable() override;

    /// Creates a new table of classification lists and releases the current one. Called once by the
    /// constructor.
    void handleInitialized();

    /// Whether lists may be interned here that were split into the classification lists of an
    /// earlier table: then equal members do not make equal lists.
    bool classificationTableReplaced() const noexcept { return classificationTableReplaced_; }

    Kel::DedupHashTable::Ptr const& extCommClassification() const noexcept {
        return extCommClassification_;
    }

    /// Under the heading of the table of eight-octet lists, on purpose.
    void dumpState(Kel::DumpContext::PtrConst const& dumpContext, U32 indent) const;

  private:
    Kel::DedupHashTable::Ptr extCommClassification_;
    bool classificationTableReplaced_ = false;
};

/// A new, empty table with its notifications switched on.
VOBGP_EXPORT ExtCommIp6ListDedupTable::Ptr extCommIp6ListDedupTableFactory();

} // namespace Routing::Bgp
