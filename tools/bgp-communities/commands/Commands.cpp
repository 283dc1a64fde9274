#include "Commands.h"

#include <array>

namespace BgpCommunities {

std::span<Command const* const> allCommands() {
    static constexpr auto commands = std::to_array<Command const*>({
        &decodeCommand,
        &readCommand,
        &statsCommand,
        &roundTripCommand,
        &replayCommand,
        &listenCommand,
        &sendCommand,
        &stashCommand,
        &showCommand,
        &mergeCommand,
        &diffCommand,
        &exportCommand,
        &reportCommand,
        &typesCommand,
        &completionsCommand,
    });
    return commands;
}

} // namespace BgpCommunities
