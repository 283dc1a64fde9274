#include <algorithm>
#include <array>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <thread>
#include <tuple>
#include <utility>

#include <fcntl.h>
#include <poll.h>
#include <regex.h>
#include <sys/ioctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "support/Compressed.h"
#include "support/ProgramRun.h"

namespace BgpCommunities {
namespace {

using namespace Test;

// ---- Counts ----

std::string attribute(unsigned int type, std::string const& value) {
    return hex("d0") + u8(type) + u16(hex(value).size()) + hex(value);
}

/// An UPDATE with these attributes that announces 192.0.2.0/24.
std::string update(std::string const& attributes, unsigned int subtype = 4) {
    std::string const body = u16(0) + u16(attributes.size()) + attributes + hex("18c00002");
    return record(16, subtype,
                  hex("00010000 0000fbff 0000 0001 c0000201 c00002fe") + std::string(16, '\xff') +
                      u16(19 + body.size()) + u8(2) + body);
}

std::string repeated(std::string const& piece, int times) {
    std::string out;
    for (int count = 0; count < times; ++count) {
        out += piece;
    }
    return out;
}

/// Removes values that depend on the time and, with jobs, on the split of the tables.
std::string steady(std::string out) {
    for (std::string const key :
         {"seconds", "recordsPerSecond", "routesPerSecond", "heldOctets", "tableOctets"}) {
        std::string const head = "\"" + key + "\":";
        for (std::size_t at = out.find(head); at != std::string::npos; at = out.find(head, at)) {
            at += head.size();
            out.erase(at, out.find_first_of(",}", at) - at);
        }
    }
    // In text, the former is the last line and the latter a table.
    if (std::size_t const table = out.find("\noctets  "); out.starts_with("files")) {
        out.erase(table, out.find("\n\n", table) - table);
        out.erase(out.rfind('\n', out.size() - 2));
    }
    return out;
}

TEST(StatsCommandTest, CountsAndRanksEveryKind) {
    std::string const standard = attribute(8, "fbf00001 fbf00002");
    std::string const target = "0002fbf400000007", origin = "0003fbf400000008";
    TemporaryFile const file(
        update(standard + attribute(16, target + origin)) +
        // The same lists in another order and with duplicates; a duplicate attribute and an empty
        // one.
        update(attribute(8, "fbf00002 fbf00001 fbf00002") + attribute(16, origin + target) +
               attribute(8, "fbf00000") + attribute(32, "")) +
        // Two different link bandwidths, and lengths that are not multiples.
        update(attribute(16, "4004fbf04cee6b28 4004fbf04d6e6b28") + attribute(25, "0002") +
               attribute(32, "0000fbf0 00000001 00000002")));
    Result const result = run({"stats", "--json", file.path()});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(steady(result.out),
              R"({"files":1,"records":3,"updates":3,"ribEntries":0,"routes":3,"brokenUpdates":0,)"
              R"("brokenAttributeAreas":0,"brokenRoutes":0,"brokenRecords":0,"skippedRecords":0,)"
              R"("truncatedOctets":0,"kinds":{)"
              R"("standard":{"attribute":8,"attributes":3,"empty":0,"malformed":0,"refused":0,)"
              R"("members":6,"membersUnique":5,"distinctLists":2,"distinctValues":3},)"
              R"("extended":{"attribute":16,"attributes":2,"empty":0,"malformed":0,"refused":1,)"
              R"("members":4,"membersUnique":4,"distinctLists":1,"distinctValues":2},)"
              R"("ipv6":{"attribute":25,"attributes":0,"empty":0,"malformed":1,"refused":0,)"
              R"("members":0,"membersUnique":0,"distinctLists":0,"distinctValues":0},)"
              R"("large":{"attribute":32,"attributes":1,"empty":1,"malformed":0,"refused":0,)"
              R"("members":1,"membersUnique":1,"distinctLists":1,"distinctValues":1}},)"
              R"("interning":{)"
              R"("standard":{"sentOctets":24,"heldOctets":,"objectOctets":124,"tableOctets":},)"
              R"("extended":{"sentOctets":32,"heldOctets":,"objectOctets":288,"tableOctets":},)"
              R"("ipv6":{"sentOctets":0,"heldOctets":,"objectOctets":0,"tableOctets":},)"
              R"("large":{"sentOctets":12,"heldOctets":,"objectOctets":60,"tableOctets":},)"
              R"("total":{"sentOctets":68,"heldOctets":,"objectOctets":472,"tableOctets":}},)"
              R"("mostUsed":{"standard":{"values":[)"
              R"({"uses":2,"octets":"fbf00001","text":"64496:1"},)"
              R"({"uses":2,"octets":"fbf00002","text":"64496:2"},)"
              R"({"uses":1,"octets":"fbf00000","text":"64496:0"}],"lists":[)"
              R"({"uses":2,"octets":"fbf00001fbf00002","text":"64496:1 64496:2"},)"
              R"({"uses":1,"octets":"fbf00000","text":"64496:0"}]},)"
              R"("extended":{"values":[{"uses":2,"octets":"0002fbf400000007",)"
              R"("text":"<RouteTarget2ByteASN 64500:7 0x0002fbf400000007>"},)"
              R"({"uses":2,"octets":"0003fbf400000008",)"
              R"("text":"<RouteOrigin2ByteASN 64500:8 0x0003fbf400000008>"}],"lists":[)"
              R"({"uses":2,"octets":"0002fbf4000000070003fbf400000008",)"
              R"("text":"[ <RouteTarget2ByteASN 64500:7 0x0002fbf400000007> )"
              R"(<RouteOrigin2ByteASN 64500:8 0x0003fbf400000008> ]"}]},)"
              R"("ipv6":{"values":[],"lists":[]},)"
              R"("large":{"values":[{"uses":1,"octets":"0000fbf00000000100000002",)"
              R"("text":"64496:1:2"}],"lists":[{"uses":1,"octets":"0000fbf00000000100000002",)"
              R"("text":"64496:1:2"}]}},"lengths":{"standard":[)"
              R"({"members":1,"lists":1,"attributes":1},{"members":2,"lists":1,"attributes":2}],)"
              R"("extended":[{"members":2,"lists":1,"attributes":2}],"ipv6":[],)"
              R"("large":[{"members":1,"lists":1,"attributes":1}]},)"
              R"("seconds":,"recordsPerSecond":,"routesPerSecond":})"
              "\n");
}

