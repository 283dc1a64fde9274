#pragma once

#include <Mox/Export.h>
#include <VoBgp/Parse/ExtCommTyped.h>
#include <VoBgp/VoBgpCommunity.h>

#include <string_view>

namespace Routing::Bgp {

/// Marks the route of a default gateway (RFC 7432, section 7.8): type 0x03, subtype 0x0d, no
/// fields.
class VOBGP_EXPORT ExtCommDefaultGateway
  : public ExtCommTyped<ExtCommDefaultGateway, ExtCommSubtyped> {
  public:
    MOX_COUNTED(ExtCommDefaultGateway)

    explicit ExtCommDefaultGateway(ExtCommContent const& content) noexcept
      : ExtCommTyped(extCommClassificationDefaultGateway, content) {}

  protected:
    void appendShowForm(Mox::CharBuffer& out, bool upperCase) const override;

    /// `DefaultGateway`, whatever the format.
    void appendPolicyForm(Mox::CharBuffer& out, StrepFormat format) const override;
};

/// The row of the sub-rule.
struct VOBGP_EXPORT ExtCommDefaultGatewaySubRule {
    using Community = ExtCommDefaultGateway;
    using Kind = ExtCommRuleKind::TransOpaque;
    static constexpr auto subtype = extCommPktSubtypeTransOpaqueDefaultGateway;
    static constexpr std::string_view ruleName =
        "Routing::Bgp::BgpParseExtComSubTypeTransOpaqueDefaultGatewayRule";
};

/// The row of the plug-in.
struct VOBGP_EXPORT ExtCommDefaultGatewayPlugin {
    using SubRules = ExtCommSubRules<ExtCommDefaultGatewaySubRule>;
    static constexpr std::string_view pluginName = "Routing::Bgp::BgpParseExtCommDefaultGatewaySm";
    static ExtCommSource source() noexcept;
};

using BgpParseExtComSubTypeTransOpaqueDefaultGatewayRule =
    ExtCommTypedSubRule<ExtCommDefaultGatewaySubRule>;
using BgpParseExtCommDefaultGatewaySm = ExtCommTypedPlugin<ExtCommDefaultGatewayPlugin>;

extern template class ExtCommTypedSubRule<ExtCommDefaultGatewaySubRule>;
extern template class ExtCommTypedPlugin<ExtCommDefaultGatewayPlugin>;

// New objects with their notifications switched on.
VOBGP_EXPORT ExtCommDefaultGateway::Ptr extCommDefaultGatewayFactory(ExtCommContent const& content);
VOBGP_EXPORT BgpParseExtCommDefaultGatewaySm::Ptr bgpParseExtCommDefaultGatewaySmFactory(
    BgpParseExtCommRuleCollections::PtrConst const& ruleCollections);

} // namespace Routing::Bgp
