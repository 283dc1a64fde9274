#include "wire/Nlri.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "input/IntegerTypes.h"
#include "support/RecordedRoutes.h"

namespace BgpCommunities {
namespace {

using namespace Test;

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
        {"VPN, zero label", vpn4, "70 000000 0000fbf000000001 c00002", "64496:1:192.0.2.0/24", ""},
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
        std::vector<U8> const exact(octets.begin(), octets.end());
        std::vector<Route> routes;
        EXPECT_EQ(readRoutes(exact, row.form, routes), row.fault);
        EXPECT_EQ(text(std::span<Route const>(routes)), row.routes);
    }
}

} // namespace
} // namespace BgpCommunities
