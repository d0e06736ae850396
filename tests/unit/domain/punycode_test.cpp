#include "domain/punycode.h"

#include <ruleset.h>

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

namespace rs::test {

namespace {

using CodePoints = std::vector<uint32_t>;

struct Encoding {
    int32_t status;
    std::string text;  // empty unless status is RULE_OK
};

constexpr bool WITH_PREFIX = true;

// The output stands in a block of exactly its capacity.
Encoding encode(const CodePoints& codePoints, uint32_t capacity = 255, bool addPrefix = WITH_PREFIX,
                bool lowerBasic = false) {
    const auto out = std::make_unique<char[]>(capacity);
    uint32_t length = capacity;
    const int32_t status =
        punycodeEncode(codePoints.data(), static_cast<uint32_t>(codePoints.size()), out.get(),
                       &length, addPrefix, lowerBasic);
    return {status, status == RULE_OK ? std::string(out.get(), length) : std::string()};
}

CodePoints repeated(uint32_t codePoint, size_t count, const CodePoints& rest = {}) {
    CodePoints result(count, codePoint);
    result.insert(result.end(), rest.begin(), rest.end());
    return result;
}

TEST(Punycode, EncodesLabels) {
    const struct {
        CodePoints codePoints;
        std::string_view text;
    } rows[] = {
        {{'b', 0xFC, 'c', 'h', 'e', 'r'}, "xn--bcher-kva"},
        {{'m', 0xFC, 'n', 'c', 'h', 'e', 'n'}, "xn--mnchen-3ya"},
        {{0xFC}, "xn--tda"},
        {{0x80}, "xn--a"},
        {{0xDF}, "xn--zca"},
        {{0x2603}, "xn--n3h"},
        {{0x1F4A9}, "xn--ls8h"},
        {{0x10FFFF}, "xn--dn32g"},
        // A basic code point on either side.
        {{0xFC, 'a'}, "xn--a-dha"},
        {{'a', 0xFC}, "xn--a-eha"},
        {{'-', 0xFC}, "xn----eha"},
        // Repeated ones.
        {repeated(0xFC, 5), "xn--tdaaaaa"},
        // Longer ones, in several scripts.
        {{0x65E5, 0x672C, 0x8A9E}, "xn--wgv71a119e"},
        {{0x4ED6, 0x4EEC, 0x4E3A, 0x4EC0, 0x4E48, 0x4E0D, 0x8BF4, 0x4E2D, 0x6587},
         "xn--ihqwcrb4cv8a8dqg056pqjye"},
        {{0x0644, 0x064A, 0x0647, 0x0645, 0x0627, 0x0628, 0x062A, 0x0643, 0x0644, 0x0645, 0x0648,
          0x0634, 0x0639, 0x0631, 0x0628, 0x064A, 0x061F},
         "xn--egbpdaj6bu4bxfgehfvwxn"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.text);
        const Encoding encoding = encode(row.codePoints);
        EXPECT_EQ(RULE_OK, encoding.status);
        EXPECT_EQ(row.text, encoding.text);
        // The prefix is all that the flag changes.
        EXPECT_EQ(row.text.substr(4), encode(row.codePoints, 255, !WITH_PREFIX).text);
    }
}

TEST(Punycode, CopiesALabelOfBasicCodePoints) {
    for (const bool lowerBasic : {false, true}) {
        const Encoding encoding = encode({'A', 'b', '-', '_', 0x7F}, 255, WITH_PREFIX, lowerBasic);
        EXPECT_EQ(RULE_OK, encoding.status);
        EXPECT_EQ("Ab-_\x7F", encoding.text);
    }
}

TEST(Punycode, LowersBasicCodePointsWhenAsked) {
    EXPECT_EQ("xn--BcHer-kva", encode({'B', 0xFC, 'c', 'H', 'e', 'r'}).text);
    EXPECT_EQ("xn--bcher-kva",
              encode({'B', 0xFC, 'c', 'H', 'e', 'r'}, 255, WITH_PREFIX, true).text);
}

TEST(Punycode, OfNothingIsNothing) {
    const uint32_t codePoint = 0xFC;
    char byte = 'x';
    for (const uint32_t capacity : {0U, 1U}) {
        uint32_t length = capacity;
        EXPECT_EQ(RULE_OK, punycodeEncode(&codePoint, 0, &byte, &length, WITH_PREFIX, false));
        EXPECT_EQ('x', byte);
    }
}

TEST(Punycode, RefusesNullArguments) {
    const uint32_t codePoint = 0xFC;
    char out[63];
    uint32_t length = sizeof out;
    EXPECT_EQ(RULE_ERR_INVALID_ARG, punycodeEncode(nullptr, 1, out, &length, true, false));
    EXPECT_EQ(RULE_ERR_INVALID_ARG, punycodeEncode(&codePoint, 1, nullptr, &length, true, false));
    EXPECT_EQ(RULE_ERR_INVALID_ARG, punycodeEncode(&codePoint, 1, out, nullptr, true, false));
    EXPECT_EQ(63, length);
}

TEST(Punycode, NeedsRoomForEveryByte) {
    const struct {
        CodePoints codePoints;
        uint32_t needed;
        bool addPrefix;
    } rows[] = {
        {{'a', 'b', 'c'}, 3, true},
        {{0xFC}, 7, true},
        {{0xFC}, 3, false},
        {{0x80}, 5, true},
        {{0x80}, 1, false},
        {{'b', 0xFC, 'c', 'h', 'e', 'r'}, 13, true},
        {{'b', 0xFC, 'c', 'h', 'e', 'r'}, 9, false},
    };
    for (const auto& row : rows) {
        for (uint32_t capacity = 0; capacity < row.needed + 3; ++capacity) {
            SCOPED_TRACE(testing::Message() << row.needed << " bytes into " << capacity);
            const Encoding encoding = encode(row.codePoints, capacity, row.addPrefix);
            EXPECT_EQ(capacity < row.needed ? RULE_ERR_BUFFER_SMALL : RULE_OK, encoding.status);
            EXPECT_EQ(capacity < row.needed ? 0 : row.needed, encoding.text.size());
        }
    }
}

TEST(Punycode, NeedsFiveBytesBeforeItWritesThePrefix) {
    const uint32_t codePoint = 0x80;
    char out[5] = {'?', '?', '?', '?', '?'};
    uint32_t length = 4;
    EXPECT_EQ(RULE_ERR_BUFFER_SMALL,
              punycodeEncode(&codePoint, 1, out, &length, WITH_PREFIX, false));
    EXPECT_EQ("?????", std::string(out, 5));
}

TEST(Punycode, HasAtMost63Bytes) {
    const struct {
        CodePoints codePoints;
        int32_t status;
    } rows[] = {
        {repeated('a', 63), RULE_OK},         {repeated('a', 64), RULE_ERR_BAD_RULE},
        {repeated(0xFC, 57), RULE_OK},        {repeated(0xFC, 58), RULE_ERR_BAD_RULE},
        {repeated('a', 55, {0xFC}), RULE_OK}, {repeated('a', 56, {0xFC}), RULE_ERR_BAD_RULE},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.codePoints.size());
        const Encoding encoding = encode(row.codePoints);
        EXPECT_EQ(row.status, encoding.status);
        EXPECT_EQ(row.status == RULE_OK ? 63 : 0, encoding.text.size());
    }
}

TEST(Punycode, RunsOutOfRoomBeforeItIsTooLong) {
    EXPECT_EQ(RULE_ERR_BUFFER_SMALL, encode(repeated('a', 64), 63).status);
    EXPECT_EQ(RULE_ERR_BUFFER_SMALL, encode(repeated(0xFC, 58), 63).status);
    EXPECT_EQ(RULE_ERR_BAD_RULE, encode(repeated(0xFC, 58), 64).status);
}

// Only values beyond what UTF-8 spells come so far.
TEST(Punycode, RefusesDeltasOver31Bits) {
    const struct {
        CodePoints codePoints;
        int32_t status;
    } rows[] = {
        // One step from 0x80 on.
        {{0x8000007F}, RULE_OK},
        {{0x80000080}, RULE_ERR_BAD_RULE},
        {{0xFFFFFFFF}, RULE_ERR_BAD_RULE},
        // Two steps each, for the code point in front.
        {{'a', 0x4000007F}, RULE_OK},
        {{'a', 0x400000C0}, RULE_ERR_BAD_RULE},
        // A delta that fits, and one that the code point in front of it makes too large.
        {{0x80, 0x4000007F}, RULE_OK},
        {{0x80, 0x40000080}, RULE_ERR_BAD_RULE},
        // The same the other way round, where nothing stands in front.
        {{0x40000080, 0x80}, RULE_OK},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message() << std::hex << row.codePoints[0]);
        EXPECT_EQ(row.status, encode(row.codePoints).status);
    }
}