TEST(StatsCommandTest, CountsRoutesByGroup) {
    std::string const of64496 = attribute(8, "fbf00001 fbf00002 ffffff01 00000001");
    TemporaryFile const file(
        update(of64496 + attribute(32, "0000fbf0 00000001 00000002 00010000 00000001 00000002")) +
        // A duplicate attribute counts for no route. AS-specific types with 2 and 4 octets, and an
        // address.
        update(of64496 + attribute(8, "fbff0001")) +
        update(attribute(16, "4004fbf100000000 0202000100000007 0102fbf200000007")) + update("") +
        update(of64496, 7) + // sent by the collector
        as4Record(BgpCommunities::Test::update("", "", hex("18c00002"))));
    struct Case {
        char const* by;
        char const* rows;
    };
    for (auto const& [by, rows] :
         {Case{"as", R"({"groups":3,"rows":[{"as":64496,"routes":2,"standard":2,"extended":0,)"
                     R"("ipv6":0,"large":1,"distinctValues":3},{"as":65536,"routes":2,)"
                     R"("standard":0,"extended":1,"ipv6":0,"large":1,"distinctValues":2}]})"},
          {"peer", R"({"groups":1,"rows":[{"peer":"192.0.2.1 AS65536","routes":4,"withdrawn":1,)"
                   R"("carrying":3,"standard":2,"extended":1,"ipv6":0,"large":1,)"
                   R"("distinctValues":9}]})"},
          {"family", R"({"groups":1,"rows":[{"family":"IPv4 unicast","routes":4,)"},
          {"hour", R"({"groups":1,"rows":[{"hour":"2023-11-14T22:00:00Z","routes":4,)"}}) {
        Result const result = run({"stats", "--json", "--top", "2", "--by", by, file.path()});
        std::string const expected = std::string(R"("by":{")") + by + "\":" + rows;
        EXPECT_NE(result.out.find(expected), std::string::npos) << expected << '\n' << result.out;
        EXPECT_EQ(number(result.out, "", "routes"), "6");
    }
    Result const refused = run({"stats", "--by", "prefix", file.path()});
    EXPECT_EQ(refused.status, 2);
    EXPECT_NE(refused.err.find("not one of peer, as, family and hour"), std::string::npos);
}

