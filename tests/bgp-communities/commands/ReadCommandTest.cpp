#include <algorithm>
#include <map>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/ProgramRun.h"

namespace BgpCommunities {
namespace {

using namespace Test;

// ---- Octets ----

std::string const targetOctets = hex("0002fde800000064");
std::string const bandwidthOctets = hex("4004fbf04cee6b28");
std::string const bandwidthOctetsToo = hex("4004fbf04d6e6b28");
std::string const ip6Target = hex("0002 20010db8000000000000000000000001 0064");
std::string const large = hex("00010000 00000001 00000002");

std::string const standardText = "100:1 no-export";
std::string const targetText = "[ <RouteTarget2ByteASN 65000:100 0x0002fde800000064> ]";
std::string const ip6Text = "[ <extCommIp6PktTypeTransIpv6Address extCommIp6PktSubtypeRouteTarget "
                            "addr=2001:db8::1 localAdmin=100> ]";
std::string const largeText = "65536:1:2";

/// The prefix 10.NUMBER.0.0/16.
std::string route(unsigned int number, std::string const& attributes) {
    return as4Record(update(attributes, hex("10 0a") + u8(number)));
}

/// MP_REACH_NLRI.
std::string reach(unsigned int afi, unsigned int safi, std::string const& nlri) {
    return attribute(14, u16(afi) + u8(safi) + u8(4) + hex("c0000201 00") + nlri);
}

std::string standard() {
    return attribute(8, hex("ffffff01 00640001"));
}

std::vector<std::string> column(Result const& result, std::size_t number) {
    std::vector<std::string> out;
    for (std::string const& line : linesOf(result.out)) {
        Lines const fields = fieldsOf(line);
        out.push_back(fields.size() == 16 ? fields[number] : "not 16 columns: " + line);
    }
    return out;
}

// ---- JSON ----

/// The attributes in a line, as input for `decode`.
Lines attributesIn(std::string const& line) {
    static std::string const head = R"({"attribute":)", middle = R"(,"octets":")";
    Lines out;
    for (std::size_t at = line.find(head); at != std::string::npos; at = line.find(head, at + 1)) {
        std::size_t const type = at + head.size();
        std::size_t const comma = line.find(middle, type);
        std::size_t const octets = comma + middle.size();
        out.push_back(line.substr(type, comma - type) + "\t" +
                      line.substr(octets, line.find('"', octets) - octets));
    }
    return out;
}

/// Each line ends with the output of `decode --json` for its attributes, by kind.
void expectAsDecoded(std::string const& dump) {
    static std::map<std::string, std::string> const kinds = {
        {"8", "standard"}, {"16", "extended"}, {"25", "ipv6"}, {"32", "large"}};
    Result const read = run({"read", "--json", "--full", dump});
    std::string values;
    for (std::string const& line : linesOf(read.out)) {
        for (std::string const& value : attributesIn(line)) {
            values += value + "\n";
        }
    }
    Result const decode = run({"decode", "--json"}, values);
    Lines const decoded = linesOf(decode.out);
    std::size_t next = 0;
    for (std::string const& line : linesOf(read.out)) {
        std::string expected;
        for (std::string const& value : attributesIn(line)) {
            expected += expected.empty() ? "" : ",";
            expected += "\"" + kinds.at(fieldsOf(value)[0]) + "\":" + decoded.at(next++);
        }
        ASSERT_TRUE(line.ends_with(R"(,"communities":{)" + expected + "}}")) << line;
    }
    EXPECT_GT(next, 0U) << dump;
}

TEST(ReadCommandTest, PrintsTheSameCommunitiesAsDecode) {
    for (char const* const name : {"updates.mrt.gz", "rib.mrt.gz", "damaged.mrt"}) {
        SCOPED_TRACE(name);
        expectAsDecoded(sample(name));
    }
}

TEST(ReadCommandTest, ReadsOrReportsRandomAttributes) {
    std::mt19937 random(1);
    auto const octets = [&](std::size_t count) {
        std::string out;
        while (out.size() < count) {
            out += u32(random() % 3 == 0 ? 0x40040000 : random());
        }
        return out.substr(0, count);
    };
    std::string dump;
    for (unsigned int number = 0; number < 400; ++number) {
        std::string attributes;
        for (unsigned int const type : {32U, 25U, 16U, 8U}) {
            std::size_t const longest = random() % 50 == 0 ? 12000 : 60;
            attributes += attribute(type, octets(random() % longest * (random() % 5 == 0 ? 1 : 4)));
        }
        dump += route(number % 256, attributes);
    }
    TemporaryFile const file(dump);
    expectAsDecoded(file.path());
    Result const result = run({"read", file.path()});
    EXPECT_EQ(linesOf(result.out).size(), 400U);
    EXPECT_EQ(result.status, 1);
    EXPECT_NE(result.err.find("two different link bandwidths"), std::string::npos);
}

// ---- Columns ----

struct RouteRow {
    char const* name;
    std::string record;
    std::string text; // columns from the family on, except for the attributes between; tabs as '|'
    std::string json; // from the peer to the prefix or path identifier
    std::string lists = "|-|-|-|-|-";
};

std::string const as4Peer = R"("peer":{"address":"192.0.2.1","as":65536},)";

std::vector<RouteRow> routeRows() {
    return {
        {"no communities", route(1, ""), "IPv4 unicast|10.1.0.0/16|-",
         as4Peer + R"("family":"IPv4 unicast","prefix":"10.1.0.0/16")"},
        {"lists of all kinds, in any order",
         route(1, attribute(32, large + large) + attribute(16, targetOctets + targetOctets) +
                      standard() + attribute(25, ip6Target)),
         "IPv4 unicast|10.1.0.0/16|-",
         as4Peer + R"("family":"IPv4 unicast","prefix":"10.1.0.0/16")",
         "|" + standardText + "|" + targetText + "|" + ip6Text + "|" + largeText +
             "|rt:65000:100; rt:65000:100; rt:2001:db8::1:100"},
        {"a malformed list", route(1, attribute(8, hex("00640001ff"))),
         "IPv4 unicast|10.1.0.0/16|-",
         as4Peer + R"("family":"IPv4 unicast","prefix":"10.1.0.0/16")",
         "|!00640001ff (length 5 is not a multiple of 4)|-|-|-|-"},
        {"a path identifier", record(16, 9, peer4 + update(standard(), hex("00000007 08 0a"))),
         "IPv4 unicast|10.0.0.0/8|7",
         as4Peer + R"("family":"IPv4 unicast","prefix":"10.0.0.0/8","pathId":7)",
         "|" + standardText + "|-|-|-|-"},
        {"IPv6", as4Record(update(reach(2, 1, hex("30 20010db80001")))),
         "IPv6 unicast|2001:db8:1::/48|-",
         as4Peer + R"("family":"IPv6 unicast","prefix":"2001:db8:1::/48")"},
        {"labelled", as4Record(update(reach(1, 4, hex("28 000011 0a01")))),
         "IPv4 labelled|10.1.0.0/16|-",
         as4Peer + R"("family":"IPv4 labelled","prefix":"10.1.0.0/16")"},
        {"labelled, an explicit null on top",
         as4Record(update(reach(1, 4, hex("40 000000 000011 0a01")))),
         "IPv4 labelled|10.1.0.0/16|-",
         as4Peer + R"("family":"IPv4 labelled","prefix":"10.1.0.0/16")"},
        {"VPN", as4Record(update(reach(1, 128, hex("68 000011 0000fbf000000001 0a01")))),
         "IPv4 VPN|64496:1:10.1.0.0/16|-",
         as4Peer + R"("family":"IPv4 VPN","prefix":"64496:1:10.1.0.0/16")"},
        {"EVPN",
         as4Record(update(reach(25, 70, hex("03 11 0000fbf000000001 00000007 20 c0000201")))),
         "L2VPN EVPN|64496:1:[3]:[7]:[32]:[192.0.2.1]|-",
         as4Peer + R"("family":"L2VPN EVPN","prefix":"64496:1:[3]:[7]:[32]:[192.0.2.1]")"},
        {"another family", as4Record(update(reach(1, 132, hex("00")))), "IPv4 RTC|1/132:00|-",
         as4Peer + R"("family":"IPv4 RTC","prefix":"1/132:00")"},
        {"a peer that the dump does not name",
         record(13, 2, hex("00000000 08 0a 0001 0000 00000000 0000")), "IPv4 unicast|10.0.0.0/8|-",
         R"("peer":null,"family":"IPv4 unicast","prefix":"10.0.0.0/8")"},
    };
}

TEST(ReadCommandTest, PrintsOneLinePerRoute) {
    for (RouteRow const& row : routeRows()) {
        SCOPED_TRACE(row.name);
        TemporaryFile const file(record(16, 0, peer4) + row.record);
        std::string text = run({"read", file.path()}).out;
        std::replace(text.begin(), text.end(), '\t', '|');
        EXPECT_NE(text.find("|" + row.text + "|"), std::string::npos) << text;
        EXPECT_TRUE(text.ends_with(row.lists + "\n")) << text;
        std::string const json = run({"read", "--json", file.path()}).out;
        EXPECT_TRUE(json.starts_with(R"({"file":")" + file.path() +
                                     R"(","record":2,"time":"2023-11-14T22:13:20Z","type":)"));
        EXPECT_NE(json.find("," + row.json + ","), std::string::npos) << json;
        EXPECT_EQ(run({"read", "--peer", "AS0", file.path()}).out, "")
            << "an unknown peer has none";
    }
}

std::string const wellKnownAttributes =
    attribute(1, u8(0)) + attribute(2, hex("0202 0000fbf0 00010000 0101 0000fbf1")) +
    attribute(3, hex("c0000201")) + attribute(4, u32(7)) + attribute(5, u32(100));

TEST(ReadCommandTest, PrintsEveryPartOfARoute) {
    std::string const body =
        peer4 + update(wellKnownAttributes + standard() + attribute(16, targetOctets) +
                           attribute(25, "short"),
                       hex("10 0a01"), hex("08 0b"));
    TemporaryFile const file(
        record(17, 4, u32(42) + body) +
        record(
            16, 1,
            hex("fbf0fbff 0000 0001 c0000201 c00002fe") +
                update(attribute(1, u8(9)) + attribute(2, hex("0202 fbf0")) + hex("c0 20 18 fbf0"),
                       hex("08 0c"))));
    std::string const day = "2023-11-14T22:13:20", peer = "192.0.2.1 AS65536";
    Lines const text = linesOf(run({"read", file.path()}).out);
    ASSERT_EQ(text.size(), 3U);
    EXPECT_EQ(fieldsOf(text[0]), (Lines{day + ".000042Z", "W", peer, "IPv4 unicast", "11.0.0.0/8",
                                        "-", "-", "-", "-", "-", "-", "-", "-", "-", "-", "-"}));
    EXPECT_EQ(
        fieldsOf(text[1]),
        (Lines{day + ".000042Z", "A", peer, "IPv4 unicast", "10.1.0.0/16", "-",
               "64496 65536 {64497}", "IGP", "192.0.2.1", "7", "100", standardText, targetText,
               "!73686f7274 (length 5 is not a multiple of 20)", "-", "rt:65000:100"}));
    Lines const faulty = fieldsOf(text[2]);
    EXPECT_EQ(faulty[6], "!0202fbf0 (truncated AS path segment)");
    EXPECT_EQ(faulty[7], "!09 (unknown ORIGIN)");
    EXPECT_EQ(faulty[15], "32 !fbf0 (truncated attribute)");

    Lines const tsv = linesOf(run({"read", "--format", "tsv", file.path()}).out);
    ASSERT_EQ(tsv.size(), 4U);
    for (std::string const& line : tsv) {
        EXPECT_EQ(std::count(line.begin(), line.end(), '\t'), 19) << line;
    }
    EXPECT_EQ(
        fieldsOf(tsv[2]),
        (Lines{"1700000000", "42", "A", "192.0.2.1", "65536", "IPv4 unicast", "10.1.0.0/16", "",
               "64496 65536 {64497}", "IGP", "192.0.2.1", "7", "100", "no-export 100:1",
               "rt:65000:100", "", "", "", "25 !73686f7274 (length 5 is not a multiple of 20)"}));
    EXPECT_EQ(fieldsOf(tsv[3]).at(18),
              "1 !09 (unknown ORIGIN); 2 !0202fbf0 (truncated AS path segment); "
              "32 !fbf0 (truncated attribute)");

    Lines const json = linesOf(run({"read", "--json", file.path()}).out);
    EXPECT_NE(json[0].find(R"(.000042Z","type":"withdrawn","peer":)"), std::string::npos);
    EXPECT_NE(json[1].find(R"("prefix":"10.1.0.0/16","asPath":"64496 65536 {64497}",)"
                           R"("origin":"IGP","nextHop":"192.0.2.1","med":7,"localPref":100,)"),
              std::string::npos)
        << json[1];
    EXPECT_EQ(json[1].find("wire"), std::string::npos) << "lean without --full";
    EXPECT_NE(json[2].find(R"({"attribute":2,"octets":"0202fbf0","error":)"), std::string::npos);
    EXPECT_EQ(run({"read", "--format", "xml", file.path()}).status, 2);
}

TEST(ReadCommandTest, PrintsMeaningsFromTheDictionary) {
    TemporaryFile const file(route(1, standard() + attribute(16, targetOctets)));
    TemporaryFile const words("100:1,a\tcustomer\nrt:65000:100,blue\\\nnonsense\n", ".txt");
    Result const text = run({"read", "--dictionary", words.path(), file.path()});
    EXPECT_EQ(fieldsOf(linesOf(text.out)[0]).back(), "100:1=a?customer; rt:65000:100=blue\\");
    Result const tsv = run({"read", "--format=tsv", "--dictionary", words.path(), file.path()});
    EXPECT_EQ(fieldsOf(linesOf(tsv.out)[1]).at(17), "100:1=a?customer; rt:65000:100=blue\\\\");
    EXPECT_NE(text.err.find("line 3: no comma"), std::string::npos) << text.err;
    EXPECT_EQ(text.status, 0);
    Result const json = run({"read", "--json", "--dictionary", words.path(), file.path()});
    EXPECT_NE(json.out.find(R"("name":"rt:65000:100","meaning":"blue\\")"), std::string::npos);
    EXPECT_EQ(run({"read", "--dictionary", "/no/such/file", file.path()}).status, 3);
}

TEST(ReadCommandTest, UsesTheFirstOfDuplicateAttributes) {
    TemporaryFile const file(
        route(1, attribute(16, targetOctets) + attribute(16, bandwidthOctets)) +
        route(2, attribute(16, "short") + attribute(16, targetOctets) + standard()) +
        route(3,
              attribute(16, bandwidthOctets + bandwidthOctetsToo) + attribute(16, targetOctets)) +
        route(4, attribute(16, "") + attribute(16, targetOctets)));
    Result const result = run({"read", file.path()});
    EXPECT_EQ(column(result, 12)[0], targetText);
    EXPECT_EQ(column(result, 12)[1], "!73686f7274 (length 5 is not a multiple of 8)");
    EXPECT_EQ(column(result, 12)[2],
              "!" + std::string("4004fbf04cee6b284004fbf04d6e6b28") +
                  " (two different link bandwidths, at most one is allowed)");
    EXPECT_EQ(column(result, 12)[3], "! (the value is empty)");
    EXPECT_EQ(column(result, 11), (Lines{"-", standardText, "-", "-"}));
    EXPECT_EQ(result.status, 1);
    for (char const* const fault : {"record 2 at octet 82: attribute 16 has 5 octets",
                                    "record 3 at octet 173: two different link", "record 4 at"}) {
        EXPECT_NE(result.err.find(fault), std::string::npos) << result.err;
    }
    EXPECT_EQ(run({"read", "--kind", "extended", file.path()}).out, linesOf(result.out)[0] + "\n");
}

// ---- Filters ----

struct FilterRow {
    Arguments options;
    std::string routes; // by number, as in filterDump()
};

std::string filterDump() {
    return route(1, "") + route(2, standard()) + route(3, attribute(16, targetOctets)) +
           route(4, attribute(25, ip6Target)) + route(5, attribute(32, large)) +
           route(6, standard() + attribute(16, targetOctets + bandwidthOctets) +
                        attribute(32, large)) +
           route(7, attribute(16, bandwidthOctets + targetOctets)) +
           as4Record(update(reach(1, 128, hex("69 000011 0000fbf000000001 0a0880")))) +
           as4Record(update(reach(2, 1, hex("20 20010db8"))));
}

TEST(ReadCommandTest, FiltersSelectRoutes) {
    std::string const octets = "0002FDE800000064";
    std::vector<FilterRow> const rows = {
        {{}, "1 2 3 4 5 6 7 vpn ipv6"},
        {{"--kind", "standard"}, "2 6"},
        {{"--kind=ipv6"}, "4"},
        {{"--kind", "large", "--kind", "ipv6"}, "4 5 6"},
        {{"--match", "^100:1 65535:65281$"}, "2 6"},
        {{"--match", "^100:1 no-export$"}, "2 6"},
        {{"--match", "^RT:65000:100$"}, "3"},
        {{"--match", "^2001:db8::1:100 $"}, "4"},
        {{"--match", "^65536:1:2$"}, "5 6"},
        {{"--match", "^65536:1:2$", "--kind", "extended"}, ""},
        {{"--match", "65000:100", "--match", "no-export"}, "6"},
        {{"--community", "100:1"}, "2 6"},
        {{"--community", "no-export"}, "2 6"},
        {{"--community", "65535:65281 no-export"}, "2 6"},
        {{"--community", "FFFFFF01"}, "2 6"},
        {{"--community", octets}, "3 6 7"},
        {{"--community", "65000:100"}, "3 6 7"},
        {{"--community", "Route-Target-AS:65000:100"}, "3 6 7"},
        {{"--community", "<RouteTarget2ByteASN 65000:100 0x0002fde800000064>"}, "3 6 7"},
        {{"--community", "2001:db8::1:100"}, "4"},
        {{"--community", "1.0:1:2"}, "5 6"},
        {{"--community", "65536:1:2", "--community", "no-export"}, "6"},
        {{"--community", octets, "--kind", "standard"}, ""},
        {{"--prefix", "10.4.0.0/14"}, "4 5 6 7"},
        {{"--prefix", "10.7.0.0/16"}, "7"},
        {{"--prefix", "10.8.128.0/17"}, "vpn"},
        {{"--prefix", "10.7.0.0/17"}, ""},
        {{"--prefix", "2001:db8::/32"}, "ipv6"},
        {{"--prefix", "::/0"}, "ipv6"},
        {{"--exact", "10.4.0.0/14"}, ""},
        {{"--exact", "10.4.0.0/16", "--prefix", "10.7.0.0/16"}, "4 7"},
        {{"--covers", "10.8.200.1"}, "vpn"},
        {{"--covers", "10.4.7.0/24"}, "4"},
        {{"--covers", "10.4.0.0/14"}, ""},
        {{"--covers", "2001:db8::1"}, "ipv6"},
        {{"--covers", "a04::1"}, ""}, // begins as 10.4.0.0/16
        {{"--family", "ipv4"}, "1 2 3 4 5 6 7 vpn"},
        {{"--family", "IPv4 unicast", "--prefix", "10.6.0.0/15"}, "6 7"},
        {{"--family=VPNv4", "--family", "2/1"}, "vpn ipv6"},
        {{"--community", "100:*"}, "2 6"},
        {{"--community", "NO_EXPORT"}, "2 6"},
        {{"--community", "target:65000:*", "--kind", "extended"}, "3 6 7"},
        {{"--peer", "192.0.2.1", "--limit", "1"}, "1"},
        {{"--peer", "AS65536", "--limit", "1"}, "1"},
        {{"--peer", "192.0.2.2", "--peer", "65536", "--limit", "1"}, "1"},
        {{"--peer", "192.0.2.1 AS65537"}, ""},
        {{"--since", "2023-11-14T22:13:20Z", "--until", "1700000001", "--limit", "1"}, "1"},
        {{"--until", "2023-11-14T23:13:20+01:00"}, ""},
        {{"--since", "1700000000.000001"}, ""},
        {{"--since", "1700000000.0000009", "--limit", "1"}, "1"},
        {{"--withdrawn"}, ""},
        {{"--limit", "2"}, "1 2"},
        {{"--limit", "9"}, "1 2 3 4 5 6 7 vpn ipv6"},
        {{"--kind", "extended", "--community", "65000:100", "--match", "65000", "--prefix",
          "10.4.0.0/14", "--limit", "1"},
         "6"},
    };
    std::map<std::string, std::string> const names = {{"64496:1:10.8.128.0/17", "vpn"},
                                                      {"2001:db8::/32", "ipv6"}};
    TemporaryFile const file(filterDump());
    for (FilterRow const& row : rows) {
        Arguments arguments = {"read", file.path()};
        arguments.insert(arguments.end(), row.options.begin(), row.options.end());
        Result const result = run(arguments);
        EXPECT_EQ(result.status, 0);
        std::string routes;
        for (std::string const& prefix : column(result, 4)) {
            auto const name = names.find(prefix);
            routes += routes.empty() ? "" : " ";
            routes += name != names.end() ? name->second : prefix.substr(3, 1);
        }
        EXPECT_EQ(routes, row.routes) << testing::PrintToString(row.options);
    }
    EXPECT_EQ(column(run({"read", "--kind", "large", "--limit=2", file.path()}), 11),
              (Lines{"-", "-"}));
}

TEST(ReadCommandTest, SelectsByPathAndWithdrawal) {
    TemporaryFile const file(
        as4Record(update(wellKnownAttributes, hex("10 0a01"), hex("10 0a02"))) +
        route(3, attribute(2, hex("0202 0000fbf0 0001fbf1"))) + route(4, attribute(2, "")));
    struct Row {
        Arguments options;
        Lines prefixes;
    };

    Lines const all = {"10.2.0.0/16", "10.1.0.0/16", "10.3.0.0/16", "10.4.0.0/16"};
    for (Row const& row : std::vector<Row>{
             {{}, all},
             {{"--withdrawn"}, {all[0]}},
             {{"--announced"}, {all[1], all[2], all[3]}},
             {{"--announced", "--withdrawn"}, all},
             {{"--origin-as", "AS130033"}, {all[2]}},
             {{"--origin-as", "64497"}, {}},
             {{"--as-path", "^64496"}, {all[1], all[2]}},
             {{"--as-path", "_64497_"}, {all[1]}},
             {{"--as-path", "_6449_"}, {}},
             {{"--as-path", "^$"}, {all[3]}},
             {{"--as-path", "6[[:digit:]_]*_130033$"}, {all[2]}},
             {{"--as-path", "4[]_9]6_130033"}, {all[2]}},
             {{"--as-path", "[^]_]_130033"}, {all[2]}},
             {{"--as-path", "\\[_|64496_130033"}, {all[2]}},
             {{"--as-path", "\\_|130033"}, {all[2]}},
             {{"--as-path", "^64496_", "--as-path", "[0-9]$"}, {all[2]}},
         }) {
        Arguments arguments = {"read", file.path()};
        arguments.insert(arguments.end(), row.options.begin(), row.options.end());
        EXPECT_EQ(column(run(arguments), 4), row.prefixes) << testing::PrintToString(row.options);
    }
}

TEST(ReadCommandTest, StopsReadingAtTheLimit) {
    TemporaryFile const file(as4Record(update(standard(), hex("08 0a 08 0b"))) +
                             route(3, attribute(16, "short")));
    Result const two = run({"read", "--limit", "2", file.path(), "/no/such/file"});
    EXPECT_EQ(column(two, 4), (Lines{"10.0.0.0/8", "11.0.0.0/8"}));
    EXPECT_EQ(two.err, "");
    EXPECT_EQ(two.status, 0);
    EXPECT_EQ(run({"read", "--limit", "3", file.path(), "/no/such/file"}).status, 1);
    EXPECT_EQ(run({"read", "--limit", "1", "/no/such/file", file.path()}).status, 3);
}

TEST(ReadCommandTest, ReadsPathIdentifiersAsRequested) {
    // 9.0.0.0/32, or path identifier 0x20090000 with 0.0.0.0/0; the record is not marked.
    TemporaryFile const file(as4Record(update("", hex("20 09000000"))));
    Lines const without = {"9.0.0.0/32"}, with = {"0.0.0.0/0"};
    for (auto const& [options, prefixes] : std::vector<std::pair<Arguments, Lines>>{
             {{}, without},
             {{"--add-path"}, with},
             {{"--add-path", "yes"}, with},
             {{"--add-path=yes"}, with},
             {{"--add-path", "no"}, without},
             {{"--add-path", "--add-path", "auto"}, without},
         }) {
        Arguments arguments = {"read"};
        arguments.insert(arguments.end(), options.begin(), options.end());
        arguments.push_back(file.path());
        Result const result = run(arguments);
        EXPECT_EQ(column(result, 4), prefixes) << testing::PrintToString(options) << result.err;
    }
}

TEST(ReadCommandTest, ReportsInvalidOptions) {
    struct Row {
        Arguments options;
        char const* complaint;
    };

    for (Row const& row : std::vector<Row>{
             {{"--kind", "IPv6"}, "--kind: \"IPv6\": expected standard, extended, ipv6 or large"},
             {{"--match", "(1"}, "--match: \"(1\": Unmatched ("},
             {{"--community", ""}, "--community: \"\": not a community: expected"},
             {{"--prefix", "10.0.0.0"}, "--prefix: \"10.0.0.0\": missing or invalid prefix length"},
             {{"--prefix", "10.0.0.0/33"}, "missing or invalid prefix length"},
             {{"--prefix", "::/129"}, "missing or invalid prefix length"},
             {{"--prefix", "10.0.0.0/8x"}, "missing or invalid prefix length"},
             {{"--prefix", "10.0.0/8"}, "not an IPv4 or IPv6 prefix"},
             {{"--prefix", "10.0.0.1/8"}, "bits beyond"},
             {{"--covers", "10.0.0"}, "not an IPv4 or IPv6 prefix"},
             {{"--since", "2023-11-14T22:13:20Z1"}, "not a time"},
             {{"--since", "yesterday"}, "--since: \"yesterday\": not a time: expected 2024"},
             {{"--until", "2023-02-29"}, "not a time"},
             {{"--peer", "192.0.2"}, "expected an address or an AS number"},
             {{"--family", "ipv5"}, "not a family: expected ipv4"},
             {{"--origin-as", "x"}, "not an AS number"},
             {{"--as-path", "(1"}, "--as-path: \"(1\": Unmatched ("},
             {{"--as-path", "_(64500)_\\1"}, "back-references are not supported"},
             {{"--community", "no-exprt"}, "not a community: expected a value such as 64496:300"},
             {{"--add-path=maybe"}, "--add-path: unknown value \"maybe\""},
             {{"--limit", "0"}, "--limit: \"0\" is not a positive number"},
             {{"--limit", "1k"}, "--limit: \"1k\""},
             {{"--limit", "99999999999999999999"}, "--limit"},
             {Arguments(65, "--match=1"), "more than 64"},
         }) {
        Arguments arguments = {"read", sample("rib.mrt.gz")};
        arguments.insert(arguments.end(), row.options.begin(), row.options.end());
        Result const result = run(arguments);
        EXPECT_EQ(result.status, 2);
        EXPECT_EQ(result.out, "");
        EXPECT_NE(result.err.find(row.complaint), std::string::npos) << result.err;
    }
}

} // namespace
} // namespace BgpCommunities
