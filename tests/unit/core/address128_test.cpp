#include "core/address128.h"

#include <cstdint>

#include <gtest/gtest.h>

namespace rs::test {

namespace {

constexpr uint32_t ONES = 0xFFFFFFFF;

TEST(Addresses, CompareAsUnsignedNumbers) {
    constexpr uint32_t ASCENDING[] = {0, 1, 0x7FFFFFFF, 0x80000000, ONES};
    for (const uint32_t& left : ASCENDING) {
        for (const uint32_t& right : ASCENDING) {
            const int32_t order = &left == &right ? 0 : (&left > &right ? 1 : -1);
            EXPECT_EQ(order, compareU32(left, right)) << left << ' ' << right;
        }
    }
}

TEST(Addresses, CompareWordByWord) {
    constexpr Address128 ASCENDING[] = {
        {{0, 0, 0, 0}},          {{0, 0, 0, ONES}}, {{0, 0, 1, 0}}, {{0, 0, ONES, 5}},
        {{0, 1, 0, 0}},          {{1, 0, 0, 0}},    {{1, 0, 0, 1}}, {{1, 1, 0, 0}},
        {{0x80000000, 0, 0, 0}}, {{ONES, 0, 0, 0}},
    };
    for (const Address128& left : ASCENDING) {
        for (const Address128& right : ASCENDING) {
            const int32_t order = &left == &right ? 0 : (&left > &right ? 1 : -1);
            EXPECT_EQ(order, compareIPv6(left, right)) << &left - ASCENDING << &right - ASCENDING;
        }
    }
}

TEST(Addresses, StepBetweenNeighbours) {
    constexpr struct {
        Address128 address;
        Address128 next;
    } ROWS[] = {
        {{{0, 0, 0, 0}}, {{0, 0, 0, 1}}},
        {{{1, 2, 3, 4}}, {{1, 2, 3, 5}}},
        // Carries into one, two and three words.
        {{{1, 2, 3, ONES}}, {{1, 2, 4, 0}}},
        {{{1, 2, ONES, ONES}}, {{1, 3, 0, 0}}},
        {{{1, ONES, ONES, ONES}}, {{2, 0, 0, 0}}},
        {{{0, 0, 0xFFFE, ONES}}, {{0, 0, 0xFFFF, 0}}},
        {{{0, 0, 0xFFFF, ONES}}, {{0, 0, 0x10000, 0}}},
        // A word of ones above a word that does not overflow stays.
        {{{ONES, ONES, ONES, 0}}, {{ONES, ONES, ONES, 1}}},
        {{{0, ONES, 0, ONES}}, {{0, ONES, 1, 0}}},
        {{{ONES, ONES, ONES, ONES - 1}}, {{ONES, ONES, ONES, ONES}}},
        // The last wraps to the first.
        {{{ONES, ONES, ONES, ONES}}, {{0, 0, 0, 0}}},
    };
    for (const auto& row : ROWS) {
        SCOPED_TRACE(::testing::PrintToString(row.address.words));
        EXPECT_EQ(row.next, nextAddress(row.address));
        EXPECT_EQ(row.address, previousAddress(row.next));
    }
    EXPECT_EQ(0x80000000, nextAddress(uint32_t{0x7FFFFFFF}));
    EXPECT_EQ(0, nextAddress(ONES));
    EXPECT_EQ(0x7FFFFFFF, previousAddress(uint32_t{0x80000000}));
    EXPECT_EQ(ONES, previousAddress(uint32_t{0}));
}

TEST(Addresses, HashTheirBytes) {
    EXPECT_EQ(736, hashIPv4(0));
    EXPECT_EQ(914, hashIPv4(0x01020304));
    EXPECT_EQ(736 + 13, hashIPv4(0x00000001));
    EXPECT_EQ(736 + 17, hashIPv4(0x00000100));
    EXPECT_EQ(736 + 19, hashIPv4(0x00010000));
    EXPECT_EQ(736 + 37, hashIPv4(0x01000000));
    EXPECT_EQ(736 + 255 * (13 + 17 + 19 + 37), hashIPv4(ONES));
}

TEST(Addresses, HashTheWrappingSumOfTheirWords) {
    EXPECT_EQ(736, hashIPv6({{0, 0, 0, 0}}));
    EXPECT_EQ(914, hashIPv6({{0x01000000, 0x00020000, 0x00000300, 0x00000004}}));
    EXPECT_EQ(hashIPv4(0x0A00FFFF + 1), hashIPv6({{1, 0, 0xFFFF, 0x0A000000}}));
    EXPECT_EQ(736, hashIPv6({{ONES, 1, 0, 0}}));
    EXPECT_EQ(hashIPv4(0xFFFFFFFC), hashIPv6({{ONES, ONES, ONES, ONES}}));
}

}  // namespace

}  // namespace rs::test
