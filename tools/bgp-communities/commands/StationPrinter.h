#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "RouteWriter.h"
#include "bmp/BmpReader.h"
#include "lists/ListTextCache.h"
#include "lists/RouteFilter.h"

namespace BgpCommunities {

/// Prints routes as JSON, in the format of `read --json`, and a line for each event of a router,
/// peer or family.
///
/// Owns its cache of list texts; agent and output are not owned. Used by one worker.
class StationPrinter {
  public:
    StationPrinter(Agent& agent, Output& output);

    /// Replaces the dictionary.
    void setDictionary(std::shared_ptr<Dictionary const> dictionary);

    /// Sets the router of the next lines. `name` may be empty.
    void setRouter(std::string_view address, std::string_view name);

    void printAnnounced(RecordPosition const& at, BmpPeer const& peer, BmpUpdate const& update);
    void printWithdrawn(RecordPosition const& at, BmpPeer const& peer,
                        std::vector<Route> const& routes);
    void printPeerUp(RecordPosition const& at, BmpPeer const& peer);
    void printPeerDown(RecordPosition const& at, BmpPeer const& peer, std::string_view reason,
                       std::size_t routes);
    void printEndOfRib(RecordPosition const& at, BmpPeer const& peer, Family family);
    void printRouterUp(RecordPosition const& at, Microseconds time, std::string_view description);
    void printRouterDown(RecordPosition const& at, Microseconds time, std::string_view reason);

  private:
    JsonWriter beginEvent(RecordPosition const& at, Microseconds time, std::string_view type);
    JsonWriter beginPeerEvent(RecordPosition const& at, BmpPeer const& peer, std::string_view type);
    void endEvent(JsonWriter& json);
    void setPeer(BmpPeer const& peer);

    Agent& agent_;
    Output& output_;
    RouteFilter const filter_; // selects everything
    std::shared_ptr<Dictionary const> dictionary_;
    std::vector<ListTextCache> caches_; // by CommunityKind
    RouteWriter writer_;
    std::string router_;     // JSON fields of the router
    std::string peerFields_; // JSON fields of the peer
    std::string asPath_;
    std::string text_;
};

} // namespace BgpCommunities
