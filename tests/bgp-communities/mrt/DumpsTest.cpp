#include "mrt/MrtReader.h"

#include <cstdlib>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/RecordedRoutes.h"

namespace BgpCommunities {
namespace {

using namespace Test;

// ---- Samples ----

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

// ---- Real dumps ----

/// The counts of a line of the manifest, by column name.
std::map<std::string, U64> columnsOf(MrtCounts const& counts) {
    std::map<std::string, U64> out = {
        {"records", counts.records},
        {"updates", counts.updates},
        {"rib_entries", counts.ribEntries},
        {"broken_updates", counts.brokenUpdates},
        {"broken_attr_areas", counts.brokenAttributeAreas},
        {"skipped_records", counts.skippedRecords},
        {"truncated_tail_bytes", counts.truncatedOctets},
    };
    for (std::size_t kind = 0; kind < communityKinds; ++kind) {
        std::string const head = "a" + std::to_string(communityKindTraits[kind].attributeType);
        CommunityCounts const& of = counts.communities[kind];
        out[head + "_attrs"] = of.attributes;
        out[head + "_empty"] = of.empty;
        out[head + "_malformed"] = of.malformed;
        out[head + "_repeated"] = of.repeated;
        out[head + "_members_wire"] = of.members;
    }
    return out;
}

class Ignorer : public RouteHandler {
  public:
    void handleProblem(Problem const& /*problem*/) override {}
};

std::vector<std::string> fields(std::string const& line) {
    std::vector<std::string> out;
    std::istringstream in(line);
    for (std::string field; std::getline(in, field, '\t');) {
        out.push_back(field);
    }
    return out;
}

void expectColumns(std::vector<std::string> const& names, std::vector<std::string> const& row,
                   MrtCounts const& counts) {
    auto const columns = columnsOf(counts);
    std::size_t compared = 0;
    for (std::size_t column = 0; column < names.size(); ++column) {
        if (auto const found = columns.find(names[column]); found != columns.end()) {
            EXPECT_EQ(std::to_string(found->second), row[column]) << names[column];
            ++compared;
        }
    }
    EXPECT_EQ(compared, columns.size());
}

TEST(DumpsTest, CountsRealDumpsLikeIndependentDecoders) {
    char const* const data = std::getenv("VOBGP_DATA");
    if (data == nullptr) {
        GTEST_SKIP() << "VOBGP_DATA is not set";
    }
    std::ifstream manifest(std::string(data) + "/manifest.tsv");
    std::string line;
    ASSERT_TRUE(std::getline(manifest, line)) << data;
    std::vector<std::string> const names = fields(line);
    MrtCounts sum;
    std::size_t files = 0;
    while (std::getline(manifest, line)) {
        std::vector<std::string> const row = fields(line);
        SCOPED_TRACE(row[0]);
        if (row[0].starts_with("ALL:")) {
            expectColumns(names, row, sum);
        } else if (row[0].starts_with("mrt/")) {
            ++files;
            Ignorer ignorer;
            InputStream input(std::string(data) + "/" + row[0]);
            MrtReader reader(input, ignorer);
            while (reader.next()) {
            }
            expectColumns(names, row, reader.counts());
            sum += reader.counts();
        }
    }
    EXPECT_GT(files, 0U);
}

} // namespace
} // namespace BgpCommunities
