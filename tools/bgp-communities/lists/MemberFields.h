#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "wire/PathAttributes.h"

namespace BgpCommunities {

// What the octets of one community say, without an object for it. REQUIRES: `octets` is one member
// of a list of that kind, as on the wire.

/**
 * The AS number that a community starts with: the upper half of a standard one, the global
 * administrator of a large one and of an extended one of an AS-specific type (RFC 4360, RFC 5668).
 * None for other types, and none for the reserved numbers 0 and 65535 of standard communities
 * (RFC 1997).
 */
std::optional<std::uint32_t> administratorAs(CommunityKind kind, std::string_view octets);

/** Whether it is a route target (RFC 4360, section 4; RFC 5701). */
bool isRouteTarget(CommunityKind kind, std::string_view octets);

} // namespace BgpCommunities
