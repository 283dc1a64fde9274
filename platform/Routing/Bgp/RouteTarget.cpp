#include <Routing/Bgp/RouteTarget.h>

#include <Lumo/AutonomousSystem.h>
#include <Lumo/IpAddr.h>
#include <Mox/Type.h>

namespace Routing::Bgp {

using Mox::U32;

void RouteTarget::format(Mox::CharBuffer& out, bool asDot) const {
    switch (value_ >> 56) {
    case 0x00: // two-octet AS, 32-bit number
        Lumo::AutonomousSystem(static_cast<U32>(value_ >> 32) & 0xffff).format(out, asDot);
        out.append(':').appendDecimal(value_ & 0xffffffff);
        break;
    case 0x01: // IPv4 address, 16-bit number
        Lumo::IpAddr(static_cast<U32>(value_ >> 16)).format(out);
        out.append(':').appendDecimal(value_ & 0xffff);
        break;
    case 0x02: // four-octet AS, 16-bit number
        Lumo::AutonomousSystem(static_cast<U32>(value_ >> 16)).format(out, asDot);
        out.append(':').appendDecimal(value_ & 0xffff);
        break;
    default:
        out.appendHex(value_, 16);
    }
}

Mox::String RouteTarget::toStrep(bool asDot) const {
    Mox::LocalCharBuffer<42> out;
    format(out, asDot);
    return out.string();
}

Mox::Type const& RouteTarget::staticType() noexcept {
    static Mox::Type const type(
        Mox::Type::Kind::value, "Routing::Bgp::RouteTarget",
        {Mox::attribute<RouteTarget, &RouteTarget::value, &RouteTarget::valueIs>("value")});
    return type;
}

namespace {
Mox::TypeRegistration const routeTargetRegistration(RouteTarget::staticType());
} // namespace

} // namespace Routing::Bgp
