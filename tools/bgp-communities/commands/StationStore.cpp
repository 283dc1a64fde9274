#include "StationStore.h"

#include <algorithm>

#include <MoxStash/StorePublisher.h>
#include <MoxStash/StoreWriter.h>

#include "ListStore.h"

namespace BgpCommunities {

namespace {

/// Returns "ROUTER/192.0.2.1 AS64496/adjRibInPre", with the instance after the peer if it has
/// one.
std::string viewName(std::string const& router, RouterRoutes::Key const& key, Peer const& peer) {
    std::string name = router + "/";
    appendText(name, peer);
    auto const& distinguisher = key.first.distinguisher;
    if (std::any_of(distinguisher.begin(), distinguisher.end(), [](auto each) { return each; })) {
        appendDistinguisher(name += ' ', distinguisher);
    }
    return name.append("/").append(nameOf(key.second));
}

void addAll(std::vector<std::unique_ptr<ListUses>> const& to,
            std::vector<std::unique_ptr<ListUses>> const& from) {
    for (std::size_t kind = 0; kind < communityKinds; ++kind) {
        to[kind]->add(*from[kind]);
    }
}

} // namespace

StationUses::Kinds& StationUses::kindsOf(std::string const& view) {
    Kinds& kinds = views_[view];
    if (kinds.empty()) {
        kinds = listUses(agent_);
    }
    return kinds;
}

void StationUses::add(std::string const& router, RouterRoutes const& routes) {
    for (auto const& [key, view] : routes.views()) {
        Kinds& kinds = kindsOf(viewName(router, key, view.peer));
        Kinds const counted = listUses(agent_);
        view.routes.forEach([&](RouteLists const& lists) {
            for (auto const& kind : counted) {
                kind->add(lists);
            }
        });
        addAll(kinds, counted);
        addAll(all_, counted);
    }
}

void StationUses::add(StationUses const& other) {
    addAll(all_, other.all_);
    for (auto const& [view, kinds] : other.views_) {
        addAll(kindsOf(view), kinds);
    }
}

U64 StationUses::publish(std::string const& store,
                         std::vector<std::pair<std::string_view, U64>> const& numbers) const {
    MoxStash::StoreWriter writer;
    stashLists(all_, "", writer);
    for (auto const& [view, kinds] : views_) {
        stashLists(kinds, " of " + view, writer);
    }
    void const* const nothing = writer.tableIs({});
    for (auto const& [name, number] : numbers) {
        MoxStash::StoredEntry const row = {nothing, number};
        writer.rootIs("number of " + std::string(name), writer.tableIs({&row, 1}));
    }
    return MoxStash::publishStore(writer, store);
}

} // namespace BgpCommunities
