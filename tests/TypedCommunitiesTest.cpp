#include <Mox/Trace.h>
#include <Mox/Type.h>
#include <VoBgp/Parse/ExtComm.h>
#include <VoBgp/Parse/ExtCommColor.h>
#include <VoBgp/Parse/ExtCommLinkBandwidth.h>
#include <VoBgp/Parse/ExtCommOriginValidationState.h>
#include <VoBgp/Parse/ExtCommRouteOrigin.h>
#include <VoBgp/Parse/ExtCommRouteTarget.h>
#include <VoBgp/Parse/ExtCommTunnelEncap.h>

#include <gtest/gtest.h>

#include <bit>
#include <iomanip>
#include <locale>
#include <map>
#include <random>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace {

using namespace Routing::Bgp;
using Format = ExtComm::StrepFormat;

/// Parses as an agent does.
class TypedCommunities : public testing::Test {
  protected:
    ExtComm::PtrConst parse(U64 community) const {
        return container_->extCommParser()->parseExtendedCommunity(ExtCommContent(community));
    }

    template <class Community>
    Mox::PtrConst<Community> parseAs(U64 community) const {
        auto parsed = parse(community);
        auto const* const typed = dynamic_cast<Community const*>(parsed.get());
        EXPECT_NE(typed, nullptr) << std::hex << community;
        return Mox::PtrConst<Community>(typed);
    }

  private:
    BgpParseExtCommContainerSm::Ptr const container_ = bgpParseExtCommContainerSmFactory();
};

constexpr U32 none = 0;
constexpr U32 classified = Format::strepFormatClassification;
constexpr U32 ui = Format::strepFormatUI;
constexpr U32 both = classified | ui;

// ---- Text ---------------------------------------------------------------------------------------

/// One value: the show form, and the policy forms without, with one and with both of the flags that
/// select the prefix.
struct Texts {
    U64 community;
    ExtCommClassification classification;
    char const* show;
    char const* plain;
    char const* classified;
    char const* both;
};

