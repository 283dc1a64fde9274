#pragma once

#include <array>
#include <string>

#include "input/IntegerTypes.h"
#include "input/OctetReader.h"

namespace BgpCommunities {

/// An EVPN route: types 1 to 4 of RFC 7432, section 7, and type 5 of RFC 9136.
///
/// Owns nothing: its spans point into the octets that it was read from.
struct EvpnRoute {
    U8 type = 0;
    Octets distinguisher; // 8
    U32 tag = 0;          // the Ethernet tag, unless the type is 4
    Octets segment;       // the Ethernet segment identifier (10), if the type is 1 or 4
    Octets mac;           // 6, if the type is 2
    U8 addressBits = 0;   // of the address or prefix, unless the type is 1
    Octets address;       // 4, 16 or, if the type is 2, none

    /// All octets that identify a route of this type. The others may differ between a route and its
    /// withdrawal: labels, the gateway of type 5, the segment of types 2 and 5.
    std::array<Octets, 2> identity;
};

/// Reads the route, which begins with its type and length. Returns false if the type is another
/// one, or the octets are not those of one route.
bool readEvpnRoute(Octets octets, EvpnRoute& route);

/// Appends what identifies the route, as routers print it:
///
///     64496:1:[1]:[TAG]:[SEGMENT]
///     64496:1:[2]:[TAG]:[48]:[00:00:5e:00:53:01]:[32]:[192.0.2.1]
///     64496:1:[2]:[TAG]:[48]:[00:00:5e:00:53:01]:[0]
///     64496:1:[3]:[TAG]:[32]:[192.0.2.1]
///     64496:1:[4]:[SEGMENT]:[32]:[192.0.2.1]
///     64496:1:[5]:[TAG]:[24]:[192.0.2.0]
void appendText(std::string& out, EvpnRoute const& route);

} // namespace BgpCommunities
