#include "mrt/MrtReader.h"
#include "mrt/RecordForms.h"

#include <fstream>
#include <string>
#include <vector>

#include <unistd.h>

#include <gtest/gtest.h>

#include "input/IntegerTypes.h"
#include "support/Allocations.h"
#include "support/RecordedRoutes.h"

namespace BgpCommunities {
namespace {

using namespace Test;

TEST(MalformedRecordsTest, CountsReportsAndSkipsMalformedParts) {
    struct Row {
        char const* name;
        U64 MrtCounts::*counter;
        std::string record;
        Lines lines;
        std::string reason;
    };

    Lines const none;
    Lines const first = {"192.0.2.1 AS65536 +192.0.2.0/24 - 8#0/4"};
    Lines const ribFirst = {"192.0.2.1 AS64496 192.0.2.0/24 8#0/4"};
    Lines const noPeer = {"- 192.0.2.0/24 8#0/4"};
    auto const inRecord = &MrtCounts::brokenRecords;
    auto const inUpdate = &MrtCounts::brokenUpdates;
    auto const inArea = &MrtCounts::brokenAttributeAreas;
    auto const inRoutes = &MrtCounts::brokenRoutes;
    std::string const good = attribute(8, hex("fbf00001"));
    std::string const cut = hex("c0 10 20 0002fbf000000001");
    std::string const v4 = u32(0) + hex("18 c00002");
    std::string const entry = u16(0) + u32(0) + u16(good.size()) + good;
    std::string const cutEntry = u16(0) + u32(0) + u16(good.size() + cut.size()) + good + cut;
    std::string const marker(16, '\xff');
    std::string const tooShort = "UPDATE too short for its own length fields";
    std::string const noSuchPeer = "entry refers to a peer missing from the peer index table";
    auto const with = [&](std::string const& attributes) {
        return as4Record(update(good + attributes, hex("18 c00002")));
    };
    std::string const twice = attribute(15, hex("000101")) + attribute(15, hex("000101 18 c63364"));
    std::vector<Row> const rows = {
        {"no microseconds", inRecord, record(bgp4mpEt, 4, "xyz"), none,
         "record too short for its peer"},
        {"peer", inRecord, record(bgp4mp, 1, hex("fbf0 fbff 0000 0019 c0000201 c00002fe")), none,
         "address family of the peer is neither IPv4 nor IPv6"},
        {"half a message header", inRecord, as4Record(marker + u16(19)), none,
         "record too short for a BGP message header"},
        {"KEEPALIVE beyond its record", inRecord, as4Record(marker + hex("0014 04")), none,
         "truncated BGP message: length 20, 19 octets left"},
        {"UPDATE beyond its record", inUpdate, as4Record(marker + hex("0018 02 0000 0000")), none,
         tooShort},
        {"UPDATE of nothing", inUpdate, as4Record(marker + hex("0000 02 0000 0000")), none,
         tooShort},
        {"UPDATE without lengths", inUpdate, as4Record(message(2, "")), none, tooShort},
        {"withdrawn", inUpdate, as4Record(message(2, u16(5) + u16(0))), none, tooShort},
        {"attributes", inUpdate, as4Record(message(2, u16(0) + u16(5) + u32(0))), none, tooShort},
        {"attribute past its area", inArea, with(cut), first,
         "truncated attribute 16: length 32, 8 octets left"},
        {"attribute header past its area", inArea, with(hex("d010 00")), first,
         "truncated attribute header"},
        {"routes", inRoutes, as4Record(update(good, hex("18 c00002 18 c000"))), first,
         "truncated prefix in NLRI"},
        {"next hop", inRoutes, with(attribute(14, hex("0002 01 10 2001"))), first,
         "MP_REACH_NLRI is too short for its next hop"},
        {"withdrawn family", inRoutes, with(attribute(15, "x")), first,
         "MP_UNREACH_NLRI is too short for its family"},
        {"MP_UNREACH_NLRI", inRoutes, with(twice), first,
         "duplicate MP_REACH_NLRI or MP_UNREACH_NLRI attribute"},
        {"TABLE_DUMP /33", inRecord,
         record(tableDump, 1, hex("0000 0001 c0000200 21 01 00000000 c0000201 fbf0 0000")), none,
         "prefix length exceeds that of an address"},
        {"RIB /33", inRecord, record(tableDumpV2, 2, u32(0) + hex("21 c000020000 0000")), none,
         "prefix length exceeds that of an address"},
        {"RIB attribute past its area", inArea, record(tableDumpV2, 2, v4 + u16(1) + cutEntry),
         ribFirst, "truncated attribute 16: length 32, 8 octets left"},
        {"RIB route", inRecord, record(tableDumpV2, 6, u32(0) + hex("0019 46 03 05 aabb")), none,
         "truncated route in NLRI"},
        {"RIB peer", inRecord, record(tableDumpV2, 2, v4 + u16(1) + u16(2) + entry.substr(2)),
         noPeer, noSuchPeer},
        {"octets after states",
         inRecord,
         record(bgp4mp, 5, peer4 + hex("0006 0001 00")),
         {"192.0.2.1 AS65536 6>1"},
         "octets after the content of the record: 1"},
        {"octets after an UPDATE", inRecord, as4Record(update(good, hex("18 c00002")) + "xy"),
         first, "octets after the content of the record: 2"},
        {"octets after a KEEPALIVE", inRecord, as4Record(message(4, "") + message(4, "")), none,
         "octets after the content of the record: 19"},
        {"octets after a RIB", inRecord, record(tableDumpV2, 2, v4 + u16(1) + entry + "x"),
         ribFirst, "octets after the content of the record: 1"},
        {"octets after a TABLE_DUMP",
         inRecord,
         record(tableDump, 1, hex("0000 0001 c0000200 18 01 00000000 c0000201 fbf0 0000 ff")),
         {"192.0.2.1 AS64496 192.0.2.0/24"},
         "octets after the content of the record: 1"},
        {"octets after peers", inRecord, record(tableDumpV2, 1, hex("c00002fe 0000 0000 ff")), none,
         "octets after the content of the record: 1"},
    };
    std::string const keepalive = as4Record(message(4, ""));
    std::string const after = as4Record(update(""));
    for (Row const& row : rows) {
        SCOPED_TRACE(row.name);
        Recorder recorder;
        MrtCounts const counts = read(keepalive + peers + row.record + after, recorder);
        Lines lines = row.lines;
        lines.push_back("192.0.2.1 AS65536 + -");
        EXPECT_EQ(recorder.lines, lines);
        EXPECT_EQ(recorder.problems, Lines{"3@" + std::to_string(keepalive.size() + peers.size()) +
                                           ": " + row.reason});
        EXPECT_EQ(counts.*row.counter, 1U);
        EXPECT_EQ(counts.brokenRecords + counts.brokenUpdates + counts.brokenAttributeAreas +
                      counts.brokenRoutes,
                  1U);
        EXPECT_EQ(counts.records, 4U);
    }
}

TEST(MalformedRecordsTest, ReadsEntriesWithoutPeersAndReportsThemOnce) {
    std::string const rib =
        record(tableDumpV2, 2, u32(0) + hex("18 c00002") + u16(1) + u16(0) + u32(0) + u16(0));
    Recorder recorder;
    EXPECT_EQ(read(rib + rib + peers + rib, recorder).ribEntries, 3U);
    EXPECT_EQ(recorder.lines,
              (Lines{"- 192.0.2.0/24", "- 192.0.2.0/24", "192.0.2.1 AS64496 192.0.2.0/24"}));
    EXPECT_EQ(recorder.problems, Lines{"1@0: no peer index table before the record"});
}

TEST(MalformedRecordsTest, AllocatesNothingForLengthsBeyondTheInput) {
    auto const before = octetsAllocatedSoFar();
    Recorder recorder;
    for (U32 const claim : {maxRibOctets, 0xffffffffU}) {
        for (std::size_t const octets : {12U, 100000U}) {
            std::string const head = u32(0) + u16(tableDumpV2) + u16(2) + u32(claim);
            EXPECT_EQ(read(head + std::string(octets, 'x'), recorder).truncatedOctets, 12 + octets);
        }
    }

    // A record longer than any valid one is not buffered either.
    constexpr U32 size = maxRibOctets + 1;
    TemporaryFile const file(u32(0) + u16(tableDumpV2) + u16(2) + u32(size));
    ASSERT_EQ(::truncate(file.path().c_str(), 12 + off_t{size}), 0);
    std::ofstream(file.path(), std::ios::binary | std::ios::app) << as4Record(update(""));
    InputStream input(file.path());
    MrtReader reader(input, recorder);
    while (reader.next()) {
    }
    EXPECT_EQ(reader.counts().records, 2U);
    EXPECT_EQ(reader.counts().brokenRecords, 1U);
    EXPECT_EQ(recorder.lines, Lines{"192.0.2.1 AS65536 + -"});
    EXPECT_LT(octetsAllocatedSoFar() - before, 8U << 20);
}

TEST(MalformedRecordsTest, KeepsTheMemoryOfALargeRecordNoLongerThanIt) {
    std::string const small = as4Record(update(""));
    std::string const large =
        record(tableDumpV2, 2, u32(0) + hex("00 0000") + std::string(4 << 20, 'x'));
    auto const allocatedFor = [](std::string const& dump) {
        Recorder recorder;
        std::string const whole = peers + dump;
        auto const before = octetsAllocatedSoFar();
        read(whole, recorder);
        return octetsAllocatedSoFar() - before;
    };
    EXPECT_GT(allocatedFor(large + small + large), allocatedFor(large + small) + large.size())
        << "the second one used memory that was still there";
}

TEST(MalformedRecordsTest, ReadsRecordsUpToTheLongestOfTheirType) {
    struct Row {
        unsigned int type;
        unsigned int subtype;
        U32 longest;
        std::string start;
    };

    std::string const marker(16, '\xff');
    for (Row const& row : std::vector<Row>{
             {tableDump, 2, 65581, std::string(44, '\0') + hex("ffff")},
             {tableDumpV2, 1, 1703918,
              u32(0) + hex("ffff") + std::string(65535, '\0') + "\xff\xff"},
             {tableDumpV2, 2, maxRibOctets, u32(0) + hex("00 0000")},
             {bgp4mp, 4, 65583,
              hex("00010000 0000fbff 0000 0002") + std::string(32, '\0') + marker + hex("ffff 04")},
         }) {
        SCOPED_TRACE(row.type);
        for (U32 const more : {0U, 1U}) {
            Recorder recorder;
            std::string body = row.start;
            body.resize(row.longest + more);
            read(peers + record(row.type, row.subtype, body), recorder);
            std::string const problems = testing::PrintToString(recorder.problems);
            EXPECT_EQ(problems.find("expected at most") != std::string::npos, more != 0)
                << problems;
        }
    }
}

} // namespace
} // namespace BgpCommunities
