#include <fstream>
#include <string>
#include <utility>
#include <vector>

#include <sys/resource.h>

#include <gtest/gtest.h>

#include "input/Hex.h"
#include "input/InputStream.h"
#include "support/DumpOctets.h"
#include "support/StoreFolder.h"
#include "text/CommunityPattern.h"
#include "text/Dictionary.h"
#include "text/ExtendedForms.h"
#include "text/MemberName.h"

namespace BgpCommunities {
namespace {

using namespace Test;

constexpr auto standard = CommunityKind::standard, extended = CommunityKind::extended,
               ip6 = CommunityKind::ip6Extended, large = CommunityKind::large;

std::string nameOf(CommunityKind kind, std::string const& octets) {
    std::string name;
    appendMemberName(name, kind, octetsOf(octets));
    return name;
}

/// "covers", "does not", or the error of the pattern.
std::string verdict(std::string_view typed, CommunityKind kind, std::string const& octets) {
    CommunityPattern pattern;
    if (auto const fault = pattern.read(typed); !fault.empty()) {
        return fault.substr(0, fault.find(':'));
    }
    return pattern.covers(kind, octetsOf(octets)) ? "covers" : "does not";
}

TEST(CommunityNamesTest, MemberNamesRoundTrip) {
    struct Row {
        CommunityKind kind;
        char const* octets;
        char const* name;
    };

    for (Row const& row : std::vector<Row>{
             {standard, "fbf0012c", "64496:300"},
             {standard, "ffff029a", "blackhole"},
             {standard, "ffff0006", "llgr-stale"},
             {standard, "ffffff04", "nopeer"},
             {large, "0000fbf0 00000001 ffffffff", "64496:1:4294967295"},
             {ip6, "0002 20010db8000000000000000000000001 0064", "rt:2001:db8::1:100"},
             {ip6, "0005 20010db8000000000000000000000001 0064",
              "0x0005:20010db80000000000000000000000010064"},
             {extended, "0002fbf00000012c", "rt:64496:300"},
             {extended, "0103c00002010007", "soo:192.0.2.1:7"},
             {extended, "020200010000000a", "rt:65536:10"},
             {extended, "4004fbf04cee6b28", "link-bandwidth:64496:1000000000bps"},
             {extended, "400400003dcccccd", "link-bandwidth:0:0.800000011920929bps"},
             {extended, "400400007f800000", "link-bandwidth:0:infbps"},
             {extended, "030b000000000064", "color:100"},
             {extended, "030b800000000064", "color:100,co=10"},
             {extended, "030c000000000008", "encapsulation:vxlan"},
             {extended, "030d000000000000", "default-gateway"},
             {extended, "4300000000000001", "origin-validation:not-found"},
             {extended, "0306000000010501", "ospf-route-type:0.0.0.1:5:1"},
             {extended, "0600010000000007", "mac-mobility:7,sticky"},
             {extended, "0601010000000c81", "esi-label:200,single-active"},
             {extended, "060200005e005301", "es-import:00:00:5e:00:53:01"},
             {extended, "0604000605dc0000", "layer2-attributes:1500,primary,control-word"},
             {extended, "0605010000000c80", "etree:200,leaf"},
             {extended, "0606020003000000", "df-election:2:0x3"},
             {extended, "8006fbf04cee6b28", "traffic-rate:64496:1000000000bps"},
             {extended, "8007000000000003", "traffic-action:sample,terminal"},
             {extended, "8208000100000001", "redirect:65536:1"},
             {extended, "800900000000002e", "traffic-marking:46"},
             {extended, "4305000000000a2a", "0x4305:000000000a2a"},
         }) {
        std::string const octets = hex(row.octets);
        EXPECT_EQ(nameOf(row.kind, octets), row.name);
        EXPECT_EQ(verdict(row.name, row.kind, octets), "covers") << row.name;
        std::string other = octets;
        other[1] = static_cast<char>(other[1] ^ 0x20);
        EXPECT_EQ(verdict(row.name, row.kind, other), "does not") << row.name;
    }
}

/// Arbitrary octets must not produce a name of two words or exceed a table.
TEST(CommunityNamesTest, NamesAnyOctets) {
    for (ExtendedForm const& form : extendedForms()) {
        for (unsigned int const fill : {0x00U, 0x7fU, 0x80U, 0xffU}) {
            std::string const octets =
                u8(form.type) + u8(form.subtype) + std::string(6, char(fill));
            std::string const name = nameOf(extended, octets);
            EXPECT_TRUE(name.starts_with(form.name)) << name;
            EXPECT_EQ(name.find_first_of(" \t\n"), std::string::npos) << name;
            EXPECT_EQ(verdict(name, extended, octets), "covers") << name;
        }
    }
}

TEST(CommunityNamesTest, ParsesPatterns) {
    struct Row {
        char const* typed;
        CommunityKind kind;
        char const* octets;
        char const* verdict;
    };

    char const* const target = "0002fbf00000012c";
    for (Row const& row : std::vector<Row>{
             {"NO_EXPORT", standard, "ffffff01", "covers"},
             {"No-Export_Subconfed", standard, "ffffff03", "covers"},
             {"local-as", standard, "ffffff03", "covers"},
             {"GSHUT", standard, "ffff0000", "covers"},
             {"65535:65281 no-export", standard, "ffffff01", "covers"},
             {"0xfbf0012c", standard, "fbf0012c", "covers"},
             {"FBF0012C", standard, "fbf0012c", "covers"},
             {"64496:*", standard, "fbf0012c", "covers"},
             {"64497:*", standard, "fbf0012c", "does not"},
             {"*:300", standard, "fbf0012c", "covers"},
             {"*:301", standard, "fbf0012c", "does not"},
             {"64496:300", extended, target, "covers"},
             {"64496:70000", standard, "fbf0012c", "does not"},
             {"64496:*", extended, target, "covers"},
             {"rt:64496:300", extended, target, "covers"},
             {"rt:64496:300", standard, "fbf0012c", "does not"},
             {"Target:64496:*", extended, target, "covers"},
             {"Route-Target-AS:64496:300", extended, target, "covers"},
             {"rt:*", extended, target, "covers"},
             {"soo:64496:300", extended, target, "does not"},
             {"site_of_origin:192.0.2.1:7", extended, "0103c00002010007", "covers"},
             {"origin:192.0.2.1:*", extended, "0103c00002010007", "covers"},
             {"rt:1.0:10", extended, "020200010000000a", "covers"},
             {"rt:65536L:10", extended, "020200010000000a", "covers"},
             {"color:100", extended, "030bc00000000064", "covers"},
             {"color:*", extended, "030bc00000000064", "covers"},
             {"mac-mobility", extended, "0600010000000007", "covers"},
             {"MAC_MOBILITY:7,STICKY", extended, "0600010000000007", "covers"},
             {"mac-mobility:7", extended, "0600010000000007", "does not"},
             {"encap:VXLAN", extended, "030c000000000008", "covers"},
             {"encap:vx*", extended, "030c000000000008", "covers"},
             {"origin-validation:Not_Found", extended, "4300000000000001", "covers"},
             {"traffic-action:sample,*", extended, "8007000000000003", "covers"},
             {"router-mac:aa*", extended, "0603aabbccddeeff", "covers"},
             {"lb:*", extended, "4004fbf04cee6b28", "covers"},
             {"lb:64496:*", extended, "4004fbf04cee6b28", "covers"},
             {"lb:64497:*", extended, "4004fbf04cee6b28", "does not"},
             {"1.0:1:*", large, "00010000 00000001 00000007", "covers"},
             {"64496:*:*", large, "0000fbf0 00000001 00000007", "covers"},
             {"large:64496:1:7", large, "0000fbf0 00000001 00000007", "covers"},
             {"64496:2:*", large, "0000fbf0 00000001 00000007", "does not"},
             {"2001:db8::1:100", ip6, "4003 20010db8000000000000000000000001 0064", "covers"},
             {"rt:2001:db8::1:*", ip6, "0002 20010db8000000000000000000000001 0064", "covers"},
             {"rt:2001:db8::1:*", ip6, "0003 20010db8000000000000000000000001 0064", "does not"},
         }) {
        EXPECT_EQ(verdict(row.typed, row.kind, hex(row.octets)), row.verdict) << row.typed;
    }
    for (char const* const typed : {"",
                                    "64496",
                                    "64496:",
                                    ":300",
                                    "64496:300:",
                                    "x:1",
                                    "no-exprt",
                                    "rt:64496",
                                    "rt:64496:x",
                                    "rt:64496:4294967296",
                                    "65536:65536",
                                    "color:red",
                                    "mac-mobility:zzz",
                                    "encap:vxlam",
                                    "encap:vxla",
                                    "traffic-action:rate",
                                    "default-gateway:1",
                                    "0x123",
                                    "0xfbf001",
                                    "192.0.2.1",
                                    "4294967296:1:1",
                                    "64496:1:2:3",
                                    "rt:1.65536:1",
                                    "2001:db8::1:65536",
                                    "64496:-1"}) {
        EXPECT_EQ(verdict(typed, standard, hex("fbf0012c")), "not a community") << typed;
    }
}

TEST(DictionaryTest, UnreadableFolderIsAnError) {
#ifdef __SANITIZE_ADDRESS__
    GTEST_SKIP() << "the sanitizer opens files when an exception is thrown";
#endif
    rlimit limit = {};
    ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &limit), 0);
    rlimit const none = {0, limit.rlim_max}; // no file can be opened
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &none), 0);
    EXPECT_THROW(Dictionary().read(testing::TempDir(), [](auto const&) {}), InputError);
    ::setrlimit(RLIMIT_NOFILE, &limit);
}

