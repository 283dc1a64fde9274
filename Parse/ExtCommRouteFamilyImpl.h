#pragma once

#include <Mox/CharBuffer.h>
#include <Mox/Type.h>
#include <VoBgp/Parse/ExtCommRouteFamily.h>

// Definitions of the family's templates, for the two sources that instantiate them.

namespace Routing::Bgp {

// ---- Administrator: an AS -----------------------------------------------------------------------

template <class Family>
Mox::Type const& ExtCommRouteAs<Family>::staticType() noexcept {
    static Mox::Type const type(Mox::Type::Kind::entity, Family::asName, {},
                                &ExtCommAsNumber::staticType());
    return type;
}

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

// ---- Administrator: an IPv4 address -------------------------------------------------------------

template <class Family>
Mox::Type const& ExtCommRouteIpv4Address<Family>::staticType() noexcept {
    static Mox::Type const type(Mox::Type::Kind::entity, Family::ipv4Name, {},
                                &ExtCommIpv4Address::staticType());
    return type;
}

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

} // namespace Routing::Bgp
