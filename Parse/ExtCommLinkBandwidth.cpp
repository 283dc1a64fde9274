#include <VoBgp/Parse/ExtCommLinkBandwidth.h>

#include <Mox/CharBuffer.h>
#include <Mox/Type.h>
#include <Routing/Rib/LinkBandwidth.h>

#include <bit>
#include <charconv>

namespace Routing::Bgp {

template class ExtCommTypedSubRule<ExtCommLinkBandwidthSubRule>;
template class ExtCommTypedPlugin<ExtCommLinkBandwidthPlugin>;

// ---- Reflection ---------------------------------------------------------------------------------

Mox::Type const& ExtCommLinkBandwidth::staticType() noexcept {
    static Mox::Type const type(Mox::Type::Kind::entity, "Routing::Bgp::ExtCommLinkBandwidth", {},
                                &ExtCommAsNumber::staticType());
    return type;
}

namespace {
ExtCommTypedRegistrations<ExtCommLinkBandwidthPlugin, ExtCommLinkBandwidth> const
    extCommLinkBandwidthRegistrations;
} // namespace

ExtCommSource ExtCommLinkBandwidthPlugin::source() noexcept {
    return {__FILE__, __LINE__};
}

// ---- The community ------------------------------------------------------------------------------

namespace {

/// Appends a number in the default format of streams, `%g` with six digits.
void appendFloat(Mox::CharBuffer& out, float number) {
    // A sign, six digits, a point, and an exponent of two digits.
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

void ExtCommLinkBandwidth::appendShowForm(Mox::CharBuffer& out, bool upperCase) const {
    appendAsNumber(out.append("<LinkBandwidth "), false, false);
    appendFloat(out.append(':'), bandwidth());
    appendShowTail(out, upperCase);
}

void ExtCommLinkBandwidth::appendPolicyForm(Mox::CharBuffer& out, StrepFormat format) const {
    bool const classified = format.has(StrepFormat::strepFormatClassification);
    bool const readable = classified && format.has(StrepFormat::strepFormatUI);
    out.append(readable ? "Link-Bandwidth-AS:" : classified ? "lbw " : "");
    appendAsNumber(out, format.has(StrepFormat::strepFormatQualifier),
                   format.has(StrepFormat::strepFormatAsdot));
    out.append(':');
    if (readable) {
        Rib::LinkBandwidth::format(out, bandwidth(),
                                   format.has(StrepFormat::strepFormatLinkBwWeighted));
    } else {
        appendFloat(out, bandwidth());
    }
}

// ---- Factories ----------------------------------------------------------------------------------

ExtCommLinkBandwidth::Ptr extCommLinkBandwidthFactory(ExtCommContent const& content) {
    return Mox::makeActive<ExtCommLinkBandwidth>(content);
}

BgpParseExtCommLinkBandwidthSm::Ptr bgpParseExtCommLinkBandwidthSmFactory(
    BgpParseExtCommRuleCollections::PtrConst const& ruleCollections) {
    return Mox::makeActive<BgpParseExtCommLinkBandwidthSm>(ruleCollections);
}

} // namespace Routing::Bgp
