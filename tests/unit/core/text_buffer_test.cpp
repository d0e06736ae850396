#include "core/text_buffer.h"

#include <ruleset.h>

#include <cstdint>

#include <gtest/gtest.h>

#include "support/growing_text.h"

namespace rs::test {

namespace {

TEST(TextBuffer, IsTheLargestUpTo8191) {
    // 8191 is 15 and a multiple of 16, so an input of 15 bytes meets the limit exactly.
    constexpr struct {
        uint32_t inputLength;
        uint64_t size;
    } ROWS[] = {
        {0, 8176},
        {5, 8181},
        {15, 8191},
        {16, 8176},
        {8143, 8191},
        {8144, 8176},
        {8159, 8191},
        {8160, 8176},
        {8174, 8190},
        {8175, 8191},
        // The first buffer, whatever its size.
        {8176, 8192},
        {8191, 8207},
        {100000, 100016},
        {UINT32_MAX - 16, UINT32_MAX},
        {UINT32_MAX, uint64_t{UINT32_MAX} + 16},
    };
    for (const auto& row : ROWS) {
        EXPECT_EQ(row.size, largestTextBuffer(row.inputLength)) << row.inputLength;
    }
}

TEST(TextBuffer, IsTheLastOfAGrowingBuffer) {
    for (uint32_t inputLength = 0; inputLength < 8300; ++inputLength) {
        const GrowingRun run = parseIntoGrowingText(
            inputLength,
            [](char* /*buffer*/, uint32_t* /*inOutLength*/) { return RULE_ERR_BUFFER_SMALL; });
        ASSERT_EQ(run.sizes.back(), largestTextBuffer(inputLength)) << inputLength;
    }
}

}  // namespace

}  // namespace rs::test
