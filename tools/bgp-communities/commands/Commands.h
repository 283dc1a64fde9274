#pragma once

#include <span>

#include "CommandLine.h"

namespace BgpCommunities {

// The commands, one per source, in the order of --help.

extern Command const decodeCommand;
extern Command const readCommand;
extern Command const statsCommand;
extern Command const roundTripCommand;
extern Command const replayCommand;
extern Command const listenCommand;
extern Command const sendCommand;
extern Command const stashCommand;
extern Command const showCommand;
extern Command const mergeCommand;
extern Command const diffCommand;
extern Command const exportCommand;
extern Command const reportCommand;
extern Command const typesCommand;
extern Command const completionsCommand;

/// All commands.
std::span<Command const* const> allCommands();

} // namespace BgpCommunities
