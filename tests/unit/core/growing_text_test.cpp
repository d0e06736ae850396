#include "core/growing_text.h"

#include <ruleset.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

namespace rs::test {

namespace {

// What came of a parser that gives its answers one by one, and the last of them for ever.
struct ParserRun {
    int32_t status;
    std::vector<uint32_t> sizes;  // of the buffers that it was called with
    bool hasText;
};

ParserRun runParser(uint32_t inputLength, std::vector<int32_t> answers) {
    ParserRun run{};
    OwnedMemory<char[]> text;
    run.status = parseIntoGrowingText(
        inputLength,
        [&](char* buffer, uint32_t* inOutLength) {
            // The whole capacity is the parser's to write.
            std::memset(buffer, 'x', *inOutLength);
            const size_t call = run.sizes.size();
            run.sizes.push_back(*inOutLength);
            *inOutLength = 1;
            return call < answers.size() ? answers[call] : answers.back();
        },
        text);
    run.hasText = text != nullptr;
    return run;
}

TEST(GrowingText, StartsWithSixteenBytesMoreThanTheInput) {
    for (const uint32_t inputLength : {0U, 1U, 100U, 8175U, 8176U}) {
        const ParserRun run = runParser(inputLength, {RULE_OK});
        EXPECT_EQ(RULE_OK, run.status);
        EXPECT_EQ(std::vector<uint32_t>{inputLength + 16}, run.sizes);
        EXPECT_TRUE(run.hasText);
    }
}

TEST(GrowingText, GrowsBySixteenBytesWhileTheBufferIsSmall) {
    const ParserRun run = runParser(
        5, {RULE_ERR_BUFFER_SMALL, RULE_ERR_BUFFER_SMALL, RULE_ERR_BUFFER_SMALL, RULE_OK});
    EXPECT_EQ(RULE_OK, run.status);
    EXPECT_EQ((std::vector<uint32_t>{21, 37, 53, 69}), run.sizes);
    EXPECT_TRUE(run.hasText);
}

TEST(GrowingText, StopsAtTheFirstOtherStatus) {
    for (const int32_t status : {RULE_ERR_BAD_RULE, RULE_ERR_BAD_SCHEME, RULE_ERR_NO_MEMORY, 1}) {
        ParserRun run = runParser(5, {status});
        EXPECT_EQ(status, run.status);
        EXPECT_EQ(std::vector<uint32_t>{21}, run.sizes);
        EXPECT_FALSE(run.hasText);

        run = runParser(5, {RULE_ERR_BUFFER_SMALL, status});
        EXPECT_EQ(status, run.status);
        EXPECT_EQ((std::vector<uint32_t>{21, 37}), run.sizes);
        EXPECT_FALSE(run.hasText);
    }
}

TEST(GrowingText, GivesUpBeforeASizeAbove8191) {
    // 8191 is 15 and a multiple of 16, so an input of 15 bytes meets the limit exactly.
    constexpr struct {
        uint32_t inputLength;
        uint32_t lastSize;
        size_t calls;
    } ROWS[] = {
        {0, 8176, 511},
        {15, 8191, 511},
        {16, 8176, 510},
        {8143, 8191, 3},
        {8144, 8176, 2},
        {8159, 8191, 2},
        {8160, 8176, 1},
        {8174, 8190, 1},
        {8175, 8191, 1},
        // The first call is made whatever its size.
        {8176, 8192, 1},
        {8191, 8207, 1},
        {100000, 100016, 1},
    };
    for (const auto& row : ROWS) {
        SCOPED_TRACE(row.inputLength);
        const ParserRun run = runParser(row.inputLength, {RULE_ERR_BUFFER_SMALL});
        EXPECT_EQ(RULE_ERR_BUFFER_SMALL, run.status);
        EXPECT_EQ(row.calls, run.sizes.size());
        EXPECT_EQ(row.inputLength + 16, run.sizes.front());
        EXPECT_EQ(row.lastSize, run.sizes.back());
        EXPECT_FALSE(run.hasText);
    }
}

TEST(GrowingText, HandsOverTheBufferOfTheLastCall) {
    OwnedMemory<char[]> text;
    const char* lastBuffer = nullptr;
    const int32_t status = parseIntoGrowingText(
        0,
        [&](char* buffer, uint32_t* inOutLength) -> int32_t {
            lastBuffer = buffer;
            if (*inOutLength < 32) {
                return RULE_ERR_BUFFER_SMALL;
            }
            std::fill_n(buffer, 7, 'a');
            *inOutLength = 7;
            return RULE_OK;
        },
        text);
    EXPECT_EQ(RULE_OK, status);
    ASSERT_NE(nullptr, text);
    EXPECT_EQ(lastBuffer, text.get());
    EXPECT_EQ("aaaaaaa", std::string_view(text.get(), 7));
}

TEST(GrowingText, LeavesTheOutputAloneOnFailure) {
    OwnedMemory<char[]> text(allocateBytes(4));
    const char* before = text.get();
    const auto refuse = [](char* /*buffer*/, uint32_t* /*inOutLength*/) -> int32_t {
        return RULE_ERR_BAD_RULE;
    };
    EXPECT_EQ(RULE_ERR_BAD_RULE, parseIntoGrowingText(10, refuse, text));
    EXPECT_EQ(before, text.get());
}

TEST(GrowingText, RefusesAnInputWhoseBufferWouldBeTooLong) {
    bool called = false;
    const auto parse = [&called](char* /*buffer*/, uint32_t* /*inOutLength*/) -> int32_t {
        called = true;
        return RULE_OK;
    };
    OwnedMemory<char[]> text;
    EXPECT_EQ(RULE_ERR_NO_MEMORY, parseIntoGrowingText(UINT32_MAX, parse, text));
    EXPECT_EQ(RULE_ERR_NO_MEMORY, parseIntoGrowingText(UINT32_MAX - 15, parse, text));
    EXPECT_FALSE(called);
}

}  // namespace

}  // namespace rs::test