TEST(StatsCommandTest, ReportsADumpWhoseCompressionIsDamaged) {
    std::string const whole = contentOf(sample("rib.mrt.gz"));
    TemporaryFile const cut(whole.substr(0, whole.size() / 2));
    Result const result = run({"stats", "--json", cut.path()});
    EXPECT_EQ(result.status, 1);
    EXPECT_NE(result.err.find("truncated gzip data"), std::string::npos) << result.err;
}

TEST(StatsCommandTest, CountsTheDamagedSampleAsFarAsPossible) {
    Result const damaged = run({"stats", "--json", sample("damaged.mrt")});
    EXPECT_EQ(damaged.status, 1);
    EXPECT_EQ(number(damaged.out, "", "truncatedOctets"), "81");
    EXPECT_EQ(number(damaged.out, "", "brokenRoutes"), "1");
    EXPECT_EQ(number(damaged.out, "", "brokenRecords"), "1");
    EXPECT_EQ(number(damaged.out, "extended", "members"), "14");
    EXPECT_EQ(number(damaged.out, "extended", "distinctValues"), "6");
    for (char const* const complaint :
         {"damaged.mrt: record 2 at octet 98: attribute 16 has 12 octets",
          "damaged.mrt: record 10 at octet 757: two different link bandwidths",
          "damaged.mrt: record 16 at octet 1327: truncated record"}) {
        EXPECT_NE(damaged.err.find(complaint), std::string::npos) << damaged.err;
    }
    EXPECT_EQ(steady(runWithFile({"stats", "--json", "-"}, sample("damaged.mrt")).out),
              steady(damaged.out));
}

TEST(StatsCommandTest, ReportsAFewProblemsOfEachKindOrAll) {
    TemporaryFile const file(repeated(record(16, 4, "short"), 9000)); // more than one batch
    Result const few = run({"stats", file.path()});
    Result const all = run({"stats", "--verbose", file.path()});
    EXPECT_EQ(few.status, 1);
    EXPECT_EQ(all.status, 1);
    EXPECT_EQ(steady(few.out), steady(all.out));
    EXPECT_NE(few.err.find("8997 more broken records"), std::string::npos) << few.err;
    EXPECT_EQ(linesOf(few.err).size(), 4U);
    EXPECT_EQ(linesOf(all.err).size(), 9000U);
}

// ---- Jobs ----

TEST(StatsCommandTest, ResultsDoNotDependOnTheNumberOfJobs) {
    std::string const damaged = contentOf(sample("damaged.mrt"));
    std::string const rib =
        record(13, 2, u32(0) + hex("18c00002") + u16(2) + repeated(u16(7) + u32(0) + u16(0), 2));
    // Several batches; missing peers, and peer tables that change in between.
    TemporaryFile const first(rib + rib + repeated(damaged.substr(0, 1327), 1500));
    TemporaryFile const tables(repeated(contentOf(sample("rib.mrt.gz")), 40) + "no gzip");
    TemporaryFile const unreadable("");
    ASSERT_EQ(::unlink(unreadable.path().c_str()), 0);
    TemporaryFile const last(repeated(update(attribute(8, "fb")), 9000) + damaged);
    // The state of a session applies to messages many batches later.
    std::string const peer = hex("00010000 0000fbff 0000 0001 c0000201 c00002fe");
    auto const announce = [&](std::string const& nlri) {
        return record(16, 4, peer + message(2, u32(0) + nlri));
    };
    TemporaryFile const paths(announce(hex("00000001 18 c00002")) +
                              repeated(announce(hex("20 09000000")), 20000) +
                              announce(hex("00000002 18 c0")));
    for (char const* const form : {"--json", "--verbose"}) {
        auto const stats = [&](char const* jobs) {
            return run({"stats", form, "--by", "as", "--by", "peer", "--jobs", jobs, first.path(),
                        tables.path(), unreadable.path(), sample("updates.mrt.gz"), last.path(),
                        paths.path()});
        };
        Result const one = stats("1");
        EXPECT_EQ(one.status, 3);
        EXPECT_EQ(one.err.find("refers to a peer"), std::string::npos);
        EXPECT_EQ(one.err.find("record 1 at octet 0: no peer index table before the record"),
                  std::string("bgp-communities: ").size() + first.path().size() + 2);
        for (char const* const jobs : {"2", "4"}) {
            SCOPED_TRACE(std::string(form) + " " + jobs);
            Result const several = stats(jobs);
            EXPECT_EQ(several.status, 3);
            EXPECT_EQ(steady(several.out), steady(one.out));
            EXPECT_TRUE(several.err == one.err) << several.err.substr(0, 2000);
        }
    }
    for (char const* const jobs : {"0", "257", "2x", "", "-1"}) {
        Result const refused = run({"stats", "--jobs", jobs, first.path()});
        EXPECT_EQ(refused.status, 2);
        EXPECT_NE(refused.err.find("--jobs: "), std::string::npos) << refused.err;
    }
}

