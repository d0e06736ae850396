#include "url/text_words.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <set>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "support/text.h"

namespace rs::test {

namespace {

uint64_t wordOf(std::string_view bytes) {
    const ExactText text(bytes);
    return firstWord(text.data(), text.size());
}

uint64_t hashOf(const HashSeed& seed, std::string_view bytes) {
    const ExactText text(bytes);
    return hashText(seed, text.data(), text.size());
}

TEST(FirstWord, HasTheFirstByteOnTop) {
    EXPECT_EQ(0U, wordOf(""));
    EXPECT_EQ(0x6100000000000000U, wordOf("a"));
    EXPECT_EQ(0x6162000000000000U, wordOf("ab"));
    EXPECT_EQ(0x6162630000000000U, wordOf("abc"));
    EXPECT_EQ(0x6162636400000000U, wordOf("abcd"));
    EXPECT_EQ(0x6162636465000000U, wordOf("abcde"));
    EXPECT_EQ(0x6162636465666700U, wordOf("abcdefg"));
    EXPECT_EQ(0x6162636465666768U, wordOf("abcdefgh"));
    EXPECT_EQ(0x6162636465666768U, wordOf("abcdefghi"));
    EXPECT_EQ(0xFF80000000000000U, wordOf("\xFF\x80"));
}

TEST(FirstWord, OrdersAsTheBytesDo) {
    const std::string_view texts[] = {"", "/", "/\x7F", "/\x80", "/a", "/aaaa", "/aaab", "/b", "0"};
    for (const std::string_view left : texts) {
        for (const std::string_view right : texts) {
            EXPECT_EQ(left < right, wordOf(left) < wordOf(right)) << left << " and " << right;
        }
    }
}

TEST(WordFrom, IsZeroFromTheEndOn) {
    const ExactText text("/abc");
    EXPECT_EQ(0x6263000000000000U, wordFrom(text.data(), text.size(), 2));
    EXPECT_EQ(0U, wordFrom(text.data(), text.size(), 4));
    EXPECT_EQ(0U, wordFrom(text.data(), text.size(), 9));
}

TEST(FourWords, AreThoseOfEightTo32Bytes) {
    EXPECT_FALSE(hasFourWords(0));
    EXPECT_FALSE(hasFourWords(7));
    EXPECT_TRUE(hasFourWords(8));
    EXPECT_TRUE(hasFourWords(32));
    EXPECT_FALSE(hasFourWords(33));
}

TEST(FourWords, AreTheSameWhenAllBytesAre) {
    for (size_t length = 8; length <= 32; ++length) {
        const std::string text(length, 'a');
        const ExactText left(text);
        EXPECT_TRUE(isSameInFourWords(left.data(), ExactText(text).data(), left.size()));
        for (size_t i = 0; i < length; ++i) {
            std::string changed = text;
            changed[i] = 'b';
            const ExactText right(changed);
            EXPECT_FALSE(isSameInFourWords(left.data(), right.data(), left.size()))
                << length << " bytes, of which byte " << i << " differs";
        }
    }
}

TEST(HashText, DependsOnEachByteOnTheLengthAndOnTheSeed) {
    constexpr HashSeed SEED{0x123456789ABCDEF1, 0xFEDCBA9876543211};
    std::set<uint64_t> hashes;
    size_t texts = 0;
    for (size_t length = 0; length <= 70; ++length) {
        const std::string text(length, 'a');
        hashes.insert(hashOf(SEED, text));
        ++texts;
        for (size_t i = 0; i < length; ++i) {
            std::string changed = text;
            changed[i] = 'b';
            hashes.insert(hashOf(SEED, changed));
            ++texts;
        }
    }
    EXPECT_EQ(texts, hashes.size());
    EXPECT_NE(hashOf(SEED, "a.test"), hashOf({SEED.left + 1, SEED.right}, "a.test"));
    EXPECT_NE(hashOf(SEED, "a.test"), hashOf({SEED.left, SEED.right + 1}, "a.test"));
}

}  // namespace

}  // namespace rs::test