TEST(DictionaryTest, ReadsTheFilesOfAFolderInTheOrderOfTheirNames) {
    StoreFolder const folder;
    for (auto const& [name, lines] : {std::pair{"/b", "64496:1,second\n64496:2,other\n"},
                                      {"/a", "64496:1,first\n"},
                                      {"/.c", "64496:3,hidden\n"}}) {
        std::ofstream(folder.path() + name) << lines;
    }
    Dictionary dictionary;
    dictionary.read(folder.path(), [](std::string const& reason) { ADD_FAILURE() << reason; });
    std::string meanings;
    for (char const* const octets : {"fbf00001", "fbf00002", "fbf00003"}) {
        meanings += dictionary.meaning(standard, octetsOf(hex(octets)));
        meanings += ' ';
    }
    EXPECT_EQ(meanings, "first other  ");
}

TEST(DictionaryTest, ReadsLinesAndReportsMalformedOnes) {
    TemporaryFile const file("# comment\n\n"
                             "64496:1xx,in Europe\n"
                             "64496:100,\"a customer\"\r\n"
                             "64496:20-30 , a range, with a comma\n"
                             "64496:9n,nine and more\n"
                             "64496:1:nnn,not to this AS\n"
                             "rt:65536:7,VPN blue\n"
                             "64496:100,a second time\n"
                             "no comma\n"
                             "64496:5,\n"
                             "AS64496:5,letters\n"
                             "64496:30-20,backwards\n"
                             "64496:y,another letter\n"
                             "64496,no field\n"
                             "64496:1:2:3,too many\n"
                             "rt:64496:1:2,too many\n"
                             "64496:nnnnnnnnnnn,more digits than any number has\n",
                             ".txt");
    Dictionary dictionary;
    std::string complaints;
    dictionary.read(file.path(), [&](std::string const& reason) {
        std::size_t const line = reason.find("line ") + 5;
        complaints += reason.substr(line, reason.find(':', line) - line) + " ";
    });
    EXPECT_EQ(complaints, "10 11 12 13 14 15 16 17 18 ");

    struct Row {
        CommunityKind kind;
        char const* octets;
        char const* meaning;
    };

    for (Row const& row : std::vector<Row>{
             {standard, "fbf00064", "a customer"},
             {standard, "fbf00065", "in Europe"},
             {standard, "fbf003e8", ""},
             {standard, "fbf10064", ""},
             {standard, "fbf0001e", "a range, with a comma"},
             {standard, "fbf0001f", ""},
             {standard, "fbf0005b", "nine and more"},
             {standard, "fbf00009", ""},
             {extended, "0102000100000007", ""},
             {large, "0000fbf0 00000001 0000ffff", "not to this AS"},
             {large, "0000fbf0 00000002 0000ffff", ""},
             {extended, "0202000100000007", "VPN blue"},
             {extended, "0203000100000007", ""},
             {extended, "0002fbf000000064", ""},
             {ip6, "0002 20010db8000000000000000000000001 0064", ""},
         }) {
        EXPECT_EQ(dictionary.meaning(row.kind, octetsOf(hex(row.octets))), row.meaning)
            << row.octets;
    }
    EXPECT_THROW(dictionary.read("/no/such/file", {}), InputError);
}

} // namespace
} // namespace BgpCommunities