// ---- Memory ----

/// Records of maximum length, in a file of a thousandth of their size. Made in small pieces: the
/// peak of this process counts for the program that it starts.
std::string hostileDump() {
    std::string const rib = gzip(u32(1700000000) + u16(13) + u16(2) + u32(16U << 20)) +
                            repeated(gzip(std::string(1U << 20, '\0')), 16);
    return rib + gzip(record(13, 1, std::string(1700000, '\0'))) + rib;
}

TEST(StatsCommandTest, MemoryIsBounded) {
    TemporaryFile const file(hostileDump());
    EXPECT_LT(contentOf(file.path()).size(), 40000U);
    // 192 MB of small records.
    TemporaryFile const longer(
        repeated(gzip(repeated(record(16, 4, std::string(60000, '\0')), 16)), 200));
    Arguments arguments = {"stats", "--jobs", "8"};
    arguments.insert(arguments.end(), 8, file.path());
    Descriptor const null("/dev/null", O_RDWR);
    for (Arguments const& each : {arguments, {"stats", "--jobs", "1", longer.path()}}) {
        pid_t const pid = start(each, null.fd(), null.fd(), null.fd());
        int status = 0;
        rusage usage = {};
        ASSERT_EQ(::wait4(pid, &status, 0, &usage), pid);
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 1);
#if !defined(__SANITIZE_ADDRESS__) &&                                                              \
    !defined(__SANITIZE_THREAD__) // these need much memory themselves
        EXPECT_LT(usage.ru_maxrss, 160 * 1024) << "kilobytes";
#endif
    }
}

// ---- Real dumps ----

void expectCounts(std::string const& json, std::map<std::string, std::string> const& manifest) {
    struct Column {
        char const* key;
        char const* name;
    };

    for (auto const& [key, name] : {Column{"records", "records"},
                                    {"updates", "updates"},
                                    {"ribEntries", "rib_entries"},
                                    {"brokenUpdates", "broken_updates"},
                                    {"brokenAttributeAreas", "broken_attr_areas"},
                                    {"skippedRecords", "skipped_records"},
                                    {"truncatedOctets", "truncated_tail_bytes"}}) {
        EXPECT_EQ(number(json, "", key), manifest.at(name)) << key;
    }
    for (auto const& [kind, type] :
         {Column{"standard", "8"}, {"extended", "16"}, {"ipv6", "25"}, {"large", "32"}}) {
        SCOPED_TRACE(kind);
        std::string const head = std::string("a") + type;
        EXPECT_EQ(number(json, kind, "attribute"), type);
        EXPECT_EQ(std::to_string(std::stoull(number(json, kind, "attributes")) +
                                 std::stoull(number(json, kind, "refused"))),
                  manifest.at(head + "_attrs"));
        for (auto const& [key, name] : {Column{"empty", "_empty"},
                                        {"malformed", "_malformed"},
                                        {"members", "_members_wire"},
                                        {"membersUnique", "_members_set"},
                                        {"distinctLists", "_distinct_lists"},
                                        {"distinctValues", "_distinct_values"}}) {
            EXPECT_EQ(number(json, kind, key), manifest.at(head + name)) << key;
        }
    }
}

/// How often the list of a rank occurs; "none" if missing.
std::string usesOfRank(std::string const& json, char const* kind, std::size_t rank) {
    std::size_t at = json.find(R"("mostUsed":{)");
    at = json.find(std::string("\"") + kind + "\":{", at);
    at = json.find(R"("lists":[)", at);
    for (std::size_t count = 0; count < rank && at != std::string::npos; ++count) {
        at = json.find(R"({"uses":)", at + 1);
    }
    return at == std::string::npos ? "none" : json.substr(at + 8, json.find(',', at) - at - 8);
}

