#pragma once

#include <span>
#include <string>
#include <vector>

#include "StatsSections.h"

namespace BgpCommunities {

/** What a report shows; a plain value. */
struct ReportContent {
    std::vector<std::string> files; // as they were given
    StatsSections sections;         // grouped by peer, AS, family and hour
    bool hasMeanings = false;       // of communities, from a dictionary
    std::vector<TargetUse> targets; // most routes first
    std::size_t top = 0;            // rows of a table
};

/**
 * A page of HTML that needs nothing else: charts as SVG, tables, styles for light and dark, and a
 * script that sorts tables. It is complete without the script. Text of dumps is escaped.
 */
std::string reportPage(ReportContent const& content);

} // namespace BgpCommunities
