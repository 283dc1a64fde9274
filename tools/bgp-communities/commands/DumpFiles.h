#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "CommandLine.h"
#include "lists/DumpHandler.h"
#include "mrt/MrtCounts.h"
#include "text/ExitStatus.h"
#include "wire/AddPath.h"

namespace BgpCommunities {

/** What the reading of the dumps of a command came to; a plain value. */
struct DumpResult {
    std::uint64_t files = 0; // that could be opened
    MrtCounts counts;        // of all of them
    ExitStatus status = ExitStatus::allRead;
};

inline constexpr std::string_view addPathValues[] = {"yes", "no", "auto"};
/** Of every command that reads dumps. Without a value: yes. */
inline constexpr Option addPathOption = {"--add-path", Takes::optional, addPathValues};

/** What a command reads, and how; a plain value. The names are the process's own. */
struct DumpInput {
    std::span<std::string_view const> files; // at least one; "-" is standard input
    AddPath addPath = AddPath::automatic;

    /** The files that are named, or standard input unless that is a terminal (then UsageError). */
    explicit DumpInput(Arguments const& arguments);
};

/**
 * Reads one dump after the other. What is wrong is named on standard error and does not keep the
 * rest from being read.
 */
DumpResult readDumps(DumpInput const& input, DumpHandler& handler);

} // namespace BgpCommunities
