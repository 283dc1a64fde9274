#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <span>
#include <string>

#include "ListCounter.h"
#include "ListSet.h"

namespace BgpCommunities {

/** Which route of a peer it is, as texts; a plain value. */
struct RouteName {
    std::string family;
    std::string prefix;
    std::string pathId; // empty if it has none

    auto operator<=>(RouteName const&) const = default;
};

/** The lists that a route carries before and after; none where it does not exist. */
using RouteSides = std::array<std::optional<ListSet>, 2>;

/** The routes of two sets of dumps, by peer and name. */
using ComparedRoutes = std::map<std::string, std::map<RouteName, RouteSides>>;

/**
 * Applies dumps to one side of a table of compared routes, and counts their lists.
 *
 * A message withdraws first, then announces; entries of tables are announcements. Announcements with
 * malformed attributes withdraw (RFC 7606); messages that the collector sent change nothing. A peer
 * that enters or leaves the state Established loses its routes. The table is not owned; it refers to
 * lists that this counter holds. Thread-compatible.
 */
class ComparedSide final : public ListCounter {
  public:
    ComparedSide(Agent& agent, bool verbose, ComparedRoutes& routes, std::size_t side)
      : ListCounter(agent, verbose, true)
      , routes_(routes)
      , side_(side) {}

    void handleStateChange(StateChange const& change) override;

  private:
    void handleLists(Update const& update, ListSet const& lists) override;
    void handleLists(RibEntry const& entry, ListSet const& lists) override;
    template <class Carrier>
    void announce(Carrier const& carrier, std::span<Route const> routes, ListSet const& lists);
    std::optional<ListSet>& at(Peer const& peer, Route const& route);

    ComparedRoutes& routes_;
    std::size_t const side_;
};

} // namespace BgpCommunities
