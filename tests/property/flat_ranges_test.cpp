// Flat lookups of random intervals, compared with a search through the sorted list.
#include <algorithm>
#include <cstdint>
#include <vector>

#include <gtest/gtest.h>

#include "support/interval_sweep.h"
#include "support/random_source.h"
#include "syntax/address128.h"

namespace rs::test {

namespace {

uint32_t randomAddress(RandomSource& random, uint32_t base) {
    const uint32_t bits = random.below32(33);
    const uint32_t low = bits == 32 ? random.bits32() : random.bits32() & ((1U << bits) - 1);
    return random.oneIn(4) ? random.bits32() & ~0xFFU : base ^ low;
}

Address128 randomAddress(RandomSource& random, const Address128& base) {
    Address128 address = base;
    const uint32_t from = random.below32(4);
    for (uint32_t i = from; i < 4; ++i) {
        address.words[i] = i == from ? randomAddress(random, base.words[i]) : random.bits32();
        if (random.oneIn(3)) {
            address.words[i] = random.oneIn(2) ? 0 : UINT32_MAX;
        }
    }
    return random.oneIn(8) ? mappedAddress(random.bits32()) : address;
}

// Cuts the space at random addresses and gives some of the pieces records.
template <typename Address>
Intervals<Address> randomIntervals(RandomSource& random) {
    const Address base = randomAddress(random, Address{});
    std::vector<Address> cuts;
    for (uint64_t count = random.below(random.oneIn(4) ? 3000 : 80); count > 0; --count) {
        cuts.push_back(randomAddress(random, base));
        if (random.oneIn(4)) {
            cuts.push_back(nextAddress(cuts.back()));
        }
    }
    cuts.push_back(Address{});
    std::sort(cuts.begin(), cuts.end());
    cuts.erase(std::unique(cuts.begin(), cuts.end()), cuts.end());
    const uint64_t gaps = random.between(1, 5);
    const uint32_t records = 1 + random.below32(random.oneIn(3) ? 3 : 1'000'000);
    Intervals<Address> intervals;
    for (size_t i = 0; i < cuts.size(); ++i) {
        if (gaps == 1 || !random.oneIn(gaps)) {
            const Address next = i + 1 < cuts.size() ? cuts[i + 1] : Address{};
            intervals.push_back({cuts[i], previousAddress(next), random.below32(records)});
        }
    }
    return intervals;
}

template <typename Address>
void expectRandomAsSwept(RandomSource& random) {
    std::vector<Address> keys;
    for (int i = 0; i < 200; ++i) {
        keys.push_back(randomAddress(random, Address{}));
    }
    expectAsSwept(randomIntervals<Address>(random), keys);
}

TEST(FlatRangesProperty, FindWhatASearchFinds32) {
    forEachCase(1000, expectRandomAsSwept<uint32_t>);
}

TEST(FlatRangesProperty, FindWhatASearchFinds128) {
    forEachCase(1000, expectRandomAsSwept<Address128>);
}

}  // namespace

}  // namespace rs::test
