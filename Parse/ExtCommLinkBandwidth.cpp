#include <VoBgp/Parse/ExtCommLinkBandwidth.h>

#include "ExtCommShowForm.h"

#include <Mox/CharBuffer.h>
#include <Mox/Trace.h>
#include <Mox/Type.h>
#include <Routing/Rib/LinkBandwidth.h>

#include <bit>
#include <charconv>

namespace Routing::Bgp {

template class ExtCommTypedSubRule<ExtCommLinkBandwidthSubRule>;

// ---- Reflection ---------------------------------------------------------------------------------

Mox::Type const& ExtCommLinkBandwidth::staticType() noexcept {
    static Mox::Type const type(Mox::Type::Kind::entity, "Routing::Bgp::ExtCommLinkBandwidth", {},
                                &ExtCommAsNumber::staticType());
    return type;
}

Mox::Type const& BgpParseExtCommLinkBandwidthSm::staticType() noexcept {
    static Mox::Type const type(Mox::Type::Kind::entity,
                                "Routing::Bgp::BgpParseExtCommLinkBandwidthSm", {},
                                &BgpParseExtCommPluginBaseSm::staticType());
    return type;
}

namespace {
Mox::TypeRegistration const registrations[] = {
    Mox::TypeRegistration(ExtCommLinkBandwidth::staticType()),
    Mox::TypeRegistration(BgpParseExtComSubTypeNonTransTwoOctetAsLinkBandwidthRule::staticType()),
    Mox::TypeRegistration(BgpParseExtCommLinkBandwidthSm::staticType()),
};
} // namespace

// ---- The community ------------------------------------------------------------------------------

ExtCommLinkBandwidth::ExtCommLinkBandwidth(ExtCommContent const& content) noexcept
  : ExtCommAsNumber(extCommClassificationLinkBandwidth, content, false) {}

ExtCommLinkBandwidth::~ExtCommLinkBandwidth() = default;

namespace {

/// Appends a number as a stream writes a float by default: six digits, `%g`.
void appendFloat(Mox::CharBuffer& out, float number) {
    // A sign, six digits, the point, and an exponent of two digits.
    char text[16];
    auto const result =
        std::to_chars(text, text + sizeof text, number, std::chars_format::general, 6);
    out.append(std::string_view(text, static_cast<std::size_t>(result.ptr - text)));
}

} // namespace

float ExtCommLinkBandwidth::bandwidth() const noexcept {
    return std::bit_cast<float>(localAdmin4Octets());
}

bool ExtCommLinkBandwidth::isLinkBandwidthWithUnspecifiedAsNumber() const {
    return asNumber() == Lumo::AutonomousSystem(0);
}

void ExtCommLinkBandwidth::formatDerivedType(std::ostream& os) const {
    Mox::LocalCharBuffer<64> detail;
    detail.append("LinkBandwidth ").append(formatAsNumber(false, false)).append(':');
    appendFloat(detail, bandwidth());
    writeShowForm(os, detail.text(), *this);
}

String ExtCommLinkBandwidth::toStrepForPolicy(StrepFormat strepFormatFlags) const {
    bool const classified = strepFormatFlags.has(StrepFormat::strepFormatClassification);
    bool const readable = classified && strepFormatFlags.has(StrepFormat::strepFormatUI);
    Mox::LocalCharBuffer<64> out;
    out.append(readable ? "Link-Bandwidth-AS:" : classified ? "lbw " : "");
    out.append(formatAsNumber(strepFormatFlags.has(StrepFormat::strepFormatQualifier),
                              strepFormatFlags.has(StrepFormat::strepFormatAsdot)));
    out.append(':');
    if (readable) {
        out.append(Rib::LinkBandwidth::toStrep(
            bandwidth(), strepFormatFlags.has(StrepFormat::strepFormatLinkBwWeighted)));
    } else {
        appendFloat(out, bandwidth());
    }
    return out.string();
}

ExtCommLinkBandwidth::Ptr extCommLinkBandwidthFactory(ExtCommContent const& content) {
    return Mox::makeActive<ExtCommLinkBandwidth>(content);
}

// ---- The plug-in --------------------------------------------------------------------------------

ExtComm::PtrConst ExtCommLinkBandwidthSubRule::build(ExtCommContent const& content) {
    return extCommLinkBandwidthFactory(content);
}

BgpParseExtCommLinkBandwidthSm::BgpParseExtCommLinkBandwidthSm(
    BgpParseExtCommRuleCollections::PtrConst const& ruleCollections)
  : BgpParseExtCommPluginBaseSm(ruleCollections) {
    handleStartup();
}

BgpParseExtCommLinkBandwidthSm::~BgpParseExtCommLinkBandwidthSm() = default;

void BgpParseExtCommLinkBandwidthSm::instantiateExtCommSubTypeNonTransTwoOctetAsSubRule(
    BgpParseExtCommSubTypeNonTransTwoOctetAsRuleKey const& key,
    BgpParseExtCommControl const& control) const {
    MOX_TRACE(8, *this);
    addExtCommSubTypeNonTransTwoOctetAsSubRule(
        key, Mox::makeActive<BgpParseExtComSubTypeNonTransTwoOctetAsLinkBandwidthRule>(control));
}

BgpParseExtCommLinkBandwidthSm::Ptr bgpParseExtCommLinkBandwidthSmFactory(
    BgpParseExtCommRuleCollections::PtrConst const& ruleCollections) {
    return Mox::makeActive<BgpParseExtCommLinkBandwidthSm>(ruleCollections);
}

} // namespace Routing::Bgp
