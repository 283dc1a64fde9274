#pragma once

#include <cstdint>
#include <string_view>

#include "input/OctetReader.h"
#include "wire/AddPath.h"
#include "wire/IpAddress.h"

namespace BgpCommunities {

/** The layout of the body of a BGP4MP subtype (RFC 6396, section 4.4; RFC 8050, section 3). */
struct Bgp4mpForm {
    enum class Holds : std::uint8_t { unsupported, stateChange, message };

    Holds holds = Holds::unsupported;
    bool as4 = false;
    bool local = false; // the message was sent to the peer, not received from it
    bool pathIds = false;
};

/** `holds` is `unsupported` for deprecated and unassigned subtypes. */
Bgp4mpForm const& bgp4mpForm(std::uint16_t subtype);

/** The two ends of the session that a record belongs to; a plain value. */
struct Bgp4mpEnds {
    Peer peer;
    IpAddress local; // the collector's address

    /** Of a message of this form. */
    [[nodiscard]] MessageEnds of(Bgp4mpForm const& form) const {
        return form.local ? MessageEnds{local, peer.address} : MessageEnds{peer.address, local};
    }
};

/**
 * Reads the fields before the states or the message.
 *
 * Returns what is wrong, or nothing.
 */
std::string_view readEnds(OctetReader& in, bool as4, Bgp4mpEnds& ends);

} // namespace BgpCommunities
