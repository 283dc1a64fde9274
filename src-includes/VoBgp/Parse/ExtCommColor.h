#pragma once

#include <Mox/Export.h>
#include <VoBgp/Parse/ExtCommPlugin.h>
#include <VoBgp/Parse/ExtCommTypedSubRule.h>
#include <VoBgp/VoBgpCommunity.h>

#include <string_view>

namespace Routing::Bgp {

/// The color of a route, by which tunnels are chosen for it (RFC 9012, section 4.3). Else as its
/// base.
///
///     octet  0      1         2       3       4       5       6       7
///          +------+---------+---------------+-------------------------------+
///          | 0x03 |  0x0b   |CO   flags     |             color             |
///          +------+---------+---------------+-------------------------------+
///
/// C and O (RFC 9256, section 8.8.1) are the two most significant of the flags.
class VOBGP_EXPORT ExtCommColor : public ExtCommSubtyped {
  public:
    MOX_COUNTED(ExtCommColor)

    explicit ExtCommColor(ExtCommContent const& content) noexcept;
    ~ExtCommColor() override;

    U32 color() const noexcept { return static_cast<U32>(community()); }
    bool cBit() const noexcept { return (community() >> 47 & 1) != 0; }
    bool oBit() const noexcept { return (community() >> 46 & 1) != 0; }

  protected:
    void appendShowForm(Mox::CharBuffer& out, bool upperCase) const override;

    /// `Color:CO(CO):COLOR`, whatever the format.
    void appendPolicyForm(Mox::CharBuffer& out, StrepFormat format) const override;
    bool textIsBuiltIn() const noexcept override;
};

/// The row of the sub-rule of colors.
struct VOBGP_EXPORT ExtCommColorSubRule {
    using Kind = ExtCommRuleKind::TransOpaque;
    static constexpr auto subtype = extCommPktSubtypeTransOpaqueColorExtendedCommunity;
    static constexpr std::string_view ruleName =
        "Routing::Bgp::BgpParseExtComSubTypeTransOpaqueColorRule";
    static ExtComm::PtrConst build(ExtCommContent const& content);
};

using BgpParseExtComSubTypeTransOpaqueColorRule = ExtCommTypedSubRule<ExtCommColorSubRule>;
extern template class ExtCommTypedSubRule<ExtCommColorSubRule>;

/// The plug-in of colors. Else as its base.
class VOBGP_EXPORT BgpParseExtCommColorSm final : public BgpParseExtCommPluginBaseSm {
  public:
    MOX_COUNTED(BgpParseExtCommColorSm)

    explicit BgpParseExtCommColorSm(
        BgpParseExtCommRuleCollections::PtrConst const& ruleCollections);
    ~BgpParseExtCommColorSm() override;

    void instantiateExtCommSubTypeTransOpaqueSubRule(
        BgpParseExtCommSubTypeTransOpaqueRuleKey const& key,
        BgpParseExtCommControl const& control) const override;
};

// New objects with their notifications switched on.
VOBGP_EXPORT ExtCommColor::Ptr extCommColorFactory(ExtCommContent const& content);
VOBGP_EXPORT BgpParseExtCommColorSm::Ptr
bgpParseExtCommColorSmFactory(BgpParseExtCommRuleCollections::PtrConst const& ruleCollections);

} // namespace Routing::Bgp
