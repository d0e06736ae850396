#include "ip/build_array.h"

#include <algorithm>
#include <cstdint>

#include <gtest/gtest.h>

namespace rs::test {

namespace {

TEST(BuildArray, HoldsShortArraysItselfAndLongOnesElsewhere) {
    for (const uint64_t count : {0U, 1U, 31U, 32U, 33U, 10'000U}) {
        SCOPED_TRACE(count);
        BuildArray<uint64_t> array;
        for (int round = 0; round < 2; ++round) {
            ASSERT_TRUE(array.reserve(count));
            EXPECT_TRUE(std::all_of(array.get(), array.get() + count,
                                    [](uint64_t value) { return value == 0; }));
            std::fill_n(array.get(), count, 7);
        }
        const auto* start = reinterpret_cast<const char*>(&array);
        const auto* values = reinterpret_cast<const char*>(array.get());
        EXPECT_EQ(count <= 32, start <= values && values < start + sizeof(array));
    }
}

TEST(BuildArray, ChangesPlacesWithAnArrayOfTheAllocator) {
    constexpr uint64_t COUNT = 1000;
    BuildArray<uint32_t> array;
    ASSERT_TRUE(array.reserve(COUNT));
    array[3] = 5;
    OwnedMemory<uint32_t[]> other(allocateArray<uint32_t>(COUNT));
    other[3] = 6;
    array.swap(other);
    EXPECT_EQ(6, array[3]);
    EXPECT_EQ(5, other[3]);
}

}  // namespace

}  // namespace rs::test
