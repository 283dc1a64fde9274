// What an agent leaves for other processes, and how one of them finds it.
//! [shared store]
#include <MoxStash/StoreManager.h>
#include <MoxStash/StorePublisher.h>
#include <VoBgp/Parse/ExtCommContainer.h>
#include <VoBgp/VoBgpCommunityList.h>

#include <iostream>

using namespace Routing::Bgp;

namespace {

/// The agent: interns a list and publishes it under a name.
void leave(std::string const& store) {
    auto const parsing = bgpParseExtCommContainerSmFactory();
    auto const values = extCommDedupTableFactory(parsing->extCommParser());
    auto const lists = extCommListDedupTableFactory();
    auto const targets = extCommListFactory();
    for (U64 const onTheWire : {0x0002'fbf4'0000'0008U, 0x0002'fbf4'0000'0007U}) {
        targets->commIs(ExtComm::dedupContent(values.get(), ExtCommContent(onTheWire)));
    }
    MoxStash::StoreWriter writer;
    writer.rootIs("targets", targets->dedup(lists.get())->stash(writer));
    MoxStash::publishStore(writer, store);
}

/// Another process: maps the store and rebuilds the list; no table, no parse rule.
void find(std::string const& store) {
    MoxStash::StoreManager manager(store);
    auto const targets = ExtCommList::destash(manager.root("targets"), &manager);
    std::cout << "generation " << manager.versionAnchor() << ": " << *targets << '\n';
}

} // namespace

int main(int, char** argv) try {
    std::string const store = std::string(argv[0]) + ".store"; // or "shm:/NAME"
    MoxStash::removeStore(store);
    leave(store);
    find(store);
    leave(store);
    find(store);
} catch (MoxStash::StoreException const& error) {
    std::cerr << error.what() << '\n';
    return 1;
}
//! [shared store]
