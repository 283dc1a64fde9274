#include "mrt/MrtReader.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/RecordedRoutes.h"

namespace BgpCommunities {
namespace {

using namespace Test;

TEST(MrtReaderTest, ReadsEveryBgp4mpSubtype) {
    std::string const announced = hex("18 c00002");
    std::string const withPath = u32(7) + announced;
    Lines const plain = {"192.0.2.1 AS64496 +192.0.2.0/24 -"};
    Lines const wide = {"192.0.2.1 AS65536 +192.0.2.0/24 -"};

    struct Row {
        unsigned int subtype;
        std::string body;
        Lines lines; // none if the subtype is unsupported
    };

    std::vector<Row> const rows = {
        {0, peer2 + hex("0005 0006"), {"192.0.2.1 AS64496 5>6"}},
        {1, peer2 + update("", announced), plain},
        {2, peer2, {}},
        {3, peer2, {}},
        {4, peer4 + update("", announced), wide},
        {5, peer4 + hex("0006 0001"), {"192.0.2.1 AS65536 6>1"}},
        {6, peer2 + update("", announced), {"192.0.2.1 AS64496 sent +192.0.2.0/24 -"}},
        // The octets could be a route with path identifier, which this subtype does not carry.
        {7,
         peer4 + update("", hex("08 0a 08 0b 00")),
         {"192.0.2.1 AS65536 sent +10.0.0.0/8 11.0.0.0/8 0.0.0.0/0 -"}},
        {8, peer2 + update("", withPath), {"192.0.2.1 AS64496 +7@192.0.2.0/24 -"}},
        {9, peer4 + update("", withPath), {"192.0.2.1 AS65536 +7@192.0.2.0/24 -"}},
        {10, peer2 + update("", withPath), {"192.0.2.1 AS64496 sent +7@192.0.2.0/24 -"}},
        {11, peer4 + update("", withPath), {"192.0.2.1 AS65536 sent +7@192.0.2.0/24 -"}},
        {12, peer4, {}},
    };
    for (Row const& row : rows) {
        SCOPED_TRACE(row.subtype);
        Recorder recorder;
        MrtCounts const counts = read(record(bgp4mp, row.subtype, row.body) +
                                          record(bgp4mpEt, row.subtype, u32(999999) + row.body),
                                      recorder);
        Lines twice = row.lines;
        twice.insert(twice.end(), row.lines.begin(), row.lines.end());
        EXPECT_EQ(recorder.lines, twice);
        EXPECT_EQ(recorder.problems, Lines());
        EXPECT_EQ(counts.records, 2U);
        EXPECT_EQ(counts.skippedRecords, row.lines.empty() ? 2U : 0U);
        EXPECT_EQ(counts.updates, row.subtype % 5 == 0 && row.subtype < 10 ? 0U : twice.size());
    }
}

TEST(MrtReaderTest, ReadsEveryTableDumpSubtype) {
    std::string const area = attribute(16, std::string(16, '\0'));
    std::string const time = u32(1700000000);
    std::string const entries =
        u16(2) + u16(0) + time + u16(area.size()) + area + u16(1) + time + u16(0);
    std::string const pathEntries =
        u16(2) + u16(0) + time + u32(7) + u16(area.size()) + area + u16(1) + time + u32(8) + u16(0);
    std::string const v4 = u32(0) + hex("18 c00002"), v6 = u32(0) + hex("20 20010db8");
    std::string const vpn = u32(0) + hex("0001 80 70 000101 0000fbf000000001 c00002");
    std::string const v4Dump =
        hex("0000 0001 c00002ff 18 01 00000000 c0000201 fbf0") + u16(area.size()) + area;
    std::string const v6Dump = hex("0000 0001 20010db8000000000000000000000000 20 01 00000000"
                                   "20010db8000000000000000000000002 fbf0 0000");
    auto const both = [](std::string const& route) {
        return Lines{"192.0.2.1 AS64496 " + route + " 16#0/16", "2001:db8::2 AS65536 " + route};
    };
    auto const paths = [](std::string const& route) {
        return Lines{"192.0.2.1 AS64496 7@" + route + " 16#0/16", "2001:db8::2 AS65536 8@" + route};
    };

    struct Row {
        unsigned int type;
        unsigned int subtype;
        std::string body;
        Lines lines; // none if the subtype is unsupported
    };

    std::vector<Row> const rows = {
        {tableDump, 1, v4Dump, Lines{"192.0.2.1 AS64496 192.0.2.0/24 16#0/16"}},
        {tableDump, 2, v6Dump, Lines{"2001:db8::2 AS64496 2001:db8::/32"}},
        {tableDump, 3, "", {}},
        {tableDumpV2, 0, "", {}},
        {tableDumpV2, 2, v4 + entries, both("192.0.2.0/24")},
        {tableDumpV2, 3, v4 + entries, both("192.0.2.0/24(multicast)")},
        {tableDumpV2, 4, v6 + entries, both("2001:db8::/32")},
        {tableDumpV2, 5, v6 + entries, both("2001:db8::/32(multicast)")},
        {tableDumpV2, 6, vpn + entries, both("64496:1:192.0.2.0/24")},
        {tableDumpV2, 6, u32(0) + hex("0019 46 03 02 aabb") + entries, both("25/70:0302aabb")},
        {tableDumpV2, 6, u32(0) + hex("0001 84 60 0000fbf0 0002fbf000000064") + entries,
         both("1/132:600000fbf00002fbf000000064")},
        {tableDumpV2, 6, u32(0) + hex("0001 85 03 010203") + entries, both("1/133:03010203")},
        {tableDumpV2, 6, u32(0) + hex("4004 47 0001 0002 aabb") + entries,
         both("16388/71:00010002aabb")},
        {tableDumpV2, 6, u32(0) + hex("0019 41 0002 aabb") + entries, both("25/65:0002aabb")},
        {tableDumpV2, 6, u32(0) + hex("0001 f0 aabb") + entries, {}},
        {tableDumpV2, 7, "", {}},
        {tableDumpV2, 8, v4 + pathEntries, paths("192.0.2.0/24")},
        {tableDumpV2, 9, v4 + pathEntries, paths("192.0.2.0/24(multicast)")},
        {tableDumpV2, 10, v6 + pathEntries, paths("2001:db8::/32")},
        {tableDumpV2, 11, v6 + pathEntries, paths("2001:db8::/32(multicast)")},
        {tableDumpV2, 12, vpn + pathEntries, paths("64496:1:192.0.2.0/24")},
        {tableDumpV2, 13, "", {}},
        {48, 0, "", {}}, // IS-IS
    };
    for (Row const& row : rows) {
        SCOPED_TRACE(std::to_string(row.type) + "/" + std::to_string(row.subtype));
        Recorder recorder;
        MrtCounts const counts = read(peers + record(row.type, row.subtype, row.body), recorder);
        EXPECT_EQ(recorder.lines, row.lines);
        EXPECT_EQ(recorder.problems, Lines());
        EXPECT_EQ(counts.records, 2U);
        EXPECT_EQ(counts.ribEntries, row.lines.size());
        EXPECT_EQ(counts.skippedRecords, row.lines.empty() ? 1U : 0U);
    }
}

TEST(MrtReaderTest, ReadsEveryTypeOfPeer) {
    std::string const table = hex("c00002fe 0004") + "view" + hex("0004") +
                              hex("00 c0000201 c0000201 fbf0"
                                  "01 c0000202 20010db8000000000000000000000002 fbf1"
                                  "02 c0000203 c0000203 00010000"
                                  "03 c0000204 20010db8000000000000000000000004 00010001");
    std::string rib = u32(0) + hex("18 c00002") + u16(4);
    for (unsigned int peer = 0; peer < 4; ++peer) {
        rib += u16(peer) + u32(0) + u16(0);
    }
    Lines lines = {"192.0.2.1 AS64496 192.0.2.0/24", "2001:db8::2 AS64497 192.0.2.0/24",
                   "192.0.2.3 AS65536 192.0.2.0/24", "2001:db8::4 AS65537 192.0.2.0/24"};
    for (bool const whole : {true, false}) {
        Recorder recorder;
        read(record(tableDumpV2, 1, table.substr(0, table.size() - !whole)) +
                 record(tableDumpV2, 2, rib),
             recorder);
        EXPECT_EQ(recorder.lines, lines);
        EXPECT_EQ(recorder.problems.size(), whole ? 0U : 2U); // of the table and of the entry
        lines.back() = "- 192.0.2.0/24";
    }
}

/// The last record begins in the first 64 KiB of the dump and ends after them.
TEST(MrtReaderTest, ReadsRecordsOnBothSidesOfABufferEnd) {
    std::string dump;
    Lines lines;
    while (dump.size() <= std::size_t{64} << 10) {
        std::string const number = std::to_string(lines.size() % 256);
        dump += as4Record(update("", hex("18 0a00") + u8(lines.size())));
        lines.push_back("192.0.2.1 AS65536 +10.0." + number + ".0/24 -");
    }
    Recorder recorder;
    EXPECT_EQ(read(dump, recorder).truncatedOctets, 0U);
    EXPECT_EQ(recorder.lines, lines);
    EXPECT_EQ(recorder.problems, Lines());
}

TEST(MrtReaderTest, DeliversRoutesAndCommunitiesOfAnUpdate) {
    std::string const reach = hex("0002 01 10 20010db8000000000000000000000001 00 20 20010db8");
    std::string const unreach = hex("0001 80 58 800000 0000fbf000000001");
    // Attributes nested in another one (here ATTR_SET, RFC 6368) are not attributes of the route.
    std::string const nested = attribute(128, u32(64496) + attribute(8, hex("fbf00001")));
    std::string const area = attribute(8, hex("fbf00001")) + attribute(14, reach) + nested +
                             attribute(16, "") + attribute(16, std::string(24, 'x')) +
                             attribute(15, unreach) + attribute(32, std::string(13, 'x')) +
                             attribute(25, std::string(40, 'x')) + attribute(8, hex("fbf00002"));
    Recorder recorder;
    MrtCounts const counts =
        read(as4Record(update(area, hex("18 c00002"), hex("18 c63364"))), recorder);
    EXPECT_EQ(recorder.lines,
              Lines{"192.0.2.1 AS65536 +192.0.2.0/24 2001:db8::/32 -198.51.100.0/24 "
                    "64496:1:0.0.0.0/0 8#0/4 16#0/0 16#1/24 32#0/13 25#0/40 8#1/4"});
    EXPECT_EQ(recorder.problems, (Lines{"1@0: attribute 16 is empty",
                                        "1@0: attribute 32 has 13 octets, not a multiple of 12"}));
    using Counts = CommunityCounts;
    EXPECT_EQ(counts.of(CommunityKind::standard), (Counts{2, 0, 0, 2}));
    EXPECT_EQ(counts.of(CommunityKind::extended), (Counts{1, 1, 0, 3}));
    EXPECT_EQ(counts.of(CommunityKind::ip6Extended), (Counts{1, 0, 0, 2}));
    EXPECT_EQ(counts.of(CommunityKind::large), (Counts{0, 0, 1, 0}));
}

} // namespace
} // namespace BgpCommunities
