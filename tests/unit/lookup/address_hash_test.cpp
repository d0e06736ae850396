#include "lookup/address_hash.h"

#include <cstdint>

#include <gtest/gtest.h>

namespace rs::test {

namespace {

constexpr uint32_t ONES = 0xFFFFFFFF;

TEST(AddressHash, TakesEveryByte) {
    EXPECT_EQ(736, hashIPv4(0));
    EXPECT_EQ(914, hashIPv4(0x01020304));
    EXPECT_EQ(736 + 13, hashIPv4(0x00000001));
    EXPECT_EQ(736 + 17, hashIPv4(0x00000100));
    EXPECT_EQ(736 + 19, hashIPv4(0x00010000));
    EXPECT_EQ(736 + 37, hashIPv4(0x01000000));
    EXPECT_EQ(736 + 255 * (13 + 17 + 19 + 37), hashIPv4(ONES));
}

TEST(AddressHash, TakesTheWrappingSumOfTheirWords) {
    EXPECT_EQ(736, hashIPv6({{0, 0, 0, 0}}));
    EXPECT_EQ(914, hashIPv6({{0x01000000, 0x00020000, 0x00000300, 0x00000004}}));
    EXPECT_EQ(hashIPv4(0x0A00FFFF + 1), hashIPv6({{1, 0, 0xFFFF, 0x0A000000}}));
    EXPECT_EQ(736, hashIPv6({{ONES, 1, 0, 0}}));
    EXPECT_EQ(hashIPv4(0xFFFFFFFC), hashIPv6({{ONES, ONES, ONES, ONES}}));
}

}  // namespace

}  // namespace rs::test
