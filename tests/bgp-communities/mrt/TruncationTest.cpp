#include <algorithm>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/RecordedRoutes.h"
#include "wire/AddPath.h"
#include "wire/BgpMessage.h"
#include "wire/RouteAttributes.h"

/// Tries every length of attributes, and cuts attributes, messages and records at every octet.
/// Bodies of BMP messages are cut by BmpReaderTest.

namespace BgpCommunities {
namespace {

using namespace Test;

constexpr std::size_t longest = 4096;

std::string repeated(std::string const& octets, std::size_t size) {
    std::string text;
    while (text.size() < size) {
        text += octets;
    }
    return text.substr(0, size);
}

/// What is wrong with an attribute of that many octets.
using FaultOf = std::function<std::string(std::size_t size)>;

FaultOf multipleOf(std::size_t unit, std::string const& fault) {
    return [=](std::size_t size) { return size % unit == 0 ? "" : fault; };
}

FaultOf oneOf(std::vector<std::size_t> const& sizes, std::string const& fault) {
    return [=](std::size_t size) {
        return std::find(sizes.begin(), sizes.end(), size) != sizes.end() ? "" : fault;
    };
}

std::string faultsOf(RouteAttributes const& attributes) {
    std::string text;
    for (AttributeFault const& fault : attributes.faults()) {
        text += std::to_string(fault.type) + ": " + std::string(fault.reason);
    }
    return text;
}

TEST(TruncationTest, AttributesOfEveryLengthAreReadOrReported) {
    struct Row {
        unsigned int type;
        AsWidth width;
        std::string octets; // repeated, the value
        FaultOf fault;
    };

    std::string const inPath = "truncated AS path segment";
    std::vector<Row> rows = {
        {1, AsWidth::four, u8(1), oneOf({1}, "ORIGIN length is not 1")},
        {2, AsWidth::four, hex("0201 0000fbf0"), multipleOf(6, inPath)},
        {2, AsWidth::two, hex("0201 fbf0"), multipleOf(4, inPath)},
        {3, AsWidth::four, u8(7), oneOf({4, 16}, "NEXT_HOP is not an address")},
        {4, AsWidth::four, u8(0), oneOf({4}, "MULTI_EXIT_DISC length is not 4")},
        {5, AsWidth::four, u8(0), oneOf({4}, "LOCAL_PREF length is not 4")},
        // Without a next hop. A single octet is the length in the short form.
        {14, AsWidth::four, u8(0),
         [](std::size_t size) {
             return size == 0 || size == 2 || size == 3 ? "truncated MP_REACH_NLRI" : "";
         }},
        {17, AsWidth::two, hex("0201 0000fbf0"), multipleOf(6, inPath)},
    };
    for (unsigned int type = 0; type < 256; ++type) {
        if (std::none_of(rows.begin(), rows.end(), [&](Row const& r) { return r.type == type; })) {
            rows.push_back({type, AsWidth::two, u8(0), multipleOf(1, "")});
        }
    }
    for (Row const& row : rows) {
        // Attributes before it, of other types, are read whatever follows.
        std::string const before = row.type == 17  ? attribute(2, hex("0203 fbf0 5ba0 5ba0"))
                                   : row.type == 4 ? attribute(5, u32(100))
                                                   : attribute(4, u32(100));
        std::string const value = repeated(row.octets, longest);
        std::string area = before + attribute(row.type, value);
        for (std::size_t size = 0; size <= longest; ++size) {
            area.replace(before.size() + 2, 2, u16(size));
            Octets const octets = octetsOf(area).first(before.size() + 4 + size);
            RouteAttributes const read({octets, row.width});
            std::string const fault = row.fault(size);
            ASSERT_EQ(faultsOf(read), fault.empty() ? "" : std::to_string(row.type) + ": " + fault)
                << row.type << ' ' << size;
            if (row.type == 2) {
                ASSERT_EQ(read.asPath().has_value(), fault.empty());
                ASSERT_EQ(read.asPath() ? lengthOf(*read.asPath()) : 0,
                          fault.empty() ? size / row.octets.size() : 0);
            }
            ASSERT_EQ(read.origin().has_value(), row.type == 1 && size == 1);
            ASSERT_EQ(read.med() == 100 || read.localPref() == 100 || read.asPath(), true);
        }
    }
}

TEST(TruncationTest, CommunitiesOfEveryLengthAreCounted) {
    struct Kind {
        unsigned int type;
        std::size_t member;
    };

    AttributeArea read;
    for (Kind const kind : {Kind{8, 4}, {16, 8}, {25, 20}, {32, 12}}) {
        for (std::size_t size = 0; size <= longest; ++size) {
            std::string const area = attribute(kind.type, std::string(size, '\1'));
            read.read(octetsOf(area));
            ASSERT_EQ(read.communities.size(), 1U);
            ASSERT_EQ(read.fault, "");
            using Form = CommunityAttribute::Form;
            CommunityAttribute const& found = read.communities[0];
            ASSERT_EQ(found.form(), size == 0                 ? Form::empty
                                    : size % kind.member != 0 ? Form::malformed
                                                              : Form::wellFormed)
                << kind.type << ' ' << size;
            ASSERT_EQ(found.members(), size / kind.member);
        }
    }
}

TEST(TruncationTest, NlriOfEveryLengthYieldItsWholeRoutes) {
    struct Row {
        unsigned int type;
        std::string head;
        char const* fault; // if the head is truncated
    };

    UpdateContent read;
    for (Row const& row :
         {Row{14, hex("0001 01 04 c0000201 00"), "MP_REACH_NLRI is too short for its next hop"},
          {15, hex("0001 01"), "MP_UNREACH_NLRI is too short for its family"}}) {
        std::string const value = row.head + repeated(hex("20 c0000201"), longest);
        for (std::size_t size = 0; size <= longest; ++size) {
            std::string const area = attribute(row.type, value.substr(0, size));
            std::string const body = u16(0) + u16(area.size()) + area;
            ASSERT_TRUE(read.read(octetsOf(body), {}));
            bool const isWhole = size >= row.head.size();
            std::size_t const left = isWhole ? size - row.head.size() : 0;
            ASSERT_EQ(read.announced().size() + read.withdrawn().size(), left / 5) << size;
            ASSERT_EQ(read.routesFault(), !isWhole        ? row.fault
                                          : left % 5 != 0 ? "truncated prefix in NLRI"
                                                          : "")
                << size;
        }
    }
}

TEST(TruncationTest, AttributesAreCutAtEveryOctetUnderEveryFlags) {
    std::string const before = attribute(32, std::string(12, '\1'));
    AttributeArea read;
    for (std::size_t flags = 0; flags < 256; ++flags) {
        bool const isLong = (flags & 0x10) != 0;
        std::string const head = u8(flags) + u8(8) + (isLong ? u16(8) : u8(8));
        std::string const whole = before + head + std::string(8, '\2');
        for (std::size_t left = 0; left <= head.size() + 8; ++left) {
            read.read(octetsOf(whole).first(before.size() + left));
            bool const isWhole = left == head.size() + 8;
            ASSERT_EQ(read.fault, left == 0 || isWhole ? ""
                                  : left < head.size()
                                      ? "truncated attribute header"
                                      : "truncated attribute 8: length 8, " +
                                            std::to_string(left - head.size()) + " octets left")
                << flags;
            ASSERT_EQ(read.communities.size(), isWhole ? 2U : 1U) << "what was read before is kept";
        }
    }
}

TEST(TruncationTest, RecordsAreCutAtEveryOctet) {
    /// From `start` on, the record lacks this.
    struct Part {
        std::size_t start;
        std::string reason;
    };

    struct Row {
        char const* name;
        unsigned int type;
        unsigned int subtype;
        std::string body;
        std::vector<Part> parts;
        std::vector<std::size_t> lines; // a line is delivered from each of these sizes on
    };

    std::string const noPeer = "record too short for its peer";
    std::string const noHeader = "record too short for a BGP message header";
    std::string const updateFault = "UPDATE too short for its own length fields";
    std::string const good = attribute(8, hex("fbf00001"));
    std::string const entry = u16(0) + u32(0) + u16(good.size()) + good; // 16 octets
    std::string const open = message(1, hex("04 fbf0 005a c0000201 00"));
    std::string const noEntries = "record too short for its 2 entries";
    std::string const tableFault = "peer index table too short for its ";
    std::vector<Row> const rows = {
        {"UPDATE",
         bgp4mp,
         4,
         peer4 + update(good, hex("18 c00002")),
         {{0, noPeer}, {20, noHeader}, {39, updateFault}},
         {55}},
        {"UPDATE of a peer with two octets",
         bgp4mp,
         1,
         peer2 + update(good, hex("18 c00002")),
         {{0, noPeer}, {16, noHeader}, {35, updateFault}},
         {51}},
        {"OPEN",
         bgp4mp,
         4,
         peer4 + open,
         {{0, noPeer}, {20, noHeader}, {39, "truncated BGP message: length 29, "}},
         {}},
        {"state change",
         bgp4mp,
         5,
         peer4 + hex("0006 0001"),
         {{0, noPeer}, {20, "record too short for two states"}},
         {24}},
        {"RIB",
         tableDumpV2,
         2,
         u32(0) + hex("18 c00002") + u16(2) + entry + entry,
         {{0, "truncated prefix in NLRI"},
          {8, "record too short for its number of entries"},
          {10, noEntries}},
         {26, 42}},
        {"RIB of a family",
         tableDumpV2,
         6,
         u32(0) + hex("0001 01 18 c00002") + u16(2) + entry + entry,
         {{0, "truncated route in NLRI"},
          {7, "truncated prefix in NLRI"},
          {11, "record too short for its number of entries"},
          {13, noEntries}},
         {29, 45}},
        {"peers",
         tableDumpV2,
         1,
         hex("c00002fe 0000 0002") + repeated(hex("00 c0000201 c0000201 fbf0"), 22),
         {{0, tableFault + "number of peers"}, {8, tableFault + "2 peers"}},
         {}},
        {"TABLE_DUMP",
         tableDump,
         1,
         hex("0000 0001 c0000200 18 01 00000000 c0000201 fbf0") + u16(good.size()) + good,
         {{0, "record too short for a route and its attributes"}},
         {30}},
    };
    std::string const after = as4Record(update(""));
    for (Row const& row : rows) {
        for (std::size_t size = 0; size <= row.body.size(); ++size) {
            SCOPED_TRACE(row.name + (" " + std::to_string(size)));
            Recorder recorder;
            std::string const cut = record(row.type, row.subtype, row.body.substr(0, size));
            EXPECT_EQ(read(peers + cut + after, recorder).records, 3U);
            auto const lines = std::count_if(row.lines.begin(), row.lines.end(),
                                             [&](std::size_t from) { return size >= from; });
            ASSERT_EQ(recorder.lines.size(), static_cast<std::size_t>(lines) + 1);
            EXPECT_EQ(recorder.lines.back(), "192.0.2.1 AS65536 + -");
            if (size == row.body.size()) {
                EXPECT_EQ(recorder.problems, Lines());
                continue;
            }
            auto const part = std::find_if(row.parts.rbegin(), row.parts.rend(),
                                           [&](Part const& of) { return size >= of.start; });
            ASSERT_EQ(recorder.problems.size(), 1U);
            EXPECT_TRUE(recorder.problems[0].starts_with("2@" + std::to_string(peers.size()) +
                                                         ": " + part->reason))
                << recorder.problems[0];
        }
    }
}

TEST(TruncationTest, UpdatesAreCutAtEveryOctetBehindTheirLengths) {
    std::string const good = attribute(8, hex("fbf00001"));
    std::string const withdrawn = hex("18 c00002");
    std::string const head = u16(4) + withdrawn + u16(good.size()) + good;
    std::string const body = head + repeated(hex("18 c00002"), 16);
    UpdateContent read;
    for (std::size_t size = 0; size <= body.size(); ++size) {
        bool const isRead = size >= head.size();
        ASSERT_EQ(read.read(octetsOf(body).first(size), {}), isRead) << size;
        if (isRead) {
            std::size_t const left = size - head.size();
            ASSERT_EQ(read.withdrawn().size(), 1U);
            ASSERT_EQ(read.attributes().communities.size(), 1U);
            ASSERT_EQ(read.announced().size(), left / 4);
            ASSERT_EQ(read.routesFault(), left % 4 == 0 ? "" : "truncated prefix in NLRI");
        }
    }
}

TEST(TruncationTest, DumpsAreCutAtEveryOctet) {
    std::vector<std::string> const records = {peers, as4Record(update("", hex("18 c00002"))),
                                              record(bgp4mp, 5, peer4 + hex("0006 0001"))};
    std::string dump;
    for (std::size_t whole = 0; whole < records.size(); ++whole) {
        for (std::size_t left = 0; left < records[whole].size(); ++left) {
            Recorder recorder;
            MrtCounts const counts = read(dump + records[whole].substr(0, left), recorder);
            ASSERT_EQ(counts.records, whole);
            ASSERT_EQ(counts.truncatedOctets, left);
            ASSERT_EQ(recorder.lines.size(), whole == 2 ? 1U : 0U);
            ASSERT_EQ(recorder.problems,
                      left == 0
                          ? Lines()
                          : Lines{std::to_string(whole + 1) + "@" + std::to_string(dump.size()) +
                                  ": truncated record: the input ends after " +
                                  std::to_string(left) + " octets of it"});
            ASSERT_EQ(recorder.kinds.empty() || recorder.kinds[0] == ProblemKind::truncatedRecord,
                      true);
        }
        dump += records[whole];
    }
}

/// An OPEN without ADD-PATH rules path identifiers out; a part of one says nothing.
TEST(TruncationTest, OpensAreCutAtEveryOctet) {
    MessageEnds const ends = {readIpAddress("192.0.2.1"), readIpAddress("192.0.2.2")};
    std::string const ambiguous = update("", hex("080a 080b 080c"));
    std::string const open = hex("04 fbf0 005a c0000201 08 0206 4104 0000fbf0");
    auto const decide = [&](AddPathDecider& decider, std::string const& octets, bool recorded) {
        OctetReader in(octetsOf(octets));
        BgpMessage read;
        EXPECT_TRUE(readMessage(in, read));
        return decider.decide(ends, read, recorded).ipv4;
    };
    for (bool const recorded : {false, true}) {
        for (std::size_t size = 0; size <= open.size(); ++size) {
            std::string const whole = message(1, open);
            for (std::string const& cut : // with a length that fits, and without
                 {message(1, open.substr(0, size)), whole.substr(0, bgpHeaderOctets + size)}) {
                AddPathDecider decider(AddPath::automatic);
                EXPECT_FALSE(decide(decider, cut, recorded));
                EXPECT_EQ(decide(decider, ambiguous, recorded), recorded && size < open.size())
                    << size;
            }
        }
    }
}

} // namespace
} // namespace BgpCommunities
