#include "ip/cover_index.h"

#include <algorithm>
#include <cstdint>
#include <vector>

#include <gtest/gtest.h>

#include "support/random_source.h"
#include "syntax/address128.h"

namespace rs::test {

namespace {

constexpr int NODES[3] = {};

TEST(CoverIndex, CoversWhatOneIntervalHolds) {
    CoverIndex<uint32_t> index;
    EXPECT_FALSE(index.covers(&NODES[0], 1, 10, 20));
    ASSERT_TRUE(index.add(&NODES[0], 1, 10, 20));
    ASSERT_TRUE(index.add(&NODES[0], 1, 21, 30));
    EXPECT_TRUE(index.covers(&NODES[0], 1, 10, 20));
    EXPECT_TRUE(index.covers(&NODES[0], 1, 15, 15));
    EXPECT_TRUE(index.covers(&NODES[0], 1, 21, 30));
    EXPECT_FALSE(index.covers(&NODES[0], 1, 9, 10));
    EXPECT_FALSE(index.covers(&NODES[0], 1, 10, 21)) << "two intervals do, none alone";
    EXPECT_FALSE(index.covers(&NODES[0], 1, 30, 31));
}

TEST(CoverIndex, TellsNodesAndValuesApart) {
    CoverIndex<uint32_t> index;
    ASSERT_TRUE(index.add(&NODES[0], 1, 0, UINT32_MAX));
    EXPECT_TRUE(index.covers(&NODES[0], 1, 5, 6));
    EXPECT_FALSE(index.covers(&NODES[0], 2, 5, 6));
    EXPECT_FALSE(index.covers(&NODES[1], 1, 5, 6));
}

TEST(CoverIndex, KnowsWideIntervalsBeforeNarrowOnes) {
    CoverIndex<Address128> index;
    const auto at = [](uint32_t number) { return Address128{{number, 0, 0, 0}}; };
    ASSERT_TRUE(index.add(&NODES[0], 0, at(1), at(1000)));
    for (uint32_t i = 2; i < 500; ++i) {
        ASSERT_TRUE(index.add(&NODES[0], 0, at(i), at(i)));
    }
    EXPECT_TRUE(index.covers(&NODES[0], 0, at(499), at(999)));
    EXPECT_FALSE(index.covers(&NODES[0], 0, at(499), at(1001)));
}

// Random intervals against a walk over all of them.
TEST(CoverIndex, AnswersAsAWalkDoes) {
    struct Interval {
        const int* node;
        uint32_t ruleValue;
        uint32_t low;
        uint32_t high;
    };
    RandomSource random(20261121);
    for (const uint32_t width : {5U, 40U, 300U}) {
        CoverIndex<uint32_t> index;
        std::vector<Interval> walked;
        for (int i = 0; i < 3000; ++i) {
            Interval asked{&NODES[random.below32(3)], random.below32(2), random.below32(1000), 0};
            asked.high = asked.low + random.below32(width);
            const bool expected =
                std::any_of(walked.begin(), walked.end(), [&](const Interval& one) {
                    return one.node == asked.node && one.ruleValue == asked.ruleValue &&
                           one.low <= asked.low && one.high >= asked.high;
                });
            ASSERT_EQ(expected, index.covers(asked.node, asked.ruleValue, asked.low, asked.high))
                << i << " of width " << width;
            if (!expected || random.oneIn(4)) {
                ASSERT_TRUE(index.add(asked.node, asked.ruleValue, asked.low, asked.high));
                walked.push_back(asked);
            }
        }
    }
}

}  // namespace

}  // namespace rs::test
