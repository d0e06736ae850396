#include "syntax/text_scan.h"

#include <ruleset.h>

#include <cstdint>
#include <string_view>

#include <gtest/gtest.h>

#include "support/text.h"

namespace rs::test {

namespace {

using std::string_view_literals::operator""sv;

TEST(TrimWhitespace, DropsFourKindsOfBlanksFromBothEnds) {
    constexpr struct {
        std::string_view text;
        uint32_t start;
        uint32_t length;
    } ROWS[] = {
        {"   ", 3, 0},
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
        {"\0a\0"sv, 0, 3},
        {"\xA0 a \xA0", 0, 5},
    };
    for (const auto& row : ROWS) {
        SCOPED_TRACE(::testing::PrintToString(row.text));
        const ExactText text(row.text);
        const char* start = nullptr;
        uint32_t length = 99;
        ASSERT_EQ(RULE_OK, trimWhitespace(text.data(), text.size(), &start, &length));
        EXPECT_EQ(row.length, length);
        EXPECT_EQ(text.data() + row.start, start);
    }
}

TEST(TrimWhitespace, ReadsNoFurtherThanItsLength) {
    const char* start = nullptr;
    uint32_t length = 0;
    ASSERT_EQ(RULE_OK, trimWhitespace(" ab cd", 4, &start, &length));
    EXPECT_EQ("ab", std::string_view(start, length));
}

TEST(TrimWhitespace, RefusesNullArguments) {
    const char* start = nullptr;
    uint32_t length = 0;
    EXPECT_EQ(RULE_ERR_INVALID_ARG, trimWhitespace(nullptr, 0, &start, &length));
    EXPECT_EQ(RULE_ERR_INVALID_ARG, trimWhitespace(nullptr, 1, &start, &length));
    EXPECT_EQ(RULE_ERR_INVALID_ARG, trimWhitespace("a", 1, nullptr, &length));
    EXPECT_EQ(RULE_ERR_INVALID_ARG, trimWhitespace("a", 1, &start, nullptr));
}

TEST(DecimalField, ReadsOneToThreeCharacters) {
    constexpr struct {
        std::string_view text;
        int32_t status;
        uint32_t value;
    } ROWS[] = {
        {"0", RULE_OK, 0},
        {"9", RULE_OK, 9},
        {"10", RULE_OK, 10},
        {"255", RULE_OK, 255},
        {"999", RULE_OK, 999},
        {"", RULE_ERR_BAD_RANGE, 0},
        {"1000", RULE_ERR_BAD_RANGE, 0},
        // No leading zero before more characters.
        {"00", RULE_ERR_BAD_RANGE, 0},
        {"01", RULE_ERR_BAD_RANGE, 0},
        {"000", RULE_ERR_BAD_RANGE, 0},
        {"012", RULE_ERR_BAD_RANGE, 0},
        {"0:", RULE_ERR_BAD_RANGE, 0},
    };
    for (const auto& row : ROWS) {
        SCOPED_TRACE(::testing::PrintToString(row.text));
        const ExactText text(row.text);
        uint32_t value = 0;
        EXPECT_EQ(row.status, parseDecimalField(text.data(), text.size(), &value));
        EXPECT_EQ(row.value, value);
    }
}

TEST(DecimalField, RefusesNullText) {
    uint32_t value = 0;
    for (const uint32_t length : {0U, 1U, 3U, 4U}) {
        EXPECT_EQ(RULE_ERR_BAD_RANGE, parseDecimalField(nullptr, length, &value)) << length;
    }
}

// Deliberate: no digit check. A character counts as its unsigned code minus 48, in arithmetic that
// wraps at 32 bits.
TEST(DecimalField, CountsCharactersThatAreNoDigits) {
    constexpr struct {
        std::string_view text;
        uint32_t value;
    } ROWS[] = {
        {":", 10},
        {"1:", 20},
        {"P", 32},
        {"/", 0xFFFFFFFF},
        {"1/", 9},
        {"//", 0xFFFFFFF5},        // -11
        {" ", 0xFFFFFFF0},         // -16
        {"\0"sv, 0xFFFFFFD0},      // -48
        {"\0\0\0"sv, 0xFFFFEB30},  // -5328
        {"\x7F", 79},
        {"\x80", 80},
        {"\xFF", 207},
        {"\xFF\xFF", 2277},
        {"\xFF\xFF\xFF", 22977},
        {"//\x9F", 1},
    };
    for (const auto& row : ROWS) {
        SCOPED_TRACE(::testing::PrintToString(row.text));
        const ExactText text(row.text);
        uint32_t value = 12345;
        EXPECT_EQ(RULE_OK, parseDecimalField(text.data(), text.size(), &value));
        EXPECT_EQ(row.value, value);
    }
}

TEST(DecimalField, CountsEveryByteAsItsUnsignedCode) {
    for (uint32_t code = 0; code < 256; ++code) {
        const auto byte = static_cast<char>(code);
        uint32_t value = 0;
        ASSERT_EQ(RULE_OK, parseDecimalField(&byte, 1, &value)) << code;
        EXPECT_EQ(code - 48, value) << code;
    }
}

TEST(HexGroup, KeepsTheLowSixteenBits) {
    constexpr struct {
        std::string_view text;
        uint16_t value;
    } ROWS[] = {
        {"fFfF", 0xFFFF}, {"", 0},           {"0", 0},     {"0000", 0},
        {"aB9", 0xAB9},   {"12345", 0x2345}, {"10000", 0}, {"123456789abcdef", 0xCDEF},
        {"A", 10},        {"f", 15},
    };
    for (const auto& row : ROWS) {
        SCOPED_TRACE(row.text);
        const ExactText text(row.text);
        uint16_t value = 99;
        EXPECT_EQ(RULE_OK, parseHexGroup(text.data(), text.size(), &value));
        EXPECT_EQ(row.value, value);
    }
}

TEST(HexGroup, RefusesOtherCharacters) {
    for (const std::string_view row : {"g"sv, "G"sv, "@"sv, "`"sv, "/"sv, ":"sv, " 1"sv, "1 "sv,
                                       "0x1"sv, "1.2"sv, "\0"sv, "12g"sv, "g12"sv, "\xFF"sv}) {
        SCOPED_TRACE(::testing::PrintToString(row));
        const ExactText text(row);
        uint16_t value = 0;
        EXPECT_EQ(RULE_ERR_FAILED, parseHexGroup(text.data(), text.size(), &value));
    }
}

}  // namespace

}  // namespace rs::test
