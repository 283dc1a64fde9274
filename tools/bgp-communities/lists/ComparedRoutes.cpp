#include "ComparedRoutes.h"

#include "input/Numbers.h"

namespace BgpCommunities {

namespace {

std::string nameOf(Peer const& peer) {
    std::string name;
    appendText(name, peer);
    return name;
}

} // namespace

std::optional<ListSet>& ComparedSide::at(Peer const& peer, Route const& route) {
    RouteName name;
    appendText(name.family, route.family);
    appendText(name.prefix, route);
    if (route.hasPathId) {
        appendNumber(name.pathId, route.pathId);
    }
    return routes_[nameOf(peer)][std::move(name)][side_];
}

void ComparedSide::handleLists(Update const& update, ListSet const& lists) {
    if (update.sentByUs) {
        return;
    }
    for (Route const& route : update.withdrawn) {
        at(update.peer, route).reset();
    }
    announce(update, update.announced, lists);
}

void ComparedSide::handleLists(RibEntry const& entry, ListSet const& lists) {
    announce(entry, {&entry.route, 1}, lists);
}

template <class Carrier>
void ComparedSide::announce(Carrier const& carrier, std::span<Route const> routes,
                            ListSet const& lists) {
    bool const isWithdrawn = treatsAsWithdrawn(carrier);
    for (Route const& route : routes) {
        at(carrier.peer, route) = isWithdrawn ? std::nullopt : std::optional(lists);
    }
}

void ComparedSide::handleStateChange(StateChange const& change) {
    if (change.oldState != StateChange::established &&
        change.newState != StateChange::established) {
        return;
    }
    for (auto& [name, sides] : routes_[nameOf(change.peer)]) {
        sides[side_].reset();
    }
}

} // namespace BgpCommunities
