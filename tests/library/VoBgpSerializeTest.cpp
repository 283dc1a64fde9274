#include "support/Allocations.h"
#include "support/Expectations.h"

#include <VoBgp/VoBgpSerialize.h>

#include <gtest/gtest.h>

#include <new>
#include <string>

namespace {

using namespace Routing::Bgp;

std::string octets(std::initializer_list<int> values) {
    std::string result;
    for (int const value : values) {
        result.push_back(static_cast<char>(value));
    }
    return result;
}

// ---- Serialize ----------------------------------------------------------------------------------

TEST(Serialize, WritesNetworkOrder) {
    Serialize out;
    out.addU8(0x01);
    out.addU16hton(0x0203);
    out.addU32hton(0x84050607);
    out.addU64hton(0x88090a0b0c0d0e0f);
    Lumo::Ip6Addr::Octets address{0x20, 0x01, 0x0d, 0xb8};
    address[15] = 0xff;
    out.addIpv6Addr(Lumo::Ip6Addr(address));
    EXPECT_EQ(out.serializedString(0),
              octets({1, 2,  3,    0x84, 5, 6, 7, 0x88, 9, 10, 11, 12, 13, 14, 15,  0x20,
                      1, 13, 0xb8, 0,    0, 0, 0, 0,    0, 0,  0,  0,  0,  0,  0xff}));
    EXPECT_EQ(out.serializedString(30), octets({0xff}));
    EXPECT_TRUE(out.serializedString(31).empty());
    expectAssertions(
        {{"Assertion 'fromOffset <= size_' failed", [&] { (void)out.serializedString(32); }},
         {"Assertion 'size <= capacity_' failed", [&] { out.sizeIs(4097); }}});
}

TEST(Serialize, KeepsItsOctetsOnGrowth) {
    // Integers that cross the end of the inline buffer, at every offset.
    for (unsigned before = 4088; before <= 4097; ++before) {
        Serialize out;
        std::string expected;
        for (unsigned i = 0; i < before; ++i) {
            out.addU8(static_cast<U8>(i));
            expected.push_back(static_cast<char>(i));
        }
        for (unsigned i = 0; i < 20'000; ++i) {
            out.addU64hton(0x0101010101010101U * (i & 0xff));
            expected.append(8, static_cast<char>(i));
        }
        ASSERT_EQ(out.serializedString(0), expected);
    }
}

TEST(Serialize, IsUnchangedIfAllocationFails) {
    Serialize out;
    for (unsigned i = 0; i < 1024; ++i) {
        out.addU32hton(i);
    }
    {
        FailingAllocations const failing(0);
        EXPECT_THROW(out.addU8(1), std::bad_alloc);
        EXPECT_THROW(out.growBuffer(4097), std::bad_alloc);
    }
    EXPECT_EQ(out.size(), 4096U);
    EXPECT_EQ(out.capacity(), 4096U);
    EXPECT_EQ(out.serializedString(4092), octets({0, 0, 3, 0xff}));
}

// ---- Path attributes ----------------------------------------------------------------------------

TEST(SerializePathAttribute, ChoosesTheHeaderByLength) {
    struct {
        U32 flags;
        U32 size;
        std::string header;
    } const rows[] = {
        {0xc0, 0, octets({0xc0, 8, 0})},
        {0xc0, 255, octets({0xc0, 8, 255})},
        {0xc0, 256, octets({0xd0, 8, 1, 0})},
        {0xc0, 65535, octets({0xd0, 8, 255, 255})},
    };
    // Reused repeatedly, with its buffer grown in between.
    SerializePathAttribute again(BgpPathAttrType::origin, BgpPathAttrFlag::transitive, 1);
    for (auto const& row : rows) {
        auto const flags = static_cast<BgpPathAttrFlag>(row.flags);
        SerializePathAttribute fresh(BgpPathAttrType::community, flags, row.size);
        again.clearAndReInit(BgpPathAttrType::community, flags, row.size);
        SerializePathAttributeAutoExtLen patched;
        auto const capacity = fresh.capacity();
        for (U32 i = 0; i < row.size; ++i) {
            fresh.addU8(7);
            again.addU8(7);
            patched.addU8(7);
        }
        EXPECT_EQ(fresh.capacity(), capacity) << "capacity was reserved at the start";
        EXPECT_EQ(fresh.headerSize(), row.header.size());
        EXPECT_EQ(fresh.attrSize(), row.size);
        std::string const value(row.size, 7);
        EXPECT_EQ(fresh.serializedString(), row.header + value);
        EXPECT_EQ(again.serializedString(), row.header + value);
        // Twice: the first run allocates everything.
        for (int i = 0; i < 2; ++i) {
            EXPECT_EQ(patched.patchHdrAndStringify(BgpPathAttrType::community, flags),
                      row.header + value);
        }
        EXPECT_EQ(patched.serializeAttributeValue(), value);
        EXPECT_EQ(patched.size(), row.size + 4);
    }
}

TEST(SerializePathAttributeAutoExtLen, TruncatesTheLengthToSixteenBits) {
    SerializePathAttributeAutoExtLen out;
    for (U32 i = 0; i < 65536; ++i) {
        out.addU8(7);
    }
    EXPECT_EQ(out.patchHdrAndStringify(BgpPathAttrType::prefixSid, BgpPathAttrFlag::opt),
              octets({0x80, 40, 0}) + std::string(65536, 7));
}

TEST(SerializePathAttribute, AssertsItsArguments) {
    auto const attribute = [](U32 type, U32 flags, U32 size, U32 written = 0) {
        SerializePathAttribute out(static_cast<BgpPathAttrType>(type),
                                   static_cast<BgpPathAttrFlag>(flags), size);
        for (U32 i = 0; i < written; ++i) {
            out.addU8(0);
        }
        (void)out.serializedString();
    };
    auto const* const size = "VoBgpSerialize.cpp:#: serializedString: Assertion "
                             "'serialized.size() == attrSize_ + headerSize_' failed";
    expectAssertions({
        {"Assertion 'attrType <= 0xFF' failed", [&] { attribute(256, 256, 65536); }},
        {"Assertion 'attrFlags <= 0xFF' failed", [&] { attribute(255, 256, 65536); }},
        {"Assertion 'attrSize <= 0xFFFF' failed", [&] { attribute(255, 255, 65536); }},
        {"Assertion 'attrSize <= 0xFFFF' failed", [&] { attribute(8, 0xc0, 0xffffffff); }},
        {size, [&] { attribute(8, 0xc0, 2, 1); }},
        {size, [&] { attribute(8, 0xc0, 2, 3); }},
    });
}

TEST(SerializedBgpPrefixSidAttribute, StartsWithItsHeader) {
    SerializedBgpPrefixSidAttribute out(labelIndexTlv, 7);
    EXPECT_EQ(out.serializedString(0), octets({1, 0, 7}));
    out.addU8(0xab);
    EXPECT_EQ(out.serializedString(0), octets({1, 0, 7, 0xab}));
    EXPECT_EQ(SerializedBgpPrefixSidAttribute(originatorSrgbTlv, 0x1234).serializedString(0),
              octets({3, 0x12, 0x34}));
}

} // namespace
