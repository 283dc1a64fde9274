#pragma once

#include <cstddef>
#include <map>
#include <span>
#include <utility>
#include <vector>

#include "RouteTable.h"
#include "bmp/BmpMessage.h"

namespace BgpCommunities {

/// The routes that one router reports over BMP: by peer, view, family, path identifier and prefix.
///
/// Owns the routes and a reference to each of their lists. Thread-compatible; removing a route
/// releases its lists.
class RouterRoutes {
  public:
    /// The routes of one view of a peer.
    struct View {
        Peer peer;
        PeerRoutes routes;
        std::vector<Family> complete; // families whose End-of-RIB has arrived
    };

    using Key = std::pair<BmpPeerId, RibView>;

    /// Adds the routes, or replaces their lists. Returns how many existed.
    std::size_t announce(BmpPeer const& peer, std::span<Route const> routes,
                         RouteLists const& lists);
    /// Removes the routes. Returns how many existed.
    std::size_t withdraw(BmpPeer const& peer, std::span<Route const> routes);
    void endOfRib(BmpPeer const& peer, Family family);

    /// Removes the routes of one view, or of all views of a peer. Returns their number.
    std::size_t dropView(BmpPeer const& peer);
    std::size_t dropPeer(BmpPeerId const& peer);
    void dropAll();

    [[nodiscard]] std::size_t routes() const { return routes_; }

    /// In the order of peers, then views.
    [[nodiscard]] std::map<Key, View> const& views() const { return views_; }

  private:
    View& view(BmpPeer const& peer);

    std::map<Key, View> views_;
    std::size_t routes_ = 0;
};

} // namespace BgpCommunities
