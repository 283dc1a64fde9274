#include <algorithm>
#include <array>
#include <cstdio>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include <fcntl.h>
#include <poll.h>
#include <sys/resource.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "support/ProgramRun.h"

namespace BgpCommunities {
namespace {

using namespace Test;

// ---- decode ----

std::string const targetDigits = "0002fde800000064";
std::string const targetToo = "0102c000020100c8";
std::string const bandwidth = "4004fbf04cee6b28";
std::string const bandwidthToo = "4004fbf04d6e6b28";

/// Removes the text up to the next quote after `head`, and returns the part after `head`; "?" if
/// missing.
std::string quoted(std::string& text, std::string const& head) {
    std::size_t const start = text.find(head);
    std::size_t const end =
        start == std::string::npos ? start : text.find('"', start + head.size());
    if (end == std::string::npos) {
        return "?";
    }
    std::string const value = text.substr(start + head.size(), end - start - head.size());
    text.erase(0, end + 1);
    return value;
}

/// One line of decode --json as "OCTETS:", then " MEMBER" for each, or " ! REASON".
std::string essence(std::string json) {
    std::string const head = R"({"attribute":16,"octets":")";
    if (!json.starts_with(head)) {
        return "no such object: " + json;
    }
    std::string out = quoted(json, head) + ":";
    if (json.starts_with(R"(,"error":)")) {
        out += " ! " + quoted(json, R"("error":")");
        return out + (json == "}" ? "" : json);
    }
    EXPECT_TRUE(json.starts_with(R"(,"text":"[ )") && json.ends_with("}]}")) << json;
    while (json.find(R"("octets":")") != std::string::npos) {
        out += " " + quoted(json, R"("octets":")");
    }
    return out;
}

struct DecodeRow {
    char const* name;
    Arguments arguments;
    std::string input;
    Lines output; // as essence()
    int status;
    std::string complaint; // part of standard error; empty if nothing is printed there
};

std::vector<DecodeRow> decodeRows() {
    std::string const reason = "two different link bandwidths, at most one is allowed";
    std::string const wholeTarget = targetDigits + ": " + targetDigits;
    std::string const longest(65528 * 2, '0'), beyond(65536 * 2, '0');
    return {
        {"one value", {targetDigits}, "", {wholeTarget}, 0, ""},
        {"upper case", {"0002FDE800000064"}, "", {wholeTarget}, 0, ""},
        {"members sorted, each once",
         {bandwidth + targetDigits + bandwidth + targetToo + targetDigits},
         "",
         {bandwidth + targetDigits + bandwidth + targetToo + targetDigits + ": " + targetDigits +
          " " + targetToo + " " + bandwidth},
         0,
         ""},
        {"values in their order, a malformed one among them",
         {targetToo, "00", "", targetDigits},
         "",
         {targetToo + ": " + targetToo, "00: ! length 1 is not a multiple of 8",
          ": ! the value is empty", wholeTarget},
         1,
         ""},
        {"two link bandwidths",
         {bandwidth + targetDigits + bandwidthToo},
         "",
         {bandwidth + targetDigits + bandwidthToo + ": ! " + reason},
         1,
         ""},
        {"too long for an attribute",
         {},
         longest + "\n" + beyond + "\n" + targetDigits,
         {longest + ": 0000000000000000", beyond + ": ! length 65536 exceeds the maximum of 65535",
          wholeTarget},
         1,
         ""},
        {"lines of all forms, the last one without an end",
         {"--type", "16"},
         targetDigits + "\r\n16\t" + targetDigits + "\n16\t" + targetDigits +
             "\tanywhere\tat all\n" + targetDigits,
         {wholeTarget, wholeTarget, wholeTarget, wholeTarget},
         0,
         ""},
        {"an empty line is an empty value",
         {},
         "\n16\t\tnothing\n",
         {": ! the value is empty", ": ! the value is empty"},
         1,
         ""},
        {"no input", {}, "", {}, 0, ""},
        {"dashes between values",
         {targetToo, "-", bandwidth},
         targetDigits,
         {targetToo + ": " + targetToo, wholeTarget, bandwidth + ": " + bandwidth},
         0,
         ""},
        {"odd digits", {}, "000\n" + targetDigits, {wholeTarget}, 1, "line 1: an odd number"},
        {"no digits",
         {},
         targetDigits + "\n0x\n" + targetDigits,
         {wholeTarget, wholeTarget},
         1,
         "line 2: not"},
        {"no such type",
         {},
         "17\t00\n" + targetDigits,
         {wholeTarget},
         1,
         "line 1: expected attribute type"},
        {"no type", {}, "\t00\n", {}, 1, "line 1: expected attribute type"},
        {"a line that never ends",
         {},
         std::string(3000000, '0') + "\n" + targetDigits,
         {wholeTarget},
         1,
         "line 1: line too long"},
    };
}

