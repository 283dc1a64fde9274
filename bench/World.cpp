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

CommList::PtrConst World::list(std::span<U32 const> members) const {
    auto const list = commListFactory();
    for (auto const member : members) {
        list->commIs(member);
    }
    return list->dedup(tables.commListDedupTable().get());
}

LargeCommList::PtrConst World::list(std::span<Acl::CommunityValue const> members) const {
    auto const list = largeCommListFactory();
    for (auto const& member : members) {
        list->commIs(member);
    }
    return list->dedup(tables.largeCommListDedupTable().get());
}

ExtCommList::PtrConst World::list(std::span<ExtCommContent const> members) const {
    auto const list = extCommListFactory();
    list->expectedCommunityCountIs(static_cast<U32>(members.size()));
    for (auto const& member : members) {
        list->commIs(intern(member));
    }
    return list->dedup(tables.extCommListDedupTable().get());
}

ExtCommIp6List::PtrConst World::list(std::span<ExtCommIp6Content const> members) const {
    auto const list = extCommIp6ListFactory();
    list->expectedCommunityCountIs(static_cast<U32>(members.size()));
    for (auto const& member : members) {
        list->commIs(ExtCommIp6::dedupContent(tables.extCommIp6DedupTable().get(), member));
    }
    return list->dedup(tables.extCommIp6ListDedupTable().get());
}

} // namespace Bench
