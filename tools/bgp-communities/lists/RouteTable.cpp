#include "RouteTable.h"

#include <algorithm>
#include <tuple>
#include <vector>

#include "input/OctetReader.h"

namespace BgpCommunities {

namespace {

constexpr U8 formPrefix = 0x01;
constexpr U8 formPathId = 0x02;

/// The leading fields of a key.
class KeyHead {
  public:
    explicit KeyHead(Route const& route) {
        add(route.family.afi, 2);
        add(route.family.safi, 1);
        add((route.isPrefix ? formPrefix : 0U) | (route.hasPathId ? formPathId : 0U), 1);
        if (route.hasPathId) {
            add(route.pathId, 4);
        }
        if (route.isPrefix) {
            add(route.length, 1);
        }
    }

    [[nodiscard]] Octets octets() const { return Octets(octets_).first(size_); }

  private:
    void add(U32 value, std::size_t octets) {
        while (octets-- > 0) {
            octets_[size_++] = static_cast<U8>(value >> (8 * octets));
        }
    }

    std::array<U8, 9> octets_{};
    std::size_t size_ = 0;
};

} // namespace

RouteKey::RouteKey(Route const& route) {
    KeyHead const head(route);
    auto const [first, second, third] = identityOf(route);
    std::array<Octets, 4> const pieces = {head.octets(), first, second, third};
    for (Octets const piece : pieces) {
        size_ += static_cast<U32>(piece.size());
    }
    if (size_ > short_.size()) {
        long_ = std::make_unique<U8[]>(size_);
    }
    U8* out = long_ ? long_.get() : short_.data();
    for (Octets const piece : pieces) {
        out = std::copy(piece.begin(), piece.end(), out);
    }
}

bool PeerRoutes::announce(Route const& route, RouteLists const& lists) {
    auto const [at, isNew] = routes_.try_emplace(RouteKey(route), lists);
    if (!isNew) {
        at->second = lists;
    }
    return !isNew;
}

void PeerRoutes::dropInOrder() {
    using Entry = decltype(routes_)::const_iterator;
    std::vector<Entry> inOrder;
    inOrder.reserve(routes_.size());
    for (auto at = routes_.cbegin(); at != routes_.cend(); ++at) {
        inOrder.push_back(at);
    }
    std::sort(inOrder.begin(), inOrder.end(),
              [](auto const& a, auto const& b) { return a->first.octets() < b->first.octets(); });
    for (Entry const& at : inOrder) {
        routes_.erase(at);
    }
}

bool RouteTable::PeerOrder::operator()(Peer const& a, Peer const& b) const {
    return std::tie(a.address.size, a.address.octets, a.as) <
           std::tie(b.address.size, b.address.octets, b.as);
}

bool RouteTable::announce(Peer const& peer, Route const& route, RouteLists const& lists) {
    bool const wasThere = peers_[peer].announce(route, lists);
    routes_ += wasThere ? 0 : 1;
    return wasThere;
}

bool RouteTable::withdraw(Peer const& peer, Route const& route) {
    auto const found = peers_.find(peer);
    bool const wasThere = found != peers_.end() && found->second.withdraw(route);
    routes_ -= wasThere ? 1 : 0;
    return wasThere;
}

void RouteTable::drop(PeerRoutes& routes) {
    routes_ -= routes.size();
    routes.dropInOrder();
}

void RouteTable::drop(Peer const& peer) {
    if (auto const found = peers_.find(peer); found != peers_.end()) {
        drop(found->second);
        peers_.erase(found);
    }
}

std::vector<Peer> RouteTable::peersOf(U32 as) const {
    std::vector<Peer> out;
    for (auto const& [peer, routes] : peers_) {
        if (peer.as == as && routes.size() != 0) {
            out.push_back(peer);
        }
    }
    return out;
}

void RouteTable::dropAll() {
    for (auto& [peer, routes] : peers_) {
        drop(routes);
    }
    peers_.clear();
}

} // namespace BgpCommunities
