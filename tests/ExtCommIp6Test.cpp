#include "PointerMode.h"

#include <VoBgp/ExtCommIp6.h>
#include <VoBgp/ExtCommIp6DedupTable.h>
#include <VoBgp/Parse/ExtComm.h>

#include <Mox/Exception.h>

#include <algorithm>
#include <functional>
#include <iomanip>
#include <locale>
#include <set>
#include <sstream>
#include <string>

#include <gtest/gtest.h>

namespace Routing::Bgp {
namespace {

using namespace std::string_literals;

ExtCommIp6Content content(U8 type, U8 subtype, char const* addr, U16 localAdmin) {
    return {type, subtype, Mox::strepToValue<Lumo::Ip6Addr>(addr), localAdmin};
}

ExtCommIp6Content const routeTarget = content(0x00, 0x02, "2001:db8::1", 100);

// ---- The content --------------------------------------------------------------------------------

TEST(ExtCommIp6ContentTest, HashIsTheMixOfTheOctetsWithTheLocalAdministratorLowOctetFirst) {
    struct {
        ExtCommIp6Content content;
        U32 hash;
    } const cases[] = {
        {{}, 0},
        {routeTarget, 0x96c28a85},
        {content(0x00, 0x02, "2001:db8::1", 0x0102), 0x041a4f0a},
        {content(0x00, 0x02, "2001:db8::1", 0x0201), 0xbcd7417d},
        {content(0x40, 0x12, "ff02::fb", 0xffff), 0x74be2845},
    };
    for (auto const& c : cases) {
        EXPECT_EQ(c.content.hash(), c.hash) << c.content;
    }
}

TEST(ExtCommIp6ContentTest, OrdersByTypeSubtypeAddressAndLocalAdministrator) {
    ExtCommIp6Content const ordered[] = {
        content(0x00, 0x00, "ffff::", 0xffff),  content(0x00, 0x02, "::", 0x00ff),
        content(0x00, 0x02, "::", 0x0100),      content(0x00, 0x02, "::1", 0),
        content(0x00, 0x02, "0:0:0:8000::", 0), content(0x40, 0x00, "::", 0)};
    EXPECT_TRUE(std::is_sorted(std::begin(ordered), std::end(ordered), std::less_equal<>()));
}

TEST(ExtCommIp6ContentTest, TextHoldsTypeAndSubtypeAsRawCharactersAndReadsBack) {
    EXPECT_EQ(valueToStrep(routeTarget), "type=\0;subtype=\x02;addr=2001:db8::1;localAdmin=100"s);
    for (unsigned octet = 0; octet < 256; ++octet) {
        auto const type = static_cast<U8>(octet);
        auto const written = content(type, static_cast<U8>(~type), "::ffff:192.0.2.1", type);
        EXPECT_EQ(strepToValue<ExtCommIp6Content>(valueToStrep(written)), written);
    }
}

TEST(ExtCommIp6ContentTest, TextHasOneCharacterForEachOctet) {
    struct {
        char const* text;
        char const* error;
    } const cases[] = {
        {"type=", "expected an octet at offset 5"},
        {"type=A;subtype=", "expected an octet at offset 15"},
        {"type=64;subtype=2;addr=::;localAdmin=0", "expected \";subtype=\" at offset 6"},
    };
    for (auto const& c : cases) {
        try {
            strepToValue<ExtCommIp6Content>(c.text);
            ADD_FAILURE() << c.text;
        } catch (Mox::ParseException const& error) {
            EXPECT_STREQ(error.what(), c.error);
        }
    }
}

// ---- Types and subtypes -------------------------------------------------------------------------

template <class E>
std::set<unsigned> validNumbers() {
    std::set<unsigned> numbers;
    for (unsigned number = 0; number <= 0x200; ++number) {
        if (bgpIsValidEnumMember(static_cast<E>(number))) {
            numbers.insert(number);
        }
    }
    return numbers;
}

TEST(ExtCommIp6PktTypeTest, OnlyNamedOctetsAreValidAndUnknownNever) {
    EXPECT_EQ(validNumbers<BgpExtCommIp6PktType>(), (std::set<unsigned>{0x00, 0x40}));
    EXPECT_EQ(validNumbers<BgpExtCommIp6PktSubtypeTransIpv6Address>(),
              (std::set<unsigned>{0x02, 0x03, 0x04, 0x0b, 0x0c, 0x10, 0x11, 0x12}));
    EXPECT_TRUE(validNumbers<BgpExtCommIp6PktSubtypeNonTransIpv6Address>().empty());
}

// ---- The object's texts -------------------------------------------------------------------------

struct TextCase {
    char const* name;
    bool subtyped;
    ExtCommIp6Content content;
    char const* show;
    char const* subtype;
    char const* policy;
};

TextCase const textCases[] = {
    {"PlainRouteTarget", false, routeTarget,
     "<extCommIp6PktTypeTransIpv6Address addr=2001:db8::1 localAdmin=100>", "unspecified",
     "0002-IP6:2001:db8::1:100"},
    {"RouteTarget", true, routeTarget,
     "<extCommIp6PktTypeTransIpv6Address extCommIp6PktSubtypeRouteTarget addr=2001:db8::1 "
     "localAdmin=100>",
     "extCommIp6PktSubtypeRouteTarget", "0002-IP6:2001:db8::1:100"},
    {"SubtypeWithoutName", true, content(0x00, 0x05, "::", 0),
     "<extCommIp6PktTypeTransIpv6Address subtype=5 addr=:: localAdmin=0>", "subtype=5",
     "0005-IP6::::0"},
    {"NonTransitiveRouteTargetHasNoName", true, content(0x40, 0x02, "2001:db8::1", 100),
     "<extCommIp6PktTypeNonTransIpv6Address subtype=2 addr=2001:db8::1 localAdmin=100>",
     "subtype=2", "0002-IP6(NT):2001:db8::1:100"},
    {"UnknownType", false, content(0x01, 0x02, "::1", 65535),
     "<extCommIp6PktTypeUnknown addr=::1 localAdmin=65535>", "unspecified", "0102-IP6:::1:65535"},
    {"UnknownTypeSubtyped", true, content(0xc1, 0xff, "::1", 1),
     "<extCommIp6PktTypeUnknown none addr=::1 localAdmin=1>", "none", "81ff-IP6(NT):::1:1"},
};

class ExtCommIp6TextTest : public testing::TestWithParam<TextCase> {
  protected:
    ExtCommIp6::Ptr object() const {
        auto const& c = GetParam();
        return c.subtyped ? Mox::makeActive<ExtCommIp6Subtyped>(extCommClassificationUnSpecified,
                                                                c.content)
                          : extCommIp6Factory(extCommClassificationUnSpecified, c.content);
    }
};

INSTANTIATE_TEST_SUITE_P(Communities, ExtCommIp6TextTest, testing::ValuesIn(textCases),
                         [](auto const& row) { return row.param.name; });

TEST_P(ExtCommIp6TextTest, ShowsTypeSubtypeAndFields) {
    EXPECT_EQ(object()->toStrep(), GetParam().show);
    std::ostringstream subtype;
    object()->formatSubtype(subtype);
    EXPECT_EQ(subtype.str(), GetParam().subtype);
}

TEST_P(ExtCommIp6TextTest, PolicyTextHasTheTypeOnlyForClassificationAndUiTogether) {
    std::string const tagged = GetParam().policy;
    auto const plain = tagged.substr(tagged.find(':') + 1);
    for (U32 flags = 0; flags <= ExtCommIp6::StrepFormat::maximum; ++flags) {
        EXPECT_EQ(object()->toStrepForPolicy(ExtCommIp6::StrepFormat(flags)),
                  (flags & 0x0c) == 0x0c ? tagged : plain)
            << flags;
    }
}

struct ThousandsOfDots : std::numpunct<char> {
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\1"; }
};

TEST(ExtCommIp6Test, TextKnowsNothingOfTheStreamsFlagsAndLocaleAndLeavesThem) {
    auto const object = extCommIp6Factory(extCommClassificationUnSpecified, routeTarget);
    std::ostringstream os;
    os.imbue(std::locale(os.getloc(), new ThousandsOfDots));
    os << std::hex << std::showbase << std::uppercase << std::setfill('*') << std::setw(90);
    os << object.get() << static_cast<ExtCommIp6 const*>(nullptr);
    EXPECT_EQ(os.str(), "<extCommIp6PktTypeTransIpv6Address addr=2001:db8::1 localAdmin=100>NULL");
    EXPECT_EQ(os.width(), 90);
    EXPECT_EQ(os.fill(), '*');
    EXPECT_EQ(os.flags() & std::ios::basefield, std::ios::hex);
}

TEST(ExtCommIp6DeathTest, SubtypeNamesAreAskedOfTheirTypeAndOfSubtypedObjects) {
    auto const base = extCommIp6Factory(extCommClassificationUnSpecified, routeTarget);
    auto const nonTransitive = Mox::makeActive<ExtCommIp6Subtyped>(extCommClassificationUnSpecified,
                                                                   content(0x40, 0x02, "::", 0));
    EXPECT_DEATH(base->pktSubtypeTransIpv6AddressAsString(),
                 "Assertion '!pktSubtype\\(\\)\\.isUnspecified\\(\\)' failed");
    EXPECT_DEATH(nonTransitive->pktSubtypeTransIpv6AddressAsString(),
                 "Assertion 'extCommIp6PktTypeTransIpv6Address_ == pktType\\(\\)' failed");
}

// ---- StrepFormat --------------------------------------------------------------------------------

TEST(ExtCommIp6StrepFormatTest, TextReadsBackForEveryWord) {
    EXPECT_EQ(valueToStrep(ExtCommIp6::StrepFormat(0x11)),
              "Value('Routing::Bgp::ExtCommIp6::StrepFormat', ** {'strepFormatDefault': True, "
              "'strepFormatQualifier': False, 'strepFormatClassification': False, "
              "'strepFormatUI': False, 'strepFormatAsdot': True, "
              "'strepFormatLinkBwWeighted': False})");
    for (U32 word = 0; word <= 0x3f; ++word) {
        ExtCommIp6::StrepFormat const format(word);
        EXPECT_EQ(strepToValue<ExtCommIp6::StrepFormat>(valueToStrep(format)), format);
    }
    try {
        ExtCommIp6::StrepFormat format(0x40);
        ADD_FAILURE();
    } catch (Mox::RangeException const& error) {
        EXPECT_STREQ(error.what(), "StrepFormat::value > 0x3f not allowed");
    }
}

// ---- Interning ----------------------------------------------------------------------------------

class ExtCommIp6InternTest : public testing::TestWithParam<bool> {
  protected:
    /// Interns an object as the table's user does after a miss, without asking a rule.
    ExtCommIp6::PtrConst intern(ExtCommIp6::Ptr const& object) {
        return Mox::staticPtrCast<ExtCommIp6 const>(table_->dedupHashTable()->dedup(object));
    }

