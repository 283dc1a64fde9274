#include "input/OctetCache.h"

#include <array>
#include <vector>

#include <gtest/gtest.h>

#include "input/IntegerTypes.h"
#include "support/Allocations.h"

namespace BgpCommunities {
namespace {

/// A value that adds its size to the total of all values.
struct Counted {
    Counted() = default;
    Counted(Counted const& other) { *this = other; }
    ~Counted() { sizeIs(0); }

    Counted& operator=(Counted const& other) {
        sizeIs(other.size_);
        number = other.number;
        return *this;
    }

    void sizeIs(std::size_t size) {
        held += size - size_;
        size_ = size;
    }

    [[nodiscard]] std::size_t octets() const { return size_; }

    static inline std::size_t held = 0;
    U32 number = 0;

  private:
    std::size_t size_ = 0;
};

TEST(OctetCacheTest, ComputesRepeatedValuesOnceInBoundedMemory) {
    OctetCache<Counted> cache;
    std::vector<U8> key(100);
    U32 made = 0;
    auto const find = [&](U32 number, std::size_t size) {
        key[0] = static_cast<U8>(number);
        key[1] = static_cast<U8>(number >> 8);
        key[99] = static_cast<U8>(number >> 16);
        return cache
            .find(key,
                  [&](Counted& value) {
                      ++made;
                      value.number = number;
                      value.sizeIs(size);
                  })
            .number;
    };
    for (U32 number = 0; number < 200000; ++number) {
        ASSERT_EQ(find(number, number % 7 == 0 ? 2000000 : number % 20000), number);
        ASSERT_LE(Counted::held, 20U << 20);
    }
    made = 0;
    find(1, 10);
    auto const allocations = allocationsSoFar();
    EXPECT_EQ(find(1, 10), 1U);
    EXPECT_EQ(allocationsSoFar(), allocations);
    EXPECT_EQ(made, 1U);
}

TEST(OctetCacheTest, IsEmptiedOnlyWhenItIsFull) {
    OctetCache<Counted> cache;
    for (U32 number = 0; number < 60000; ++number) {
        std::array<U8, 3> const key = {static_cast<U8>(number), static_cast<U8>(number >> 8),
                                       static_cast<U8>(number >> 16)};
        cache.find(key, [](Counted& value) { value.sizeIs(1000); });
        ASSERT_TRUE(number < 20000 || Counted::held > 3000000) << number;
    }
}

} // namespace
} // namespace BgpCommunities
