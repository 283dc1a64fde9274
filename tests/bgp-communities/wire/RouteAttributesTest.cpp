#include "wire/RouteAttributes.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/DumpOctets.h"

namespace BgpCommunities {
namespace {

using namespace Test;

std::string asPathText(std::string const& attributes, AsWidth width) {
    RouteAttributes const read({octetsOf(attributes), width});
    std::string text;
    for (AttributeFault const& fault : read.faults()) {
        text.append(fault.reason).append(read.asPath() ? ": " : "");
    }
    if (!read.asPath()) {
        return text.empty() ? "absent" : text;
    }
    appendText(text, *read.asPath());
    auto const origin = originAs(*read.asPath());
    return text + " | " + (origin ? std::to_string(*origin) : "-");
}

TEST(RouteAttributesTest, MergesAndPrintsAsPaths) {
    struct Row {
        char const* name;
        AsWidth width;
        std::string asPath;
        std::string more;
        char const* text; // and the origin AS
    };

    auto const two = AsWidth::two, four = AsWidth::four;
    std::string const transit = hex("0203 fbf0 5ba0 5ba0");
    std::string const as4Aggregator = attribute(18, hex("00010001 c0000201"));
    for (Row const& row : std::vector<Row>{
             {"empty", four, "", "", " | -"},
             {"four octets", four, hex("0202 0000fbf0 00010000"), "", "64496 65536 | 65536"},
             {"a set at the end", two, hex("0201 fbf0 0102 fbf1 fbf2"), "",
              "64496 {64497,64498} | -"},
             {"confederations", two, hex("0302 fde9 fdea 0402 fdeb fdec 0201 fbf0"), "",
              "(65001 65002) [65003,65004] 64496 | 64496"},
             {"AS4_PATH has the end", two, transit, attribute(17, hex("0202 00010000 00010001")),
              "64496 65536 65537 | 65537"},
             {"AS4_PATH has all", two, transit,
              attribute(17, hex("0203 0000fbf0 00010000 00010001")), "64496 65536 65537 | 65537"},
             {"a confederation that adjoins nothing kept", two,
              hex("0203 0001 5ba0 0003 0301 fde9 0201 0004"),
              attribute(17, hex("0203 00030d40 00000003 00000004")), "1 200000 3 4 | 4"},
             {"AS4_PATH is longer", two, transit,
              attribute(17, hex("0204 0000fbf0 00010000 00010001 00010002")),
              "64496 23456 23456 | 23456"},
             {"AS4_PATH is malformed", two, transit, attribute(17, hex("0202 00010000")),
              "truncated AS path segment: 64496 23456 23456 | 23456"},
             {"AS4_PATH is outdated", two, transit,
              attribute(17, hex("0201 00010001")) + attribute(7, hex("fbf0 c0000201")) +
                  as4Aggregator,
              "64496 23456 23456 | 23456"},
             {"AS4_PATH is up to date", two, transit,
              attribute(17, hex("0201 00010001")) + attribute(7, hex("5ba0 c0000201")) +
                  as4Aggregator,
              "64496 23456 65537 | 65537"},
             {"aggregated by an AS of two octets", two, transit,
              attribute(17, hex("0201 00010001")) + attribute(7, hex("fbf0 c0000201")),
              "64496 23456 65537 | 65537"},
             {"AS4_PATH is ignored with four-octet numbers", four, hex("0201 0000fbf0"),
              attribute(17, hex("0201 00010001")), "64496 | 64496"},
             {"a set counts as 1, a confederation as 0", two,
              hex("0301 fde9 0102 fbf1 fbf2 0202 5ba0 5ba0"),
              attribute(17, hex("0301 0000fde9 0202 00010000 00010001")),
              "(65001) {64497,64498} 65536 65537 | 65537"},
             {"a set of AS4_PATH counts as 1", two, hex("0202 5ba0 5ba0"),
              attribute(17, hex("0201 00010000 0102 00010001 00010002")),
              "65536 {65537,65538} | -"},
             {"truncated", two, hex("0203 fbf0 5ba0"), "", "truncated AS path segment"},
             {"unknown segment", two, hex("0501 fbf0"), "", "unknown AS path segment type"},
             {"empty segment", two, hex("0200"), "", "empty AS path segment"},
         }) {
        EXPECT_EQ(asPathText(attribute(2, row.asPath) + row.more, row.width), row.text) << row.name;
    }
    EXPECT_EQ(asPathText(attribute(17, hex("0201 00010001")), two), "absent");
}

TEST(RouteAttributesTest, FindsTheNextHopOfAFamily) {
    Family const ip6Unicast = {afiIpv6, safiUnicast}, vpn = {afiIpv4, safiVpn};
    std::string const global = hex("20010db8000000000000000000000001");
    std::string const linkLocal = hex("fe800000000000000000000000000001");
    std::string const nextHop = attribute(3, hex("c0000201"));

    struct Row {
        char const* name;
        std::string attributes;
        Family family;
        char const* text;
        bool inMessage = false;
    };

    std::string const both = nextHop + attribute(14, hex("0001 01 10") + global + u8(0));
    for (Row const& row : std::vector<Row>{
             {"none", "", ipv4Unicast, "-"},
             {"in the message, beside MP_REACH_NLRI", both, ipv4Unicast, "192.0.2.1", true},
             {"in MP_REACH_NLRI, beside NEXT_HOP", both, ipv4Unicast, "2001:db8::1"},
             {"NEXT_HOP", nextHop, ipv4Unicast, "192.0.2.1"},
             {"two addresses", attribute(14, hex("0002 01 20") + global + linkLocal + u8(0)),
              ip6Unicast, "2001:db8::1"},
             {"beside the other family's",
              nextHop + attribute(14, hex("0002 01 10") + global + u8(0)), ipv4Unicast,
              "192.0.2.1"},
             {"of a wrong length, beside NEXT_HOP",
              nextHop + attribute(14, hex("0002 01 05 20010db800 00")), ip6Unicast, "-"},
             {"IPv4 over IPv6", attribute(14, hex("0001 01 10") + global + u8(0)), ipv4Unicast,
              "2001:db8::1"},
             {"after a distinguisher",
              attribute(14, hex("0001 80 0c 0000000000000000 c6336401 00")), vpn, "198.51.100.1"},
             {"after distinguishers, two addresses",
              attribute(14, hex("0002 80 30 0000000000000000") + global + hex("0000000000000000") +
                                linkLocal + u8(0)),
              {2, 128},
              "2001:db8::1"},
             {"the short form of a RIB entry", nextHop + attribute(14, hex("10") + global),
              ip6Unicast, "2001:db8::1"},
             {"the short form of an IPv4 route", nextHop + attribute(14, hex("10") + global),
              ipv4Unicast, "192.0.2.1"},
             {"a family with high numbers",
              attribute(14, hex("4004 47 04 c0000201 00 0001")),
              {0x4004, 0x47},
              "192.0.2.1"},
         }) {
        RouteAttributes const read({octetsOf(row.attributes), AsWidth::four});
        std::string text;
        Route route;
        route.family = row.family;
        route.inMessage = row.inMessage;
        appendText(text, read.nextHop(route));
        EXPECT_EQ(text, row.text) << row.name;
        EXPECT_TRUE(read.faults().empty()) << row.name;
    }
}

TEST(RouteAttributesTest, ListsMalformedAttributes) {
    std::string const good = attribute(1, u8(1)) + attribute(4, u32(7)) + attribute(5, u32(100));
    RouteAttributes const read({octetsOf(good + attribute(4, "")), AsWidth::four});
    EXPECT_EQ(nameOf(*read.origin()), "EGP");
    EXPECT_EQ(nameOf(RouteAttributes::Origin::incomplete), "INCOMPLETE");
    EXPECT_EQ(read.med(), 7U);
    EXPECT_EQ(read.localPref(), 100U);
    EXPECT_TRUE(read.faults().empty()) << "only the first of a type is used";

    std::string const bad = attribute(1, u8(3)) + attribute(2, u8(2)) + attribute(3, u8(0)) +
                            attribute(4, u32(7) + u8(0)) + attribute(5, u16(1)) +
                            attribute(14, u16(1)) + attribute(19, "") + hex("c0 63 04 0001");
    RouteAttributes const faulty({octetsOf(bad), AsWidth::four});
    EXPECT_FALSE(faulty.origin() || faulty.asPath() || faulty.med() || faulty.localPref());
    EXPECT_EQ(faulty.nextHop(Route()).size, 0);
    std::string types;
    for (AttributeFault const& fault : faulty.faults()) {
        types += std::to_string(fault.type) + (fault.truncated ? " truncated" : " ");
        EXPECT_FALSE(fault.reason.empty());
    }
    EXPECT_EQ(types, "1 2 3 4 5 14 99 truncated");
    EXPECT_EQ(faulty.faults().back().value.size(), 2U) << "what is left";
}

} // namespace
} // namespace BgpCommunities
