#include <VoBgp/Parse/ExtCommOriginValidationState.h>

#include <Mox/CharBuffer.h>
#include <Mox/Trace.h>
#include <Mox/Type.h>

#include <typeinfo>

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

void ExtCommOriginValidationState::appendShowForm(Mox::CharBuffer& out, bool upperCase) const {
    out.append("<OriginValidationState ");
    if (auto const word = stateWord(state()); !word.empty()) {
        out.append(word);
    } else {
        out.append("unknown(").appendDecimal(static_cast<U8>(state())).append(')');
    }
    appendShowTail(out, upperCase);
}

void ExtCommOriginValidationState::appendPolicyForm(Mox::CharBuffer& out,
                                                    StrepFormat format) const {
    if (format.has(StrepFormat::strepFormatClassification | StrepFormat::strepFormatUI)) {
        auto const word = stateWord(state());
        out.append("Origin-Validation-State:").append(word.empty() ? "unknown" : word);
    }
}

bool ExtCommOriginValidationState::textIsBuiltIn() const noexcept {
    return typeid(*this) == typeid(ExtCommOriginValidationState);
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
