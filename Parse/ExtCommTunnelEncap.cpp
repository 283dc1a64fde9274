#include <VoBgp/Parse/ExtCommTunnelEncap.h>

#include <Mox/CharBuffer.h>
#include <Mox/Type.h>

namespace Routing::Bgp {

template class ExtCommTypedSubRule<ExtCommTunnelEncapSubRule>;
template class ExtCommTypedPlugin<ExtCommTunnelEncapPlugin>;

// ---- Reflection ---------------------------------------------------------------------------------

Mox::Type const& ExtCommTunnelEncap::staticType() noexcept {
    static Mox::Type const type(
        Mox::Type::Kind::entity, "Routing::Bgp::ExtCommTunnelEncap",
        {Mox::readOnlyAttribute<ExtCommTunnelEncap, &ExtCommTunnelEncap::tunnelType>("tunnelType")},
        &ExtCommSubtyped::staticType());
    return type;
}

namespace {
ExtCommTypedRegistrations<ExtCommTunnelEncapPlugin, ExtCommTunnelEncap> const
    extCommTunnelEncapRegistrations;
} // namespace

ExtCommSource ExtCommTunnelEncapPlugin::source() noexcept {
    return {__FILE__, __LINE__};
}

// ---- The community ------------------------------------------------------------------------------

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

// ---- Factories ----------------------------------------------------------------------------------

ExtCommTunnelEncap::Ptr extCommTunnelEncapFactory(ExtCommContent const& content) {
    return Mox::makeActive<ExtCommTunnelEncap>(content);
}

BgpParseExtCommTunnelEncapSm::Ptr bgpParseExtCommTunnelEncapSmFactory(
    BgpParseExtCommRuleCollections::PtrConst const& ruleCollections) {
    return Mox::makeActive<BgpParseExtCommTunnelEncapSm>(ruleCollections);
}

} // namespace Routing::Bgp
