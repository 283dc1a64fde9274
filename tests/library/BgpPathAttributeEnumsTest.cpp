#include "support/Expectations.h"

#include <Mox/Exception.h>
#include <VoBgp/BgpPathAttributeEnums.h>

#include <set>

#include <gtest/gtest.h>

namespace Routing::Bgp {
namespace {

TEST(BgpPathAttrTypeTest, ShowStringsDifferFromNames) {
    struct {
        U32 type;
        char const* show;
        char const* name;
    } const cases[] = {
        {0, "Invalid Path Attribute", "invalidPathAttr"},
        {3, "Nexthop", "nextHop"},
        {6, "Atomic Aggregator", "atomicAggregate"},
        {9, "Originator ID", "originatorId"},
        {10, "Cluster List", "clusterList"},
        {25, "IPv6 Address Specific Extended Community", "extCommunityIp6"},
        {255, "Reserved for Development", "reservedForDevelopment"},
        // Not a member.
        {11, "Invalid attribute", "11"},
        {254, "Invalid attribute", "254"},
        {256, "Invalid attribute", "256"},
    };
    for (auto const& c : cases) {
        auto const type = static_cast<BgpPathAttrType>(c.type);
        EXPECT_EQ(bgpPathAttrTypeShowString(type), c.show);
        EXPECT_EQ(stringValue(type), c.name);
    }
}

TEST(BgpPathAttrFlagTest, Combines) {
    using enum BgpPathAttrFlag;
    EXPECT_EQ(opt | transitive | partial, optionalTransitivePartial);
    EXPECT_EQ(optionalTransitivePartial & partial, partial);
}

TEST(TunnelTypeTest, AcceptsOnlyNamedTypes) {
    EXPECT_EQ(acceptedBy<TunnelType>(), (std::set<unsigned>{1, 2, 7, 8, 9, 10, 11, 12}));
}

TEST(BgpPathAttributeEnumsTest, MembersComeFromNumbersAndNames) {
    EXPECT_EQ(BgpCommunityValueInstance(0xffff0000), communityGshut);
    EXPECT_EQ(BgpCommunityValueInstance("communityNoExport"), 0xffffff01);
    EXPECT_EQ(stringValue(static_cast<BgpCommunityValue>(0xffffff04)), "4294967044");
    EXPECT_EQ(BgpPathAttrTypeInstance("community"), BgpPathAttrType::community);
    EXPECT_EQ(AspTypeInstance(6), aspTypeMax);
    EXPECT_THROW(BgpPathAttrFlagInstance(0xd0), Mox::RangeException);
    EXPECT_THROW(BgpPathAttrTypeInstance(11), Mox::RangeException);
}

} // namespace
} // namespace Routing::Bgp
