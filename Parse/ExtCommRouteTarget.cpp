#include <VoBgp/Parse/ExtCommRouteTarget.h>

#include "ExtCommRouteFamilyImpl.h"

#include <Mox/Assert.h>

namespace Routing::Bgp {

template class ExtCommRouteAs<ExtCommRouteTargetFamily>;
template class ExtCommRouteIpv4Address<ExtCommRouteTargetFamily>;
template class ExtCommTypedSubRule<ExtCommRouteTargetFamily::TwoOctetAs>;
template class ExtCommTypedSubRule<ExtCommRouteTargetFamily::Ipv4Address>;
template class ExtCommTypedSubRule<ExtCommRouteTargetFamily::FourOctetAs>;
template class ExtCommTypedPlugin<ExtCommRouteTargetFamily>;

namespace {
ExtCommTypedRegistrations<ExtCommRouteTargetFamily, ExtCommRouteTargetAs,
                          ExtCommRouteTargetIpv4Address> const extCommRouteTargetRegistrations;
} // namespace

ExtCommSource ExtCommRouteTargetFamily::source() noexcept {
    return {__FILE__, __LINE__};
}

void ExtCommRouteTargetFamily::unexpectedType() {
    Mox::assertionFailed(__FILE__, __LINE__, "formatDerivedType", "0 && \"unexpected type\"");
}

ExtCommRouteTargetAs::Ptr extCommRouteTargetAsFactory(ExtCommContent const& content,
                                                      bool fourByteAs) {
    return Mox::makeActive<ExtCommRouteTargetAs>(content, fourByteAs);
}

ExtCommRouteTargetIpv4Address::Ptr
extCommRouteTargetIpv4AddressFactory(ExtCommContent const& content) {
    return Mox::makeActive<ExtCommRouteTargetIpv4Address>(content);
}

BgpParseExtCommRouteTargetSm::Ptr bgpParseExtCommRouteTargetSmFactory(
    BgpParseExtCommRuleCollections::PtrConst const& ruleCollections) {
    return Mox::makeActive<BgpParseExtCommRouteTargetSm>(ruleCollections);
}

} // namespace Routing::Bgp
