#include "syntax/ascii.h"

#include <cstdint>
#include <string_view>

#include <gtest/gtest.h>

namespace rs::test {

namespace {

constexpr uint32_t BYTE_COUNT = 256;

TEST(Ascii, KnowsFourBlanks) {
    constexpr std::string_view BLANKS = " \t\r\n";
    for (uint32_t code = 0; code < BYTE_COUNT; ++code) {
        const auto byte = static_cast<char>(code);
        EXPECT_EQ(BLANKS.find(byte) != std::string_view::npos, isBlank(byte)) << code;
    }
}

TEST(Ascii, KnowsTenDecimalDigits) {
    constexpr std::string_view DIGITS = "0123456789";
    for (uint32_t code = 0; code < BYTE_COUNT; ++code) {
        const auto byte = static_cast<char>(code);
        EXPECT_EQ(DIGITS.find(byte) != std::string_view::npos, isDecimalDigit(byte)) << code;
    }
}

TEST(Ascii, KnowsHexDigitsOfBothCases) {
    constexpr std::string_view LOWER = "0123456789abcdef";
    constexpr std::string_view UPPER = "0123456789ABCDEF";
    for (uint32_t code = 0; code < BYTE_COUNT; ++code) {
        const auto byte = static_cast<char>(code);
        size_t value = LOWER.find(byte);
        if (value == std::string_view::npos) {
            value = UPPER.find(byte);
        }
        const uint32_t expected =
            value == std::string_view::npos ? NOT_A_HEX_DIGIT : static_cast<uint32_t>(value);
        EXPECT_EQ(expected, hexDigitValue(byte)) << code;
    }
}

}  // namespace

}  // namespace rs::test
