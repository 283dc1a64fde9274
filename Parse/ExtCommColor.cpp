#include <VoBgp/Parse/ExtCommColor.h>

#include <Mox/CharBuffer.h>
#include <Mox/Type.h>

namespace Routing::Bgp {

template class ExtCommTypedSubRule<ExtCommColorSubRule>;
template class ExtCommTypedPlugin<ExtCommColorPlugin>;

// ---- Reflection ---------------------------------------------------------------------------------

Mox::Type const& ExtCommColor::staticType() noexcept {
    static Mox::Type const type(
        Mox::Type::Kind::entity, "Routing::Bgp::ExtCommColor",
        {Mox::readOnlyAttribute<ExtCommColor, &ExtCommColor::color>("color"),
         Mox::readOnlyAttribute<ExtCommColor, &ExtCommColor::cBit>("cBit"),
         Mox::readOnlyAttribute<ExtCommColor, &ExtCommColor::oBit>("oBit")},
        &ExtCommSubtyped::staticType());
    return type;
}

namespace {
ExtCommTypedRegistrations<ExtCommColorPlugin, ExtCommColor> const extCommColorRegistrations;
} // namespace

ExtCommSource ExtCommColorPlugin::source() noexcept {
    return {__FILE__, __LINE__};
}

// ---- The community ------------------------------------------------------------------------------

void ExtCommColor::appendShowForm(Mox::CharBuffer& out, bool upperCase) const {
    out.append("<Color: ").appendDecimal(color());
    out.append('(').append(cBit() ? '1' : '0').append(oBit() ? '1' : '0').append(')');
    appendShowTail(out, upperCase);
}

void ExtCommColor::appendPolicyForm(Mox::CharBuffer& out, StrepFormat /*format*/) const {
    out.append("Color:CO(").append(cBit() ? '1' : '0').append(oBit() ? '1' : '0');
    out.append("):").appendDecimal(color());
}

// ---- Factories ----------------------------------------------------------------------------------

ExtCommColor::Ptr extCommColorFactory(ExtCommContent const& content) {
    return Mox::makeActive<ExtCommColor>(content);
}

BgpParseExtCommColorSm::Ptr
bgpParseExtCommColorSmFactory(BgpParseExtCommRuleCollections::PtrConst const& ruleCollections) {
    return Mox::makeActive<BgpParseExtCommColorSm>(ruleCollections);
}

} // namespace Routing::Bgp
