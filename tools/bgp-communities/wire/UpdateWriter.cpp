#include "UpdateWriter.h"

#include "BgpMessage.h"
#include "PathAttributes.h"
#include "input/OctetWriter.h"

namespace BgpCommunities {

namespace {

void appendCapability(std::string& out, U8 code, std::string const& value) {
    appendU8(out, 2); // parameter: capabilities
    appendU8(out, static_cast<U8>(2 + value.size()));
    appendU8(out, code);
    appendU8(out, static_cast<U8>(value.size()));
    out += value;
}

void appendFamily(std::string& out, Family family) {
    appendU16(out, family.afi);
    appendU8(out, family.safi);
}

std::string capabilityParameters(U32 as, std::span<FamilyOffer const> families) {
    std::string out, value, addPath;
    for (FamilyOffer const& offer : families) {
        value.clear();
        appendU16(value, offer.family.afi);
        appendU8(value, 0);
        appendU8(value, offer.family.safi);
        appendCapability(out, 1, value);
        if (offer.pathIds) {
            appendFamily(addPath, offer.family);
            appendU8(addPath, 3);
        }
    }
    value.clear();
    appendU32(value, as);
    appendCapability(out, 65, value);
    if (!addPath.empty()) {
        appendCapability(out, 69, addPath);
    }
    return out;
}

void appendNlri(std::string& out, Route const& route, bool pathIds) {
    if (pathIds) {
        appendU32(out, route.pathId);
    }
    if (!route.isPrefix) {
        appendOctets(out, route.opaque);
        return;
    }
    Octets const distinguisher =
        route.family.safi == safiVpn ? Octets(route.distinguisher) : Octets();
    std::size_t const front = route.labels.size() + distinguisher.size();
    appendU8(out, static_cast<U8>(8 * front + route.length));
    appendOctets(out, route.labels);
    appendOctets(out, distinguisher);
    appendOctets(out, Octets(route.address.octets).first((route.length + 7U) / 8));
}

/// Returns the next hop field of MP_REACH_NLRI, which is whole or shortened to this field.
Octets nextHopOf(Octets value) {
    OctetReader shortened(value);
    Octets const nextHop = shortened.octets(shortened.u8());
    if (shortened.ok() && shortened.empty()) {
        return nextHop;
    }
    OctetReader whole(value);
    whole.octets(3);
    return whole.octets(whole.u8());
}

/// flags: optional, extended length
void appendMultiprotocol(std::string& out, U8 type, std::string const& value) {
    appendU8(out, 0x90);
    appendU8(out, type);
    appendU16(out, value.size());
    out += value;
}

void appendAttribute(std::string& out, PathAttribute const& attribute) {
    bool const isLong = attribute.value.size() > 255;
    unsigned const flags = (attribute.flags & ~0x10U) | (isLong ? 0x10U : 0U);
    appendU8(out, static_cast<U8>(flags));
    appendU8(out, attribute.type);
    if (isLong) {
        appendU16(out, attribute.value.size());
    } else {
        appendU8(out, static_cast<U8>(attribute.value.size()));
    }
    appendOctets(out, attribute.value);
}

} // namespace

void appendOpen(std::string& out, U32 as, U32 bgpId, std::span<FamilyOffer const> families) {
    std::string const parameters = capabilityParameters(as, families);
    appendBgpHeader(out, BgpMessage::open, 10 + parameters.size());
    appendU8(out, 4);
    appendU16(out, as < 65536 ? as : asTrans);
    appendU16(out, 90); // seconds of hold time
    appendU32(out, bgpId);
    appendU8(out, static_cast<U8>(parameters.size()));
    out += parameters;
}

bool appendUpdate(std::string& out, Route const& route, Octets attributes, bool pathIds) {
    std::string area, nlri;
    Octets nextHop;
    PathAttributeReader reader(attributes);
    for (PathAttribute attribute; reader.next(attribute);) {
        if (attribute.type == AttributeArea::mpReachType) {
            nextHop = nextHopOf(attribute.value);
        } else if (attribute.type != AttributeArea::mpUnreachType) {
            appendAttribute(area, attribute);
        }
    }
    appendNlri(nlri, route, pathIds);
    bool const isPlain = route.family == ipv4Unicast && nextHop.empty();
    if (!isPlain) {
        std::string value;
        appendFamily(value, route.family);
        appendU8(value, static_cast<U8>(nextHop.size()));
        appendOctets(value, nextHop);
        appendU8(value, 0);
        appendMultiprotocol(area, AttributeArea::mpReachType, value + nlri);
    }
    constexpr std::size_t longest = 0xffff - bgpHeaderOctets - 4;
    if (area.size() + nlri.size() > longest) {
        return false;
    }
    appendU16(out, 0);
    appendU16(out, area.size());
    out += area;
    out += isPlain ? nlri : std::string();
    return true;
}

void appendEndOfRib(std::string& out, Family family) {
    std::string area;
    if (family != ipv4Unicast) {
        std::string value;
        appendFamily(value, family);
        appendMultiprotocol(area, AttributeArea::mpUnreachType, value);
    }
    appendU16(out, 0);
    appendU16(out, area.size());
    out += area;
}

} // namespace BgpCommunities
