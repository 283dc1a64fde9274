#include "WellKnownCommunities.h"

#include <algorithm>

namespace BgpCommunities {

namespace {

struct WellKnown {
    U32 community;
    std::string_view name;
};

/// Sorted. If a community has several names, the first one is printed.
constexpr WellKnown wellKnown[] = {
    {0xffff0000, "graceful-shutdown"}, // RFC 8326
    {0xffff0000, "gshut"},
    {0xffff0001, "accept-own"}, // RFC 7611
    {0xffff0002, "route-filter-translated-v4"},
    {0xffff0003, "route-filter-v4"},
    {0xffff0004, "route-filter-translated-v6"},
    {0xffff0005, "route-filter-v6"},
    {0xffff0006, "llgr-stale"}, // RFC 9494
    {0xffff0007, "no-llgr"},    // RFC 9494
    {0xffff0008, "accept-own-nexthop"},
    {0xffff0009, "standby-pe"},          // RFC 9026
    {0xffff029a, "blackhole"},           // RFC 7999
    {0xffffff01, "no-export"},           // RFC 1997
    {0xffffff02, "no-advertise"},        // RFC 1997
    {0xffffff03, "no-export-subconfed"}, // RFC 1997
    {0xffffff03, "local-as"},
    {0xffffff04, "nopeer"}, // RFC 3765
    {0xffffff04, "no-peer"},
};

} // namespace

std::string_view wellKnownName(U32 community) {
    auto const* const found =
        std::find_if(std::begin(wellKnown), std::end(wellKnown),
                     [community](WellKnown const& known) { return known.community == community; });
    return found == std::end(wellKnown) ? std::string_view() : found->name;
}

std::optional<U32> wellKnownCommunity(std::string_view name) {
    std::string const normalized = normalizedName(name);
    auto const* const found =
        std::find_if(std::begin(wellKnown), std::end(wellKnown),
                     [&](WellKnown const& known) { return known.name == normalized; });
    return found == std::end(wellKnown) ? std::nullopt : std::optional(found->community);
}

std::string normalizedName(std::string_view name) {
    std::string out(name);
    for (char& character : out) {
        if (character >= 'A' && character <= 'Z') {
            character = static_cast<char>(character - 'A' + 'a');
        } else if (character == '_') {
            character = '-';
        }
    }
    return out;
}

} // namespace BgpCommunities
