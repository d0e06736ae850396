#include "ip/cover_index.h"

#include <algorithm>
#include <cstdint>
#include <vector>

#include <gtest/gtest.h>

#include "support/random_source.h"

namespace rs::test {

namespace {

struct Interval {
    uint32_t ruleValue;
    uint32_t low;
    uint32_t end;
};

void fillPlaces(const std::vector<Interval>& intervals, RangePlaces& ranges) {
    ranges.count = static_cast<uint32_t>(intervals.size());
    ASSERT_TRUE(ranges.ranges.reserve(ranges.count) && ranges.values.reserve(ranges.count));
    for (uint32_t i = 0; i < ranges.count; ++i) {
        ranges.ranges[i] = {intervals[i].low, intervals[i].end};
        ranges.values[i] = intervals[i].ruleValue;
    }
}

TEST(CoverIndex, ReachesAsFarAsOneIntervalDoes) {
    RangePlaces ranges{};
    fillPlaces({{1, 10, 21}, {1, 21, 31}, {2, 0, 90}, {1, 12, 15}}, ranges);
    CoverIndex index;
    ASSERT_TRUE(index.reserve(ranges));
    EXPECT_EQ(0, index.reach(1, 10));
    index.add(0);
    index.add(1);
    index.add(3);
    EXPECT_EQ(0, index.reach(1, 9));
    EXPECT_EQ(21, index.reach(1, 10));
    EXPECT_EQ(21, index.reach(1, 20)) << "not the one that it holds";
    EXPECT_EQ(31, index.reach(1, 21));
    EXPECT_EQ(31, index.reach(1, 50));
    EXPECT_EQ(0, index.reach(2, 10)) << "another value, whose interval was not added";
    EXPECT_EQ(0, index.reach(0, 10));
    EXPECT_EQ(0, index.reach(3, 10));
}

TEST(CoverIndex, ForgetsWhatAWiderIntervalHolds) {
    std::vector<Interval> intervals;
    for (uint32_t i = 0; i < 300; ++i) {
        intervals.push_back({5, 10 + i, 11 + i});
    }
    intervals.push_back({5, 0, 1000});
    RangePlaces ranges{};
    fillPlaces(intervals, ranges);
    CoverIndex index;
    ASSERT_TRUE(index.reserve(ranges));
    for (uint32_t i = 0; i < ranges.count; ++i) {
        index.add(i);
    }
    EXPECT_EQ(1000, index.reach(5, 0));
    EXPECT_EQ(1000, index.reach(5, 100));
}

// Random intervals against a walk over all of them.
TEST(CoverIndex, AnswersAsAWalkDoes) {
    RandomSource random(propertySeed());
    for (const uint32_t width : {5U, 40U, 300U}) {
        for (const uint32_t values : {1U, 4U}) {
            std::vector<Interval> intervals;
            for (int i = 0; i < 1000; ++i) {
                const uint32_t low = random.below32(500);
                intervals.push_back(
                    {random.below32(values) * 1000, low, low + 1 + random.below32(width)});
            }
            RangePlaces ranges{};
            fillPlaces(intervals, ranges);
            CoverIndex index;
            ASSERT_TRUE(index.reserve(ranges));
            for (uint32_t i = 0; i < ranges.count; ++i) {
                index.add(i);
                const uint32_t ruleValue = random.below32(values) * 1000;
                const uint32_t rank = random.below32(600);
                uint32_t expected = 0;
                for (uint32_t k = 0; k <= i; ++k) {
                    if (intervals[k].ruleValue == ruleValue && intervals[k].low <= rank) {
                        expected = std::max(expected, intervals[k].end);
                    }
                }
                ASSERT_EQ(expected, index.reach(ruleValue, rank)) << i << " of width " << width;
            }
        }
    }
}

}  // namespace

}  // namespace rs::test
