#include "RouteAttributes.h"

namespace BgpCommunities {

namespace {

/// Returns the address in the next hop field of MP_REACH_NLRI, which has one address, or two (RFC
/// 2545), each after a route distinguisher in VPN families (RFC 4364, RFC 4659).
IpAddress mpAddress(Octets field) {
    constexpr std::size_t distinguisherOctets = 8;
    switch (field.size()) {
    case 4:
    case 16:
        return ipAddress(field);
    case 32:
        return ipAddress(field.first(16));
    case distinguisherOctets + 4:
    case distinguisherOctets + 16:
        return ipAddress(field.subspan(distinguisherOctets));
    case 2 * (distinguisherOctets + 16):
        return ipAddress(field.subspan(distinguisherOctets, 16));
    default:
        return {};
    }
}

} // namespace

/// The first attribute of each type that is parsed; type 0 if missing.
struct RouteAttributes::Found {
    std::array<PathAttribute, AttributeType::as4Aggregator + 1> byType;
    std::optional<PathAttribute> truncated;

    explicit Found(Octets area) {
        PathAttributeReader in(area);
        PathAttribute attribute;
        while (in.next(attribute)) {
            if (attribute.type < byType.size() && byType[attribute.type].type == 0) {
                byType[attribute.type] = attribute;
            }
        }
        if (!in.fault().empty()) {
            truncated = attribute;
        }
    }

    [[nodiscard]] PathAttribute const* find(U8 type) const {
        return byType[type].type == 0 ? nullptr : &byType[type];
    }
};

RouteAttributes::RouteAttributes(AttributeOctets const& octets) {
    Found const found(octets.area);
    if (auto const* const attribute = found.find(AttributeType::origin)) {
        readOrigin(*attribute);
    }
    readAsPath(found, octets.asWidth);
    if (auto const* const attribute = found.find(AttributeType::nextHop)) {
        readNextHop(*attribute);
    }
    if (auto const* const attribute = found.find(AttributeType::med)) {
        readNumber(*attribute, med_);
    }
    if (auto const* const attribute = found.find(AttributeType::localPref)) {
        readNumber(*attribute, localPref_);
    }
    if (auto const* const attribute = found.find(AttributeArea::mpReachType)) {
        readMpReach(*attribute);
    }
    if (found.truncated) {
        addFault(*found.truncated, "truncated attribute", true);
    }
}

void RouteAttributes::readAsPath(Found const& found, AsWidth width) {
    auto const* const attribute = found.find(AttributeType::asPath);
    if (attribute == nullptr) {
        return;
    }
    AsPath path = {attribute->value, width, {}};
    if (auto const fault = faultOf(path); !fault.empty()) {
        addFault(*attribute, fault);
        return;
    }
    if (width == AsWidth::two) {
        path.as4Path = as4PathOf(found);
    }
    asPath_ = path;
}

/// Returns the value of AS4_PATH; empty if it is missing, malformed or outdated.
Octets RouteAttributes::as4PathOf(Found const& found) {
    auto const* const as4Path = found.find(AttributeType::as4Path);
    if (as4Path == nullptr) {
        return {};
    }
    if (auto const fault = faultOf({as4Path->value, AsWidth::four, {}}); !fault.empty()) {
        addFault(*as4Path, fault);
        return {};
    }
    // If there is an AS4_AGGREGATOR but the AS of AGGREGATOR is not AS_TRANS, a router without
    // AS4_PATH support has aggregated the route again, and AS4_PATH is outdated (RFC 6793,
    // section 4.2.3).
    auto const* const aggregator = found.find(AttributeType::aggregator);
    bool const outdated = found.find(AttributeType::as4Aggregator) != nullptr &&
                          aggregator != nullptr && aggregator->value.size() == 6 &&
                          OctetReader(aggregator->value).u16() != asTrans;
    return outdated ? Octets() : as4Path->value;
}

void RouteAttributes::readOrigin(PathAttribute const& attribute) {
    if (attribute.value.size() != 1) {
        addFault(attribute, "ORIGIN length is not 1");
    } else if (attribute.value[0] > static_cast<U8>(Origin::incomplete)) {
        addFault(attribute, "unknown ORIGIN");
    } else {
        origin_ = static_cast<Origin>(attribute.value[0]);
    }
}

void RouteAttributes::readNextHop(PathAttribute const& attribute) {
    // Some collectors write an IPv6 address here for IPv6 routes.
    nextHop_ = ipAddress(attribute.value);
    if (nextHop_.size == 0) {
        addFault(attribute, "NEXT_HOP is not an address");
    }
}

/// AFI (2) | SAFI (1) | length (1) | next hop | ..., or only length and next hop in a RIB entry
///                                   RFC 4760, section 3; RFC 6396, section 4.3.4
void RouteAttributes::readMpReach(PathAttribute const& attribute) {
    OctetReader in(attribute.value);
    OctetReader look = in;
    std::size_t const length = look.u8();
    if (length != look.left()) {
        mpFamily_ = {in.u16(), in.u8()};
    }
    Octets const field = in.octets(in.u8());
    mpNextHop_ = mpAddress(field);
    if (!in.ok()) {
        addFault(attribute, "truncated MP_REACH_NLRI");
    }
}

void RouteAttributes::readNumber(PathAttribute const& attribute, std::optional<U32>& number) {
    if (attribute.value.size() == 4) {
        number = OctetReader(attribute.value).u32();
    } else {
        addFault(attribute, attribute.type == AttributeType::med ? "MULTI_EXIT_DISC length is not 4"
                                                                 : "LOCAL_PREF length is not 4");
    }
}

void RouteAttributes::addFault(PathAttribute const& attribute, std::string_view reason,
                               bool truncated) {
    faults_[faultCount_++] = {attribute.type, truncated, attribute.value, reason};
}

IpAddress RouteAttributes::nextHop(Route const& route) const {
    if (route.inMessage && nextHop_.size != 0) {
        return nextHop_;
    }
    Family const family = route.family;
    if (mpFamily_) {
        return family == *mpFamily_ ? mpNextHop_ : nextHop_;
    }
    bool const isMpReach = family != ipv4Unicast || nextHop_.size == 0;
    return isMpReach && mpNextHop_.size != 0 ? mpNextHop_ : nextHop_;
}

std::string_view nameOf(RouteAttributes::Origin origin) {
    switch (origin) {
    case RouteAttributes::Origin::igp:
        return "IGP";
    case RouteAttributes::Origin::egp:
        return "EGP";
    case RouteAttributes::Origin::incomplete:
        return "INCOMPLETE";
    }
    return {};
}

} // namespace BgpCommunities
