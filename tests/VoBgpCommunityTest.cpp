#include "PointerMode.h"

#include <Mox/Exception.h>
#include <VoBgp/Parse/ExtComm.h>
#include <VoBgp/VoBgpCommunity.h>

#include <gtest/gtest.h>

#include <iomanip>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

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

TEST(ExtCommText, ShowForms) {
    struct {
        Layout layout;
        U64 community;
        char const* text;
        char const* subtype;
    } const rows[] = {
        {Layout::plain, 0x0306000000000001, "<extCommPktTypeTransOpaque 0x0306000000000001>",
         "unspecified"},
        {Layout::subtyped, 0x0306000000000001,
         "<extCommPktTypeTransOpaque extCommPktSubtypeTransOpaqueOspfRouteType "
         "0x0306000000000001>",
         "extCommPktSubtypeTransOpaqueOspfRouteType"},
        {Layout::plain, 0, "<extCommPktTypeTransTwoOctetAs 000000000000000000>", "unspecified"},
        {Layout::plain, 0x0700000000000000, "<extCommPktTypeUnknown 0x0700000000000000>",
         "unspecified"},
        {Layout::subtyped, 0x0402000000000000,
         "<extCommPktTypeTransQosMarking none 0x0402000000000000>", "none"},
        {Layout::subtyped, 0xff02000000000000, "<extCommPktTypeUnknown none 0xff02000000000000>",
         "none"},
        {Layout::subtyped, 0x0600000000000000,
         "<extCommPktTypeTransEvpn extCommPktSubtypeEvpnMacMobility 0x0600000000000000>",
         "extCommPktSubtypeEvpnMacMobility"},
        {Layout::subtyped, 0x4102000000000000,
         "<extCommPktTypeNonTransIpv4Address subtype=2 0x4102000000000000>", "subtype=2"},
        {Layout::twoOctetAs, 0x000200640000000a,
         "<extCommPktTypeTransTwoOctetAs extCommPktSubtypeTransTwoOctetAsRouteTarget ASN=100 "
         "0x000200640000000a>",
         "extCommPktSubtypeTransTwoOctetAsRouteTarget"},
        {Layout::fourOctetAs, 0x020200010000000a,
         "<extCommPktTypeTransFourOctetAs extCommPktSubtypeTransFourOctetAsRouteTarget ASN=65536 "
         "0x020200010000000a>",
         "extCommPktSubtypeTransFourOctetAsRouteTarget"},
        {Layout::ipv4, 0x01020a0102030007,
         "<extCommPktTypeTransIpv4Address extCommPktSubtypeTransIpv4AddressRouteTarget 10.1.2.3 "
         "0x01020a0102030007>",
         "extCommPktSubtypeTransIpv4AddressRouteTarget"},
    };
    for (auto const& row : rows) {
        auto const community = make(row.layout, row.community);
        EXPECT_EQ(community->toStrep(), row.text);
        std::ostringstream subtype;
        community->formatSubtype(subtype);
        EXPECT_EQ(subtype.str(), row.subtype);
    }
}

TEST(ExtCommText, EveryFamilyNamesItsSubtypes) {
    struct {
        U64 community;
        String (ExtComm::*operation)() const;
        char const* name;
    } const rows[] = {
        {0x0002, &ExtComm::pktSubtypeTransTwoOctetAsString,
         "extCommPktSubtypeTransTwoOctetAsRouteTarget"},
        {0x0107, &ExtComm::pktSubtypeTransIpv4AddressString,
         "extCommPktSubtypeTransIpv4AddressOspfRouteId"},
        {0x0204, &ExtComm::pktSubtypeTransFourOctetAsString,
         "extCommPktSubtypeTransFourOctetAsGeneric"},
        {0x030d, &ExtComm::pktSubtypeTransOpaqueString,
         "extCommPktSubtypeTransOpaqueDefaultGateway"},
        {0x0603, &ExtComm::pktSubtypeEvpnString, "extCommPktSubtypeEvpnRouterMac"},
        {0x0800, &ExtComm::pktSubtypeFlowspecRedirectNexthopString,
         "extCommPktSubtypeFlowspecRedirectNexthop"},
        {0x8006, &ExtComm::pktSubtypeTransGenericString,
         "extCommPktSubtypeTransGenericFlowspecTrafficRate"},
        {0x8108, &ExtComm::pktSubtypeTransGenericPart2String,
         "extCommPktSubtypeTransGenericPart2FlowspecRedirectIpv4"},
        {0x8208, &ExtComm::pktSubtypeTransGenericPart3String,
         "extCommPktSubtypeTransGenericPart3FlowspecRedirectAs4Byte"},
        {0x4004, &ExtComm::pktSubtypeNonTransTwoOctetAsString,
         "extCommPktSubtypeNonTransTwoOctetAsLinkBandwidth"},
        {0x4104, &ExtComm::pktSubtypeNonTransIpv4AddressString, "subtype=4"},
        {0x4204, &ExtComm::pktSubtypeNonTransFourOctetAsString,
         "extCommPktSubtypeNonTransFourOctetAsGeneric"},
        {0x4301, &ExtComm::pktSubtypeNonTransOpaqueString,
         "extCommPktSubtypeNonTransCostCommunity"},
    };
    for (auto const& row : rows) {
        auto const community = make(Layout::subtyped, row.community << 48);
        EXPECT_EQ(((*community).*row.operation)(), row.name);
        std::ostringstream subtype;
        community->formatSubtype(subtype);
        EXPECT_EQ(subtype.str(), row.name) << "dispatched to another family";
    }
}

