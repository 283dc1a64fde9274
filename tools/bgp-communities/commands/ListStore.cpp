#include "ListStore.h"

#include <MoxStash/StorePublisher.h>
#include <MoxStash/StoreWriter.h>

#include "lists/StoredLists.h"
#include "text/Utf8.h"

namespace BgpCommunities {

std::string outName(Arguments const& arguments, std::string_view what) {
    auto const name = arguments.value(outOption);
    if (!name || name->empty()) {
        throw UsageError("missing " + std::string(outOption) + " " + std::string(what));
    }
    return std::string(*name);
}

void stashLists(std::span<std::unique_ptr<ListUses> const> lists, std::string const& suffix,
                MoxStash::StoreWriter& writer) {
    for (std::size_t kind = 0; kind < communityKinds; ++kind) {
        writer.rootIs(std::string(communityKindTraits[kind].key) + suffix, lists[kind]->stash(writer));
    }
}

void publishLists(std::span<std::unique_ptr<ListUses> const> lists, std::string const& store,
                  Output& output) {
    MoxStash::StoreWriter writer;
    stashLists(lists, "", writer);
    auto const generation = MoxStash::publishStore(writer, store);
    output.text()
        .append(masked(store))
        .append(": generation ")
        .append(std::to_string(generation))
        .append(", ")
        .append(std::to_string(writer.records()))
        .append(" records");
    output.endLine();
}

std::vector<std::unique_ptr<ListUses>> storedLists(Agent& agent, std::string const& store) {
    return readCurrent([&] {
        MoxStash::StoreManager manager(store);
        manager.sharingIs(true);
        auto lists = listUses(agent);
        bool any = false;
        for (auto const& kind : lists) {
            any = kind->addStored(manager) || any;
        }
        manager.validateVersionAnchor();
        if (!any) {
            throw MoxStash::StoreException(store, "holds no lists of communities");
        }
        return lists;
    });
}

} // namespace BgpCommunities
