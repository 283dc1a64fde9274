#include <string>

#include <gtest/gtest.h>

#include "support/ProgramRun.h"

namespace BgpCommunities {
namespace {

using namespace Test;

std::string prefix(unsigned int number) {
    return hex("100a") + u8(number);
}

/// Announces 10.N.0.0/16 with these standard communities.
std::string announce(unsigned int number, std::string const& communities) {
    std::string const value = hex(communities);
    return as4Record(update(value.empty() ? "" : attribute(8, value), prefix(number)));
}

/// The same for a path of 10.3.0.0/16.
std::string announcePath(unsigned int path, std::string const& communities) {
    return record(16, 9, peer4 + update(attribute(8, hex(communities)), u32(path) + prefix(3)));
}

TEST(DiffCommandTest, PrintsChangedRoutesListsAndValues) {
    std::string const same = announce(1, "fbf00001 fbf00002") + announcePath(1, "fbf00001");
    TemporaryFile const before(same + announce(2, "fbf00001") + announcePath(2, "fbf00003") +
                               announce(4, "fbf00001") + announce(5, "") + announce(7, "fbf00001"));
    // Only the final state is compared: 2 is unchanged, 4 is withdrawn, and 9 is of a session that
    // ended.
    TemporaryFile const after(
        announce(9, "fbf00001") + record(16, 5, peer4 + hex("0006 0001")) + same +
        announce(2, "fbf00009") + announce(2, "fbf00001") + announcePath(2, "fbf00001 fbf00004") +
        announce(4, "") + as4Record(update("", "", prefix(4))) + announce(5, "fbf00001") +
        announce(6, "fbf00001") +
        // Messages sent by the collector are ignored; a malformed
        // attribute withdraws the route.
        record(16, 7, peer4 + update(attribute(8, hex("fbf00001")), prefix(8))) +
        announce(7, "fbf00001") + announce(7, "fbf0"));
    TemporaryFile const words("64496:4,learned in Europe\n", ".txt");
    std::string const route = "~route\t192.0.2.1 AS65536\tIPv4 unicast\t10.";
    std::string const lists = "+list\tstandard\t1\t64496:1 64496:4\n"
                              "-list\tstandard\t1\t64496:3\n"
                              "+list\tstandard\t1\t64496:9\n"
                              "-value\tstandard\t1\t64496:3\n"
                              "+value\tstandard\t1\t64496:4\tlearned in Europe\n"
                              "+value\tstandard\t1\t64496:9\n";
    Result const result = run({"diff", "--dictionary", words.path(), before.path(), after.path()});
    EXPECT_EQ(result.status, 1) << result.err;
    EXPECT_EQ(result.out, route + "3.0.0/16\t2\tstandard\t64496:3\t64496:1 64496:4\n" + route +
                              "5.0.0/16\t-\tstandard\t-\t64496:1\n" + lists +
                              "\nroutes with other communities     2\n"
                              "routes with the same communities  3\n"
                              "routes only before                2\n"
                              "routes only after                 1\n"
                              "distinct lists only before        1\n"
                              "distinct lists only after         2\n"
                              "distinct communities only before  1\n"
                              "distinct communities only after   2\n");
    EXPECT_NE(run({"diff", "--json", before.path(), after.path()})
                  .out.find(R"({"change":"route","peer":"192.0.2.1 AS65536","family":)"
                            R"("IPv4 unicast","prefix":"10.5.0.0/16","kind":"standard",)"
                            R"("before":null,"after":"64496:1"})"),
              std::string::npos);

    // A store has the same lists and values as its dump, and no routes.
    std::string const store = after.path() + ".store";
    ASSERT_EQ(run({"stash", "--out", store, after.path()}).status, 1);
    Result const stored = run({"diff", "--dictionary", words.path(), before.path(), store});
    EXPECT_TRUE(stored.out.starts_with(lists)) << stored.out;
    Result const equal = run({"diff", after.path(), store});
    EXPECT_TRUE(equal.out.starts_with("\ndistinct lists only before        0\n")) << equal.out;
    for (char const* const suffix : {"", ".lock"}) {
        ::unlink((store + suffix).c_str());
    }
    Result const ribs = run({"diff", sample("rib.mrt.gz"), sample("rib.mrt.gz")});
    EXPECT_EQ(ribs.status, 0) << ribs.err;
    EXPECT_NE(ribs.out.find("same communities  393\n"), std::string::npos) << ribs.out;
    Result const missing = run({"diff", before.path(), store});
    EXPECT_EQ(missing.status, 3);
    EXPECT_EQ(missing.out, "");
}

} // namespace
} // namespace BgpCommunities
