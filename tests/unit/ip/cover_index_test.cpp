#include "ip/cover_index.h"

#include <algorithm>
#include <cstdint>
#include <vector>

#include <gtest/gtest.h>

#include "support/random_source.h"
#include "syntax/address128.h"

namespace rs::test {

namespace {

template <typename Address>
void add(CoverIndex<Address>& index, uint32_t ruleValue, const Address& low, const Address& high) {
    ASSERT_TRUE(index.reserveOne());
    index.add(ruleValue, low, high);
}

TEST(CoverIndex, SleepsUntilItIsWoken) {
    CoverIndex<uint32_t> index;
    add(index, 1, 10U, 20U);
    EXPECT_FALSE(index.isAwake());
    EXPECT_EQ(1, index.count());
    index.wake();
    EXPECT_TRUE(index.isAwake());
    EXPECT_TRUE(index.covers(1, 10, 20)) << "what was added asleep";
    add(index, 1, 30U, 40U);
    EXPECT_TRUE(index.covers(1, 30, 40)) << "what was added awake";
}

TEST(CoverIndex, CoversWhatOneIntervalHolds) {
    CoverIndex<uint32_t> index;
    index.wake();
    EXPECT_FALSE(index.covers(1, 10, 20));
    add(index, 1, 10U, 20U);
    add(index, 1, 21U, 30U);
    EXPECT_TRUE(index.covers(1, 10, 20));
    EXPECT_TRUE(index.covers(1, 15, 15));
    EXPECT_TRUE(index.covers(1, 21, 30));
    EXPECT_FALSE(index.covers(1, 9, 10));
    EXPECT_FALSE(index.covers(1, 10, 21)) << "two intervals do, none alone";
    EXPECT_FALSE(index.covers(1, 30, 31));
    EXPECT_FALSE(index.covers(2, 10, 20)) << "another value";
}

TEST(CoverIndex, KnowsWideIntervalsBeforeNarrowOnes) {
    CoverIndex<Address128> index;
    index.wake();
    const auto at = [](uint32_t number) { return Address128{{number, 0, 0, 0}}; };
    add(index, 0, at(1), at(1000));
    for (uint32_t i = 2; i < 500; ++i) {
        add(index, 0, at(i), at(i));
    }
    EXPECT_TRUE(index.covers(0, at(499), at(999)));
    EXPECT_FALSE(index.covers(0, at(499), at(1001)));
}

// Random intervals against a walk over all of them.
TEST(CoverIndex, AnswersAsAWalkDoes) {
    struct Interval {
        uint32_t ruleValue;
        uint32_t low;
        uint32_t high;
    };
    RandomSource random(propertySeed());
    for (const uint32_t width : {5U, 40U, 300U}) {
        CoverIndex<uint32_t> index;
        std::vector<Interval> walked;
        for (int i = 0; i < 3000; ++i) {
            if (i == 700) {
                index.wake();
            }
            Interval asked{random.below32(4), random.below32(1000), 0};
            asked.high = asked.low + random.below32(width);
            const bool expected =
                std::any_of(walked.begin(), walked.end(), [&asked](const Interval& one) {
                    return one.ruleValue == asked.ruleValue && one.low <= asked.low &&
                           one.high >= asked.high;
                });
            if (index.isAwake()) {
                ASSERT_EQ(expected, index.covers(asked.ruleValue, asked.low, asked.high))
                    << i << " of width " << width;
            }
            if (!expected || random.oneIn(4)) {
                add(index, asked.ruleValue, asked.low, asked.high);
                walked.push_back(asked);
            }
        }
    }
}

}  // namespace

}  // namespace rs::test