/// The policy text by its rules, spelled out once more in the plainest way.
std::string expectedPolicyText(Layout layout, U64 community, U32 flags) {
    auto const octet = [&](int i) {
        return static_cast<unsigned>(community >> (56 - 8 * i)) & 255;
    };
    auto const number = [&](int from, int to) {
        U64 result = 0;
        for (int i = from; i <= to; ++i) {
            result = result << 8 | octet(i);
        }
        return result;
    };
    bool const typed = (flags & 0x0c) == 0x0c;
    char prefix[64] = "";
    char const* const suffix = layout == Layout::twoOctetAs    ? "-AS"
                               : layout == Layout::fourOctetAs ? "-AS4"
                               : layout == Layout::ipv4        ? "-IP"
                                                               : "";
    if (typed) {
        std::snprintf(prefix, sizeof prefix, "%02x%02x%s%s:", octet(0) & 0xbfU, octet(1), suffix,
                      (octet(0) & 0x40) != 0 ? "(NT)" : "");
    }
    char body[64] = "";
    if (layout == Layout::ipv4) {
        std::snprintf(body, sizeof body, "%u.%u.%u.%u:%u", octet(2), octet(3), octet(4), octet(5),
                      static_cast<unsigned>(number(6, 7)));
    } else if (layout == Layout::plain || layout == Layout::subtyped) {
        if (typed) {
            std::snprintf(body, sizeof body, "0x%02x 0x%02x 0x%02x 0x%02x 0x%02x 0x%02x", octet(2),
                          octet(3), octet(4), octet(5), octet(6), octet(7));
        }
    } else {
        bool const four = layout == Layout::fourOctetAs;
        auto const as = number(2, four ? 5 : 3);
        auto const local = number(four ? 6 : 4, 7);
        std::string text;
        if (four && (flags & 0x22) == 0x02) {
            text = std::to_string(as) + "L";
        } else if ((flags & 0x20) != 0 && as > 65535) {
            text = std::to_string(as >> 16) + "." + std::to_string(as & 65535);
        } else {
            text = std::to_string(as);
        }
        std::snprintf(body, sizeof body, "%s:%s", text.c_str(), std::to_string(local).c_str());
    }
    return std::string(prefix) + body;
}

TEST(ExtCommText, PolicyFormsUnderEveryFlagWordOnEveryLayout) {
    U64 const values[] = {0x0002006400000000, 0x000200640000000a, 0x0202000100000005,
                          0x42040000006400ff, 0x01020a0102030007, 0x4102ffffffffffff,
                          0x430500000000002a, 0x0306000000000001, 0xffffffffffffffff,
                          0x0000000000000000, 0x0202006400000001, 0x4002fffffffffffe};
    for (auto const layout :
         {Layout::plain, Layout::subtyped, Layout::twoOctetAs, Layout::fourOctetAs, Layout::ipv4}) {
        for (auto const value : values) {
            auto const community = make(layout, value);
            for (U32 flags = 0; flags <= 0x7f; ++flags) {
                ASSERT_EQ(community->toStrepForPolicy(Format(flags)).str(),
                          expectedPolicyText(layout, value, flags))
                    << std::hex << value << " under " << flags;
            }
        }
    }
}

