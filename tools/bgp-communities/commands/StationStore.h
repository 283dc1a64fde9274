#pragma once

#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "input/IntegerTypes.h"
#include "lists/Agent.h"
#include "lists/ListUses.h"
#include "lists/RouterRoutes.h"

namespace BgpCommunities {

/// Counts the routes of a station that carry each list: in total, and by router, peer and view.
///
/// Holds a reference to each list; the agent is not owned. Thread-compatible: each worker counts
/// its own sessions.
class StationUses {
  public:
    explicit StationUses(Agent& agent)
      : agent_(agent)
      , all_(listUses(agent)) {}

    void add(std::string const& router, RouterRoutes const& routes);
    void add(StationUses const& other);

    /// Publishes the counts, and numbers by name, as `store`. Returns the generation. Throws
    /// StoreException.
    U64 publish(std::string const& store,
                std::vector<std::pair<std::string_view, U64>> const& numbers) const;

  private:
    using Kinds = std::vector<std::unique_ptr<ListUses>>;

    Kinds& kindsOf(std::string const& view);

    Agent& agent_;
    Kinds all_;
    std::map<std::string, Kinds> views_; // by "ROUTER/PEER ADDRESS ASn/VIEW"
};

} // namespace BgpCommunities
