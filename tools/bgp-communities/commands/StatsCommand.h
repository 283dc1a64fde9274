#pragma once

#include "CommandLine.h"

namespace BgpCommunities {

/** `stats`: what dumps hold, counted. */
extern Command const statsCommand;

} // namespace BgpCommunities
