#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "BmpMessage.h"
#include "wire/BgpMessage.h"
#include "wire/Nlri.h"

namespace BgpCommunities {

// Appends what a router sends in a BMP session (RFC 7854). Thread-compatible, as the text.

void appendBmpInitiation(std::string& out, std::string_view name, std::string_view description);

/** `reason`: 0 is administratively closed. */
void appendBmpTermination(std::string& out, std::uint16_t reason);

/** `opens`: the whole messages that the router sent and received. */
void appendBmpPeerUp(std::string& out, BmpPeer const& peer, BmpPeerUp const& up,
                     std::string_view opens);

void appendBmpPeerDown(std::string& out, BmpPeer const& peer, std::uint8_t reason);

/** `update` is the body of an UPDATE. REQUIRES: it fits a BGP message (65,535 octets). */
void appendBmpRoutes(std::string& out, BmpPeer const& peer, Octets update);

} // namespace BgpCommunities
