#include "lookup/hash_seed.h"

#include <cstdint>
#include <set>

#include <gtest/gtest.h>

#include "support/random_source.h"

namespace rs::test {

namespace {

TEST(HashSeed, IsAnotherOneEachTime) {
    constexpr int COUNT = 1000;
    std::set<uint64_t> words;
    for (int i = 0; i < COUNT; ++i) {
        const HashSeed seed = newHashSeed();
        words.insert(seed.left);
        words.insert(seed.right);
    }
    EXPECT_EQ(2 * COUNT, words.size());
}

TEST(HashMixing, PutsBothHalvesOfTheProductTogether) {
    EXPECT_EQ(6, mixHash(2, 3));
    EXPECT_EQ(0, mixHash(0, UINT64_MAX));
    EXPECT_EQ(1, mixHash(uint64_t{1} << 32U, uint64_t{1} << 32U));
    // (2^64 - 1)^2 is 2^128 - 2^65 + 1.
    EXPECT_EQ(UINT64_MAX, mixHash(UINT64_MAX, UINT64_MAX));
}

// Over many secrets: with one alone, the product of few of its bits may change fewer.
TEST(HashMixing, ChangesHalfOfTheBitsWithOneOfItsInputs) {
    RandomSource random(1);
    uint64_t changed = 0;
    uint64_t pairs = 0;
    for (uint64_t word = 0; word < 1000; ++word) {
        const HashSeed seed{random.bits(), random.bits()};
        const uint64_t hash = mixHash(word ^ seed.left, seed.right);
        for (uint32_t bit = 0; bit < 64; ++bit, ++pairs) {
            const uint64_t other = mixHash(word ^ (uint64_t{1} << bit) ^ seed.left, seed.right);
            changed += static_cast<uint64_t>(__builtin_popcountll(hash ^ other));
        }
    }
    EXPECT_GT(changed, 28 * pairs);
    EXPECT_LT(changed, 36 * pairs);
}

}  // namespace

}  // namespace rs::test
