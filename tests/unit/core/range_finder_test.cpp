#include "core/range_finder.h"

#include <cstdint>
#include <vector>

#include <gtest/gtest.h>

namespace rs::test {

namespace {

// The place of a range stands for its number.
void* placeOf(std::vector<char>& places, size_t number) {
    return &places[number];
}

TEST(RangeFinder, FindsNothingAtFirst) {
    const RangeFinder finder;
    EXPECT_EQ(nullptr, finder.find({}, {}));
    EXPECT_EQ(nullptr, finder.find({{1, 2, 3, 4}}, {{5, 6, 7, 8}}));
}

TEST(RangeFinder, TellsRangesApartByEachWordOfBothEnds) {
    constexpr Address128 LOW{{1, 2, 3, 4}};
    constexpr Address128 HIGH{{5, 6, 7, 8}};
    int place = 0;
    RangeFinder finder;
    ASSERT_TRUE(finder.add(LOW, HIGH, &place));
    EXPECT_EQ(&place, finder.find(LOW, HIGH));
    EXPECT_EQ(nullptr, finder.find(HIGH, LOW));
    EXPECT_EQ(nullptr, finder.find(LOW, LOW));
    for (size_t word = 0; word < 4; ++word) {
        Address128 otherLow = LOW;
        Address128 otherHigh = HIGH;
        ++otherLow.words[word];
        ++otherHigh.words[word];
        EXPECT_EQ(nullptr, finder.find(otherLow, HIGH)) << word;
        EXPECT_EQ(nullptr, finder.find(LOW, otherHigh)) << word;
    }
}

// The chains double in number several times on the way.
TEST(RangeFinder, FindsEveryRangeAfterItHasGrown) {
    constexpr uint32_t COUNT = 5000;
    std::vector<char> places(COUNT);
    RangeFinder finder;
    const auto lowOf = [](uint32_t i) { return Address128{{i % 7, 0, i, 0}}; };
    const auto highOf = [](uint32_t i) { return Address128{{i % 7, 0, i, i * i}}; };
    for (uint32_t i = 0; i < COUNT; ++i) {
        ASSERT_EQ(nullptr, finder.find(lowOf(i), highOf(i))) << i;
        ASSERT_TRUE(finder.add(lowOf(i), highOf(i), placeOf(places, i)));
    }
    for (uint32_t i = 0; i < COUNT; ++i) {
        ASSERT_EQ(placeOf(places, i), finder.find(lowOf(i), highOf(i))) << i;
    }
    EXPECT_EQ(nullptr, finder.find(lowOf(COUNT), highOf(COUNT)));
}

}  // namespace

}  // namespace rs::test
