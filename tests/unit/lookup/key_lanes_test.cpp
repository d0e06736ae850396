#include "lookup/key_lanes.h"

#include <array>
#include <cstdint>
#include <cstring>
#include <limits>

#include <gtest/gtest.h>

#include "support/random_source.h"

namespace rs::test {

namespace {

void expectAlike(const std::array<uint32_t, 16>& line, int16_t key) {
    uint32_t expected = 0;
    for (uint32_t i = 0; i < KEY_LANES; ++i) {
        int16_t lane = 0;
        std::memcpy(&lane, reinterpret_cast<const char*>(line.data()) + i * sizeof(lane),
                    sizeof(lane));
        expected |= lane > key ? uint32_t{1} << i : 0;
    }
    EXPECT_EQ(expected, maskAbove(line.data(), key));
    EXPECT_EQ(expected, maskAbovePortable(line.data(), key));
}

void expectAlikeForAllKinds(const std::array<uint32_t, 16>& line, RandomSource& random) {
    using Limits = std::numeric_limits<int16_t>;
    int16_t near = 0;
    std::memcpy(&near, line.data() + random.below(16), sizeof(near));
    const int16_t keys[] = {
        Limits::min(), Limits::max(), 0, -1, near, static_cast<int16_t>(random.bits())};
    for (const int16_t key : keys) {
        expectAlike(line, key);
    }
}

TEST(KeyLanes, TellWhichAreAbove) {
    std::array<uint32_t, 16> line{};
    const std::array<int16_t, 32> keys{-7, 2, 5, 5, 8};
    std::memcpy(line.data(), keys.data(), sizeof(line));
    EXPECT_EQ(1U << 4U, maskAbove(line.data(), int16_t{5}));
    EXPECT_EQ(0U, maskAbove(line.data(), int16_t{8}));
}

TEST(KeyLanes, AreAlikeOnEveryMachine) {
    RandomSource random(7);
    for (int i = 0; i < 2000; ++i) {
        std::array<uint32_t, 16> line{};
        for (uint32_t& word : line) {
            word = random.oneIn(4) ? static_cast<uint32_t>(random.pick<int32_t>(
                                         {0, -1, INT32_MAX, INT32_MIN, 0x7FFF8000, -32768}))
                                   : random.bits32();
        }
        expectAlikeForAllKinds(line, random);
    }
}

}  // namespace

}  // namespace rs::test
