// An agent publishes a list, and another process reads it.
//! [shared store]
#include <MoxStash/StoreManager.h>
#include <MoxStash/StorePublisher.h>
#include <VoBgp/CommunityTables.h>

#include <iostream>

using namespace Routing::Bgp;

namespace {

/// The agent: interns a list and publishes it under a name.
void leave(std::string const& store) {
    CommunityTables const tables;
    unsigned char const value[] = {0, 2, 251, 244, 0, 0, 0, 8, 0, 2, 251, 244, 0, 0, 0, 7};
    auto const targets = tables.extCommList(std::as_bytes(std::span(value)));
    MoxStash::StoreWriter writer;
    writer.rootIs("targets", targets.list->stash(writer));
    MoxStash::publishStore(writer, store);
}

/// Another process: maps the store and rebuilds the list, without tables or parse rules.
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
