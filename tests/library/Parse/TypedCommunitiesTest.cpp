#include "support/Expectations.h"

#include <Mox/Type.h>
#include <VoBgp/Parse/ExtComm.h>
#include <VoBgp/Parse/ExtCommColor.h>
#include <VoBgp/Parse/ExtCommDefaultGateway.h>
#include <VoBgp/Parse/ExtCommLinkBandwidth.h>
#include <VoBgp/Parse/ExtCommOriginValidationState.h>
#include <VoBgp/Parse/ExtCommRouteOrigin.h>
#include <VoBgp/Parse/ExtCommRouteTarget.h>
#include <VoBgp/Parse/ExtCommTunnelEncap.h>

#include <gtest/gtest.h>

#include <bit>
#include <cstdio>
#include <random>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace {

using namespace Routing::Bgp;
using Format = ExtComm::StrepFormat;

/// Parses values like an agent.
class TypedCommunities : public testing::Test {
  protected:
    ExtComm::PtrConst parse(U64 community) const {
        return container_->extCommParser()->parseExtendedCommunity(ExtCommContent(community));
    }

  private:
    BgpParseExtCommContainerSm::Ptr const container_ = bgpParseExtCommContainerSmFactory();
};

constexpr U32 none = 0;
constexpr U32 classified = Format::strepFormatClassification;
constexpr U32 ui = Format::strepFormatUI;
constexpr U32 both = classified | ui;

// ---- Text ---------------------------------------------------------------------------------------

/// One value: the show form without its brackets and final octets, and the policy forms with none,
/// one and both of the flags for the prefix.
struct Texts {
    U64 community;
    ExtCommClassification classification;
    char const* show;
    char const* plain;
    char const* classified;
    char const* both;
};

constexpr Texts texts[] = {
    {0x0002'fde8'0000'0064, extCommClassificationRouteTarget, "RouteTarget2ByteASN 65000:100",
     "65000:100", "RT:65000:100", "Route-Target-AS:65000:100"},
    {0x0002'ffff'ffff'ffff, extCommClassificationRouteTarget,
     "RouteTarget2ByteASN 65535:4294967295", "65535:4294967295", "RT:65535:4294967295",
     "Route-Target-AS:65535:4294967295"},
    {0x0202'0001'0000'000a, extCommClassificationRouteTarget, "RouteTarget4ByteASN 65536:10",
     "65536:10", "RT:65536:10", "Route-Target-AS4:65536:10"},
    {0x0102'0a00'0001'0005, extCommClassificationRouteTarget, "RouteTarget 10.0.0.1:5",
     "10.0.0.1:5", "RT:10.0.0.1:5", "Route-Target-IP:10.0.0.1:5"},
    {0x0003'fde8'0000'0064, extCommClassificationRouteOrigin, "RouteOrigin2ByteASN 65000:100",
     "65000:100", "SoO:65000:100", "Route-Origin-AS:65000:100"},
    {0x0203'0001'0000'000a, extCommClassificationRouteOrigin, "RouteOrigin4ByteASN 65536:10",
     "65536:10", "SoO:65536:10", "Route-Origin-AS4:65536:10"},
    {0x0103'0a00'0001'0005, extCommClassificationRouteOrigin, "RouteOrigin 10.0.0.1:5",
     "10.0.0.1:5", "SoO:10.0.0.1:5", "Route-Origin-IP:10.0.0.1:5"},
    {0x4004'fde8'4974'2400, extCommClassificationLinkBandwidth, "LinkBandwidth 65000:1e+06",
     "65000:1e+06", "lbw 65000:1e+06", "Link-Bandwidth-AS:65000:8 Mbps"},
    {0x4004'0000'7f80'0000, extCommClassificationLinkBandwidth, "LinkBandwidth 0:inf", "0:inf",
     "lbw 0:inf", "Link-Bandwidth-AS:0:inf bps"},
    {0x030b'8000'0000'0064, extCommClassificationColor, "Color: 100(10)", "Color:CO(10):100",
     "Color:CO(10):100", "Color:CO(10):100"},
    {0x030b'7fff'ffff'ffff, extCommClassificationColor, "Color: 4294967295(01)",
     "Color:CO(01):4294967295", "Color:CO(01):4294967295", "Color:CO(01):4294967295"},
    {0x030c'0000'0000'0008, extCommClassificationTunnelEncap, "TunnelEncap 8:tunnelTypeVxlan",
     "tunnelTypeVxlan", "TunnelEncap:tunnelTypeVxlan", "TunnelEncap:tunnelTypeVxlan"},
    {0x030c'0000'0001'0005, extCommClassificationTunnelEncap, "TunnelEncap 5:tunnelTypeUnknown",
     "tunnelTypeUnknown-5", "TunnelEncap:tunnelTypeUnknown-5", "TunnelEncap:tunnelTypeUnknown-5"},
    {0x030d'0000'0000'0000, extCommClassificationDefaultGateway, "DefaultGateway", "DefaultGateway",
     "DefaultGateway", "DefaultGateway"},
    {0x4300'0000'0000'0000, extCommClassificationOriginValidationState,
     "OriginValidationState valid", "", "", "Origin-Validation-State:valid"},
    {0x4300'0000'0000'0001, extCommClassificationOriginValidationState,
     "OriginValidationState not-found", "", "", "Origin-Validation-State:not-found"},
    {0x4300'0000'0000'0002, extCommClassificationOriginValidationState,
     "OriginValidationState invalid", "", "", "Origin-Validation-State:invalid"},
    // Only the last octet is the state.
    {0x4300'0000'0000'0103, extCommClassificationOriginValidationState,
     "OriginValidationState unknown(3)", "", "", "Origin-Validation-State:unknown"},
    // A value with a known subtype but another type stays generic.
    {0x4002'fde8'0000'0064, extCommClassificationUnSpecified,
     "extCommPktTypeNonTransTwoOctetAs subtype=2 ASN=65000", "65000:100", "65000:100",
     "0002-AS(NT):65000:100"},
    {0x0005'fde8'0000'0064, extCommClassificationUnSpecified,
     "extCommPktTypeTransTwoOctetAs extCommPktSubtypeTransTwoOctetAsOspfDomainIdentifier ASN=65000",
     "65000:100", "65000:100", "0005-AS:65000:100"},
    {0x0004'fde8'4974'2400, extCommClassificationUnSpecified,
     "extCommPktTypeTransTwoOctetAs subtype=4 ASN=65000", "65000:1232348160", "65000:1232348160",
     "0004-AS:65000:1232348160"},
    {0x430b'0000'0000'0064, extCommClassificationUnSpecified,
     "extCommPktTypeNonTransOpaque subtype=11", "", "", "030b(NT):0x00 0x00 0x00 0x00 0x00 0x64"},
};

