#pragma once

#include <string_view>

#include "CommandLine.h"
#include "lists/RouteFilter.h"

namespace BgpCommunities {

inline constexpr std::string_view kindOption = "--kind";
inline constexpr std::string_view matchOption = "--match";
inline constexpr std::string_view communityOption = "--community";
inline constexpr std::string_view prefixOption = "--prefix";

/** The filter that the options of a command line describe. Throws UsageError. */
RouteFilter routeFilter(Arguments const& arguments);

} // namespace BgpCommunities
