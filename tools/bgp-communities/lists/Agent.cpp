#include "Agent.h"

#include <span>

namespace BgpCommunities {

using namespace Routing::Bgp;

DecodedList<CommList> Agent::standardList(Octets value) const {
    return tables_.commList(std::as_bytes(value));
}

DecodedList<ExtCommList> Agent::extendedList(Octets value) const {
    return tables_.extCommList(std::as_bytes(value));
}

DecodedList<ExtCommIp6List> Agent::ip6List(Octets value) const {
    return tables_.extCommIp6List(std::as_bytes(value));
}

DecodedList<LargeCommList> Agent::largeList(Octets value) const {
    return tables_.largeCommList(std::as_bytes(value));
}

std::vector<Agent::Held> Agent::held() const {
    return {
        {"lists of communities", tables_.commListDedupTable()->dedupTable()->size()},
        {"lists of extended communities", tables_.extCommListDedupTable()->dedupTable()->size()},
        {"lists of IPv6 extended communities",
         tables_.extCommIp6ListDedupTable()->dedupTable()->size()},
        {"lists of large communities", tables_.largeCommListDedupTable()->dedupTable()->size()},
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
    };
}

NotifyingRouteTargetList::PtrConst Agent::routeTargets() const {
    return tables_.routeTargets();
}

NotifyingRtExtCommListCollection::PtrConst Agent::routeTargetLists() const {
    return tables_.routeTargetLists();
}

std::size_t Agent::tableOctets(CommunityKind kind) const {
    switch (kind) {
    case CommunityKind::standard:
        return tables_.commListDedupTable()->dedupTable()->octets();
    case CommunityKind::extended:
        return tables_.extCommDedupTable()->dedupHashTable()->octets() +
               tables_.extCommListDedupTable()->dedupTable()->octets() +
               tables_.extCommListDedupTable()->extCommClassificationListDedupTable()->octets() +
               tables_.extCommListDedupTable()->rtExtCommClassificationListDedupTable()->octets();
    case CommunityKind::ip6Extended:
        return tables_.extCommIp6DedupTable()->dedupHashTable()->octets() +
               tables_.extCommIp6ListDedupTable()->dedupTable()->octets() +
               tables_.extCommIp6ListDedupTable()->extCommClassification()->octets();
    case CommunityKind::large:
        return tables_.largeCommListDedupTable()->dedupTable()->octets();
    }
    return 0;
}

} // namespace BgpCommunities
