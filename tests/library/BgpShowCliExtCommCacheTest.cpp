#include "support/Allocations.h"

#include <VoBgp/BgpShowCliExtCommCache.h>

#include <gtest/gtest.h>

namespace BgpShowCli {
namespace {

constexpr U64 value = 0x0202000100000064;

TEST(ExtCommCacheTest, FormsAreCachedSeparately) {
    auto const cache = extCommCacheFactory();
    cache->insert(value, "65536:100", false);
    EXPECT_EQ(cache->lookup(value, false), "65536:100");
    EXPECT_TRUE(cache->lookup(value, true).empty());
    cache->insert(value, "1.0:100", true);
    EXPECT_EQ(cache->lookup(value, false), "65536:100");
    EXPECT_EQ(cache->lookup(value, true), "1.0:100");
    EXPECT_TRUE(cache->lookup(value + 1, false).empty());
    auto const before = allocationsSoFar();
    auto const shared = cache->lookup(value, true);
    EXPECT_EQ(allocationsSoFar(), before) << "a hit copies the text";
    cache->extCommToStringDel(value);
    EXPECT_TRUE(cache->lookup(value, false).empty());
    EXPECT_EQ(cache->lookup(value, true), "1.0:100");
}

TEST(ExtCommCacheTest, LaterTextReplacesAndEmptyTextIsAMiss) {
    auto const cache = extCommCacheFactory();
    cache->insert(value, "first", true);
    cache->insert(value, "second", true);
    EXPECT_EQ(cache->lookup(value, true), "second");
    cache->insert(value, "", true);
    EXPECT_TRUE(cache->lookup(value, true).empty());
    EXPECT_TRUE(cache->extCommToAsdotStringHas(value));
}

TEST(ExtCommCacheTest, KeepsEveryTextUntilItIsRemoved) {
    auto const cache = extCommCacheFactory();
    for (U64 i = 0; i < 1000; ++i) {
        cache->insert(i, "plain", false);
        cache->insert(i, "asdot", true);
    }
    cache->extCommToAsdotStringDel(5);
    cache->extCommToAsdotStringDel(5);
    EXPECT_EQ(cache->extCommToAsdotStrings(), 999U);
    EXPECT_TRUE(cache->extCommToStringHas(5));
    cache->extCommToStringDelAll();
    EXPECT_EQ(cache->extCommToStrings(), 0U);
    EXPECT_FALSE(cache->extCommToStringHas(5));
    cache->extCommToAsdotStringDelAll();
    EXPECT_EQ(cache->extCommToAsdotStrings(), 0U);
}

} // namespace
} // namespace BgpShowCli
