#include "World.h"

#include <Mox/CountWord.h>
#include <Routing/Bgp/VoBgpGlobals.h>

namespace Bench {

using namespace Routing::Bgp;

PointerMode::PointerMode(bool threadSafe) {
    Mox::threadSafePtrsIs(threadSafe);
    VoBgpGlobals::multiThreadedIs(threadSafe);
}

PointerMode::~PointerMode() {
    VoBgpGlobals::multiThreadedIs(false);
    Mox::threadSafePtrsIs(false);
}

World::World(bool threadSafe)
  : mode(threadSafe)
  , container(bgpParseExtCommContainerSmFactory())
  , values(extCommDedupTableFactory(container->extCommParser()))
  , ip6Values(extCommIp6DedupTableFactory(container->extCommParser()))
  , standardLists(commListDedupTableFactory())
  , largeLists(largeCommListDedupTableFactory())
  , extendedLists(extCommListDedupTableFactory())
  , ip6Lists(extCommIp6ListDedupTableFactory()) {}

CommList::PtrConst World::list(std::span<U32 const> members) const {
    auto const list = commListFactory();
    for (auto const member : members) {
        list->commIs(member);
    }
    return list->dedup(standardLists.get());
}

LargeCommList::PtrConst World::list(std::span<Acl::CommunityValue const> members) const {
    auto const list = largeCommListFactory();
    for (auto const& member : members) {
        list->commIs(member);
    }
    return list->dedup(largeLists.get());
}

ExtCommList::PtrConst World::list(std::span<ExtCommContent const> members) const {
    auto const list = extCommListFactory();
    list->expectedCommunityCountIs(static_cast<U32>(members.size()));
    for (auto const& member : members) {
        list->commIs(intern(member));
    }
    return list->dedup(extendedLists.get());
}

ExtCommIp6List::PtrConst World::list(std::span<ExtCommIp6Content const> members) const {
    auto const list = extCommIp6ListFactory();
    list->expectedCommunityCountIs(static_cast<U32>(members.size()));
    for (auto const& member : members) {
        list->commIs(ExtCommIp6::dedupContent(ip6Values.get(), member));
    }
    return list->dedup(ip6Lists.get());
}

} // namespace Bench
