#include "lookup/range_starts.h"

#include <cstdint>
#include <iterator>

#include <gtest/gtest.h>

#include "core/slab.h"

namespace rs::test {

namespace {

TEST(RangeStarts, BeginEveryPieceWithOneAnswer) {
    FlatRangeStarts<uint32_t> starts;
    ASSERT_TRUE(starts.reserve(3));
    starts.add(5, 9, 1);
    starts.add(10, 20, 1);  // makes one interval with the one before
    starts.add(22, 22, 2);
    starts.finish();
    constexpr struct {
        uint32_t first;
        uint32_t word;
    } ROWS[] = {{0, NO_RECORD}, {5, 1}, {21, NO_RECORD}, {22, 2}, {23, NO_RECORD}};
    ASSERT_EQ(std::size(ROWS), starts.count());
    for (uint32_t i = 0; i < starts.count(); ++i) {
        EXPECT_EQ(ROWS[i].first, starts.starts()[i].first);
        EXPECT_EQ(ROWS[i].word, starts.starts()[i].word);
    }
}

TEST(RangeStarts, HaveNoGapAfterTheLastAddress) {
    FlatRangeStarts<uint32_t> starts;
    ASSERT_TRUE(starts.reserve(1));
    starts.add(0, UINT32_MAX, 1);
    starts.finish();
    EXPECT_EQ(1U, starts.count());
}

TEST(RangeStarts, NoticeRecordsOfMoreThan31Bits) {
    FlatRangeStarts<uint32_t> starts;
    ASSERT_TRUE(starts.reserve(2));
    starts.add(1, 2, MOST_FLAT_RECORDS - 1);
    EXPECT_FALSE(starts.hasTooBigRecord());
    starts.add(5, 6, MOST_FLAT_RECORDS);
    EXPECT_TRUE(starts.hasTooBigRecord());
}

}  // namespace

}  // namespace rs::test
