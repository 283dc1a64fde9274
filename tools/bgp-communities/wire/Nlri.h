#pragma once

#include <array>
#include <string>
#include <string_view>
#include <vector>

#include "IpAddress.h"
#include "input/IntegerTypes.h"
#include "input/OctetReader.h"

namespace BgpCommunities {

/// An address family and its subsequent one (RFC 4760), by their registered numbers.
struct Family {
    U16 afi = 0;
    U8 safi = 0;

    bool operator==(Family const&) const = default;
};

inline constexpr U16 afiIpv4 = 1;
inline constexpr U16 afiIpv6 = 2;
inline constexpr U8 safiUnicast = 1;
inline constexpr U8 safiMulticast = 2;
inline constexpr U8 safiLabelled = 4;
inline constexpr U8 safiVpn = 128;

inline constexpr Family ipv4Unicast = {afiIpv4, safiUnicast};

/// One route of an NLRI field: a prefix, or opaque octets if the family is not parsed.
///
/// Owns nothing: its spans point into the record and are valid until the handler returns. `address`
/// is zero beyond the first `length` bits, so two routes are the same if family, path identifier,
/// distinguisher, length and address are equal. Octets are in network order, lengths in bits.
struct Route {
    Family family;
    bool isPrefix = false;
    bool hasPathId = false;    // additional-path form (RFC 7911)
    bool trailingBits = false; // the sender set bits beyond `length`
    bool inMessage = false;    // in the UPDATE itself, not in a multiprotocol attribute (RFC 4760)
    U8 length = 0;             // of the prefix, without labels and distinguisher
    U32 pathId = 0;            // if hasPathId
    IpAddress address;         // if isPrefix
    std::array<U8, 8> distinguisher{}; // SAFI 128 (RFC 4364)
    Octets labels;                     // SAFI 4 and 128: 3 octets each, as sent (RFC 8277)
    Octets opaque;                     // if not isPrefix: the whole NLRI
};

/// The parsed value of MP_REACH_NLRI or MP_UNREACH_NLRI (RFC 4760).
struct MpNlri {
    Family family;
    Octets nlri;
};

/// Returns false if the value is too short.
bool splitMpReach(Octets value, MpNlri& mp);
bool splitMpUnreach(Octets value, MpNlri& mp);

/// How to parse an NLRI field; its octets do not encode this.
struct NlriForm {
    Family family;
    bool pathIds = false;
    bool withdrawn = false;
    bool inMessage = false; // as in Route
};

/// Parses an NLRI field and appends its routes. For families whose routes cannot be delimited,
/// appends one opaque route.
///
/// Returns an error message, empty on success. Routes before the error are appended.
std::string_view readRoutes(Octets nlri, NlriForm const& form, std::vector<Route>& routes);

/// Parses the next route of an NLRI field. If the routes of the family cannot be delimited, takes
/// all octets.
///
/// Returns an error message, empty on success.
std::string_view readRoute(OctetReader& in, NlriForm const& form, Route& route);

/// Sets `route` to the first `length` bits of an address (4 or 16 octets) in a unicast or multicast
/// family.
///
/// Returns an error message, empty on success.
std::string_view makePrefix(Family family, Octets address, U8 length, Route& route);

/// An IPv4 or IPv6 prefix. The address is zero beyond the first `length` bits.
struct Prefix {
    IpAddress address;
    U8 length = 0;
};

/// Reads "192.0.2.0/24" or "2001:db8::/32".
///
/// Returns an error message, empty on success.
std::string_view readPrefix(std::string_view text, Prefix& prefix);

/// Whether the prefix of `route` is `prefix` or inside it, regardless of labels and distinguisher.
bool contains(Prefix const& prefix, Route const& route);
/// Whether the address is inside the prefix.
bool contains(Prefix const& prefix, IpAddress const& address);
/// Whether `prefix`, possibly a single address, is inside the prefix of `route`.
bool covers(Route const& route, Prefix const& prefix);

/// Whether `readRoute` can delimit the routes of this family.
bool hasKnownPieces(Family family);
/// Whether the routes of this family are prefixes.
bool hasPrefixes(Family family);

/// Returns the octets that identify a route within its family, apart from the path identifier and
/// the length of a prefix (RFC 4271, RFC 4364, RFC 7432). Some may be empty.
std::array<Octets, 3> identityOf(Route const& route);

/// Appends "192.0.2.0/24", "2001:db8::/32", "64496:1:192.0.2.0/24" (with its route distinguisher),
/// an EVPN route as in EvpnRoute.h, or "1/132:" and hexadecimal digits. Labels and path identifier
/// are omitted.
void appendText(std::string& out, Route const& route);
/// Appends a route distinguisher of 8 octets (RFC 4364): "64496:1", "192.0.2.1:7".
void appendDistinguisher(std::string& out, Octets octets);
/// Appends "IPv4 unicast", "L2VPN EVPN", ..., or AFI and SAFI as "1/241".
void appendText(std::string& out, Family family);

} // namespace BgpCommunities
