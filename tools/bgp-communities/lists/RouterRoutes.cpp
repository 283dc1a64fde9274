#include "RouterRoutes.h"

#include <algorithm>

namespace BgpCommunities {

RouterRoutes::View& RouterRoutes::view(BmpPeer const& peer) {
    View& view = views_[{peer.id, peer.view}];
    view.peer = peer.peer();
    return view;
}

std::size_t RouterRoutes::announce(BmpPeer const& peer, std::span<Route const> routes,
                                   RouteLists const& lists) {
    PeerRoutes& to = view(peer).routes;
    std::size_t replaced = 0;
    for (Route const& route : routes) {
        bool const wasThere = to.announce(route, lists);
        replaced += wasThere ? 1 : 0;
        routes_ += wasThere ? 0 : 1;
    }
    return replaced;
}

std::size_t RouterRoutes::withdraw(BmpPeer const& peer, std::span<Route const> routes) {
    auto const found = views_.find({peer.id, peer.view});
    if (found == views_.end()) {
        return 0;
    }
    auto const withdrawn =
        static_cast<std::size_t>(std::count_if(routes.begin(), routes.end(), [&](auto& route) {
            return found->second.routes.withdraw(route);
        }));
    routes_ -= withdrawn;
    return withdrawn;
}

void RouterRoutes::endOfRib(BmpPeer const& peer, Family family) {
    constexpr std::size_t maxFamilies = 64; // more than any router has; bounds memory
    auto& complete = view(peer).complete;
    bool const isNew = std::find(complete.begin(), complete.end(), family) == complete.end();
    if (isNew && complete.size() < maxFamilies) {
        complete.push_back(family);
    }
}

std::size_t RouterRoutes::dropView(BmpPeer const& peer) {
    auto const found = views_.find({peer.id, peer.view});
    if (found == views_.end()) {
        return 0;
    }
    std::size_t const dropped = found->second.routes.size();
    views_.erase(found);
    routes_ -= dropped;
    return dropped;
}

std::size_t RouterRoutes::dropPeer(BmpPeerId const& peer) {
    auto const first = views_.lower_bound({peer, RibView::adjRibInPre});
    auto const last = views_.upper_bound({peer, RibView::locRib});
    std::size_t dropped = 0;
    for (auto at = first; at != last; ++at) {
        dropped += at->second.routes.size();
    }
    views_.erase(first, last);
    routes_ -= dropped;
    return dropped;
}

void RouterRoutes::dropAll() {
    views_.clear();
    routes_ = 0;
}

} // namespace BgpCommunities
