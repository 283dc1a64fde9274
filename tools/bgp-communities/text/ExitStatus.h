#pragma once

#include <algorithm>

namespace BgpCommunities {

/** What the program tells its caller in the end, from good to bad. */
enum class ExitStatus : int {
    allRead = 0,
    malformed = 1,  // some input was: it has been named, the rest has been read
    usage = 2,      // the command line makes no sense; nothing has been read
    unreadable = 3, // something could not be read, or not written, or not as it must be
};

constexpr ExitStatus worse(ExitStatus a, ExitStatus b) {
    return std::max(a, b);
}

} // namespace BgpCommunities
