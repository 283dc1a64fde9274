#include <VoBgp/Parse/ExtCommRouteOrigin.h>

#include "ExtCommRouteFamilyImpl.h"

#include <Mox/Assert.h>

namespace Routing::Bgp {

template class ExtCommRouteAs<ExtCommRouteOriginFamily>;
template class ExtCommRouteIpv4Address<ExtCommRouteOriginFamily>;
template class ExtCommTypedSubRule<ExtCommRouteOriginFamily::TwoOctetAs>;
template class ExtCommTypedSubRule<ExtCommRouteOriginFamily::Ipv4Address>;
template class ExtCommTypedSubRule<ExtCommRouteOriginFamily::FourOctetAs>;
template class ExtCommTypedPlugin<ExtCommRouteOriginFamily>;

namespace {
ExtCommTypedRegistrations<ExtCommRouteOriginFamily, ExtCommRouteOriginAs,
                          ExtCommRouteOriginIpv4Address> const extCommRouteOriginRegistrations;
} // namespace

ExtCommSource ExtCommRouteOriginFamily::source() noexcept {
    return {__FILE__, __LINE__};
}

void ExtCommRouteOriginFamily::unexpectedType() {
    Mox::assertionFailed(__FILE__, __LINE__, "formatDerivedType", "0 && \"unexpected type\"");
}

ExtCommRouteOriginAs::Ptr extCommRouteOriginAsFactory(ExtCommContent const& content,
                                                      bool fourByteAs) {
    return Mox::makeActive<ExtCommRouteOriginAs>(content, fourByteAs);
}

ExtCommRouteOriginIpv4Address::Ptr
extCommRouteOriginIpv4AddressFactory(ExtCommContent const& content) {
    return Mox::makeActive<ExtCommRouteOriginIpv4Address>(content);
}

BgpParseExtCommRouteOriginSm::Ptr bgpParseExtCommRouteOriginSmFactory(
    BgpParseExtCommRuleCollections::PtrConst const& ruleCollections) {
    return Mox::makeActive<BgpParseExtCommRouteOriginSm>(ruleCollections);
}

} // namespace Routing::Bgp
