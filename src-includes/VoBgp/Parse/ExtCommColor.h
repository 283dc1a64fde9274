#pragma once

#include <Mox/Export.h>
#include <VoBgp/Parse/ExtCommTyped.h>
#include <VoBgp/VoBgpCommunity.h>

#include <string_view>

namespace Routing::Bgp {

/// The color of a route, which selects the tunnels for it (RFC 9012, section 4.3).
///
///     octet  0      1         2       3       4       5       6       7
///          +------+---------+---------------+-------------------------------+
///          | 0x03 |  0x0b   |CO   flags     |             color             |
///          +------+---------+---------------+-------------------------------+
///
/// C and O (RFC 9256, section 8.8.1) are the two most significant of the flags.
class VOBGP_EXPORT ExtCommColor : public ExtCommTyped<ExtCommColor, ExtCommSubtyped> {
  public:
    MOX_COUNTED(ExtCommColor)

    explicit ExtCommColor(ExtCommContent const& content) noexcept
      : ExtCommTyped(extCommClassificationColor, content) {}

    U32 color() const noexcept { return static_cast<U32>(community()); }
    bool cBit() const noexcept { return (community() >> 47 & 1) != 0; }
    bool oBit() const noexcept { return (community() >> 46 & 1) != 0; }

  protected:
    void appendShowForm(Mox::CharBuffer& out, bool upperCase) const override;

    /// `Color:CO(CO):COLOR`, whatever the format.
    void appendPolicyForm(Mox::CharBuffer& out, StrepFormat format) const override;
};

/// The row of the sub-rule.
struct VOBGP_EXPORT ExtCommColorSubRule {
    using Community = ExtCommColor;
    using Kind = ExtCommRuleKind::TransOpaque;
    static constexpr auto subtype = extCommPktSubtypeTransOpaqueColorExtendedCommunity;
    static constexpr std::string_view ruleName =
        "Routing::Bgp::BgpParseExtComSubTypeTransOpaqueColorRule";
};

/// The row of the plug-in.
struct VOBGP_EXPORT ExtCommColorPlugin {
    using SubRules = ExtCommSubRules<ExtCommColorSubRule>;
    static constexpr std::string_view pluginName = "Routing::Bgp::BgpParseExtCommColorSm";
    static ExtCommSource source() noexcept;
};

using BgpParseExtComSubTypeTransOpaqueColorRule = ExtCommTypedSubRule<ExtCommColorSubRule>;
using BgpParseExtCommColorSm = ExtCommTypedPlugin<ExtCommColorPlugin>;

extern template class ExtCommTypedSubRule<ExtCommColorSubRule>;
extern template class ExtCommTypedPlugin<ExtCommColorPlugin>;

// New objects with their notifications switched on.
VOBGP_EXPORT ExtCommColor::Ptr extCommColorFactory(ExtCommContent const& content);
VOBGP_EXPORT BgpParseExtCommColorSm::Ptr
bgpParseExtCommColorSmFactory(BgpParseExtCommRuleCollections::PtrConst const& ruleCollections);

} // namespace Routing::Bgp
