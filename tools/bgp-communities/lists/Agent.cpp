#include "Agent.h"

#include <string>

#include "text/StandardError.h"

namespace BgpCommunities {

using namespace Routing::Bgp;

std::vector<Agent::TableSize> Agent::tableSizes() const {
    std::vector<TableSize> all;
    forEachKind([&](auto row) { all.push_back({row.name, row.tables(tables_).front()->size()}); });
    all.insert(
        all.end(),
        {
            {"classification lists",
             tables_.extCommListDedupTable()->extCommClassificationListDedupTable()->size()},
            {"route-target lists",
             tables_.extCommListDedupTable()->rtExtCommClassificationListDedupTable()->size()},
            {"route-target lists announced", routeTargetLists()->rtExtCommLists()},
            {"classification lists of IPv6 extended communities",
             tables_.extCommIp6ListDedupTable()->extCommClassification()->size()},
            {"extended communities", tables_.extCommDedupTable()->dedupHashTable()->size()},
            {"route targets announced", routeTargets()->rts()},
            {"IPv6 extended communities", tables_.extCommIp6DedupTable()->dedupHashTable()->size()},
        });
    return all;
}

NotifyingRouteTargetList::PtrConst Agent::routeTargets() const {
    return tables_.routeTargets();
}

NotifyingRtExtCommListCollection::PtrConst Agent::routeTargetLists() const {
    return tables_.routeTargetLists();
}

std::size_t Agent::tableOctets(CommunityKind kind) const {
    std::size_t octets = 0;
    withKind(kind, [&](auto row) {
        for (auto const& table : row.tables(tables_)) {
            octets += table->octets();
        }
    });
    return octets;
}

bool tablesAreEmpty(Agent const& agent) {
    bool empty = true;
    for (Agent::TableSize const& table : agent.tableSizes()) {
        if (table.count != 0) {
            empty = false;
            complain(std::to_string(table.count) + " " + std::string(table.what) +
                     " left after all routes were dropped");
        }
    }
    return empty;
}

} // namespace BgpCommunities
