#pragma once

#include <string>
#include <string_view>

#include "BmpMessage.h"
#include "input/IntegerTypes.h"
#include "wire/BgpMessage.h"
#include "wire/Nlri.h"

namespace BgpCommunities {

// Each function appends one message of a BMP session (RFC 7854), as a router sends it.

void appendBmpInitiation(std::string& out, std::string_view name, std::string_view description);

/// Reason 0 is "administratively closed".
void appendBmpTermination(std::string& out, U16 reason);

/// `opens` is the OPEN that the router sent, then the one it received, each with its header.
void appendBmpPeerUp(std::string& out, BmpPeer const& peer, BmpPeerUp const& up,
                     std::string_view opens);

void appendBmpPeerDown(std::string& out, BmpPeer const& peer, U8 reason);

/// `update` is the body of an UPDATE. REQUIRES: it fits a BGP message (65,535 octets).
void appendBmpRoutes(std::string& out, BmpPeer const& peer, Octets update);

} // namespace BgpCommunities
