#include <VoBgp/Parse/ExtCommTunnelEncap.h>

#include <Mox/CharBuffer.h>
#include <Mox/Trace.h>
#include <Mox/Type.h>

#include <typeinfo>

namespace Routing::Bgp {

template class ExtCommTypedSubRule<ExtCommTunnelEncapSubRule>;

// ---- Reflection ---------------------------------------------------------------------------------

Mox::Type const& ExtCommTunnelEncap::staticType() noexcept {
    static Mox::Type const type(
        Mox::Type::Kind::entity, "Routing::Bgp::ExtCommTunnelEncap",
        {Mox::readOnlyAttribute<ExtCommTunnelEncap, &ExtCommTunnelEncap::tunnelType>("tunnelType")},
        &ExtCommSubtyped::staticType());
    return type;
}

Mox::Type const& BgpParseExtCommTunnelEncapSm::staticType() noexcept {
    static Mox::Type const type(Mox::Type::Kind::entity,
                                "Routing::Bgp::BgpParseExtCommTunnelEncapSm", {},
                                &BgpParseExtCommPluginBaseSm::staticType());
    return type;
}

namespace {
Mox::TypeRegistration const registrations[] = {
    Mox::TypeRegistration(ExtCommTunnelEncap::staticType()),
    Mox::TypeRegistration(BgpParseExtComSubTypeTransOpaqueTunnelEncapRule::staticType()),
    Mox::TypeRegistration(BgpParseExtCommTunnelEncapSm::staticType()),
};
} // namespace

// ---- The community ------------------------------------------------------------------------------

ExtCommTunnelEncap::ExtCommTunnelEncap(ExtCommContent const& content) noexcept
  : ExtCommSubtyped(extCommClassificationTunnelEncap, content) {}

ExtCommTunnelEncap::~ExtCommTunnelEncap() = default;

void ExtCommTunnelEncap::appendShowForm(Mox::CharBuffer& out, bool upperCase) const {
    out.append("<TunnelEncap ").appendDecimal(tunnelType()).append(':');
    out.append(bgpIsValidEnumMember(tunnelType()) ? Mox::enumerationName(tunnelType())
                                                  : "tunnelTypeUnknown");
    appendShowTail(out, upperCase);
}

void ExtCommTunnelEncap::appendPolicyForm(Mox::CharBuffer& out, StrepFormat format) const {
    if (format.has(StrepFormat::strepFormatClassification)) {
        out.append("TunnelEncap:");
    }
    if (bgpIsValidEnumMember(tunnelType())) {
        out.append(Mox::enumerationName(tunnelType()));
    } else {
        out.append("tunnelTypeUnknown-").appendDecimal(tunnelType());
    }
}

bool ExtCommTunnelEncap::textIsBuiltIn() const noexcept {
    return typeid(*this) == typeid(ExtCommTunnelEncap);
}

ExtCommTunnelEncap::Ptr extCommTunnelEncapFactory(ExtCommContent const& content) {
    return Mox::makeActive<ExtCommTunnelEncap>(content);
}

// ---- The plug-in --------------------------------------------------------------------------------

ExtComm::PtrConst ExtCommTunnelEncapSubRule::build(ExtCommContent const& content) {
    return extCommTunnelEncapFactory(content);
}

BgpParseExtCommTunnelEncapSm::BgpParseExtCommTunnelEncapSm(
    BgpParseExtCommRuleCollections::PtrConst const& ruleCollections)
  : BgpParseExtCommPluginBaseSm(ruleCollections) {
    handleStartup();
}

BgpParseExtCommTunnelEncapSm::~BgpParseExtCommTunnelEncapSm() = default;

void BgpParseExtCommTunnelEncapSm::instantiateExtCommSubTypeTransOpaqueSubRule(
    BgpParseExtCommSubTypeTransOpaqueRuleKey const& key,
    BgpParseExtCommControl const& control) const {
    MOX_TRACE(8, *this);
    addExtCommSubTypeTransOpaqueSubRule(
        key, Mox::makeActive<BgpParseExtComSubTypeTransOpaqueTunnelEncapRule>(control));
}

BgpParseExtCommTunnelEncapSm::Ptr bgpParseExtCommTunnelEncapSmFactory(
    BgpParseExtCommRuleCollections::PtrConst const& ruleCollections) {
    return Mox::makeActive<BgpParseExtCommTunnelEncapSm>(ruleCollections);
}

} // namespace Routing::Bgp
