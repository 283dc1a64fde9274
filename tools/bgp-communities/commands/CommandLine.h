#pragma once

#include <optional>
#include <span>
#include <stdexcept>
#include <string_view>
#include <vector>

#include "input/IntegerTypes.h"
#include "text/ExitStatus.h"

namespace BgpCommunities {

class Output;

/// An invalid command line; `what()` gives the reason for the user.
class UsageError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// The value of an option.
enum class Takes : U8 {
    nothing,
    optional, // one of `values`; any other argument is not a value
    value,
    file, // a file name
};

/// An option of a command: "--json", or "--type" with a value. `values` are used by shell
/// completions.
struct Option {
    std::string_view name;
    Takes takes = Takes::nothing;
    std::span<std::string_view const> values = {};

    [[nodiscard]] bool needsValue() const { return takes == Takes::value || takes == Takes::file; }
};

/// The parsed arguments of one command: options anywhere, operands in order.
///
/// `--name value` and `--name=value` are equivalent, "--" ends the options, "-" is an operand. If
/// an option is repeated, `value()` returns the last value. Refers to the arguments of the process.
/// Thread-compatible.
class Arguments {
  public:
    /// Throws UsageError for an option that is not in `known`, lacks its value, or has an
    /// unexpected one. --help is always known.
    Arguments(std::span<Option const> known, std::span<char const* const> arguments);

    [[nodiscard]] bool has(std::string_view option) const { return value(option).has_value(); }

    /// The last value of an option; an empty string for an option without value. None if not given.
    [[nodiscard]] std::optional<std::string_view> value(std::string_view option) const;

    /// All values of an option, in order.
    [[nodiscard]] std::vector<std::string_view> values(std::string_view option) const;

    /// The value of an option as a positive number. Throws UsageError if it is not one.
    [[nodiscard]] std::optional<U64> count(std::string_view option) const;

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
inline constexpr std::string_view targetsOption = "--targets";
inline constexpr std::string_view topOption = "--top";

/// One command of the program.
struct Command {
    std::string_view name;
    std::string_view summary; // one line, for the list of commands
    std::string_view help;    // the text of --help
    std::span<Option const> options;
    ExitStatus (*run)(Arguments const& arguments, Output& output);
    Option operands = {{}, Takes::file}; // for shell completions
};

} // namespace BgpCommunities
