#include "RouteFilter.h"

#include <utility>

namespace BgpCommunities {

void RouteFilter::kindIs(CommunityKind kind) {
    needsList_ = true;
    kinds_[static_cast<std::size_t>(kind)] = true;
}

void RouteFilter::conditionIs(Condition condition) {
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
