#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "input/IntegerTypes.h"

namespace BgpCommunities {

/// Returns the name in IANA's registry of well-known communities, in lower case with dashes; empty
/// if not registered.
std::string_view wellKnownName(U32 community);

/// Returns the community with this name, in any case and with dashes or underscores.
std::optional<U32> wellKnownCommunity(std::string_view name);

/// Returns the name in lower case, with dashes for underscores.
std::string normalizedName(std::string_view name);

} // namespace BgpCommunities
