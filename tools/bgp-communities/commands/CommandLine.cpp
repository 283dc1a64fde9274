#include "CommandLine.h"

#include <algorithm>
#include <string>

#include "input/Numbers.h"

namespace BgpCommunities {

namespace {

Option const& find(std::span<Option const> known, std::string_view name) {
    static constexpr Option help = {helpOption};
    auto const found =
        std::find_if(known.begin(), known.end(), [&](auto& option) { return option.name == name; });
    if (found != known.end()) {
        return *found;
    }
    if (name == helpOption || name == "-h") {
        return help;
    }
    throw UsageError("unknown option " + std::string(name));
}

/// Returns the value after "=". Throws UsageError if the option does not accept it.
std::string_view valueInside(Option const& option, std::string_view value) {
    if (option.needsValue()) {
        return value;
    }
    if (option.takes == Takes::nothing) {
        throw UsageError("option " + std::string(option.name) + " takes no value");
    }
    auto const& values = option.values;
    if (std::find(values.begin(), values.end(), value) == values.end()) {
        throw UsageError("option " + std::string(option.name) + ": unknown value \"" +
                         std::string(value) + "\"");
    }
    return value;
}

/// Whether the first argument is an optional value of the option.
bool isValue(Option const& option, std::span<char const* const> arguments) {
    auto const& values = option.values;
    return option.takes == Takes::optional && !arguments.empty() &&
           std::find(values.begin(), values.end(), arguments[0]) != values.end();
}

} // namespace

Arguments::Arguments(std::span<Option const> known, std::span<char const* const> arguments) {
    bool optionsEnded = false;
    for (std::size_t at = 0; at < arguments.size(); ++at) {
        std::string_view const argument = arguments[at];
        if (optionsEnded || argument.size() < 2 || argument[0] != '-') {
            operands_.push_back(argument);
            continue;
        }
        if (argument == "--") {
            optionsEnded = true;
            continue;
        }
        std::size_t const equals = std::min(argument.find('='), argument.size());
        Option const& option = find(known, argument.substr(0, equals));
        if (equals != argument.size()) {
            options_.push_back({option.name, valueInside(option, argument.substr(equals + 1))});
        } else if (option.needsValue() && at + 1 == arguments.size()) {
            throw UsageError("option " + std::string(option.name) + " needs a value");
        } else if (option.needsValue() || isValue(option, arguments.subspan(at + 1))) {
            options_.push_back({option.name, arguments[++at]});
        } else {
            options_.push_back({option.name, {}});
        }
    }
}

std::optional<std::string_view> Arguments::value(std::string_view option) const {
    auto const found = std::find_if(options_.rbegin(), options_.rend(),
                                    [&](Given const& given) { return given.name == option; });
    return found == options_.rend() ? std::nullopt : std::optional(found->value);
}

std::vector<std::string_view> Arguments::values(std::string_view option) const {
    std::vector<std::string_view> values;
    for (Given const& given : options_) {
        if (given.name == option) {
            values.push_back(given.value);
        }
    }
    return values;
}

std::optional<U64> Arguments::count(std::string_view option) const {
    auto const text = value(option);
    if (!text) {
        return std::nullopt;
    }
    auto const number = readNumber<U64>(*text);
    if (!number || *number == 0) {
        throw UsageError("option " + std::string(option) + ": \"" + std::string(*text) +
                         "\" is not a positive number");
    }
    return number;
}

} // namespace BgpCommunities
