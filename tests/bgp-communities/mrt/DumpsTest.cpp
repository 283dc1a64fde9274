#include "mrt/MrtReader.h"

#include <map>
#include <string>

#include <gtest/gtest.h>

#include "support/RecordedRoutes.h"

namespace BgpCommunities {
namespace {

using namespace Test;

MrtCounts readSample(std::string const& name, Recorder& recorder) {
    InputStream input(std::string(VOBGP_SAMPLES "/") + name);
    MrtReader reader(input, recorder);
    while (reader.next()) {
    }
    return reader.counts();
}

TEST(DumpsTest, ReportsAllProblemsOfTheDamagedSample) {
    Recorder recorder;
    EXPECT_EQ(readSample("damaged.mrt", recorder).records, 15U);
    EXPECT_EQ(recorder.problems,
              (Lines{
                  "2@98: attribute 16 has 12 octets, not a multiple of 8",
                  "3@192: attribute 8 is empty",
                  "4@293: attribute 8 has 3 octets, not a multiple of 4",
                  "4@293: attribute 25 has 18 octets, not a multiple of 20",
                  "4@293: attribute 32 has 8 octets, not a multiple of 12",
                  "6@438: UPDATE too short for its own length fields",
                  "7@513: truncated attribute 16: length 32, 8 octets left",
                  "9@735: record too short for its peer",
                  "14@1133: prefix length exceeds that of an address",
                  "16@1327: truncated record: the input ends after 81 octets of it",
              }));
}

TEST(DumpsTest, ReadsTheOtherSamplesWithoutProblems) {
    Recorder recorder;
    EXPECT_EQ(readSample("updates.mrt.gz", recorder).updates, 458U);
    EXPECT_EQ(readSample("rib.mrt.gz", recorder).ribEntries, 402U);
    recorder.lines.clear();
    EXPECT_EQ(readSample("add-path-marked.mrt", recorder).updates, 9U);
    EXPECT_EQ(readSample("add-path-unmarked.mrt", recorder).updates, 27U);
    std::map<std::string, int> routes;
    for (std::string const& line : recorder.lines) {
        ++routes[line.substr(0, line.find(" 8#"))];
    }
    std::string const four = " +1@192.0.2.0/24 2@198.51.100.0/24 3@203.0.113.128/25 -";
    std::string const six = " +2001:db8:1::/48 2001:db8:2::/48 -";
    EXPECT_EQ(routes["198.51.100.2 AS65536" + four], 6);
    EXPECT_EQ(routes["198.51.100.2 AS65536" + six], 6);
    EXPECT_EQ(routes["192.0.2.1 AS64496" + four], 3);
    EXPECT_EQ(routes["203.0.113.4 AS65540 +192.0.2.0/24 198.51.100.0/24 203.0.113.128/25 -"], 3);
    EXPECT_EQ(recorder.problems, Lines());
}

} // namespace
} // namespace BgpCommunities
