#include "lookup/key_lanes.h"

#include <array>
#include <cstdint>
#include <cstring>
#include <limits>

#include <gtest/gtest.h>

#include "support/random_source.h"

namespace rs::test {

namespace {

template <typename Lane>
void expectAlike(const std::array<uint32_t, 16>& line, Lane key) {
    uint32_t expected = 0;
    for (uint32_t i = 0; i < LANES<Lane>; ++i) {
        Lane lane = 0;
        std::memcpy(&lane, reinterpret_cast<const char*>(line.data()) + i * sizeof(Lane),
                    sizeof(Lane));
        expected |= lane > key ? uint32_t{1} << i : 0;
    }
    EXPECT_EQ(expected, maskAbove(line.data(), key));
    EXPECT_EQ(expected, maskAbovePortable(line.data(), key));
}

template <typename Lane>
void expectAlikeForAllKinds(const std::array<uint32_t, 16>& line, RandomSource& random) {
    using Limits = std::numeric_limits<Lane>;
    Lane near = 0;
    std::memcpy(&near, line.data() + random.below(16), sizeof(Lane));
    const Lane keys[] = {
        Limits::min(), Limits::max(), 0, -1, near, static_cast<Lane>(random.bits())};
    for (const Lane key : keys) {
        expectAlike<Lane>(line, key);
    }
}

TEST(KeyLanes, TellWhichAreAbove) {
    std::array<uint32_t, 16> line{};
    const std::array<int32_t, 16> keys{-7, 2, 5, 5, 8};
    std::memcpy(line.data(), keys.data(), sizeof(line));
    EXPECT_EQ(1U << 4U, maskAbove(line.data(), int32_t{5}));
    EXPECT_EQ(0U, maskAbove(line.data(), int32_t{8}));
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
        expectAlikeForAllKinds<int16_t>(line, random);
        expectAlikeForAllKinds<int32_t>(line, random);
    }
}

}  // namespace

}  // namespace rs::test
