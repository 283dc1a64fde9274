#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <vector>

#include "StatsSections.h"

namespace BgpCommunities {

/// Appends one JSON object.
void writeStatsJson(std::string& out, StatsSections const& sections);
/// Appends tables and bars as text. Tables and bars fit in `width`; other lines may be longer.
void writeStatsText(std::string& out, StatsSections const& sections, TerminalWidth width);

/// The lists in a range of lengths.
struct LengthRange {
    std::string name; // "3", "17-32", ">1024"
    LengthCount count;
};

/// Returns the ranges 1, 2, 3-4, 5-8, ... up to the longest list.
std::vector<LengthRange> lengthRanges(std::map<std::size_t, LengthCount> const& lengths);

} // namespace BgpCommunities
