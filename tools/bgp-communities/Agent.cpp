#include "Agent.h"

#include <algorithm>

#include "AttributeVerdict.h"

namespace BgpCommunities {

using namespace Routing::Bgp;

namespace {

ExtCommIp6Content readIp6Member(OctetReader& in) {
    auto const type = in.u8();
    auto const subtype = in.u8();
    Lumo::Ip6Addr::Octets address{};
    for (auto& octet : address) {
        octet = in.u8();
    }
    return {type, subtype, Lumo::Ip6Addr(address), in.u16()};
}

Acl::CommunityValue readLargeMember(OctetReader& in) {
    auto const globalAdministrator = in.u32();
    auto const localData1 = in.u32();
    return {globalAdministrator, localData1, in.u32()};
}

} // namespace

Agent::Agent()
  : parsers_(bgpParseExtCommContainerSmFactory())
  , extComms_(extCommDedupTableFactory(parsers_->extCommParser()))
  , extCommIp6s_(extCommIp6DedupTableFactory(parsers_->extCommParser()))
  , standardLists_(commListDedupTableFactory())
  , extendedLists_(extCommListDedupTableFactory())
  , ip6Lists_(extCommIp6ListDedupTableFactory())
  , largeLists_(largeCommListDedupTableFactory()) {}

ExtComm::PtrConst Agent::extComm(std::uint64_t member) {
    return ExtComm::dedupContent(extComms_.get(), ExtCommContent(member));
}

void Agent::intern(Octets value, ExtComms& members) {
    readExtendedMembers(value, sorted_);
    std::sort(sorted_.begin(), sorted_.end());
    sorted_.erase(std::unique(sorted_.begin(), sorted_.end()), sorted_.end());
    members.clear();
    for (std::uint64_t const member : sorted_) {
        members.push_back(extComm(member));
    }
}

CommList::PtrConst Agent::standardList(Octets value) {
    auto const list = commListFactory();
    for (OctetReader in(value); !in.empty();) {
        list->commIs(in.u32());
    }
    return list->dedup(standardLists_.get());
}

ExtCommList::PtrConst Agent::extendedList(Octets value) {
    readExtendedMembers(value, sorted_);
    auto const list = extCommListFactory();
    list->expectedCommunityCountIs(static_cast<U32>(sorted_.size()));
    for (std::uint64_t const member : sorted_) {
        list->commIs(extComm(member));
    }
    return list->dedup(extendedLists_.get());
}

ExtCommIp6List::PtrConst Agent::ip6List(Octets value) {
    auto const list = extCommIp6ListFactory();
    for (OctetReader in(value); !in.empty();) {
        list->commIs(ExtCommIp6::dedupContent(extCommIp6s_.get(), readIp6Member(in)));
    }
    return list->dedup(ip6Lists_.get());
}

LargeCommList::PtrConst Agent::largeList(Octets value) {
    auto const list = largeCommListFactory();
    for (OctetReader in(value); !in.empty();) {
        list->commIs(readLargeMember(in));
    }
    return list->dedup(largeLists_.get());
}

std::size_t Agent::extComms() const {
    return extComms_->dedupHashTable()->size();
}

std::vector<Agent::Held> Agent::held() const {
    return {
        {"lists of communities", standardLists_->dedupTable()->size()},
        {"lists of extended communities", extendedLists_->dedupTable()->size()},
        {"lists of IPv6 extended communities", ip6Lists_->dedupTable()->size()},
        {"lists of large communities", largeLists_->dedupTable()->size()},
        {"classification lists", extendedLists_->extCommClassificationListDedupTable()->size()},
        {"route-target lists", extendedLists_->rtExtCommClassificationListDedupTable()->size()},
        {"route-target lists announced", routeTargetLists()->rtExtCommLists()},
        {"classification lists of IPv6 extended communities",
         ip6Lists_->extCommClassification()->size()},
        {"extended communities", extComms()},
        {"route targets announced", routeTargets()->rts()},
        {"IPv6 extended communities", extCommIp6s_->dedupHashTable()->size()},
    };
}

NotifyingRouteTargetList::PtrConst Agent::routeTargets() const {
    return extComms_->notifyingRouteTargetList();
}

NotifyingRtExtCommListCollection::PtrConst Agent::routeTargetLists() const {
    return extendedLists_->notifyingRtExtCommListCollection();
}

} // namespace BgpCommunities
