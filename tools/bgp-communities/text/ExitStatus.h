#pragma once

#include <algorithm>

namespace BgpCommunities {

/// The exit status of the program, from best to worst.
enum class ExitStatus : int {
    allRead = 0,
    malformed = 1,  // some input was malformed; reported, the rest was read
    usage = 2,      // invalid command line; nothing was read
    unreadable = 3, // some input could not be read, or some output not written
};

constexpr ExitStatus worse(ExitStatus a, ExitStatus b) {
    return std::max(a, b);
}

} // namespace BgpCommunities
