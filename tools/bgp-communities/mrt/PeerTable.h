#pragma once

#include <cstddef>
#include <vector>

#include "input/IntegerTypes.h"
#include "input/OctetReader.h"
#include "wire/IpAddress.h"

namespace BgpCommunities {

/// A peer index table (RFC 6396, section 4.3.1), which the following RIB entries refer to.
///
/// Shared by all records that refer to it. Immutable once shared.
struct PeerTable {
    std::vector<Peer> peers;    // by index, as many as could be parsed
    U16 peerCount = 0;          // peer count of the record
    bool whole = false;         // the record contains all of them
    std::size_t octetsLeft = 0; // of the record, after them
};

/// Parses the body of a PEER_INDEX_TABLE record.
PeerTable readPeerTable(Octets body);

} // namespace BgpCommunities
