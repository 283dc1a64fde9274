#include "UpdateReader.h"

#include <array>

namespace BgpCommunities {

namespace {

/** What a subtype of BGP4MP says about the layout of its body (RFC 6396, 4.4; RFC 8050, 3). */
struct Bgp4mpForm {
    enum class Holds : std::uint8_t { nothingRead, stateChange, message };

    Holds holds = Holds::nothingRead;
    bool as4 = false;
    bool local = false;
    bool pathIds = false;
};

constexpr auto nothingRead = Bgp4mpForm::Holds::nothingRead;
constexpr auto stateChange = Bgp4mpForm::Holds::stateChange;
constexpr auto anyMessage = Bgp4mpForm::Holds::message;

constexpr std::array<Bgp4mpForm, 12> bgp4mpForms = {{
    {stateChange, false, false, false}, // 0 STATE_CHANGE
    {anyMessage, false, false, false},  // 1 MESSAGE
    {},                                 // 2 ENTRY, deprecated
    {},                                 // 3 SNAPSHOT, deprecated
    {anyMessage, true, false, false},   // 4 MESSAGE_AS4
    {stateChange, true, false, false},  // 5 STATE_CHANGE_AS4
    {anyMessage, false, true, false},   // 6 MESSAGE_LOCAL
    {anyMessage, true, true, false},    // 7 MESSAGE_AS4_LOCAL
    {anyMessage, false, false, true},   // 8 MESSAGE_ADDPATH
    {anyMessage, true, false, true},    // 9 MESSAGE_AS4_ADDPATH
    {anyMessage, false, true, true},    // 10 MESSAGE_LOCAL_ADDPATH
    {anyMessage, true, true, true},     // 11 MESSAGE_AS4_LOCAL_ADDPATH
}};

constexpr std::size_t markerOctets = 16;
constexpr std::size_t messageHeaderOctets = markerOctets + 3;
constexpr std::uint8_t updateType = 2;

/** peer AS | local AS | interface (2) | AFI (2) | peer address | local address */
std::string_view readPeer(OctetReader& in, bool as4, Peer& peer) {
    peer.as = as4 ? in.u32() : in.u16();
    in.octets((as4 ? 4 : 2) + 2);
    std::uint16_t const afi = in.u16();
    if (in.ok() && afi != afiIpv4 && afi != afiIpv6) {
        return "the address family of the peer is neither IPv4 nor IPv6";
    }
    std::size_t const addressOctets = afi == afiIpv4 ? 4 : 16;
    peer.address = ipAddress(in.octets(addressOctets));
    in.octets(addressOctets);
    return in.ok() ? std::string_view() : "the record is too short for its peer";
}

/** The three length-delimited areas of an UPDATE (RFC 4271, section 4.3). */
struct UpdateAreas {
    Octets withdrawn;
    Octets attributes;
    Octets announced;
};

bool splitUpdate(Octets update, UpdateAreas& areas) {
    OctetReader in(update);
    areas.withdrawn = in.octets(in.u16());
    areas.attributes = in.octets(in.u16());
    areas.announced = in.rest();
    return in.ok();
}

} // namespace

bool UpdateReader::reads(std::uint16_t subtype) {
    return subtype < bgp4mpForms.size() && bgp4mpForms[subtype].holds != nothingRead;
}

void UpdateReader::read(RecordContext const& record, std::uint16_t subtype, Octets body) {
    Bgp4mpForm const& form = bgp4mpForms[subtype];
    OctetReader in(body);
    Peer peer;
    if (auto const fault = readPeer(in, form.as4, peer); !fault.empty()) {
        record.reportBrokenRecord(std::string(fault));
        return;
    }
    if (form.holds == stateChange) {
        StateChange const change = {record.at(), peer, in.u16(), in.u16()};
        if (!in.ok()) {
            record.reportBrokenRecord("the record is too short for two states");
            return;
        }
        record.handler().handleStateChange(change);
        return;
    }
    update_.at = record.at();
    update_.peer = peer;
    update_.sentByUs = form.local;
    readMessage(record, in, form.pathIds || record.handler().expectsPathIds());
}

/** marker (16) | length of all of it (2) | type (1) | body             RFC 4271, section 4.1 */
void UpdateReader::readMessage(RecordContext const& record, OctetReader& in, bool pathIds) {
    std::size_t const left = in.left();
    in.octets(markerOctets);
    std::size_t const length = in.u16();
    std::uint8_t const type = in.u8();
    if (!in.ok()) {
        record.reportBrokenRecord("the record is too short for the header of a BGP message");
        return;
    }
    bool const whole = length >= messageHeaderOctets && length <= left;
    if (type == updateType) {
        ++record.counts().updates;
        readUpdate(record, whole ? in.octets(length - messageHeaderOctets) : Octets(), pathIds);
    } else if (!whole) {
        record.reportBrokenRecord("a BGP message claims " + std::to_string(length) +
                                  " octets where the record has " + std::to_string(left));
    }
}

void UpdateReader::readUpdate(RecordContext const& record, Octets message, bool pathIds) {
    UpdateAreas areas;
    if (!splitUpdate(message, areas)) {
        ++record.counts().brokenUpdates;
        record.report(ProblemKind::brokenUpdate,
                      "an UPDATE is too short for its own length fields");
        return;
    }
    area_.read(areas.attributes);
    record.account(area_);
    std::string_view const withdrawnFault = readWithdrawn(areas.withdrawn, pathIds);
    std::string_view const announcedFault = readAnnounced(areas.announced, pathIds);
    if (auto const fault = withdrawnFault.empty() ? announcedFault : withdrawnFault;
        !fault.empty()) {
        ++record.counts().brokenRoutes;
        record.report(ProblemKind::brokenRoutes, std::string(fault));
    }
    update_.brokenAttributes = !area_.fault.empty();
    update_.communities = area_.communities;
    update_.withdrawn = withdrawn_;
    update_.announced = announced_;
    record.handler().handleUpdate(update_);
}

/** MP_UNREACH_NLRI: AFI (2) | SAFI (1) | NLRI                          RFC 4760, section 4 */
std::string_view UpdateReader::readWithdrawn(Octets nlri, bool pathIds) {
    withdrawn_.clear();
    std::string_view const fault = readRoutes(nlri, {ipv4Unicast, pathIds, true}, withdrawn_);
    std::string_view mpFault;
    if (area_.mpUnreach) {
        OctetReader in(*area_.mpUnreach);
        Family const family = {in.u16(), in.u8()};
        mpFault = in.ok() ? readRoutes(in.rest(), {family, pathIds, true}, withdrawn_)
                          : "MP_UNREACH_NLRI is too short for its family";
    }
    return fault.empty() ? mpFault : fault;
}

/** MP_REACH_NLRI: AFI (2) | SAFI (1) | length (1) | next hop | reserved (1) | NLRI
                                                                      RFC 4760, section 3 */
std::string_view UpdateReader::readAnnounced(Octets nlri, bool pathIds) {
    announced_.clear();
    std::string_view const fault = readRoutes(nlri, {ipv4Unicast, pathIds, false}, announced_);
    std::string_view mpFault;
    if (area_.mpReach) {
        OctetReader in(*area_.mpReach);
        Family const family = {in.u16(), in.u8()};
        in.octets(in.u8());
        in.u8();
        mpFault = in.ok() ? readRoutes(in.rest(), {family, pathIds, false}, announced_)
                          : "MP_REACH_NLRI is too short for its next hop";
    }
    if (fault.empty() && mpFault.empty() && area_.repeatedMultiprotocol) {
        return "MP_REACH_NLRI or MP_UNREACH_NLRI stands there twice";
    }
    return fault.empty() ? mpFault : fault;
}

} // namespace BgpCommunities
