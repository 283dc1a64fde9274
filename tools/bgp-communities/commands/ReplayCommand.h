#pragma once

#include "CommandLine.h"

namespace BgpCommunities {

/** `replay`: dumps applied to a table of routes, and what the library held meanwhile. */
extern Command const replayCommand;

} // namespace BgpCommunities
