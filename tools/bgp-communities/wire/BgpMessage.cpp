#include "BgpMessage.h"

#include "input/OctetWriter.h"

namespace BgpCommunities {

namespace {

constexpr std::size_t markerOctets = 16;
static_assert(bgpHeaderOctets == markerOctets + 3);

} // namespace

void appendBgpHeader(std::string& out, U8 type, std::size_t bodyOctets) {
    out.append(markerOctets, '\xff');
    appendU16(out, bgpHeaderOctets + bodyOctets);
    appendU8(out, type);
}

/// marker (16) | message length (2) | type (1) | body RFC 4271, section 4.1
bool readMessage(OctetReader& in, BgpMessage& message) {
    std::size_t const left = in.left();
    in.octets(markerOctets);
    message.length = in.u16();
    message.type = in.u8();
    message.whole = in.ok() && message.length >= bgpHeaderOctets && message.length <= left;
    message.body = message.whole ? in.octets(message.length - bgpHeaderOctets) : Octets();
    return in.ok();
}

bool splitUpdate(Octets update, UpdateAreas& areas) {
    OctetReader in(update);
    areas.withdrawn = in.octets(in.u16());
    areas.attributes = in.octets(in.u16());
    areas.announced = in.rest();
    return in.ok();
}

bool UpdateContent::read(Octets update, PathIds pathIds) {
    UpdateAreas areas;
    if (!splitUpdate(update, areas)) {
        return false;
    }
    attributes_.read(areas.attributes);
    attributeOctets_ = areas.attributes;
    std::string_view const withdrawnFault = readWithdrawn(areas.withdrawn, pathIds);
    std::string_view const announcedFault = readAnnounced(areas.announced, pathIds);
    routesFault_ = withdrawnFault.empty() ? announcedFault : withdrawnFault;
    return true;
}

std::optional<Family> UpdateContent::endOfRib() const {
    if (!withdrawn_.empty() || !announced_.empty() || !routesFault_.empty()) {
        return std::nullopt;
    }
    if (attributeOctets_.empty()) {
        return ipv4Unicast;
    }
    constexpr std::size_t longestHeader = 4;
    MpNlri mp;
    bool const isAlone = attributes_.mpUnreach && attributes_.fault.empty() &&
                         attributeOctets_.size() <= attributes_.mpUnreach->size() + longestHeader;
    return isAlone && splitMpUnreach(*attributes_.mpUnreach, mp) && mp.nlri.empty()
               ? std::optional(mp.family)
               : std::nullopt;
}

std::string_view UpdateContent::readWithdrawn(Octets nlri, PathIds pathIds) {
    withdrawn_.clear();
    std::string_view const fault =
        readRoutes(nlri, {ipv4Unicast, pathIds.ipv4, true, true}, withdrawn_);
    std::string_view mpFault;
    if (attributes_.mpUnreach) {
        MpNlri mp;
        mpFault = splitMpUnreach(*attributes_.mpUnreach, mp)
                      ? readRoutes(mp.nlri, {mp.family, pathIds.mpUnreach, true}, withdrawn_)
                      : "MP_UNREACH_NLRI is too short for its family";
    }
    return fault.empty() ? mpFault : fault;
}

std::string_view UpdateContent::readAnnounced(Octets nlri, PathIds pathIds) {
    announced_.clear();
    std::string_view const fault =
        readRoutes(nlri, {ipv4Unicast, pathIds.ipv4, false, true}, announced_);
    std::string_view mpFault;
    if (attributes_.mpReach) {
        MpNlri mp;
        mpFault = splitMpReach(*attributes_.mpReach, mp)
                      ? readRoutes(mp.nlri, {mp.family, pathIds.mpReach, false}, announced_)
                      : "MP_REACH_NLRI is too short for its next hop";
    }
    if (fault.empty() && mpFault.empty() && attributes_.repeatedMultiprotocol) {
        return "duplicate MP_REACH_NLRI or MP_UNREACH_NLRI attribute";
    }
    return fault.empty() ? mpFault : fault;
}

} // namespace BgpCommunities
