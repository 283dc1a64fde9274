#include "FilterOptions.h"

#include <algorithm>
#include <memory>
#include <string>
#include <utility>

#include <Routing/RouteMap/PosixRegex.h>

#include "lists/KindKeys.h"
#include "text/CommunityPattern.h"

namespace BgpCommunities {

namespace {

using Routing::RouteMap::PosixRegex;

UsageError wrongValue(std::string_view option, std::string_view value, std::string_view reason) {
    std::string text(option);
    text.append(": \"").append(value).append("\": ").append(reason);
    return UsageError(text);
}

std::shared_ptr<PosixRegex const> regex(std::string_view pattern) try {
    return std::make_shared<PosixRegex const>(Mox::String(pattern));
} catch (Routing::RouteMap::PosixRegexException const& error) {
    throw wrongValue(matchOption, pattern, error.what());
}

CommunityKind kind(std::string_view name) {
    auto const found = std::find(kindKeys.begin(), kindKeys.end(), name);
    if (found == kindKeys.end()) {
        throw wrongValue(kindOption, name, "none of standard, extended, ipv6 and large");
    }
    return static_cast<CommunityKind>(found - kindKeys.begin());
}

void add(RouteFilter& filter, RouteFilter::Condition condition) {
    if (filter.conditions() == RouteFilter::maxConditions) {
        throw UsageError("more than 64 conditions: " + std::string(matchOption) + " and " +
                         std::string(communityOption));
    }
    filter.conditionIs(std::move(condition));
}

} // namespace

RouteFilter routeFilter(Arguments const& arguments) {
    RouteFilter filter;
    for (std::string_view const name : arguments.values(kindOption)) {
        filter.kindIs(kind(name));
    }
    for (std::string_view const pattern : arguments.values(matchOption)) {
        add(filter,
            [regex = regex(pattern)](AttributeDecoder& list) { return list.matches(*regex); });
    }
    for (std::string_view const name : arguments.values(communityOption)) {
        CommunityPattern pattern;
        if (auto const fault = pattern.read(name); !fault.empty()) {
            throw wrongValue(communityOption, name, fault);
        }
        add(filter, [pattern](AttributeDecoder& list) { return list.holds(pattern); });
    }
    if (auto const text = arguments.value(prefixOption)) {
        Prefix prefix;
        if (auto const fault = readPrefix(*text, prefix); !fault.empty()) {
            throw wrongValue(prefixOption, *text, fault);
        }
        filter.prefixIs(prefix);
    }
    return filter;
}

} // namespace BgpCommunities
