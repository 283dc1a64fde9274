#include "wire/AddPath.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/RecordedRoutes.h"

namespace BgpCommunities {
namespace {

using namespace Test;

/// An OPEN that offers path identifiers for families: AFI (2), SAFI (1) and mode (1) each.
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

TEST(AddPathTest, DecidesAboutPathIdentifiersForEachSessionAndFamily) {
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
        {"undecided: as the record is marked", as(plain, either4), "9.0.0.0/32"},
        {"undecided: marked", as(marked, either4), "537460736@0.0.0.0/0"},
        {"both forms parse, one is unlikely", as(marked, doubtful6), "2001:d10:aabb::/48"},
        {"unmarked", as(plain, paths4), "1@192.0.2.0/24 2@192.0.2.0/24"},
        {"unmarked, of a VPN", as(plain, vpnPaths), "1@64496:1:192.0.2.0/24"},
        {"marked for another family", as(marked, certain6), "2001:db8::/32 2001:db8:1::/48"},
        {"unmarked, withdrawn",
         as(plain, update("", "", hex("00000001 18 c00002"))) + as(plain, either4),
         "537460736@0.0.0.0/0"},
        {"remembered for the family", as(marked, certain6) + as(marked, either6),
         "2001:d09:2000::/48"},
        {"not remembered for another family", as(marked, certain6) + as(marked, either4),
         "537460736@0.0.0.0/0"},
        {"not remembered for the other direction", as(plain, paths4) + as(sent, either4),
         "9.0.0.0/32"},
        {"not if only the other form parses",
         as(plain, paths4) + as(plain, announce(hex("18 c00002"))), "192.0.2.0/24"},
        {"not remembered after the session",
         as(plain, paths4) + record(bgp4mp, 5, peer4 + hex("0006 0001")) + as(plain, either4),
         "9.0.0.0/32"},
        {"not remembered after the session, the other direction",
         as(sent, paths4) + record(bgp4mp, 5, peer4 + hex("0006 0001")) + as(sent, either4),
         "9.0.0.0/32"},
        {"a prefix that occurs four times is unlikely",
         as(plain, announce(hex("00000000 18 c00002"))), "0@192.0.2.0/24"},
        {"an offer of an unknown mode is ignored",
         as(plain, open(hex("0001 01 04") + v4)) + as(sent, open(both)) + as(plain, either4),
         "537460736@0.0.0.0/0"},
        {"the sender's OPEN does not offer them", as(plain, open(v4)) + as(marked, either6),
         "2001:d09:2000::/48"},
        {"the receiver's OPEN does not offer them", as(sent, open("")) + as(marked, either6),
         "2001:d09:2000::/48"},
        {"the sender only receives", as(plain, open(hex("0002 01 01"))) + as(marked, either6),
         "2001:d09:2000::/48"},
        {"one OPEN that offers them decides nothing", as(plain, open(both)) + as(plain, either4),
         "9.0.0.0/32"},
        {"both OPENs offer them", as(plain, open(both)) + as(sent, open(both)) + as(plain, either4),
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

} // namespace
} // namespace BgpCommunities
