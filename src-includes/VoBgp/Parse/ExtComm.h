#pragma once

#include <Mox/Export.h>
#include <Mox/Ptr.h>
#include <VoBgp/VoBgpCommunity.h>

namespace Routing::Bgp {

/// Turns the value of an extended community into the object that stands for it.
///
/// Owned by the tables that parse by it. Immutable.
class VOBGP_EXPORT BgpParseExtendedCommunityRule : public Mox::PtrInterface {
  public:
    MOX_COUNTED(BgpParseExtendedCommunityRule)

    ~BgpParseExtendedCommunityRule() override;

    /// A new, not yet interned object for any content; never null.
    ExtComm::PtrConst parseExtendedCommunity(ExtCommContent const& content) const;
};

/// A new rule with its notifications switched on.
VOBGP_EXPORT BgpParseExtendedCommunityRule::Ptr bgpParseExtendedCommunityRuleFactory();

} // namespace Routing::Bgp
