#pragma once

#include <optional>
#include <string_view>

#include "input/IntegerTypes.h"
#include "wire/PathAttributes.h"

namespace BgpCommunities {

// Fields of a community, read from its octets. REQUIRES: `octets` is one member of this kind, as on
// the wire.

/// Returns the AS number of the administrator: the upper half of a standard community, the global
/// administrator of a large one or of an AS-specific extended one (RFC 4360, RFC 5668). Returns
/// none for other types, and for the reserved numbers 0 and 65535 of standard communities (RFC
/// 1997).
std::optional<U32> administratorAs(CommunityKind kind, std::string_view octets);

/// Whether the community is a route target (RFC 4360, section 4; RFC 5701).
bool isRouteTarget(CommunityKind kind, std::string_view octets);

} // namespace BgpCommunities
