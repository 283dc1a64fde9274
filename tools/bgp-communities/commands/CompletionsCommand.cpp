#include "Commands.h"

#include <algorithm>
#include <string>
#include <string_view>

#include "text/Output.h"

namespace BgpCommunities {

namespace {

constexpr std::string_view shells[] = {"bash", "zsh"};

constexpr std::string_view completionsHelp =
    R"(usage: bgp-communities completions bash|zsh

Prints the completion script of bgp-communities for a shell. It completes commands, options and
values. The script is installed with the program.

examples:
  source <(bgp-communities completions bash)
)";

// ---- Help of options ----------------------------------------------------------------------------

/// The help text of an option: " --top N the N most used values; ...".
struct OptionHelp {
    std::string_view value; // "N"
    std::string summary;    // the first phrase of the description: "the N most used values"
};

std::string_view taken(std::string_view& text, std::string_view end) {
    std::string_view const before = text.substr(0, text.find(end));
    text.remove_prefix(std::min(text.size(), before.size() + end.size()));
    return before;
}

/// Removes blanks, and the brackets of "[=HOW]".
std::string_view unbracketed(std::string_view text) {
    text.remove_prefix(std::min(text.find_first_not_of(" =["), text.size()));
    return text.substr(0, text.find_last_not_of(" ]") + 1);
}

OptionHelp helpOf(Command const& command, Option const& option) {
    OptionHelp found;
    std::string_view text = command.help;
    taken(text, "\n  " + std::string(option.name));
    std::string_view line = taken(text, "\n");
    found.value = unbracketed(taken(line, "  "));
    found.summary = unbracketed(line);
    while (text.starts_with("      ")) {
        found.summary.append(found.summary.empty() ? "" : " ");
        found.summary += unbracketed(taken(text, "\n"));
    }
    for (std::string_view const end : {": ", "; ", ". ", " ("}) {
        found.summary.resize(std::min(found.summary.find(end), found.summary.size()));
    }
    return found;
}

std::string joined(std::span<std::string_view const> words) {
    std::string all;
    for (std::string_view const word : words) {
        all.append(all.empty() ? "" : " ").append(word);
    }
    return all;
}

// ---- bash ---------------------------------------------------------------------------------------

constexpr std::string_view bashHead = R"(# Completion of bgp-communities for bash.

_bgp_communities() {
    local word=$2 before=$3 words= files=
    if [[ $word == = ]]; then # --name=
        word=
        before=${COMP_WORDS[COMP_CWORD - 1]}
    elif [[ $before == = ]]; then # --name=value
        before=${COMP_WORDS[COMP_CWORD - 2]}
    fi
    case $COMP_CWORD,${COMP_WORDS[1]},$before in
)";

constexpr std::string_view bashTail = R"(    esac
    mapfile -t COMPREPLY < <(compgen -W "$words" -- "$word"; [[ ! $files ]] || compgen -f -- "$word")
    [[ ! $files ]] || compopt -o filenames
}

complete -F _bgp_communities bgp-communities
)";

void appendBashCase(std::string& out, std::string_view pattern, std::string_view words,
                    bool files) {
    out.append("        ").append(pattern).append(") ");
    out.append("words=\"").append(words).append("\"").append(files ? " files=1" : "");
    out += " ;;\n";
}

void appendBash(std::string& out) {
    out += bashHead;
    std::string names;
    for (Command const* const command : allCommands()) {
        names.append(command->name).append(" ");
    }
    appendBashCase(out, "1,*", names + "help --help --version", false);
    appendBashCase(out, "2,help,*", names, false);
    for (Command const* const command : allCommands()) {
        std::string const head = "*," + std::string(command->name) + ",";
        std::string options;
        for (Option const& option : command->options) {
            options.append(option.name).append(" ");
            if (option.takes != Takes::nothing) {
                appendBashCase(out, head + std::string(option.name), joined(option.values),
                               option.takes != Takes::value);
            }
        }
        out.append("        ").append(head).append("*)\n");
        out += "            if [[ $word == -* ]]; then words=\"" + options + "--help\"; else ";
        out += "words=\"" + joined(command->operands.values) + "\"";
        out += command->operands.takes == Takes::file ? " files=1" : "";
        out += "; fi ;;\n";
    }
    out += bashTail;
}

// ---- zsh ----------------------------------------------------------------------------------------

constexpr std::string_view zshHead = R"(#compdef bgp-communities
# Completion of bgp-communities for zsh.

local context state line
local -a commands options
local -A opt_args
)";

constexpr std::string_view zshMiddle = R"(
_arguments -C \
    '(- *)--help[print the help]' \
    '(- *)--version[print the version]' \
    '1:command:->command' \
    '*::argument:->arguments' && return

if [[ $state == command ]]; then
    _describe command commands
    return
fi

case $words[1] in
)";

constexpr std::string_view zshTail = R"(esac
_arguments '(- *)--help[print the help]' $options
)";

/// Escapes `text` for a word in single quotes, and in it the characters of `special`, which end a
/// part of a specification.
std::string quoted(std::string_view text, std::string_view special) {
    std::string out;
    for (char const character : text) {
        if (character == '\'') {
            out += "'\\''";
            continue;
        }
        out += special.find(character) != std::string_view::npos ? "\\" : "";
        out += character;
    }
    return out;
}

/// ":N: ", ":format:(text tsv)", ":FILE:_files"
std::string zshValue(std::string_view name, Option const& option) {
    std::string const action = !option.values.empty()        ? "(" + joined(option.values) + ")"
                               : option.takes == Takes::file ? "_files"
                                                             : " ";
    return ":" + quoted(name.empty() ? "value" : name, ":") + ":" + action;
}

void appendZshOption(std::string& out, Command const& command, Option const& option) {
    OptionHelp const help = helpOf(command, option);
    out.append("            '").append(option.needsValue() ? "*" : "").append(option.name);
    out += option.takes != Takes::nothing ? "=" : "";
    out.append("[").append(quoted(help.summary, "[]")).append("]");
    out += option.takes == Takes::optional ? ":" : "";
    out += option.takes != Takes::nothing ? zshValue(help.value, option) : "";
    out += "'\n";
}

void appendZsh(std::string& out) {
    out.append(zshHead).append("commands=(\n");
    for (Command const* const command : allCommands()) {
        out.append("    '").append(command->name).append(":");
        out.append(quoted(command->summary, ":")).append("'\n");
    }
    out.append("    'help:print the help of a command'\n)\n").append(zshMiddle);
    for (Command const* const command : allCommands()) {
        out.append("    ").append(command->name).append(")\n        options=(\n");
        for (Option const& option : command->options) {
            appendZshOption(out, *command, option);
        }
        if (command->operands.takes != Takes::nothing) {
            out += "            '*" + zshValue("argument", command->operands) + "'\n";
        }
        out += "        )\n        ;;\n";
    }
    out += "    help)\n        _describe command commands\n        return\n        ;;\n";
    out += zshTail;
}

ExitStatus completions(Arguments const& arguments, Output& output) {
    auto const operands = arguments.operands();
    if (operands.size() != 1 ||
        std::find(std::begin(shells), std::end(shells), operands[0]) == std::end(shells)) {
        throw UsageError("completions takes bash or zsh");
    }
    (operands[0] == "bash" ? appendBash : appendZsh)(output.text());
    return ExitStatus::allRead;
}

} // namespace

Command const completionsCommand = {"completions",   "print the completion for a shell",
                                    completionsHelp, {},
                                    completions,     {{}, Takes::value, shells}};

} // namespace BgpCommunities
