#include <Mox/Exception.h>
#include <VoBgp/VoBgpCommunityPacketTypes.h>

#include <gtest/gtest.h>

#include <iomanip>
#include <locale>
#include <set>
#include <sstream>

namespace {

using namespace Routing::Bgp;

/// The octets that an enumeration accepts.
template <class E>
std::set<U32> accepted() {
    std::set<U32> result;
    for (U32 octet = 0; octet < 300; ++octet) {
        if (bgpIsValidEnumMember(static_cast<E>(octet))) {
            result.insert(octet);
        }
    }
    return result;
}

using Octets = std::set<U32>;

TEST(PacketTypes, TheWireMayCarryTheseAndNoOthers) {
    EXPECT_EQ(accepted<BgpExtCommPktType>(),
              (Octets{0x00, 0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0x08, 0x40, 0x41, 0x42, 0x43, 0x44,
                      0x80, 0x81, 0x82}));
    EXPECT_EQ(accepted<BgpExtCommPktSubtypeTransTwoOctetAs>(),
              (Octets{0x02, 0x03, 0x05, 0x08, 0x09, 0x0a, 0x10}));
    EXPECT_EQ(accepted<BgpExtCommPktSubtypeTransIpv4Address>(),
              (Octets{0x02, 0x03, 0x05, 0x07, 0x0a, 0x0b, 0x0c, 0x10}));
    EXPECT_EQ(accepted<BgpExtCommPktSubtypeTransFourOctetAs>(),
              (Octets{0x02, 0x03, 0x04, 0x05, 0x08, 0x09, 0x10}));
    EXPECT_EQ(accepted<BgpExtCommPktSubtypeTransOpaque>(),
              (Octets{0x01, 0x03, 0x06, 0x0b, 0x0c, 0x0d}));
    EXPECT_EQ(accepted<BgpExtCommPktSubtypeEvpn>(),
              (Octets{0, 1, 2, 3, 4, 5, 8, 9, 0x0a, 0x0b, 0x0c}));
    EXPECT_EQ(accepted<BgpExtCommPktSubtypeTransFlowspecRedirectNexthop>(), (Octets{0}));
    EXPECT_EQ(accepted<BgpExtCommPktSubtypeTransGeneric>(), (Octets{6, 7, 8, 9, 0x0a, 0x0b}));
    EXPECT_EQ(accepted<BgpExtCommPktSubtypeTransGenericPart2>(), (Octets{8}));
    EXPECT_EQ(accepted<BgpExtCommPktSubtypeTransGenericPart3>(), (Octets{8}));
    EXPECT_EQ(accepted<BgpExtCommPktSubtypeNonTransTwoOctetAs>(), (Octets{4, 0x80}));
    EXPECT_EQ(accepted<BgpExtCommPktSubtypeNonTransIpv4Address>(), (Octets{}));
    EXPECT_EQ(accepted<BgpExtCommPktSubtypeNonTransFourOctetAs>(), (Octets{4}));
    EXPECT_EQ(accepted<BgpExtCommPktSubtypeNonTransOpaque>(), (Octets{0, 1}));
}

TEST(PacketTypes, NamesAndNumbersOfMembersAndOthers) {
    EXPECT_EQ(stringValue(extCommPktTypeNonTransQosMarking), "extCommPktTypeNonTransQosMarking");
    EXPECT_EQ(valueToStrep(static_cast<BgpExtCommPktType>(7)), "7");
    EXPECT_EQ(stringValue(static_cast<BgpExtCommPktType>(0x100)), "extCommPktTypeUnknown");
    // Two names are spelled unlike their siblings, and stay so.
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
    os << std::setw(60) << extCommPktTypeTransEvpn << static_cast<BgpExtCommPktType>(0x99);
    EXPECT_EQ(os.str(), "extCommPktTypeTransEvpn153");
}

TEST(PacketTypes, EnumerationTextReadsBack) {
    for (U32 number = 0; number < 300; ++number) {
        auto const type = static_cast<BgpExtCommPktType>(number);
        EXPECT_EQ(strepToValue<BgpExtCommPktType>(valueToStrep(type)), type);
    }
    for (char const* text : {"", "extCommPktType", "extCommPktTypeTransEvpnX", "0", "007", "7x",
                             "4294967296", " extCommPktTypeTransEvpn"}) {
        EXPECT_THROW(strepToValue<BgpExtCommPktType>(text), Mox::ParseException) << text;
    }
}

TEST(PacketTypes, SubtypeStrings) {
    EXPECT_EQ(extCommSubtypeString<BgpExtCommPktSubtypeTransTwoOctetAs>(2),
              "extCommPktSubtypeTransTwoOctetAsRouteTarget");
    EXPECT_EQ(extCommSubtypeString<BgpExtCommPktSubtypeTransTwoOctetAs>(0x14), "subtype=20")
        << "a registered member that the wire may not carry";
    EXPECT_EQ(extCommSubtypeString<BgpExtCommPktSubtypeNonTransIpv4Address>(0), "subtype=0");
    EXPECT_EQ(extCommSubtypeString<BgpExtCommPktSubtypeEvpn>(255), "subtype=255");
}

TEST(PacketTypes, TypeStrings) {
    EXPECT_EQ(extCommTypeAsString("", 0x00, 0x02, true), "0002");
    EXPECT_EQ(extCommTypeAsString("", 0x43, 0x00, false), "0300(NT)");
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
    EXPECT_EQ(strepToValue<ExtCommContent>(valueToStrep(content)), content);
}

/// A locale that a naive number formatter would follow.
class Grouping : public std::numpunct<char> {
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\1"; }
};

TEST(ExtCommContent, PrintsItsOctetsWhateverTheStreamIsSetTo) {
    std::ostringstream os;
    os << ExtCommContent(0x000200640000000a) << ' ' << ExtCommContent() << ' ' << std::uppercase
       << ExtCommContent(0xabcd) << std::nouppercase;
    EXPECT_EQ(os.str(), "0x000200640000000a 000000000000000000 0X000000000000ABCD");

    std::ostringstream odd;
    odd.imbue(std::locale(std::locale::classic(), new Grouping));
    odd << std::oct << std::showpos << std::left << std::setfill('*') << std::setprecision(3);
    auto const flags = odd.flags();
    odd << std::setw(40) << ExtCommContent(0xffff);
    EXPECT_EQ(odd.str(), "0x000000000000ffff");
    EXPECT_EQ(odd.flags(), flags);
    EXPECT_EQ(odd.fill(), '*');
    EXPECT_EQ(odd.width(), 40);
    EXPECT_EQ(odd.precision(), 3);
}

} // namespace
