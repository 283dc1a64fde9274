#include "Agent.h"

#include <algorithm>

#include "ExtendedAttribute.h"

namespace BgpCommunities {

Agent::Agent()
  : parsers_(Routing::Bgp::bgpParseExtCommContainerSmFactory())
  , extComms_(Routing::Bgp::extCommDedupTableFactory(parsers_->extCommParser())) {}

void Agent::intern(Octets value, ExtComms& members) {
    readExtendedMembers(value, sorted_);
    std::sort(sorted_.begin(), sorted_.end());
    sorted_.erase(std::unique(sorted_.begin(), sorted_.end()), sorted_.end());
    members.clear();
    for (std::uint64_t const member : sorted_) {
        members.push_back(Routing::Bgp::ExtComm::dedupContent(
            extComms_.get(), Routing::Bgp::ExtCommContent(member)));
    }
}

std::size_t Agent::extComms() const {
    return extComms_->dedupHashTable()->size();
}

} // namespace BgpCommunities
