#include "RouteFilter.h"

#include <algorithm>
#include <utility>

namespace BgpCommunities {

namespace {

/// Whether one of the choices fits, or there are no choices.
template <class Choice, class Fits>
bool anyFits(std::vector<Choice> const& choices, Fits const& fits) {
    return choices.empty() || std::any_of(choices.begin(), choices.end(), fits);
}

} // namespace

void RouteFilter::addKind(CommunityKind kind) {
    needsList_ = true;
    kinds_[static_cast<std::size_t>(kind)] = true;
}

void RouteFilter::addCondition(Condition condition) {
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

bool RouteFilter::admits(RecordPosition const& at, Peer const& peer) const {
    Microseconds const time = at.time();
    return (!since_ || time >= *since_) && (!until_ || time < *until_) &&
           anyFits(peers_, [&](PeerChoice const& choice) {
               bool const addressFits = choice.address.size == 0 || choice.address == peer.address;
               // An unknown peer has no AS either.
               bool const asFits = !choice.as || (*choice.as == peer.as && peer.address.size != 0);
               return addressFits && asFits;
           });
}

bool RouteFilter::admits(RouteAttributes const& attributes, std::string const& asPath) const {
    if (!originAses_.empty()) {
        auto const& path = attributes.asPath();
        auto const origin = path ? originAs(*path) : std::nullopt;
        if (!origin ||
            std::find(originAses_.begin(), originAses_.end(), *origin) == originAses_.end()) {
            return false;
        }
    }
    return std::all_of(pathConditions_.begin(), pathConditions_.end(),
                       [&](PathCondition const& condition) { return condition(asPath); });
}

bool RouteFilter::admits(Route const& route) const {
    using Relation = PrefixChoice::Relation;
    return anyFits(families_,
                   [&](FamilyChoice const& choice) {
                       return choice.afi == route.family.afi &&
                              choice.safi.value_or(route.family.safi) == route.family.safi;
                   }) &&
           anyFits(prefixes_, [&](PrefixChoice const& choice) {
               if (choice.relation == Relation::covers) {
                   return covers(route, choice.prefix);
               }
               return contains(choice.prefix, route) &&
                      (choice.relation == Relation::within || route.length == choice.prefix.length);
           });
}

} // namespace BgpCommunities
