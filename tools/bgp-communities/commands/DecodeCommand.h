#pragma once

#include "CommandLine.h"

namespace BgpCommunities {

/** `decode`: what the values of path attributes say. */
extern Command const decodeCommand;

} // namespace BgpCommunities
