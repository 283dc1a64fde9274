#pragma once

#include "CommandLine.h"

namespace BgpCommunities {

/** `stash`: the distinct lists of dumps into a store, for other processes to map. */
extern Command const stashCommand;

} // namespace BgpCommunities
