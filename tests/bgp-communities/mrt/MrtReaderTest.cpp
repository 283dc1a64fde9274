#include "mrt/MrtReader.h"
#include "mrt/RecordForms.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include <sys/resource.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "support/DumpOctets.h"

namespace BgpCommunities {
namespace {

using namespace Test;

constexpr unsigned int tableDump = 12;
constexpr unsigned int tableDumpV2 = 13;
constexpr unsigned int bgp4mp = 16;
constexpr unsigned int bgp4mpEt = 17;

// ---- Octets ----

std::string const peer2 = hex("fbf0 fbff 0000 0001 c0000201 c00002fe");
std::string const peers = record(tableDumpV2, 1,
                                 hex("c00002fe 0000 0002  00 c0000201 c0000201 fbf0"
                                     "03 c0000202 20010db8000000000000000000000002 00010000"));

// ---- What was delivered, as text ----

std::string text(std::span<Route const> routes) {
    std::string out;
    for (Route const& route : routes) {
        out += out.empty() ? "" : " ";
        if (route.hasPathId) {
            out += std::to_string(route.pathId) + "@";
        }
        appendText(out, route);
    }
    return out;
}

std::string text(Peer const& peer) {
    std::string out;
    appendText(out, peer);
    return out;
}

/** " TYPE#REPETITION/OCTETS" for each attribute. */
std::string text(std::span<CommunityAttribute const> communities) {
    std::string out;
    for (CommunityAttribute const& attribute : communities) {
        out += " " + std::to_string(traitsOf(attribute.kind).attributeType) + "#" +
               std::to_string(attribute.repetition) + "/" + std::to_string(attribute.value.size());
    }
    return out;
}

/** Records every call in one line; problems as "record@offset: reason". */
class Recorder : public RouteHandler {
  public:
    void handleUpdate(Update const& update) override {
        lines.push_back(text(update.peer) + (update.sentByUs ? " sent +" : " +") +
                        text(update.announced) + " -" + text(update.withdrawn) +
                        text(update.communities));
    }

    void handleRibEntry(RibEntry const& entry) override {
        lines.push_back(text(entry.peer) + " " + text(std::span(&entry.route, 1)) +
                        text(entry.communities));
    }

    void handleStateChange(StateChange const& change) override {
        lines.push_back(text(change.peer) + " " + std::to_string(change.oldState) + ">" +
                        std::to_string(change.newState));
    }

    void handleProblem(Problem const& problem) override {
        kinds.push_back(problem.kind);
        problems.push_back(std::to_string(problem.at.number) + "@" +
                           std::to_string(problem.at.offset) + ": " + problem.reason);
    }