TEST(ProgramTest, DecodePrintsEveryValue) {
    for (DecodeRow const& row : decodeRows()) {
        SCOPED_TRACE(row.name);
        Arguments arguments = {"decode", "--json"};
        arguments.insert(arguments.end(), row.arguments.begin(), row.arguments.end());
        Result const json = run(arguments, row.input);
        Lines essences = linesOf(json.out);
        for (std::string& line : essences) {
            line = essence(line);
        }
        EXPECT_EQ(essences, row.output);
        EXPECT_EQ(json.status, row.status);
        EXPECT_EQ(json.err.empty(), row.complaint.empty()) << json.err;
        EXPECT_NE(json.err.find(row.complaint), std::string::npos) << json.err;

        // The text form has the same values and verdicts.
        arguments.erase(arguments.begin() + 1);
        Result const plain = run(arguments, row.input);
        std::size_t values = 0;
        for (std::string const& line : linesOf(plain.out)) {
            values += line.starts_with("16 ") ? 1 : 0;
        }
        EXPECT_EQ(values, row.output.size()) << plain.out;
        EXPECT_EQ(plain.status, row.status);
        EXPECT_EQ(plain.err, json.err);
    }
}

/// The registered name of a type octet.
std::string typeName(unsigned int octet) {
    static std::map<unsigned int, std::string> const names = {
        {0x00, "TransTwoOctetAs"},     {0x01, "TransIpv4Address"},
        {0x02, "TransFourOctetAs"},    {0x03, "TransOpaque"},
        {0x04, "TransQosMarking"},     {0x05, "TransCosCapability"},
        {0x06, "TransEvpn"},           {0x08, "TransFlowspecRedirectNexthop"},
        {0x40, "NonTransTwoOctetAs"},  {0x41, "NonTransIpv4Address"},
        {0x42, "NonTransFourOctetAs"}, {0x43, "NonTransOpaque"},
        {0x44, "NonTransQosMarking"},  {0x80, "TransGeneric"},
        {0x81, "TransGenericPart2"},   {0x82, "TransGenericPart3"},
    };
    auto const found = names.find(octet);
    return "extCommPktType" + (found == names.end() ? "Unknown" : found->second);
}

TEST(ProgramTest, DecodesEveryTypeAndSubtype) {
    std::vector<std::string> values;
    std::string input;
    for (unsigned int pair = 0; pair < 65536; ++pair) {
        std::array<char, 20> digits{};
        std::snprintf(digits.data(), digits.size(), "%04x%012llx", pair,
                      pair * 0x10000000000003ULL & 0xffffffffffffULL);
        values.emplace_back(digits.data());
        input += values.back() + "\n";
    }
    Result const result = run({"decode", "--json"}, input);
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, "");
    Lines const lines = linesOf(result.out);
    ASSERT_EQ(lines.size(), values.size());
    for (unsigned int pair = 0; pair < 65536; ++pair) {
        std::string const& octets = values[pair];
        std::string const& line = lines[pair];
        ASSERT_TRUE(line.starts_with(R"({"attribute":16,"octets":")" + octets + R"(","text":"[ )"))
            << line;
        ASSERT_NE(line.find(R"( ]","value":")" + octets + R"(","wire":"c01008)" + octets +
                            R"(","communities":[{"octets":")" + octets + R"(","text":")"),
                  std::string::npos)
            << line;
        ASSERT_NE(line.find(R"(","type":")" + typeName(pair >> 8) + R"(","subtype":")"),
                  std::string::npos)
            << line;
        ASSERT_NE(
            line.find((pair & 0x4000) != 0 ? R"(,"transitive":false,)" : R"(,"transitive":true,)"),
            std::string::npos)
            << line;
    }
}

TEST(ProgramTest, DecodesEveryKind) {
    struct Row {
        char const* input;
        char const* output;
    };

    Row const rows[] = {
        {"8\tffffff010064000100640001",
         R"({"attribute":8,"octets":"ffffff010064000100640001","text":"100:1 no-export",)"
         R"("value":"00640001ffffff01","wire":"c0080800640001ffffff01","communities":[)"
         R"({"octets":"00640001","text":"100:1","name":""},)"
         R"({"octets":"ffffff01","text":"65535:65281","name":"no-export"}]})"},
        {"25\t400220010db80000000000000000000000010064",
         R"({"attribute":25,"octets":"400220010db80000000000000000000000010064","text":)"
         R"("[ <extCommIp6PktTypeNonTransIpv6Address subtype=2 addr=2001:db8::1 )"
         R"(localAdmin=100> ]","value":"400220010db80000000000000000000000010064",)"
         R"("wire":"c01914400220010db80000000000000000000000010064","communities":[)"
         R"({"octets":"400220010db80000000000000000000000010064",)"
         R"("text":"<extCommIp6PktTypeNonTransIpv6Address subtype=2 addr=2001:db8::1 )"
         R"(localAdmin=100>","name":"0x4002:20010db80000000000000000000000010064",)"
         R"("type":"extCommIp6PktTypeNonTransIpv6Address",)"
         R"("subtype":"subtype=2","classification":"extCommClassificationUnSpecified",)"
         R"("transitive":false,"fields":{"address":"2001:db8::1","local":100}}]})"},
        {"32\t000100000000000100000002",
         R"({"attribute":32,"octets":"000100000000000100000002","text":"65536:1:2",)"
         R"("value":"000100000000000100000002","wire":"c0200c000100000000000100000002",)"
         R"("communities":[{"octets":"000100000000000100000002","text":"65536:1:2",)"
         R"("asdot":"1.0:1:2"}]})"},
        {"8\t00640001ff", R"({"attribute":8,"octets":"00640001ff","error":)"
                          R"("length 5 is not a multiple of 4"})"},
    };
    std::string input;
    Lines expected;
    for (Row const& row : rows) {
        input.append(row.input).append("\n");
        expected.emplace_back(row.output);
    }
    EXPECT_EQ(linesOf(run({"decode", "--json"}, input).out), expected);
    EXPECT_EQ(linesOf(run({"decode", "--type", "8"}, "00640001\n").out),
              (Lines{"8 00640001", "  100:1"}));
}

