#include "RouteTally.h"

#include <algorithm>
#include <map>
#include <tuple>
#include <unordered_set>

#include <Mox/Hash.h>

#include "MemberFields.h"
#include "text/MemberName.h"

namespace BgpCommunities {

namespace {

RouteGroup groupOf(GroupBy by, RecordPosition const& at, Peer const& peer, Family family) {
    RouteGroup group;
    switch (by) {
    case GroupBy::peer:
        group.peer = peer;
        break;
    case GroupBy::as: // derived from the lists later
        break;
    case GroupBy::family:
        group.family = family;
        break;
    case GroupBy::hour:
        group.hour = at.seconds / 3600;
        break;
    }
    return group;
}

/// Caches the members of lists.
class Members {
  public:
    explicit Members(ListCounter const& counter)
      : counter_(counter) {}

    /// Returns the members of a list; empty for null.
    std::vector<ListMember> const& of(std::size_t kind, ListId list) {
        auto const [found, isNew] = members_.try_emplace(list);
        if (isNew && list != nullptr) {
            found->second = counter_.lists(static_cast<CommunityKind>(kind)).members(list);
        }
        return found->second;
    }

  private:
    ListCounter const& counter_;
    std::unordered_map<ListId, std::vector<ListMember>> members_;
};

/// Values by octets. Values of different kinds differ in size.
using Values = std::unordered_set<std::string_view>;

bool before(GroupCounts const& a, GroupCounts const& b) {
    auto const key = [](RouteGroup const& group) {
        return std::tuple(group.hour, group.as, group.peer.as, group.peer.address, group.family.afi,
                          group.family.safi);
    };
    if (a.group.hour == b.group.hour && a.routes != b.routes) {
        return a.routes > b.routes;
    }
    return key(a.group) < key(b.group);
}

void addRoutes(GroupCounts& counts, ListSet const& lists, U64 routes) {
    counts.routes += routes;
    counts.carrying += lists == ListSet{} ? 0 : routes;
    for (std::size_t kind = 0; kind < communityKinds; ++kind) {
        counts.kinds[kind] += lists[kind] == nullptr ? 0 : routes;
    }
}

} // namespace

RouteTally::RouteTally(Agent& agent, bool verbose, std::span<GroupBy const> groupings)
  : ListCounter(agent, verbose, !groupings.empty()) {
    for (GroupBy const by : groupings) {
        groupings_.emplace_back(by);
    }
}

std::size_t RouteTally::GroupHash::operator()(RouteGroup const& group) const noexcept {
    auto const& octets = group.peer.address.octets;
    std::string_view const address(reinterpret_cast<char const*>(octets.data()), octets.size());
    U64 const family = U64{group.family.afi} << 8 | group.family.safi;
    return Mox::hashWord(Mox::hashOctets(address) ^ family ^ group.peer.as ^ U64{group.hour} << 32);
}

RouteTally::Carried& RouteTally::Grouping::of(RecordPosition const& at, Peer const& peer,
                                              Family family) {
    RouteGroup const group = groupOf(by, at, peer, family);
    if (lastCarried == nullptr || group != last) {
        last = group;
        lastCarried = &groups[group];
    }
    return *lastCarried;
}

void RouteTally::handleLists(Update const& update, ListSet const& lists) {
    if (update.sentByUs) {
        return;
    }
    for (Grouping& grouping : groupings_) {
        for (Route const& route : update.withdrawn) {
            ++grouping.of(update.at, update.peer, route.family).withdrawn;
        }
        for (Route const& route : update.announced) {
            ++grouping.of(update.at, update.peer, route.family).routes[lists];
        }
    }
}

void RouteTally::handleLists(RibEntry const& entry, ListSet const& lists) {
    for (Grouping& grouping : groupings_) {
        ++grouping.of(entry.at, entry.peer, entry.route.family).routes[lists];
    }
}

void RouteTally::add(RouteTally const& other) {
    ListCounter::add(other);
    for (std::size_t index = 0; index < groupings_.size(); ++index) {
        for (auto const& [group, from] : other.groupings_[index].groups) {
            Carried& carried = groupings_[index].groups[group];
            carried.withdrawn += from.withdrawn;
            for (auto const& [lists, routes] : from.routes) {
                carried.routes[lists] += routes;
            }
        }
    }
}

RouteTally::Grouping const& RouteTally::grouping(GroupBy by) const {
    return *std::find_if(groupings_.begin(), groupings_.end(),
                         [&](Grouping const& grouping) { return grouping.by == by; });
}

std::vector<GroupCounts> RouteTally::groups(GroupBy by) const {
    std::vector<GroupCounts> all = by == GroupBy::as ? groupsByAs() : groupsOf(grouping(by));
    std::sort(all.begin(), all.end(), before);
    return all;
}

std::vector<GroupCounts> RouteTally::groupsOf(Grouping const& grouping) const {
    std::vector<GroupCounts> all;
    Members members(*this);
    for (auto const& [group, carried] : grouping.groups) {
        GroupCounts& counts = all.emplace_back();
        counts.group = group;
        counts.withdrawn = carried.withdrawn;
        Values values;
        for (auto const& [lists, routes] : carried.routes) {
            addRoutes(counts, lists, routes);
            for (std::size_t kind = 0; kind < communityKinds; ++kind) {
                for (ListMember const& member : members.of(kind, lists[kind])) {
                    values.insert(member.octets);
                }
            }
        }
        counts.values = values.size();
    }
    return all;
}

std::vector<GroupCounts> RouteTally::groupsByAs() const {
    auto const& groups = grouping(GroupBy::as).groups;
    auto const whole = groups.find({});
    auto const allRoutes = whole == groups.end() ? RoutesByLists() : whole->second.routes;
    std::unordered_map<U32, GroupCounts> byAs;
    std::unordered_map<U32, Values> values;
    Members members(*this);
    for (auto const& [lists, routes] : allRoutes) {
        std::map<U32, ListSet> ofAs; // the lists that contain a community of the AS
        for (std::size_t kind = 0; kind < communityKinds; ++kind) {
            for (ListMember const& member : members.of(kind, lists[kind])) {
                if (auto const as =
                        administratorAs(static_cast<CommunityKind>(kind), member.octets)) {
                    ofAs[*as][kind] = lists[kind];
                    values[*as].insert(member.octets);
                }
            }
        }
        for (auto const& [as, listsOfAs] : ofAs) {
            addRoutes(byAs[as], listsOfAs, routes);
        }
    }
    std::vector<GroupCounts> all;
    for (auto& [as, counts] : byAs) {
        counts.group.as = as;
        counts.values = values[as].size();
        all.push_back(counts);
    }
    return all;
}

std::vector<TargetUse> RouteTally::targets() const {
    std::vector<TargetUse> all;
    Members members(*this);
    for (auto const& [group, carried] : grouping(GroupBy::peer).groups) {
        std::map<std::string, U64> uses; // by name
        for (auto const& [lists, routes] : carried.routes) {
            for (std::size_t kind = 0; kind < communityKinds; ++kind) {
                for (ListMember const& member : members.of(kind, lists[kind])) {
                    auto const communityKind = static_cast<CommunityKind>(kind);
                    if (isRouteTarget(communityKind, member.octets)) {
                        std::string name;
                        appendMemberName(name, communityKind, octetsOf(member.octets));
                        uses[name] += routes;
                    }
                }
            }
        }
        for (auto const& [target, routes] : uses) {
            all.push_back({target, group.peer, routes});
        }
    }
    std::sort(all.begin(), all.end(), [](TargetUse const& a, TargetUse const& b) {
        return std::tuple(b.routes, a.target, a.peer.as, a.peer.address) <
               std::tuple(a.routes, b.target, b.peer.as, b.peer.address);
    });
    return all;
}

} // namespace BgpCommunities
