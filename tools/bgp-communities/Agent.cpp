#include "Agent.h"

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

CommList::PtrConst Agent::standardList(Octets value) {
    auto const list = commListFactory();
    for (OctetReader in(value); !in.empty();) {
        list->commIs(in.u32());
    }
    return list->dedup(standardLists_.get());
}

ExtCommList::PtrConst Agent::extendedList(Octets value) {
    auto const list = extCommListFactory();
    list->expectedCommunityCountIs(
        static_cast<U32>(value.size() / traitsOf(CommunityKind::extended).memberOctets));
    for (OctetReader in(value); !in.empty();) {
        list->commIs(extComm(readExtendedMember(in)));
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
        {"extended communities", extComms_->dedupHashTable()->size()},
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

std::size_t Agent::tableOctets(CommunityKind kind) const {
    switch (kind) {
    case CommunityKind::standard:
        return standardLists_->dedupTable()->octets();
    case CommunityKind::extended:
        return extComms_->dedupHashTable()->octets() + extendedLists_->dedupTable()->octets() +
               extendedLists_->extCommClassificationListDedupTable()->octets() +
               extendedLists_->rtExtCommClassificationListDedupTable()->octets();
    case CommunityKind::ip6Extended:
        return extCommIp6s_->dedupHashTable()->octets() + ip6Lists_->dedupTable()->octets() +
               ip6Lists_->extCommClassification()->octets();
    case CommunityKind::large:
        return largeLists_->dedupTable()->octets();
    }
    return 0;
}

} // namespace BgpCommunities
