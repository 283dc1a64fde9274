#pragma once

#include <string>
#include <vector>

#include "StatsSections.h"

namespace BgpCommunities {

/// The content of a report.
struct ReportContent {
    std::vector<std::string> files; // as given on the command line
    StatsSections sections;         // grouped by peer, AS, family and hour
    bool hasMeanings = false;       // there is a dictionary
    std::vector<TargetUse> targets; // in descending order of routes
    std::size_t top = 0;            // maximum rows of a table
};

/// Returns a self-contained HTML page: SVG charts, tables, light and dark styles, and an optional
/// script that sorts tables. Untrusted text is escaped.
std::string reportPage(ReportContent const& content);

} // namespace BgpCommunities