std::string showOf(Texts const& row) {
    char octets[32];
    std::snprintf(octets, sizeof octets, " 0x%016llx>",
                  static_cast<unsigned long long>(row.community));
    return std::string("<") + row.show + octets;
}

TEST_F(TypedCommunities, Texts) {
    for (auto const& row : texts) {
        auto const parsed = parse(row.community);
        EXPECT_EQ(parsed->classification(), row.classification) << row.show;
        EXPECT_EQ(parsed->toStrep(), showOf(row));
        EXPECT_EQ(parsed->toStrepForPolicy(Format(none)), row.plain);
        EXPECT_EQ(parsed->toStrepForPolicy(Format(ui)), row.plain) << "alone it selects nothing";
        EXPECT_EQ(parsed->toStrepForPolicy(Format(classified)), row.classified);
        EXPECT_EQ(parsed->toStrepForPolicy(Format(both)), row.both);
        EXPECT_EQ(parsed->toStrepForPolicy(Format(both | Format::strepFormatJson)), row.both);
    }
}

TEST_F(TypedCommunities, TextsTakeOneAllocationAndThrowIfItFails) {
    for (auto const& row : texts) {
        auto const parsed = parse(row.community);
        EXPECT_EQ(wholeOrRefused([&] { return parsed->toStrep(); }), 1) << row.show;
        for (auto const format : {none, classified, both}) {
            EXPECT_LE(wholeOrRefused([&] { return parsed->toStrepForPolicy(Format(format)); }), 1);
        }
    }
}

TEST_F(TypedCommunities, ReleasedWhileStreamingPrintCompletely) {
    for (auto const& row : texts) {
        ExtComm::PtrConst parsed = parse(row.community);
        auto const* const streamed = parsed.get();
        InterruptedStream os([&] { parsed = nullptr; });
        os << *streamed;
        EXPECT_EQ(os.text(), showOf(row));
    }
}

