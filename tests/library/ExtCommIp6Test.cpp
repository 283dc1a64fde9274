#include "support/Expectations.h"
#include "support/PointerMode.h"

#include <VoBgp/ExtCommIp6.h>
#include <VoBgp/ExtCommIp6DedupTable.h>
#include <VoBgp/Parse/ExtComm.h>

#include <Mox/Exception.h>

#include <algorithm>
#include <sstream>
#include <string>
#include <utility>

#include <gtest/gtest.h>

namespace Routing::Bgp {
namespace {

using namespace std::string_literals;

ExtCommIp6Content content(U8 type, U8 subtype, char const* addr, U16 localAdmin) {
    return {type, subtype, Mox::strepToValue<Lumo::Ip6Addr>(addr), localAdmin};
}

ExtCommIp6Content const ip6Target = content(0x00, 0x02, "2001:db8::1", 100);

// ---- The content --------------------------------------------------------------------------------

TEST(ExtCommIp6ContentTest, HashIsTheMixOfTheOctetsWithTheLocalAdministratorLowOctetFirst) {
    std::pair<ExtCommIp6Content, U32> const cases[] = {
        {{}, 0},
        {ip6Target, 0x96c28a85},
        {content(0x00, 0x02, "2001:db8::1", 0x0102), 0x041a4f0a},
        {content(0x00, 0x02, "2001:db8::1", 0x0201), 0xbcd7417d},
        {content(0x40, 0x12, "ff02::fb", 0xffff), 0x74be2845},
    };
    for (auto const& [hashed, hash] : cases) {
        EXPECT_EQ(hashed.hash(), hash) << hashed;
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
    EXPECT_EQ(valueToStrep(ip6Target), "type=\0;subtype=\x02;addr=2001:db8::1;localAdmin=100"s);
    for (unsigned octet = 0; octet < 256; ++octet) {
        auto const type = static_cast<U8>(octet);
        expectReadsBack(content(type, static_cast<U8>(~type), "::ffff:192.0.2.1", type));
    }
}

TEST(ExtCommIp6ContentTest, TextHasOneCharacterForEachOctet) {
    std::pair<char const*, char const*> const cases[] = {
        {"type=", "expected an octet at offset 5"},
        {"type=A;subtype=", "expected an octet at offset 15"},
        {"type=64;subtype=2;addr=::;localAdmin=0", "expected \";subtype=\" at offset 6"},
    };
    for (auto const& [text, error] : cases) {
        EXPECT_EQ(
            errorOf<Mox::ParseException>([text = text] { strepToValue<ExtCommIp6Content>(text); }),
            error);
    }
}

// ---- The object's texts -------------------------------------------------------------------------

ExtCommIp6::Ptr object(bool subtyped, ExtCommIp6Content const& content) {
    return subtyped ? Mox::makeActive<ExtCommIp6Subtyped>(extCommClassificationUnSpecified, content)
                    : extCommIp6Factory(extCommClassificationUnSpecified, content);
}

TEST(ExtCommIp6Test, Texts) {
    struct {
        bool subtyped;
        ExtCommIp6Content content;
        char const* show;
        char const* subtype;
        // The policy text includes the type only if both the classification and user interface
        // flags are set.
        char const* type;
        char const* policy;
    } const rows[] = {
        {false, ip6Target, "<extCommIp6PktTypeTransIpv6Address addr=2001:db8::1 localAdmin=100>",
         "unspecified", "0002-IP6:", "2001:db8::1:100"},
        {true, ip6Target,
         "<extCommIp6PktTypeTransIpv6Address extCommIp6PktSubtypeRouteTarget addr=2001:db8::1 "
         "localAdmin=100>",
         "extCommIp6PktSubtypeRouteTarget", "0002-IP6:", "2001:db8::1:100"},
        {true, content(0x00, 0x05, "::", 0),
         "<extCommIp6PktTypeTransIpv6Address subtype=5 addr=:: localAdmin=0>", "subtype=5",
         "0005-IP6:", ":::0"},
        {true, content(0x40, 0x02, "2001:db8::1", 100),
         "<extCommIp6PktTypeNonTransIpv6Address subtype=2 addr=2001:db8::1 localAdmin=100>",
         "subtype=2", "0002-IP6(NT):", "2001:db8::1:100"},
        {false, content(0x01, 0x02, "::1", 65535),
         "<extCommIp6PktTypeUnknown addr=::1 localAdmin=65535>", "unspecified",
         "0102-IP6:", "::1:65535"},
        {true, content(0xc1, 0xff, "::1", 1),
         "<extCommIp6PktTypeUnknown none addr=::1 localAdmin=1>", "none", "81ff-IP6(NT):", "::1:1"},
    };
    for (auto const& row : rows) {
        auto const community = object(row.subtyped, row.content);
        EXPECT_EQ(community->toStrep(), row.show);
        std::ostringstream subtype;
        community->formatSubtype(subtype);
        EXPECT_EQ(subtype.str(), row.subtype);
        if (row.subtyped && community->pktType() != extCommIp6PktTypeUnknown) {
            EXPECT_EQ(community->transitive() ? community->pktSubtypeTransIpv6AddressAsString()
                                              : community->pktSubtypeNonTransIpv6AddressAsString(),
                      row.subtype);
        }
        for (U32 flags = 0; flags <= ExtCommIp6::StrepFormat::maximum; ++flags) {
            EXPECT_EQ(community->toStrepForPolicy(ExtCommIp6::StrepFormat(flags)),
                      std::string((flags & 0x0c) == 0x0c ? row.type : "") + row.policy);
        }
    }
}

TEST(ExtCommIp6Test, TextIgnoresAndKeepsStreamFlagsAndLocale) {
    OddStream os(std::ios_base::uppercase);
    os << object(false, ip6Target).get() << static_cast<ExtCommIp6 const*>(nullptr);
    EXPECT_EQ(os.str(), "<extCommIp6PktTypeTransIpv6Address addr=2001:db8::1 localAdmin=100>NULL");
}

TEST(ExtCommIp6DeathTest, SubtypeNamesOfAnotherTypeAssert) {
    auto const base = object(false, ip6Target);
    auto const nonTransitive = object(true, content(0x40, 0x02, "::", 0));
    expectAssertions({{"Assertion '!pktSubtype().isUnspecified()' failed",
                       [&] { base->pktSubtypeTransIpv6AddressAsString(); }},
                      {"Assertion 'extCommIp6PktTypeTransIpv6Address_ == pktType()' failed",
                       [&] { nonTransitive->pktSubtypeTransIpv6AddressAsString(); }}});
}

// ---- StrepFormat --------------------------------------------------------------------------------

TEST(ExtCommIp6StrepFormatTest, ReadsAndWritesFlags) {
    EXPECT_EQ(valueToStrep(ExtCommIp6::StrepFormat(0x11)),
              "Value('Routing::Bgp::ExtCommIp6::StrepFormat', ** {'strepFormatDefault': True, "
              "'strepFormatQualifier': False, 'strepFormatClassification': False, "
              "'strepFormatUI': False, 'strepFormatAsdot': True, "
              "'strepFormatLinkBwWeighted': False})");
    EXPECT_EQ(errorOf<Mox::RangeException>([] { ExtCommIp6::StrepFormat const format(0x40); }),
              "StrepFormat::value > 0x3f not allowed");
}

// ---- Interning ----------------------------------------------------------------------------------

class ExtCommIp6InternTest : public testing::TestWithParam<bool> {
  protected:
    /// Interns an object as after a miss, without calling a rule.
    ExtCommIp6::PtrConst intern(ExtCommIp6::Ptr const& object) {
        return Mox::staticPtrCast<ExtCommIp6 const>(table_->dedupHashTable()->dedup(object));
    }

    PointerMode const mode_{GetParam()};
    ExtCommIp6DedupTable::Ptr const table_ =
        extCommIp6DedupTableFactory(bgpParseExtCommContainerSmFactory()->extCommParser());
};

INSTANTIATE_TEST_SUITE_P(Modes, ExtCommIp6InternTest, bothPointerModes(), pointerModeName);

TEST_P(ExtCommIp6InternTest, TheFirstObjectIsInternedAndHitsCallNoRule) {
    auto first = intern(extCommIp6Factory(extCommClassificationRouteTarget, ip6Target));
    EXPECT_EQ(intern(object(true, ip6Target)), first) << "whatever its class";
    EXPECT_EQ(ExtCommIp6::dedupContent(table_.get(), ip6Target), first);
    EXPECT_EQ(table_->dedupHashTable()->isThreadSafe(), GetParam());
    first = nullptr;
    EXPECT_EQ(table_->dedupHashTable()->size(), 0U);
}

TEST_P(ExtCommIp6InternTest, ContentsThatDifferInOneFieldAreDifferentObjects) {
    auto const held = intern(object(false, ip6Target));
    for (auto const& c :
         {content(0x40, 0x02, "2001:db8::1", 100), content(0x00, 0x03, "2001:db8::1", 100),
          content(0x00, 0x02, "2001:db8::2", 100), content(0x00, 0x02, "2001:db8::1", 101)}) {
        auto const other = intern(object(false, c));
        EXPECT_EQ(other->getContent(), c);
        EXPECT_NE(c.placementHash(), ip6Target.placementHash());
        EXPECT_FALSE(held->compare(other.get())) << c;
        EXPECT_FALSE(held->compareByContent(Kel::DedupContentHandle(c))) << c;
    }
}

TEST_P(ExtCommIp6InternTest, MissesCallTheRuleAndSetTheSubtypeOfAKnownType) {
    std::pair<ExtCommIp6Content, BgpExtCommPktSubtype> const cases[] = {
        {ip6Target, BgpExtCommPktSubtype(0x02)},
        {content(0x40, 0x02, "2001:db8::1", 100), BgpExtCommPktSubtype(0x02)},
        {content(0x01, 0x02, "2001:db8::1", 100), {}},
    };
    auto const container = bgpParseExtCommContainerSmFactory();
    auto const table = extCommIp6DedupTableFactory(container->extCommParser());
    for (auto const& [wanted, subtype] : cases) {
        auto const interned = ExtCommIp6::dedupContent(table.get(), wanted);
        EXPECT_EQ(interned->getContent(), wanted);
        EXPECT_EQ(interned->pktSubtype(), subtype) << *interned;
        EXPECT_EQ(interned->classification(), extCommClassificationUnSpecified);
    }
    EXPECT_EQ(table->dedupHashTable()->size(), 0U);
}

} // namespace
} // namespace Routing::Bgp
