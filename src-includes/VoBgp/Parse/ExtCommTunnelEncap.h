#pragma once

#include <Mox/Export.h>
#include <VoBgp/BgpPathAttributeEnums.h>
#include <VoBgp/Parse/ExtCommTyped.h>
#include <VoBgp/VoBgpCommunity.h>

#include <string_view>

namespace Routing::Bgp {

/// The type of the tunnel that carries the traffic of a route (RFC 9012, section 4.1).
///
///     octet  0      1         2       3       4       5       6       7
///          +------+---------+-------------------------------+---------------+
///          | 0x03 |  0x0c   |           reserved            |  tunnel type  |
///          +------+---------+-------------------------------+---------------+
class VOBGP_EXPORT ExtCommTunnelEncap : public ExtCommTyped<ExtCommTunnelEncap, ExtCommSubtyped> {
  public:
    MOX_COUNTED(ExtCommTunnelEncap)

    explicit ExtCommTunnelEncap(ExtCommContent const& content) noexcept
      : ExtCommTyped(extCommClassificationTunnelEncap, content) {}

    /// Any sixteen bits, not only a member.
    TunnelType tunnelType() const noexcept {
        return static_cast<TunnelType>(static_cast<U16>(community()));
    }

  protected:
    void appendShowForm(Mox::CharBuffer& out, bool upperCase) const override;

    /// The name of the tunnel type, with the prefix `TunnelEncap:` if strepFormatClassification is
    /// set.
    void appendPolicyForm(Mox::CharBuffer& out, StrepFormat format) const override;
};

/// The row of the sub-rule.
struct VOBGP_EXPORT ExtCommTunnelEncapSubRule {
    using Community = ExtCommTunnelEncap;
    using Kind = ExtCommRuleKind::TransOpaque;
    static constexpr auto subtype = extCommPktSubtypeTransOpaqueEncapsulationExtendedCommunity;
    static constexpr std::string_view ruleName =
        "Routing::Bgp::BgpParseExtComSubTypeTransOpaqueTunnelEncapRule";
};

/// The row of the plug-in.
struct VOBGP_EXPORT ExtCommTunnelEncapPlugin {
    using SubRules = ExtCommSubRules<ExtCommTunnelEncapSubRule>;
    static constexpr std::string_view pluginName = "Routing::Bgp::BgpParseExtCommTunnelEncapSm";
    static ExtCommSource source() noexcept;
};

using BgpParseExtComSubTypeTransOpaqueTunnelEncapRule =
    ExtCommTypedSubRule<ExtCommTunnelEncapSubRule>;
using BgpParseExtCommTunnelEncapSm = ExtCommTypedPlugin<ExtCommTunnelEncapPlugin>;

extern template class ExtCommTypedSubRule<ExtCommTunnelEncapSubRule>;
extern template class ExtCommTypedPlugin<ExtCommTunnelEncapPlugin>;

// New objects with their notifications switched on.
VOBGP_EXPORT ExtCommTunnelEncap::Ptr extCommTunnelEncapFactory(ExtCommContent const& content);
VOBGP_EXPORT BgpParseExtCommTunnelEncapSm::Ptr bgpParseExtCommTunnelEncapSmFactory(
    BgpParseExtCommRuleCollections::PtrConst const& ruleCollections);

} // namespace Routing::Bgp
