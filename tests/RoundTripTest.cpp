#include "Agent.h"
#include "AttributeVerdict.h"
#include "Hex.h"
#include "InputStream.h"
#include "MrtReader.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>
#include <vector>

namespace BgpCommunities {
namespace {

/** The path attribute that a value's members demand, each once and in order: the plainest way. */
std::string demanded(CommunityKind kind, Octets value) {
    std::size_t const size = traitsOf(kind).memberOctets;
    std::string_view const octets(reinterpret_cast<char const*>(value.data()), value.size());
    std::vector<std::string_view> members;
    for (std::size_t at = 0; at < octets.size(); at += size) {
        members.push_back(octets.substr(at, size));
    }
    // Octet by octet, without a sign, is the order of every kind.
    std::sort(members.begin(), members.end());
    members.erase(std::unique(members.begin(), members.end()), members.end());
    std::size_t const length = members.size() * size;
    std::string wire;
    wire += static_cast<char>(length > 255 ? 0xd0 : 0xc0);
    wire += static_cast<char>(traitsOf(kind).attributeType);
    if (length > 255) {
        wire += static_cast<char>(length >> 8);
    }
    wire += static_cast<char>(length & 0xff);
    for (auto const member : members) {
        wire += member;
    }
    return wire;
}

/** Interns the list of every well-formed attribute and compares what it writes. */
class RoundTrip final : public RouteHandler {
  public:
    void handleUpdate(Update const& update) override { check(update.communities); }
    void handleRibEntry(RibEntry const& entry) override { check(entry.communities); }
    void handleProblem(Problem const& /*problem*/) override {}

    void check(std::span<CommunityAttribute const> communities) {
        for (CommunityAttribute const& attribute : communities) {
            if (attribute.form() == CommunityAttribute::Form::wellFormed) {
                check(attribute.kind, attribute.value);
            }
        }
    }

    void check(CommunityKind kind, Octets value) {
        if (!refusal(kind, value).empty()) {
            return;
        }
        ++compared[static_cast<std::size_t>(kind)];
        auto const wire = written(kind, value);
        if (std::string_view(wire) != demanded(kind, value) && differing++ == 0) {
            ADD_FAILURE() << "attribute " << int{traitsOf(kind).attributeType} << ": "
                          << testing::PrintToString(value);
        }
    }

    std::array<std::uint64_t, communityKinds> compared{};
    std::uint64_t differing = 0;

  private:
    Mox::String written(CommunityKind kind, Octets value) {
        using Serialization = Routing::Bgp::ExtCommList::Serialization;
        switch (kind) {
        case CommunityKind::standard:
            return agent_.standardList(value)->serialize();
        case CommunityKind::extended:
            return agent_.extendedList(value)->serialize(Serialization(Serialization::all));
        case CommunityKind::ip6Extended:
            return agent_.ip6List(value)->serialize(true);
        case CommunityKind::large:
            return agent_.largeList(value)->serialize();
        }
        return {};
    }

    Agent agent_;
};

void readDump(std::filesystem::path const& path, RoundTrip& roundTrip) {
    InputStream input(path.string());
    MrtReader(input, roundTrip).readAll();
}

TEST(RoundTripTest, SamplesAreWrittenAsTheirSortedMembersDemand) {
    RoundTrip roundTrip;
    for (char const* name : {"updates.mrt.gz", "rib.mrt.gz", "damaged.mrt"}) {
        readDump(std::filesystem::path(VOBGP_SAMPLES) / name, roundTrip);
    }
    for (auto const compared : roundTrip.compared) {
        EXPECT_GT(compared, 0U) << "a kind is missing from the samples";
    }
    EXPECT_EQ(roundTrip.differing, 0U);
}

TEST(RoundTripTest, RealDumpsAreWrittenAsTheirSortedMembersDemand) {
    char const* const data = std::getenv("VOBGP_DATA");
    if (data == nullptr) {
        GTEST_SKIP() << "VOBGP_DATA names no folder of real dumps";
    }
    RoundTrip roundTrip;
    for (auto const& entry :
         std::filesystem::directory_iterator(std::filesystem::path(data) / "mrt")) {
        readDump(entry.path(), roundTrip);
    }
    EXPECT_GT(roundTrip.compared[static_cast<std::size_t>(CommunityKind::standard)], 800000U);
    EXPECT_EQ(roundTrip.differing, 0U);

    std::uint64_t lines = 0;
    for (auto const& entry :
         std::filesystem::directory_iterator(std::filesystem::path(data) / "attrs")) {
        std::ifstream file(entry.path());
        for (std::string type, hex; std::getline(file, type, '\t') && std::getline(file, hex, '\t');
             std::getline(file, hex)) {
            std::vector<std::uint8_t> octets;
            ASSERT_EQ(readHex(hex, octets), "");
            auto const kind = communityKind(static_cast<std::uint8_t>(std::stoi(type)));
            if (kind && malformation(*kind, octets).empty()) {
                roundTrip.check(*kind, octets);
                ++lines;
            }
        }
    }
    EXPECT_GT(lines, 1000U);
    EXPECT_EQ(roundTrip.differing, 0U);
}

} // namespace
} // namespace BgpCommunities
