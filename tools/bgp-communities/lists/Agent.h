#pragma once

#include <cstddef>
#include <span>
#include <string_view>
#include <vector>

#include <VoBgp/CommunityTables.h>

#include "ListKinds.h"
#include "input/OctetReader.h"
#include "wire/PathAttributes.h"

namespace BgpCommunities {

/**
 * The program's routing agent: the library's tables, and what the commands report about them.
 *
 * Thread-safe if the process was in thread-safe mode when it was made (docs/threads.md), else
 * thread-compatible. Every community and list that the program handles was interned here or
 * rebuilt from a store.
 */
class Agent {
  public:
    /** The interned list for the value of an attribute; `Kind` is a row of ListKinds.h. */
    template <class Kind>
    [[nodiscard]] Routing::Bgp::DecodedList<typename Kind::List> list(Octets value) const {
        return (tables_.*Kind::decode)(std::as_bytes(value));
    }

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
    Routing::Bgp::CommunityTables const tables_;
};

/** After all routes are dropped: names on standard error what the tables still hold; true if that
    is nothing. */
bool nothingIsLeft(Agent const& agent);

} // namespace BgpCommunities
