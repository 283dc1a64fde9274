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

/**
 * Prints what routers report as JSON: each route as `read --json` prints it, and a line for what
 * happens to routers, peers and families.
 *
 * Owns what it remembers of lists; agent and output are not owned. Used by one worker.
 */
class StationPrinter {
  public:
    StationPrinter(Agent& agent, Output& output);

    /** Meanings from now on. */
    void dictionaryIs(std::shared_ptr<Dictionary const> dictionary);

    /** The router that the next lines are about; its name may be empty. */
    void routerIs(std::string_view address, std::string_view name);

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
    void peerIs(BmpPeer const& peer);

    Agent& agent_;
    Output& output_;
    RouteFilter const filter_; // selects everything
    std::shared_ptr<Dictionary const> dictionary_;
    std::vector<ListTextCache> memories_; // by CommunityKind
    RouteWriter writer_;
    std::string router_;     // fields of JSON
    std::string peerFields_; // likewise
    std::string asPath_;
    std::string text_;
};

} // namespace BgpCommunities