TEST(ProgramTest, FormsListEveryTextAndSelection) {
    std::string const states = "43000000000000004300000000000001";
    Result const result = run({"decode", "--json", "--forms", targetDigits + bandwidth,
                               targetDigits + states, "0202000100000005"});
    Lines const lines = linesOf(result.out);
    ASSERT_EQ(lines.size(), 3U);
    EXPECT_TRUE(
        lines[0].ends_with(R"(}],"selections":{"0x1":"c010100002fde8000000644004fbf04cee6b28",)"
                           R"("0x2":"c010080002fde800000064",)"
                           R"("0x6":"c010100002fde8000000644004fbf04cee6b28",)"
                           R"("0xa":"c010080002fde800000064",)"
                           R"("0xe":"c010100002fde8000000644004fbf04cee6b28"}})"))
        << lines[0];
    EXPECT_EQ(result.status, 1);
    EXPECT_TRUE(lines[1].ends_with(
        R"("error":"two different origin validation states, at most one is allowed"})"))
        << "selections of it would assert: " << lines[1];
    for (char const* form :
         {R"("forms":{"0x00":"65536:5",)", R"("0x02":"65536L:5",)", R"("0x04":"RT:65536:5",)",
          R"("0x0c":"Route-Target-AS4:65536:5",)", R"("0x7f":"Route-Target-AS4:1.0:5"})"}) {
        EXPECT_NE(lines[2].find(form), std::string::npos) << lines[2];
    }
    Result const ip6 = run({"decode", "--json", "--forms", "--type", "25",
                            "400220010db80000000000000000000000010064"});
    for (char const* part :
         {R"("0x3f":"0002-IP6(NT):2001:db8::1:100"}}],)",
          R"("selections":{"all":"c01914400220010db8)", R"("transitive":""}})"}) {
        EXPECT_NE(ip6.out.find(part), std::string::npos) << ip6.out;
    }
}

