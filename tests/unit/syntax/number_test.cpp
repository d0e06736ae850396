#include "syntax/number.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

#include <gtest/gtest.h>

#include "support/text.h"

namespace rs::test {

namespace {

using std::string_view_literals::operator""sv;

// What a form makes of a text: a number, or nothing, with the output left alone then.
template <NumberForm form, typename Number = uint32_t>
std::optional<Number> read(std::string_view bytes) {
    constexpr Number UNTOUCHED = 12345;
    const ExactText text(bytes);
    Number value = UNTOUCHED;
    if (readNumber<form>({text.data(), text.size()}, value)) {
        return value;
    }
    EXPECT_EQ(UNTOUCHED, value);
    return std::nullopt;
}

struct Row {
    std::string_view text;
    std::optional<uint32_t> value;
};

template <NumberForm form, typename Number = uint32_t, size_t count>
void expectRows(const Row (&rows)[count]) {
    for (const Row& row : rows) {
        SCOPED_TRACE(::testing::PrintToString(row.text));
        EXPECT_EQ(row.value, (read<form, Number>(row.text)));
    }
}

constexpr std::optional<uint32_t> REFUSED = std::nullopt;

TEST(Number, IsDigitsAlone) {
    constexpr Row ROWS[] = {
        {"0", 0},           {"9", 9},          {"10", 10},      {"00", 0},       {"007", 7},
        {"", REFUSED},      {" 1", REFUSED},   {"1 ", REFUSED}, {"+1", REFUSED}, {"-1", REFUSED},
        {"/", REFUSED},     {":", REFUSED},    {"1a", REFUSED}, {"a", REFUSED},  {"0x1", REFUSED},
        {"1\0"sv, REFUSED}, {"\xB9", REFUSED},
    };
    expectRows<NumberForm{}>(ROWS);
}

TEST(Number, HasAtMostItsLength) {
    constexpr Row ROWS[] = {
        {"1", 1}, {"999", 999}, {"000", 0}, {"1000", REFUSED}, {"0001", REFUSED}};
    expectRows<NumberForm{.maxLength = 3}>(ROWS);
}

TEST(Number, LiesBetweenItsBounds) {
    constexpr Row ROWS[] = {{"4", REFUSED}, {"5", 5},        {"05", 5},
                            {"70", 70},     {"71", REFUSED}, {"4294967301", REFUSED}};
    expectRows<NumberForm{.minValue = 5, .maxValue = 70}>(ROWS);
}

TEST(Number, MayRefuseLeadingZeros) {
    constexpr Row ROWS[] = {{"0", 0},        {"1", 1},        {"10", 10},       {"100", 100},
                            {"00", REFUSED}, {"01", REFUSED}, {"012", REFUSED}, {"0:", REFUSED}};
    expectRows<NumberForm{.leadingZeros = LeadingZeros::REFUSED}>(ROWS);
}

TEST(Number, IsRefusedWhenItDoesNotFit) {
    constexpr Row ROWS[] = {
        {"4294967294", 4294967294},        {"4294967295", 4294967295},
        {"4294967296", REFUSED},           {"4294967300", REFUSED},
        {"99999999999", REFUSED},          {"18446744073709551616", REFUSED},
        {"18446744073709551617", REFUSED}, {"00000000004294967295", 4294967295},
    };
    expectRows<NumberForm{}>(ROWS);
    constexpr Row ROWS_16[] = {{"65534", 65534}, {"65535", 65535}, {"65536", REFUSED}};
    expectRows<NumberForm{}, uint16_t>(ROWS_16);
}

TEST(Number, MayWrap) {
    constexpr NumberForm WRAPPING{.overflow = Overflow::WRAPS};
    constexpr Row ROWS[] = {{"4294967295", 4294967295}, {"4294967296", 0}, {"4294967301", 5}};
    expectRows<WRAPPING>(ROWS);
    constexpr Row ROWS_16[] = {{"65535", 65535}, {"65536", 0}, {"655361", 1}};
    expectRows<WRAPPING, uint16_t>(ROWS_16);
}

// Deliberate: a value that wraps and still grows passes.
TEST(Number, MaySeeOverflowOnlyWhenADigitMakesItSmaller) {
    constexpr NumberForm GROWING{.overflow = Overflow::SEEN_WHEN_SMALLER};
    constexpr Row ROWS[] = {
        {"4294967295", 4294967295}, {"4294967296", REFUSED},    {"4294967300", REFUSED},
        {"5000000000", 705032704},  {"9999999999", 1410065407}, {"0000000000", 0},
    };
    expectRows<GROWING>(ROWS);
    constexpr Row ROWS_16[] = {
        {"65535", 65535}, {"65536", REFUSED}, {"70000", REFUSED}, {"99999", 34463}};
    expectRows<GROWING, uint16_t>(ROWS_16);
}

TEST(Number, MayBeHexadecimal) {
    constexpr NumberForm HEX{.base = 16};
    constexpr Row ROWS[] = {
        {"0", 0},         {"fFfF", 0xFFFF}, {"aB9", 0xAB9},           {"A", 10},
        {"f", 15},        {"0000", 0},      {"ffffffff", 0xFFFFFFFF}, {"100000000", REFUSED},
        {"", REFUSED},    {"g", REFUSED},   {"G", REFUSED},           {"@", REFUSED},
        {"`", REFUSED},   {"/", REFUSED},   {":", REFUSED},           {" 1", REFUSED},
        {"1 ", REFUSED},  {"0x1", REFUSED}, {"1.2", REFUSED},         {"\0"sv, REFUSED},
        {"12g", REFUSED}, {"g12", REFUSED}, {"\xFF", REFUSED},
    };
    expectRows<HEX>(ROWS);
    constexpr Row LOW_16[] = {{"12345", 0x2345}, {"10000", 0}, {"123456789abcdef", 0xCDEF}};
    expectRows<NumberForm{.base = 16, .overflow = Overflow::WRAPS}, uint16_t>(LOW_16);
}

// Deliberate: rules of one type are written for it.
TEST(Number, MayCountLettersFromZero) {
    constexpr Row ROWS[] = {{"9", 9}, {"a", 0}, {"B", 1}, {"f", 5}, {"1f", 21}, {"g", REFUSED}};
    expectRows<NumberForm{.base = 16, .letterValue = 0}>(ROWS);
}

constexpr NumberForm UNCHECKED{.maxLength = 3,
                               .leadingZeros = LeadingZeros::REFUSED,
                               .digits = Digits::UNCHECKED,
                               .overflow = Overflow::WRAPS};

// Deliberate: no digit check. A character counts as its unsigned code minus 48, in arithmetic that
// wraps at 32 bits.
TEST(Number, MayCountCharactersThatAreNoDigits) {
    constexpr Row ROWS[] = {
        {"255", 255},
        {"999", 999},
        {"1000", REFUSED},
        {"", REFUSED},
        {"0:", REFUSED},
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
    expectRows<UNCHECKED>(ROWS);
}

TEST(Number, MayCountEveryByteAsItsUnsignedCode) {
    for (uint32_t code = 0; code < 256; ++code) {
        const auto byte = static_cast<char>(code);
        EXPECT_EQ(code - 48, read<UNCHECKED>({&byte, 1})) << code;
    }
}

}  // namespace

}  // namespace rs::test
