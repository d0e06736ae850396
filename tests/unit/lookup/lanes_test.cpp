#include "lookup/lanes.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <random>

#include <gtest/gtest.h>

namespace rs::test {

namespace {

constexpr int ROUNDS = 20000;

TEST(Lanes, MatchTagsNamesEachEqualByte) {
    std::array<uint8_t, TAG_LANES> tags{};
    tags[0] = 7;
    tags[3] = 7;
    tags[15] = 255;
    EXPECT_EQ(0x0009U, matchTags(tags.data(), 7));
    EXPECT_EQ(0x8000U, matchTags(tags.data(), 255));
    EXPECT_EQ(0x7FF6U, matchTags(tags.data(), 0));
    EXPECT_EQ(0U, matchTags(tags.data(), 8));
    tags.fill(128);
    EXPECT_EQ(0xFFFFU, matchTags(tags.data(), 128));
}

TEST(Lanes, MatchTagsIsItsPortableTwinAtEveryAddress) {
    std::mt19937 random(1);
    std::array<uint8_t, size_t{4} * TAG_LANES> bytes{};
    for (int round = 0; round < ROUNDS; ++round) {
        for (uint8_t& byte : bytes) {
            byte = static_cast<uint8_t>(random() % 4 * 85);  // 0, 85, 170, 255
        }
        const uint8_t* tags = bytes.data() + random() % (bytes.size() - TAG_LANES + 1);
        const auto tag = static_cast<uint8_t>(random() % 4 * 85);
        ASSERT_EQ(matchTagsPortable(tags, tag), matchTags(tags, tag));
    }
}

}  // namespace

}  // namespace rs::test
