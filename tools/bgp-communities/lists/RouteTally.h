#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "ListCounter.h"
#include "ListSet.h"
#include "wire/IpAddress.h"
#include "wire/Nlri.h"

namespace BgpCommunities {

/** What routes are grouped by. */
enum class GroupBy : std::uint8_t {
    peer,
    as, // that a community of the route starts with
    family,
    hour, // of the record, UTC
};

/** As on the command line and in JSON, by GroupBy. */
inline constexpr std::array<std::string_view, 4> groupByKeys = {"peer", "as", "family", "hour"};

/** What the routes of a group have in common: the member that they are grouped by, the others are
    zero. A plain value. */
struct RouteGroup {
    Peer peer;
    std::uint32_t as = 0;
    Family family;
    std::uint32_t hour = 0; // since 1970

    bool operator==(RouteGroup const&) const = default;
};

/** The counts of one group, without what the collector sent to the peer; a plain value. */
struct GroupCounts {
    RouteGroup group;
    std::uint64_t routes = 0;    // entries of tables and announced routes
    std::uint64_t withdrawn = 0; // routes
    std::uint64_t carrying = 0;  // routes with communities; grouped by AS, with some of that AS
    std::array<std::uint64_t, communityKinds> kinds{}; // routes with communities of each kind
    std::uint64_t values = 0;                          // distinct communities of these routes
};

/** A route target, and the routes with it that a peer sent; a plain value. */
struct TargetUse {
    std::string target; // name, as appendMemberName() writes it
    Peer peer;
    std::uint64_t routes = 0;
};

/**
 * A list counter that also counts routes by group.
 *
 * Keeps the number of routes with each set of lists in each group: memory grows with distinct sets,
 * not with routes. Thread-compatible.
 */
class RouteTally final : public ListCounter {
  public:
    RouteTally(Agent& agent, bool verbose, std::span<GroupBy const> groupings);

    /** Adds the counts of another one with the same groupings and agent. */
    void add(RouteTally const& other);

    /** Most routes first, hours in order. REQUIRES: `by` is one of the groupings. */
    [[nodiscard]] std::vector<GroupCounts> groups(GroupBy by) const;

    /** Most routes first. REQUIRES: peer is one of the groupings. */
    [[nodiscard]] std::vector<TargetUse> targets() const;

  private:
    using RoutesByLists = std::unordered_map<ListSet, std::uint64_t, ListSetHash>;

    struct Carried {
        std::uint64_t withdrawn = 0;
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
