#include "support/Expectations.h"

#include <Mox/Exception.h>
#include <VoBgp/RouteTargetPrefix.h>

#include <string>
#include <utility>

#include <gtest/gtest.h>

namespace Routing::Bgp {
namespace {

constexpr U64 allBits = ~U64{0};
constexpr char const* lengthError = "RouteTargetPrefix::length < 0 or > 64 not allowed";

RouteTargetPrefix prefix(U64 bits, U32 bitlen) {
    return {RouteTarget(bits), bitlen};
}

std::string text(std::string const& routeTarget, std::string const& length) {
    return "Value('Routing::Bgp::RouteTargetPrefix', ** {'prefix': "
           "Value('Routing::Bgp::RouteTarget', ** {'value': " +
           routeTarget + "}), 'length': " + length + "})";
}

TEST(RouteTargetPrefixTest, LengthKeepsTheLeadingBits) {
    struct {
        U32 bitlen;
        U64 mask;
    } const cases[] = {
        {0, 0},        {1, 0x8000000000000000}, {16, 0xffff000000000000}, {63, 0xfffffffffffffffe},
        {64, allBits},
    };
    for (auto const& c : cases) {
        auto const masked = prefix(allBits, c.bitlen);
        EXPECT_EQ(masked.prefixBits(), c.mask);
        EXPECT_EQ(masked.bitlen(), c.bitlen);
        // The stored length determines the mask, whatever the argument.
        EXPECT_EQ(masked.mask(7), c.mask);
    }
}

TEST(RouteTargetPrefixTest, SameLengthAgainStillMasks) {
    auto read = strepToValue<RouteTargetPrefix>(text("18446744073709551615", "8"));
    EXPECT_EQ(read.prefixBits(), allBits) << "reading does not mask";
    read.bitlenIs(8);
    EXPECT_EQ(read.prefixBits(), 0xff00000000000000);
}

TEST(RouteTargetPrefixTest, LengthOutOfRangeIsStoredAndThrown) {
    auto p = prefix(allBits, 64);
    EXPECT_EQ(errorOf<Mox::RangeException>([&] { p.bitlenIs(65); }), lengthError);
    EXPECT_EQ(p.bitlen(), 65);
    EXPECT_NO_THROW(p.bitlenIs(65)) << "only a change of length is checked";
    EXPECT_EQ(p.prefixBits(), allBits);
    p.bitlenIs(1);
    EXPECT_EQ(p, prefix(allBits, 1));
}

TEST(RouteTargetPrefixDeathTest, LengthFitsInEightBits) {
    EXPECT_THROW(prefix(0, 255), Mox::RangeException);
    expectAssertions({{"Assertion '0 == ( bitlen >> 8 )' failed", [] { prefix(0, 256); }}});
}

TEST(RouteTargetPrefixTest, BitsCountFromTheMostSignificant) {
    auto const p = prefix(0x8000000000000001, 64);
    for (U32 i = 0; i < 192; ++i) {
        EXPECT_EQ(p.extractBit(i), i % 64 == 0 || i % 64 == 63) << i;
    }
}

TEST(RouteTargetPrefixTest, CommonPrefixIsAtMostTheShorter) {
    auto const p = prefix(0x0002fde800000000, 64);
    EXPECT_EQ(p.commonPrefixLen(p), 64);
    EXPECT_EQ(p.commonPrefixLen(prefix(0x0002fde800000001, 64)), 63);
    EXPECT_EQ(p.commonPrefixLen(prefix(allBits, 64)), 0);
    // Both begin with fourteen zero bits.
    EXPECT_EQ(p.commonPrefixLen(prefix(0, 10)), 10);
    EXPECT_EQ(prefix(0, 10).commonPrefixLen(p), 10);
    EXPECT_EQ(prefix(0, 10).commonPrefixLen(prefix(0, 20)), 10);
    auto outOfRange = p;
    EXPECT_THROW(outOfRange.bitlenIs(70), Mox::RangeException);
    EXPECT_EQ(outOfRange.commonPrefixLen(outOfRange), 70);
    EXPECT_EQ(outOfRange.commonPrefixLen(p), 64);
}

TEST(RouteTargetPrefixTest, HashDependsOnPrefixLengthAndSeed) {
    auto const p = prefix(4, 63);
    EXPECT_EQ(p.hash(1), prefix(4, 63).hash(1));
    EXPECT_NE(p.hash(1), p.hash(2));
    EXPECT_NE(p.hash(1), prefix(4, 62).hash(1));
    EXPECT_NE(p.hash(1), prefix(8, 63).hash(1));
}

TEST(RouteTargetPrefixTest, Texts) {
    // Four-octet AS 65536, number 9.
    auto const p = prefix(0x0202000100000009, 64);
    EXPECT_EQ(p.toStrep(false), "65536:9/64");
    EXPECT_EQ(p.toStrep(true), "1.0:9/64");
    auto const shorter = prefix(0x0002fde800000064, 62);
    EXPECT_EQ(valueToStrep(shorter), text("842122827661412", "62"));
    expectReadsBack(shorter);
    EXPECT_LT(shorter, prefix(0x0002fde800000064, 63)) << "the length affects the order";
}

TEST(RouteTargetPrefixTest, ParseErrorsHaveExpectedTextAndOffset) {
    auto const read = [](std::string const& from) { strepToValue<RouteTargetPrefix>(from); };
    EXPECT_EQ(errorOf<Mox::RangeException>([&] { read(text("1", "65")); }), lengthError);
    EXPECT_EQ(errorOf<Mox::RangeException>([&] { read(text("18446744073709551616", "1")); }),
              "prefix");
    std::pair<std::string, std::string> const rows[] = {
        {text("1", "256"), "expected an unsigned number of the type's width at offset 118"},
        {text("01", "1"), "expected an unsigned number of the type's width at offset 103"},
        {"Value('Routing::Bgp::RouteTargetPrefix', ** {'prefix': 1, 'length': 1})",
         "expected \"Value('Routing::Bgp::RouteTarget', ** {\" at offset 55"},
        {"Value('Routing::Bgp::RouteTargetPrefix', ** {'length': 1})",
         "expected \"'prefix': \" at offset 45"},
    };
    for (auto const& [from, error] : rows) {
        EXPECT_EQ(errorOf<Mox::ParseException>([&, from = from] { read(from); }), error);
    }
}

} // namespace
} // namespace Routing::Bgp
