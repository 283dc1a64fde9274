#pragma once

#include <array>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "ListCounter.h"
#include "ListSet.h"
#include "input/IntegerTypes.h"
#include "wire/IpAddress.h"
#include "wire/Nlri.h"

namespace BgpCommunities {

/// What routes are grouped by.
enum class GroupBy : U8 {
    peer,
    as, // the administrator of a community of the route
    family,
    hour, // of the record, UTC
};

/// The names on the command line and in JSON, by GroupBy.
inline constexpr std::array<std::string_view, 4> groupByKeys = {"peer", "as", "family", "hour"};

/// Identifies a group by the member that routes are grouped by; the other members are zero.
struct RouteGroup {
    Peer peer;
    U32 as = 0;
    Family family;
    U32 hour = 0; // since 1970

    bool operator==(RouteGroup const&) const = default;
};

/// The counts of one group, without messages sent to the peer.
struct GroupCounts {
    RouteGroup group;
    U64 routes = 0;                          // table entries and announced routes
    U64 withdrawn = 0;                       // routes
    U64 carrying = 0;                        // routes with communities; by AS: of this AS
    std::array<U64, communityKinds> kinds{}; // routes with communities of each kind
    U64 values = 0;                          // distinct communities of these routes
};

/// A route target, and how many routes with it a peer sent.
struct TargetUse {
    std::string target; // name as written by appendMemberName()
    Peer peer;
    U64 routes = 0;
};

/// A ListCounter that also counts routes by group.
///
/// Memory grows with the distinct sets of lists in each group, not with routes. Thread-compatible.
class RouteTally final : public ListCounter {
  public:
    RouteTally(Agent& agent, bool verbose, std::span<GroupBy const> groupings);

    /// Adds the counts of `other`, which has the same groupings and agent.
    void add(RouteTally const& other);

    /// Groups in descending order of routes; hours in chronological order. REQUIRES: `by` is one of
    /// the groupings.
    [[nodiscard]] std::vector<GroupCounts> groups(GroupBy by) const;

    /// Route targets in descending order of routes. REQUIRES: GroupBy::peer is one of the
    /// groupings.
    [[nodiscard]] std::vector<TargetUse> targets() const;

  private:
    using RoutesByLists = std::unordered_map<ListSet, U64, ListSetHash>;

    struct Carried {
        U64 withdrawn = 0;
        RoutesByLists routes;
    };

    struct GroupHash {
        std::size_t operator()(RouteGroup const& group) const noexcept;
    };

    struct Grouping {
        GroupBy by;
        std::unordered_map<RouteGroup, Carried, GroupHash> groups;
        RouteGroup last{};
        Carried* lastCarried = nullptr; // of the group `last`

        explicit Grouping(GroupBy groupBy)
          : by(groupBy) {}
        Carried& of(RecordPosition const& at, Peer const& peer, Family family);
    };

    void handleLists(Update const& update, ListSet const& lists) override;
    void handleLists(RibEntry const& entry, ListSet const& lists) override;
    [[nodiscard]] Grouping const& grouping(GroupBy by) const;
    [[nodiscard]] std::vector<GroupCounts> groupsOf(Grouping const& grouping) const;
    [[nodiscard]] std::vector<GroupCounts> groupsByAs() const;

    std::vector<Grouping> groupings_;
};

} // namespace BgpCommunities
