#include <cstdlib>
#include <filesystem>
#include <string>

#include <gtest/gtest.h>

#include "support/ProgramRun.h"

namespace BgpCommunities {
namespace {

using namespace Test;

/// The number of attributes compared by `roundtrip --json`; -1 if one differs.
long comparedAndEqual(Result const& result) {
    std::string const head = R"({"compared":)";
    bool const equal = result.out.ends_with("\"differing\":0}\n");
    return equal && result.out.starts_with(head) ? std::stol(result.out.substr(head.size())) : -1;
}

std::filesystem::path dataFolder() {
    char const* const data = std::getenv("VOBGP_DATA");
    return data == nullptr ? "" : data;
}

TEST(RoundTripTest, SamplesRoundTrip) {
    Result const whole =
        run({"roundtrip", "--json", sample("updates.mrt.gz"), sample("rib.mrt.gz")});
    EXPECT_EQ(whole.status, 0) << whole.err;
    EXPECT_GT(comparedAndEqual(whole), 1500);
    Result const damaged = run({"roundtrip", sample("damaged.mrt")});
    EXPECT_EQ(damaged.status, 1);
    EXPECT_EQ(damaged.out, "9 attributes compared, 2 refused: none differs\n");
    EXPECT_NE(damaged.err.find("two different link bandwidths"), std::string::npos);
}

TEST(RoundTripTest, RealDumpsRoundTrip) {
    if (dataFolder().empty()) {
        GTEST_SKIP() << "VOBGP_DATA is not set";
    }
    Arguments arguments = {"roundtrip", "--json"};
    for (auto const& entry : std::filesystem::directory_iterator(dataFolder() / "mrt")) {
        arguments.push_back(entry.path());
    }
    Result const result = run(arguments);
    EXPECT_LT(result.status, 3) << result.err;
    EXPECT_GT(comparedAndEqual(result), 1000000);
}

TEST(RoundTripTest, CollectedAttributesRoundTrip) {
    if (dataFolder().empty()) {
        GTEST_SKIP() << "VOBGP_DATA is not set";
    }
    std::string const peer = hex("0000fbf0 0000fbff 0000 0001 c0000201 c00002fe");
    std::string dump;
    for (auto const& entry : std::filesystem::directory_iterator(dataFolder() / "attrs")) {
        for (std::string const& line : linesOf(contentOf(entry.path()))) {
            std::size_t const tab = line.find('\t') + 1;
            std::string const value = hex(line.substr(tab, line.find('\t', tab) - tab));
            auto const type = static_cast<unsigned int>(std::stoul(line));
            dump += record(16, 4, peer + update(attribute(type, value)));
        }
    }
    TemporaryFile const file(dump);
    EXPECT_GT(comparedAndEqual(run({"roundtrip", "--json", file.path()})), 1000);
}

} // namespace
} // namespace BgpCommunities
