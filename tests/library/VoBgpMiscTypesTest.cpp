#include "support/Expectations.h"

#include <Mox/Exception.h>
#include <VoBgp/VoBgpCommunityPacketTypes.h>
#include <VoBgp/VoBgpMiscTypes.h>

#include <gtest/gtest.h>

#include <sstream>
#include <string>

namespace {

using namespace Routing::Bgp;

TEST(BgpDenseU32Attr, ViewsShareTheSameBits) {
    BgpDenseU32Attr word;
    word.valueU8Is(1, 0xab);
    EXPECT_EQ(word.value(), 0x0000ab00U);
    EXPECT_EQ(word.valueU16(0), 0xab00);
    EXPECT_EQ(word.valueU8(0), 0);
    std::string set;
    for (U8 i = 0; i < 16; ++i) {
        set += word.valueBool(i) ? '1' : '0';
    }
    EXPECT_EQ(set, "0000000011010101");
    word.valueU16Is(1, 0x1234);
    word.valueBoolIs(8, false);
    EXPECT_EQ(word.value(), 0x1234aa00U);
    word.valueU8Is(3, 0xff);
    EXPECT_EQ(word.value(), 0xff34aa00U);
    word.valueBoolIs(15, true);
    EXPECT_TRUE(word.valueBool(15));
    expectReadsBack(word);
}

TEST(BgpDenseU32Attr, ErrorsNameTheOperation) {
    BgpDenseU32Attr word(0xffffffff);
    BrokenContract const outOfRange[] = {
        {"BgpDenseU32Attr::valueBool", [&] { (void)word.valueBool(16); }},
        {"BgpDenseU32Attr::valueBoolIs", [&] { word.valueBoolIs(16, true); }},
        {"BgpDenseU32Attr::valueU8", [&] { (void)word.valueU8(4); }},
        {"BgpDenseU32Attr::valueU8Is", [&] { word.valueU8Is(255, 0); }},
        {"BgpDenseU32Attr::valueU16", [&] { (void)word.valueU16(2); }},
        {"BgpDenseU32Attr::valueU16Is", [&] { word.valueU16Is(2, 0); }},
    };
    for (auto const& row : outOfRange) {
        EXPECT_EQ(errorOf<Mox::RangeException>(row.call), row.text);
    }
    BrokenContract const notDeletable[] = {
        {"BgpDenseU32Attr::valueBoolDel", [&] { word.valueBoolDel(0); }},
        {"BgpDenseU32Attr::valueU8Del", [&] { word.valueU8Del(99); }},
        {"BgpDenseU32Attr::valueU16Del", [&] { word.valueU16Del(0); }},
    };
    for (auto const& row : notDeletable) {
        EXPECT_EQ(errorOf<Mox::NonDeletableAttributeException>(row.call), row.text);
    }
    EXPECT_EQ(word.value(), 0xffffffffU);
}

TEST(BgpMaybeU63, OutOfRangeValuesBecomeUnspecified) {
    BgpExtCommPktSubtype subtype(255);
    EXPECT_EQ(errorOf<Mox::RangeException>([&] { subtype.valueIs(256); }),
              "value < min or > max not allowed");
    EXPECT_TRUE(subtype.isUnspecified());
    EXPECT_THROW(BgpExtCommPktSubtype(256), Mox::RangeException);
    BgpMaybeU63 base;
    EXPECT_THROW(base.valueIs(0), Mox::RangeException) << "its range is empty on purpose";
    EXPECT_THROW(base.valueIs(1), Mox::RangeException);
    base.valueIs(~U64{0});
    EXPECT_TRUE(base.isUnspecified());
}

TEST(BgpMaybeU63, DisplayTextDiffersFromValueText) {
    BgpExtCommPktSubtype const none;
    BgpExtCommPktSubtype const zero(0);
    EXPECT_EQ(none.toStrep(), "-");
    EXPECT_EQ(zero.toStrep(), "0");
    EXPECT_EQ(none.valueWithUnspecifiedMapped(), 0U);
    EXPECT_EQ(valueToStrep(none), "unspecified");
    std::ostringstream os;
    os << std::hex << BgpExtCommPktSubtype(200);
    EXPECT_EQ(os.str(), "200");
    expectReadsBack(none);
    expectReadsBack(BgpExtCommPktSubtype(200));
    EXPECT_THROW(strepToValue<BgpExtCommPktSubtype>("256"), Mox::RangeException);
    EXPECT_THROW(strepToValue<BgpExtCommPktSubtype>("-"), Mox::ParseException);
    EXPECT_TRUE(strepToValue<BgpMaybeU63>("unspecified").isUnspecified());
    EXPECT_THROW(strepToValue<BgpMaybeU63>("1"), Mox::RangeException);
}

TEST(BgpMaybeU63DeathTest, ReadingAnUnspecifiedValueAsserts) {
    EXPECT_DEATH((void)static_cast<U64>(BgpExtCommPktSubtype()),
                 "VoBgpMiscTypes.cpp:[0-9]+: operator.*: Assertion '!isUnspecified\\(\\) && "
                 "\"Caller must check isUnspecified\\(\\) before getting value\\(\\)\"' failed\\.");
}

} // namespace
