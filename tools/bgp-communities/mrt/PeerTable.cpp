#include "PeerTable.h"

namespace BgpCommunities {

namespace {

constexpr U8 peerHasIpv6 = 0x01;
constexpr U8 peerHasAs4 = 0x02;

} // namespace

/// collector (4) | length (2) | view name | peer count (2) | peers, each:
/// type (1) | BGP identifier (4) | address (4, 16) | AS (2, 4)       RFC 6396, section 4.3.1
PeerTable readPeerTable(Octets body) {
    OctetReader in(body);
    PeerTable table;
    in.octets(4);
    in.octets(in.u16());
    table.peerCount = in.u16();
    for (U16 index = 0; in.ok() && index < table.peerCount; ++index) {
        U8 const type = in.u8();
        in.octets(4);
        Peer peer;
        peer.address = ipAddress(in.octets((type & peerHasIpv6) != 0 ? 16 : 4));
        peer.as = (type & peerHasAs4) != 0 ? in.u32() : in.u16();
        if (in.ok()) {
            table.peers.push_back(peer);
        }
    }
    table.whole = in.ok();
    table.octetsLeft = in.left();
    return table;
}

} // namespace BgpCommunities
