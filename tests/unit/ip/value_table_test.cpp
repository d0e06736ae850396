#include "ip/value_table.h"

#include <cstdint>

#include <gtest/gtest.h>

namespace rs::test {

namespace {

TEST(ValueTable, TellsNodesAndValuesApart) {
    constexpr int NODES[2] = {};
    ValueTable table;
    EXPECT_FALSE(table.contains(&NODES[0], 0));
    for (uint32_t value = 0; value < 1000; ++value) {
        ASSERT_TRUE(table.add(&NODES[0], value));
    }
    ASSERT_TRUE(table.add(&NODES[1], 7));
    EXPECT_TRUE(table.contains(&NODES[0], 0));
    EXPECT_TRUE(table.contains(&NODES[0], 999));
    EXPECT_FALSE(table.contains(&NODES[0], 1000));
    EXPECT_TRUE(table.contains(&NODES[1], 7));
    EXPECT_FALSE(table.contains(&NODES[1], 8));
}

}  // namespace

}  // namespace rs::test
