#include "lookup/slot_keys.h"

#include <array>
#include <cstdint>

#include <gtest/gtest.h>

namespace rs::test {

namespace {

TEST(SlotKeys, MatchLikeThePortableTwin) {
    constexpr std::array<uint32_t, 5> VALUES = {0, 1, 0x80000000, 0x7FFFFFFF, UINT32_MAX};
    constexpr uint32_t COMBINATIONS = 5 * 5 * 5 * 5;
    for (uint32_t number = 0; number < COMBINATIONS; ++number) {
        // At an address that is no multiple of 16.
        alignas(16) std::array<uint32_t, SLOT_KEYS + 1> words{};
        uint32_t rest = number;
        for (uint32_t i = 1; i <= SLOT_KEYS; ++i) {
            words[i] = VALUES[rest % VALUES.size()];
            rest /= static_cast<uint32_t>(VALUES.size());
        }
        for (const uint32_t key : VALUES) {
            uint32_t expected = 0;
            for (uint32_t i = 0; i < SLOT_KEYS; ++i) {
                expected |= words[i + 1] == key ? 1U << i : 0;
            }
            EXPECT_EQ(expected, matchKeys(words.data() + 1, key)) << number;
            EXPECT_EQ(expected, matchKeysPortable(words.data() + 1, key)) << number;
        }
    }
}

}  // namespace

}  // namespace rs::test
