#pragma once

#include "CommandLine.h"

namespace BgpCommunities {

/** `types`: what the library knows of its own types. */
extern Command const typesCommand;

} // namespace BgpCommunities
