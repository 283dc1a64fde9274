#pragma once

#include <Mox/Export.h>
#include <Mox/Type.h>
#include <VoBgp/Parse/ExtCommRules.h>
#include <VoBgp/VoBgpCommunity.h>

namespace Routing::Bgp {

/// A sub-rule that makes every value of its subtype a typed community. All that sub-rules differ in
/// is a row:
///
///     struct Row {
///         using Kind = ExtCommRuleKind::...;          // the kind of rule that it is filed into
///         static constexpr auto subtype = ...;        // a member of the kind's enumeration
///         static constexpr std::string_view ruleName; // the qualified name of the sub-rule
///         static ExtComm::PtrConst build(ExtCommContent const& content);
///     };
///
/// Owned by the rule that it is filed into. Immutable.
template <class Row>
class VOBGP_EXPORT ExtCommTypedSubRule final : public ExtCommSubRuleBase<typename Row::Kind> {
  public:
    MOX_COUNTED(ExtCommTypedSubRule)

    explicit ExtCommTypedSubRule(BgpParseExtCommControl const& parseControl)
      : ExtCommSubRuleBase<typename Row::Kind>(parseControl, Row::subtype) {}
    ~ExtCommTypedSubRule() override = default;

    ExtComm::PtrConst inhale(ExtCommContent const& content) const override {
        return Row::build(content);
    }
};

template <class Row>
Mox::Type const& ExtCommTypedSubRule<Row>::staticType() noexcept {
    static Mox::Type const type(Mox::Type::Kind::entity, Row::ruleName, {},
                                &ExtCommSubRuleBase<typename Row::Kind>::staticType());
    return type;
}

} // namespace Routing::Bgp
