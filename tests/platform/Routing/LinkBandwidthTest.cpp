#include <Routing/Rib/LinkBandwidth.h>

#include <limits>
#include <string_view>

#include <gtest/gtest.h>

namespace {

using Limits = std::numeric_limits<float>;

struct {
    char const* name;
    float bytesPerSecond;
    std::string_view bandwidth;
    std::string_view weight;
} const cases[] = {
    {"NegativeZero", -0.0F, "0 bps", "weight 0"},
    {"OneBit", 0.125F, "1 bps", "weight 0.125"},
    {"LessThanIsShown", Limits::denorm_min(), "0 bps", "weight 0"},
    {"TrailingZerosOfAWholeNumber", 12.5F, "100 bps", "weight 12.5"},
    {"NextUnit", 125.0F, "1 kbps", "weight 125"},
    {"RoundsUpToTheNextUnit", 124.99999F, "1 kbps", "weight 125"},
    {"Mega", 1e6F, "8 Mbps", "weight 1000000"},
    {"NotRoundedUp", 124999920.0F, "999.999 Mbps", "weight 124999920"},
    {"Giga", 187500000.0F, "1.5 Gbps", "weight 187500000"},
    {"NoUnitBeyondTera", 1.25e15F, "10000 Tbps", "weight 1250000034070528"},
    {"Negative", -1e6F, "-8 Mbps", "weight -1000000"},
    {"Greatest", Limits::max(), "2722258773108230922340139008 Tbps",
     "weight 340282346638528859811704183484516925440"},
    {"Infinite", Limits::infinity(), "inf bps", "weight inf"},
    {"NegativeInfinite", -Limits::infinity(), "-inf bps", "weight -inf"},
    {"NotANumber", Limits::quiet_NaN(), "nan bps", "weight nan"},
};

TEST(LinkBandwidthTest, PrintsAUnitOrAWeight) {
    for (auto const& c : cases) {
        using Routing::Rib::LinkBandwidth;
        EXPECT_EQ(LinkBandwidth::toStrep(c.bytesPerSecond, false), c.bandwidth) << c.name;
        EXPECT_EQ(LinkBandwidth::toStrep(c.bytesPerSecond, true), c.weight) << c.name;
    }
}

} // namespace
