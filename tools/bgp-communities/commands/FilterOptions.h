#pragma once

#include <string_view>

#include "CommandLine.h"
#include "lists/RouteFilter.h"

namespace BgpCommunities {

inline constexpr std::string_view kindOption = "--kind";
inline constexpr std::string_view matchOption = "--match";
inline constexpr std::string_view communityOption = "--community";
inline constexpr std::string_view prefixOption = "--prefix";
inline constexpr std::string_view exactOption = "--exact";
inline constexpr std::string_view coversOption = "--covers";
inline constexpr std::string_view sinceOption = "--since";
inline constexpr std::string_view untilOption = "--until";
inline constexpr std::string_view peerOption = "--peer";
inline constexpr std::string_view originAsOption = "--origin-as";
inline constexpr std::string_view asPathOption = "--as-path";
inline constexpr std::string_view familyOption = "--family";
inline constexpr std::string_view announcedOption = "--announced";
inline constexpr std::string_view withdrawnOption = "--withdrawn";

/** The filter that the options of a command line describe. Throws UsageError. */
RouteFilter routeFilter(Arguments const& arguments);

} // namespace BgpCommunities
