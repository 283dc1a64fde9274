#pragma once

#include <Mox/Export.h>
#include <VoBgp/BgpPathAttributeEnums.h>
#include <VoBgp/Parse/ExtCommPlugin.h>
#include <VoBgp/Parse/ExtCommTypedSubRule.h>
#include <VoBgp/VoBgpCommunity.h>

#include <string_view>

namespace Routing::Bgp {

/// The type of tunnel to send the traffic of a route through (RFC 9012, section 4.1). Else as its
/// base.
///
///     octet  0      1         2       3       4       5       6       7
///          +------+---------+-------------------------------+---------------+
///          | 0x03 |  0x0c   |           reserved            |  tunnel type  |
///          +------+---------+-------------------------------+---------------+
class VOBGP_EXPORT ExtCommTunnelEncap : public ExtCommSubtyped {
  public:
    MOX_COUNTED(ExtCommTunnelEncap)

    explicit ExtCommTunnelEncap(ExtCommContent const& content) noexcept;
    ~ExtCommTunnelEncap() override;

    /// Any sixteen bits, not only a member.
    TunnelType tunnelType() const noexcept {
        return static_cast<TunnelType>(static_cast<U16>(community()));
    }

  protected:
    void appendShowForm(Mox::CharBuffer& out, bool upperCase) const override;

    /// The name of the tunnel type, after `TunnelEncap:` if strepFormatClassification is set.
    void appendPolicyForm(Mox::CharBuffer& out, StrepFormat format) const override;
    bool textIsBuiltIn() const noexcept override;
};

/// The row of the sub-rule of tunnel encapsulations.
struct VOBGP_EXPORT ExtCommTunnelEncapSubRule {
    using Kind = ExtCommRuleKind::TransOpaque;
    static constexpr auto subtype = extCommPktSubtypeTransOpaqueEncapsulationExtendedCommunity;
    static constexpr std::string_view ruleName =
        "Routing::Bgp::BgpParseExtComSubTypeTransOpaqueTunnelEncapRule";
    static ExtComm::PtrConst build(ExtCommContent const& content);
};

using BgpParseExtComSubTypeTransOpaqueTunnelEncapRule =
    ExtCommTypedSubRule<ExtCommTunnelEncapSubRule>;
extern template class ExtCommTypedSubRule<ExtCommTunnelEncapSubRule>;

/// The plug-in of tunnel encapsulations. Else as its base.
class VOBGP_EXPORT BgpParseExtCommTunnelEncapSm final : public BgpParseExtCommPluginBaseSm {
  public:
    MOX_COUNTED(BgpParseExtCommTunnelEncapSm)

    explicit BgpParseExtCommTunnelEncapSm(
        BgpParseExtCommRuleCollections::PtrConst const& ruleCollections);
    ~BgpParseExtCommTunnelEncapSm() override;

    void instantiateExtCommSubTypeTransOpaqueSubRule(
        BgpParseExtCommSubTypeTransOpaqueRuleKey const& key,
        BgpParseExtCommControl const& control) const override;
};

// New objects with their notifications switched on.
VOBGP_EXPORT ExtCommTunnelEncap::Ptr extCommTunnelEncapFactory(ExtCommContent const& content);
VOBGP_EXPORT BgpParseExtCommTunnelEncapSm::Ptr bgpParseExtCommTunnelEncapSmFactory(
    BgpParseExtCommRuleCollections::PtrConst const& ruleCollections);

} // namespace Routing::Bgp
