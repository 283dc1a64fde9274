#pragma once

#include <Mox/Export.h>
#include <VoBgp/Parse/ExtCommPlugin.h>
#include <VoBgp/Parse/ExtCommTypedSubRule.h>
#include <VoBgp/VoBgpCommunity.h>

#include <string_view>

namespace Routing::Bgp {

/// The mark of a default gateway's route (RFC 7432, section 7.8): type 0x03, subtype 0x0d, and
/// nothing else. Else as its base.
class VOBGP_EXPORT ExtCommDefaultGateway : public ExtCommSubtyped {
  public:
    MOX_COUNTED(ExtCommDefaultGateway)

    explicit ExtCommDefaultGateway(ExtCommContent const& content) noexcept;
    ~ExtCommDefaultGateway() override;

  protected:
    void appendShowForm(Mox::CharBuffer& out, bool upperCase) const override;

    /// `DefaultGateway`, whatever the format.
    void appendPolicyForm(Mox::CharBuffer& out, StrepFormat format) const override;
    bool textIsBuiltIn() const noexcept override;
};

/// The row of the sub-rule of default gateways.
struct VOBGP_EXPORT ExtCommDefaultGatewaySubRule {
    using Kind = ExtCommRuleKind::TransOpaque;
    static constexpr auto subtype = extCommPktSubtypeTransOpaqueDefaultGateway;
    static constexpr std::string_view ruleName =
        "Routing::Bgp::BgpParseExtComSubTypeTransOpaqueDefaultGatewayRule";
    static ExtComm::PtrConst build(ExtCommContent const& content);
};

using BgpParseExtComSubTypeTransOpaqueDefaultGatewayRule =
    ExtCommTypedSubRule<ExtCommDefaultGatewaySubRule>;
extern template class ExtCommTypedSubRule<ExtCommDefaultGatewaySubRule>;

/// The plug-in of default gateways. Else as its base.
class VOBGP_EXPORT BgpParseExtCommDefaultGatewaySm final : public BgpParseExtCommPluginBaseSm {
  public:
    MOX_COUNTED(BgpParseExtCommDefaultGatewaySm)

    explicit BgpParseExtCommDefaultGatewaySm(
        BgpParseExtCommRuleCollections::PtrConst const& ruleCollections);
    ~BgpParseExtCommDefaultGatewaySm() override;

    void instantiateExtCommSubTypeTransOpaqueSubRule(
        BgpParseExtCommSubTypeTransOpaqueRuleKey const& key,
        BgpParseExtCommControl const& control) const override;
};

// New objects with their notifications switched on.
VOBGP_EXPORT ExtCommDefaultGateway::Ptr extCommDefaultGatewayFactory(ExtCommContent const& content);
VOBGP_EXPORT BgpParseExtCommDefaultGatewaySm::Ptr bgpParseExtCommDefaultGatewaySmFactory(
    BgpParseExtCommRuleCollections::PtrConst const& ruleCollections);

} // namespace Routing::Bgp
