#pragma once

#include "CommandLine.h"

namespace BgpCommunities {

/** `show`: the lists that another process left in a store. */
extern Command const showCommand;

} // namespace BgpCommunities
