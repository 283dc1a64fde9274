#pragma once

#include <cstdint>
#include <string_view>

#include "input/OctetReader.h"
#include "wire/IpAddress.h"

namespace BgpCommunities {

/** The layout of the body of a BGP4MP subtype (RFC 6396, section 4.4; RFC 8050, section 3). */
struct Bgp4mpForm {
    enum class Holds : std::uint8_t { nothingRead, stateChange, message };

    Holds holds = Holds::nothingRead;
    bool as4 = false;
    bool local = false; // the message was sent to the peer, not received from it
    bool pathIds = false;
};

/** `holds` is `nothingRead` for deprecated and unassigned subtypes. */
Bgp4mpForm const& bgp4mpForm(std::uint16_t subtype);

/** The two ends of the session that a record belongs to; a plain value. */
struct Bgp4mpEnds {
    Peer peer;
    IpAddress local; // the collector's address
};

/**
 * Reads the fields before the states or the message.
 *
 * Returns what is wrong, or nothing.
 */
std::string_view readEnds(OctetReader& in, bool as4, Bgp4mpEnds& ends);

/** A BGP message (RFC 4271, section 4.1); its octets are those of the record. */
struct BgpMessage {
    static constexpr std::uint8_t open = 1;
    static constexpr std::uint8_t update = 2;

    std::uint8_t type = 0;
    std::size_t length = 0; // of all of it, as it claims
    bool whole = false;     // the record holds that many octets
    Octets body;            // behind the header; empty if not whole
};

/** Reads a message; false if the record is too short for its header. */
bool readMessage(OctetReader& in, BgpMessage& message);

/** The three length-delimited areas of an UPDATE (RFC 4271, section 4.3). */
struct UpdateAreas {
    Octets withdrawn;
    Octets attributes;
    Octets announced;
};

/** False if the UPDATE is too short for its own length fields. */
bool splitUpdate(Octets update, UpdateAreas& areas);

} // namespace BgpCommunities
