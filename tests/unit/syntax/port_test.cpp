#include "syntax/port.h"

#include <ruleset.h>

#include <cstdint>
#include <string_view>

#include <gtest/gtest.h>

#include "support/text.h"

namespace rs::test {

namespace {

using std::string_view_literals::operator""sv;

TEST(Port, ReadsOneToFiveDigits) {
    constexpr struct {
        std::string_view text;
        uint16_t value;
    } ROWS[] = {
        {"1", 1},     {"80", 80},     {"65535", 65535}, {"00080", 80},    {"080", 80},
        {"00001", 1}, {"9999", 9999}, {"10000", 10000}, {"65534", 65534},
    };
    for (const auto& row : ROWS) {
        SCOPED_TRACE(row.text);
        const ExactText text(row.text);
        uint16_t value = 0;
        EXPECT_EQ(RULE_OK, parsePort({text.data(), text.size()}, &value));
        EXPECT_EQ(row.value, value);
    }
}

TEST(Port, RefusesEverythingElse) {
    for (const std::string_view row :
         {""sv,    "0"sv,   "00000"sv, "65536"sv, "99999"sv, "100000"sv, "000080"sv,
          " 80"sv, "80 "sv, "8 0"sv,   "-80"sv,   "+80"sv,   "80-"sv,    "*"sv,
          "8:"sv,  "8/"sv,  "http"sv,  "0x50"sv,  "80\0"sv,  "\xB9"sv}) {
        SCOPED_TRACE(::testing::PrintToString(row));
        const ExactText text(row);
        uint16_t value = 7;
        EXPECT_EQ(RULE_ERR_BAD_RULE, parsePort({text.data(), text.size()}, &value));
        EXPECT_EQ(7, value);
    }
}

TEST(Port, RefusesNullText) {
    uint16_t value = 7;
    EXPECT_EQ(RULE_ERR_BAD_RULE, parsePort({nullptr, 0}, &value));
    EXPECT_EQ(RULE_ERR_BAD_RULE, parsePort({nullptr, 2}, &value));
}

TEST(PortPair, ReadsOnePortOrTwo) {
    constexpr struct {
        std::string_view text;
        uint16_t low;
        uint16_t high;
    } ROWS[] = {
        {"80", 80, 80},    {"80-80", 80, 80},       {"1-65535", 1, 65535},
        {"80-90", 80, 90}, {"00080-00081", 80, 81},
    };
    for (const auto& row : ROWS) {
        SCOPED_TRACE(row.text);
        const ExactText text(row.text);
        PortPair pair{};
        EXPECT_EQ(RULE_OK, parsePortPair({text.data(), text.size()}, &pair));
        EXPECT_EQ(row.low, pair.low);
        EXPECT_EQ(row.high, pair.high);
    }
}

TEST(PortPair, SplitsAtTheLastDash) {
    // So the first two of three ports are one port with a dash in it.
    for (const std::string_view row : {"80-90-100"sv, "80--90"sv, "-80-90"sv, "80-90-"sv}) {
        SCOPED_TRACE(row);
        const ExactText text(row);
        PortPair pair{};
        EXPECT_EQ(RULE_ERR_BAD_RULE, parsePortPair({text.data(), text.size()}, &pair));
    }
}

TEST(PortPair, RefusesEverythingElse) {
    for (const std::string_view row : {""sv, "-"sv, "-80"sv, "80-"sv, "90-80"sv, "0-80"sv,
                                       "80-65536"sv, "80 - 90"sv, "*"sv, "80,90"sv, "1-100000"sv}) {
        SCOPED_TRACE(row);
        const ExactText text(row);
        PortPair pair{7, 7};
        EXPECT_EQ(RULE_ERR_BAD_RULE, parsePortPair({text.data(), text.size()}, &pair));
        EXPECT_EQ(7, pair.low);
        EXPECT_EQ(7, pair.high);
    }
    PortPair pair{};
    EXPECT_EQ(RULE_ERR_BAD_RULE, parsePortPair({nullptr, 2}, &pair));
}

}  // namespace

}  // namespace rs::test
