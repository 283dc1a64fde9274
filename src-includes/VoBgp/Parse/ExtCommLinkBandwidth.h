#pragma once

#include <Mox/Export.h>
#include <VoBgp/Parse/ExtCommTyped.h>
#include <VoBgp/VoBgpCommunity.h>

#include <string_view>

namespace Routing::Bgp {

/// The bandwidth of the link towards a neighbour AS, non-transitive (type 0x40, subtype 0x04).
///
///     octet  0      1         2       3       4       5       6       7
///          +------+---------+---------------+-------------------------------+
///          | 0x40 |  0x04   |   AS number   | bandwidth: an IEEE 754 number |
///          +------+---------+---------------+-------------------------------+
///
/// In octets per second, single precision; a peer may send any 32 bits.
class VOBGP_EXPORT ExtCommLinkBandwidth
  : public ExtCommTyped<ExtCommLinkBandwidth, ExtCommAsNumber> {
  public:
    MOX_COUNTED(ExtCommLinkBandwidth)

    explicit ExtCommLinkBandwidth(ExtCommContent const& content) noexcept
      : ExtCommTyped(extCommClassificationLinkBandwidth, content, false) {}

    /// In octets per second; possibly negative, infinite or not a number.
    float bandwidth() const noexcept;
    bool isLinkBandwidthWithUnspecifiedAsNumber() const override;

  protected:
    void appendShowForm(Mox::CharBuffer& out, bool upperCase) const override;

    /// With strepFormatClassification and strepFormatUI, the bandwidth with its unit; otherwise the
    /// plain number, with the prefix `lbw ` if strepFormatClassification is set.
    void appendPolicyForm(Mox::CharBuffer& out, StrepFormat format) const override;
};

/// The row of the sub-rule.
struct VOBGP_EXPORT ExtCommLinkBandwidthSubRule {
    using Community = ExtCommLinkBandwidth;
    using Kind = ExtCommRuleKind::NonTransTwoOctetAs;
    static constexpr auto subtype = extCommPktSubtypeNonTransTwoOctetAsLinkBandwidth;
    static constexpr std::string_view ruleName =
        "Routing::Bgp::BgpParseExtComSubTypeNonTransTwoOctetAsLinkBandwidthRule";
};

/// The row of the plug-in.
struct VOBGP_EXPORT ExtCommLinkBandwidthPlugin {
    using SubRules = ExtCommSubRules<ExtCommLinkBandwidthSubRule>;
    static constexpr std::string_view pluginName = "Routing::Bgp::BgpParseExtCommLinkBandwidthSm";
    static ExtCommSource source() noexcept;
};

using BgpParseExtComSubTypeNonTransTwoOctetAsLinkBandwidthRule =
    ExtCommTypedSubRule<ExtCommLinkBandwidthSubRule>;
using BgpParseExtCommLinkBandwidthSm = ExtCommTypedPlugin<ExtCommLinkBandwidthPlugin>;

extern template class ExtCommTypedSubRule<ExtCommLinkBandwidthSubRule>;
extern template class ExtCommTypedPlugin<ExtCommLinkBandwidthPlugin>;

// New objects with their notifications switched on.
VOBGP_EXPORT ExtCommLinkBandwidth::Ptr extCommLinkBandwidthFactory(ExtCommContent const& content);
VOBGP_EXPORT BgpParseExtCommLinkBandwidthSm::Ptr bgpParseExtCommLinkBandwidthSmFactory(
    BgpParseExtCommRuleCollections::PtrConst const& ruleCollections);

} // namespace Routing::Bgp