TEST(PunycodeAdapt, DampsTheFirstDeltaAndHalvesTheOthers) {
    constexpr struct {
        uint32_t delta;
        uint32_t numPoints;
        bool firstTime;
        uint32_t bias;
    } ROWS[] = {
        {0, 1, true, 0},
        {699, 1, true, 0},
        {700, 1, true, 36 * 2 / (2 + 38)},
        {7000, 1, true, 36 * 20 / (20 + 38)},
        {7000, 10, true, 36 * 11 / (11 + 38)},
        {1, 1, false, 0},
        {2, 1, false, 36 * 2 / (2 + 38)},
        {100, 5, false, 36 * 60 / (60 + 38)},
        // Both sides of the step at 455.
        {910, 1000, false, 36 * 455 / (455 + 38)},
        {912, 1000, false, 36 + 36 * (456 / 35) / (456 / 35 + 38)},
        {0x7FFFFFFF, 1, false, 5 * 36 + 36 * 40 / (40 + 38)},
    };
    for (const auto& row : ROWS) {
        SCOPED_TRACE(testing::Message() << row.delta << ' ' << row.numPoints);
        uint32_t bias = 77;
        punycodeAdapt(row.delta, row.numPoints, row.firstTime, &bias);
        EXPECT_EQ(row.bias, bias);
    }
}

TEST(PunycodeDigit, IsALetterOrADecimalDigit) {
    constexpr std::string_view DIGITS = "abcdefghijklmnopqrstuvwxyz0123456789";
    constexpr std::string_view UPPER_DIGITS = "ABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789";
    for (uint32_t value = 0; value < 36; ++value) {
        char digit = 0;
        EXPECT_EQ(RULE_OK, punycodeDigit(value, false, &digit));
        EXPECT_EQ(DIGITS[value], digit);
        EXPECT_EQ(RULE_OK, punycodeDigit(value, true, &digit));
        EXPECT_EQ(UPPER_DIGITS[value], digit);
    }
}

TEST(PunycodeDigit, RefusesOtherValues) {
    for (const uint32_t value : {36U, 37U, 0x7FFFFFFFU, 0xFFFFFFFFU}) {
        for (const bool upperCase : {false, true}) {
            char digit = 0;
            EXPECT_EQ(RULE_ERR_BAD_RULE, punycodeDigit(value, upperCase, &digit)) << value;
        }
    }
}

}  // namespace

}  // namespace rs::test
