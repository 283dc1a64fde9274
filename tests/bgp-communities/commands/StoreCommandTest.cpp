#include <algorithm>
#include <array>
#include <filesystem>
#include <fstream>
#include <map>
#include <random>
#include <string>
#include <vector>

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <unistd.h>

#include <MoxStash/StorePublisher.h>
#include <MoxStash/StoreWriter.h>

#include <gtest/gtest.h>

#include "support/ProgramRun.h"
#include "support/StoreFolder.h"

namespace BgpCommunities {
namespace {

using namespace Test;

/// The numbers of lists and of attributes that carried them, by kind.
struct Sum {
    std::size_t lists = 0;
    std::size_t uses = 0;
};

std::map<std::string, Sum> sumsOf(std::string const& shown) {
    std::map<std::string, Sum> sums;
    for (std::string const& line : linesOf(shown)) {
        auto const fields = fieldsOf(line);
        EXPECT_EQ(fields.size(), 3U) << line;
        Sum& sum = sums[fields.at(1)];
        ++sum.lists;
        sum.uses += std::stoull(fields.at(0));
    }
    return sums;
}

class StoreCommandTest : public StorePlaces {};

TEST_P(StoreCommandTest, ShowsInAnotherProcessWhatWasStashed) {
    Arguments const files = {sample("updates.mrt.gz"), sample("rib.mrt.gz"), sample("damaged.mrt")};
    auto const with = [&](Arguments arguments) {
        arguments.insert(arguments.end(), files.begin(), files.end());
        return run(arguments);
    };
    Result const stashed = with({"stash", "--out", store});
    EXPECT_EQ(stashed.status, 1) << "the damaged sample is reported";
    EXPECT_TRUE(stashed.out.starts_with(store + ": generation 1, ")) << stashed.out;

    Result const shown = run({"show", store});
    EXPECT_EQ(shown.status, 0) << shown.err;
    Result const stats = with({"stats", "--json"});
    auto const sums = sumsOf(shown.out);
    EXPECT_EQ(sums.size(), 4U);
    for (auto const& [kind, sum] : sums) {
        EXPECT_EQ(std::to_string(sum.lists), number(stats.out, kind, "distinctLists")) << kind;
        EXPECT_EQ(std::to_string(sum.uses), number(stats.out, kind, "attributes")) << kind;
    }

    // Decoded again attribute by attribute, each list equals the stashed one.
    Result const json = run({"show", "--json", store});
    for (std::string const& line : linesOf(json.out)) {
        auto const between = [&](std::string const& head) {
            auto const at = line.find(head) + head.size();
            return line.substr(at, line.find('"', at) - at);
        };
        auto const kind = between("\"kind\":\"");
        std::map<std::string, std::string> const types = {
            {"standard", "8"}, {"extended", "16"}, {"ipv6", "25"}, {"large", "32"}};
        Result const decoded =
            run({"decode", "--json", "--type", types.at(kind), between("\"value\":\"")});
        EXPECT_NE(decoded.out.find("\"wire\":\"" + between("\"wire\":\"") + "\""),
                  std::string::npos)
            << line;
    }
}

INSTANTIATE_TEST_SUITE_P(Places, StoreCommandTest, testing::Bool(), storePlaceName);

TEST(StoreCommandsTest, FollowPrintsEveryPublishedStore) {
    StoreFolder const folder;
    std::string const store = folder.store(false);
    std::array<int, 2> pipe{};
    ASSERT_EQ(::pipe(pipe.data()), 0);
    Descriptor const answer(pipe[0]), null("/dev/null", O_RDONLY);
    Descriptor out(pipe[1]);
    pid_t const pid =
        start({"show", "--json", "--follow", store}, null.fd(), out.fd(), STDERR_FILENO);
    out.close();
    std::string got;
    for (char const* const generation : {"\"generation\":1,", "\"generation\":2,"}) {
        EXPECT_EQ(run({"stash", "--out", store, sample("rib.mrt.gz")}).status, 0);
        while (got.find(generation) == std::string::npos) {
            pollfd readable = {answer.fd(), POLLIN, 0};
            ASSERT_EQ(::poll(&readable, 1, 30000), 1) << "nothing of " << generation << got;
            std::array<char, 4096> piece{};
            auto const octets = ::read(answer.fd(), piece.data(), piece.size());
            ASSERT_GT(octets, 0);
            got.append(piece.data(), static_cast<std::size_t>(octets));
        }
    }
    ::kill(pid, SIGTERM);
    EXPECT_EQ(finish(pid), -1) << "ended by the signal";
}

TEST(StoreCommandsTest, ReportsInvalidStoresAndKeepsTheOldOneOnError) {
    StoreFolder const folder;
    std::string const store = folder.store(false);
    ASSERT_EQ(run({"stash", "--out", store, sample("rib.mrt.gz")}).status, 0);
    std::string const whole = contentOf(store);

    // A folder has the temporary name that the writer needs.
    std::string const beside = store + ".new";
    std::filesystem::create_directory(beside);
    Result const refused = run({"stash", "--out", store, sample("updates.mrt.gz")});
    std::filesystem::remove(beside);
    EXPECT_EQ(refused.status, 3);
    EXPECT_NE(refused.err.find(store + ": "), std::string::npos) << refused.err;
    EXPECT_EQ(contentOf(store), whole);
    EXPECT_EQ(run({"stash", "--out", store, beside}).status, 3) << "no file to read";
    EXPECT_EQ(contentOf(store), whole);

    std::string damaged = whole;
    damaged[damaged.size() / 2] ^= 1;
    std::ofstream(store, std::ios::binary) << damaged;
    Result const shown = run({"show", store});
    EXPECT_EQ(shown.status, 3);
    EXPECT_EQ(shown.out, "");
    EXPECT_NE(shown.err.find(store + ": octet 32: wrong checksum"), std::string::npos) << shown.err;

    EXPECT_EQ(run({"show", store + "-not-there"}).status, 3);
    EXPECT_EQ(run({"show"}).status, 2);
    EXPECT_EQ(run({"stash", sample("rib.mrt.gz")}).status, 2);
}

// ---- Merging ----

TEST(MergeCommandTest, AnyOrderAndGroupingGivesTheSameStore) {
    Arguments const dumps = {sample("updates.mrt.gz"), sample("rib.mrt.gz"), sample("damaged.mrt"),
                             sample("targets.mrt"), sample("updates.mrt.gz")};
    StoreFolder const folder;
    std::string const whole = folder.store(false);
    Arguments all = {"stash", "--out", whole};
    all.insert(all.end(), dumps.begin(), dumps.end());
    ASSERT_EQ(run(all).status, 1); // malformed: the damaged sample
    std::mt19937 random(7);
    int stores = 0;
    auto const next = [&] { return whole + std::to_string(stores++); };
    for (int round = 0; round < 8; ++round) {
        std::vector<std::string> left;
        for (std::string const& dump : dumps) {
            left.push_back(next());
            run({"stash", "--out", left.back(), dump});
        }
        while (left.size() > 1) {
            std::shuffle(left.begin(), left.end(), random);
            auto const count = 1 + random() % left.size();
            std::string const sum = next();
            Arguments merge = {"merge", "--out", sum};
            merge.insert(merge.end(), left.end() - static_cast<std::ptrdiff_t>(count), left.end());
            ASSERT_EQ(run(merge).status, 0);
            left.resize(left.size() - count);
            left.push_back(sum);
        }
        EXPECT_TRUE(contentOf(left[0]) == contentOf(whole)) << "round " << round;
    }
}

TEST(MergeCommandTest, ChecksTheListsOfAnAgent) {
    constexpr auto storedCommList = MoxStash::firstKind + 2; // docs/store-format.md
    StoreFolder const folder;
    std::string const store = folder.store(false), sum = store + ".sum";
    MoxStash::StoreWriter writer;
    auto const merge = [&] {
        MoxStash::publishStore(writer, store);
        return run({"merge", "--out", sum, store}).err;
    };
    EXPECT_NE(merge().find("holds no lists of communities"), std::string::npos);
    // Lists of 1 and 2, in any order.
    std::vector<MoxStash::StoredEntry> rows = {
        {writer.recordIs(storedCommList, std::vector<Mox::U64>{2, 0x2'0000'0001}), 10},
        {writer.recordIs(storedCommList, std::vector<Mox::U64>{2, 0x1'0000'0002}), 20}};
    writer.rootIs("standard", writer.tableIs(rows));
    EXPECT_EQ(merge(), "");
    EXPECT_EQ(run({"show", sum}).out, "30\tstandard\t0:1 0:2\n");
    std::vector<Mox::U64> members(1 + (1U << 14)); // of 65536 octets and more
    members[0] = 1U << 15;
    rows.push_back({writer.recordIs(storedCommList, members), 1});
    writer.rootIs("standard", writer.tableIs(rows));
    EXPECT_NE(merge().find("list that fits no attribute"), std::string::npos);
}

TEST(MergeCommandTest, ErrorsLeaveTheStoreUnchanged) {
    StoreFolder const folder;
    std::string const store = folder.store(false), other = store + ".other";
    ASSERT_EQ(run({"stash", "--out", store, sample("targets.mrt")}).status, 0);
    Arguments doubling = {"merge", "--out", store};
    doubling.insert(doubling.end(), 256, store);
    Result result{0, "", ""};
    std::string before;
    for (int bits = 0; bits <= 64 && result.status == 0; bits += 8) {
        before = contentOf(store);
        result = run(doubling);
    }
    EXPECT_EQ(result.status, 3);
    EXPECT_NE(result.err.find("more than 2^64 - 1 uses of a list"), std::string::npos);
    TemporaryFile const noStore("no store");
    for (std::string const& wrong : {noStore.path(), other}) {
        result = run({"merge", "--out", store, store, wrong});
        EXPECT_EQ(result.status, 3);
        EXPECT_NE(result.err.find(wrong + ": "), std::string::npos) << result.err;
        EXPECT_NE(result.err.find("not written"), std::string::npos) << result.err;
    }
    EXPECT_TRUE(contentOf(store) == before);
}

} // namespace
} // namespace BgpCommunities