    PointerMode const mode_{GetParam()};
    ExtCommIp6DedupTable::Ptr const table_ = extCommIp6DedupTableFactory(nullptr);
};

INSTANTIATE_TEST_SUITE_P(Modes, ExtCommIp6InternTest, bothPointerModes(), pointerModeName);

TEST_P(ExtCommIp6InternTest, FirstObjectStandsForItsContentWhateverTheClassification) {
    auto const first = intern(extCommIp6Factory(extCommClassificationRouteTarget, routeTarget));
    auto const second =
        intern(Mox::makeActive<ExtCommIp6Subtyped>(extCommClassificationUnSpecified, routeTarget));
    EXPECT_EQ(second, first);
    EXPECT_EQ(second->classification(), extCommClassificationRouteTarget);
}

TEST_P(ExtCommIp6InternTest, ContentsThatDifferInOneFieldAreDifferentObjects) {
    auto const held = intern(extCommIp6Factory(extCommClassificationUnSpecified, routeTarget));
    for (auto const& c :
         {content(0x40, 0x02, "2001:db8::1", 100), content(0x00, 0x03, "2001:db8::1", 100),
          content(0x00, 0x02, "2001:db8::2", 100), content(0x00, 0x02, "2001:db8::1", 101)}) {
        auto const other = intern(extCommIp6Factory(extCommClassificationUnSpecified, c));
        EXPECT_EQ(other->getContent(), c);
        EXPECT_FALSE(held->compare(other.get())) << c;
        EXPECT_FALSE(held->compareByContent(Kel::DedupContentHandle(c))) << c;
    }
}

TEST_P(ExtCommIp6InternTest, HitAsksNoRuleAndLastReferenceLeavesTheTable) {
    auto held = intern(extCommIp6Factory(extCommClassificationUnSpecified, routeTarget));
    EXPECT_EQ(ExtCommIp6::dedupContent(table_.get(), routeTarget), held);
    EXPECT_EQ(table_->dedupHashTable()->isThreadSafe(), GetParam());
    held = nullptr;
    EXPECT_EQ(table_->dedupHashTable()->size(), 0U);
}

TEST_P(ExtCommIp6InternTest, MissAsksTheRuleAndHasTheSubtypeOfAKnownType) {
    struct {
        ExtCommIp6Content content;
        BgpExtCommPktSubtype subtype;
    } const cases[] = {
        {routeTarget, BgpExtCommPktSubtype(0x02)},
        {content(0x40, 0x02, "2001:db8::1", 100), BgpExtCommPktSubtype(0x02)},
        {content(0x01, 0x02, "2001:db8::1", 100), {}},
    };
    auto const container = bgpParseExtCommContainerSmFactory();
    auto const table = extCommIp6DedupTableFactory(container->extCommParser());
    for (auto const& c : cases) {
        auto const interned = ExtCommIp6::dedupContent(table.get(), c.content);
        EXPECT_EQ(interned->getContent(), c.content);
        EXPECT_EQ(interned->pktSubtype(), c.subtype) << *interned;
        EXPECT_EQ(interned->classification(), extCommClassificationUnSpecified);
        EXPECT_EQ(ExtCommIp6::dedupContent(table.get(), c.content), interned);
    }
    EXPECT_EQ(table->dedupHashTable()->size(), 0U);
}

} // namespace
} // namespace Routing::Bgp
