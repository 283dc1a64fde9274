#include "support/Expectations.h"

#include <Mox/Exception.h>
#include <Mox/Type.h>
#include <VoBgp/BgpPathAttributeEnums.h>
#include <VoBgp/CommunityTables.h>
#include <VoBgp/VoBgpSerialize.h>

#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <map>
#include <span>
#include <string>
#include <vector>

/// Tries every value of what is small: types and subtypes, and words of flags. Every length of a
/// path attribute is tried by CommunityTablesTest.

namespace {

using namespace Routing::Bgp;
using Selection = ExtCommList::Serialization;

// ---- Every type and subtype ---------------------------------------------------------------------

struct Parsed {
    std::string type; // of the object, without "Routing::Bgp::ExtComm"
    ExtCommClassification classification = extCommClassificationUnSpecified;
    std::string prefix; // of the policy text with the type
};

/// What the rules without sub-rules make of a type octet.
Parsed layoutOf(unsigned type, unsigned subtype) {
    static std::map<unsigned, std::array<char const*, 2>> const layouts = {
        {0x00, {"AsNumber", "-AS"}},    {0x40, {"AsNumber", "-AS"}},
        {0x02, {"AsNumber", "-AS4"}},   {0x42, {"AsNumber", "-AS4"}},
        {0x01, {"Ipv4Address", "-IP"}}, {0x41, {"Ipv4Address", "-IP"}},
        {0x03, {"Subtyped", ""}},       {0x43, {"Subtyped", ""}},
        {0x80, {"Subtyped", ""}},       {0x81, {"Subtyped", ""}},
        {0x82, {"Subtyped", ""}},
    };
    auto const found = layouts.find(type);
    auto const layout = found == layouts.end() ? std::array{"", ""} : found->second;
    char octets[24];
    std::snprintf(octets, sizeof octets, "%02x%02x", type & ~0x40U, subtype);
    return {layout[0], extCommClassificationUnSpecified,
            std::string(octets) + layout[1] + ((type & 0x40) != 0 ? "(NT):" : ":")};
}

/// What the built-in plug-ins make of type and subtype.
Parsed parsedAs(unsigned type, unsigned subtype) {
    static std::map<unsigned, Parsed> const typed = {
        {0x0002, {"RouteTargetAs", extCommClassificationRouteTarget, "Route-Target-AS:"}},
        {0x0102, {"RouteTargetIpv4Address", extCommClassificationRouteTarget, "Route-Target-IP:"}},
        {0x0202, {"RouteTargetAs", extCommClassificationRouteTarget, "Route-Target-AS4:"}},
        {0x0003, {"RouteOriginAs", extCommClassificationRouteOrigin, "Route-Origin-AS:"}},
        {0x0103, {"RouteOriginIpv4Address", extCommClassificationRouteOrigin, "Route-Origin-IP:"}},
        {0x0203, {"RouteOriginAs", extCommClassificationRouteOrigin, "Route-Origin-AS4:"}},
        {0x030b, {"Color", extCommClassificationColor, "Color:CO("}},
        {0x030c, {"TunnelEncap", extCommClassificationTunnelEncap, "TunnelEncap:"}},
        {0x030d, {"DefaultGateway", extCommClassificationDefaultGateway, "DefaultGateway"}},
        {0x4004, {"LinkBandwidth", extCommClassificationLinkBandwidth, "Link-Bandwidth-AS:"}},
        {0x4300,
         {"OriginValidationState", extCommClassificationOriginValidationState,
          "Origin-Validation-State:"}},
    };
    auto const found = typed.find(type << 8 | subtype);
    return found == typed.end() ? layoutOf(type, subtype) : found->second;
}

/// The eight octets at the end of a show text.
U64 octetsIn(std::string const& text) {
    auto const start = text.rfind(" 0x");
    return start == std::string::npos ? 0 : std::stoull(text.substr(start + 3), nullptr, 16);
}

void expectParsed(ExtComm const& extComm, ExtCommContent const& content, Parsed const& expected) {
    ASSERT_EQ(extComm.fwkType().name(), "Routing::Bgp::ExtComm" + expected.type) << content;
    ASSERT_EQ(extComm.classification(), expected.classification) << content;
    ASSERT_EQ(extComm.getContent(), content);
    auto const text = extComm.toStrep().str();
    ASSERT_EQ(octetsIn(text), content.community()) << text;
    auto const policy = extComm.toStrepForPolicy(ExtComm::StrepFormat::strepFormatClassification |
                                                 ExtComm::StrepFormat::strepFormatUI);
    ASSERT_TRUE(policy.str().starts_with(expected.prefix)) << policy;
    if (auto const* const as = dynamic_cast<ExtCommAsNumber const*>(&extComm)) {
        ASSERT_EQ(as->fourByteAs(), (content.typeOctet() & 0xf) == 2) << content;
    }
}

ExtCommContent contentOf(unsigned type, unsigned subtype) {
    // The value octets differ, and are those of a small number.
    return ExtCommContent(U64{type} << 56 | U64{subtype} << 48 | (type * 256 + subtype + 1));
}

template <class Check>
void forEveryPair(Check check) {
    for (unsigned type = 0; type < 256 && !testing::Test::HasFatalFailure(); ++type) {
        for (unsigned subtype = 0; subtype < 256; ++subtype) {
            check(type, subtype);
        }
    }
}

TEST(EveryTypeAndSubtype, IsParsedByItsLayoutWithoutPlugIns) {
    auto const rule = bgpParseExtendedCommunityRuleFactory(
        BgpParseExtCommControl(bgpParseExtCommRuleCollectionsFactory()));
    forEveryPair([&](unsigned type, unsigned subtype) {
        auto const content = contentOf(type, subtype);
        auto const parsed = rule->parseExtendedCommunity(content);
        expectParsed(*parsed, content, layoutOf(type, subtype));
        EXPECT_TRUE(parsed->hasNotificationActive() && !parsed->everDeduped());
        ExtCommIp6Content const ip6(static_cast<U8>(type), static_cast<U8>(subtype), {}, 1);
        auto const parsedIp6 = rule->parseExtendedCommunityIp6(ip6);
        EXPECT_EQ(parsedIp6->fwkType().name(), type == 0x00 || type == 0x40
                                                   ? "Routing::Bgp::ExtCommIp6Subtyped"
                                                   : "Routing::Bgp::ExtCommIp6");
        EXPECT_EQ(parsedIp6->getContent(), ip6);
        EXPECT_TRUE(parsedIp6->hasNotificationActive());
    });
}

TEST(EveryTypeAndSubtype, IsInternedOnceAndSerialized) {
    CommunityTables const tables;
    auto const& table = *tables.extCommDedupTable();
    std::vector<ExtComm::PtrConst> held;
    forEveryPair([&](unsigned type, unsigned subtype) {
        auto const content = contentOf(type, subtype);
        auto const expected = parsedAs(type, subtype);
        auto const interned = ExtComm::dedupContent(&table, content);
        expectParsed(*interned, content, expected);
        ASSERT_EQ(ExtComm::dedupContent(&table, content), interned);
        ASSERT_TRUE(held.empty() || !interned->compare(held.back().get()));
        held.push_back(interned);

        std::string octets;
        for (int shift = 56; shift >= 0; shift -= 8) {
            octets += static_cast<char>(content.community() >> shift);
        }
        auto const decoded = tables.extCommList(std::as_bytes(std::span(octets)));
        ASSERT_TRUE(decoded);
        auto const classification = expected.classification;
        for (U32 word = 0; word <= Selection::maximum; ++word) {
            Selection const selection(word);
            bool const selected = selection.has(Selection::all) ||
                                  (selection.has(Selection::transitive) && (type & 0x40) == 0) ||
                                  (selection.has(Selection::linkBandwidth) &&
                                   classification == extCommClassificationLinkBandwidth) ||
                                  (selection.has(Selection::originAsValidity) &&
                                   classification == extCommClassificationOriginValidationState);
            ASSERT_EQ(ExtCommList::serializable(interned, selection), selected);
            ASSERT_EQ(decoded.list->serialize(selection).str(),
                      selected ? "\xc0\x10\x08" + octets : "")
                << content << " under " << word;
        }
    });
    EXPECT_EQ(table.dedupHashTable()->size(), 65536U);
    EXPECT_EQ(held.size(), 65536U);
}

// ---- Every word of flags ------------------------------------------------------------------------

template <class Flags>
class EveryFlagWord : public testing::Test {};
using FlagWords =
    testing::Types<ExtComm::StrepFormat, ExtCommIp6::StrepFormat, ExtCommList::Serialization>;
TYPED_TEST_SUITE(EveryFlagWord, FlagWords);

TYPED_TEST(EveryFlagWord, ReadsBackOrThrows) {
    for (U32 word = 0; word <= 0xffff; ++word) {
        if (word <= TypeParam::maximum) {
            TypeParam const flags(word);
            expectReadsBack(flags);
            EXPECT_EQ(flags.value(), word);
        } else {
            ASSERT_EQ(errorOf<Mox::RangeException>([&] { TypeParam const flags(word); }),
                      TypeParam::rangeError)
                << word;
        }
    }
}

TEST(EveryPathAttributeFlag, IsNamedAndWritten) {
    std::map<U32, std::string> const names = {
        {0x80, "opt"},    {0x40, "transitive"},         {0x20, "partial"},
        {0x10, "extLen"}, {0xc0, "optionalTransitive"}, {0xe0, "optionalTransitivePartial"}};
    for (U32 word = 0; word <= 0xff; ++word) {
        auto const flags = static_cast<BgpPathAttrFlag>(word);
        auto const named = names.find(word);
        ASSERT_EQ(stringValue(flags), named == names.end() ? std::to_string(word) : named->second);
        ASSERT_EQ(Mox::strepToValue<BgpPathAttrFlag>(stringValue(flags).str()), flags);
        for (U32 const size : {0U, 255U, 256U}) {
            SerializePathAttribute attribute(BgpPathAttrType::community, flags, size);
            for (U32 written = 0; written < size; ++written) {
                attribute.addU8(7);
            }
            bool const isLong = (word & 0x10) != 0 || size > 255;
            std::string header{static_cast<char>(size > 255 ? word | 0x10 : word), '\x08'};
            header += isLong ? std::string(1, static_cast<char>(size >> 8)) : "";
            header += static_cast<char>(size);
            ASSERT_EQ(attribute.serializedString().str(), header + std::string(size, 7)) << word;
        }
    }
}

} // namespace
