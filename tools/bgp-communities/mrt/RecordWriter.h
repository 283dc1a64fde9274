#pragma once

#include <cstdint>
#include <string>

#include "RouteHandler.h"
#include "wire/IpAddress.h"

namespace BgpCommunities {

inline constexpr std::size_t mrtHeaderOctets = 12;

/** The session of a BGP4MP_ET record that is written; a plain value. */
struct RecordedSession {
    Peer peer;
    IpAddress local; // of the size of the peer's address; none: zeros
    AsWidth asWidth = AsWidth::four;
    bool sentToPeer = false; // else received from it
    bool pathIds = false;    // some NLRI of the message has path identifiers (RFC 8050)
};

// Appends an MRT record with its header (RFC 6396, section 4.4). Microseconds since 1970, UTC.

/** REQUIRES: `message` is a whole BGP message. */
void appendMessageRecord(std::string& out, std::uint64_t time, RecordedSession const& session,
                         Octets message);
void appendStateRecord(std::string& out, std::uint64_t time, RecordedSession const& session,
                       std::uint16_t oldState, std::uint16_t newState);

} // namespace BgpCommunities
