#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace BgpCommunities {

/// Returns the name in IANA's registry of well-known communities, in lower case with dashes; empty
/// if not registered.
std::string_view wellKnownName(std::uint32_t community);

/// Returns the community with this name, in any case and with dashes or underscores.
std::optional<std::uint32_t> wellKnownCommunity(std::string_view name);

/// Returns the name in lower case, with dashes for underscores.
std::string normalizedName(std::string_view name);

} // namespace BgpCommunities