TEST_F(TypedCommunities, FlagsAffectOnlySomeTexts) {
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

TEST_F(TypedCommunities, IgnoreAndKeepTheStreamsState) {
    for (auto const& row : texts) {
        OddStream os;
        parse(row.community)->formatDerivedType(os);
        EXPECT_EQ(os.str(), showOf(row));
        EXPECT_EQ(parse(row.community)->toStrepForPolicy(Format(both)), row.both);
    }
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

// ---- Types and contents -------------------------------------------------------------------------

TEST_F(TypedCommunities, AnOriginValidationStateIsBuiltForItsWireForm) {
    using State = Rpki::OriginValidationState;
    for (auto const state : {State::valid, State::notFound, State::invalid}) {
        auto const content = ExtCommOriginValidationState::buildExtCommContent(state);
        auto const parsed = parse(content.community());
        auto const* const typed = dynamic_cast<ExtCommOriginValidationState const*>(parsed.get());
        ASSERT_NE(typed, nullptr);
        EXPECT_EQ(typed->state(), state);
    }
    EXPECT_EQ(ExtCommOriginValidationState::buildExtCommContent(State::notFound),
              ExtCommContent(0x4300'0000'0000'0001));
}

TEST_F(TypedCommunities, FactoriesCreateWhatParsingDoes) {
    ExtCommContent const two(0x0002'fde8'0000'0064), four(0x0203'0001'0000'000a);
    ExtCommContent const target(0x0102'0a00'0001'0005), origin(0x0103'0a00'0001'0005);
    ExtCommContent const bandwidth(0x4004'fde8'4974'2400), color(0x030b'8000'0000'0064);
    ExtCommContent const tunnel(0x030c'0000'0000'0008), gateway(0x030d'0000'0000'0000);
    ExtCommContent const state(0x4300'0000'0000'0001);
    for (ExtComm::PtrConst const& made :
         {ExtComm::PtrConst(extCommRouteTargetAsFactory(two, false)),
          ExtComm::PtrConst(extCommRouteOriginAsFactory(four, true)),
          ExtComm::PtrConst(extCommRouteTargetIpv4AddressFactory(target)),
          ExtComm::PtrConst(extCommRouteOriginIpv4AddressFactory(origin)),
          ExtComm::PtrConst(extCommLinkBandwidthFactory(bandwidth)),
          ExtComm::PtrConst(extCommColorFactory(color)),
          ExtComm::PtrConst(extCommTunnelEncapFactory(tunnel)),
          ExtComm::PtrConst(extCommDefaultGatewayFactory(gateway)),
          ExtComm::PtrConst(extCommOriginValidationStateFactory(state))}) {
        auto const parsed = parse(made->community());
        EXPECT_EQ(&made->fwkType(), &parsed->fwkType());
        EXPECT_EQ(made->toStrep(), parsed->toStrep());
        EXPECT_EQ(made->classification(), parsed->classification());
        EXPECT_TRUE(made->hasNotificationActive());
    }
}

TEST_F(TypedCommunities, TypesAreRegisteredUnderTheirPublicNames) {
    std::set<std::string_view> parsed;
    for (auto const& row : texts) {
        parsed.insert(parse(row.community)->fwkType().name());
    }
    std::set<std::string_view> const names{"Routing::Bgp::ExtCommAsNumber",
                                           "Routing::Bgp::ExtCommSubtyped",
                                           "Routing::Bgp::ExtCommRouteTargetAs",
                                           "Routing::Bgp::ExtCommRouteTargetIpv4Address",
                                           "Routing::Bgp::ExtCommRouteOriginAs",
                                           "Routing::Bgp::ExtCommRouteOriginIpv4Address",
                                           "Routing::Bgp::ExtCommLinkBandwidth",
                                           "Routing::Bgp::ExtCommColor",
                                           "Routing::Bgp::ExtCommTunnelEncap",
                                           "Routing::Bgp::ExtCommDefaultGateway",
                                           "Routing::Bgp::ExtCommOriginValidationState"};
    EXPECT_EQ(parsed, names);
    for (auto const name : names) {
        EXPECT_NE(Mox::TypeRegistry::type(name), nullptr) << name;
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

TEST(TypedCommunitiesDeathTest, RouteCommunitiesOfOtherAsTypesAssert) {
    ExtCommContent const ipv4Type(0x0102'0a00'0001'0005);
    expectAssertions(
        {{"^Parse/ExtCommRouteTarget.cpp:#: formatDerivedType: Assertion '0 && \"unexpected "
          "type\"' failed",
          [&] { extCommRouteTargetAsFactory(ipv4Type, false)->toStrep(); }},
         {"^Parse/ExtCommRouteOrigin.cpp:#: formatDerivedType: Assertion '0 && \"unexpected "
          "type\"' failed",
          [&] { extCommRouteOriginAsFactory(ipv4Type, false)->toStrep(); }}});
}

} // namespace
