#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <stdexcept>
#include <string_view>
#include <vector>

#include "text/ExitStatus.h"

namespace BgpCommunities {

class Output;

/** A command line that makes no sense; `what()` says why, in words for who typed it. */
class UsageError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/** What may follow an option. */
enum class Takes : std::uint8_t {
    nothing,
    optional, // one of its `values`; any other argument is no value
    value,
    file, // its name
};

/** An option that a command has: "--json", or "--type" with a value behind it. `values` are those that
    a shell completes. */
struct Option {
    std::string_view name;
    Takes takes = Takes::nothing;
    std::span<std::string_view const> values = {};

    [[nodiscard]] bool needsValue() const { return takes == Takes::value || takes == Takes::file; }
};

/**
 * The arguments of one command, taken apart: options anywhere, the operands in their order.
 *
 * `--name value` and `--name=value` are the same, "--" ends the options, "-" is an operand, and of
 * an option given twice the last value counts, unless the command asks for all. A value that owns
 * no text: that is the process's own. Thread-compatible.
 */
class Arguments {
  public:
    /** Throws UsageError for an option that is not in `known`, or lacks its value or has one too
        many. Every command has --help. */
    Arguments(std::span<Option const> known, std::span<char const* const> arguments);

    [[nodiscard]] bool has(std::string_view option) const { return value(option).has_value(); }

    /** The value of an option that was given; empty for one that takes none. */
    [[nodiscard]] std::optional<std::string_view> value(std::string_view option) const;

    /** All its values, in their order. */
    [[nodiscard]] std::vector<std::string_view> values(std::string_view option) const;

    /** The value of an option as a number from 1 on; UsageError if it is none. */
    [[nodiscard]] std::optional<std::uint64_t> count(std::string_view option) const;

    [[nodiscard]] std::span<std::string_view const> operands() const { return operands_; }

  private:
    struct Given {
        std::string_view name;
        std::string_view value;
    };

    std::vector<Given> options_;
    std::vector<std::string_view> operands_;
};

inline constexpr std::string_view helpOption = "--help";
inline constexpr std::string_view verboseOption = "--verbose";
inline constexpr std::string_view jsonOption = "--json";

/** One command of the program; a constant. */
struct Command {
    std::string_view name;
    std::string_view summary; // one line, for the list of commands
    std::string_view help;    // all that --help says
    std::span<Option const> options;
    ExitStatus (*run)(Arguments const& arguments, Output& output);
    Option operands = {{}, Takes::file}; // what a shell completes where no option is
};

} // namespace BgpCommunities
