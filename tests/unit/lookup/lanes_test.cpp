#include "lookup/lanes.h"

#include <array>
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
    std::array<uint8_t, 4 * TAG_LANES> bytes{};
    for (int round = 0; round < ROUNDS; ++round) {
        for (uint8_t& byte : bytes) {
            byte = static_cast<uint8_t>(random() % 4 * 85);  // 0, 85, 170, 255
        }
        const uint8_t* tags = bytes.data() + random() % (bytes.size() - TAG_LANES + 1);
        const auto tag = static_cast<uint8_t>(random() % 4 * 85);
        ASSERT_EQ(matchTagsPortable(tags, tag), matchTags(tags, tag));
    }
}

TEST(Lanes, CountNotAboveComparesUnsigned) {
    KeyLine line{};
    EXPECT_EQ(KEY_LANES, countNotAbove(line, 0));
    line.keys.fill(0xFFFF);
    EXPECT_EQ(0U, countNotAbove(line, 0xFFFE));
    EXPECT_EQ(KEY_LANES, countNotAbove(line, 0xFFFF));
    line.keys[0] = 0x7FFF;
    line.keys[9] = 0x8000;
    line.keys[31] = 0x8001;
    EXPECT_EQ(0U, countNotAbove(line, 0x7FFE));
    EXPECT_EQ(1U, countNotAbove(line, 0x7FFF));
    EXPECT_EQ(2U, countNotAbove(line, 0x8000));
    EXPECT_EQ(3U, countNotAbove(line, 0x8001));
}

TEST(Lanes, CountNotAboveIsItsPortableTwin) {
    std::mt19937 random(2);
    KeyLine line{};
    for (int round = 0; round < ROUNDS; ++round) {
        const uint32_t spread = uint32_t{1} << (random() % 17);
        const auto key = static_cast<uint16_t>(random());
        for (uint16_t& lane : line.keys) {
            lane = static_cast<uint16_t>(key + random() % (2 * spread) - spread);
        }
        ASSERT_EQ(countNotAbovePortable(line, key), countNotAbove(line, key));
    }
}

}  // namespace

}  // namespace rs::test