TEST(ProgramTest, PrintsTheRegisteredTypes) {
    Result const json = run({"types", "--json"});
    EXPECT_EQ(json.status, 0);
    // In all names of types, attributes and members: none is missing.
    EXPECT_EQ(std::count(json.out.begin(), json.out.end(), '"'), 3538);
    for (
        char const* line :
        {R"({"type":"Routing::Bgp::BgpExtCommPktSubtypeNonTransFourOctetAs","kind":)"
         R"("enumeration","members":[{"name":"extCommPktSubtypeNonTransFourOctetAsGeneric",)"
         R"("number":4},{"name":"extCommPktSubNonTransFourOctetAsUnknown","number":256}]})",
         R"({"type":"Routing::Bgp::ExtCommList::Serialization","kind":"value","attributes":)"
         R"(["all","transitive","linkBandwidth","originAsValidity"]})",
         R"({"type":"BgpShowCli::ExtCommCache","kind":"object","attributes":["extCommToString",)"
         R"("extCommToAsdotString"]})",
         R"({"type":"Routing::Bgp::ExtCommContent","kind":"value","attributes":["community"]})",
         R"("notifyingRouteTargetList","lifeTimeNotifiee","dedupHashTable","parseExtCommRule"]})"}) {
        EXPECT_NE(json.out.find(line), std::string::npos) << line;
    }
    Result const text = run({"types"});
    EXPECT_NE(text.out.find("\nRouting::Bgp::ExtCommClassification (enumeration)\n"
                            "  extCommClassificationUnSpecified 0\n"),
              std::string::npos);
}

TEST(ProgramTest, AnswersEachLineOfAPipeAtOnce) {
    std::array<int, 2> toProgram{}, fromProgram{};
    ASSERT_EQ(::pipe(toProgram.data()), 0);
    ASSERT_EQ(::pipe(fromProgram.data()), 0);
    Descriptor in(toProgram[0]), question(toProgram[1]);
    Descriptor answer(fromProgram[0]), out(fromProgram[1]);
    pid_t const pid = start({"decode", "--json"}, in.fd(), out.fd(), STDERR_FILENO);
    in.close();
    out.close();
    std::string const line = targetDigits + "\n";
    for (int turn = 0; turn < 3; ++turn) {
        ASSERT_EQ(::write(question.fd(), line.data(), line.size()),
                  static_cast<ssize_t>(line.size()));
        std::string got;
        char character = 0;
        while (character != '\n') {
            pollfd readable = {answer.fd(), POLLIN, 0};
            ASSERT_EQ(::poll(&readable, 1, 30000), 1) << "no answer";
            ASSERT_EQ(::read(answer.fd(), &character, 1), 1);
            got += character;
        }
        EXPECT_TRUE(got.find(targetDigits) != std::string::npos) << got;
    }
    question.close();
    EXPECT_EQ(finish(pid), 0);
}

// ---- The command line, and what goes wrong around the program ----

TEST(ProgramTest, PrintsHelpOfEveryCommand) {
    for (Arguments const& arguments : {Arguments{"--help"},
                                       {"decode", "--help"},
                                       {"read", "-h"},
                                       {"help"},
                                       {"help", "read"},
                                       {"types", "--help"},
                                       {"stats", "--json", "--help"}}) {
        Result const result = run(arguments);
        EXPECT_EQ(result.status, 0);
        EXPECT_TRUE(result.out.starts_with("usage: bgp-communities ")) << result.out;
        EXPECT_NE(result.out.find("\nexamples:\n"), std::string::npos) << result.out;
        EXPECT_EQ(result.err, "");
    }
    EXPECT_TRUE(run({"--version"}).out.starts_with("bgp-communities "));
}

TEST(ProgramTest, ReportsUsageErrorsAndReadsNothing) {
    struct Row {
        Arguments arguments;
        char const* complaint;
    };

    for (Row const& row : std::vector<Row>{
             {{}, "missing COMMAND"},
             {{"decipher"}, "\"decipher\""},
             {{"--json"}, "\"--json\""},
             {{"stats", "--type", sample("rib.mrt.gz")}, "--type"},
             {{"types", targetDigits}, "types takes no argument (bgp-communities types --help)"},
             {{"help", "decipher"}, "\"decipher\" (bgp-communities --help)"},
             {{"decode", "--type=7", targetDigits}, "--type: expected attribute type"},
             {{"decode", targetDigits, "--type"}, "--type needs a value"},
             {{"decode", "--json=yes", targetDigits}, "--json takes no value"},
             {{"decode", targetDigits, "0002fde80000006"}, "odd"},
             {{"decode", targetDigits, "--", "--json"}, "\"--json\""},
         }) {
        SCOPED_TRACE(row.complaint);
        Result const result = run(row.arguments, targetDigits);
        EXPECT_EQ(result.status, 2);
        EXPECT_EQ(result.out, "");
        EXPECT_TRUE(result.err.starts_with("bgp-communities: ")) << result.err;
        EXPECT_NE(result.err.find(row.complaint), std::string::npos) << result.err;
    }
}

TEST(ProgramTest, ReadsStandardInputWithoutAFile) {
    std::string const dump = sample("updates.mrt.gz");
    Result const result = runWithFile({"read", "--json"}, dump);
    EXPECT_EQ(result.out, runWithFile({"read", "--json", "-"}, dump).out);
    EXPECT_FALSE(result.out.empty());
}

