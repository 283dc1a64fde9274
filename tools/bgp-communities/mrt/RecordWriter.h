#pragma once

#include <string>

#include "RouteHandler.h"
#include "input/IntegerTypes.h"
#include "wire/IpAddress.h"

namespace BgpCommunities {

inline constexpr std::size_t mrtHeaderOctets = 12;

/// The session of a BGP4MP_ET record to write.
struct RecordedSession {
    Peer peer;
    IpAddress local; // of the family of the peer's address; written as zeros if none
    AsWidth asWidth = AsWidth::four;
    bool sentToPeer = false; // otherwise received from it
    bool pathIds = false;    // some NLRI of the message has path identifiers (RFC 8050)
};

// These append an MRT record with its header (RFC 6396, section 4.4). `time` is in microseconds
// since 1970, UTC.

/// REQUIRES: `message` is a whole BGP message.
void appendMessageRecord(std::string& out, U64 time, RecordedSession const& session,
                         Octets message);
void appendStateRecord(std::string& out, U64 time, RecordedSession const& session, U16 oldState,
                       U16 newState);

} // namespace BgpCommunities
