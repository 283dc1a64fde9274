#pragma once

#include <Mox/Export.h>
#include <Routing/Bgp/Rpki.h>
#include <VoBgp/Parse/ExtCommTyped.h>
#include <VoBgp/VoBgpCommunity.h>

#include <string_view>

namespace Routing::Bgp {

/// The validation state of a route's origin AS, non-transitive (RFC 8097).
///
///     octet  0      1         2       3       4       5       6       7
///          +------+---------+---------------------------------------+-------+
///          | 0x43 |  0x00   |               reserved                | state |
///          +------+---------+---------------------------------------+-------+
class VOBGP_EXPORT ExtCommOriginValidationState
  : public ExtCommTyped<ExtCommOriginValidationState, ExtCommSubtyped> {
  public:
    MOX_COUNTED(ExtCommOriginValidationState)

    explicit ExtCommOriginValidationState(ExtCommContent const& content) noexcept
      : ExtCommTyped(extCommClassificationOriginValidationState, content) {}

    /// Any octet, not only a member.
    Rpki::OriginValidationState state() const noexcept {
        return static_cast<Rpki::OriginValidationState>(static_cast<U8>(community()));
    }

    /// The content with that state.
    static ExtCommContent buildExtCommContent(Rpki::OriginValidationState state) noexcept {
        return ExtCommContent(0x4300'0000'0000'0000 | static_cast<U64>(state));
    }

  protected:
    void appendShowForm(Mox::CharBuffer& out, bool upperCase) const override;

    /// Empty, deliberately, unless both strepFormatClassification and strepFormatUI are set.
    void appendPolicyForm(Mox::CharBuffer& out, StrepFormat format) const override;
};

/// The row of the sub-rule.
struct VOBGP_EXPORT ExtCommOriginValidationStateSubRule {
    using Community = ExtCommOriginValidationState;
    using Kind = ExtCommRuleKind::NonTransOpaque;
    static constexpr auto subtype = extCommPktSubtypeNonTransOriginValidationState;
    static constexpr std::string_view ruleName =
        "Routing::Bgp::BgpParseExtComSubTypeNonTransOpaqueOriginValidationStateRule";
};

/// The row of the plug-in.
struct VOBGP_EXPORT ExtCommOriginValidationStatePlugin {
    using SubRules = ExtCommSubRules<ExtCommOriginValidationStateSubRule>;
    static constexpr std::string_view pluginName =
        "Routing::Bgp::BgpParseExtCommOriginValidationStateSm";
    static ExtCommSource source() noexcept;
};

using BgpParseExtComSubTypeNonTransOpaqueOriginValidationStateRule =
    ExtCommTypedSubRule<ExtCommOriginValidationStateSubRule>;
using BgpParseExtCommOriginValidationStateSm =
    ExtCommTypedPlugin<ExtCommOriginValidationStatePlugin>;

extern template class ExtCommTypedSubRule<ExtCommOriginValidationStateSubRule>;
extern template class ExtCommTypedPlugin<ExtCommOriginValidationStatePlugin>;

// New objects with their notifications switched on.
VOBGP_EXPORT ExtCommOriginValidationState::Ptr
extCommOriginValidationStateFactory(ExtCommContent const& content);
VOBGP_EXPORT BgpParseExtCommOriginValidationStateSm::Ptr
bgpParseExtCommOriginValidationStateSmFactory(
    BgpParseExtCommRuleCollections::PtrConst const& ruleCollections);

} // namespace Routing::Bgp
