#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include <VoBgp/ExtCommIp6DedupTable.h>
#include <VoBgp/ExtCommIp6List.h>
#include <VoBgp/ExtCommIp6ListDedupTable.h>
#include <VoBgp/ExtCommListDedupTable.h>
#include <VoBgp/NotifyingRouteTargetList.h>
#include <VoBgp/Parse/ExtCommContainer.h>
#include <VoBgp/VoBgpCommunity.h>
#include <VoBgp/VoBgpCommunityList.h>

#include "OctetReader.h"
#include "PathAttributes.h"

namespace BgpCommunities {

/**
 * The smallest honest routing agent: what a process needs to have to intern communities.
 *
 * It owns the parse rules and the intern tables that parse by them. Thread-safe if the process was
 * in the thread-safe mode when it was made (docs/threads.md), else thread-compatible. What never
 * changes: every community and every list that the program speaks of came out of these tables.
 *
 * The values that it interns are those of whole attributes, whose length is a multiple of a
 * member's and fits an attribute; what no list can hold has been refused before
 * (AttributeVerdict.h).
 */
class Agent {
  public:
    Agent();

    // The interned list that a value stands for, by the kind of attribute.
    Routing::Bgp::CommList::PtrConst standardList(Octets value);
    Routing::Bgp::ExtCommList::PtrConst extendedList(Octets value);
    Routing::Bgp::ExtCommIp6List::PtrConst ip6List(Octets value);
    Routing::Bgp::LargeCommList::PtrConst largeList(Octets value);

    /** How many different objects of one sort somebody holds. */
    struct Held {
        std::string_view what;
        std::size_t count;
    };

    /** What the tables say that they hold, all that the agent interns into. */
    [[nodiscard]] std::vector<Held> held() const;

    /** The route targets in use, and the lists of them; who observes one is told of each that
        comes or goes. */
    [[nodiscard]] Routing::Bgp::NotifyingRouteTargetList::PtrConst routeTargets() const;
    [[nodiscard]] Routing::Bgp::NotifyingRtExtCommListCollection::PtrConst routeTargetLists() const;

    /** How many octets the tables occupy in which values and lists of one kind are interned, the
        objects in them not included. */
    [[nodiscard]] std::size_t tableOctets(CommunityKind kind) const;

  private:
    Routing::Bgp::ExtComm::PtrConst extComm(std::uint64_t member);

    Routing::Bgp::BgpParseExtCommContainerSm::Ptr const parsers_;
    Routing::Bgp::ExtCommDedupTable::Ptr const extComms_;
    Routing::Bgp::ExtCommIp6DedupTable::Ptr const extCommIp6s_;
    Routing::Bgp::CommListDedupTable::Ptr const standardLists_;
    Routing::Bgp::ExtCommListDedupTable::Ptr const extendedLists_;
    Routing::Bgp::ExtCommIp6ListDedupTable::Ptr const ip6Lists_;
    Routing::Bgp::LargeCommListDedupTable::Ptr const largeLists_;
};

} // namespace BgpCommunities
