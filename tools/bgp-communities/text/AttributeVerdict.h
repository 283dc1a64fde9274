#pragma once

#include <cstddef>
#include <string>

#include <VoBgp/CommunityTables.h>

#include "wire/PathAttributes.h"

namespace BgpCommunities {

/// The length field of a path attribute has two octets (RFC 4271, section 4.3).
inline constexpr std::size_t maxAttributeOctets = 65535;

/// Why the library refuses a value of `octets` octets; empty if it was accepted.
std::string verdictText(Routing::Bgp::AttributeVerdict verdict, CommunityKind kind,
                        std::size_t octets);

} // namespace BgpCommunities