TEST(ExtCommText, WorkedPolicyForms) {
    EXPECT_EQ(make(Layout::plain, 0x430500000000002a)->toStrepForPolicy(Format(0x0c)),
              "0305(NT):0x00 0x00 0x00 0x00 0x00 0x2a");
    EXPECT_TRUE(make(Layout::plain, 0x0306000000000001)->toStrepForPolicy(Format(0x01)).empty());
    EXPECT_EQ(make(Layout::twoOctetAs, 0x000200640000000a)->toStrepForPolicy(Format(0x0c)),
              "0002-AS:100:10");
    auto const four = make(Layout::fourOctetAs, 0x020200010000000a);
    EXPECT_EQ(four->toStrepForPolicy(Format(0x02)), "65536L:10");
    EXPECT_EQ(four->toStrepForPolicy(Format(0x20)), "1.0:10");
    EXPECT_EQ(make(Layout::fourOctetAs, 0x0202000000640000)->toStrepForPolicy(Format(0x02)),
              "100L:0");
    EXPECT_EQ(make(Layout::twoOctetAs, 0x4004fde800000001)->toStrepForPolicy(Format(0x0c)),
              "0004-AS(NT):65000:1");
    EXPECT_EQ(make(Layout::ipv4, 0x01020a0102030007)->toStrepForPolicy(Format(0x0c)),
              "0102-IP:10.1.2.3:7");
}

TEST(ExtCommText, StreamsKeepTheirState) {
    std::ostringstream os;
    os << std::showbase << std::hex << std::uppercase << std::setfill('#') << std::setprecision(2);
    auto const flags = os.flags();
    os << std::setw(30) << *make(Layout::twoOctetAs, 0x000200ab0000000c);
    EXPECT_EQ(os.str(),
              "<extCommPktTypeTransTwoOctetAs extCommPktSubtypeTransTwoOctetAsRouteTarget ASN=171 "
              "0X000200AB0000000C>");
    EXPECT_EQ(os.flags(), flags);
    EXPECT_EQ(os.width(), 30);
    EXPECT_EQ(os.fill(), '#');
    EXPECT_EQ(os.precision(), 2);

    /// A kind from outside that leaves the stream in a mess.
    class Messy : public ExtComm {
      public:
        using ExtComm::ExtComm;
        void formatDerivedType(std::ostream& out) const override {
            out << std::oct << std::setfill('0') << std::setw(5) << 8;
        }
    };
    std::ostringstream plain;
    plain << Mox::makeCounted<Messy>(extCommClassificationUnSpecified, ExtCommContent()).get()
          << ' ' << 8 << ' ' << static_cast<ExtComm const*>(nullptr);
    EXPECT_EQ(plain.str(), "00010 8 NULL");
}

// ---- StrepFormat --------------------------------------------------------------------------------

TEST(StrepFormat, EveryWordReadsBackFromItsText) {
    EXPECT_EQ(valueToStrep(Format(0x15)),
              "Value('Routing::Bgp::ExtComm::StrepFormat', ** {'strepFormatDefault': True, "
              "'strepFormatQualifier': False, 'strepFormatClassification': True, "
              "'strepFormatUI': False, 'strepFormatJson': True, 'strepFormatAsdot': False, "
              "'strepFormatLinkBwWeighted': False})");
    for (U32 word = 0; word <= 0x7f; ++word) {
        std::ostringstream os;
        os << Format(word);
        EXPECT_EQ(strepToValue<Format>(os.str()), Format(word));
    }
    try {
        Format const format(0x80);
        FAIL();
    } catch (Mox::RangeException const& error) {
        EXPECT_STREQ(error.what(), "StrepFormat::value > 0x7f not allowed");
    }
}

TEST(StrepFormat, AnyOtherTextThrowsWithItsOffset) {
    auto const text = valueToStrep(Format(0x2a)).str();
    for (std::size_t i = 0; i < text.size(); ++i) {
        auto damaged = text;
        damaged[i] = damaged[i] == '~' ? '!' : '~';
        try {
            strepToValue<Format>(damaged);
            FAIL() << damaged;
        } catch (Mox::ParseException const& error) {
            EXPECT_LE(error.offset(), i) << damaged;
        }
        EXPECT_THROW(strepToValue<Format>(text.substr(0, i)), Mox::ParseException);
    }
    try {
        strepToValue<Format>(text + " ");
        FAIL();
    } catch (Mox::ParseException const& error) {
        EXPECT_EQ(error.offset(), text.size());
        EXPECT_EQ(error.expected(), "the end of the text");
    }
    // Read from the middle of a longer text, the place moves behind the value.
    String const longer("xx" + text + "yy");
    auto it = longer.begin() + 2;
    EXPECT_EQ(Format(it, longer.end()), Format(0x2a));
    EXPECT_EQ(it.offset(), text.size() + 2);
}

