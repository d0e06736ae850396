#include "ip/rank_set.h"

#include <cstdint>
#include <set>

#include <gtest/gtest.h>

#include "support/random_source.h"

namespace rs::test {

namespace {

TEST(RankSet, IsEmptyAtFirst) {
    for (const uint32_t count : {0U, 1U, 64U, 65U, 5000U}) {
        RankSet ranks;
        ASSERT_TRUE(ranks.reserve(count));
        EXPECT_EQ(NO_RANK, ranks.atOrAfter(0));
        EXPECT_EQ(NO_RANK, ranks.atOrAfter(count));
        EXPECT_EQ(NO_RANK, ranks.atOrBefore(count == 0 ? 0 : count - 1));
    }
}

TEST(RankSet, FindsNeighboursAcrossWordsOfEveryLevel) {
    RankSet ranks;
    ASSERT_TRUE(ranks.reserve(20'000'000));
    for (const uint32_t number : {0U, 63U, 64U, 4096U, 262'144U, 16'777'216U, 19'999'999U}) {
        SCOPED_TRACE(number);
        ranks.add(number);
        EXPECT_EQ(number, ranks.atOrBefore(number));
        EXPECT_EQ(number, ranks.atOrAfter(number));
        EXPECT_EQ(number, ranks.atOrBefore(19'999'999));
        EXPECT_EQ(number, ranks.atOrAfter(0));
        if (number > 0) {
            EXPECT_EQ(NO_RANK, ranks.atOrBefore(number - 1));
            EXPECT_EQ(number, ranks.atOrAfter(number - 1));
        }
        EXPECT_EQ(NO_RANK, ranks.atOrAfter(number + 1));
        ranks.remove(number);
        EXPECT_EQ(NO_RANK, ranks.atOrAfter(0));
    }
}

TEST(RankSet, AnswersAsAnOrderedSetDoes) {
    RandomSource random(propertySeed());
    for (const uint32_t count : {1U, 2U, 63U, 64U, 65U, 128U, 4096U, 4097U, 300'000U}) {
        SCOPED_TRACE(count);
        RankSet ranks;
        ASSERT_TRUE(ranks.reserve(count));
        std::set<uint32_t> expected;
        for (uint32_t step = 0; step < 4000; ++step) {
            const uint32_t number = random.below32(count);
            if (random.oneIn(3)) {
                ranks.remove(number);
                expected.erase(number);
            } else {
                ranks.add(number);
                expected.insert(number);
            }
            const uint32_t asked = random.below32(count);
            const auto after = expected.lower_bound(asked);
            ASSERT_EQ(after == expected.end() ? NO_RANK : *after, ranks.atOrAfter(asked));
            const auto above = expected.upper_bound(asked);
            ASSERT_EQ(above == expected.begin() ? NO_RANK : *std::prev(above),
                      ranks.atOrBefore(asked));
        }
    }
}

}  // namespace

}  // namespace rs::test
