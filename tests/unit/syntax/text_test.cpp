#include "syntax/text.h"

#include <cstdint>
#include <string_view>

#include <gtest/gtest.h>

#include "support/text.h"

namespace rs::test {

namespace {

using std::string_view_literals::operator""sv;

Text textOf(std::string_view bytes) {
    return {bytes.data(), size32(bytes)};
}

std::string_view viewOf(Text text) {
    return {text.text, text.length};
}

TEST(Text, IsALiteralWithoutItsNul) {
    constexpr Text NAME = literalText("name");
    EXPECT_EQ("name", viewOf(NAME));
    EXPECT_TRUE(literalText("").isEmpty());
    EXPECT_EQ("a\0b"sv, viewOf(literalText("a\0b")));
}

TEST(Text, IsCutIntoItsFirstBytesAndTheRest) {
    const Text text = literalText("abc");
    constexpr struct {
        uint32_t count;
        std::string_view first;
        std::string_view rest;
    } ROWS[] = {{0, "", "abc"}, {1, "a", "bc"}, {2, "ab", "c"}, {3, "abc", ""}};
    for (const auto& row : ROWS) {
        EXPECT_EQ(row.first, viewOf(text.first(row.count)));
        EXPECT_EQ(row.rest, viewOf(text.from(row.count)));
        EXPECT_EQ(row.first, viewOf(textBetween(text.begin(), text.begin() + row.count)));
    }
}

TEST(Text, FindsTheFirstOfAByteOrItsEnd) {
    constexpr struct {
        std::string_view text;
        uint32_t position;
    } ROWS[] = {{"", 0},    {";", 0},  {";ab", 0},  {"a;b", 1}, {"ab;", 2}, {"ab;c;d", 2},
                {"abc", 3}, {" ;", 1}, {"a,b;", 3}, {"a", 1},   {"a;;", 1}, {"a\0;"sv, 2}};
    for (const auto& row : ROWS) {
        const ExactText text(row.text);
        EXPECT_EQ(row.position, (Text{text.data(), text.size()}).find(';')) << row.text;
    }
    EXPECT_EQ(2, (Text{"a;b,c", 2}).find(','));
    EXPECT_EQ(0, (Text{nullptr, 0}).find(','));
}

TEST(Text, BeginsAndEndsWithOtherTexts) {
    constexpr struct {
        std::string_view text;
        std::string_view part;
        bool isStart;
        bool isTail;
    } ROWS[] = {
        {"abc", "", true, true},       {"", "", true, true},       {"abc", "abc", true, true},
        {"abc", "ab", true, false},    {"abc", "bc", false, true}, {"abc", "b", false, false},
        {"abc", "abcd", false, false}, {"", "a", false, false},    {"abc", "AB", false, false},
        {"aba", "a", true, true},
    };
    for (const auto& row : ROWS) {
        SCOPED_TRACE(testing::Message() << row.text << " and " << row.part);
        EXPECT_EQ(row.isStart, textOf(row.text).startsWith(textOf(row.part)));
        EXPECT_EQ(row.isTail, textOf(row.text).endsWith(textOf(row.part)));
    }
}

TEST(Text, EqualsTheSameBytesElsewhere) {
    const ExactText copy("ab");
    EXPECT_EQ(textOf("ab"), (Text{copy.data(), copy.size()}));
    EXPECT_EQ((Text{nullptr, 0}), textOf(""));
    for (const std::string_view other : {"", "a", "abc", "aB", "ba"}) {
        EXPECT_NE(textOf("ab"), textOf(other)) << other;
    }
}

TEST(Text, IsComparedWithNamesInAnyLetterCase) {
    constexpr struct {
        std::string_view text;
        bool isStart;
        bool isEqual;
    } ROWS[] = {
        {"tcp", true, true},      {"TcP", true, true},      {"tcp4", true, false},
        {"tc", false, false},     {"", false, false},       {"udp", false, false},
        {"t\x03p", false, false}, {"\364cp", false, false},
    };
    for (const auto& row : ROWS) {
        SCOPED_TRACE(::testing::PrintToString(row.text));
        const ExactText text(row.text);
        EXPECT_EQ(row.isStart, startsLowered({text.data(), text.size()}, literalText("tcp")));
        EXPECT_EQ(row.isEqual, equalsLowered({text.data(), text.size()}, literalText("tcp")));
    }
}

TEST(TrimBlanks, DropsFourKindsOfBlanksFromBothEnds) {
    constexpr struct {
        std::string_view text;
        uint32_t start;
        uint32_t length;
    } ROWS[] = {
        {"   ", 3, 0},
        {" \t\r\n", 4, 0},
        {"\tab \r\n", 1, 2},
        {"", 0, 0},
        {"a", 0, 1},
        {" a", 1, 1},
        {"a ", 0, 1},
        {" \t\r\na\n\r\t ", 4, 1},
        // Blanks inside stay.
        {" a b ", 1, 3},
        // Other bytes that are blank elsewhere stay too.
        {"\va\f", 0, 3},
        {"\v", 0, 1},
        {"\0a\0"sv, 0, 3},
        {"\0"sv, 0, 1},
        {"\xA0 a \xA0", 0, 5},
    };
    for (const auto& row : ROWS) {
        SCOPED_TRACE(::testing::PrintToString(row.text));
        const ExactText text(row.text);
        const Text trimmed = trimBlanks({text.data(), text.size()});
        EXPECT_EQ(row.length, trimmed.length);
        EXPECT_EQ(text.data() + row.start, trimmed.text);
    }
}

TEST(TrimBlanks, ReadsNoFurtherThanItsLength) {
    EXPECT_EQ("ab", viewOf(trimBlanks({" ab cd", 4})));
    EXPECT_TRUE(trimBlanks({"x", 0}).isEmpty());
    EXPECT_TRUE(trimBlanks({nullptr, 0}).isEmpty());
}

}  // namespace

}  // namespace rs::test
