#pragma once

#include <cstddef>
#include <string>

#include <VoBgp/CommunityTables.h>

#include "wire/PathAttributes.h"

namespace BgpCommunities {

/** The length of a path attribute is two octets (RFC 4271, section 4.3). */
inline constexpr std::size_t maxAttributeOctets = 65535;

/** Why the library has no list for a value of so many octets; empty if it has one. */
std::string verdictText(Routing::Bgp::AttributeVerdict verdict, CommunityKind kind,
                        std::size_t octets);

} // namespace BgpCommunities
