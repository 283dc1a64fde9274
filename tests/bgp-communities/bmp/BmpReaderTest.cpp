#include "bmp/BmpReader.h"

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "bmp/BmpStream.h"
#include "support/BmpOctets.h"
#include "support/ProgramRun.h"

namespace BgpCommunities {
namespace {

using namespace Test;

/// Records the calls of a reader, one line each, except handleMessage().
class Trace final : public BmpHandler {
  public:
    void handleSystem(BmpSystem const& system) override {
        lines.push_back("system " + std::string(system.name));
    }
    void handleTermination(std::string_view reason) override {
        lines.push_back("termination: " + std::string(reason));
    }
    void handlePeerUp(BmpPeer const& peer, BmpPeerUp const& up) override {
        std::string line = textOf(peer) + " up, to ";
        appendText(line, up.local);
        lines.push_back(line);
    }
    void handlePeerDown(BmpPeer const& peer, std::string_view reason) override {
        lines.push_back(textOf(peer) + " down: " + std::string(reason));
    }
    void handleUpdate(BmpPeer const& peer, BmpUpdate const& update) override {
        std::string line = textOf(peer);
        for (Route const& route : update.content.withdrawn()) {
            append(line += " -", route);
        }
        for (Route const& route : update.content.announced()) {
            append(line += " +", route);
        }
        RouteAttributes const attributes(update.attributes);
        if (auto const& path = attributes.asPath()) {
            appendText(line += " path ", *path);
        }
        if (auto const family = update.content.endOfRib()) {
            appendText(line += " end of ", *family);
        }
        lines.push_back(line);
    }
    void handleProblem(std::string const& reason) override { lines.push_back("! " + reason); }

    Lines lines;

