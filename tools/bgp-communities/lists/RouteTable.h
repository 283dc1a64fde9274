#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <string_view>
#include <unordered_map>
#include <vector>

#include <Mox/Hash.h>

#include "ListKinds.h"
#include "wire/IpAddress.h"
#include "wire/Nlri.h"

namespace BgpCommunities {

/** The interned lists that one route carries, one of each kind, null where it has none; a value
    that holds a reference to each. Thread-compatible. */
using RouteLists = ListKinds::Lists;

/**
 * Which route of a peer it is: family, path identifier, route distinguisher and prefix, or the
 * octets of a family that is not taken apart. Labels take no part.
 *
 *     AFI (2) | SAFI (1) | form (1) | path identifier (4) if it has one |
 *         length in bits (1) | distinguisher (8) if SAFI 128 | octets of the prefix,
 *         or all of the octets
 *
 * A value that owns its octets: in itself for all but the longest prefixes, else on the heap. It
 * never changes. Immutable.
 */
class RouteKey {
  public:
    explicit RouteKey(Route const& route);

    [[nodiscard]] std::string_view octets() const {
        return {reinterpret_cast<char const*>(long_ ? long_.get() : short_.data()), size_};
    }

    bool operator==(RouteKey const& other) const { return octets() == other.octets(); }

  private:
    std::unique_ptr<std::uint8_t[]> long_; // if `short_` does not do
    std::uint32_t size_ = 0;
    std::array<std::uint8_t, 20> short_{};
};

/**
 * The routes that peers have announced and not withdrawn.
 *
 * It owns the routes, and a reference to each list of each of them. Reactor thread: so are the
 * intern tables that references are given back to. What never changes: whole peers are dropped in
 * one order, whatever came first, so that two runs give lists back alike.
 */
class RouteTable {
  public:
    /** Adds the route, or gives it other lists; true if it was there. */
    bool announce(Peer const& peer, Route const& route, RouteLists const& lists);
    /** Removes the route; true if it was there. */
    bool withdraw(Peer const& peer, Route const& route);
    /** Removes all routes of the peer. */
    void drop(Peer const& peer);
    /** The peers of this AS that have routes. */
    [[nodiscard]] std::vector<Peer> peersOf(std::uint32_t as) const;
    void dropAll();

    [[nodiscard]] std::size_t routes() const { return routes_; }

  private:
    struct KeyHash {
        // noexcept: the map then keeps no hash beside the key.
        std::size_t operator()(RouteKey const& key) const noexcept {
            return Mox::hashOctets(key.octets());
        }
    };

    struct PeerOrder {
        bool operator()(Peer const& a, Peer const& b) const;
    };

    using Routes = std::unordered_map<RouteKey, RouteLists, KeyHash>;

    void drop(Routes& routes);

    std::map<Peer, Routes, PeerOrder> peers_;
    std::size_t routes_ = 0;
};

} // namespace BgpCommunities
