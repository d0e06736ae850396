// Disjoint intervals and the plain search through them, which a flat lookup of ranges is compared with.
#pragma once

#include <algorithm>
#include <cstdint>
#include <memory>
#include <vector>

#include <gtest/gtest.h>

#include "lookup/flat_range_tree.h"
#include "lookup/flat_ranges.h"
#include "lookup/range_starts.h"
#include "syntax/address128.h"

namespace rs::test {

template <typename Address>
struct Interval {
    Address low;
    Address high;
    uint32_t record;
};

// In order, and none touches the next but with another or the same record.
template <typename Address>
using Intervals = std::vector<Interval<Address>>;

struct FlatRangesFreeing {
    template <typename Address>
    void operator()(FlatRanges<Address>* ranges) const {
        freeFlatRanges(ranges);
    }
};

template <typename Address>
using OwnedFlatRanges = std::unique_ptr<FlatRanges<Address>, FlatRangesFreeing>;

template <typename Address>
uint32_t sweep(const Intervals<Address>& intervals, const Address& address) {
    auto next = std::upper_bound(
        intervals.begin(), intervals.end(), address,
        [](const Address& value, const Interval<Address>& each) { return value < each.low; });
    return next == intervals.begin() || (--next)->high < address ? NO_RECORD : next->record;
}

// Null when the intervals cannot have a flat lookup.
template <typename Address>
OwnedFlatRanges<Address> buildFlat(const Intervals<Address>& intervals) {
    FlatRangeStarts<Address> starts;
    EXPECT_TRUE(starts.reserve(intervals.size()));
    for (const Interval<Address>& each : intervals) {
        starts.add(each.low, each.high, each.record);
    }
    starts.finish();
    return OwnedFlatRanges<Address>(buildFlatRanges(starts));
}

// Builds a flat lookup and compares it at the ends of all intervals, beside them, and at each of the keys. Its size is
// within what its header promises.
template <typename Address>
OwnedFlatRanges<Address> expectAsSwept(const Intervals<Address>& intervals,
                                       const std::vector<Address>& keys = {}) {
    OwnedFlatRanges<Address> flat = buildFlat(intervals);
    EXPECT_NE(nullptr, flat);
    if (flat == nullptr) {
        return flat;
    }
    uint64_t failures = 0;
    const auto compare = [&](const Address& key) {
        failures += sweep(intervals, key) == findFlatRange(*flat, key) ? 0 : 1;
    };
    for (const Interval<Address>& each : intervals) {
        for (const Address& end : {each.low, each.high}) {
            compare(previousAddress(end));
            compare(end);
            compare(nextAddress(end));
        }
    }
    std::for_each(keys.begin(), keys.end(), compare);
    EXPECT_EQ(0U, failures);
    EXPECT_LE(flat->byteCount,
              (2 * intervals.size() + 1) * FlatRanges<Address>::MOST_BYTES_OF_START + 4096);
    return flat;
}

}  // namespace rs::test
