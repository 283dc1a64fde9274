#include "Nlri.h"

#include <algorithm>
#include <iterator>

#include "EvpnRoute.h"
#include "input/Hex.h"
#include "input/Numbers.h"

namespace BgpCommunities {

namespace {

// The layout of one route in an NLRI field. Except with `whole`, the octets determine where the
// route ends.
enum class Layout : U8 {
    prefix,       // length in bits (1), prefix                                   RFC 4271
    labelled,     // length in bits (1), labels (3 each), prefix                  RFC 8277
    vpn,          // length in bits (1), labels (3 each), distinguisher (8), prefix  RFC 4364
    bits,         // length in bits (1), that many bits rounded up                RFC 4684, 6037
    typeLength,   // type (1), length in octets (1), those                        RFC 7432, 6514
    typeLength16, // type (2), length in octets (2), those                        RFC 9552
    length16,     // length in octets (2), those                                  RFC 4761
    flow,         // length in octets (1, or 2 from 0xf0 on), those               RFC 8955
    whole,        // not known
};

constexpr unsigned int distinguisherBits = 64;
constexpr Family l2vpnEvpn = {25, 70}; // RFC 7432

Layout layoutOf(Family family) {
    bool const ip = family.afi == afiIpv4 || family.afi == afiIpv6;
    switch (family.safi) {
    case safiUnicast:
    case safiMulticast:
        return ip ? Layout::prefix : Layout::whole;
    case safiLabelled:
        return ip ? Layout::labelled : Layout::whole;
    case safiVpn:
        return ip ? Layout::vpn : Layout::whole;
    case 66:  // MDT
    case 132: // route target membership
        return Layout::bits;
    case 5:  // multicast VPN
    case 70: // EVPN
        return Layout::typeLength;
    case 71: // BGP-LS
    case 72: // BGP-LS VPN
        return Layout::typeLength16;
    case 65: // VPLS
        return Layout::length16;
    case 133: // flow specification
    case 134: // flow specification VPN
        return Layout::flow;
    default:
        return Layout::whole;
    }
}

bool isPrefixLayout(Layout layout) {
    return layout == Layout::prefix || layout == Layout::labelled || layout == Layout::vpn;
}

std::size_t octetsOfBits(unsigned int bits) {
    return (bits + 7) / 8;
}

/// Takes the label stack before a prefix: up to the bottom-of-stack bit (RFC 8277, section 2.3), or
/// one field with any content if the route is withdrawn (section 2.4). A zero label of a VPN route
/// also ends the stack: FRR 8 reports such routes over BMP. Returns an empty span if the bottom is
/// missing.
Octets takeLabels(OctetReader& in, Layout layout, bool withdrawn) {
    OctetReader look = in;
    std::size_t size = 0;
    bool bottom = false;
    for (; !bottom && look.left() >= 3; size += 3) {
        Octets const label = look.octets(3);
        bool const isZero = (label[0] | label[1] | label[2]) == 0;
        bottom = withdrawn || (label[2] & 1) != 0 || (isZero && layout == Layout::vpn);
    }
    return bottom ? in.octets(size) : Octets();
}

/// Returns the address with all but the first `bits` bits cleared.
IpAddress firstBits(IpAddress address, unsigned int bits) {
    if (unsigned int const partial = bits % 8; partial != 0) {
        address.octets[bits / 8] &= static_cast<U8>(0xff00U >> partial);
    }
    std::fill(address.octets.begin() + octetsOfBits(bits), address.octets.end(), 0);
    return address;
}

/// Sets the prefix of `route` to the first `bits` bits of `octets`.
std::string_view setPrefix(Route& route, Octets octets, unsigned int bits) {
    U8 const addressOctets = route.family.afi == afiIpv4 ? 4 : 16;
    if (bits > addressOctets * 8U) {
        return "prefix length exceeds that of an address";
    }
    std::copy_n(octets.begin(), octetsOfBits(bits), route.address.octets.begin());
    route.address.size = addressOctets;
    IpAddress const sent = route.address;
    route.address = firstBits(sent, bits);
    route.trailingBits = route.address != sent;
    route.length = static_cast<U8>(bits);
    route.isPrefix = true;
    return {};
}

std::string_view takePrefixRoute(OctetReader& in, Layout layout, bool withdrawn, Route& route) {
    unsigned int bits = in.u8();
    OctetReader field(in.octets(octetsOfBits(bits)));
    if (!in.ok()) {
        return "truncated prefix in NLRI";
    }
    if (layout != Layout::prefix) {
        route.labels = takeLabels(field, layout, withdrawn);
        unsigned int const used = static_cast<unsigned int>(route.labels.size()) * 8;
        if (used == 0 || used > bits) {
            return "labelled prefix too short for its labels";
        }
        bits -= used;
    }
    if (layout == Layout::vpn) {
        if (bits < distinguisherBits) {
            return "VPN prefix too short for its route distinguisher";
        }
        Octets const octets = field.octets(distinguisherBits / 8);
        std::copy(octets.begin(), octets.end(), route.distinguisher.begin());
        bits -= distinguisherBits;
    }
    return setPrefix(route, field.rest(), bits);
}

/// The length of the next route, including its length field.
std::size_t pieceOctets(OctetReader in, Layout layout) {
    std::size_t const before = in.left();
    std::size_t size = 0;
    switch (layout) {
    case Layout::bits:
        size = octetsOfBits(in.u8());
        break;
    case Layout::typeLength:
        in.octets(1);
        size = in.u8();
        break;
    case Layout::typeLength16:
        in.octets(2);
        size = in.u16();
        break;
    case Layout::length16:
        size = in.u16();
        break;
    case Layout::flow:
        size = in.u8();
        if (size >= 0xf0) {
            size = (size & 0x0f) << 8 | in.u8();
        }
        break;
    default:
        return before;
    }
    return before - in.left() + size;
}

void takePathId(OctetReader& in, bool pathIds, Route& route) {
    route.hasPathId = pathIds;
    if (pathIds) {
        route.pathId = in.u32();
    }
}

} // namespace

/// RFC 4364, section 4.2: type (2), then administrator and assigned number, depending on the type.
void appendDistinguisher(std::string& out, Octets octets) {
    OctetReader in(octets);
    switch (in.u16()) {
    case 0:
        appendNumber(out, in.u16());
        out += ':';
        appendNumber(out, in.u32());
        break;
    case 1:
        appendText(out, ipAddress(in.octets(4)));
        out += ':';
        appendNumber(out, in.u16());
        break;
    case 2:
        appendNumber(out, in.u32());
        out += ':';
        appendNumber(out, in.u16());
        break;
    default:
        appendHex(out, octets);
        break;
    }
}

/// AFI (2) | SAFI (1) | length (1) | next hop | reserved (1) | NLRI     RFC 4760, section 3
bool splitMpReach(Octets value, MpNlri& mp) {
    OctetReader in(value);
    mp.family = {in.u16(), in.u8()};
    in.octets(in.u8());
    in.u8();
    mp.nlri = in.rest();
    return in.ok();
}

/// AFI (2) | SAFI (1) | NLRI                                            RFC 4760, section 4
bool splitMpUnreach(Octets value, MpNlri& mp) {
    OctetReader in(value);
    mp.family = {in.u16(), in.u8()};
    mp.nlri = in.rest();
    return in.ok();
}

namespace {

/// As readRoute(). REQUIRES: `route` is as constructed.
std::string_view readNewRoute(OctetReader& in, NlriForm const& form, Route& route) {
    route.family = form.family;
    route.inMessage = form.inMessage;
    takePathId(in, form.pathIds, route);
    Layout const layout = layoutOf(form.family);
    if (isPrefixLayout(layout)) {
        return takePrefixRoute(in, layout, form.withdrawn, route);
    }
    route.opaque = in.octets(pieceOctets(in, layout));
    return in.ok() ? std::string_view() : "truncated route in NLRI";
}

} // namespace

std::string_view readRoute(OctetReader& in, NlriForm const& form, Route& route) {
    route = {};
    return readNewRoute(in, form, route);
}

std::string_view makePrefix(Family family, Octets address, U8 length, Route& route) {
    route = {};
    route.family = family;
    return setPrefix(route, address, length);
}

std::string_view readRoutes(Octets nlri, NlriForm const& form, std::vector<Route>& routes) {
    OctetReader in(nlri);
    std::string_view fault;
    while (fault.empty() && !in.empty()) {
        fault = readNewRoute(in, form, routes.emplace_back());
    }
    if (!fault.empty()) {
        routes.pop_back();
    }
    return fault;
}

std::string_view readPrefix(std::string_view text, Prefix& prefix) {
    std::size_t const slash = std::min(text.find('/'), text.size());
    std::string_view const digits = text.substr(std::min(slash + 1, text.size()));
    prefix.address = readIpAddress(text.substr(0, slash));
    if (prefix.address.size == 0) {
        return "not an IPv4 or IPv6 prefix";
    }
    auto const length = readNumber<U8>(digits);
    if (!length || *length > prefix.address.size * 8) {
        return "missing or invalid prefix length";
    }
    prefix.length = *length;
    if (firstBits(prefix.address, prefix.length) != prefix.address) {
        return "address bits beyond the prefix length are not zero";
    }
    return {};
}

// An IPv4 address never equals an IPv6 address.

bool contains(Prefix const& prefix, Route const& route) {
    return route.isPrefix && route.length >= prefix.length && contains(prefix, route.address);
}

bool contains(Prefix const& prefix, IpAddress const& address) {
    return firstBits(address, prefix.length) == prefix.address;
}

bool covers(Route const& route, Prefix const& prefix) {
    return route.isPrefix && route.length <= prefix.length &&
           firstBits(prefix.address, route.length) == route.address;
}

bool hasPrefixes(Family family) {
    return isPrefixLayout(layoutOf(family));
}

bool hasKnownPieces(Family family) {
    return layoutOf(family) != Layout::whole;
}

namespace {

/// Returns false if the route is not an EVPN route of a known type.
bool readEvpn(Route const& route, EvpnRoute& evpn) {
    return route.family == l2vpnEvpn && readEvpnRoute(route.opaque, evpn);
}

} // namespace

std::array<Octets, 3> identityOf(Route const& route) {
    if (route.isPrefix) {
        bool const isVpn = route.family.safi == safiVpn;
        return {isVpn ? Octets(route.distinguisher) : Octets(),
                Octets(route.address.octets).first(octetsOfBits(route.length)),
                {}};
    }
    if (EvpnRoute evpn; readEvpn(route, evpn)) {
        return {route.opaque.first(1), evpn.identity[0], evpn.identity[1]};
    }
    return {route.opaque, {}, {}};
}

void appendText(std::string& out, Route const& route) {
    if (!route.isPrefix) {
        if (EvpnRoute evpn; readEvpn(route, evpn)) {
            appendText(out, evpn);
            return;
        }
        appendNumber(out, route.family.afi);
        out += '/';
        appendNumber(out, route.family.safi);
        out += ':';
        appendHex(out, route.opaque);
        return;
    }
    if (route.family.safi == safiVpn) {
        appendDistinguisher(out, route.distinguisher);
        out += ':';
    }
    appendText(out, route.address);
    out += '/';
    appendNumber(out, route.length);
}

void appendText(std::string& out, Family family) {
    struct Named {
        Family family;
        std::string_view name;
    };
    static constexpr Named known[] = {
        {{afiIpv4, safiUnicast}, "IPv4 unicast"},
        {{afiIpv6, safiUnicast}, "IPv6 unicast"},
        {{afiIpv4, safiMulticast}, "IPv4 multicast"},
        {{afiIpv6, safiMulticast}, "IPv6 multicast"},
        {{afiIpv4, safiLabelled}, "IPv4 labelled"},
        {{afiIpv6, safiLabelled}, "IPv6 labelled"},
        {{afiIpv4, safiVpn}, "IPv4 VPN"},
        {{afiIpv6, safiVpn}, "IPv6 VPN"},
        {l2vpnEvpn, "L2VPN EVPN"},
        {{25, 65}, "L2VPN VPLS"},     // RFC 4761
        {{afiIpv4, 132}, "IPv4 RTC"}, // route target constraint, RFC 4684
        {{afiIpv6, 132}, "IPv6 RTC"},
        {{afiIpv4, 133}, "IPv4 FlowSpec"}, // RFC 8955
        {{afiIpv6, 133}, "IPv6 FlowSpec"}, // RFC 8956
        {{16388, 71}, "BGP-LS"},           // RFC 9552
    };
    auto const* const found = std::find_if(std::begin(known), std::end(known),
                                           [&](Named const& one) { return one.family == family; });
    if (found != std::end(known)) {
        out += found->name;
        return;
    }
    appendNumber(out, family.afi);
    out += '/';
    appendNumber(out, family.safi);
}

} // namespace BgpCommunities
