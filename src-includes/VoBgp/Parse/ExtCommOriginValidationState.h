#pragma once

#include <Mox/Export.h>
#include <Routing/Bgp/Rpki.h>
#include <VoBgp/Parse/ExtCommPlugin.h>
#include <VoBgp/Parse/ExtCommTypedSubRule.h>
#include <VoBgp/VoBgpCommunity.h>

#include <string_view>

namespace Routing::Bgp {

/// What the validation of a route's origin AS came to, non-transitive (RFC 8097). Else as its base.
///
///     octet  0      1         2       3       4       5       6       7
///          +------+---------+---------------------------------------+-------+
///          | 0x43 |  0x00   |               reserved                | state |
///          +------+---------+---------------------------------------+-------+
class VOBGP_EXPORT ExtCommOriginValidationState : public ExtCommSubtyped {
  public:
    MOX_COUNTED(ExtCommOriginValidationState)

    explicit ExtCommOriginValidationState(ExtCommContent const& content) noexcept;
    ~ExtCommOriginValidationState() override;

    /// Any octet, not only a member.
    Rpki::OriginValidationState state() const noexcept {
        return static_cast<Rpki::OriginValidationState>(static_cast<U8>(community()));
    }

    /// The content that says so.
    static ExtCommContent buildExtCommContent(Rpki::OriginValidationState state) noexcept {
        return ExtCommContent(0x4300'0000'0000'0000 | static_cast<U64>(state));
    }

  protected:
    void appendShowForm(Mox::CharBuffer& out, bool upperCase) const override;

    /// Empty, deliberately, unless both strepFormatClassification and strepFormatUI are set.
    void appendPolicyForm(Mox::CharBuffer& out, StrepFormat format) const override;
    bool textIsBuiltIn() const noexcept override;
};

/// The row of the sub-rule of origin validation states.
struct VOBGP_EXPORT ExtCommOriginValidationStateSubRule {
    using Kind = ExtCommRuleKind::NonTransOpaque;
    static constexpr auto subtype = extCommPktSubtypeNonTransOriginValidationState;
    static constexpr std::string_view ruleName =
        "Routing::Bgp::BgpParseExtComSubTypeNonTransOpaqueOriginValidationStateRule";
    static ExtComm::PtrConst build(ExtCommContent const& content);
};

using BgpParseExtComSubTypeNonTransOpaqueOriginValidationStateRule =
    ExtCommTypedSubRule<ExtCommOriginValidationStateSubRule>;
extern template class ExtCommTypedSubRule<ExtCommOriginValidationStateSubRule>;

/// The plug-in of origin validation states. Else as its base.
class VOBGP_EXPORT BgpParseExtCommOriginValidationStateSm final
  : public BgpParseExtCommPluginBaseSm {
  public:
    MOX_COUNTED(BgpParseExtCommOriginValidationStateSm)

    explicit BgpParseExtCommOriginValidationStateSm(
        BgpParseExtCommRuleCollections::PtrConst const& ruleCollections);
    ~BgpParseExtCommOriginValidationStateSm() override;

    void instantiateExtCommSubTypeNonTransOpaqueSubRule(
        BgpParseExtCommSubTypeNonTransOpaqueRuleKey const& key,
        BgpParseExtCommControl const& control) const override;
};

// New objects with their notifications switched on.
VOBGP_EXPORT ExtCommOriginValidationState::Ptr
extCommOriginValidationStateFactory(ExtCommContent const& content);
VOBGP_EXPORT BgpParseExtCommOriginValidationStateSm::Ptr
bgpParseExtCommOriginValidationStateSmFactory(
    BgpParseExtCommRuleCollections::PtrConst const& ruleCollections);

} // namespace Routing::Bgp
