#include "syntax/address128.h"

#include <cstdint>

#include <gtest/gtest.h>

namespace rs::test {

namespace {

constexpr uint32_t ONES = 0xFFFFFFFF;

TEST(Address128, ComparesAsUnsignedNumbers) {
    constexpr uint32_t ASCENDING[] = {0, 1, 0x7FFFFFFF, 0x80000000, ONES};
    for (const uint32_t& left : ASCENDING) {
        for (const uint32_t& right : ASCENDING) {
            const int32_t order = &left == &right ? 0 : (&left > &right ? 1 : -1);
            EXPECT_EQ(order, compareU32(left, right)) << left << ' ' << right;
        }
    }
}

TEST(Address128, ComparesWordByWord) {
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

TEST(Address128, StepsToItsNeighbours) {
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

TEST(Address128, KnowsMappedAddresses) {
    EXPECT_EQ((Address128{{0, 0, 0x0000FFFF, 0x0A010203}}), mappedAddress(0x0A010203));
    EXPECT_TRUE(isIpv4Mapped(mappedAddress(0)));
    EXPECT_TRUE(isIpv4Mapped(mappedAddress(0xFFFFFFFF)));
    EXPECT_FALSE(isIpv4Mapped({{0, 0, 0, 0x0A000001}}));
    EXPECT_FALSE(isIpv4Mapped({{0, 0, 0x0000FFFE, 0xFFFFFFFF}}));
    EXPECT_FALSE(isIpv4Mapped({{0, 0, 0x00010000, 0}}));
    EXPECT_FALSE(isIpv4Mapped({{0, 1, 0x0000FFFF, 0}}));
    EXPECT_FALSE(isIpv4Mapped({{1, 0, 0x0000FFFF, 0}}));
    EXPECT_FALSE(isIpv4Mapped({{0, 0, 0xFFFF0000, 0}}));
}

TEST(Address128, OrdersAddressesAsNumbers) {
    constexpr Address128 ASCENDING[] = {
        {{0, 0, 0, 0}},          {{0, 0, 0, 1}},          {{0, 0, 0, 0x80000000}},
        {{0, 0, 0, 0xFFFFFFFF}}, {{0, 0, 1, 0}},          {{0, 1, 0, 0}},
        {{1, 0, 0, 0}},          {{0x80000000, 0, 0, 0}}, {{0xFFFFFFFF, 0, 0, 0}},
    };
    for (const Address128& left : ASCENDING) {
        for (const Address128& right : ASCENDING) {
            EXPECT_EQ(&left < &right, left < right);
            EXPECT_EQ(&left == &right, left == right);
        }
    }
}
}  // namespace

}  // namespace rs::test
