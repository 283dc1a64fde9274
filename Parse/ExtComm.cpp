#include <VoBgp/Parse/ExtComm.h>

#include <Mox/Type.h>

namespace Routing::Bgp {

Mox::Type const& BgpParseExtendedCommunityRule::staticType() noexcept {
    static Mox::Type const type(Mox::Type::Kind::entity,
                                "Routing::Bgp::BgpParseExtendedCommunityRule", {});
    return type;
}

namespace {
Mox::TypeRegistration const registration(BgpParseExtendedCommunityRule::staticType());
} // namespace

BgpParseExtendedCommunityRule::~BgpParseExtendedCommunityRule() = default;

ExtComm::PtrConst
BgpParseExtendedCommunityRule::parseExtendedCommunity(ExtCommContent const& content) const {
    return Mox::makeActive<ExtComm>(extCommClassificationUnSpecified, content);
}

BgpParseExtendedCommunityRule::Ptr bgpParseExtendedCommunityRuleFactory() {
    return Mox::makeActive<BgpParseExtendedCommunityRule>();
}

} // namespace Routing::Bgp
