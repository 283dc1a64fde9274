// The smallest use of the library: two routes that carry one community share one object.
//! [intern one]
#include <VoBgp/Parse/ExtComm.h>
#include <VoBgp/VoBgpCommunity.h>
#include <iostream>

using namespace Routing::Bgp;

int main() {
    auto const parsing = bgpParseExtCommContainerSmFactory();
    auto const table = extCommDedupTableFactory(parsing->extCommParser());
    ExtCommContent const onTheWire(0x0002'fbf4'0000'0007); // route target 64500:7
    auto const first = ExtComm::dedupContent(table.get(), onTheWire);
    auto const second = ExtComm::dedupContent(table.get(), onTheWire);
    std::cout << *first << '\n'
              << (first == second ? "one object" : "two objects") << " for both routes, "
              << table->dedupHashTable()->size() << " in the table\n";
}
//! [intern one]
