#include "syntax/text_writer.h"

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "support/text.h"

namespace rs::test {

namespace {

// A writer into a block of exactly its capacity.
struct Output {
    explicit Output(uint32_t capacity)
        : bytes(std::make_unique<char[]>(capacity)), writer(bytes.get(), capacity) {}

    std::string written() const { return std::string(bytes.get(), writer.length()); }

    std::unique_ptr<char[]> bytes;
    TextWriter writer;
};

TEST(TextWriter, TakesBytesUntilItIsFull) {
    Output output(2);
    EXPECT_TRUE(output.writer.put('a'));
    EXPECT_EQ(1, output.writer.room());
    EXPECT_TRUE(output.writer.put('b'));
    EXPECT_EQ(0, output.writer.room());
    EXPECT_FALSE(output.writer.put('c'));
    EXPECT_EQ("ab", output.written());
    Output none(0);
    EXPECT_FALSE(none.writer.put('a'));
    EXPECT_EQ(0, none.writer.length());
}

TEST(TextWriter, TakesTextsWholeOrNotAtAll) {
    constexpr struct {
        uint32_t capacity;
        std::string_view text;
        bool fits;
    } ROWS[] = {{0, "", true},    {0, "A", false},    {1, "", true},     {3, "Ab", true},
                {3, "Abc", true}, {3, "Abcd", false}, {2, "Abc", false}, {1, "A", true}};
    for (const auto& row : ROWS) {
        SCOPED_TRACE(testing::Message() << row.text << " into " << row.capacity);
        const Text text{row.text.data(), size32(row.text)};
        Output kept(row.capacity);
        EXPECT_EQ(row.fits, kept.writer.put(text));
        EXPECT_EQ(row.fits ? row.text : "", kept.written());
        Output lowered(row.capacity);
        EXPECT_EQ(row.fits, lowered.writer.putLower(text));
        EXPECT_EQ(row.fits ? row.text.size() : 0, lowered.written().size());
    }
}

TEST(TextWriter, LowersAsciiLettersAlone) {
    Output output(8);
    EXPECT_TRUE(output.writer.putLower(literalText("AZ[@az\xC0")));
    EXPECT_EQ("az[@az\xC0", output.written());
}

TEST(TextWriter, PrintsNumbersThatFit) {
    constexpr struct {
        uint32_t number;
        int base;
        std::string_view text;
    } ROWS[] = {
        {0, 10, "0"}, {9, 10, "9"},       {255, 10, "255"},    {4294967295, 10, "4294967295"},
        {0, 16, "0"}, {0xAB9, 16, "ab9"}, {0xFFFF, 16, "ffff"}};
    for (const auto& row : ROWS) {
        for (uint32_t capacity = 0; capacity < row.text.size() + 2; ++capacity) {
            SCOPED_TRACE(testing::Message() << row.text << " into " << capacity);
            Output output(capacity);
            const bool fits = capacity >= row.text.size();
            EXPECT_EQ(fits, output.writer.putNumber(row.number, row.base));
            EXPECT_EQ(fits ? row.text : "", output.written());
        }
    }
}

TEST(TextWriter, StaysAsItWasAfterARefusal) {
    Output output(4);
    ASSERT_TRUE(output.writer.put(literalText("abc")));
    EXPECT_FALSE(output.writer.put(literalText("de")));
    EXPECT_FALSE(output.writer.putLower(literalText("de")));
    EXPECT_FALSE(output.writer.putNumber(10, 10));
    EXPECT_EQ("abc", output.written());
    EXPECT_EQ(1, output.writer.room());
    EXPECT_TRUE(output.writer.put(literalText("d")));
    EXPECT_EQ("abcd", output.written());
}

TEST(TextWriter, LetsOthersAppendIntoItsRoom) {
    Output output(4);
    ASSERT_TRUE(output.writer.put('a'));
    const auto writeTwo = [&](char* out, uint32_t* inOutCapacity) noexcept {
        EXPECT_EQ(output.writer.end(), out);
        EXPECT_EQ(3, *inOutCapacity);
        out[0] = 'b';
        out[1] = 'c';
        *inOutCapacity = 2;
        return RULE_OK;
    };
    EXPECT_EQ(RULE_OK, output.writer.append(writeTwo));
    EXPECT_EQ("abc", output.written());
    // What fails has written nothing that counts.
    const auto fail = [](char* out, uint32_t* inOutCapacity) noexcept {
        out[0] = 'x';
        *inOutCapacity = 1;
        return RULE_ERR_BAD_RULE;
    };
    EXPECT_EQ(RULE_ERR_BAD_RULE, output.writer.append(fail));
    EXPECT_EQ("abc", output.written());
    EXPECT_EQ(1, output.writer.room());
}

TEST(TextWriter, ShowsWhatIsWrittenFromAPositionOn) {
    Output output(4);
    ASSERT_TRUE(output.writer.put(literalText("ab")));
    const uint32_t start = output.writer.length();
    EXPECT_TRUE(output.writer.from(start).isEmpty());
    ASSERT_TRUE(output.writer.put(literalText("cd")));
    EXPECT_EQ(literalText("cd"), output.writer.from(start));
    EXPECT_EQ(literalText("abcd"), output.writer.from(0));
    EXPECT_TRUE(output.writer.from(4).isEmpty());
}

TEST(TextWriter, ForgetsItsLastByte) {
    Output output(2);
    ASSERT_TRUE(output.writer.put(literalText("a.")));
    output.writer.dropLast();
    EXPECT_EQ("a", output.written());
    EXPECT_EQ(1, output.writer.room());
}

}  // namespace

}  // namespace rs::test
