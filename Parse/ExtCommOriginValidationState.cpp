#include <VoBgp/Parse/ExtCommOriginValidationState.h>

#include <Mox/CharBuffer.h>
#include <Mox/Type.h>

namespace Routing::Bgp {

template class ExtCommTypedSubRule<ExtCommOriginValidationStateSubRule>;
template class ExtCommTypedPlugin<ExtCommOriginValidationStatePlugin>;

// ---- Reflection ---------------------------------------------------------------------------------

Mox::Type const& ExtCommOriginValidationState::staticType() noexcept {
    static Mox::Type const type(Mox::Type::Kind::entity,
                                "Routing::Bgp::ExtCommOriginValidationState", {},
                                &ExtCommSubtyped::staticType());
    return type;
}

namespace {
ExtCommTypedRegistrations<ExtCommOriginValidationStatePlugin, ExtCommOriginValidationState> const
    extCommOriginValidationStateRegistrations;
} // namespace

ExtCommSource ExtCommOriginValidationStatePlugin::source() noexcept {
    return {__FILE__, __LINE__};
}

// ---- The community ------------------------------------------------------------------------------

void ExtCommOriginValidationState::appendShowForm(Mox::CharBuffer& out, bool upperCase) const {
    out.append("<OriginValidationState ");
    if (auto const word = nameOf(state()); !word.empty()) {
        out.append(word);
    } else {
        out.append("unknown(").appendDecimal(static_cast<U8>(state())).append(')');
    }
    appendShowTail(out, upperCase);
}

void ExtCommOriginValidationState::appendPolicyForm(Mox::CharBuffer& out,
                                                    StrepFormat format) const {
    if (format.has(StrepFormat::strepFormatClassification | StrepFormat::strepFormatUI)) {
        auto const word = nameOf(state());
        out.append("Origin-Validation-State:").append(word.empty() ? "unknown" : word);
    }
}

// ---- Factories ----------------------------------------------------------------------------------

ExtCommOriginValidationState::Ptr
extCommOriginValidationStateFactory(ExtCommContent const& content) {
    return Mox::makeActive<ExtCommOriginValidationState>(content);
}

BgpParseExtCommOriginValidationStateSm::Ptr bgpParseExtCommOriginValidationStateSmFactory(
    BgpParseExtCommRuleCollections::PtrConst const& ruleCollections) {
    return Mox::makeActive<BgpParseExtCommOriginValidationStateSm>(ruleCollections);
}

} // namespace Routing::Bgp
