#pragma once

#include <span>
#include <string>

#include "Nlri.h"
#include "RouteAttributes.h"

namespace BgpCommunities {

/// A family that an OPEN offers.
struct FamilyOffer {
    Family family;
    bool pathIds = false; // to be sent and received (RFC 7911)
};

/// Appends an OPEN (RFC 4271, section 4.2) with its header; the families and a four-octet AS number
/// are its capabilities. REQUIRES: at most 16 families.
void appendOpen(std::string& out, U32 as, U32 bgpId, std::span<FamilyOffer const> families);

/// Appends the body of an UPDATE that announces the route of an entry of a table dump. The next hop
/// is that of the entry, whose MP_REACH_NLRI may be shortened (RFC 6396, section 4.3.4). If
/// `pathIds`, the route has a path identifier. Returns false and appends nothing if the message
/// would be too long.
bool appendUpdate(std::string& out, Route const& route, Octets attributes, bool pathIds);

/// Appends the body of an UPDATE that is the End-of-RIB marker of the family (RFC 4724).
void appendEndOfRib(std::string& out, Family family);

} // namespace BgpCommunities
