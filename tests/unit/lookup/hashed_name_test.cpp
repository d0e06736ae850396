#include "lookup/hashed_name.h"

#include <cstdint>
#include <string_view>

#include <gtest/gtest.h>

#include "support/text.h"

namespace rs::test {

namespace {

HashedName nameOf(std::string_view bytes, uint32_t hash) {
    return {bytes.data(), size32(bytes), hash};
}

int32_t signOf(int32_t order) {
    return static_cast<int32_t>(order > 0) - static_cast<int32_t>(order < 0);
}

// -1, 0 or 1; the two must stand the other way round when they are exchanged.
int32_t orderOf(const HashedName& left, const HashedName& right) {
    const int32_t order = signOf(compareHashedNames(left, right));
    EXPECT_EQ(-order, signOf(compareHashedNames(right, left)));
    return order;
}

TEST(HashedName, StandsByTheSignOfTheWrappingHashDifference) {
    constexpr struct {
        uint32_t left;
        uint32_t right;
        int32_t order;
    } ROWS[] = {
        {1, 2, -1},
        {2, 1, 1},
        {0, 0x7FFFFFFF, -1},
        // Beyond half of the range the difference turns over.
        {0, 0x80000001, 1},
        {0xFFFFFFFF, 0, -1},
        {0xFFFFFFF0, 0x10, -1},
        {0x80000000, 0xFFFFFFFF, -1},
    };
    for (const auto& row : ROWS) {
        SCOPED_TRACE(testing::Message() << row.left << ' ' << row.right);
        // The bytes would say the opposite.
        const bool isBefore = row.order < 0;
        EXPECT_EQ(row.order, orderOf(nameOf(isBefore ? "b" : "a", row.left),
                                     nameOf(isBefore ? "a" : "b", row.right)));
    }
}

TEST(HashedName, OfEqualHashStandsByUnsignedBytesAndThenByLength) {
    constexpr std::string_view ASCENDING[] = {"",   "a",    "aa",   "ab",  "b",
                                              "ba", "\x7F", "\x80", "\xFF"};
    for (uint32_t left = 0; left < std::size(ASCENDING); ++left) {
        for (uint32_t right = 0; right < std::size(ASCENDING); ++right) {
            SCOPED_TRACE(testing::Message() << left << ' ' << right);
            EXPECT_EQ(static_cast<int32_t>(left > right) - static_cast<int32_t>(left < right),
                      orderOf(nameOf(ASCENDING[left], 5), nameOf(ASCENDING[right], 5)));
        }
    }
}

TEST(HashedName, IsEqualByItsBytesNotByItsHash) {
    EXPECT_EQ(0, orderOf(nameOf("web", 7), nameOf("web", 7)));
    EXPECT_NE(0, orderOf(nameOf("web", 7), nameOf("wec", 7)));
    EXPECT_NE(0, orderOf(nameOf("web", 7), nameOf("webs", 7)));
    EXPECT_NE(0, orderOf(nameOf("web", 7), nameOf("web", 8)));
}

TEST(HashedName, ReadsNoByteBehindItsLength) {
    const ExactText left("web");
    const ExactText right("webs");
    EXPECT_GT(0,
              compareHashedNames({left.data(), left.size(), 1}, {right.data(), right.size(), 1}));
}

TEST(AddToNameHash, AddsTheByteAndTheUpperHalfOfTheHash) {
    static_assert(addToNameHash(0, 'a', 1999) == 97U * 1999);
    static_assert(addToNameHash(0xFFFF, '\0', 1999) == 0xFFFF);
    static_assert(addToNameHash(0x10000, '\0', 1999) == 0x10001);
    static_assert(addToNameHash(0x00030000, '\x01', 3571) == 0x00030000 + 3571 + 3);
    // A byte from 0x80 on counts as it stands, without sign.
    static_assert(addToNameHash(0, '\xFF', 3571) == 255U * 3571);
    // The sum wraps.
    static_assert(addToNameHash(0xFFFFFFFF, '\0', 1999) == 0xFFFE);
    SUCCEED();
}

TEST(LargestNameHash, IsThatOfTheLargestBytes) {
    static_assert(largestNameHash(0, 1999) == 0);
    static_assert(largestNameHash(1, 3571) == 255U * 3571);
    static_assert(largestNameHash(2, 3571) == 2U * 255 * 3571 + (255U * 3571 >> 16U));
    for (const uint32_t factor : {1999U, 3571U}) {
        uint32_t hash = 0;
        for (uint32_t length = 1; length <= 255; ++length) {
            const uint32_t before = hash;
            hash = addToNameHash(hash, '\xFF', factor);
            EXPECT_LT(before, hash);
            EXPECT_EQ(hash, largestNameHash(length, factor));
        }
        EXPECT_GT(uint32_t{INT32_MAX}, hash);
    }
}

TEST(LargestNameHash, SaysFromWhichLengthOnNamesFormACircle) {
    for (const uint32_t factor : {1999U, 3571U}) {
        uint32_t length = 255;
        while (largestNameHash(length, factor) <= INT32_MAX) {
            ++length;
        }
        // So are all longer names.
        EXPECT_LT(uint32_t{INT32_MAX}, largestNameHash(length + 1, factor));
        EXPECT_LT(uint32_t{INT32_MAX}, largestNameHash(UINT32_MAX, factor));

        const HashedName none = nameOf("", 0);
        const HashedName longest = nameOf("a", largestNameHash(length - 1, factor));
        EXPECT_EQ(-1, orderOf(none, longest)) << "0 comes first up to this length";
        // One more: no hash comes first of the three.
        const HashedName tooLong = nameOf("b", largestNameHash(length, factor) + 1);
        EXPECT_EQ(-1, orderOf(longest, tooLong));
        EXPECT_EQ(-1, orderOf(tooLong, none));
    }
}

}  // namespace

}  // namespace rs::test
