#include <algorithm>
#include <csignal>
#include <exception>
#include <new>
#include <span>
#include <string>
#include <string_view>

#include "commands/CommandLine.h"
#include "commands/Commands.h"
#include "text/Output.h"
#include "text/StandardError.h"

namespace {

using namespace BgpCommunities;

constexpr std::string_view helpHead =
    R"(usage: bgp-communities COMMAND [OPTION...] [ARGUMENT...]
       bgp-communities COMMAND --help | bgp-communities help [COMMAND]
       bgp-communities --help | --version

Reads the communities of BGP routes from MRT dumps, from routers and from single path attributes.

commands:
)";

constexpr std::string_view helpTail = R"(
exit status:
  0  success
  1  some input was malformed; it is reported on standard error or in the output
  2  invalid command line
  3  some input or output failed, other files were read; or roundtrip or replay found an error in
     the library

examples:
  bgp-communities decode 0002fde800000064
  bgp-communities read updates.20240101.0000.gz
  bgp-communities stats --json rib.bz2
  bgp-communities replay --targets rib.bz2 updates.*.gz
)";

std::string help() {
    std::string text(helpHead);
    for (Command const* const command : allCommands()) {
        std::string name(command->name);
        name.resize(13, ' ');
        text.append("  ").append(name).append(command->summary).append("\n");
    }
    return text.append(helpTail);
}

Command const& find(std::string_view name) {
    auto const commands = allCommands();
    auto const found = std::find_if(commands.begin(), commands.end(),
                                    [&](Command const* command) { return command->name == name; });
    if (found == commands.end()) {
        throw UsageError("unknown command \"" + std::string(name) + "\"");
    }
    return **found;
}

/// `help` and `help COMMAND`.
void writeHelp(std::span<char const* const> arguments, Output& output) {
    if (arguments.size() > 1) {
        throw UsageError("help takes one COMMAND");
    }
    output.text() += arguments.empty() ? help() : std::string(find(arguments[0]).help);
}

/// Returns the command line that prints the relevant help.
std::string helpFor(std::span<char const* const> arguments) {
    std::string const program = "bgp-communities ";
    auto const commands = allCommands();
    bool const known = !arguments.empty() &&
                       std::any_of(commands.begin(), commands.end(), [&](Command const* command) {
                           return command->name == arguments[0];
                       });
    return program + (known ? std::string(arguments[0]) + " " : "") + "--help";
}

ExitStatus run(std::span<char const* const> arguments, Output& output) {
    if (arguments.empty()) {
        throw UsageError("missing COMMAND");
    }
    std::string_view const first = arguments[0];
    if (first == helpOption || first == "-h") {
        output.text() += help();
        return ExitStatus::allRead;
    }
    if (first == "--version") {
        output.text() += "bgp-communities " BGP_COMMUNITIES_VERSION "\n";
        return ExitStatus::allRead;
    }
    if (first == "help") {
        writeHelp(arguments.subspan(1), output);
        return ExitStatus::allRead;
    }
    Command const& command = find(first);
    Arguments const parsed(command.options, arguments.subspan(1));
    if (parsed.has(helpOption)) {
        output.text() += command.help;
        return ExitStatus::allRead;
    }
    return command.run(parsed, output);
}

ExitStatus guarded(std::span<char const* const> arguments) try {
    Output output;
    ExitStatus const status = run(arguments, output);
    output.flush();
    return status;
} catch (UsageError const& error) {
    complain(std::string(error.what()) + " (" + helpFor(arguments) + ")");
    return ExitStatus::usage;
} catch (BrokenPipe const&) {
    return ExitStatus::allRead;
} catch (std::bad_alloc const&) {
    complainOfMemory();
    return ExitStatus::unreadable;
} catch (std::exception const& error) {
    complain(error.what());
    return ExitStatus::unreadable;
}

} // namespace

int main(int argc, char** argv) {
    // A closed output pipe is a write error, not a signal.
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN); // likewise a file size limit
    installInterrupts();
    std::span<char const* const> const arguments(argv, static_cast<std::size_t>(argc));
    return static_cast<int>(guarded(arguments.subspan(std::min<std::size_t>(arguments.size(), 1))));
}