TEST(StatsCommandTest, CountsRealDumpsLikeIndependentDecoders) {
    char const* const data = std::getenv("VOBGP_DATA");
    if (data == nullptr) {
        GTEST_SKIP() << "VOBGP_DATA is not set";
    }
    std::string const folder = std::string(data) + "/";
    Lines const manifest = linesOf(contentOf(folder + "manifest.tsv"));
    ASSERT_FALSE(manifest.empty()) << data;
    Lines const names = fieldsOf(manifest[0]);
    // UPDATEs of 19 octets; a truncated /11; a truncated last record.
    std::set<std::string> const damaged = {
        "mrt/asdf.mrt.bz2", "mrt/updates.nlri_mask_trailing_bits.gz", "mrt/vgi-truncated.mrt"};
    for (std::string const jobs : {"1", "2"}) {
        Arguments all = {"stats", "--json", "--jobs", jobs};
        std::map<std::string, std::string> outputs;
        for (std::string const& line : manifest) {
            Lines const row = fieldsOf(line);
            SCOPED_TRACE(row[0] + " " + jobs);
            std::map<std::string, std::string> columns;
            for (std::size_t column = 0; column < row.size(); ++column) {
                columns[names[column]] = row[column];
            }
            if (row[0].starts_with("mrt/")) {
                all.push_back(folder + row[0]);
                Result const result = run({all[0], all[1], all[2], all[3], all.back()});
                EXPECT_EQ(result.status, damaged.count(row[0])) << result.err;
                outputs[row[0]] = result.out;
                expectCounts(outputs[row[0]], columns);
            } else if (row[0].starts_with("ALL:mrt")) {
                expectCounts(run(all).out, columns);
            }
        }
        EXPECT_GT(all.size(), 5U);
        for (std::string const& line : linesOf(contentOf(folder + "rank.tsv"))) {
            Lines const row = fieldsOf(line); // file, type, rank, uses
            if (auto const output = outputs.find(row[0]);
                output != outputs.end() && std::stoul(row[2]) <= 10) {
                char const* const kind = row[1] == "8"    ? "standard"
                                         : row[1] == "16" ? "extended"
                                                          : "large";
                EXPECT_EQ(usesOfRank(output->second, kind, std::stoul(row[2])), row[3]) << line;
            }
        }
    }
}

// ---- The terminal ----

using Clock = std::chrono::steady_clock;

/// A narrow terminal; its other end is the standard error of the program.
class Terminal {
  public:
    static constexpr unsigned short columns = 64;

    Terminal()
      : ours_(::posix_openpt(O_RDWR | O_NOCTTY)) {
        EXPECT_EQ(::grantpt(ours_.fd()), 0);
        EXPECT_EQ(::unlockpt(ours_.fd()), 0);
        winsize const size = {24, columns, 0, 0};
        theirs_.emplace(::ptsname(ours_.fd()), O_RDWR | O_NOCTTY);
        EXPECT_EQ(::ioctl(theirs_->fd(), TIOCSWINSZ, &size), 0);
    }

    [[nodiscard]] int fd() const { return theirs_->fd(); }

    /// Reads until this text is shown; returns false after a minute.
    bool shows(std::string const& text) {
        auto const end = Clock::now() + std::chrono::minutes(1);
        while (shown_.find(text) == std::string::npos && Clock::now() < end) {
            readOn(100);
        }
        return shown_.find(text) != std::string::npos;
    }

    /// Everything shown so far.
    std::string const& shown() {
        while (readOn(0)) {
        }
        return shown_;
    }

  private:
    bool readOn(int milliseconds) {
        pollfd readable = {ours_.fd(), POLLIN, 0};
        std::array<char, 4096> octets{};
        ssize_t const got = ::poll(&readable, 1, milliseconds) == 1
                                ? ::read(ours_.fd(), octets.data(), octets.size())
                                : 0;
        shown_.append(octets.data(), got > 0 ? static_cast<std::size_t>(got) : 0);
        return got > 0;
    }

    Descriptor ours_;
    std::optional<Descriptor> theirs_;
    std::string shown_;
};

std::string const clear = "\r\x1b[K";

