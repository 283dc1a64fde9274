#pragma once

#include <Mox/CharBuffer.h>
#include <Mox/Trace.h>
#include <Mox/Type.h>
#include <VoBgp/Parse/ExtCommRouteFamily.h>

#include <typeinfo>

// The bodies of the family's templates, for the two sources that instantiate them.

namespace Routing::Bgp {

// ---- Administrator: an AS -----------------------------------------------------------------------

template <class Family>
Mox::Type const& ExtCommRouteAs<Family>::staticType() noexcept {
    static Mox::Type const type(Mox::Type::Kind::entity, Family::asName, {},
                                &ExtCommAsNumber::staticType());
    return type;
}

template <class Family>
ExtCommRouteAs<Family>::~ExtCommRouteAs() = default;

template <class Family>
void ExtCommRouteAs<Family>::appendShowForm(Mox::CharBuffer& out, bool upperCase) const {
    switch (getContent().typeOctet()) {
    case extCommPktTypeTransTwoOctetAs:
        out.append('<').append(Family::showTwoOctetAs);
        break;
    case extCommPktTypeTransFourOctetAs:
        out.append('<').append(Family::showFourOctetAs);
        break;
    default:
        Family::unexpectedType();
    }
    appendAsAndLocalAdmin(out, StrepFormat());
    appendShowTail(out, upperCase);
}

template <class Family>
void ExtCommRouteAs<Family>::appendPolicyForm(Mox::CharBuffer& out, StrepFormat format) const {
    if (format.has(StrepFormat::strepFormatClassification)) {
        if (format.has(StrepFormat::strepFormatUI)) {
            out.append(Family::asWord).append(fourByteAs() ? "4:" : ":");
        } else {
            out.append(Family::shortWord);
        }
    }
    appendAsAndLocalAdmin(out, format);
}

template <class Family>
bool ExtCommRouteAs<Family>::textIsBuiltIn() const noexcept {
    return typeid(*this) == typeid(ExtCommRouteAs);
}

// ---- Administrator: an IPv4 address -------------------------------------------------------------

template <class Family>
Mox::Type const& ExtCommRouteIpv4Address<Family>::staticType() noexcept {
    static Mox::Type const type(Mox::Type::Kind::entity, Family::ipv4Name, {},
                                &ExtCommIpv4Address::staticType());
    return type;
}

template <class Family>
ExtCommRouteIpv4Address<Family>::~ExtCommRouteIpv4Address() = default;

template <class Family>
void ExtCommRouteIpv4Address<Family>::appendShowForm(Mox::CharBuffer& out, bool upperCase) const {
    appendAddressAndLocalAdmin(out.append('<').append(Family::showIpv4));
    appendShowTail(out, upperCase);
}

template <class Family>
void ExtCommRouteIpv4Address<Family>::appendPolicyForm(Mox::CharBuffer& out,
                                                       StrepFormat format) const {
    if (format.has(StrepFormat::strepFormatClassification)) {
        out.append(format.has(StrepFormat::strepFormatUI) ? Family::ipv4Word : Family::shortWord);
    }
    appendAddressAndLocalAdmin(out);
}

template <class Family>
bool ExtCommRouteIpv4Address<Family>::textIsBuiltIn() const noexcept {
    return typeid(*this) == typeid(ExtCommRouteIpv4Address);
}

// ---- The plug-in --------------------------------------------------------------------------------

template <class Family>
Mox::Type const& BgpParseExtCommRouteSm<Family>::staticType() noexcept {
    static Mox::Type const type(Mox::Type::Kind::entity, Family::pluginName, {},
                                &BgpParseExtCommPluginBaseSm::staticType());
    return type;
}

template <class Family>
BgpParseExtCommRouteSm<Family>::BgpParseExtCommRouteSm(
    BgpParseExtCommRuleCollections::PtrConst const& ruleCollections)
  : BgpParseExtCommPluginBaseSm(ruleCollections) {
    handleStartup();
}

template <class Family>
BgpParseExtCommRouteSm<Family>::~BgpParseExtCommRouteSm() = default;

template <class Family>
void BgpParseExtCommRouteSm<Family>::instantiateExtCommSubTypeTransTwoOctetAsSubRule(
    BgpParseExtCommSubTypeTransTwoOctetAsRuleKey const& key,
    BgpParseExtCommControl const& control) const {
    using SubRule = ExtCommTypedSubRule<typename Family::TwoOctetAs>;
    MOX_TRACE(8, *this);
    addExtCommSubTypeTransTwoOctetAsSubRule(key, Mox::makeActive<SubRule>(control));
}

template <class Family>
void BgpParseExtCommRouteSm<Family>::instantiateExtCommSubTypeTransIpv4AddressSubRule(
    BgpParseExtCommSubTypeTransIpv4AddressRuleKey const& key,
    BgpParseExtCommControl const& control) const {
    using SubRule = ExtCommTypedSubRule<typename Family::Ipv4Address>;
    MOX_TRACE(8, *this);
    addExtCommSubTypeTransIpv4AddressSubRule(key, Mox::makeActive<SubRule>(control));
}

template <class Family>
void BgpParseExtCommRouteSm<Family>::instantiateExtCommSubTypeTransFourOctetAsSubRule(
    BgpParseExtCommSubTypeTransFourOctetAsRuleKey const& key,
    BgpParseExtCommControl const& control) const {
    using SubRule = ExtCommTypedSubRule<typename Family::FourOctetAs>;
    MOX_TRACE(8, *this);
    addExtCommSubTypeTransFourOctetAsSubRule(key, Mox::makeActive<SubRule>(control));
}

/// The reflected types of a family; one static of it in the family's source.
template <class Family>
struct ExtCommRouteRegistrations {
    Mox::TypeRegistration const all[6] = {
        Mox::TypeRegistration(ExtCommRouteAs<Family>::staticType()),
        Mox::TypeRegistration(ExtCommRouteIpv4Address<Family>::staticType()),
        Mox::TypeRegistration(ExtCommTypedSubRule<typename Family::TwoOctetAs>::staticType()),
        Mox::TypeRegistration(ExtCommTypedSubRule<typename Family::Ipv4Address>::staticType()),
        Mox::TypeRegistration(ExtCommTypedSubRule<typename Family::FourOctetAs>::staticType()),
        Mox::TypeRegistration(BgpParseExtCommRouteSm<Family>::staticType()),
    };
};

} // namespace Routing::Bgp
