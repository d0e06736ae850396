#include "core/text_slab.h"

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace rs::test {

namespace {

size_t chunkCountOf(const TextSlab& slab) {
    size_t count = 0;
    for (const TextChunk* chunk = slab.newest; chunk != nullptr; chunk = chunk->next) {
        ++count;
    }
    return count;
}

TEST(TextSlab, KeepsTextsOfAllLengths) {
    TextSlab slab{};
    std::vector<std::pair<char*, std::string>> texts;
    for (size_t length = 0; length < 3000; length += 7) {
        const std::string text(length, static_cast<char>('a' + length % 26));
        char* stored = newText(slab, length);
        ASSERT_NE(nullptr, stored);
        std::memcpy(stored, text.data(), length);
        texts.emplace_back(stored, text);
    }
    for (const auto& [stored, text] : texts) {
        EXPECT_EQ(text, std::string(stored, text.size()));
    }
    freeTextSlab(slab);
    EXPECT_EQ(nullptr, slab.newest);
}

TEST(TextSlab, HasFewChunks) {
    TextSlab slab{};
    for (uint32_t i = 0; i < 500000; ++i) {
        ASSERT_NE(nullptr, newText(slab, 20));
    }
    EXPECT_LT(chunkCountOf(slab), 25U);
    freeTextSlab(slab);
}

TEST(TextSlab, GivesALongTextAChunkToItself) {
    TextSlab slab{};
    constexpr size_t LONG = size_t{3} << 20U;
    char* text = newText(slab, LONG);
    ASSERT_NE(nullptr, text);
    std::memset(text, 'x', LONG);
    EXPECT_NE(nullptr, newText(slab, 1));
    EXPECT_EQ(2, chunkCountOf(slab));
    EXPECT_EQ(nullptr, newText(slab, SIZE_MAX));
    freeTextSlab(slab);
}

}  // namespace

}  // namespace rs::test