/// Whether the text has only progress lines that fit and match a regular expression, and the last
/// one is erased.
void expectProgressOnly(std::string const& shown, char const* form) {
    regex_t line;
    ASSERT_EQ(::regcomp(&line, form, REG_EXTENDED | REG_NOSUB), 0);
    EXPECT_TRUE(shown.starts_with(clear) && shown.ends_with(clear) && shown.size() > 20) << shown;
    for (std::size_t from = clear.size(); from < shown.size();) {
        std::string const text = shown.substr(from, shown.find(clear, from) - from);
        EXPECT_LT(text.size(), Terminal::columns);
        EXPECT_EQ(::regexec(&line, text.c_str(), 0, nullptr, 0), 0) << text;
        from += text.size() + clear.size();
    }
    ::regfree(&line);
}

TEST(StatsCommandTest, FitsTheTerminal) {
    Terminal terminal;
    Descriptor const null("/dev/null", O_RDWR);
    pid_t const pid =
        start({"stats", "--by", "peer", sample("rib.mrt.gz")}, null.fd(), terminal.fd(), null.fd());
    EXPECT_TRUE(terminal.shows("routes a second"));
    EXPECT_EQ(finish(pid), 0);
    std::size_t longest = 0;
    for (std::string const& line : linesOf(terminal.shown())) {
        longest = std::max(longest, line.size() - (line.ends_with('\r') ? 1 : 0));
    }
    EXPECT_EQ(longest, Terminal::columns);
    std::string const shown = terminal.shown();
    EXPECT_NE(shown.find("\nroutes by peer        large  distinct\r"), std::string::npos)
        << "columns that do not fit follow: " << shown;
    EXPECT_NE(shown.find("sent           3,444"), std::string::npos) << "grouped digits: " << shown;
    EXPECT_NE(shown.find("  rt:64496:100  "), std::string::npos) << "names: " << shown;
}

TEST(StatsCommandTest, ShowsAndErasesProgress) {
    for (char const* const jobs : {"1", "2"}) {
        Terminal terminal;
        TemporaryFile const out("");
        std::array<int, 2> pipe{};
        ASSERT_EQ(::pipe(pipe.data()), 0);
        Descriptor in(pipe[0]), feed(pipe[1]);
        Descriptor const outFd(out.path(), O_WRONLY);
        pid_t const pid =
            start({"stats", "--json", "--jobs", jobs, "-"}, in.fd(), outFd.fd(), terminal.fd());
        in.close();
        std::string const piece = update("");
        int fed = 0;
        for (auto const end = Clock::now() + std::chrono::seconds(2); Clock::now() < end; ++fed) {
            ASSERT_EQ(::write(feed.fd(), piece.data(), piece.size()),
                      static_cast<ssize_t>(piece.size()));
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
        }
        feed.close();
        EXPECT_EQ(finish(pid), 0);
        EXPECT_EQ(number(contentOf(out.path()), "", "updates"), std::to_string(fed));
        expectProgressOnly(terminal.shown(), "^standard input: [0-9.]+ k?B, [0-9.]+ k?B/s$");
    }
}

TEST(StatsCommandTest, InterruptEndsTheProgramAndErasesProgress) {
    // A huge sparse file of records, which takes too long to read completely.
    TemporaryFile const endless("", "\x01");
    ASSERT_EQ(::truncate(endless.path().c_str(), off_t{999'960'000'000}), 0);
    Descriptor const null("/dev/null", O_RDWR);
    for (auto const& [jobs, signal, ignored] :
         {std::tuple{"1", SIGINT, 0}, {"2", SIGTERM, SIGINT}}) {
        Terminal terminal;
        pid_t const pid = start({"stats", "--jobs", jobs, endless.path()}, null.fd(), null.fd(),
                                terminal.fd(), ignored);
        EXPECT_TRUE(terminal.shows(" left")) << terminal.shown();
        ::kill(pid, ignored);
        std::this_thread::sleep_for(std::chrono::milliseconds(200));
        auto const begun = Clock::now();
        ::kill(pid, signal);
        int status = 0;
        EXPECT_EQ(::waitpid(pid, &status, 0), pid);
        EXPECT_LT(Clock::now() - begun, std::chrono::seconds(3));
        EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == signal) << status;
        expectProgressOnly(terminal.shown(),
                           "^[.]{3}.*[?]: [0-9.]+ .?B of 1[.]0 TB [(][0-9]+ %[)], "
                           "[0-9.]+ .?B/s, [0-9:]+ left$");
    }
}

} // namespace
} // namespace BgpCommunities
