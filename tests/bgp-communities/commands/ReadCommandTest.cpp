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

std::string const target = hex("0002fde800000064");
std::string const bandwidth = hex("4004fbf04cee6b28");
std::string const bandwidthToo = hex("4004fbf04d6e6b28");
std::string const ip6Target = hex("0002 20010db8000000000000000000000001 0064");
std::string const large = hex("00010000 00000001 00000002");

std::string const standardText = "100:1 no-export";
std::string const targetText = "[ <RouteTarget2ByteASN 65000:100 0x0002fde800000064> ]";
std::string const ip6Text = "[ <extCommIp6PktTypeTransIpv6Address extCommIp6PktSubtypeRouteTarget "
                            "addr=2001:db8::1 localAdmin=100> ]";
std::string const largeText = "65536:1:2";

/** 10.NUMBER.0.0/16, of an UPDATE. */
std::string route(unsigned int number, std::string const& attributes) {
    return as4Record(update(attributes, hex("10 0a") + u8(number)));
}

/** MP_REACH_NLRI. */
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
        out.push_back(fields.size() == 7 ? fields[number] : "no seven columns: " + line);
    }
    return out;
}

// ---- JSON ----

/** The attributes that stand in a line, as input of `decode`. */
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

/** Each line ends with what `decode --json` prints for its attributes, by kind. */
void expectAsDecoded(std::string const& dump) {
    static std::map<std::string, std::string> const kinds = {
        {"8", "standard"}, {"16", "extended"}, {"25", "ipv6"}, {"32", "large"}};
    Result const read = run({"read", "--json", dump});
    std::string values;
    for (std::string const& line : linesOf(read.out)) {
        for (std::string const& value : attributesIn(line)) {
            values += value + "\n";
        }
    }
    Result const decode = run({"decode", "--json"}, values);
    EXPECT_EQ(decode.status, 0) << "what is malformed or refused has been left out";
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

TEST(ReadCommandTest, CommunitiesAreThoseThatDecodeTells) {
    for (char const* const name : {"updates.mrt.gz", "rib.mrt.gz", "damaged.mrt"}) {
        SCOPED_TRACE(name);
        expectAsDecoded(sample(name));
    }
}

TEST(ReadCommandTest, AttributesOfStrangersAreReadOrNamed) {
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

// ---- What stands in a line ----

struct RouteRow {
    char const* name;
    std::string record;
    std::string text; // tabs as '|'
    std::string json; // between record and communities
};

std::string const as4Peer = R"("peer":{"address":"192.0.2.1","as":65536},)";

std::vector<RouteRow> routeRows() {
    std::string const peerText = "192.0.2.1 AS65536|";
    std::string const none = "|-|-|-|-|-";
    return {
        {"no communities", route(1, ""), peerText + "10.1.0.0/16" + none,
         as4Peer + R"("family":"IPv4 unicast","prefix":"10.1.0.0/16")"},
        {"lists of all kinds, in any order",
         route(1, attribute(32, large + large) + attribute(16, target + target) + standard() +
                      attribute(25, ip6Target)),
         peerText + "10.1.0.0/16|-|" + standardText + "|" + targetText + "|" + ip6Text + "|" +
             largeText,
         as4Peer + R"("family":"IPv4 unicast","prefix":"10.1.0.0/16")"},
        {"a path identifier", record(16, 9, peer4 + update(standard(), hex("00000007 08 0a"))),
         peerText + "10.0.0.0/8|7|" + standardText + "|-|-|-",
         as4Peer + R"("family":"IPv4 unicast","prefix":"10.0.0.0/8","pathId":7)"},
        {"IPv6", as4Record(update(reach(2, 1, hex("30 20010db80001")))),
         peerText + "2001:db8:1::/48" + none,
         as4Peer + R"("family":"IPv6 unicast","prefix":"2001:db8:1::/48")"},
        {"labelled", as4Record(update(reach(1, 4, hex("28 000011 0a01")))),
         peerText + "10.1.0.0/16" + none,
         as4Peer + R"("family":"IPv4 labelled","prefix":"10.1.0.0/16")"},
        {"labelled, an explicit null on top",
         as4Record(update(reach(1, 4, hex("40 000000 000011 0a01")))),
         peerText + "10.1.0.0/16" + none,
         as4Peer + R"("family":"IPv4 labelled","prefix":"10.1.0.0/16")"},
        {"VPN", as4Record(update(reach(1, 128, hex("68 000011 0000fbf000000001 0a01")))),
         peerText + "64496:1:10.1.0.0/16" + none,
         as4Peer + R"("family":"IPv4 VPN","prefix":"64496:1:10.1.0.0/16")"},
        {"another family", as4Record(update(reach(25, 70, hex("0302ffff 0302eeee")))),
         peerText + "25/70:0302ffff0302eeee" + none,
         as4Peer + R"("family":"25/70","prefix":"25/70:0302ffff0302eeee")"},
        {"a peer that the dump does not tell",
         record(13, 2, hex("00000000 08 0a 0001 0000 00000000 0000")), "-|10.0.0.0/8" + none,
         R"("peer":null,"family":"IPv4 unicast","prefix":"10.0.0.0/8")"},
    };
}

TEST(ReadCommandTest, ARouteIsALine) {
    for (RouteRow const& row : routeRows()) {
        SCOPED_TRACE(row.name);
        TemporaryFile const file(record(16, 0, peer4) + row.record);
        std::string text = row.text;
        std::replace(text.begin(), text.end(), '|', '\t');
        EXPECT_EQ(run({"read", file.path()}).out, text + "\n");
        EXPECT_TRUE(run({"read", "--json", file.path()})
                        .out.starts_with(R"({"file":")" + file.path() + R"(","record":2,)" +
                                         row.json + R"(,"communities":{)"))
            << run({"read", "--json", file.path()}).out;
    }
}

TEST(ReadCommandTest, TheFirstOfRepeatedAttributesCounts) {
    TemporaryFile const file(
        route(1, attribute(16, target) + attribute(16, bandwidth)) +
        route(2, attribute(16, "short") + attribute(16, target) + standard()) +
        route(3, attribute(16, bandwidth + bandwidthToo) + attribute(16, target)) +
        route(4, attribute(16, "") + attribute(16, target)));
    Result const result = run({"read", file.path()});
    EXPECT_EQ(column(result, 4), (Lines{targetText, "-", "-", "-"}));
    EXPECT_EQ(column(result, 3), (Lines{"-", standardText, "-", "-"}));
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
    return route(1, "") + route(2, standard()) + route(3, attribute(16, target)) +
           route(4, attribute(25, ip6Target)) + route(5, attribute(32, large)) +
           route(6, standard() + attribute(16, target + bandwidth) + attribute(32, large)) +
           route(7, attribute(16, bandwidth + target)) +
           as4Record(update(reach(1, 128, hex("69 000011 0000fbf000000001 0a0880")))) +
           as4Record(update(reach(2, 1, hex("20 20010db8"))));
}

TEST(ReadCommandTest, FiltersLeaveTheRoutesThatWereAskedFor) {
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
        for (std::string const& prefix : column(result, 1)) {
            auto const name = names.find(prefix);
            routes += routes.empty() ? "" : " ";
            routes += name != names.end() ? name->second : prefix.substr(3, 1);
        }
        EXPECT_EQ(routes, row.routes) << testing::PrintToString(row.options);
    }
    EXPECT_EQ(column(run({"read", "--kind", "large", "--limit=2", file.path()}), 3),
              (Lines{"-", "-"}));
}

TEST(ReadCommandTest, NothingIsReadBehindTheLimit) {
    TemporaryFile const file(as4Record(update(standard(), hex("08 0a 08 0b"))) +
                             route(3, attribute(16, "short")));
    Result const two = run({"read", "--limit", "2", file.path(), "/no/such/file"});
    EXPECT_EQ(column(two, 1), (Lines{"10.0.0.0/8", "11.0.0.0/8"}));
    EXPECT_EQ(two.err, "");
    EXPECT_EQ(two.status, 0);
    EXPECT_EQ(run({"read", "--limit", "3", file.path(), "/no/such/file"}).status, 1);
    EXPECT_EQ(run({"read", "--limit", "1", "/no/such/file", file.path()}).status, 3);
}

TEST(ReadCommandTest, PathIdentifiersAreReadAsDemanded) {
    // 9.0.0.0/32, or path identifier 0x20090000 of 0.0.0.0/0; the record says that it has none.
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
        EXPECT_EQ(column(result, 1), prefixes) << testing::PrintToString(options) << result.err;
    }
}

TEST(ReadCommandTest, OptionsThatMakeNoSenseAreTold) {
    struct Row {
        Arguments options;
        char const* complaint;
    };

    for (Row const& row : std::vector<Row>{
             {{"--kind", "IPv6"}, "--kind: \"IPv6\": none of standard, extended, ipv6 and large"},
             {{"--match", "(1"}, "--match: \"(1\": Unmatched ("},
             {{"--community", ""}, "--community: \"\": not a community: expected"},
             {{"--prefix", "10.0.0.0"}, "--prefix: \"10.0.0.0\": no prefix length"},
             {{"--prefix", "10.0.0.0/33"}, "no prefix length"},
             {{"--prefix", "::/129"}, "no prefix length"},
             {{"--prefix", "10.0.0.0/8x"}, "no prefix length"},
             {{"--prefix", "10.0.0/8"}, "no IPv4 or IPv6 prefix"},
             {{"--prefix", "10.0.0.1/8"}, "bits behind"},
             {{"--add-path=maybe"}, "--add-path: unknown value \"maybe\""},
             {{"--limit", "0"}, "--limit: \"0\" is no number from 1 on"},
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
