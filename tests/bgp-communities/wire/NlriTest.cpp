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

    NlriForm const v4 = {ipv4Unicast}, v4Paths = {ipv4Unicast, true}, v6 = {{2, 1}};
    NlriForm const label = {{1, 4}}, labelGone = {{1, 4}, false, true};
    NlriForm const vpn4 = {{1, 128}}, vpn6 = {{2, 128}}, evpn = {{25, 70}}, rtc = {{1, 132}};
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
        {"another family", rtc, "60 0000fbf400020000fbf40001  00",
         "1/132:600000fbf400020000fbf40001 1/132:00", ""},
        {"FlowSpec, a length of two octets",
         {{1, 133}},
         "f003 aabbcc  02 0101",
         "1/133:f003aabbcc 1/133:020101",
         ""},
        {"FlowSpec, more octets than there are",
         {{1, 133}},
         "f100 aa",
         "",
         "truncated route in NLRI"},
        {"BGP-LS VPN",
         {{16388, 72}},
         "0001 0002 aabb  0003 0000",
         "16388/72:00010002aabb 16388/72:00030000",
         ""},
        {"unicast, but not IP", {{25, 1}}, "18 c00002", "25/1:18c00002", ""},
        {"EVPN, a segment", evpn, "01 19 0000fbf000000001 00010203040506070809 00000007 000101",
         "64496:1:[1]:[7]:[00:01:02:03:04:05:06:07:08:09]", ""},
        {"EVPN, MAC", evpn,
         "02 21 0000fbf000000001 00000000000000000000 00000007 30 00005e005301 00 000101",
         "64496:1:[2]:[7]:[48]:[00:00:5e:00:53:01]:[0]", ""},
        {"EVPN, MAC/IP, two labels", evpn,
         "02 28 0000fbf000000001 00000000000000000000 00000000 30 00005e005301 20 c0000201 000101 "
         "000201",
         "64496:1:[2]:[0]:[48]:[00:00:5e:00:53:01]:[32]:[192.0.2.1]", ""},
        {"EVPN, multicast", evpn,
         "03 1d 0000fbf000000001 00000007 80 20010db8000000000000000000000001",
         "64496:1:[3]:[7]:[128]:[2001:db8::1]", ""},
        {"EVPN, Ethernet segment", evpn, "04 17 0000fbf000000001 00000000000000000000 20 c0000201",
         "64496:1:[4]:[00:00:00:00:00:00:00:00:00:00]:[32]:[192.0.2.1]", ""},
        {"EVPN, prefix", evpn,
         "05 22 0000fbf000000001 00000000000000000000 00000000 18 c0000200 cb007101 000101",
         "64496:1:[5]:[0]:[24]:[192.0.2.0]", ""},
        {"EVPN, IPv6 prefix", evpn,
         "05 3a 0000fbf000000001 00000000000000000000 00000000 20 20010db8000000000000000000000000 "
         "20010db8000000000000000000000001 000101",
         "64496:1:[5]:[0]:[32]:[2001:db8::]", ""},
        {"EVPN, another type, and a cut one", evpn, "0600 040c 0000fbf000000001 00000000",
         "25/70:0600 25/70:040c0000fbf00000000100000000", ""},
        {"EVPN, invalid lengths", evpn,
         "0310 0000fbf000000001 00000007 18 c00002  0221 0000fbf000000001 00000000000000000000 "
         "00000000 20 00005e005301 00 000101 "
         "0522 0000fbf000000001 00000000000000000000 00000000 21 c0000200 cb007101 000101",
         "25/70:03100000fbf0000000010000000718c00002 "
         "25/70:02210000fbf00000000100000000000000000000000000002000005e00530100000101 "
         "25/70:05220000fbf000000001000000000000000000000000000021c0000200cb007101000101",
         ""},
        {"EVPN, an octet too many", evpn,
         "0418 0000fbf000000001 00000000000000000000 20 c0000201 00",
         "25/70:04180000fbf0000000010000000000000000000020c000020100", ""},
        {"truncated EVPN route", evpn, "0100 0302aa", "25/70:0100", "truncated route in NLRI"},
        {"truncated prefix", v4, "18 c00002  18 c000", "192.0.2.0/24", pastEnd},
        {"truncated path identifier", v4Paths, "000000", "", pastEnd},
        {"IPv4 /33, and another", v4, "21 c000020000 00", "", tooLong},
        {"IPv6 /129", v6, "81 20010db8 00000000 00000000 00000000 00", "", tooLong},
        {"no room for a label", label, "10 0001", "", noLabels},
        {"labels past the bits", label, "14 000101", "", noLabels},
        {"labels without a bottom", label, "30 000100 c00002", "", noLabels},
        {"no room for the distinguisher", vpn4, "50 000101 0000fbf0000000", "", noRd},
    };
    for (Row const& row : rows) {
        SCOPED_TRACE(row.name);
        std::string const octets = hex(row.octets);
        std::vector<U8> const exact(octets.begin(), octets.end());
        std::vector<Route> routes;
        EXPECT_EQ(readRoutes(exact, row.form, routes), row.fault);
        EXPECT_EQ(text(std::span<Route const>(routes)), row.routes);
        OctetReader in(exact);
        Route same; // for all
        for (Route const& route : routes) {
            EXPECT_EQ(readRoute(in, row.form, same), "");
            EXPECT_EQ(text(std::span(&same, 1)), text(std::span(&route, 1)));
            EXPECT_EQ(same.trailingBits, row.name == std::string_view("bits beyond the prefix"));
        }
    }
}

} // namespace
} // namespace BgpCommunities