constexpr Texts texts[] = {
    {0x0002'fde8'0000'0064, extCommClassificationRouteTarget,
     "<RouteTarget2ByteASN 65000:100 0x0002fde800000064>", "65000:100", "RT:65000:100",
     "Route-Target-AS:65000:100"},
    {0x0002'ffff'ffff'ffff, extCommClassificationRouteTarget,
     "<RouteTarget2ByteASN 65535:4294967295 0x0002ffffffffffff>", "65535:4294967295",
     "RT:65535:4294967295", "Route-Target-AS:65535:4294967295"},
    {0x0202'0001'0000'000a, extCommClassificationRouteTarget,
     "<RouteTarget4ByteASN 65536:10 0x020200010000000a>", "65536:10", "RT:65536:10",
     "Route-Target-AS4:65536:10"},
    {0x0102'0a00'0001'0005, extCommClassificationRouteTarget,
     "<RouteTarget 10.0.0.1:5 0x01020a0000010005>", "10.0.0.1:5", "RT:10.0.0.1:5",
     "Route-Target-IP:10.0.0.1:5"},
    {0x0003'fde8'0000'0064, extCommClassificationRouteOrigin,
     "<RouteOrigin2ByteASN 65000:100 0x0003fde800000064>", "65000:100", "SoO:65000:100",
     "Route-Origin-AS:65000:100"},
    {0x0203'0001'0000'000a, extCommClassificationRouteOrigin,
     "<RouteOrigin4ByteASN 65536:10 0x020300010000000a>", "65536:10", "SoO:65536:10",
     "Route-Origin-AS4:65536:10"},
    {0x0103'0a00'0001'0005, extCommClassificationRouteOrigin,
     "<RouteOrigin 10.0.0.1:5 0x01030a0000010005>", "10.0.0.1:5", "SoO:10.0.0.1:5",
     "Route-Origin-IP:10.0.0.1:5"},
    {0x4004'fde8'4974'2400, extCommClassificationLinkBandwidth,
     "<LinkBandwidth 65000:1e+06 0x4004fde849742400>", "65000:1e+06", "lbw 65000:1e+06",
     "Link-Bandwidth-AS:65000:8 Mbps"},
    {0x4004'0000'7f80'0000, extCommClassificationLinkBandwidth,
     "<LinkBandwidth 0:inf 0x400400007f800000>", "0:inf", "lbw 0:inf",
     "Link-Bandwidth-AS:0:inf bps"},
    {0x030b'8000'0000'0064, extCommClassificationColor, "<Color: 100(10) 0x030b800000000064>",
     "Color:CO(10):100", "Color:CO(10):100", "Color:CO(10):100"},
    {0x030b'7fff'ffff'ffff, extCommClassificationColor,
     "<Color: 4294967295(01) 0x030b7fffffffffff>", "Color:CO(01):4294967295",
     "Color:CO(01):4294967295", "Color:CO(01):4294967295"},
    {0x030c'0000'0000'0008, extCommClassificationTunnelEncap,
     "<TunnelEncap 8:tunnelTypeVxlan 0x030c000000000008>", "tunnelTypeVxlan",
     "TunnelEncap:tunnelTypeVxlan", "TunnelEncap:tunnelTypeVxlan"},
    {0x030c'0000'0001'0005, extCommClassificationTunnelEncap,
     "<TunnelEncap 5:tunnelTypeUnknown 0x030c000000010005>", "tunnelTypeUnknown-5",
     "TunnelEncap:tunnelTypeUnknown-5", "TunnelEncap:tunnelTypeUnknown-5"},
    {0x030d'0000'0000'0000, extCommClassificationDefaultGateway,
     "<DefaultGateway 0x030d000000000000>", "DefaultGateway", "DefaultGateway", "DefaultGateway"},
    {0x4300'0000'0000'0000, extCommClassificationOriginValidationState,
     "<OriginValidationState valid 0x4300000000000000>", "", "", "Origin-Validation-State:valid"},
    {0x4300'0000'0000'0001, extCommClassificationOriginValidationState,
     "<OriginValidationState not-found 0x4300000000000001>", "", "",
     "Origin-Validation-State:not-found"},
    {0x4300'0000'0000'0002, extCommClassificationOriginValidationState,
     "<OriginValidationState invalid 0x4300000000000002>", "", "",
     "Origin-Validation-State:invalid"},
    // Only the last octet is the state.
    {0x4300'0000'0000'0103, extCommClassificationOriginValidationState,
     "<OriginValidationState unknown(3) 0x4300000000000103>", "", "",
     "Origin-Validation-State:unknown"},
    // What has the subtype of a typed one under a type of another, stays generic.
    {0x4002'fde8'0000'0064, extCommClassificationUnSpecified,
     "<extCommPktTypeNonTransTwoOctetAs subtype=2 ASN=65000 0x4002fde800000064>", "65000:100",
     "65000:100", "0002-AS(NT):65000:100"},
    {0x0005'fde8'0000'0064, extCommClassificationUnSpecified,
     "<extCommPktTypeTransTwoOctetAs extCommPktSubtypeTransTwoOctetAsOspfDomainIdentifier "
     "ASN=65000 0x0005fde800000064>",
     "65000:100", "65000:100", "0005-AS:65000:100"},
    {0x0004'fde8'4974'2400, extCommClassificationUnSpecified,
     "<extCommPktTypeTransTwoOctetAs subtype=4 ASN=65000 0x0004fde849742400>", "65000:1232348160",
     "65000:1232348160", "0004-AS:65000:1232348160"},
    {0x430b'0000'0000'0064, extCommClassificationUnSpecified,
     "<extCommPktTypeNonTransOpaque subtype=11 0x430b000000000064>", "", "",
     "030b(NT):0x00 0x00 0x00 0x00 0x00 0x64"},
};