    std::vector<std::string> lines;
    std::vector<std::string> problems;
    std::vector<ProblemKind> kinds;
};

using Lines = std::vector<std::string>;

MrtCounts read(std::string const& dump, Recorder& recorder, AddPath addPath = AddPath::automatic) {
    TemporaryFile const file(dump);
    InputStream input(file.path());
    MrtReader reader(input, recorder, addPath);
    reader.readAll();
    EXPECT_FALSE(reader.next());
    return reader.counts();
}

// ---- Routes ----

TEST(NlriTest, ParsesAndPrintsRoutes) {
    struct Row {
        char const* name;
        NlriForm form;
        char const* octets;
        char const* routes;
        char const* fault;
    };

    NlriForm const v4 = {ipv4Unicast}, v4Paths = {ipv4Unicast, true}, v6 = {{2, 2}};
    NlriForm const label = {{1, 4}}, labelGone = {{1, 4}, false, true};
    NlriForm const vpn4 = {{1, 128}}, vpn6 = {{2, 128}}, evpn = {{25, 70}};
    char const* const pastEnd = "truncated prefix in NLRI";
    char const* const tooLong = "prefix length exceeds that of an address";
    char const* const noLabels = "labelled prefix too short for its labels";
    char const* const noRd = "VPN prefix too short for its route distinguisher";
    Row const rows[] = {
        {"IPv4", v4, "18 c00002  00  20 cb007109", "192.0.2.0/24 0.0.0.0/0 203.0.113.9/32", ""},
        {"IPv6", v6, "20 20010db8  00", "2001:db8::/32 ::/0", ""},
        {"bits beyond the prefix", v4, "0d 0b0d", "11.8.0.0/13", ""},
        {"paths", v4Paths, "00000007 18 c00002  ffffffff 00", "7@192.0.2.0/24 4294967295@0.0.0.0/0",
         ""},
        {"one label", label, "30 000101 c00002", "192.0.2.0/24", ""},
        {"two labels", label, "48 000100 000201 c00002", "192.0.2.0/24", ""},
        {"withdrawn label", labelGone, "30 800000 c00002", "192.0.2.0/24", ""},
        {"withdrawn, no bottom", labelGone, "30 000100 c00002", "192.0.2.0/24", ""},
        {"VPN, AS", vpn4, "70 000101 0000fbf000000001 c00002", "64496:1:192.0.2.0/24", ""},
        {"VPN, address", vpn4, "58 000101 0001c000020100ff", "192.0.2.1:255:0.0.0.0/0", ""},
        {"VPN, wide AS", vpn6, "78 000101 0002000100000009 20010db8", "65536:9:2001:db8::/32", ""},
        {"VPN, other", vpn4, "58 000101 00ff000000000000", "00ff000000000000:0.0.0.0/0", ""},
        {"another family", evpn, "0302aabb 0100", "25/70:0302aabb0100", ""},
        {"truncated prefix", v4, "18 c00002  18 c000", "192.0.2.0/24", pastEnd},
        {"truncated path identifier", v4Paths, "000000", "", pastEnd},
        {"IPv4 /33", v4, "21 c000020000", "", tooLong},
        {"IPv6 /129", v6, "81 20010db8 00000000 00000000 00000000 00", "", tooLong},
        {"no room for a label", label, "10 0001", "", noLabels},
        {"labels past the bits", label, "14 000101", "", noLabels},
        {"labels without a bottom", label, "30 000100 c00002", "", noLabels},
        {"no room for the distinguisher", vpn4, "30 000101 c00002", "", noRd},
    };
    for (Row const& row : rows) {
        SCOPED_TRACE(row.name);
        std::string const octets = hex(row.octets);
        std::vector<std::uint8_t> const exact(octets.begin(), octets.end());
        std::vector<Route> routes;
        EXPECT_EQ(readRoutes(exact, row.form, routes), row.fault);
        EXPECT_EQ(text(std::span<Route const>(routes)), row.routes);
    }
}

// ---- Record types ----

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
        {7, peer4 + update("", announced), {"192.0.2.1 AS65536 sent +192.0.2.0/24 -"}},
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
        {tableDumpV2, 3, v4 + entries, both("192.0.2.0/24")},
        {tableDumpV2, 4, v6 + entries, both("2001:db8::/32")},
        {tableDumpV2, 5, v6 + entries, both("2001:db8::/32")},
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
        {tableDumpV2, 9, v4 + pathEntries, paths("192.0.2.0/24")},
        {tableDumpV2, 10, v6 + pathEntries, paths("2001:db8::/32")},
        {tableDumpV2, 11, v6 + pathEntries, paths("2001:db8::/32")},
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
    EXPECT_EQ(counts.of(CommunityKind::standard), (Counts{2, 0, 0, 1, 2}));
    EXPECT_EQ(counts.of(CommunityKind::extended), (Counts{1, 1, 0, 1, 3}));
    EXPECT_EQ(counts.of(CommunityKind::ip6Extended), (Counts{1, 0, 0, 0, 2}));
    EXPECT_EQ(counts.of(CommunityKind::large), (Counts{0, 0, 1, 0, 0}));
}

// ---- Path identifiers ----

/** An OPEN that offers them for these families: AFI (2), SAFI (1) and mode (1) each. */
std::string open(std::string const& families) {
    std::string const capability = hex("45") + u8(families.size()) + families;
    std::string const parameters = hex("0206 0104 0001 0001") +
                                   (families.empty() ? "" : u8(2) + u8(capability.size())) +
                                   (families.empty() ? "" : capability);
    return message(1, hex("04 5ba0 00b4 c0000201") + u8(parameters.size()) + parameters);
}

std::string announce(std::string const& nlri) {
    return update("", nlri);
}

std::string announce6(std::string const& nlri) {
    return update(attribute(14, hex("0002 01 04 c0000201 00") + nlri));
}

TEST(AddPathTest, PathIdentifiersAreFoundOutForEachSessionAndFamily) {
    struct Row {
        char const* name;
        std::string records;
        std::string routes; // of the last UPDATE
    };

    constexpr unsigned int plain = 4, sent = 7, marked = 9;
    auto const as = [](unsigned int subtype, std::string const& octets) {
        return record(bgp4mp, subtype, peer4 + octets);
    };
    std::string const both = hex("0001 01 03 0002 01 03"), v4 = hex("0001 01 03");
    // 2001:d10:aabb::/48, 2001:d09:2000::/48 and 9.0.0.0/32, which can all be read the other way:
    // as path identifiers before aabb::/16, 2000::/9 and 0.0.0.0/0.
    std::string const doubtful6 = announce6(hex("30 20010d10aabb"));
    std::string const either6 = announce6(hex("30 20010d092000"));
    std::string const either4 = announce(hex("20 09000000"));
    std::string const certain6 = announce6(hex("20 20010db8 30 20010db80001"));
    std::string const paths4 = announce(hex("00000001 18 c00002 00000002 18 c00002"));
    std::string const vpnPaths = update(
        attribute(14, hex("0001 80 04 c0000201 00 00000001 70 000101 0000fbf000000001 c00002")));
    std::vector<Row> const rows = {
        {"the recorder's mark decides if nothing else does", as(plain, either4), "9.0.0.0/32"},
        {"so it does if it is set", as(marked, either4), "537460736@0.0.0.0/0"},
        {"both read, one is unlikely", as(marked, doubtful6), "2001:d10:aabb::/48"},
        {"unmarked", as(plain, paths4), "1@192.0.2.0/24 2@192.0.2.0/24"},
        {"unmarked, of a VPN", as(plain, vpnPaths), "1@64496:1:192.0.2.0/24"},
        {"marked for another family", as(marked, certain6), "2001:db8::/32 2001:db8:1::/48"},
        {"unmarked, withdrawn",
         as(plain, update("", "", hex("00000001 18 c00002"))) + as(plain, either4),
         "537460736@0.0.0.0/0"},
        {"remembered for the family", as(marked, certain6) + as(marked, either6),
         "2001:d09:2000::/48"},
        {"not for another one", as(marked, certain6) + as(marked, either4), "537460736@0.0.0.0/0"},
        {"not for the other direction", as(plain, paths4) + as(sent, either4), "9.0.0.0/32"},
        {"not against what is certain", as(plain, paths4) + as(plain, announce(hex("18 c00002"))),
         "192.0.2.0/24"},
        {"not beyond the session",
         as(plain, paths4) + record(bgp4mp, 5, peer4 + hex("0006 0001")) + as(plain, either4),
         "9.0.0.0/32"},
        {"the sender's OPEN rules them out", as(plain, open(v4)) + as(marked, either6),
         "2001:d09:2000::/48"},
        {"the receiver's OPEN rules them out", as(sent, open("")) + as(marked, either6),
         "2001:d09:2000::/48"},
        {"the sender only receives", as(plain, open(hex("0002 01 01"))) + as(marked, either6),
         "2001:d09:2000::/48"},
        {"one OPEN that offers them decides nothing", as(plain, open(both)) + as(plain, either4),
         "9.0.0.0/32"},
        {"both OPENs do", as(plain, open(both)) + as(sent, open(both)) + as(plain, either4),
         "537460736@0.0.0.0/0"},
        {"both OPENs, the other direction",
         as(plain, open(hex("0001 01 01"))) + as(sent, open(hex("0001 01 02"))) + as(sent, either4),
         "537460736@0.0.0.0/0"},
        {"both OPENs of another session",
         as(plain, open(both)) + as(sent, open(both)) +
             record(bgp4mp, 4, hex("00010000 0000fbff 0000 0001 c0000203 c00002fe") + either4),
         "9.0.0.0/32"},
        {"OPENs with AS numbers of two octets",
         record(bgp4mp, 1, peer2 + open(both)) + record(bgp4mp, 6, peer2 + open(both)) +
             as(plain, either4),
         "537460736@0.0.0.0/0"},
        {"an OPEN with long parameters (RFC 9072)",
         as(plain, message(1, hex("04 5ba0 00b4 c0000201 ff ff 0009 02 0006 4504 0001 01 03"))) +
             as(sent, open(both)) + as(plain, either4),
         "537460736@0.0.0.0/0"},
        {"a truncated OPEN is ignored",
         as(plain, message(1, hex("04 5ba0 00b4 c0000201 40 02 06 45 08"))) + as(marked, either6),
         "807403789@2000::/9"},
    };
    for (Row const& row : rows) {
        SCOPED_TRACE(row.name);
        Recorder recorder;
        read(row.records, recorder);
        EXPECT_EQ(recorder.problems, Lines());
        std::string const& last = recorder.lines.back();
        std::size_t const from = last.find('+') + 1;
        EXPECT_EQ(last.substr(from, last.find(" -") - from), row.routes);
    }
    Recorder recorder;
    read(as(plain, paths4), recorder, AddPath::no);
    read(as(marked, either6), recorder, AddPath::no);
    read(as(plain, open("")) + as(plain, either4), recorder, AddPath::yes);
    EXPECT_EQ(recorder.problems.size(), 1U) << "not readable in the requested form";
    EXPECT_EQ(recorder.lines.at(1), "192.0.2.1 AS65536 +2001:d09:2000::/48 -");
    EXPECT_EQ(recorder.lines.at(2), "192.0.2.1 AS65536 +537460736@0.0.0.0/0 -");
}

// ---- Malformed input ----

TEST(MrtReaderTest, CountsReportsAndSkipsMalformedParts) {
    struct Row {
        char const* name;
        std::uint64_t MrtCounts::*counter;
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
    std::string const twice = attribute(15, hex("000101")) + attribute(15, hex("000101"));
    std::vector<Row> const rows = {
        {"no peer", inRecord, record(bgp4mp, 4, peer4.substr(0, 19)), none,
         "record too short for its peer"},
        {"no microseconds", inRecord, record(bgp4mpEt, 4, "xyz"), none,
         "record too short for its peer"},
        {"peer", inRecord, record(bgp4mp, 1, hex("fbf0 fbff 0000 0019 c0000201 c00002fe")), none,
         "address family of the peer is neither IPv4 nor IPv6"},
        {"one state", inRecord, record(bgp4mp, 5, peer4 + u16(6)), none,
         "record too short for two states"},
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
        {"TABLE_DUMP without attributes", inRecord,
         record(tableDump, 1, hex("0000 0001 c0000200 18 01 00000000 c0000201 fbf0 0004 4001")),
         none, "record too short for a route and its attributes"},
        {"TABLE_DUMP /33", inRecord,
         record(tableDump, 1, hex("0000 0001 c0000200 21 01 00000000 c0000201 fbf0 0000")), none,
         "prefix length exceeds that of an address"},
        {"RIB /33", inRecord, record(tableDumpV2, 2, u32(0) + hex("21 c000020000 0000")), none,
         "prefix length exceeds that of an address"},
        {"RIB without count", inRecord, record(tableDumpV2, 2, v4 + u8(0)), none,
         "record too short for its 0 entries"},
        {"RIB entries", inRecord, record(tableDumpV2, 2, v4 + u16(2) + entry + u32(0)), ribFirst,
         "record too short for its 2 entries"},
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
        {"peers", inRecord, record(tableDumpV2, 1, hex("c00002fe 0001 2d 0002 00 c0000201")), none,
         "peer index table too short for its 2 peers"},
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

TEST(MrtReaderTest, ReadsEntriesWithoutPeersAndReportsThemOnce) {
    std::string const rib =
        record(tableDumpV2, 2, u32(0) + hex("18 c00002") + u16(1) + u16(0) + u32(0) + u16(0));
    Recorder recorder;
    EXPECT_EQ(read(rib + rib + peers + rib, recorder).ribEntries, 3U);
    EXPECT_EQ(recorder.lines,
              (Lines{"- 192.0.2.0/24", "- 192.0.2.0/24", "192.0.2.1 AS64496 192.0.2.0/24"}));
    EXPECT_EQ(recorder.problems, Lines{"1@0: no peer index table before the record"});
}

TEST(MrtReaderTest, ReportsATruncatedLastRecord) {
    std::string const whole = as4Record(update("", hex("18 c00002")));
    for (std::size_t const left :
         {std::size_t{1}, std::size_t{11}, std::size_t{12}, whole.size() - 1}) {
        Recorder recorder;
        MrtCounts const counts = read(whole + whole.substr(0, left), recorder);
        EXPECT_EQ(counts.records, 1U);
        EXPECT_EQ(counts.truncatedOctets, left);
        EXPECT_EQ(recorder.kinds, std::vector{ProblemKind::truncatedRecord});
        EXPECT_EQ(recorder.problems, Lines{"2@" + std::to_string(whole.size()) +
                                           ": truncated record: the input ends after " +
                                           std::to_string(left) + " octets of it"});
    }
}

std::size_t peakKilobytes() {
    rusage usage = {};
    getrusage(RUSAGE_SELF, &usage);
    return static_cast<std::size_t>(usage.ru_maxrss);
}

TEST(MrtReaderTest, AllocatesNothingForLengthsBeyondTheInput) {
    std::size_t const before = peakKilobytes();
    Recorder recorder;
    for (std::uint32_t const claim : {maxRibOctets, 0xffffffffU}) {
        for (std::size_t const octets : {12U, 100000U}) {
            std::string const head = u32(0) + u16(tableDumpV2) + u16(2) + u32(claim);
            EXPECT_EQ(read(head + std::string(octets, 'x'), recorder).truncatedOctets, 12 + octets);
        }
    }

    // A record longer than any valid one is not buffered either.
    constexpr std::uint32_t size = maxRibOctets + 1;
    TemporaryFile const file(u32(0) + u16(tableDumpV2) + u16(2) + u32(size));
    ASSERT_EQ(::truncate(file.path().c_str(), 12 + off_t{size}), 0);
    std::ofstream(file.path(), std::ios::binary | std::ios::app) << as4Record(update(""));
    InputStream input(file.path());
    MrtReader reader(input, recorder);
    reader.readAll();
    EXPECT_EQ(reader.counts().records, 2U);
    EXPECT_EQ(reader.counts().brokenRecords, 1U);
    EXPECT_EQ(recorder.lines, Lines{"192.0.2.1 AS65536 + -"});
    EXPECT_LT(peakKilobytes() - before, 8U * 1024);
}

TEST(MrtReaderTest, ReadsRecordsUpToTheLongestOfTheirType) {
    struct Row {
        unsigned int type;
        unsigned int subtype;
        std::uint32_t longest;
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
        for (std::uint32_t const more : {0U, 1U}) {
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

// ---- Samples ----

MrtCounts readSample(std::string const& name, Recorder& recorder) {
    InputStream input(std::string(VOBGP_SAMPLES "/") + name);
    MrtReader reader(input, recorder);
    reader.readAll();
    return reader.counts();
}

TEST(SamplesTest, ReportsAllProblemsOfTheDamagedSample) {
    Recorder recorder;
    EXPECT_EQ(readSample("damaged.mrt", recorder).records, 15U);
    EXPECT_EQ(recorder.problems,
              (Lines{
                  "2@98: attribute 16 has 12 octets, not a multiple of 8",
                  "3@192: attribute 8 is empty",
                  "4@293: attribute 8 has 3 octets, not a multiple of 4",
                  "4@293: attribute 25 has 18 octets, not a multiple of 20",
                  "4@293: attribute 32 has 8 octets, not a multiple of 12",
                  "6@438: UPDATE too short for its own length fields",
                  "7@513: truncated attribute 16: length 32, 8 octets left",
                  "9@735: record too short for its peer",
                  "14@1133: prefix length exceeds that of an address",
                  "16@1327: truncated record: the input ends after 81 octets of it",
              }));
}

TEST(SamplesTest, ReadsTheOtherSamplesWithoutProblems) {
    Recorder recorder;
    EXPECT_EQ(readSample("updates.mrt.gz", recorder).updates, 458U);
    EXPECT_EQ(readSample("rib.mrt.gz", recorder).ribEntries, 402U);
    recorder.lines.clear();
    EXPECT_EQ(readSample("add-path-marked.mrt", recorder).updates, 9U);
    EXPECT_EQ(readSample("add-path-unmarked.mrt", recorder).updates, 27U);
    std::map<std::string, int> routes;
    for (std::string const& line : recorder.lines) {
        ++routes[line.substr(0, line.find(" 8#"))];
    }
    std::string const four = " +1@192.0.2.0/24 2@198.51.100.0/24 3@203.0.113.128/25 -";
    std::string const six = " +2001:db8:1::/48 2001:db8:2::/48 -";
    EXPECT_EQ(routes["198.51.100.2 AS65536" + four], 6);
    EXPECT_EQ(routes["198.51.100.2 AS65536" + six], 6);
    EXPECT_EQ(routes["192.0.2.1 AS64496" + four], 3);
    EXPECT_EQ(routes["203.0.113.4 AS65540 +192.0.2.0/24 198.51.100.0/24 203.0.113.128/25 -"], 3);
    EXPECT_EQ(recorder.problems, Lines());
}

// ---- Real dumps ----

/** The counts of a line of the manifest, by column name. */
std::map<std::string, std::uint64_t> columnsOf(MrtCounts const& counts) {
    std::map<std::string, std::uint64_t> out = {
        {"records", counts.records},
        {"updates", counts.updates},
        {"rib_entries", counts.ribEntries},
        {"broken_updates", counts.brokenUpdates},
        {"broken_attr_areas", counts.brokenAttributeAreas},
        {"skipped_records", counts.skippedRecords},
        {"truncated_tail_bytes", counts.truncatedOctets},
    };
    for (std::size_t kind = 0; kind < communityKinds; ++kind) {
        std::string const head = "a" + std::to_string(communityKindTraits[kind].attributeType);
        CommunityCounts const& of = counts.communities[kind];
        out[head + "_attrs"] = of.attributes;
        out[head + "_empty"] = of.empty;
        out[head + "_malformed"] = of.malformed;
        out[head + "_repeated"] = of.repeated;
        out[head + "_members_wire"] = of.members;
    }
    return out;
}

class Ignorer : public RouteHandler {
  public:
    void handleProblem(Problem const& /*problem*/) override {}
};

std::vector<std::string> fields(std::string const& line) {
    std::vector<std::string> out;
    std::istringstream in(line);
    for (std::string field; std::getline(in, field, '\t');) {
        out.push_back(field);
    }
    return out;
}

void expectColumns(std::vector<std::string> const& names, std::vector<std::string> const& row,
                   MrtCounts const& counts) {
    auto const columns = columnsOf(counts);
    std::size_t compared = 0;
    for (std::size_t column = 0; column < names.size(); ++column) {
        if (auto const found = columns.find(names[column]); found != columns.end()) {
            EXPECT_EQ(std::to_string(found->second), row[column]) << names[column];
            ++compared;
        }
    }
    EXPECT_EQ(compared, columns.size());
}

TEST(MrtReaderTest, CountsRealDumpsLikeIndependentDecoders) {
    char const* const data = std::getenv("VOBGP_DATA");
    if (data == nullptr) {
        GTEST_SKIP() << "VOBGP_DATA is not set";
    }
    std::ifstream manifest(std::string(data) + "/manifest.tsv");
    std::string line;
    ASSERT_TRUE(std::getline(manifest, line)) << data;
    std::vector<std::string> const names = fields(line);
    MrtCounts sum;
    std::size_t files = 0;
    while (std::getline(manifest, line)) {
        std::vector<std::string> const row = fields(line);
        SCOPED_TRACE(row[0]);
        if (row[0].starts_with("ALL:")) {
            expectColumns(names, row, sum);
        } else if (row[0].starts_with("mrt/")) {
            ++files;
            Ignorer ignorer;
            InputStream input(std::string(data) + "/" + row[0]);
            MrtReader reader(input, ignorer);
            reader.readAll();
            expectColumns(names, row, reader.counts());
            sum += reader.counts();
        }
    }
    EXPECT_GT(files, 0U);
}

} // namespace
} // namespace BgpCommunities
