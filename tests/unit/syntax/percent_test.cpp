#include "syntax/percent.h"

#include <cstdint>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "support/text.h"
#include "syntax/ascii.h"

namespace rs::test {

namespace {

constexpr std::string_view UPPER_DIGITS = "0123456789ABCDEF";
constexpr std::string_view LOWER_DIGITS = "0123456789abcdef";

// The byte of two digits; NO_PAIR when they are refused.
constexpr int32_t NO_PAIR = -1;

int32_t pairValue(std::string_view pair, uint32_t rawFlag) {
    const ExactText text(pair);
    int32_t error = 77;
    const char byte = hexPairValue(text.data(), rawFlag, &error);
    if (error == 0) {
        return static_cast<uint8_t>(byte);
    }
    EXPECT_EQ(-1, error);
    EXPECT_EQ(0, byte);
    return NO_PAIR;
}

TEST(HexPairValue, ReadsEveryByteInEitherCase) {
    for (uint32_t value = 0; value < 256; ++value) {
        SCOPED_TRACE(value);
        const char byte = static_cast<char>(value);
        const auto lowered = static_cast<uint8_t>(lowerAscii(byte));
        for (const std::string_view digits : {UPPER_DIGITS, LOWER_DIGITS}) {
            const std::string pair{digits[value / 16], digits[value % 16]};
            EXPECT_EQ(lowered, pairValue(pair, 0));
            EXPECT_EQ(static_cast<int32_t>(value), pairValue(pair, PERCENT_KEEP_CASE));
        }
    }
}

TEST(HexPairValue, LowersAsciiLettersOnly) {
    constexpr struct {
        std::string_view pair;
        int32_t lowered;
        int32_t raw;
    } ROWS[] = {
        {"40", 0x40, 0x40}, {"41", 0x61, 0x41}, {"5A", 0x7A, 0x5A}, {"5B", 0x5B, 0x5B},
        {"60", 0x60, 0x60}, {"61", 0x61, 0x61}, {"7A", 0x7A, 0x7A}, {"7B", 0x7B, 0x7B},
        {"80", 0x80, 0x80}, {"C1", 0xC1, 0xC1}, {"DA", 0xDA, 0xDA}, {"FF", 0xFF, 0xFF},
    };
    for (const auto& row : ROWS) {
        SCOPED_TRACE(row.pair);
        EXPECT_EQ(row.lowered, pairValue(row.pair, 0));
        EXPECT_EQ(row.raw, pairValue(row.pair, 1));
    }
}

TEST(HexPairValue, ReadsBitZeroOfTheFlagOnly) {
    EXPECT_EQ(0x61, pairValue("41", 2));
    EXPECT_EQ(0x41, pairValue("41", 3));
    EXPECT_EQ(0x61, pairValue("41", 0xFFFFFFFE));
    EXPECT_EQ(0x41, pairValue("41", 0xFFFFFFFF));
}

TEST(HexPairValue, RefusesOtherBytesInEitherPlace) {
    for (uint32_t value = 0; value < 256; ++value) {
        const char byte = static_cast<char>(value);
        const bool isDigit = UPPER_DIGITS.find(byte) != std::string_view::npos ||
                             LOWER_DIGITS.find(byte) != std::string_view::npos;
        EXPECT_EQ(isDigit, pairValue(std::string{byte, '0'}, 0) != NO_PAIR) << value;
        EXPECT_EQ(isDigit, pairValue(std::string{'0', byte}, 0) != NO_PAIR) << value;
    }
}

TEST(ReadPercentByte, TakesAnEscapeOrOneByte) {
    constexpr struct {
        std::string_view text;
        char lowered;
        char raw;
        uint32_t length;
    } ROWS[] = {
        {"%41", 'a', 'A', 3},
        {"%41%42", 'a', 'A', 3},
        {"%61x", 'a', 'a', 3},
        {"%c3\xBC", '\xC3', '\xC3', 3},
        {"%00", '\0', '\0', 3},
        {"%25", '%', '%', 3},
        // Bytes that stand for themselves.
        {"A", 'a', 'A', 1},
        {"A%41", 'a', 'A', 1},
        {"z", 'z', 'z', 1},
        {"+", '+', '+', 1},
        {"\xC3\xBC", '\xC3', '\xC3', 1},
        // A '%' that is no escape.
        {"%", '%', '%', 1},
        {"%4", '%', '%', 1},
        {"%zz", '%', '%', 1},
        {"%4g", '%', '%', 1},
        {"%g4", '%', '%', 1},
        {"%%41", '%', '%', 1},
        {"% 41", '%', '%', 1},
    };
    for (const auto& row : ROWS) {
        SCOPED_TRACE(row.text);
        const ExactText text(row.text);
        const PercentByte lowered = readPercentByte(text.data(), text.size(), 0);
        EXPECT_EQ(row.lowered, lowered.byte);
        EXPECT_EQ(row.length, lowered.length);
        const PercentByte raw = readPercentByte(text.data(), text.size(), PERCENT_KEEP_CASE);
        EXPECT_EQ(row.raw, raw.byte);
        EXPECT_EQ(row.length, raw.length);
    }
}

TEST(ReadPercentByte, NeedsItsDigitsInsideTheLength) {
    EXPECT_EQ(1, readPercentByte("%41", 1, 0).length);
    EXPECT_EQ(1, readPercentByte("%41", 2, 0).length);
    EXPECT_EQ(3, readPercentByte("%41", 3, 0).length);
}

}  // namespace

}  // namespace rs::test
