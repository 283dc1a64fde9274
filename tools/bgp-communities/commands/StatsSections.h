#pragma once

#include <array>
#include <string>
#include <vector>

#include "DumpFiles.h"
#include "input/IntegerTypes.h"
#include "lists/RouteTally.h"
#include "text/Counts.h"
#include "text/Dictionary.h"

namespace BgpCommunities {

/// The options of `stats`.
struct StatsOptions {
    static constexpr std::size_t defaultTop = 10;

    std::size_t top = defaultTop; // number of most used values, lists and groups
    std::vector<GroupBy> groupings;
    Dictionary dictionary;
};

/// A row of a grouping.
struct StatsGroup {
    GroupCounts group;
    NamedCounts named;
};

/// The groups of one grouping.
struct StatsGrouping {
    GroupBy by;
    U64 groups = 0;               // total number
    std::vector<StatsGroup> rows; // the first ones; all hours
};

/// The results of `stats` and `report`, in the order of their output.
struct StatsSections {
    Counts whole;
    std::vector<NamedCounts> kinds;     // by CommunityKind
    std::vector<NamedCounts> interning; // by CommunityKind, then the total
    std::array<InternedKind, communityKinds> interned;
    std::vector<StatsGrouping> groupings;
    U64 records = 0;
    U64 routes = 0;
    double seconds = 0; // time to read the dumps
};

StatsSections statsSections(DumpResult const& result, RouteTally const& tally,
                            StatsOptions const& options, double seconds);

/// "2024-01-01T12:00:00Z"
std::string hourText(U32 hour);

} // namespace BgpCommunities
