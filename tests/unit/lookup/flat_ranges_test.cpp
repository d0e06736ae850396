#include "lookup/flat_ranges.h"

#include <cstdint>
#include <vector>

#include <gtest/gtest.h>

#include "support/interval_sweep.h"
#include "syntax/address128.h"

namespace rs::test {

namespace {

// count single addresses from first on, each so much above the one before.
Intervals<uint32_t> comb32(uint32_t first, uint32_t step, uint32_t count) {
    Intervals<uint32_t> intervals;
    for (uint32_t i = 0; i < count; ++i) {
        intervals.push_back({first + i * step, first + i * step, i});
    }
    return intervals;
}

// The same of 128 bits, with the bits of 32-bit addresses at one of four places.
Intervals<Address128> widened(const Intervals<uint32_t>& narrow, uint32_t word,
                              const Address128& rest) {
    Intervals<Address128> intervals;
    for (const Interval<uint32_t>& each : narrow) {
        Address128 low = rest;
        Address128 high = rest;
        low.words[word] = each.low;
        high.words[word] = each.high;
        intervals.push_back({low, high, each.record});
    }
    return intervals;
}

void expectAsSweptInBothWidths(const Intervals<uint32_t>& intervals) {
    expectAsSwept(intervals);
    for (uint32_t word = 0; word < 4; ++word) {
        SCOPED_TRACE(word);
        expectAsSwept(widened(intervals, word, Address128{{0x20010db8, 7, 0xFFFFFFFF, 0}}));
        expectAsSwept(widened(intervals, word, FIRST_ADDRESS));
        expectAsSwept(widened(intervals, word, LAST_ADDRESS));
    }
}

TEST(FlatRanges, FindNothingInNoIntervals) {
    const auto flat = expectAsSwept(Intervals<uint32_t>{}, {0, 1, UINT32_MAX});
    EXPECT_EQ(NO_RECORD, findFlatRange(*flat, uint32_t{5}));
    expectAsSwept(Intervals<Address128>{}, {FIRST_ADDRESS, LAST_ADDRESS});
}

TEST(FlatRanges, FindOneIntervalAnywhere) {
    constexpr Interval<uint32_t> ROWS[] = {
        {0, UINT32_MAX, 3},
        {0, 0, 0},
        {UINT32_MAX, UINT32_MAX, 9},
        {0, 0x7FFFFFFF, 1},
        {0x80000000, UINT32_MAX, 2},
        {0x0A000000, 0x0A0000FF, 7},
        {1, UINT32_MAX - 1, (uint32_t{1} << 31U) - 2},
    };
    for (const Interval<uint32_t>& row : ROWS) {
        SCOPED_TRACE(row.low);
        expectAsSweptInBothWidths({row});
    }
    expectAsSwept<Address128>({{FIRST_ADDRESS, LAST_ADDRESS, 4}});
}

TEST(FlatRanges, KeepApartWhatTouches) {
    expectAsSweptInBothWidths({{5, 9, 1}, {10, 10, 2}, {11, 20, 1}, {21, 30, 1}, {32, 40, 1}});
}

TEST(FlatRanges, FillNodesToTheLastKey) {
    // A single address is two starts.
    for (const uint32_t count : {1U, 3U, 4U, 5U, 7U, 8U, 9U, 15U, 16U, 17U, 31U, 32U, 33U, 63U, 64U,
                                 65U, 511U, 512U, 513U}) {
        for (const uint32_t step : {2U, 3U, 0x100U, 0x10001U, 0x400000U}) {
            SCOPED_TRACE(::testing::Message() << count << " addresses, each " << step << " on");
            expectAsSweptInBothWidths(comb32(step == 2 ? 0xFFFFF000 - 2 * count : 1, step, count));
        }
    }
}

TEST(FlatRanges, CrowdInOnePlace) {
    // Every second address of 2^16, and every address with another record than its neighbours.
    for (const uint32_t step : {1U, 2U}) {
        const Intervals<uint32_t> comb = comb32(0x0A0A0000, step, (1U << 16U) / step);
        expectAsSwept(comb);
        expectAsSwept(widened(comb, 3, mappedAddress(0)));
    }
}

TEST(FlatRanges, StayWithinTheirBoundWhateverTheList) {
    Intervals<uint32_t> powers;
    for (uint32_t bit = 1; bit < 32; ++bit) {
        powers.push_back({uint32_t{1} << bit, uint32_t{1} << bit, bit});
    }
    expectAsSweptInBothWidths(powers);
}

TEST(FlatRanges, RefuseRecordsOfMoreThan31Bits) {
    EXPECT_EQ(nullptr, buildFlat<uint32_t>({{1, 2, (uint32_t{1} << 31U) - 1}}));
    EXPECT_EQ(nullptr, buildFlat<uint32_t>({{1, 2, NO_RECORD - 1}, {5, 6, 1}}));
}

}  // namespace

}  // namespace rs::test
