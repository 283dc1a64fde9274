#include <VoBgp/Parse/ExtCommColor.h>

#include "ExtCommShowForm.h"

#include <Mox/CharBuffer.h>
#include <Mox/Trace.h>
#include <Mox/Type.h>

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

void ExtCommColor::formatDerivedType(std::ostream& os) const {
    Mox::LocalCharBuffer<64> detail;
    detail.append("Color: ").appendDecimal(color());
    detail.append('(').append(cBit() ? '1' : '0').append(oBit() ? '1' : '0').append(')');
    writeShowForm(os, detail.text(), *this);
}

String ExtCommColor::toStrepForPolicy(StrepFormat /*strepFormatFlags*/) const {
    Mox::LocalCharBuffer<64> out;
    out.append("Color:CO(").append(cBit() ? '1' : '0').append(oBit() ? '1' : '0');
    return out.append("):").appendDecimal(color()).string();
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
