// A minimal agent: two routes that carry the same communities share one list.
//! [intern one]
#include <VoBgp/CommunityTables.h>
#include <iostream>

using namespace Routing::Bgp;

int main() {
    CommunityTables const tables;
    // Attribute 16, EXTENDED COMMUNITIES, as two peers send it: route targets 64500:9 and 64500:7.
    unsigned char const value[] = {0, 2, 251, 244, 0, 0, 0, 9, 0, 2, 251, 244, 0, 0, 0, 7};
    auto const first = tables.extCommList(std::as_bytes(std::span(value)));
    auto const second = tables.extCommList(std::as_bytes(std::span(value)));
    if (!first) {
        return 1; // malformed or refused, see first.verdict
    }
    std::cout << *first.list << '\n'
              << (first.list == second.list ? "one list" : "two lists") << " for both routes, "
              << tables.routeTargets()->rts() << " route targets in use\n";
}
//! [intern one]
