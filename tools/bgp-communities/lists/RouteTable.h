#pragma once

#include <array>
#include <cstddef>
#include <map>
#include <memory>
#include <string_view>
#include <unordered_map>
#include <vector>

#include <Mox/Hash.h>

#include "RouteLists.h"
#include "input/IntegerTypes.h"
#include "wire/IpAddress.h"
#include "wire/Nlri.h"

namespace BgpCommunities {

/// Identifies a route of a peer: family, path identifier, and what identifies a route in its
/// family. Labels are not part of the key.
///
///     AFI (2) | SAFI (1) | form (1) | path identifier (4), optional |
///         length in bits (1), if a prefix | identityOf() the route
///
/// Owns its octets, inline for all but the longest prefixes. Immutable.
class RouteKey {
  public:
    explicit RouteKey(Route const& route);

    [[nodiscard]] std::string_view octets() const {
        return {reinterpret_cast<char const*>(long_ ? long_.get() : short_.data()), size_};
    }

    bool operator==(RouteKey const& other) const { return octets() == other.octets(); }

  private:
    std::unique_ptr<U8[]> long_; // if `short_` is too small
    U32 size_ = 0;
    std::array<U8, 20> short_{};
};

/// The routes that one peer has announced and not withdrawn.
///
/// Owns the routes and a reference to each of their lists. Thread-compatible; removing a route
/// releases its lists.
class PeerRoutes {
  public:
    /// Adds the route, or replaces its lists; returns true if it existed.
    bool announce(Route const& route, RouteLists const& lists);

    /// Removes the route; returns true if it existed.
    bool withdraw(Route const& route) { return routes_.erase(RouteKey(route)) != 0; }

    /// Removes all routes in the order of their keys.
    void dropInOrder();

    [[nodiscard]] std::size_t size() const { return routes_.size(); }

    /// Calls `take(lists)` for each route, in any order.
    template <class Take>
    void forEach(Take const& take) const {
        for (auto const& [key, lists] : routes_) {
            take(lists);
        }
    }

  private:
    struct KeyHash {
        // Being noexcept saves memory: the map does not store the hash.
        std::size_t operator()(RouteKey const& key) const noexcept {
            return Mox::hashOctets(key.octets());
        }
    };

    std::unordered_map<RouteKey, RouteLists, KeyHash> routes_;
};

/// The routes of the peers in dumps.
///
/// Owns the routes of each peer. Reactor thread, like the intern tables of the lists. The routes of
/// a peer are dropped in a fixed order, so that two runs notify observers alike.
class RouteTable {
  public:
    /// Adds the route, or replaces its lists; returns true if it existed.
    bool announce(Peer const& peer, Route const& route, RouteLists const& lists);
    /// Removes the route; returns true if it existed.
    bool withdraw(Peer const& peer, Route const& route);
    /// Removes all routes of the peer.
    void drop(Peer const& peer);
    /// The peers of this AS that have routes.
    [[nodiscard]] std::vector<Peer> peersOf(U32 as) const;
    void dropAll();

    [[nodiscard]] std::size_t routes() const { return routes_; }

  private:
    struct PeerOrder {
        bool operator()(Peer const& a, Peer const& b) const;
    };

    void drop(PeerRoutes& routes);

    std::map<Peer, PeerRoutes, PeerOrder> peers_;
    std::size_t routes_ = 0;
};

} // namespace BgpCommunities