  private:
    static std::string textOf(BmpPeer const& peer) {
        std::string text(nameOf(peer.view));
        appendText(text += ' ', peer.peer());
        return text;
    }
    static void append(std::string& line, Route const& route) {
        appendText(line, route);
        line += route.hasPathId ? "#" + std::to_string(route.pathId) : "";
    }
};

struct Received {
    Lines lines;
    std::string fault;
};

Received read(std::string const& octets) {
    Trace trace;
    BmpReader reader(trace);
    BmpStream stream(4096);
    stream.add(octetsOf(octets), [&](BmpMessage const& message) { reader.read(message); });
    return {trace.lines, stream.fault()};
}

Lines const sampleLines = {
    "system sample-router",
    "adjRibInPre 192.0.2.1 AS64496 up, to 192.0.2.254",
    "adjRibInPre 192.0.2.1 AS64496 +192.0.2.0/24 path 64496 65551",
    "adjRibInPost 192.0.2.1 AS64496 +198.51.100.0/24 path 64496 65551",
    "adjRibInPre 192.0.2.1 AS64496 +198.51.100.0/24 path 64496 23456",
    "adjRibInPre 192.0.2.1 AS64496 end of IPv4 unicast",
    "adjRibInPre 198.51.100.2 AS65536 up, to 192.0.2.254",
    "adjRibInPre 198.51.100.2 AS65536 +203.0.113.0/24#1 +203.0.113.0/24#2 path 64496 65551",
    "adjRibOutPost 198.51.100.2 AS65536 path 64496 65551",
    "! BMP message of type 0: truncated prefix in NLRI",
    "adjRibInPre 2001:db8::3 AS65540 up, to 2001:db8:ffff::fe",
    "adjRibInPre 2001:db8::3 AS65540 +2001:db8:1::/48 path 64496 65551",
    "adjRibInPre 2001:db8::3 AS65540 end of IPv6 unicast",
    "locRib 192.0.2.1 AS64511 up, to 0.0.0.0",
    "locRib 192.0.2.1 AS64511 +192.0.2.0/25#7 path 64496 65551",
    "adjRibInPre 192.0.2.1 AS64496 +192.0.2.0/24 path 64496 65551",
    "! BMP message of type 200: unknown type",
    "adjRibInPre 192.0.2.1 AS64496 +192.0.2.0/24 path 64496 65551",
    "adjRibInPre 198.51.100.2 AS65536 down: the peer closed the session without a notification",
    "termination: administratively closed",
};

TEST(BmpReaderTest, ReadsEveryTypeAndView) {
    Received const whole = read(contentOf(sample("session.bmp")));
    EXPECT_EQ(whole.lines, sampleLines);
    EXPECT_EQ(whole.fault, "");
}

TEST(BmpReaderTest, TakesOnlyAnUpdateOfNothingAsEndOfRib) {
    std::string const none = attribute(15, hex("0002 01"));
    for (auto const& [octets, isEnd] :
         std::vector<std::pair<std::string, bool>>{{update(none), true},
                                                   {update(attribute(1, u8(0)) + none), false},
                                                   {update("", hex("18 c0")), false}}) {
        std::string const session = bmp(3, bmpPeerUp()) + bmp(0, bmpPeer() + octets);
        std::string const lines = testing::PrintToString(read(session).lines);
        EXPECT_EQ(lines.find(" end of ") != std::string::npos, isEnd) << lines;
    }
}

/// A session truncated at any octet yields its complete messages, and no fault.
TEST(BmpReaderTest, ReadsCompleteMessages) {
    std::string const octets = contentOf(sample("session.bmp"));
    for (std::size_t size = 0; size < octets.size(); ++size) {
        Received const part = read(octets.substr(0, size));
        ASSERT_EQ(part.fault, "") << size;
        ASSERT_LT(part.lines.size(), sampleLines.size()) << size;
        ASSERT_TRUE(std::equal(part.lines.begin(), part.lines.end(), sampleLines.begin())) << size;
    }
}

/// A body truncated at any octet is reported, and the next message is read.
TEST(BmpReaderTest, ReportsTruncatedBodiesAndContinues) {
    /// From `start` on, the body lacks this; nothing if empty.
    struct Part {
        std::size_t start;
        std::string reason;
    };

    struct Row {
        unsigned int type;
        std::string body;
        std::vector<Part> parts; // after the per-peer header
    };

    std::string const peer = bmpPeer();
    std::string const noUpdate = "route monitoring message without a whole UPDATE";
    std::string const noTlv = "truncated TLV";
    for (Row const& row : std::vector<Row>{
             {0, peer + update("", prefixNear), {{42, noUpdate}}},
             {1, peer + u32(1) + bmpTlv(0, "x"), {{42, noTlv}, {46, ""}, {47, noTlv}}},
             {2, peer + u8(1), {{42, "truncated peer down message"}}},
             {3,
              bmpPeerUp(),
              {{42, "truncated peer up message"}, {62, "peer up message without both OPENs"}}},
             {4, bmpTlv(2, "name"), {{0, ""}, {1, noTlv}}},
             {6, peer + bmpTlv(0, "x"), {{42, ""}, {43, noTlv}}}}) {
        for (std::size_t size = 0; size < row.body.size(); ++size) {
            Received const part =
                read(bmp(row.type, row.body.substr(0, size)) + bmp(4, bmpTlv(2, "next")));
            auto const lacking = std::find_if(row.parts.rbegin(), row.parts.rend(),
                                              [&](Part const& of) { return size >= of.start; });
            std::string const reason =
                lacking == row.parts.rend() ? "truncated per-peer header" : lacking->reason;
            Lines expected = row.type == 4 ? Lines{"system "} : Lines();
            if (!reason.empty()) {
                expected.push_back("! BMP message of type " + std::to_string(row.type) + ": " +
                                   reason);
            }
            expected.push_back("system next");
            ASSERT_EQ(part.lines, expected) << row.type << ' ' << size;
            ASSERT_EQ(part.fault, "");
        }
    }
}

TEST(BmpReaderTest, ReadsEveryPeerTypeUnderEveryFlags) {
    std::string header = bmpPeer();
    for (unsigned int type = 0; type < 256; ++type) {
        for (unsigned int flags = 0; flags < 256; ++flags) {
            header[0] = static_cast<char>(type);
            header[1] = static_cast<char>(flags);
            OctetReader in(octetsOf(header));
            BmpPeer peer;
            ASSERT_EQ(readBmpPeer(in, peer), type < 4 ? "" : "unknown peer type") << type;
            if (type < 4) {
                bool const isLocRib = type == 3, isPost = (flags & 0x40) != 0;
                ASSERT_EQ(nameOf(peer.view), isLocRib ? "locRib"
                                             : (flags & 0x10) != 0
                                                 ? isPost ? "adjRibOutPost" : "adjRibOutPre"
                                             : isPost ? "adjRibInPost"
                                                      : "adjRibInPre");
                ASSERT_EQ(peer.id.address.size, isLocRib ? 0 : (flags & 0x80) != 0 ? 16 : 4);
                ASSERT_EQ(peer.asWidth == AsWidth::two, !isLocRib && (flags & 0x20) != 0);
            }
        }
    }
}

TEST(BmpReaderTest, RefusesPeersBeyondItsLimit) {
    Trace trace;
    BmpReader reader(trace);
    BmpStream stream(4096);
    for (std::size_t number = 0; number <= BmpReader::maxPeers; ++number) {
        std::string const body = bmpPeerUp().replace(6, 4, u32(number)); // the distinguisher
        stream.add(octetsOf(bmp(3, body)), [&](BmpMessage const& each) { reader.read(each); });
    }
    EXPECT_EQ(reader.peers(), BmpReader::maxPeers);
    EXPECT_EQ(trace.lines.back(), "! BMP message of type 3: too many peers");
}

TEST(BmpReaderTest, ReportsFaults) {
    struct Row {
        char const* name;
        std::string octets;
        Lines lines;
        char const* fault;
    };

    std::string const problem = "! BMP message of type ";
    std::string const locRib = "\x03" + bmpPeer().substr(1);
    // 1: receives path identifiers, 2: sends them, 3: both (RFC 7911).
    auto const openWith = [](unsigned int mode) {
        return message(1, hex("04 fbf0 005a c0000201 08 0206 4504 0001 01") + u8(mode));
    };
    std::string const addPathOpen = openWith(3);
    std::string const system = bmp(4, bmpTlv(2, "a"));
    std::string const up = "adjRibInPre 192.0.2.1 AS64496 up, to 192.0.2.254";
    for (Row const& row : std::vector<Row>{
             {"another version", system + "\x04", {"system a"}, "unknown BMP version 4"},
             {"incomplete header", system + "\x03" + u32(5), {"system a"}, ""},
             {"too short",
              system + "\x03" + u32(5) + u8(4),
              {"system a"},
              "BMP message length 5 is less than its header"},
             {"too long",
              "\x03" + u32(4097) + u8(0),
              {},
              "BMP message of 4097 octets, at most 4096 are accepted"},
             {"of the greatest length",
              bmp(4, bmpTlv(2, std::string(4086, 'a'))),
              {"system " + std::string(4086, 'a')},
              ""},
             {"unknown peer type",
              bmp(0, "\x04" + bmpPeer().substr(1)),
              {problem + "0: unknown peer type"},
              ""},
             {"not an UPDATE",
              bmp(0, bmpPeer() + message(4, "")),
              {problem + "0: route monitoring message without a whole UPDATE"},
              ""},
             {"an UPDATE without its lengths",
              bmp(3, bmpPeerUp()) + bmp(0, bmpPeer() + message(2, u16(5) + u16(0))),
              {up, problem + "0: UPDATE too short for its own length fields"},
              ""},
             {"no OPEN",
              bmp(3, bmpPeer() + std::string(20, '\0') + message(4, "")),
              {problem + "3: peer up message without both OPENs"},
              ""},
             {"down, never up",
              bmp(2, bmpPeer() + u8(3)),
              {problem + "2: peer down for a peer that is not up"},
              ""},
             {"down for an unknown reason",
              bmp(3, bmpPeerUp()) + bmp(2, bmpPeer() + u8(7)),
              {up, "adjRibInPre 192.0.2.1 AS64496 down: unknown reason"},
              ""},
             {"routes, never up",
              bmp(0, bmpPeer() + update("", prefixNear)),
              {problem + "0: routes of a peer that is not up"},
              ""},
             {"routes of the router, never up",
              bmp(0, locRib + update("", prefixNear)) + bmp(0, locRib + update("", prefixFar)),
              {"locRib 192.0.2.1 AS64496 +192.0.2.0/24",
               problem + "0: routes of a peer that is not up",
               "locRib 192.0.2.1 AS64496 +198.51.100.0/24"},
              ""},
             {"routes, no longer up",
              bmp(3, bmpPeerUp()) + bmp(2, bmpPeer() + u8(4)) +
                  bmp(0, bmpPeer() + update("", prefixNear)),
              {up,
               "adjRibInPre 192.0.2.1 AS64496 down: the peer closed the session without a "
               "notification",
               problem + "0: routes of a peer that is not up"},
              ""},
             {"two UPDATEs",
              bmp(3, bmpPeerUp()) +
                  bmp(0, bmpPeer() + update("", prefixNear) + update("", prefixFar)),
              {up, "adjRibInPre 192.0.2.1 AS64496 +192.0.2.0/24",
               problem + "0: octets after the UPDATE"},
              ""},
             {"Loc-RIB with path identifiers, ambiguous otherwise",
              bmp(3, locRib + std::string(20, '\0') + addPathOpen + addPathOpen) +
                  bmp(0, locRib + update("", hex("080a 080b 080c"))),
              {"locRib 192.0.2.1 AS64496 up, to 0.0.0.0",
               "locRib 192.0.2.1 AS64496 +12.0.0.0/8#134875147"},
              ""},
             {"path identifiers negotiated, in one view only",
              bmp(3, bmpPeer() + std::string(20, '\0') + addPathOpen + addPathOpen) +
                  bmp(0, bmpPeer() + update("", hex("00000001 00"))) +
                  bmp(0, bmpPeer(1, 0x40) + update("", hex("19 cb007100"))) +
                  bmp(0, bmpPeer() + update("", hex("00000002 18 cb0071"))),
              {"adjRibInPre 192.0.2.1 AS64496 up, to 0.0.0.0",
               "adjRibInPre 192.0.2.1 AS64496 +0.0.0.0/0#1",
               "adjRibInPost 192.0.2.1 AS64496 +203.0.113.0/25",
               "adjRibInPre 192.0.2.1 AS64496 +203.0.113.0/24#2"},
              ""},
             {"path identifiers that the peer sends",
              bmp(3, bmpPeer() + std::string(20, '\0') + openWith(1) + openWith(2)) +
                  bmp(0, bmpPeer() + update("", hex("00000001 00"))),
              {"adjRibInPre 192.0.2.1 AS64496 up, to 0.0.0.0",
               "adjRibInPre 192.0.2.1 AS64496 +0.0.0.0/0#1"},
              ""},
             {"path identifiers in the session before",
              bmp(3, bmpPeer() + std::string(20, '\0') + addPathOpen + addPathOpen) +
                  bmp(0, bmpPeer() + update("", hex("00000001 00"))) +
                  bmp(3, bmpPeer() + std::string(20, '\0') + openWith(1) + openWith(1)) +
                  bmp(0, bmpPeer() + update("", hex("080a 080b 080c"))),
              {"adjRibInPre 192.0.2.1 AS64496 up, to 0.0.0.0",
               "adjRibInPre 192.0.2.1 AS64496 +0.0.0.0/0#1",
               "adjRibInPre 192.0.2.1 AS64496 up, to 0.0.0.0",
               "adjRibInPre 192.0.2.1 AS64496 +10.0.0.0/8 +11.0.0.0/8 +12.0.0.0/8"},
              ""},
             {"down, without its NOTIFICATION",
              bmp(3, bmpPeerUp()) + bmp(2, bmpPeer() + u8(3)),
              {up,
               "adjRibInPre 192.0.2.1 AS64496 down: the peer closed the session with a "
               "notification",
               problem + "2: peer down message without a NOTIFICATION"},
              ""},
         }) {
        Received const result = read(row.octets);
        EXPECT_EQ(result.lines, row.lines) << row.name;
        EXPECT_EQ(result.fault, row.fault) << row.name;
    }
}

} // namespace
} // namespace BgpCommunities
