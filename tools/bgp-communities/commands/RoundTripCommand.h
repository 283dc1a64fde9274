#pragma once

#include "CommandLine.h"

namespace BgpCommunities {

/** `roundtrip`: what comes in as an attribute goes out as its members demand. */
extern Command const roundTripCommand;

} // namespace BgpCommunities
