#include "support/Expectations.h"
#include "support/PointerMode.h"

#include <Mox/Exception.h>
#include <VoBgp/Parse/ExtComm.h>
#include <VoBgp/VoBgpCommunity.h>

#include <gtest/gtest.h>

#include <memory>
#include <sstream>
#include <string>
#include <utility>

namespace {

using namespace Routing::Bgp;
using Format = ExtComm::StrepFormat;

enum class Layout { plain, subtyped, twoOctetAs, fourOctetAs, ipv4 };

ExtComm::Ptr make(Layout layout, U64 community,
                  ExtCommClassification classification = extCommClassificationUnSpecified) {
    ExtCommContent const content(community);
    switch (layout) {
    case Layout::plain:
        return Mox::makeActive<ExtComm>(classification, content);
    case Layout::subtyped:
        return ExtCommSubtyped::ExtCommSubtypedIs(classification, content);
    case Layout::twoOctetAs:
        return ExtCommAsNumber::ExtCommAsNumberIs(classification, content, false);
    case Layout::fourOctetAs:
        return ExtCommAsNumber::ExtCommAsNumberIs(classification, content, true);
    case Layout::ipv4:
        return Mox::makeActive<ExtCommIpv4Address>(classification, content);
    }
    return nullptr;
}

// ---- Text ---------------------------------------------------------------------------------------

std::string subtypeOf(ExtComm const& community) {
    std::ostringstream os;
    community.formatSubtype(os);
    return os.str();
}

TEST(ExtCommText, ShowForms) {
    struct {
        Layout layout;
        U64 community;
        char const* text;
    } const rows[] = {
        {Layout::plain, 0x0306000000000001, "<extCommPktTypeTransOpaque 0x0306000000000001>"},
        {Layout::plain, 0, "<extCommPktTypeTransTwoOctetAs 000000000000000000>"},
        {Layout::plain, 0x0700000000000000, "<extCommPktTypeUnknown 0x0700000000000000>"},
        {Layout::subtyped, 0x0306000000000001,
         "<extCommPktTypeTransOpaque extCommPktSubtypeTransOpaqueOspfRouteType "
         "0x0306000000000001>"},
        {Layout::subtyped, 0x0402000000000000,
         "<extCommPktTypeTransQosMarking none 0x0402000000000000>"},
        {Layout::subtyped, 0xff02000000000000, "<extCommPktTypeUnknown none 0xff02000000000000>"},
        {Layout::subtyped, 0x4102000000000000,
         "<extCommPktTypeNonTransIpv4Address subtype=2 0x4102000000000000>"},
        {Layout::twoOctetAs, 0x000200640000000a,
         "<extCommPktTypeTransTwoOctetAs extCommPktSubtypeTransTwoOctetAsRouteTarget ASN=100 "
         "0x000200640000000a>"},
        {Layout::fourOctetAs, 0x020200010000000a,
         "<extCommPktTypeTransFourOctetAs extCommPktSubtypeTransFourOctetAsRouteTarget ASN=65536 "
         "0x020200010000000a>"},
        {Layout::ipv4, 0x01020a0102030007,
         "<extCommPktTypeTransIpv4Address extCommPktSubtypeTransIpv4AddressRouteTarget 10.1.2.3 "
         "0x01020a0102030007>"},
    };
    for (auto const& row : rows) {
        EXPECT_EQ(make(row.layout, row.community)->toStrep(), row.text);
    }
    EXPECT_EQ(subtypeOf(*make(Layout::plain, 0)), "unspecified");
    std::ostringstream value;
    make(Layout::ipv4, 0x01020a0102030007)->formatCommunityValue(value);
    EXPECT_EQ(value.str(), "0x01020a0102030007");
}

TEST(ExtCommText, SubtypesOfAFamilyHaveNamesOrNumbers) {
    struct {
        String (ExtComm::*text)() const;
        U64 named; // type and subtype
        char const* name;
    } const rows[] = {
        {&ExtComm::pktSubtypeTransTwoOctetAsString, 0x0002, "TransTwoOctetAsRouteTarget"},
        {&ExtComm::pktSubtypeTransIpv4AddressString, 0x0107, "TransIpv4AddressOspfRouteId"},
        {&ExtComm::pktSubtypeTransFourOctetAsString, 0x0204, "TransFourOctetAsGeneric"},
        {&ExtComm::pktSubtypeTransOpaqueString, 0x030d, "TransOpaqueDefaultGateway"},
        {&ExtComm::pktSubtypeEvpnString, 0x0603, "EvpnRouterMac"},
        {&ExtComm::pktSubtypeFlowspecRedirectNexthopString, 0x0800, "FlowspecRedirectNexthop"},
        {&ExtComm::pktSubtypeTransGenericString, 0x8006, "TransGenericFlowspecTrafficRate"},
        {&ExtComm::pktSubtypeTransGenericPart2String, 0x8108,
         "TransGenericPart2FlowspecRedirectIpv4"},
        {&ExtComm::pktSubtypeTransGenericPart3String, 0x8208,
         "TransGenericPart3FlowspecRedirectAs4Byte"},
        {&ExtComm::pktSubtypeNonTransTwoOctetAsString, 0x4004, "NonTransTwoOctetAsLinkBandwidth"},
        {&ExtComm::pktSubtypeNonTransIpv4AddressString, 0x4164, nullptr},
        {&ExtComm::pktSubtypeNonTransFourOctetAsString, 0x4204, "NonTransFourOctetAsGeneric"},
        {&ExtComm::pktSubtypeNonTransOpaqueString, 0x4364, nullptr},
    };
    for (auto const& row : rows) {
        auto const community = make(Layout::subtyped, row.named << 48);
        auto const text = row.name == nullptr ? "subtype=100"
                                              : "extCommPktSubtype" + std::string(row.name);
        EXPECT_EQ((community.get()->*row.text)(), text);
        EXPECT_EQ(subtypeOf(*community), text);
        auto const unnamed = make(Layout::subtyped, (row.named | 0xff) << 48);
        EXPECT_EQ((unnamed.get()->*row.text)(), "subtype=255");
    }
    // Without "Opaque".
    EXPECT_EQ(subtypeOf(*make(Layout::subtyped, U64{0x4301} << 48)),
              "extCommPktSubtypeNonTransCostCommunity");
}

TEST(ExtCommText, PolicyFormsUnderEveryFlagWord) {
    struct {
        Layout layout;
        U64 community;
        // Printed as a prefix if both flags for it are set.
        char const* type;
        char const* plain;
        char const* qualified;
        char const* asdot;
    } const rows[] = {
        {Layout::plain, 0x430500000000002a, "0305(NT):0x00 0x00 0x00 0x00 0x00 0x2a", "", "", ""},
        {Layout::plain, 0x0306010203040506, "0306:0x01 0x02 0x03 0x04 0x05 0x06", "", "", ""},
        {Layout::subtyped, ~U64{0}, "bfff(NT):0xff 0xff 0xff 0xff 0xff 0xff", "", "", ""},
        {Layout::twoOctetAs, 0x000200640000000a, "0002-AS:", "100:10", "100:10", "100:10"},
        {Layout::twoOctetAs, 0x4004fde8ffffffff, "0004-AS(NT):", "65000:4294967295",
         "65000:4294967295", "65000:4294967295"},
        {Layout::fourOctetAs, 0x020200010000000a, "0202-AS4:", "65536:10", "65536L:10", "1.0:10"},
        {Layout::fourOctetAs, 0x0202000000640000, "0202-AS4:", "100:0", "100L:0", "100:0"},
        {Layout::fourOctetAs, 0x42040000ffff00ff, "0204-AS4(NT):", "65535:255", "65535L:255",
         "65535:255"},
        {Layout::fourOctetAs, ~U64{0}, "bfff-AS4(NT):", "4294967295:65535", "4294967295L:65535",
         "65535.65535:65535"},
        {Layout::ipv4, 0x01020a0102030007, "0102-IP:", "10.1.2.3:7", "10.1.2.3:7", "10.1.2.3:7"},
        {Layout::ipv4, 0x4102ffffffffffff, "0102-IP(NT):", "255.255.255.255:65535",
         "255.255.255.255:65535", "255.255.255.255:65535"},
    };
    for (auto const& row : rows) {
        for (U32 flags = 0; flags <= 0x7f; ++flags) {
            Format const format(flags);
            auto const* const body = format.has(Format::strepFormatAsdot)       ? row.asdot
                                     : format.has(Format::strepFormatQualifier) ? row.qualified
                                                                                : row.plain;
            bool const typed =
                format.has(Format::strepFormatClassification | Format::strepFormatUI);
            ASSERT_EQ(make(row.layout, row.community)->toStrepForPolicy(format).str(),
                      std::string(typed ? row.type : "") + body)
                << "under " << flags;
        }
    }
}

TEST(ExtCommText, AsNumbersOfCommunities) {
    auto const community = ExtCommAsNumber::ExtCommAsNumberIs(
        extCommClassificationUnSpecified, ExtCommContent(0x020200010000000a), true);
    EXPECT_EQ(community->formatAsNumber(true, false), "65536L");
    EXPECT_EQ(community->formatAsNumber(true, true), "1.0");
    auto const as = Mox::strepToValue<Lumo::AutonomousSystem>("65536");
    EXPECT_EQ(community->asNumber(), as);
    EXPECT_EQ(as.display(true), "1.0");
    EXPECT_EQ(as.display(false), "65536");
}

TEST(ExtCommText, StreamsKeepTheirState) {
    /// An agent's own type that changes the stream's state.
    class Messy : public ExtComm {
      public:
        using ExtComm::ExtComm;
        void formatDerivedType(std::ostream& out) const override {
            out << std::dec << std::setfill('0') << std::setw(5) << '8';
        }
    };
    OddStream os(std::ios_base::uppercase);
    os << *make(Layout::twoOctetAs, 0x000200ab0000000c)
       << Mox::makeCounted<Messy>(extCommClassificationUnSpecified, ExtCommContent()).get()
       << static_cast<ExtComm const*>(nullptr);
    EXPECT_EQ(os.str(),
              "<extCommPktTypeTransTwoOctetAs extCommPktSubtypeTransTwoOctetAsRouteTarget ASN=171 "
              "0X000200AB0000000C>80000NULL");
}

// ---- StrepFormat --------------------------------------------------------------------------------

TEST(StrepFormat, ReadsAndWritesFlags) {
    EXPECT_EQ(valueToStrep(Format(0x15)),
              "Value('Routing::Bgp::ExtComm::StrepFormat', ** {'strepFormatDefault': True, "
              "'strepFormatQualifier': False, 'strepFormatClassification': True, "
              "'strepFormatUI': False, 'strepFormatJson': True, 'strepFormatAsdot': False, "
              "'strepFormatLinkBwWeighted': False})");
    std::ostringstream os;
    os << Format(0x2a);
    EXPECT_EQ(os.str(), valueToStrep(Format(0x2a)));
    EXPECT_EQ(errorOf<Mox::RangeException>([] { Format const format(0x80); }),
              "StrepFormat::value > 0x7f not allowed");
}

TEST(StrepFormat, AnyOtherTextThrowsWithItsOffset) {
    auto const text = valueToStrep(Format(0x2a)).str();
    for (std::size_t i = 0; i < text.size(); ++i) {
        auto damaged = text;
        damaged[i] = '~';
        try {
            strepToValue<Format>(damaged);
            FAIL() << damaged;
        } catch (Mox::ParseException const& error) {
            EXPECT_LE(error.offset(), i) << damaged;
        }
        EXPECT_THROW(strepToValue<Format>(text.substr(0, i)), Mox::ParseException);
    }
    EXPECT_EQ(errorOf<Mox::ParseException>([&] { strepToValue<Format>(text + " "); }),
              "expected the end of the text at offset " + std::to_string(text.size()));
    // Reading from the middle of a longer text advances the position past the value.
    String const longer("xx" + text + "yy");
    auto it = longer.begin() + 2;
    EXPECT_EQ(Format(it, longer.end()), Format(0x2a));
    EXPECT_EQ(it.offset(), text.size() + 2);
}

// ---- The table ----------------------------------------------------------------------------------

class ExtCommTable : public testing::TestWithParam<bool> {
    PointerMode const mode_{GetParam()};

