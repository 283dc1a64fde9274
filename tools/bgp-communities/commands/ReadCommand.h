#pragma once

#include "CommandLine.h"

namespace BgpCommunities {

/** `read`: the communities of each route of dumps. */
extern Command const readCommand;

} // namespace BgpCommunities
