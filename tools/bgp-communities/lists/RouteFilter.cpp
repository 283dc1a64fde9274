#include "RouteFilter.h"

#include <algorithm>
#include <limits>
#include <memory>
#include <string>

#include <Routing/RouteMap/PosixRegex.h>

#include "KindKeys.h"
#include "text/CommunityName.h"

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

} // namespace

RouteFilter::RouteFilter(Arguments const& arguments) {
    for (std::string_view const name : arguments.values(kindOption)) {
        kindIs(name);
    }
    needsList_ = arguments.has(kindOption);
    if (!needsList_) {
        kinds_.fill(true);
    }
    for (std::string_view const pattern : arguments.values(matchOption)) {
        conditionIs(
            [regex = regex(pattern)](AttributeDecoder& list) { return list.matches(*regex); });
    }
    for (std::string_view const name : arguments.values(communityOption)) {
        if (name.empty()) {
            throw wrongValue(communityOption, name, "no community is named");
        }
        conditionIs(
            [wanted = CommunityName(name)](AttributeDecoder& list) { return list.holds(wanted); });
    }
    if (auto const text = arguments.value(prefixOption)) {
        prefix_.emplace();
        if (auto const fault = readPrefix(*text, *prefix_); !fault.empty()) {
            throw wrongValue(prefixOption, *text, fault);
        }
    }
}

void RouteFilter::kindIs(std::string_view name) {
    auto const found = std::find(kindKeys.begin(), kindKeys.end(), name);
    if (found == kindKeys.end()) {
        throw wrongValue(kindOption, name, "none of standard, extended, ipv6 and large");
    }
    kinds_[static_cast<std::size_t>(found - kindKeys.begin())] = true;
}

void RouteFilter::conditionIs(Condition condition) {
    if (conditions_.size() == std::numeric_limits<Conditions>::digits) {
        throw UsageError("more than 64 conditions: " + std::string(matchOption) + " and " +
                         std::string(communityOption));
    }
    allMet_ |= Conditions(1) << conditions_.size();
    conditions_.push_back(std::move(condition));
}

RouteFilter::Conditions RouteFilter::conditionsMetBy(AttributeDecoder& list) const {
    Conditions met = 0;
    for (std::size_t at = 0; at < conditions_.size(); ++at) {
        met |= conditions_[at](list) ? Conditions(1) << at : 0;
    }
    return met;
}

} // namespace BgpCommunities
