#include <VoBgp/Parse/ExtCommColor.h>

#include <Mox/CharBuffer.h>
#include <Mox/Trace.h>
#include <Mox/Type.h>

#include <typeinfo>

namespace Routing::Bgp {

template class ExtCommTypedSubRule<ExtCommColorSubRule>;

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

Mox::Type const& BgpParseExtCommColorSm::staticType() noexcept {
    static Mox::Type const type(Mox::Type::Kind::entity, "Routing::Bgp::BgpParseExtCommColorSm", {},
                                &BgpParseExtCommPluginBaseSm::staticType());
    return type;
}

namespace {
Mox::TypeRegistration const registrations[] = {
    Mox::TypeRegistration(ExtCommColor::staticType()),
    Mox::TypeRegistration(BgpParseExtComSubTypeTransOpaqueColorRule::staticType()),
    Mox::TypeRegistration(BgpParseExtCommColorSm::staticType()),
};
} // namespace

// ---- The community ------------------------------------------------------------------------------

ExtCommColor::ExtCommColor(ExtCommContent const& content) noexcept
  : ExtCommSubtyped(extCommClassificationColor, content) {}

ExtCommColor::~ExtCommColor() = default;

void ExtCommColor::appendShowForm(Mox::CharBuffer& out, bool upperCase) const {
    out.append("<Color: ").appendDecimal(color());
    out.append('(').append(cBit() ? '1' : '0').append(oBit() ? '1' : '0').append(')');
    appendShowTail(out, upperCase);
}

void ExtCommColor::appendPolicyForm(Mox::CharBuffer& out, StrepFormat /*format*/) const {
    out.append("Color:CO(").append(cBit() ? '1' : '0').append(oBit() ? '1' : '0');
    out.append("):").appendDecimal(color());
}

bool ExtCommColor::textIsBuiltIn() const noexcept {
    return typeid(*this) == typeid(ExtCommColor);
}

ExtCommColor::Ptr extCommColorFactory(ExtCommContent const& content) {
    return Mox::makeActive<ExtCommColor>(content);
}

// ---- The plug-in --------------------------------------------------------------------------------

ExtComm::PtrConst ExtCommColorSubRule::build(ExtCommContent const& content) {
    return extCommColorFactory(content);
}

BgpParseExtCommColorSm::BgpParseExtCommColorSm(
    BgpParseExtCommRuleCollections::PtrConst const& ruleCollections)
  : BgpParseExtCommPluginBaseSm(ruleCollections) {
    handleStartup();
}

BgpParseExtCommColorSm::~BgpParseExtCommColorSm() = default;

void BgpParseExtCommColorSm::instantiateExtCommSubTypeTransOpaqueSubRule(
    BgpParseExtCommSubTypeTransOpaqueRuleKey const& key,
    BgpParseExtCommControl const& control) const {
    MOX_TRACE(8, *this);
    addExtCommSubTypeTransOpaqueSubRule(
        key, Mox::makeActive<BgpParseExtComSubTypeTransOpaqueColorRule>(control));
}

BgpParseExtCommColorSm::Ptr
bgpParseExtCommColorSmFactory(BgpParseExtCommRuleCollections::PtrConst const& ruleCollections) {
    return Mox::makeActive<BgpParseExtCommColorSm>(ruleCollections);
}

} // namespace Routing::Bgp
