#pragma once

#include <array>
#include <map>
#include <optional>
#include <span>
#include <string>

#include "ListCounter.h"
#include "ListSet.h"

namespace BgpCommunities {

/// Identifies a route of a peer, as text.
struct RouteName {
    std::string family;
    std::string prefix;
    std::string pathId; // empty if none

    auto operator<=>(RouteName const&) const = default;
};

/// The lists of a route before and after; nullopt where the route does not exist.
using RouteSides = std::array<std::optional<ListSet>, 2>;

/// The routes of two sets of dumps, by peer and name.
using ComparedRoutes = std::map<std::string, std::map<RouteName, RouteSides>>;

/// Applies dumps to one side of a table of compared routes, and counts their lists.
///
/// In each message, withdrawals are applied before announcements. Table entries count as
/// announcements. Announcements with malformed attributes are treated as withdrawals (RFC 7606);
/// messages sent by the collector are ignored. The routes of a peer are removed when it enters or
/// leaves the state Established. The table is not owned and refers to lists that this counter
/// keeps. Thread-compatible.
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
