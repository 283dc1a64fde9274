#include <cstdlib>
#include <filesystem>
#include <string>

#include <gtest/gtest.h>

#include "support/ProgramRun.h"

namespace BgpCommunities {
namespace {

using namespace Test;

/// Builds dumps record by record; every record has the same time.

constexpr unsigned int as4 = 4, stateChangeAs4 = 5, as4Local = 7, as4AddPath = 9;

/// The peers 192.0.2.1 and 192.0.2.2, of one AS.
std::string peer(unsigned int last) {
    return hex("0000fbf0 0000fbff 0000 0001 c00002") + u8(last) + hex("c00002fe");
}

/// Route targets 64500:NUMBER.
std::string targets(std::initializer_list<unsigned int> numbers) {
    std::string value;
    for (unsigned int const number : numbers) {
        value += hex("0002fbf4") + u32(number);
    }
    return attribute(16, value);
}

std::string const prefixA = hex("18 c63364"); // 198.51.100.0/24
std::string const prefixB = hex("16 c63364"); // 198.51.100.0/22
std::string const ip6Head = hex("0002 01");
std::string const vpnHead = hex("0001 80");

/// 198.51.100.0/24 after a label and the distinguisher 0:64500:NUMBER.
std::string vpnPrefix(std::string const& label, unsigned int number) {
    return hex("70") + hex(label) + hex("0000 fbf4") + u32(number) + hex("c63364");
}

std::string const evpnHead = hex("0019 46");
std::string const someSegment = "00010203040506070809", noSegment = "00000000000000000000";

/// A MAC/IP advertisement (RFC 7432, section 7.2).
std::string evpnRoute(unsigned int tag, std::string const& segment, std::string const& label) {
    return hex("02 21 0000 fbf4 00000001") + hex(segment) + u32(tag) + hex("30 00005e005301 00") +
           hex(label);
}

std::string reach(std::string const& family, std::string const& nlri) {
    return attribute(14, family + hex("00 00") + nlri);
}

std::string unreach(std::string const& family, std::string const& nlri) {
    return attribute(15, family + nlri);
}

std::string from(unsigned int peerLast, std::string const& message, unsigned int subtype = as4) {
    return record(16, subtype, peer(peerLast) + message);
}

std::string stateChange(unsigned int peerLast, unsigned int before, unsigned int after) {
    return record(16, stateChangeAs4, peer(peerLast) + u16(before) + u16(after));
}

/// A state change of a peer of AS 64496.
std::string withoutAddress(unsigned int before, unsigned int after) {
    return record(16, stateChangeAs4,
                  hex("0000fbf0 0000fbff 0000 0001 00000000 c00002fe") + u16(before) + u16(after));
}

/// A row of the counts; -1 if it is missing.
long count(std::string const& out, std::string const& words) {
    for (std::string const& line : linesOf(out)) {
        if (line.starts_with(words + "  ")) {
            return std::stol(line.substr(words.size()));
        }
    }
    return -1;
}

struct Row {
    char const* name;
    std::string dump;
    Lines lines; // of --targets: the change, and its cause: "RECORD" or "end"
    long most;   // maximum number of routes
    long last;   // routes at the end
    int status = 0;
    Arguments options = {};
};

std::vector<Row> rows() {
    std::string const a7 = update(targets({7}), prefixA), a8 = update(targets({8}), prefixA);
    std::string const cut = a7.substr(19 + 4, a7.size() - 19 - 4 - prefixA.size()) + "\xc0";
    Lines const life = {"+ target 64500:7 1", "+ targets [ 64500:7 ] 1", "- targets [ 64500:7 ] 2",
                        "- target 64500:7 2"};
    Lines const toTheEnd = {life[0], life[1], "- targets [ 64500:7 ] end", "- target 64500:7 end"};
    return {
        {"nothing is withdrawn", from(1, a7), toTheEnd, 1, 1},
        {"withdrawal", from(1, a7) + from(1, update("", "", prefixA)), life, 1, 0},
        {"withdrawal of another route", from(1, a7) + from(1, update("", "", prefixB)), toTheEnd, 1,
         1},
        {"the same again", from(1, a7) + from(1, a7), toTheEnd, 1, 1},
        {"replacement: the new ones come before the old ones go",
         from(1, a7) + from(1, update(targets({8, 7}), prefixA)) + from(1, update("", prefixA)),
         {life[0], life[1], "+ target 64500:8 2", "+ targets [ 64500:7 64500:8 ] 2", life[2],
          "- targets [ 64500:7 64500:8 ] 3", "- target 64500:7 3", "- target 64500:8 3"},
         1,
         1},
        {"a message withdraws, then announces",
         from(1, a7) + from(1, update(targets({7}), prefixA, prefixA)),
         {life[0], life[1], life[2], life[3], "+ target 64500:7 2", "+ targets [ 64500:7 ] 2",
          toTheEnd[2], toTheEnd[3]},
         1,
         1},
        {"peers are kept apart", from(1, a7) + from(2, a7) + from(2, update("", "", prefixA)),
         toTheEnd, 2, 1},
        {"peers of one address with different AS numbers",
         from(1, a7) + record(16, as4, hex("0000fbf1 0000fbff 0000 0001 c0000201 c00002fe") + a7) +
             from(1, update("", "", prefixA)),
         toTheEnd, 2, 1},
        {"the last of two peers",
         from(1, a7) + from(2, a7) + from(1, update("", "", prefixA)) + stateChange(2, 6, 1),
         {life[0], life[1], "- targets [ 64500:7 ] 4", "- target 64500:7 4"},
         2,
         0},
        {"a peer leaves Established", from(1, a7) + stateChange(1, 6, 1), life, 1, 0},
        {"a peer that was not Established", from(1, a7) + stateChange(1, 5, 1), toTheEnd, 1, 1},
        {"a peer enters Established anew", from(1, a7) + stateChange(1, 5, 6), life, 1, 0},
        {"a peer without its address, the only one of its AS",
         from(1, a7) + from(2, update("", "", prefixA)) + withoutAddress(6, 1),
         {life[0], life[1], "- targets [ 64500:7 ] 3", "- target 64500:7 3"},
         1,
         0},
        {"a peer without its address begins", from(1, a7) + withoutAddress(5, 6), toTheEnd, 1, 1},
        {"two families",
         from(1, a7) + from(1, update(reach(ip6Head, prefixA) + targets({7}))) +
             from(1, update(unreach(ip6Head, prefixA))),
         toTheEnd, 2, 1},
        {"distinguishers count, labels do not",
         from(1, update(reach(vpnHead, vpnPrefix("000011", 1)) + targets({7}))) +
             from(1, update(reach(vpnHead, vpnPrefix("000021", 1)) + targets({7}))) +
             from(1, update(reach(vpnHead, vpnPrefix("000021", 2)))) +
             from(1, update(unreach(vpnHead, vpnPrefix("800000", 1)))),
         {life[0], life[1], "- targets [ 64500:7 ] 4", "- target 64500:7 4"},
         2,
         1},
        {"EVPN: tags count, segments and labels do not",
         from(1, update(reach(evpnHead, evpnRoute(1, someSegment, "000101")) + targets({7}))) +
             from(1, update(unreach(evpnHead, evpnRoute(2, someSegment, "000101")))) +
             from(1, update(unreach(evpnHead, evpnRoute(1, noSegment, "000000")))),
         {life[0], life[1], "- targets [ 64500:7 ] 3", "- target 64500:7 3"},
         1,
         0},
        {"path identifiers",
         from(1, update(targets({7}), u32(1) + prefixA + u32(2) + prefixA), as4AddPath) +
             from(1, update("", "", u32(1) + prefixA), as4AddPath),
         toTheEnd, 2, 1},
        {"path identifiers in unmarked records",
         from(1, update(targets({7}), u32(1) + prefixA + u32(2) + prefixA)),
         toTheEnd,
         2,
         2,
         0,
         {"--add-path"}},
        {"sent to the peer", from(1, a7, as4Local), {}, 0, 0},
        {"of an attribute that is repeated the first counts",
         from(1, update(targets({7}) + targets({8}), prefixA)), toTheEnd, 1, 1},
        {"a malformed attribute withdraws",
         from(1, a7) + from(1, update(attribute(8, "abc") + targets({8}), prefixA)), life, 1, 0, 1},
        {"an attribute that is cut withdraws", from(1, a7) + from(1, update(cut, prefixA)), life, 1,
         0, 1},
        {"a refused attribute is left out",
         from(1, a7) +
             from(1, update(attribute(16, hex("4004fbf04cee6b28 4004fbf04d6e6b28")), prefixA)),
         life, 1, 1, 1},
        {"a broken UPDATE does nothing", from(1, a7) + from(1, message(2, u16(9))), toTheEnd, 1, 1,
         1},
        {"a table dump",
         record(13, 1, hex("c00002fe 0000 0001 02 c0000201 c0000201 0000fbf0")) +
             record(13, 2,
                    u32(0) + prefixA + u16(1) + u16(0) + u32(0) + u16(targets({7}).size()) +
                        targets({7})) +
             from(1, a8),
         {"+ target 64500:7 2", "+ targets [ 64500:7 ] 2", "+ target 64500:8 3",
          "+ targets [ 64500:8 ] 3", "- targets [ 64500:7 ] 3", "- target 64500:7 3",
          "- targets [ 64500:8 ] end", "- target 64500:8 end"},
         1,
         1},
    };
}

/// The lines of --targets without "record" and the time, which is checked.
Lines changes(std::string const& out) {
    Lines lines;
    for (std::string line : linesOf(out)) {
        if (!line.starts_with("+") && !line.starts_with("-")) {
            continue;
        }
        std::string const time = "\t2023-11-14T22:13:20Z", cause = "\trecord ";
        if (line.ends_with(time)) {
            line.erase(line.size() - time.size());
            line.replace(line.find(cause), cause.size(), " ");
        } else {
            line.replace(line.find('\t'), 1, " ");
        }
        lines.push_back(line);
    }
    return lines;
}

TEST(ReplayCommandTest, AppliesAnnouncementsWithdrawalsAndSessionEnds) {
    for (Row const& row : rows()) {
        SCOPED_TRACE(row.name);
        TemporaryFile const file(row.dump);
        Arguments arguments = {"replay", "--targets", file.path()};
        arguments.insert(arguments.end(), row.options.begin(), row.options.end());
        Result const result = run(arguments);
        EXPECT_EQ(result.status, row.status) << result.err;
        EXPECT_EQ(changes(result.out), row.lines);
        EXPECT_EQ(count(result.out, "routes, maximum"), row.most);
        EXPECT_EQ(count(result.out, "routes at the end"), row.last);
        EXPECT_TRUE(result.out.ends_with("\nall routes dropped: all intern tables are empty\n"))
            << result.out;
    }
}

TEST(ReplayCommandTest, ReportsAmbiguousPeersOnce) {
    std::string const a7 = update(targets({7}), prefixA);
    TemporaryFile const file(from(1, a7) + from(2, a7) + withoutAddress(6, 1) +
                             withoutAddress(6, 1));
    Result const result = run({"replay", file.path()});
    EXPECT_EQ(result.status, 0) << "the dump is well-formed";
    EXPECT_EQ(count(result.out, "routes at the end"), 2);
    EXPECT_EQ(count(result.out, "sessions that ended, of unknown peers"), 2);
    EXPECT_EQ(linesOf(result.err).size(), 1U) << result.err;
    EXPECT_NE(result.err.find("the session of 0.0.0.0 AS64496 ended, one of 2 possible peers"),
              std::string::npos)
        << result.err;
}

TEST(ReplayCommandTest, ReportsTheContentOfTheTables) {
    TemporaryFile const file(from(
        1, update(attribute(8, hex("fbf00001")) + attribute(32, hex("0000fbf0 00000001 00000002")) +
                      attribute(25, hex("0002 20010db8000000000000000000000001 0064")) +
                      attribute(16, hex("0002fbf400000007 030b000000000001 0003fbf400000007")),
                  prefixA + prefixB)));
    Result const result = run({"replay", file.path()});
    EXPECT_EQ(result.status, 0) << result.err;
    for (auto const& [words, expected] : std::initializer_list<std::pair<char const*, long>>{
             {"announcements", 2},
             {"distinct lists of communities", 1},
             {"distinct classification lists", 2},
             {"distinct route-target lists", 1},
             {"distinct route targets announced", 1},
             {"distinct extended communities", 3}}) {
        EXPECT_EQ(count(result.out, words), expected) << result.out;
    }
    EXPECT_TRUE(changes(result.out).empty()) << "without --targets";
}

TEST(ReplayCommandTest, TwoRunsPrintTheSame) {
    Arguments const arguments = {"replay", "--targets", sample("updates.mrt.gz")};
    Result const result = run(arguments);
    EXPECT_GT(changes(result.out).size(), 100U) << result.err;
    EXPECT_EQ(run(arguments).out, result.out);
}

TEST(ReplayCommandTest, RealDumpsLeaveEmptyTables) {
    char const* const data = std::getenv("VOBGP_DATA");
    if (data == nullptr) {
        GTEST_SKIP() << "VOBGP_DATA is not set";
    }
    Arguments arguments = {"replay"};
    for (auto const& entry :
         std::filesystem::directory_iterator(std::filesystem::path(data) / "mrt")) {
        arguments.push_back(entry.path());
    }
    Result const result = run(arguments);
    EXPECT_LT(result.status, 2) << result.err;
    EXPECT_GT(count(result.out, "routes, maximum"), 600000);
    EXPECT_TRUE(result.out.ends_with("\nall routes dropped: all intern tables are empty\n"))
        << result.out;
}

} // namespace
} // namespace BgpCommunities
