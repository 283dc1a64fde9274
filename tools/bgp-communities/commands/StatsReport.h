#pragma once

#include <string>

#include "DumpFiles.h"
#include "lists/ListCounter.h"

namespace BgpCommunities {

/** All that `stats` has found out; the parts are the caller's, and do not change. */
struct StatsReport {
    DumpResult const& result;
    ListCounter const& counter;
    double seconds = 0; // that the reading took

    /** Appends one JSON object. */
    void writeJson(std::string& out) const;
    /** Appends tables for people. */
    void writeText(std::string& out) const;
};

} // namespace BgpCommunities
