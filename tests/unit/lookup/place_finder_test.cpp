#include "lookup/place_finder.h"

#include <cstdint>
#include <set>
#include <vector>

#include <gtest/gtest.h>

namespace rs::test {

namespace {

struct Place {
    Address128 low;
    Address128 high;

    RangeKey key() const { return {low, high}; }
};

// A place for one address.
template <typename Address>
struct Node {
    Address address;

    Address key() const { return address; }
};

TEST(PlaceFinder, FindsNothingAtFirst) {
    const PlaceFinder<Place> finder;
    EXPECT_EQ(nullptr, finder.find(RangeKey{}));
    EXPECT_EQ(nullptr, finder.find(RangeKey{{{1, 2, 3, 4}}, {{5, 6, 7, 8}}}));
}

TEST(PlaceFinder, RoomForAPlaceIsNoPlace) {
    PlaceFinder<Place> finder;
    ASSERT_TRUE(finder.reserveOne());
    EXPECT_EQ(nullptr, finder.find(RangeKey{}));
}

TEST(PlaceFinder, TellsRangesApartByEachWordOfBothEnds) {
    Place place{{{1, 2, 3, 4}}, {{5, 6, 7, 8}}};
    PlaceFinder<Place> finder;
    ASSERT_TRUE(finder.reserveOne());
    finder.add(&place);
    EXPECT_EQ(&place, finder.find(RangeKey{place.low, place.high}));
    EXPECT_EQ(nullptr, finder.find(RangeKey{place.high, place.low}));
    EXPECT_EQ(nullptr, finder.find(RangeKey{place.low, place.low}));
    for (size_t word = 0; word < 4; ++word) {
        Place other = place;
        ++other.low.words[word];
        ++other.high.words[word];
        EXPECT_EQ(nullptr, finder.find(RangeKey{other.low, place.high})) << word;
        EXPECT_EQ(nullptr, finder.find(RangeKey{place.low, other.high})) << word;
    }
}

// The slots double in number several times on the way.
TEST(PlaceFinder, FindsEveryRangeAfterItHasGrown) {
    constexpr uint32_t COUNT = 5000;
    const auto placeOf = [](uint32_t i) {
        return Place{{{i % 7, 0, i, 0}}, {{i % 7, 0, i, i * i}}};
    };
    std::vector<Place> places;
    for (uint32_t i = 0; i < COUNT; ++i) {
        places.push_back(placeOf(i));
    }
    PlaceFinder<Place> finder;
    for (Place& place : places) {
        ASSERT_EQ(nullptr, finder.find(RangeKey{place.low, place.high})) << place.low.words[2];
        ASSERT_TRUE(finder.reserveOne());
        finder.add(&place);
    }
    for (Place& place : places) {
        ASSERT_EQ(&place, finder.find(RangeKey{place.low, place.high})) << place.low.words[2];
    }
    const Place next = placeOf(COUNT);
    EXPECT_EQ(nullptr, finder.find(RangeKey{next.low, next.high}));
}

// Addresses of one bucket, of one sum of words, and side by side.
TEST(PlaceFinder, FindsAddressesOfBothWidths) {
    constexpr uint32_t COUNT = 3000;
    std::vector<Node<uint32_t>> nodes4;
    std::vector<Node<Address128>> nodes6;
    for (uint32_t i = 0; i < COUNT; ++i) {
        nodes4.push_back({i % 2 == 0 ? i : i << 20U});
        nodes6.push_back({{{0, i, COUNT - i, 0}}});
    }
    PlaceFinder<Node<uint32_t>> finder4;
    PlaceFinder<Node<Address128>> finder6;
    for (uint32_t i = 0; i < COUNT; ++i) {
        ASSERT_EQ(nullptr, finder4.find(nodes4[i].address)) << i;
        ASSERT_EQ(nullptr, finder6.find(nodes6[i].address)) << i;
        ASSERT_TRUE(finder4.reserveOne() && finder6.reserveOne());
        finder4.add(&nodes4[i]);
        finder6.add(&nodes6[i]);
    }
    for (uint32_t i = 0; i < COUNT; ++i) {
        ASSERT_EQ(&nodes4[i], finder4.find(nodes4[i].address)) << i;
        ASSERT_EQ(&nodes6[i], finder6.find(nodes6[i].address)) << i;
    }
    EXPECT_EQ(nullptr, finder4.find(COUNT));
    EXPECT_EQ(nullptr, finder6.find(Address128{{0, COUNT, 0, 0}}));
}

// Ranges that are chosen to meet under one seed are spread by another.
TEST(PlaceFinder, HashesOfRangesDependOnItsSeed) {
    constexpr HashSeed KNOWN{0x0123456789ABCDEF, 0xFEDCBA9876543210};
    constexpr uint64_t SLOTS = 1024;
    const HashSeed secret = newHashSeed();
    std::set<uint64_t> places;
    uint32_t chosen = 0;
    for (uint32_t i = 0; chosen < 500; ++i) {
        const Address128 low{{0x20010DB8, i, 0, 0}};
        if (hashKey(KNOWN, RangeKey{low, low}) % SLOTS == 0) {
            ++chosen;
            places.insert(hashKey(secret, RangeKey{low, low}) % SLOTS);
        }
    }
    EXPECT_GT(places.size(), 300U) << "500 numbers out of 1024 by chance are about 395";
}

}  // namespace

}  // namespace rs::test
