#include "Bgp4mp.h"

#include <array>

#include "wire/Nlri.h"

namespace BgpCommunities {

namespace {

constexpr auto stateChange = Bgp4mpForm::Content::stateChange;
constexpr auto anyMessage = Bgp4mpForm::Content::message;

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

} // namespace

Bgp4mpForm const& bgp4mpForm(U16 subtype) {
    static constexpr Bgp4mpForm none;
    return subtype < bgp4mpForms.size() ? bgp4mpForms[subtype] : none;
}

/// peer AS | local AS | interface (2) | AFI (2) | peer address | local address
std::string_view readEnds(OctetReader& in, bool as4, Bgp4mpEnds& ends) {
    ends.peer.as = as4 ? in.u32() : in.u16();
    in.octets((as4 ? 4 : 2) + 2);
    U16 const afi = in.u16();
    if (in.ok() && afi != afiIpv4 && afi != afiIpv6) {
        return "address family of the peer is neither IPv4 nor IPv6";
    }
    std::size_t const addressOctets = afi == afiIpv4 ? 4 : 16;
    ends.peer.address = ipAddress(in.octets(addressOctets));
    ends.local = ipAddress(in.octets(addressOctets));
    return in.ok() ? std::string_view() : "record too short for its peer";
}

} // namespace BgpCommunities
