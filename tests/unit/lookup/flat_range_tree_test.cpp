#include "lookup/flat_range_tree.h"

#include <algorithm>
#include <cstdint>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "support/interval_sweep.h"
#include "support/random_source.h"
#include "syntax/address128.h"

namespace rs::test {

namespace {

using Intervals128 = Intervals<Address128>;

Address128 addressOf(uint64_t upper, uint64_t lower) {
    return {{static_cast<uint32_t>(upper >> 32U), static_cast<uint32_t>(upper),
             static_cast<uint32_t>(lower >> 32U), static_cast<uint32_t>(lower)}};
}

TEST(FlatRangeTree, PutsEveryKeyAtItsWay) {
    for (uint64_t way = 0; way < LINE_WAYS; ++way) {
        uint64_t line[LINE_WAYS] = {99, 40, 20, 60, 10, 30, 50, 70};
        EXPECT_EQ(way + LINE_WAYS - 1, placeInLine(line, 10 * way + 1));
        EXPECT_EQ(way + LINE_WAYS - 1, placeInLine(line, 10 * way + 10));
    }
}

// Whole networks, so that starts fill lines and levels to the last key, with the greatest upper half and without it.
TEST(FlatRangeTree, FillsLinesToTheLastKey) {
    for (const uint64_t starts : {1U, 2U, 7U, 8U, 9U, 63U, 64U, 65U, 511U, 512U, 513U, 4097U}) {
        for (const uint64_t lowest : {uint64_t{0}, UINT64_MAX - (starts - 1)}) {
            SCOPED_TRACE(::testing::Message() << starts << " from " << lowest);
            Intervals128 intervals;
            for (uint64_t i = 0; i < starts; ++i) {
                intervals.push_back({addressOf(lowest + i, 0), addressOf(lowest + i, UINT64_MAX),
                                     static_cast<uint32_t>(i)});
            }
            expectAsSwept(intervals);
        }
    }
}

TEST(FlatRangeTree, HasALevelForEightTimesAsManyStarts) {
    for (const auto& [starts, levels] :
         std::vector<std::pair<uint64_t, uint32_t>>{{8, 1}, {9, 2}, {64, 2}, {65, 3}, {513, 4}}) {
        Intervals128 intervals;  // and the gap after them
        for (uint64_t i = 0; i + 1 < starts; ++i) {
            intervals.push_back(
                {addressOf(i, 0), addressOf(i, UINT64_MAX), static_cast<uint32_t>(i)});
        }
        EXPECT_EQ(levels, expectAsSwept(intervals)->levels) << starts;
    }
}

TEST(FlatRangeTree, TellsLowerHalvesApart) {
    constexpr uint64_t UPPERS[] = {0, 1, 0x20010db800000007, UINT64_MAX - 1, UINT64_MAX};
    for (const uint64_t upper : UPPERS) {
        SCOPED_TRACE(upper);
        expectAsSwept<Address128>({{addressOf(upper, 8), addressOf(upper, 15), 7}});
        expectAsSwept<Address128>({{addressOf(upper, 0), addressOf(upper, 0), 7}});
        expectAsSwept<Address128>(
            {{addressOf(upper, UINT64_MAX), addressOf(upper, UINT64_MAX), 7}});
        expectAsSwept<Address128>({{addressOf(upper, 1), LAST_ADDRESS, 7}});
        expectAsSwept<Address128>({{FIRST_ADDRESS, addressOf(upper, 1), 7}});
    }
}

// One half ends within the next one, which has a tree of its own.
TEST(FlatRangeTree, JoinsNeighbouringHalves) {
    expectAsSwept<Address128>({{addressOf(7, 5), addressOf(8, 5), 1},
                               {addressOf(8, 6), addressOf(8, 9), 2},
                               {addressOf(9, 0), addressOf(9, 3), 3},
                               {addressOf(10, 0), addressOf(11, UINT64_MAX), 4}});
}

TEST(FlatRangeTree, AllStartsMayShareAnUpperHalf) {
    Intervals128 intervals;
    for (uint64_t i = 0; i < 20000; ++i) {
        intervals.push_back(
            {addressOf(7, 2 * i + 1), addressOf(7, 2 * i + 1), static_cast<uint32_t>(i)});
    }
    const auto flat = expectAsSwept(intervals);
    EXPECT_EQ(1U, flat->levels);
}

// Groups of starts within groups, so that no bits part them well.
Intervals<Address128> nestedStarts(RandomSource& random, uint32_t count) {
    std::vector<Address128> addresses{Address128{{0x20010db8, 0, 0, 1}}};
    while (addresses.size() < count) {
        Address128 address = random.pick(addresses);
        const uint32_t bit = random.below32(128);
        address.words[bit / 32] ^= uint32_t{1} << (bit % 32);
        addresses.push_back(address);
    }
    std::sort(addresses.begin(), addresses.end());
    addresses.erase(std::unique(addresses.begin(), addresses.end()), addresses.end());
    Intervals<Address128> intervals;
    for (uint32_t i = 0; i < addresses.size(); ++i) {
        intervals.push_back({addresses[i], addresses[i], i});
    }
    return intervals;
}

TEST(FlatRangeTree, StaysWithinItsBoundWhateverTheList) {
    RandomSource random(3);
    expectAsSwept(nestedStarts(random, 20000));
    // Every start in a /64 of its own, with all 128 bits in use.
    Intervals128 hostile;
    for (uint32_t i = 0; i < 50000; ++i) {
        const Address128 low{{i * 80000, random.bits32(), random.bits32(), random.bits32() | 1U}};
        hostile.push_back({low, {{low.words[0] + 1, random.bits32(), low.words[2], 5}}, i});
    }
    EXPECT_GE(7U, expectAsSwept(hostile)->levels);
}

TEST(FlatRangeTree, RefusesRecordsOfMoreThan31Bits) {
    EXPECT_EQ(nullptr,
              buildFlat<Address128>({{addressOf(1, 0), addressOf(2, 0), MOST_FLAT_RECORDS}}));
    const Intervals128 last{{addressOf(1, 0), addressOf(2, 0), MOST_FLAT_RECORDS - 1}};
    expectAsSwept(last);
}

}  // namespace

}  // namespace rs::test