TEST(ProgramTest, ContinuesAfterAnUnreadableFile) {
    std::string const folder = testing::TempDir();
    std::string const missing = folder + "no-such-file.mrt";
    Result const result =
        run({"stats", "--json", missing, sample("damaged.mrt"), folder, sample("rib.mrt.gz")});
    EXPECT_EQ(result.status, 3);
    EXPECT_NE(result.err.find(missing + ": No such file"), std::string::npos) << result.err;
    EXPECT_NE(result.err.find(folder + ": Is a directory"), std::string::npos) << result.err;
    EXPECT_EQ(number(result.out, "", "files"), "2");
    EXPECT_EQ(number(result.out, "", "records"),
              number(run({"stats", "--json", sample("damaged.mrt"), sample("rib.mrt.gz")}).out, "",
                     "records"));

    Result const decode = runWithFile({"decode", "--json", targetDigits, "-", targetToo}, folder);
    EXPECT_EQ(decode.status, 3);
    EXPECT_EQ(linesOf(decode.out).size(), 2U);
}

TEST(ProgramTest, MasksTerminalControlsInNames) {
    // A bell, CSI as one octet and in UTF-8, an override of the direction of text, and letters.
    TemporaryFile const store("", "-\a\x9b"
                                  "2J\xc2\x9b"
                                  "2J\xe2\x80\xae\xc3\xa9");
    std::string const shown = "-??2J?2J?\xc3\xa9";
    Result const stash = run({"stash", "--out", store.path(), sample("rib.mrt.gz")});
    EXPECT_NE(stash.out.find(shown + ": generation "), std::string::npos) << stash.out;
    Result const show = run({"show", store.path() + "x"});
    EXPECT_NE(show.err.find(shown + "x: "), std::string::npos) << show.err;
    Result const usage = run({"\x9b"
                              "2J"});
    EXPECT_NE(usage.err.find("\"?2J\""), std::string::npos) << usage.err;
}

TEST(ProgramTest, ClosedOutputPipeIsNotAnError) {
    std::string input;
    for (int count = 0; count < 20000; ++count) {
        input += targetDigits + "\n";
    }
    TemporaryFile const in(input), err("");
    std::array<int, 2> pipe{};
    ASSERT_EQ(::pipe(pipe.data()), 0);
    Descriptor const out(pipe[1]);
    ::close(pipe[0]);
    Descriptor const inFd(in.path(), O_RDONLY), errFd(err.path(), O_WRONLY);
    EXPECT_EQ(finish(start({"decode"}, inFd.fd(), out.fd(), errFd.fd())), 0);
    EXPECT_EQ(contentOf(err.path()), "");
}

TEST(ProgramTest, ReportsOutputErrors) {
    TemporaryFile const in(targetDigits), err("");
    Descriptor const inFd(in.path(), O_RDONLY), errFd(err.path(), O_WRONLY);
    Descriptor const full("/dev/full", O_WRONLY);
    EXPECT_EQ(finish(start({"decode"}, inFd.fd(), full.fd(), errFd.fd())), 3);
    EXPECT_NE(contentOf(err.path()).find("standard output: "), std::string::npos);
}

TEST(ProgramTest, ReportsALimitOnTheSizeOfFiles) {
    std::string input;
    for (int count = 0; count < 100; ++count) {
        input += targetDigits + "\n";
    }
    std::string const store = testing::TempDir() + "limited-store";
    for (Arguments const& arguments :
         {Arguments{"decode"}, Arguments{"stash", "--out", store, sample("rib.mrt.gz")}}) {
        TemporaryFile const in(input), out(""), err("");
        Descriptor const inFd(in.path(), O_RDONLY), outFd(out.path(), O_WRONLY),
            errFd(err.path(), O_WRONLY);
        rlimit before{};
        ::getrlimit(RLIMIT_FSIZE, &before);
        rlimit const limit = {500, before.rlim_max};
        ::setrlimit(RLIMIT_FSIZE, &limit);
        pid_t const pid = start(arguments, inFd.fd(), outFd.fd(), errFd.fd());
        ::setrlimit(RLIMIT_FSIZE, &before);
        EXPECT_EQ(finish(pid), 3);
        EXPECT_NE(contentOf(err.path()).find(": File too large"), std::string::npos);
    }
    EXPECT_FALSE(std::filesystem::exists(store) || std::filesystem::exists(store + ".new"));
}

} // namespace
} // namespace BgpCommunities
