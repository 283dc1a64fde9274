#pragma once

#include <Mox/Export.h>
#include <Mox/Ptr.h>
#include <Routing/Bgp/BasicDedupTable_.h>

namespace Routing::Bgp {

class BgpParseExtendedCommunityRule;

/// The intern table of IPv6-address-specific extended communities.
///
/// Owned by the agent; holds its parse rule, which never changes. Thread-safe if
/// `VoBgpGlobals::multiThreaded()` was set when it was created.
class VOBGP_EXPORT ExtCommIp6DedupTable : public BasicDedupTable_ {
  public:
    MOX_COUNTED(ExtCommIp6DedupTable)

    /// REQUIRES: the rule is not null (asserted).
    explicit ExtCommIp6DedupTable(
        Mox::PtrConst<BgpParseExtendedCommunityRule> const& parseExtCommRule);
    ~ExtCommIp6DedupTable() override;

    Mox::PtrConst<BgpParseExtendedCommunityRule> const& parseExtCommRule() const noexcept {
        return parseExtCommRule_;
    }

  private:
    Mox::PtrConst<BgpParseExtendedCommunityRule> const parseExtCommRule_;
};

/// Returns a new, empty table with notifications enabled.
VOBGP_EXPORT ExtCommIp6DedupTable::Ptr
extCommIp6DedupTableFactory(Mox::PtrConst<BgpParseExtendedCommunityRule> const& parseExtCommRule);

} // namespace Routing::Bgp