  protected:
    /// Interns an object built by the test.
    ExtComm::PtrConst intern(ExtComm::Ptr const& object) {
        return Mox::staticPtrCast<ExtComm const>(table->dedupHashTable()->dedup(object));
    }
    /// With a rule without sub-rules.
    ExtCommDedupTable::Ptr table = extCommDedupTableFactory(bgpParseExtendedCommunityRuleFactory(
        BgpParseExtCommControl(bgpParseExtCommRuleCollectionsFactory())));
};
INSTANTIATE_TEST_SUITE_P(Mode, ExtCommTable, bothPointerModes(), pointerModeName);

TEST_P(ExtCommTable, EqualContentsShareOneObjectRegardlessOfClassification) {
    ExtCommContent const content(0x0306000000000001);
    auto first = intern(make(Layout::subtyped, content.community(), extCommClassificationColor));
    EXPECT_EQ(ExtComm::dedupContent(table.get(), content), first);
    EXPECT_EQ(intern(make(Layout::plain, content.community())), first);
    EXPECT_EQ(first->classification(), extCommClassificationColor) << "the first one's";
    EXPECT_EQ(ExtComm::fromDedupHandle(first.get()), first.get());
    EXPECT_FALSE(first->compare(make(Layout::plain, content.community() + 1).get()));
    first = nullptr;
    EXPECT_EQ(table->dedupHashTable()->size(), 0U);
    auto const parsed = ExtComm::dedupContent(table.get(), content);
    EXPECT_EQ(parsed->classification(), extCommClassificationUnSpecified);
    EXPECT_TRUE(parsed->hasNotificationActive());
    EXPECT_EQ(table->dedupHashTable()->isThreadSafe(), GetParam());
}

TEST_P(ExtCommTable, RouteTargetsFollowTheTable) {
    auto const& list = table->notifyingRouteTargetList();
    EXPECT_EQ(table->lifeTimeNotifiee()->producerRtList(), list);
    auto const color =
        intern(make(Layout::subtyped, 0x030b000000000001, extCommClassificationColor));
    auto rt =
        intern(make(Layout::twoOctetAs, 0x0002fde800000064, extCommClassificationRouteTarget));
    EXPECT_EQ(list->rts(), 1U);
    EXPECT_TRUE(list->rtHas(RouteTarget(0x0002fde800000064)));
    rt = nullptr;
    EXPECT_EQ(list->rts(), 0U);
    rt = intern(make(Layout::twoOctetAs, 0x0002fde800000065, extCommClassificationRouteTarget));
    auto const kept = list;
    table = nullptr;
    EXPECT_EQ(kept->rts(), 0U) << "destroying the table empties its list";
    EXPECT_EQ(rt->toStrepForPolicy(Format(1)), "65000:101");
}

TEST_P(ExtCommTable, NothingIsLeftOverIfAnObserverThrows) {
    class Thrower : public NotifyingRouteTargetList::Notifiee {
      public:
        using Notifiee::Notifiee;
        void handleRt(RouteTarget const& rt) override {
            if (notifier()->rtHas(rt)) {
                throw std::bad_alloc();
            }
        }
    };
    auto const& list = table->notifyingRouteTargetList();
    auto thrower = std::make_unique<Thrower>(list);
    auto const rt = make(Layout::twoOctetAs, 0x0002fde800000064, extCommClassificationRouteTarget);
    EXPECT_THROW(intern(rt), std::bad_alloc);
    EXPECT_EQ(list->rts(), 0U);
    EXPECT_EQ(table->dedupHashTable()->size(), 0U);
    thrower.reset();
    EXPECT_EQ(intern(rt), rt.get());
    EXPECT_EQ(list->rts(), 1U);
}

TEST_P(ExtCommTable, DumpsTheShowFormsOfItsMembers) {
    auto const held = ExtComm::dedupContent(table.get(), ExtCommContent(0x0506000000000001));
    auto const dump = dumpOf(*table, 1);
    EXPECT_NE(
        dump.find("\n   <extCommPktTypeTransCosCapability 0x0506000000000001> references 1\n"),
        dump.npos)
        << dump;
}

TEST(ExtCommReflection, AttributesReadAsText) {
    auto const community = make(Layout::fourOctetAs, 0x42040001000000ff);
    auto const& type = community->fwkType();
    EXPECT_EQ(&type, Mox::TypeRegistry::type("Routing::Bgp::ExtCommAsNumber"));
    std::pair<char const*, char const*> const attributes[] = {
        {"classification", "extCommClassificationUnSpecified"},
        {"getContent", "4756927110705053951"},
        {"transitiveFlag", "False"},
        {"isLinkBandwidth", "False"},
        {"subtypeOctet", "4"},
        {"pktSubtype", "4"},
        {"localAdmin2Octets", "255"},
        {"localAdmin4Octets", "255"},
        {"asNumber", "65536"},
    };
    for (auto const& [name, text] : attributes) {
        auto const* const attribute = type.attribute(name);
        ASSERT_NE(attribute, nullptr) << name;
        EXPECT_EQ(type.attributeText(*attribute, *community), text) << name;
    }
    EXPECT_EQ(type.attributes().front().name, "classification") << "those of the base come first";
    EXPECT_EQ(type.attribute("address"), nullptr);
}

TEST(ExtCommDeathTest, SubtypeNamesOfAnotherFamilyAssert) {
    auto const evpn = make(Layout::subtyped, 0x0600000000000000);
    auto const plain = make(Layout::plain, 0x0600000000000000);
    expectAssertions({{"^VoBgpCommunity.cpp:#: pktSubtypeTransTwoOctetAsString: Assertion "
                       "'extCommPktTypeTransTwoOctetAs_ == pktType()' failed.",
                       [&] { (void)evpn->pktSubtypeTransTwoOctetAsString(); }},
                      {"pktSubtypeEvpnString: Assertion '!pktSubtype().isUnspecified()' failed",
                       [&] { (void)plain->pktSubtypeEvpnString(); }}});
}

} // namespace
