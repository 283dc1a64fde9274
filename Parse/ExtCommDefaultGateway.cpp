#include <VoBgp/Parse/ExtCommDefaultGateway.h>

#include <Mox/CharBuffer.h>
#include <Mox/Trace.h>
#include <Mox/Type.h>

#include <typeinfo>

namespace Routing::Bgp {

template class ExtCommTypedSubRule<ExtCommDefaultGatewaySubRule>;

// ---- Reflection ---------------------------------------------------------------------------------

Mox::Type const& ExtCommDefaultGateway::staticType() noexcept {
    static Mox::Type const type(Mox::Type::Kind::entity, "Routing::Bgp::ExtCommDefaultGateway", {},
                                &ExtCommSubtyped::staticType());
    return type;
}

Mox::Type const& BgpParseExtCommDefaultGatewaySm::staticType() noexcept {
    static Mox::Type const type(Mox::Type::Kind::entity,
                                "Routing::Bgp::BgpParseExtCommDefaultGatewaySm", {},
                                &BgpParseExtCommPluginBaseSm::staticType());
    return type;
}

namespace {
Mox::TypeRegistration const registrations[] = {
    Mox::TypeRegistration(ExtCommDefaultGateway::staticType()),
    Mox::TypeRegistration(BgpParseExtComSubTypeTransOpaqueDefaultGatewayRule::staticType()),
    Mox::TypeRegistration(BgpParseExtCommDefaultGatewaySm::staticType()),
};
} // namespace

// ---- The community ------------------------------------------------------------------------------

ExtCommDefaultGateway::ExtCommDefaultGateway(ExtCommContent const& content) noexcept
  : ExtCommSubtyped(extCommClassificationDefaultGateway, content) {}

ExtCommDefaultGateway::~ExtCommDefaultGateway() = default;

void ExtCommDefaultGateway::appendShowForm(Mox::CharBuffer& out, bool upperCase) const {
    out.append("<DefaultGateway");
    appendShowTail(out, upperCase);
}

void ExtCommDefaultGateway::appendPolicyForm(Mox::CharBuffer& out, StrepFormat /*format*/) const {
    out.append("DefaultGateway");
}

bool ExtCommDefaultGateway::textIsBuiltIn() const noexcept {
    return typeid(*this) == typeid(ExtCommDefaultGateway);
}

ExtCommDefaultGateway::Ptr extCommDefaultGatewayFactory(ExtCommContent const& content) {
    return Mox::makeActive<ExtCommDefaultGateway>(content);
}

// ---- The plug-in --------------------------------------------------------------------------------

ExtComm::PtrConst ExtCommDefaultGatewaySubRule::build(ExtCommContent const& content) {
    return extCommDefaultGatewayFactory(content);
}

BgpParseExtCommDefaultGatewaySm::BgpParseExtCommDefaultGatewaySm(
    BgpParseExtCommRuleCollections::PtrConst const& ruleCollections)
  : BgpParseExtCommPluginBaseSm(ruleCollections) {
    handleStartup();
}

BgpParseExtCommDefaultGatewaySm::~BgpParseExtCommDefaultGatewaySm() = default;

void BgpParseExtCommDefaultGatewaySm::instantiateExtCommSubTypeTransOpaqueSubRule(
    BgpParseExtCommSubTypeTransOpaqueRuleKey const& key,
    BgpParseExtCommControl const& control) const {
    MOX_TRACE(8, *this);
    addExtCommSubTypeTransOpaqueSubRule(
        key, Mox::makeActive<BgpParseExtComSubTypeTransOpaqueDefaultGatewayRule>(control));
}

BgpParseExtCommDefaultGatewaySm::Ptr bgpParseExtCommDefaultGatewaySmFactory(
    BgpParseExtCommRuleCollections::PtrConst const& ruleCollections) {
    return Mox::makeActive<BgpParseExtCommDefaultGatewaySm>(ruleCollections);
}

} // namespace Routing::Bgp