// ---- The table ----------------------------------------------------------------------------------

class ExtCommTable : public testing::TestWithParam<bool> {
    PointerMode const mode_{GetParam()};

  protected:
    /// Interns an object that was built by hand.
    ExtComm::PtrConst intern(ExtComm::Ptr const& object) {
        return Mox::staticPtrCast<ExtComm const>(table->dedupHashTable()->dedup(object));
    }
    /// With a rule that no plug-in has taught anything.
    ExtCommDedupTable::Ptr table = extCommDedupTableFactory(bgpParseExtendedCommunityRuleFactory(
        BgpParseExtCommControl(bgpParseExtCommRuleCollectionsFactory())));
};
INSTANTIATE_TEST_SUITE_P(Mode, ExtCommTable, bothPointerModes(), pointerModeName);

TEST_P(ExtCommTable, EqualContentsAreOneObjectWhateverTheirClassification) {
    ExtCommContent const content(0x0306000000000001);
    auto first = intern(make(Layout::subtyped, content.community(), extCommClassificationColor));
    EXPECT_EQ(ExtComm::dedupContent(table.get(), content), first);
    EXPECT_EQ(intern(make(Layout::plain, content.community())), first);
    EXPECT_EQ(first->classification(), extCommClassificationColor) << "the first one's";
    EXPECT_EQ(ExtComm::fromDedupHandle(first.get()), first.get());
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
    EXPECT_EQ(kept->rts(), 0U) << "a table that goes empties its list, whatever is still held";
    EXPECT_EQ(rt->toStrepForPolicy(Format(1)), "65000:101");
}

TEST_P(ExtCommTable, AListThatThrowsLeavesNeitherCommunityNorRouteTarget) {
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

TEST_P(ExtCommTable, DumpsItsMembersAsTheyShow) {
    auto const held = ExtComm::dedupContent(table.get(), ExtCommContent(0x0506000000000001));
    auto const context = Mox::makeCounted<Kel::StringDumpContext>();
    table->dumpState(context, 1);
    EXPECT_NE(context->text().find("\n   <extCommPktTypeTransCosCapability 0x0506000000000001> "
                                   "references 1\n"),
              std::string::npos)
        << context->text();
}

TEST(ExtCommReflection, AttributesReadAsText) {
    auto const community = make(Layout::fourOctetAs, 0x42040001000000ff);
    auto const& type = community->fwkType();
    EXPECT_EQ(&type, Mox::TypeRegistry::type("Routing::Bgp::ExtCommAsNumber"));
    auto const text = [&](char const* name) {
        auto const* const attribute = type.attribute(name);
        return attribute == nullptr ? std::string("none")
                                    : type.attributeText(*attribute, *community).str();
    };
    EXPECT_EQ(text("classification"), "extCommClassificationUnSpecified");
    EXPECT_EQ(text("getContent"), "4756927110705053951");
    EXPECT_EQ(text("transitiveFlag"), "False");
    EXPECT_EQ(text("isLinkBandwidth"), "False");
    EXPECT_EQ(text("subtypeOctet"), "4");
    EXPECT_EQ(text("pktSubtype"), "4");
    EXPECT_EQ(text("localAdmin2Octets"), "255");
    EXPECT_EQ(text("localAdmin4Octets"), "255");
    EXPECT_EQ(text("asNumber"), "65536");
    EXPECT_EQ(text("address"), "none");
}

TEST(ExtCommDeathTest, SubtypeNamesAreAskedOfTheRightFamily) {
    auto const evpn = make(Layout::subtyped, 0x0600000000000000);
    EXPECT_DEATH((void)evpn->pktSubtypeTransTwoOctetAsString(),
                 "^VoBgpCommunity.cpp:[0-9]+: pktSubtypeTransTwoOctetAsString: Assertion "
                 "'extCommPktTypeTransTwoOctetAs_ == pktType\\(\\)' failed\\.");
    auto const plain = make(Layout::plain, 0x0600000000000000);
    EXPECT_DEATH((void)plain->pktSubtypeEvpnString(),
                 "pktSubtypeEvpnString: Assertion '!pktSubtype\\(\\).isUnspecified\\(\\)' failed");
}

} // namespace
