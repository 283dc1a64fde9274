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

/// The program's routing agent: the library's tables, and their statistics.
///
/// Thread-safe if the process was in thread-safe mode when it was constructed (docs/threads.md),
/// otherwise thread-compatible. All communities and lists of the program are interned here or
/// rebuilt from a store.
class Agent {
  public:
    /// Interns the list of an attribute value. `Kind` is a row of ListKinds.h.
    template <class Kind>
    [[nodiscard]] Routing::Bgp::DecodedList<typename Kind::List> list(Octets value) const {
        return (tables_.*Kind::decode)(std::as_bytes(value));
    }

    /// The number of distinct objects of one sort in use.
    struct TableSize {
        std::string_view what;
        std::size_t count;
    };

    /// The sizes of all tables.
    [[nodiscard]] std::vector<TableSize> tableSizes() const;

    /// The route targets, and the lists of them, in use. Both notify observers of additions and
    /// removals.
    [[nodiscard]] Routing::Bgp::NotifyingRouteTargetList::PtrConst routeTargets() const;
    [[nodiscard]] Routing::Bgp::NotifyingRtExtCommListCollection::PtrConst routeTargetLists() const;

    /// The memory of the intern tables of one kind in octets, without the interned objects.
    [[nodiscard]] std::size_t tableOctets(CommunityKind kind) const;

  private:
    Routing::Bgp::CommunityTables const tables_;
};

/// Checks that the tables are empty, as they must be once all routes are dropped. Otherwise reports
/// their content on standard error and returns false.
bool tablesAreEmpty(Agent const& agent);

} // namespace BgpCommunities
