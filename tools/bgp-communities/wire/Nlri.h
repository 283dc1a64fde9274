#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "IpAddress.h"
#include "input/OctetReader.h"

namespace BgpCommunities {

/** An address family and its subsequent one (RFC 4760), by their registered numbers. */
struct Family {
    std::uint16_t afi = 0;
    std::uint8_t safi = 0;

    bool operator==(Family const&) const = default;
};

inline constexpr std::uint16_t afiIpv4 = 1;
inline constexpr std::uint16_t afiIpv6 = 2;
inline constexpr std::uint8_t safiUnicast = 1;
inline constexpr std::uint8_t safiMulticast = 2;
inline constexpr std::uint8_t safiLabelled = 4;
inline constexpr std::uint8_t safiVpn = 128;

inline constexpr Family ipv4Unicast = {afiIpv4, safiUnicast};

/**
 * What one piece of NLRI names: a prefix, or the octets of a family that is not taken apart.
 *
 * A plain value that owns nothing: its spans point into the record that it was read from, and are
 * good for as long as the handler that was given it runs. Thread-compatible.
 * What never changes: `address` is zero beyond the first `length` bits, whatever the sender left
 * there; so two routes are the same one if family, path identifier, distinguisher, length and
 * address are equal. Octets are in network order, lengths in bits.
 */
struct Route {
    Family family;
    bool isPrefix = false;
    bool hasPathId = false;                      // additional-path form (RFC 7911)
    bool trailingBits = false;                   // the sender set bits beyond `length`
    bool inMessage = false; // of an UPDATE itself, not of a multiprotocol attribute (RFC 4760)
    std::uint8_t length = 0;                     // of the prefix: without labels and distinguisher
    std::uint32_t pathId = 0;                    // if hasPathId
    IpAddress address;                           // if isPrefix
    std::array<std::uint8_t, 8> distinguisher{}; // SAFI 128 (RFC 4364)
    Octets labels; // SAFI 4 and 128: 3 octets each, as sent (RFC 8277)
    Octets opaque; // if not isPrefix: all that was announced or withdrawn
};

/** The value of MP_REACH_NLRI or MP_UNREACH_NLRI (RFC 4760), taken apart. */
struct MpNlri {
    Family family;
    Octets nlri;
};

/** False if the value is too short. */
bool splitMpReach(Octets value, MpNlri& mp);
bool splitMpUnreach(Octets value, MpNlri& mp);

/** How the NLRI of one message is to be read: nothing in the octets themselves says so. */
struct NlriForm {
    Family family;
    bool pathIds = false;
    bool withdrawn = false;
    bool inMessage = false; // as in Route
};

/**
 * Reads NLRI to its end and appends its routes; families other than IPv4 and IPv6 unicast,
 * multicast, labelled and VPN become one opaque route.
 *
 * Returns what is wrong, or nothing; the routes before the fault have been appended.
 */
std::string_view readRoutes(Octets nlri, NlriForm const& form, std::vector<Route>& routes);

/**
 * Reads the one piece of NLRI that is next, of any family whose pieces tell their own length.
 *
 * Returns what is wrong, or nothing.
 */
std::string_view readRoute(OctetReader& in, NlriForm const& form, Route& route);

/**
 * Makes `route` the first `length` bits of an address (4 or 16 octets) of a unicast or multicast
 * family.
 *
 * Returns what is wrong, or nothing.
 */
std::string_view makePrefix(Family family, Octets address, std::uint8_t length, Route& route);

/** An IPv4 or IPv6 prefix; a plain value, thread-compatible. The address is zero beyond the first
    `length` bits. */
struct Prefix {
    IpAddress address;
    std::uint8_t length = 0;
};

/**
 * Reads "192.0.2.0/24" or "2001:db8::/32".
 *
 * Returns what is wrong, or nothing.
 */
std::string_view readPrefix(std::string_view text, Prefix& prefix);

/** Whether `route` is of this prefix or one inside it; whatever its labels and distinguisher. */
bool contains(Prefix const& prefix, Route const& route);
/** Whether the address is inside the prefix. */
bool contains(Prefix const& prefix, IpAddress const& address);
/** Whether `prefix`, which may be one address, is inside the prefix of `route`. */
bool covers(Route const& route, Prefix const& prefix);

/** The pieces of NLRI of this family tell their own length in a way known to `readRoute`. */
bool hasKnownPieces(Family family);
/** The routes of this family are prefixes, which `readRoutes` takes apart. */
bool hasPrefixes(Family family);

/** Appends "192.0.2.0/24", "2001:db8::/32", "64496:1:192.0.2.0/24" (with its route
    distinguisher), or "25/70:" and hexadecimal digits; labels and path identifier are not told. */
void appendText(std::string& out, Route const& route);
/** Appends a route distinguisher of 8 octets (RFC 4364): "64496:1", "192.0.2.1:7". */
void appendDistinguisher(std::string& out, Octets octets);
/** Appends "IPv4 unicast", "IPv6 VPN", ..., or the two numbers, "25/70". */
void appendText(std::string& out, Family family);

} // namespace BgpCommunities
