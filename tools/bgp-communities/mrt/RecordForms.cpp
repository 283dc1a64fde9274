#include "RecordForms.h"

#include <array>

#include "Bgp4mp.h"

namespace BgpCommunities {

namespace {

constexpr U16 peerIndexTable = 1; // of TABLE_DUMP_V2

// RFC 6396, section 4.3; RFC 8050, section 4.
constexpr std::array<RibForm, 13> ribForms = {{
    {},
    {true, false, false, {}},                       // 1 PEER_INDEX_TABLE
    {true, false, false, {afiIpv4, safiUnicast}},   // 2 RIB_IPV4_UNICAST
    {true, false, false, {afiIpv4, safiMulticast}}, // 3 RIB_IPV4_MULTICAST
    {true, false, false, {afiIpv6, safiUnicast}},   // 4 RIB_IPV6_UNICAST
    {true, false, false, {afiIpv6, safiMulticast}}, // 5 RIB_IPV6_MULTICAST
    {true, false, true, {}},                        // 6 RIB_GENERIC
    {},                                             // 7 GEO_PEER_TABLE (RFC 6397)
    {true, true, false, {afiIpv4, safiUnicast}},    // 8 RIB_IPV4_UNICAST_ADDPATH
    {true, true, false, {afiIpv4, safiMulticast}},  // 9 RIB_IPV4_MULTICAST_ADDPATH
    {true, true, false, {afiIpv6, safiUnicast}},    // 10 RIB_IPV6_UNICAST_ADDPATH
    {true, true, false, {afiIpv6, safiMulticast}},  // 11 RIB_IPV6_MULTICAST_ADDPATH
    {true, true, true, {}},                         // 12 RIB_GENERIC_ADDPATH
}};

} // namespace

RibForm const& ribForm(U16 subtype) {
    return ribForms[subtype < ribForms.size() ? subtype : 0];
}

bool isSupported(RecordHeader const& header) {
    switch (header.type) {
    case MrtType::tableDump:
        return header.subtype == afiIpv4 || header.subtype == afiIpv6;
    case MrtType::tableDumpV2:
        return ribForm(header.subtype).isSupported;
    case MrtType::bgp4mp:
    case MrtType::bgp4mpEt:
        return bgp4mpForm(header.subtype).content != Bgp4mpForm::Content::unsupported;
    default:
        return false;
    }
}

U32 maxBodyOctets(RecordHeader const& header) {
    constexpr U32 max16 = 0xffff;   // maximum of a two-octet field
    constexpr U32 microseconds = 4; // BGP4MP_ET
    constexpr U32 ends = 4 + 4 + 2 + 2 + 16 + 16;
    constexpr U32 route = 2 + 2 + 16 + 1 + 1 + 4 + 16 + 2 + 2; // TABLE_DUMP
    constexpr U32 peer = 1 + 4 + 16 + 4;
    if (header.type == MrtType::tableDump) {
        return route + max16;
    }
    if (header.type == MrtType::tableDumpV2) {
        return holdsPeers(header) ? 4 + 2 + max16 + 2 + max16 * peer : maxRibOctets;
    }
    return microseconds + ends + max16;
}

bool holdsPeers(RecordHeader const& header) {
    return header.type == MrtType::tableDumpV2 && header.subtype == peerIndexTable;
}

bool needsPeers(RecordHeader const& header) {
    return header.type == MrtType::tableDumpV2 && header.subtype != peerIndexTable;
}

bool isBgp4mp(RecordHeader const& header) {
    return header.type == MrtType::bgp4mp || header.type == MrtType::bgp4mpEt;
}

/// BGP4MP_ET: microseconds (4) before the rest, RFC 6396, section 3.
Octets bgp4mpBody(RecordHeader const& header, Octets body) {
    OctetReader in(body);
    if (header.type == MrtType::bgp4mpEt) {
        in.u32();
    }
    return in.rest();
}

} // namespace BgpCommunities
