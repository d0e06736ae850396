#include "core/growing_array.h"

#include <cstdint>

#include <gtest/gtest.h>

namespace rs::test {

namespace {

TEST(GrowingArray, KeepsItsValuesInOrder) {
    GrowingArray<uint32_t> array;
    EXPECT_EQ(0, array.count());
    for (uint32_t i = 0; i < 1000; ++i) {
        ASSERT_TRUE(array.reserveOne());
        array.append(i * 3);
        ASSERT_EQ(i + 1, array.count());
    }
    for (uint32_t i = 0; i < 1000; ++i) {
        EXPECT_EQ(i * 3, array[i]);
    }
    array[7] = 1;
    EXPECT_EQ(1, array[7]);
    array.shorten(10);
    EXPECT_EQ(10, array.count());
    EXPECT_EQ(27, array[9]);
}

}  // namespace

}  // namespace rs::test
