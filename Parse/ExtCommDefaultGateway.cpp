#include <VoBgp/Parse/ExtCommDefaultGateway.h>

#include <Mox/CharBuffer.h>
#include <Mox/Type.h>

namespace Routing::Bgp {

template class ExtCommTypedSubRule<ExtCommDefaultGatewaySubRule>;
template class ExtCommTypedPlugin<ExtCommDefaultGatewayPlugin>;

// ---- Reflection ---------------------------------------------------------------------------------

Mox::Type const& ExtCommDefaultGateway::staticType() noexcept {
    static Mox::Type const type(Mox::Type::Kind::entity, "Routing::Bgp::ExtCommDefaultGateway", {},
                                &ExtCommSubtyped::staticType());
    return type;
}

namespace {
ExtCommTypedRegistrations<ExtCommDefaultGatewayPlugin, ExtCommDefaultGateway> const
    extCommDefaultGatewayRegistrations;
} // namespace

ExtCommSource ExtCommDefaultGatewayPlugin::source() noexcept {
    return {__FILE__, __LINE__};
}

// ---- The community ------------------------------------------------------------------------------

void ExtCommDefaultGateway::appendShowForm(Mox::CharBuffer& out, bool upperCase) const {
    out.append("<DefaultGateway");
    appendShowTail(out, upperCase);
}

void ExtCommDefaultGateway::appendPolicyForm(Mox::CharBuffer& out, StrepFormat /*format*/) const {
    out.append("DefaultGateway");
}

// ---- Factories ----------------------------------------------------------------------------------

ExtCommDefaultGateway::Ptr extCommDefaultGatewayFactory(ExtCommContent const& content) {
    return Mox::makeActive<ExtCommDefaultGateway>(content);
}

BgpParseExtCommDefaultGatewaySm::Ptr bgpParseExtCommDefaultGatewaySmFactory(
    BgpParseExtCommRuleCollections::PtrConst const& ruleCollections) {
    return Mox::makeActive<BgpParseExtCommDefaultGatewaySm>(ruleCollections);
}

} // namespace Routing::Bgp
