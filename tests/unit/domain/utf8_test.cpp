#include "domain/utf8.h"

#include <ruleset.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "support/text.h"

namespace rs::test {

namespace {

using CodePoints = std::vector<uint32_t>;

constexpr uint32_t CAPACITY = 63;

// The bytes stand in a block that ends where they end, unless the test puts one behind them.
int32_t decode(std::string_view bytes, bool lowerCase, CodePoints& out,
               uint32_t capacity = CAPACITY, std::string_view behind = {}) {
    const std::string all = std::string(bytes) + std::string(behind);
    const ExactText text(all);
    out.reserve(1);  // so that no capacity makes a null pointer
    out.assign(capacity, 0xDEAD);
    uint32_t count = capacity;
    const int32_t status =
        utf8ToCodePoints(text.data(), size32(bytes), out.data(), &count, lowerCase);
    out.resize(status == RULE_OK ? count : 0);
    return status;
}

TEST(Utf8, ReadsSequencesOfOneToFourBytes) {
    const struct {
        std::string_view bytes;
        CodePoints codePoints;
    } rows[] = {
        {"a", {'a'}},
        {{"\0", 1}, {0}},
        {"\x7F", {0x7F}},
        // The first and the last value of every length.
        {"\xC2\x80", {0x80}},
        {"\xDF\xBF", {0x7FF}},
        {"\xE0\xA0\x80", {0x800}},
        {"\xEF\xBF\xBF", {0xFFFF}},
        {"\xF0\x90\x80\x80", {0x10000}},
        {"\xF4\x8F\xBF\xBF", {0x10FFFF}},
        // Several.
        {"b\xC3\xBC"
         "cher",
         {'b', 0xFC, 'c', 'h', 'e', 'r'}},
        {"\xE6\x97\xA5\xF0\x9F\x92\xA9\xC3\xBC!", {0x65E5, 0x1F4A9, 0xFC, '!'}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.bytes);
        CodePoints out;
        EXPECT_EQ(RULE_OK, decode(row.bytes, false, out));
        EXPECT_EQ(row.codePoints, out);
    }
}

TEST(Utf8, AcceptsOverlongFormsSurrogatesAndValuesBeyondUnicode) {
    const struct {
        std::string_view bytes;
        uint32_t codePoint;
    } rows[] = {
        // Overlong.
        {"\xC0\x80", 0},
        {"\xC1\xBF", 0x7F},
        {"\xC0\xAF", '/'},
        {"\xE0\x80\x80", 0},
        {"\xE0\x9F\xBF", 0x7FF},
        {"\xF0\x80\x80\x80", 0},
        {"\xF0\x8F\xBF\xBF", 0xFFFF},
        // Surrogates.
        {"\xED\xA0\x80", 0xD800},
        {"\xED\xBF\xBF", 0xDFFF},
        // Behind U+10FFFF.
        {"\xF4\x90\x80\x80", 0x110000},
        {"\xF7\xBF\xBF\xBF", 0x1FFFFF},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message() << std::hex << row.codePoint);
        CodePoints out;
        EXPECT_EQ(RULE_OK, decode(row.bytes, false, out));
        EXPECT_EQ(CodePoints{row.codePoint}, out);
    }
}

TEST(Utf8, RefusesWhatLeadsNoSequence) {
    for (uint32_t lead = 0; lead < 256; ++lead) {
        SCOPED_TRACE(lead);
        const bool leadsNone = (lead >= 0x80 && lead <= 0xBF) || lead >= 0xF8;
        const bool isLong = lead >= 0xC0 && lead <= 0xF7;
        uint32_t length = 1;
        if (isLong) {
            length = lead <= 0xDF ? 2 : lead <= 0xEF ? 3 : 4;
        }
        const std::string bytes = static_cast<char>(lead) + std::string(length - 1, '\x80');
        CodePoints out;
        EXPECT_EQ(leadsNone ? RULE_ERR_INVALID_ARG : RULE_OK, decode(bytes, false, out));
        EXPECT_EQ(leadsNone ? 0 : 1, out.size());
    }
}

TEST(Utf8, RefusesBadContinuationBytes) {
    for (uint32_t value = 0; value < 256; ++value) {
        const char byte = static_cast<char>(value);
        const bool continues = value >= 0x80 && value <= 0xBF;
        const std::string rows[] = {
            {'\xC3', byte},
            {'\xE6', byte, '\x80'},
            {'\xE6', '\x80', byte},
            {'\xF1', byte, '\x80', '\x80'},
            {'\xF1', '\x80', byte, '\x80'},
            {'\xF1', '\x80', '\x80', byte},
        };
        for (const std::string& bytes : rows) {
            CodePoints out;
            EXPECT_EQ(continues ? RULE_OK : RULE_ERR_INVALID_ARG, decode(bytes, false, out))
                << value << " in " << bytes.size();
        }
    }
}

TEST(Utf8, RefusesSequencesThatTheEndCutsOff) {
    for (const std::string_view bytes :
         {"\xC3", "\xE6", "\xE6\x97", "\xF0", "\xF0\x9F", "a\xC3", "\xC3\xBC\xE6\x97"}) {
        CodePoints out;
        // What lies behind the end would complete them.
        EXPECT_EQ(RULE_ERR_INVALID_ARG, decode(bytes, false, out, CAPACITY, "\x80\x80\x80"));
        EXPECT_EQ(RULE_ERR_INVALID_ARG, decode(bytes, false, out));
    }
}

// Deliberate: three bytes inside the length are enough for a sequence of four.
TEST(Utf8, ReadsAFourthByteBehindTheEnd) {
    constexpr std::string_view CUT_OFF = "\xF0\x9F\x92";
    CodePoints out;
    EXPECT_EQ(RULE_OK, decode(CUT_OFF, false, out, CAPACITY, "\xA9"));
    EXPECT_EQ(CodePoints{0x1F4A9}, out);
    EXPECT_EQ(RULE_OK, decode("a\xF0\x9F\x92", false, out, CAPACITY, "\x80"));
    EXPECT_EQ((CodePoints{'a', 0x1F480}), out);
    for (const std::string_view behind : {std::string_view("\0", 1), std::string_view("a"),
                                          std::string_view("\x7F"), std::string_view("\xC0")}) {
        EXPECT_EQ(RULE_ERR_INVALID_ARG, decode(CUT_OFF, false, out, CAPACITY, behind));
    }
}

TEST(Utf8, LowersCodePointsWhenAsked) {
    constexpr std::string_view BYTES =
        "B\xC3\x9C\xC4\xB0\xD0\x96z";  // B, U+00DC, U+0130, U+0416, z
    CodePoints out;
    EXPECT_EQ(RULE_OK, decode(BYTES, false, out));
    EXPECT_EQ((CodePoints{'B', 0xDC, 0x130, 0x416, 'z'}), out);
    EXPECT_EQ(RULE_OK, decode(BYTES, true, out));
    EXPECT_EQ((CodePoints{'b', 0xFC, 'i', 0x436, 'z'}), out);
}

TEST(Utf8, LowersOverlongLettersToo) {
    CodePoints out;
    EXPECT_EQ(RULE_OK, decode("\xC1\x81", true, out));
    EXPECT_EQ(CodePoints{'a'}, out);
}

TEST(Utf8, FillsItsCapacityButNotMore) {
    for (const uint32_t capacity : {0U, 1U, 2U, 63U}) {
        SCOPED_TRACE(capacity);
        std::string bytes;
        for (uint32_t i = 0; i < capacity; ++i) {
            bytes += "\xC3\xBC";
        }
        CodePoints out;
        EXPECT_EQ(RULE_OK, decode(bytes, true, out, capacity));
        EXPECT_EQ(CodePoints(capacity, 0xFC), out);
        EXPECT_EQ(RULE_ERR_BUFFER_SMALL, decode(bytes + "a", true, out, capacity));
        EXPECT_EQ(RULE_ERR_BUFFER_SMALL, decode(bytes + "\xF0\x9F\x92\xA9", true, out, capacity));
    }
}

TEST(Utf8, OfNoBytesAreNoCodePoints) {
    uint32_t codePoint = 5;
    uint32_t count = 1;
    EXPECT_EQ(RULE_OK, utf8ToCodePoints("a", 0, &codePoint, &count, true));
    EXPECT_EQ(0, count);
    EXPECT_EQ(5, codePoint);
}

TEST(Utf8, RefusesNullArguments) {
    uint32_t codePoint = 0;
    uint32_t count = 1;
    EXPECT_EQ(RULE_ERR_INVALID_ARG, utf8ToCodePoints(nullptr, 1, &codePoint, &count, true));
    EXPECT_EQ(RULE_ERR_INVALID_ARG, utf8ToCodePoints("a", 1, nullptr, &count, true));
    EXPECT_EQ(RULE_ERR_INVALID_ARG, utf8ToCodePoints("a", 1, &codePoint, nullptr, true));
    EXPECT_EQ(1, count);
}

}  // namespace

}  // namespace rs::test
