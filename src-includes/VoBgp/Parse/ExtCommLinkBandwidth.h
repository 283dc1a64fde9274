#pragma once

#include <Mox/Export.h>
#include <VoBgp/Parse/ExtCommPlugin.h>
#include <VoBgp/Parse/ExtCommTypedSubRule.h>
#include <VoBgp/VoBgpCommunity.h>

#include <string_view>

namespace Routing::Bgp {

/// The bandwidth of the link towards a neighbour AS, non-transitive (type 0x40, subtype 0x04). Else
/// as its base.
///
///     octet  0      1         2       3       4       5       6       7
///          +------+---------+---------------+-------------------------------+
///          | 0x40 |  0x04   |   AS number   | bandwidth: an IEEE 754 number |
///          +------+---------+---------------+-------------------------------+
///
/// In octets per second, of single precision; whoever sent it may have sent any 32 bits.
class VOBGP_EXPORT ExtCommLinkBandwidth : public ExtCommAsNumber {
  public:
    MOX_COUNTED(ExtCommLinkBandwidth)

    explicit ExtCommLinkBandwidth(ExtCommContent const& content) noexcept;
    ~ExtCommLinkBandwidth() override;

    /// In octets per second; possibly negative, infinite or not a number.
    float bandwidth() const noexcept;
    bool isLinkBandwidthWithUnspecifiedAsNumber() const override;

  protected:
    void appendShowForm(Mox::CharBuffer& out, bool upperCase) const override;

    /// With strepFormatClassification and strepFormatUI as the routing information base shows it;
    /// else the plain number, after `lbw ` if strepFormatClassification is set.
    void appendPolicyForm(Mox::CharBuffer& out, StrepFormat format) const override;
    bool textIsBuiltIn() const noexcept override;
};

/// The row of the sub-rule of link bandwidths.
struct VOBGP_EXPORT ExtCommLinkBandwidthSubRule {
    using Kind = ExtCommRuleKind::NonTransTwoOctetAs;
    static constexpr auto subtype = extCommPktSubtypeNonTransTwoOctetAsLinkBandwidth;
    static constexpr std::string_view ruleName =
        "Routing::Bgp::BgpParseExtComSubTypeNonTransTwoOctetAsLinkBandwidthRule";
    static ExtComm::PtrConst build(ExtCommContent const& content);
};

using BgpParseExtComSubTypeNonTransTwoOctetAsLinkBandwidthRule =
    ExtCommTypedSubRule<ExtCommLinkBandwidthSubRule>;
extern template class ExtCommTypedSubRule<ExtCommLinkBandwidthSubRule>;

/// The plug-in of link bandwidths. Else as its base.
class VOBGP_EXPORT BgpParseExtCommLinkBandwidthSm final : public BgpParseExtCommPluginBaseSm {
  public:
    MOX_COUNTED(BgpParseExtCommLinkBandwidthSm)

    explicit BgpParseExtCommLinkBandwidthSm(
        BgpParseExtCommRuleCollections::PtrConst const& ruleCollections);
    ~BgpParseExtCommLinkBandwidthSm() override;

    void instantiateExtCommSubTypeNonTransTwoOctetAsSubRule(
        BgpParseExtCommSubTypeNonTransTwoOctetAsRuleKey const& key,
        BgpParseExtCommControl const& control) const override;
};

// New objects with their notifications switched on.
VOBGP_EXPORT ExtCommLinkBandwidth::Ptr extCommLinkBandwidthFactory(ExtCommContent const& content);
VOBGP_EXPORT BgpParseExtCommLinkBandwidthSm::Ptr bgpParseExtCommLinkBandwidthSmFactory(
    BgpParseExtCommRuleCollections::PtrConst const& ruleCollections);

} // namespace Routing::Bgp
