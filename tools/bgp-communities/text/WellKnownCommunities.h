#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace BgpCommunities {

/** The name of a standard community in IANA's registry of well-known communities, in lower case
    with dashes; empty if it has none. */
std::string_view wellKnownName(std::uint32_t community);

/** The community with that name, in any case and with dashes or underscores. */
std::optional<std::uint32_t> wellKnownCommunity(std::string_view name);

/** A name in the form in which the program knows it: lower case, dashes for underscores. */
std::string normalizedName(std::string_view name);

} // namespace BgpCommunities
