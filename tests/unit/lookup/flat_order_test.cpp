#include "lookup/flat_order.h"

#include <algorithm>
#include <cstdint>
#include <set>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/random_source.h"

namespace rs::test {

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

template <typename Address>
using Ranges = std::vector<OrderedRange<Address>>;

template <typename Address>
OwnedFlatOrder<Address> orderOf(const Ranges<Address>& ranges) {
    return OwnedFlatOrder<Address>(
        buildFlatOrder(ranges.data(), static_cast<uint32_t>(ranges.size())));
}

// All that are asked about an address when none of them answers.
template <typename Address>
std::vector<uint32_t> asked(const FlatOrder<Address>& order, const Address& address) {
    std::vector<uint32_t> numbers;
    EXPECT_EQ(0, askInOrder(order, address, [&numbers](uint32_t number) {
                  numbers.push_back(number);
                  return 0;
              }));
    return numbers;
}

template <typename Address>
std::vector<uint32_t> holders(const Ranges<Address>& ranges, const Address& address) {
    std::vector<uint32_t> numbers;
    for (const OrderedRange<Address>& range : ranges) {
        if (range.low <= address && address <= range.high) {
            numbers.push_back(range.number);
        }
    }
    return numbers;
}

Address128 wide(uint32_t address) {
    // Neighbours that differ in the first word, or in the last one.
    return address % 2 == 0 ? Address128{{address, 0, 0, 0}} : Address128{{address - 1, 0, 0, 1}};
}

// Each bound of the ranges and its neighbours, in both widths, with every number of ranges that say no before one answers.
void expectSameAsWalk(const Ranges<uint32_t>& ranges, size_t mostKeys = SIZE_MAX) {
    Ranges<Address128> wideRanges;
    std::set<uint32_t> keys{0, UINT32_MAX};
    for (const auto& range : ranges) {
        wideRanges.push_back({wide(range.low), wide(range.high), range.number});
        for (const uint32_t bound : {range.low, range.high}) {
            keys.insert({bound - 1, bound, bound + 1});
        }
    }
    const OwnedFlatOrder<uint32_t> order = orderOf(ranges);
    const OwnedFlatOrder<Address128> wideOrder = orderOf(wideRanges);
    ASSERT_TRUE(order && wideOrder);
    const size_t step = keys.size() / mostKeys + 1;
    size_t i = 0;
    for (const uint32_t key : keys) {
        if (++i % step == 0) {
            ASSERT_EQ(holders(ranges, key), asked(*order, key)) << key;
            ASSERT_EQ(holders(wideRanges, wide(key)), asked(*wideOrder, wide(key))) << key;
        }
    }
}

TEST(FlatOrder, AsksTheRangesThatHoldAnAddressInOrder) {
    const Ranges<uint32_t> ranges{{20, 29, 0}, {10, 49, 1}, {12, 14, 2}, {60, 69, 3}};
    const OwnedFlatOrder<uint32_t> order = orderOf(ranges);
    ASSERT_TRUE(order);
    EXPECT_THAT(asked(*order, 9U), IsEmpty());
    EXPECT_THAT(asked(*order, 10U), ElementsAre(1));
    EXPECT_THAT(asked(*order, 12U), ElementsAre(1, 2));
    EXPECT_THAT(asked(*order, 29U), ElementsAre(0, 1));
    EXPECT_THAT(asked(*order, 30U), ElementsAre(1));
    EXPECT_THAT(asked(*order, 50U), IsEmpty());
    EXPECT_THAT(asked(*order, 69U), ElementsAre(3));
    EXPECT_THAT(asked(*order, 70U), IsEmpty());
    EXPECT_THAT(asked(*order, UINT32_MAX), IsEmpty());
}

TEST(FlatOrder, EndsWithTheFirstStatusButZero) {
    const Ranges<uint32_t> ranges{{0, 9, 0}, {1, 8, 4}, {2, 7, 5}, {3, 6, 9}};
    const OwnedFlatOrder<uint32_t> order = orderOf(ranges);
    ASSERT_TRUE(order);
    for (const uint32_t answering : {0U, 4U, 5U, 9U}) {
        for (const int32_t status : {1, -99}) {
            uint32_t last = NO_FIRST;
            EXPECT_EQ(status, askInOrder(*order, 5U, [&](uint32_t number) {
                          last = number;
                          return number >= answering ? status : 0;
                      }));
            EXPECT_EQ(answering, last);
        }
    }
}

TEST(FlatOrder, ReachesBothEndsOfTheAddresses) {
    expectSameAsWalk({{0, 0, 0}});
    expectSameAsWalk({{0, UINT32_MAX, 0}});
    expectSameAsWalk({{UINT32_MAX, UINT32_MAX, 0}, {0, UINT32_MAX, 1}, {0, 0, 2}});
    const Ranges<Address128> whole{{FIRST_ADDRESS, LAST_ADDRESS, 3},
                                   {LAST_ADDRESS, LAST_ADDRESS, 4}};
    const OwnedFlatOrder<Address128> order = orderOf(whole);
    ASSERT_TRUE(order);
    EXPECT_THAT(asked(*order, LAST_ADDRESS), ElementsAre(3, 4));
    EXPECT_THAT(asked(*order, FIRST_ADDRESS), ElementsAre(3));
}

TEST(FlatOrder, HasNoListsWhereNoTwoRangesShareAnAddress) {
    Ranges<uint32_t> ranges;
    for (uint32_t i = 0; i < 100; ++i) {
        const uint32_t low = (i * 37 % 100) * 10;
        ranges.push_back({low, low + 9, i});
    }
    EXPECT_EQ(nullptr, orderOf(ranges)->centres);
    expectSameAsWalk(ranges);
    ranges.push_back({5, 5, 100});
    EXPECT_NE(nullptr, orderOf(ranges)->centres);
    expectSameAsWalk(ranges);
}

// Counts around those at which a level of spans is full, of ranges that all meet under one centre.
TEST(FlatOrder, TakesNestedRangesOfEveryCount) {
    for (const uint32_t count : {1U, 2U, 15U, 16U, 17U, 255U, 256U, 257U, 1000U}) {
        SCOPED_TRACE(count);
        Ranges<uint32_t> inward;
        Ranges<uint32_t> outward;
        Ranges<uint32_t> shuffled;
        for (uint32_t i = 0; i < count; ++i) {
            inward.push_back({i, 4000 - i, i});
            outward.push_back({1000 - i, 3000 + i, i});
            shuffled.push_back({i * 7 % count, 4000 - i * 11 % count, i});
        }
        expectSameAsWalk(inward, 60);
        expectSameAsWalk(outward, 60);
        expectSameAsWalk(shuffled, 60);
    }
}

TEST(FlatOrder, TakesEqualLowsAndEqualHighs) {
    Ranges<uint32_t> ranges;
    for (uint32_t i = 0; i < 300; ++i) {
        ranges.push_back(i % 2 == 0 ? OrderedRange<uint32_t>{1000, 1000 + i, i}
                                    : OrderedRange<uint32_t>{2000 - i, 2000, i});
    }
    expectSameAsWalk(ranges, 100);
}

TEST(FlatOrder, TakesRandomRanges) {
    forEachCase(300, [](RandomSource& random) {
        const uint64_t span = random.oneIn(3) ? 40 : 5000;
        const uint64_t widest = random.oneIn(2) ? span : 10;
        Ranges<uint32_t> ranges;
        uint32_t number = 0;
        for (uint64_t i = random.between(1, random.oneIn(5) ? 600 : 40); i != 0; --i) {
            const uint32_t low = random.below32(static_cast<uint32_t>(span));
            ranges.push_back({low, low + random.below32(static_cast<uint32_t>(widest)), number});
            number += 1 + random.below32(3);
        }
        expectSameAsWalk(ranges, 80);
    });
}

// The work for one answer, in lists of ranges chosen to make it long, as steps that say no.
TEST(FlatOrder, AsksNoRangeAfterTheOneThatAnswers) {
    constexpr uint32_t COUNT = 5000;
    Ranges<uint32_t> ranges;
    for (uint32_t i = 0; i < COUNT; ++i) {
        // Ranges beside the address first, then those that hold it.
        ranges.push_back(i < COUNT / 2 ? OrderedRange<uint32_t>{2 * i, 2 * i, i}
                                       : OrderedRange<uint32_t>{i - COUNT / 2, 5 * COUNT - i, i});
    }
    const OwnedFlatOrder<uint32_t> order = orderOf(ranges);
    ASSERT_TRUE(order);
    std::vector<uint32_t> numbers;
    EXPECT_EQ(1, askInOrder(*order, 2 * COUNT, [&numbers](uint32_t number) {
                  numbers.push_back(number);
                  return number < COUNT / 2 + 2 ? 0 : 1;
              }));
    EXPECT_THAT(numbers, ElementsAre(COUNT / 2, COUNT / 2 + 1, COUNT / 2 + 2));
}

TEST(FlatOrder, IsMissingWithoutARangeOrANumber) {
    EXPECT_EQ(nullptr, buildFlatOrder<uint32_t>(nullptr, 0));
    EXPECT_EQ(nullptr, buildFlatOrder<Address128>(nullptr, 0));
    EXPECT_FALSE(orderOf<uint32_t>({{0, 1, OTHERS_FOLLOW - 1}}));
    EXPECT_TRUE(orderOf<uint32_t>({{0, 1, OTHERS_FOLLOW - 2}}));
    freeFlatOrder<uint32_t>(nullptr);
}

}  // namespace

}  // namespace rs::test
