#include "lookup/range_finder.h"

#include <cstdint>
#include <vector>

#include <gtest/gtest.h>

namespace rs::test {

namespace {

struct Place {
    Address128 low;
    Address128 high;
};

TEST(RangeFinder, FindsNothingAtFirst) {
    const RangeFinder<Place> finder;
    EXPECT_EQ(nullptr, finder.find({}, {}));
    EXPECT_EQ(nullptr, finder.find({{1, 2, 3, 4}}, {{5, 6, 7, 8}}));
}

TEST(RangeFinder, RoomForAPlaceIsNoPlace) {
    RangeFinder<Place> finder;
    ASSERT_TRUE(finder.reserveOne());
    EXPECT_EQ(nullptr, finder.find({}, {}));
}

TEST(RangeFinder, TellsRangesApartByEachWordOfBothEnds) {
    Place place{{{1, 2, 3, 4}}, {{5, 6, 7, 8}}};
    RangeFinder<Place> finder;
    ASSERT_TRUE(finder.reserveOne());
    finder.add(&place);
    EXPECT_EQ(&place, finder.find(place.low, place.high));
    EXPECT_EQ(nullptr, finder.find(place.high, place.low));
    EXPECT_EQ(nullptr, finder.find(place.low, place.low));
    for (size_t word = 0; word < 4; ++word) {
        Place other = place;
        ++other.low.words[word];
        ++other.high.words[word];
        EXPECT_EQ(nullptr, finder.find(other.low, place.high)) << word;
        EXPECT_EQ(nullptr, finder.find(place.low, other.high)) << word;
    }
}

// The slots double in number several times on the way.
TEST(RangeFinder, FindsEveryRangeAfterItHasGrown) {
    constexpr uint32_t COUNT = 5000;
    const auto placeOf = [](uint32_t i) {
        return Place{{{i % 7, 0, i, 0}}, {{i % 7, 0, i, i * i}}};
    };
    std::vector<Place> places;
    for (uint32_t i = 0; i < COUNT; ++i) {
        places.push_back(placeOf(i));
    }
    RangeFinder<Place> finder;
    for (Place& place : places) {
        ASSERT_EQ(nullptr, finder.find(place.low, place.high)) << place.low.words[2];
        ASSERT_TRUE(finder.reserveOne());
        finder.add(&place);
    }
    for (Place& place : places) {
        ASSERT_EQ(&place, finder.find(place.low, place.high)) << place.low.words[2];
    }
    const Place next = placeOf(COUNT);
    EXPECT_EQ(nullptr, finder.find(next.low, next.high));
}

}  // namespace

}  // namespace rs::test
