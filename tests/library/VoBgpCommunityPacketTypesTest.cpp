#include "support/Expectations.h"

#include <Mox/EnumerationRegistrations.h>
#include <Mox/Exception.h>
#include <VoBgp/ExtCommIp6.h>
#include <VoBgp/VoBgpCommunityPacketTypes.h>

#include <gtest/gtest.h>

#include <set>
#include <sstream>

namespace Unfinished {
enum Octet : Mox::U32 { octetWithRow = 2, octetWithoutRow = 0x100 };
} // namespace Unfinished

template <>
struct Mox::EnumerationTable<Unfinished::Octet> {
    static constexpr std::string_view qualifiedName = "Unfinished::Octet";
    static constexpr auto rows =
        std::to_array<EnumerationRow<Unfinished::Octet>>({MOX_MEMBER(Unfinished, octetWithRow)});
};

static_assert(!Mox::everyMemberHasARow<Unfinished::Octet>());
static_assert(Mox::everyMemberHasARow<Unfinished::Octet, 0, 0x100>());

namespace {

using namespace Routing::Bgp;

using Octets = std::set<unsigned>;

TEST(PacketTypes, AcceptsOnlyMembersValidOnTheWire) {
    EXPECT_EQ(acceptedBy<BgpExtCommPktType>(),
              (Octets{0x00, 0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0x08, 0x40, 0x41, 0x42, 0x43, 0x44,
                      0x80, 0x81, 0x82}));
    EXPECT_EQ(acceptedBy<BgpExtCommPktSubtypeTransTwoOctetAs>(),
              (Octets{0x02, 0x03, 0x05, 0x08, 0x09, 0x0a, 0x10}));
    EXPECT_EQ(acceptedBy<BgpExtCommPktSubtypeTransIpv4Address>(),
              (Octets{0x02, 0x03, 0x05, 0x07, 0x0a, 0x0b, 0x0c, 0x10}));
    EXPECT_EQ(acceptedBy<BgpExtCommPktSubtypeTransFourOctetAs>(),
              (Octets{0x02, 0x03, 0x04, 0x05, 0x08, 0x09, 0x10}));
    EXPECT_EQ(acceptedBy<BgpExtCommPktSubtypeTransOpaque>(),
              (Octets{0x01, 0x03, 0x06, 0x0b, 0x0c, 0x0d}));
    EXPECT_EQ(acceptedBy<BgpExtCommPktSubtypeEvpn>(),
              (Octets{0, 1, 2, 3, 4, 5, 8, 9, 0x0a, 0x0b, 0x0c}));
    EXPECT_EQ(acceptedBy<BgpExtCommPktSubtypeTransFlowspecRedirectNexthop>(), (Octets{0}));
    EXPECT_EQ(acceptedBy<BgpExtCommPktSubtypeTransGeneric>(), (Octets{6, 7, 8, 9, 0x0a, 0x0b}));
    EXPECT_EQ(acceptedBy<BgpExtCommPktSubtypeTransGenericPart2>(), (Octets{8}));
    EXPECT_EQ(acceptedBy<BgpExtCommPktSubtypeTransGenericPart3>(), (Octets{8}));
    EXPECT_EQ(acceptedBy<BgpExtCommPktSubtypeNonTransTwoOctetAs>(), (Octets{4, 0x80}));
    EXPECT_EQ(acceptedBy<BgpExtCommPktSubtypeNonTransIpv4Address>(), (Octets{}));
    EXPECT_EQ(acceptedBy<BgpExtCommPktSubtypeNonTransFourOctetAs>(), (Octets{4}));
    EXPECT_EQ(acceptedBy<BgpExtCommPktSubtypeNonTransOpaque>(), (Octets{0, 1}));
    EXPECT_EQ(acceptedBy<BgpExtCommIp6PktType>(), (Octets{0x00, 0x40}));
    EXPECT_EQ(acceptedBy<BgpExtCommIp6PktSubtypeTransIpv6Address>(),
              (Octets{0x02, 0x03, 0x04, 0x0b, 0x0c, 0x10, 0x11, 0x12}));
    EXPECT_EQ(acceptedBy<BgpExtCommIp6PktSubtypeNonTransIpv6Address>(), (Octets{}));
}

TEST(PacketTypes, NamesAndNumbersOfMembersAndOthers) {
    EXPECT_EQ(stringValue(extCommPktTypeNonTransQosMarking), "extCommPktTypeNonTransQosMarking");
    EXPECT_EQ(valueToStrep(static_cast<BgpExtCommPktType>(7)), "7");
    EXPECT_EQ(stringValue(static_cast<BgpExtCommPktType>(0x100)), "extCommPktTypeUnknown");
    // These two are spelled unlike their siblings on purpose.
    EXPECT_EQ(stringValue(extCommPktSubtypeTransOpaqeUnknown),
              "extCommPktSubtypeTransOpaqeUnknown");
    EXPECT_EQ(stringValue(extCommPktSubNonTransFourOctetAsUnknown),
              "extCommPktSubNonTransFourOctetAsUnknown");
    EXPECT_EQ(BgpExtCommPktTypeInstance(0x44), extCommPktTypeNonTransQosMarking);
    EXPECT_EQ(ExtCommClassificationInstance("extCommClassificationColor"),
              extCommClassificationColor);
    EXPECT_THROW(BgpExtCommPktTypeInstance(7), Mox::RangeException);
    EXPECT_THROW(BgpExtCommPktTypeInstance("7"), Mox::RangeException);
    std::ostringstream os;
    os << std::setw(25) << extCommPktTypeTransEvpn << static_cast<BgpExtCommPktType>(0x99);
    EXPECT_EQ(os.str(), "  extCommPktTypeTransEvpn153") << "the field is filled once";
}

TEST(PacketTypes, EnumerationTextReadsBack) {
    for (U32 number = 0; number < 300; ++number) {
        expectReadsBack(static_cast<BgpExtCommPktType>(number));
    }
    for (char const* text : {"", "extCommPktType", "extCommPktTypeTransEvpnX", "0", "007", "7x",
                             "4294967296", " extCommPktTypeTransEvpn"}) {
        EXPECT_THROW(strepToValue<BgpExtCommPktType>(text), Mox::ParseException) << text;
    }
}

TEST(PacketTypes, TypesAndSubtypesAsStrings) {
    EXPECT_EQ(extCommSubtypeString<BgpExtCommPktSubtypeTransTwoOctetAs>(0x14), "subtype=20")
        << "a registered member that is not valid on the wire";
    EXPECT_EQ(extCommSubtypeString<BgpExtCommPktSubtypeEvpn>(255), "subtype=255");
    EXPECT_EQ(extCommTypeAsString("", 0x00, 0x02, true), "0002");
    EXPECT_EQ(extCommTypeAsString("-AS", 0x40, 0x04, false), "0004-AS(NT)");
    EXPECT_EQ(extCommTypeAsString("", 0xff, 0xff, true), "bfff");
}

TEST(ExtCommContent, PartsFollowTheWireOrder) {
    ExtCommContent const content(0x4302a1b2c3d4e5f6);
    EXPECT_EQ(content.typeOctet(), 0x43);
    EXPECT_EQ(content.subtypeOctet(), 0x02);
    EXPECT_FALSE(content.transitive());
    EXPECT_TRUE(ExtCommContent(0x8000000000000000).transitive());
    EXPECT_EQ(content.valueOctet(0), 0xa1);
    EXPECT_EQ(content.valueOctet(5), 0xf6);
    EXPECT_EQ(content.pktType(), extCommPktTypeNonTransOpaque);
    EXPECT_EQ(ExtCommContent(0x0700000000000000).pktType(), extCommPktTypeUnknown);
    expectReadsBack(content);
}

TEST(ExtCommContent, PrintsItsOctetsRegardlessOfStreamFlags) {
    std::ostringstream os;
    os << std::showbase << ExtCommContent(0x000200640000000a) << ' ' << ExtCommContent();
    EXPECT_EQ(os.str(), "0x000200640000000a 000000000000000000");
    OddStream odd(std::ios_base::uppercase);
    odd << ExtCommContent(0xabcd);
    EXPECT_EQ(odd.str(), "0X000000000000ABCD");
}

} // namespace