TEST_F(TypedCommunities, Texts) {
    for (auto const& row : texts) {
        auto const parsed = parse(row.community);
        EXPECT_EQ(parsed->classification(), row.classification) << row.show;
        EXPECT_EQ(parsed->toStrep(), row.show);
        EXPECT_EQ(parsed->toStrepForPolicy(Format(none)), row.plain);
        EXPECT_EQ(parsed->toStrepForPolicy(Format(ui)), row.plain) << "alone it selects nothing";
        EXPECT_EQ(parsed->toStrepForPolicy(Format(classified)), row.classified);
        EXPECT_EQ(parsed->toStrepForPolicy(Format(both)), row.both);
        EXPECT_EQ(parsed->toStrepForPolicy(Format(both | Format::strepFormatJson)), row.both);
    }
}

TEST_F(TypedCommunities, FlagsThatOnlySomeTextsHeed) {
    struct {
        U64 community;
        U32 format;
        char const* text;
    } const rows[] = {
        {0x0202'0001'0000'000a, Format::strepFormatQualifier, "65536L:10"},
        {0x0202'0000'0064'000a, classified | Format::strepFormatQualifier, "RT:100L:10"},
        {0x0202'0001'0000'000a, both | Format::strepFormatAsdot, "Route-Target-AS4:1.0:10"},
        {0x0203'0001'0000'000a, Format::strepFormatAsdot | Format::strepFormatQualifier, "1.0:10"},
        {0x0002'fde8'0000'0064, Format::strepFormatQualifier, "65000:100"},
        {0x0102'0a00'0001'0005, Format::strepFormatAsdot | Format::strepFormatQualifier,
         "10.0.0.1:5"},
        {0x4004'fde8'42c8'0000, both | Format::strepFormatLinkBwWeighted,
         "Link-Bandwidth-AS:65000:weight 100"},
        {0x4004'fde8'42c8'0000, classified | Format::strepFormatLinkBwWeighted, "lbw 65000:100"},
        {0x4004'fde8'42c8'0000, Format::strepFormatAsdot | Format::strepFormatQualifier,
         "65000:100"},
    };
    for (auto const& row : rows) {
        EXPECT_EQ(parse(row.community)->toStrepForPolicy(Format(row.format)), row.text);
    }
}

TEST_F(TypedCommunities, TheStreamsStateNeitherShowsNorChanges) {
    struct Grouped : std::numpunct<char> {
        char do_thousands_sep() const override { return '.'; }
        std::string do_grouping() const override { return "\1"; }
        char do_decimal_point() const override { return ','; }
    };
    std::locale const before = std::locale::global(std::locale(std::locale(), new Grouped));
    for (auto const& row : texts) {
        std::ostringstream os;
        os << std::hex << std::showbase << std::setprecision(1) << std::setfill('*')
           << std::setw(70);
        auto const flags = os.flags();
        auto const parsed = parse(row.community);
        parsed->formatDerivedType(os);
        EXPECT_EQ(os.str(), row.show);
        EXPECT_EQ(os.flags(), flags);
        EXPECT_EQ(os.width(), 70);
        EXPECT_EQ(parsed->toStrepForPolicy(Format(both)), row.both);
    }
    std::locale::global(before);
}

TEST_F(TypedCommunities, BandwidthsPrintAsAStreamPrintsFloats) {
    std::vector<U32> words{0x00000000, 0x80000000, 0x00000001, 0x7f7fffff, 0x7f800000,
                           0xff800000, 0x7fc00000, 0xffc00000, 0x3f800000, 0x49742400,
                           0x38d1b717, 0x38d1b716, 0x497423f8, 0xc2f6e979};
    std::mt19937 random(7);
    for (int i = 0; i < 2000; ++i) {
        words.push_back(static_cast<U32>(random()));
    }
    for (auto const word : words) {
        std::ostringstream expected;
        expected.imbue(std::locale::classic());
        expected << "1:" << std::bit_cast<float>(word);
        auto const lbw = parse(0x4004'0001'0000'0000 | word);
        EXPECT_EQ(lbw->toStrepForPolicy(Format(none)), expected.str()) << std::hex << word;
    }
}

// ---- Fields -------------------------------------------------------------------------------------

TEST_F(TypedCommunities, Fields) {
    auto const routeTarget = parseAs<ExtCommRouteTargetAs>(0x0202'0001'0000'000a);
    EXPECT_TRUE(routeTarget->fourByteAs());
    EXPECT_EQ(routeTarget->localAdmin(), 10u);
    parseAs<ExtCommRouteOriginIpv4Address>(0x0103'0a00'0001'0005);

    auto const lbw = parseAs<ExtCommLinkBandwidth>(0x4004'fde8'4974'2400);
    EXPECT_EQ(lbw->bandwidth(), 1e6F);
    EXPECT_FALSE(lbw->isLinkBandwidthWithUnspecifiedAsNumber());
    EXPECT_TRUE(parse(0x4004'0000'4974'2400)->isLinkBandwidthWithUnspecifiedAsNumber());
    EXPECT_FALSE(parse(0x0002'0000'4974'2400)->isLinkBandwidthWithUnspecifiedAsNumber());

    auto const color = parseAs<ExtCommColor>(0x030b'4000'1234'5678);
    EXPECT_EQ(color->color(), 0x12345678u);
    EXPECT_FALSE(color->cBit());
    EXPECT_TRUE(color->oBit());

    EXPECT_EQ(parseAs<ExtCommTunnelEncap>(0x030c'ffff'ffff'0007)->tunnelType(), tunnelTypeIpInIp);

    using State = Rpki::OriginValidationState;
    for (auto const state : {State::valid, State::notFound, State::invalid}) {
        auto const content = ExtCommOriginValidationState::buildExtCommContent(state);
        EXPECT_EQ(parseAs<ExtCommOriginValidationState>(content.community())->state(), state);
    }
    EXPECT_EQ(ExtCommOriginValidationState::buildExtCommContent(State::notFound),
              ExtCommContent(0x4300'0000'0000'0001));
}

TEST_F(TypedCommunities, TypesAreRegisteredUnderTheirPublishedNames) {
    std::set<std::string_view> names;
    for (auto const& row : texts) {
        auto const name = parse(row.community)->fwkType().name();
        EXPECT_EQ(Mox::TypeRegistry::type(name), &parse(row.community)->fwkType());
        names.insert(name);
    }
    for (char const* const name :
         {"ExtCommRouteTargetAs", "ExtCommRouteTargetIpv4Address", "ExtCommRouteOriginAs",
          "ExtCommRouteOriginIpv4Address", "ExtCommLinkBandwidth", "ExtCommColor",
          "ExtCommTunnelEncap", "ExtCommDefaultGateway", "ExtCommOriginValidationState"}) {
        EXPECT_TRUE(names.contains("Routing::Bgp::" + std::string(name))) << name;
    }
    for (char const* const name :
         {"BgpParseExtCommRouteTargetSm", "BgpParseExtComSubTypeTransTwoOctetAsRouteTargetRule",
          "BgpParseExtComSubTypeTransIpv4AddressRouteOriginRule",
          "BgpParseExtComSubTypeNonTransTwoOctetAsLinkBandwidthRule",
          "BgpParseExtComSubTypeTransOpaqueRuleBase", "BgpParseExtCommIp6NonTransRule",
          "BgpParseExtCommSubTypeTransGenericPart3RuleKey", "BgpParseExtCommContainerSm"}) {
        EXPECT_NE(Mox::TypeRegistry::type("Routing::Bgp::" + std::string(name)), nullptr) << name;
    }
}

TEST(TypedCommunitiesDeathTest, ARouteWithAnAsIsOfOneOfTwoTypes) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    ExtCommContent const ipv4Type(0x0102'0a00'0001'0005);
    EXPECT_DEATH(extCommRouteTargetAsFactory(ipv4Type, false)->toStrep(),
                 "^Parse/ExtCommRouteTarget.cpp:.*Assertion '0 && \"unexpected type\"' failed");
    EXPECT_DEATH(extCommRouteOriginAsFactory(ipv4Type, false)->toStrep(),
                 "^Parse/ExtCommRouteOrigin.cpp:.*Assertion '0 && \"unexpected type\"' failed");
}

} // namespace
