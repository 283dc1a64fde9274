#include <VoBgp/Parse/ExtCommOriginValidationState.h>

#include "ExtCommShowForm.h"

#include <Mox/CharBuffer.h>
#include <Mox/Trace.h>
#include <Mox/Type.h>

namespace Routing::Bgp {

template class ExtCommTypedSubRule<ExtCommOriginValidationStateSubRule>;

// ---- Reflection ---------------------------------------------------------------------------------

Mox::Type const& ExtCommOriginValidationState::staticType() noexcept {
    static Mox::Type const type(Mox::Type::Kind::entity,
                                "Routing::Bgp::ExtCommOriginValidationState", {},
                                &ExtCommSubtyped::staticType());
    return type;
}

Mox::Type const& BgpParseExtCommOriginValidationStateSm::staticType() noexcept {
    static Mox::Type const type(Mox::Type::Kind::entity,
                                "Routing::Bgp::BgpParseExtCommOriginValidationStateSm", {},
                                &BgpParseExtCommPluginBaseSm::staticType());
    return type;
}

namespace {
Mox::TypeRegistration const registrations[] = {
    Mox::TypeRegistration(ExtCommOriginValidationState::staticType()),
    Mox::TypeRegistration(
        BgpParseExtComSubTypeNonTransOpaqueOriginValidationStateRule::staticType()),
    Mox::TypeRegistration(BgpParseExtCommOriginValidationStateSm::staticType()),
};
} // namespace

// ---- The community ------------------------------------------------------------------------------

ExtCommOriginValidationState::ExtCommOriginValidationState(ExtCommContent const& content) noexcept
  : ExtCommSubtyped(extCommClassificationOriginValidationState, content) {}

ExtCommOriginValidationState::~ExtCommOriginValidationState() = default;

namespace {

/// The word for a state; empty for a number that is none.
std::string_view stateWord(Rpki::OriginValidationState state) {
    switch (state) {
    case Rpki::OriginValidationState::valid:
        return "valid";
    case Rpki::OriginValidationState::notFound:
        return "not-found";
    case Rpki::OriginValidationState::invalid:
        return "invalid";
    }
    return "";
}

} // namespace

void ExtCommOriginValidationState::formatDerivedType(std::ostream& os) const {
    Mox::LocalCharBuffer<64> detail;
    detail.append("OriginValidationState ");
    if (auto const word = stateWord(state()); !word.empty()) {
        detail.append(word);
    } else {
        detail.append("unknown(").appendDecimal(static_cast<U8>(state())).append(')');
    }
    writeShowForm(os, detail.text(), *this);
}

String ExtCommOriginValidationState::toStrepForPolicy(StrepFormat strepFormatFlags) const {
    if (!strepFormatFlags.has(StrepFormat::strepFormatClassification |
                              StrepFormat::strepFormatUI)) {
        return {};
    }
    auto const word = stateWord(state());
    Mox::LocalCharBuffer<64> out;
    out.append("Origin-Validation-State:").append(word.empty() ? "unknown" : word);
    return out.string();
}

ExtCommOriginValidationState::Ptr
extCommOriginValidationStateFactory(ExtCommContent const& content) {
    return Mox::makeActive<ExtCommOriginValidationState>(content);
}

// ---- The plug-in --------------------------------------------------------------------------------

ExtComm::PtrConst ExtCommOriginValidationStateSubRule::build(ExtCommContent const& content) {
    return extCommOriginValidationStateFactory(content);
}

BgpParseExtCommOriginValidationStateSm::BgpParseExtCommOriginValidationStateSm(
    BgpParseExtCommRuleCollections::PtrConst const& ruleCollections)
  : BgpParseExtCommPluginBaseSm(ruleCollections) {
    handleStartup();
}

BgpParseExtCommOriginValidationStateSm::~BgpParseExtCommOriginValidationStateSm() = default;

void BgpParseExtCommOriginValidationStateSm::instantiateExtCommSubTypeNonTransOpaqueSubRule(
    BgpParseExtCommSubTypeNonTransOpaqueRuleKey const& key,
    BgpParseExtCommControl const& control) const {
    MOX_TRACE(8, *this);
    addExtCommSubTypeNonTransOpaqueSubRule(
        key,
        Mox::makeActive<BgpParseExtComSubTypeNonTransOpaqueOriginValidationStateRule>(control));
}

BgpParseExtCommOriginValidationStateSm::Ptr bgpParseExtCommOriginValidationStateSmFactory(
    BgpParseExtCommRuleCollections::PtrConst const& ruleCollections) {
    return Mox::makeActive<BgpParseExtCommOriginValidationStateSm>(ruleCollections);
}

} // namespace Routing::Bgp
