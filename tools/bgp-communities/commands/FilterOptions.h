#pragma once

#include <array>
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

inline constexpr std::string_view familyNames[] = {
    "ipv4",     "ipv6",     "ipv4-unicast", "ipv6-unicast",
    "ipv4-vpn", "ipv6-vpn", "l2vpn-evpn"}; // examples for completions
inline constexpr auto kindNames = [] {
    std::array<std::string_view, communityKinds> names;
    for (std::size_t kind = 0; kind < communityKinds; ++kind) {
        names[kind] = communityKindTraits[kind].key;
    }
    return names;
}();

/// Returns the filter given by the options. Throws UsageError.
RouteFilter routeFilter(Arguments const& arguments);

} // namespace BgpCommunities
