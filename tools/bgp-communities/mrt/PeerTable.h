#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "input/OctetReader.h"
#include "wire/IpAddress.h"

namespace BgpCommunities {

/**
 * A peer index table (RFC 6396, section 4.3.1): whom the entries after it in a table dump mean.
 *
 * A plain value that owns its peers; shared by all who read such entries, it is immutable.
 */
struct PeerTable {
    std::vector<Peer> peers;    // by index, as many as could be read
    std::uint16_t claimed = 0;  // how many the record says there are
    bool whole = false;         // the record was long enough for all of them
    std::size_t octetsLeft = 0; // of the record, after them
};

/** Reads the body of a PEER_INDEX_TABLE record. */
PeerTable readPeerTable(Octets body);

} // namespace BgpCommunities
