#include "lookup/range_finder.h"

#include <cstdint>
#include <set>
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

// Ranges that are chosen to meet under one seed are spread by another.
TEST(RangeFinder, HashesDependOnItsSeed) {
    constexpr HashSeed KNOWN{0x0123456789ABCDEF, 0xFEDCBA9876543210};
    constexpr uint64_t SLOTS = 1024;
    const HashSeed secret = newHashSeed();
    std::set<uint64_t> places;
    uint32_t chosen = 0;
    for (uint32_t i = 0; chosen < 500; ++i) {
        const Address128 low{{0x20010DB8, i, 0, 0}};
        if (hashRange(KNOWN, low, low) % SLOTS == 0) {
            ++chosen;
            places.insert(hashRange(secret, low, low) % SLOTS);
        }
    }
    EXPECT_GT(places.size(), 300U) << "500 numbers out of 1024 by chance are about 395";
}

}  // namespace

}  // namespace rs::test
