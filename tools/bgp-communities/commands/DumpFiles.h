#pragma once

#include <span>
#include <string>
#include <string_view>

#include "CommandLine.h"
#include "input/IntegerTypes.h"
#include "lists/DumpHandler.h"
#include "mrt/MrtCounts.h"
#include "text/ExitStatus.h"
#include "wire/AddPath.h"

namespace BgpCommunities {

/// The result of reading dumps.
struct DumpResult {
    U64 files = 0;    // opened successfully
    MrtCounts counts; // of all files
    ExitStatus status = ExitStatus::allRead;
};

inline constexpr std::string_view addPathValues[] = {"yes", "no", "auto"};
/// Option of every command that reads dumps. Its default value is "yes".
inline constexpr Option addPathOption = {"--add-path", Takes::optional, addPathValues};

/// The dumps to read. Refers to the arguments of the process.
struct DumpInput {
    std::span<std::string_view const> files; // at least one; "-" is standard input
    AddPath addPath = AddPath::automatic;

    /// Takes the files from the operands, or standard input without operands. Throws UsageError if
    /// that is a terminal.
    explicit DumpInput(Arguments const& arguments);
};

/// Reads dumps in order. Problems are reported on standard error; reading continues.
DumpResult readDumps(DumpInput const& input, DumpHandler& handler);

} // namespace BgpCommunities
