#include "syntax/ip_address.h"

#include <ruleset.h>

#include <cstdint>
#include <string_view>

#include <gtest/gtest.h>

#include "support/text.h"

namespace rs::test {

namespace {

using std::string_view_literals::operator""sv;

TEST(IPv4Address, ReadsDottedQuads) {
    constexpr struct {
        std::string_view text;
        uint32_t value;
    } ROWS[] = {
        {"0.0.0.0", 0},
        {"1.2.3.4", 0x01020304},
        {"10.0.0.1", 0x0A000001},
        {"128.0.0.0", 0x80000000},
        {"255.255.255.255", 0xFFFFFFFF},
        {"0.0.0.255", 0x000000FF},
        {"192.168.1.77", 0xC0A8014D},
    };
    for (const auto& row : ROWS) {
        SCOPED_TRACE(row.text);
        const ExactText text(row.text);
        uint32_t value = 99;
        EXPECT_EQ(RULE_OK, parseIPv4Address({text.data(), text.size()}, &value));
        EXPECT_EQ(row.value, value);
    }
}

TEST(IPv4Address, RefusesEverythingElse) {
    constexpr std::string_view ROWS[] = {
        "",
        ".",
        "...",
        "1",
        "1.2",
        "1.2.3",
        "1.2.3.",
        ".1.2.3",
        "1..2.3",
        "1.2.3.4.",
        "1.2.3.4.5",
        ".1.2.3.4",
        "1.2.3..4",
        // Fields above 255, or of four digits.
        "256.1.1.1",
        "1.256.1.1",
        "1.1.256.1",
        "1.1.1.256",
        "999.1.1.1",
        "1.2.3.0004",
        "1.2.3.1000",
        "0001.2.3.4",
        // Leading zeros.
        "01.2.3.4",
        "1.2.3.04",
        "00.0.0.0",
        "1.2.3.00",
        // Other characters: the scanner of fields would count ':' as ten.
        "1.2.3.:",
        "1.2.3.1:",
        "1.2.3.-1",
        "1.2.3./",
        " 1.2.3.4",
        "1.2.3.4 ",
        "1.2. 3.4",
        "1.2.3.a",
        "0x1.2.3.4",
        "1,2,3,4",
        "1.2.3.4\0"sv,
        "1.2.3.\xB2",
    };
    for (const std::string_view row : ROWS) {
        SCOPED_TRACE(::testing::PrintToString(row));
        const ExactText text(row);
        uint32_t value = 0;
        EXPECT_EQ(RULE_ERR_BAD_RULE, parseIPv4Address({text.data(), text.size()}, &value));
    }
}

TEST(IPv6Address, ReadsEveryForm) {
    constexpr struct {
        std::string_view text;
        Ipv6Groups groups;
    } ROWS[] = {
        {"::", {}},
        {"::1", {0, 0, 0, 0, 0, 0, 0, 1}},
        {"1::", {1, 0, 0, 0, 0, 0, 0, 0}},
        {"1:2:3:4:5:6:7:8", {1, 2, 3, 4, 5, 6, 7, 8}},
        {"0:0:0:0:0:0:0:0", {}},
        {"ffff:FFFF:fFfF:0:00:000:0000:0001", {0xFFFF, 0xFFFF, 0xFFFF, 0, 0, 0, 0, 1}},
        {"2001:db8::1", {0x2001, 0x0DB8, 0, 0, 0, 0, 0, 1}},
        // "::" stands for one group at least; for exactly one here.
        {"::2:3:4:5:6:7:8", {0, 2, 3, 4, 5, 6, 7, 8}},
        {"1:2:3:4:5:6:7::", {1, 2, 3, 4, 5, 6, 7, 0}},
        {"1:2:3::5:6:7:8", {1, 2, 3, 0, 5, 6, 7, 8}},
        {"1::8", {1, 0, 0, 0, 0, 0, 0, 8}},
        // A dotted quad as the last two groups.
        {"::1.2.3.4", {0, 0, 0, 0, 0, 0, 0x0102, 0x0304}},
        {"::ffff:1.2.3.4", {0, 0, 0, 0, 0, 0xFFFF, 0x0102, 0x0304}},
        {"1:2:3:4:5:6:7.8.9.10", {1, 2, 3, 4, 5, 6, 0x0708, 0x090A}},
        {"1:2:3:4:5::255.255.255.255", {1, 2, 3, 4, 5, 0, 0xFFFF, 0xFFFF}},
        {"::2:3:4:5:6:0.0.0.0", {0, 2, 3, 4, 5, 6, 0, 0}},
        {"1::6:1.2.3.4", {1, 0, 0, 0, 0, 6, 0x0102, 0x0304}},
    };
    for (const auto& row : ROWS) {
        SCOPED_TRACE(row.text);
        const ExactText text(row.text);
        Ipv6Groups groups{9, 9, 9, 9, 9, 9, 9, 9};
        EXPECT_EQ(RULE_OK, parseIPv6Address({text.data(), text.size()}, &groups));
        EXPECT_EQ(row.groups, groups);
    }
}

TEST(IPv6Address, RefusesEverythingElse) {
    constexpr std::string_view ROWS[] = {
        "",
        ":",
        ":::",
        "::::",
        "1",
        "1:2",
        "1:2:3:4:5:6:7",
        "1:2:3:4:5:6:7:8:9",
        "1:2:3:4:5:6:7:8:",
        ":1:2:3:4:5:6:7:8",
        ":1:2:3:4:5:6:7",
        "1:2:3:4:5:6:7:",
        // A single ':' ends no address and starts none.
        "::1:",
        ":1::",
        "1:",
        // "::" once only, and for one group at least.
        "1::2::3",
        "::1::",
        "1:::2",
        "1:2:3:4:5:6:7:8::",
        "::1:2:3:4:5:6:7:8",
        "1:2:3:4::5:6:7:8",
        "1:2:3:4:5:6:7::8",
        // Groups of five digits, or of other characters.
        "12345::",
        "::00001",
        "1:2:3:4:5:6:7:00008",
        "g::",
        "::g",
        "1 ::",
        ":: 1",
        " ::1",
        "::1 ",
        "::-1",
        // Dotted quads: seven groups before one are too many, and six beside "::".
        "1.2.3.4",
        "1:2:3:4:5:1.2.3.4",
        "1:2:3:4:5:6:7:1.2.3.4",
        "1:2:3:4:5:6::1.2.3.4",
        "::1:2:3:4:5:6:1.2.3.4",
        "1::2:3:4:5:6:1.2.3.4",
        "1.2.3.4::",
        "::1.2.3.4:5",
        "::1.2.3",
        "::1.2.3.4.5",
        "::1.2.3.256",
        "::1.2.3.04",
        "::.1.2.3",
        "::1.2.3.a",
        "::ffff.1.2.3",
        // What stands around addresses elsewhere.
        "[::1]",
        "::1%eth0",
        "::1/64",
        "::1\0"sv,
    };
    for (const std::string_view row : ROWS) {
        SCOPED_TRACE(::testing::PrintToString(row));
        const ExactText text(row);
        const Ipv6Groups before{9, 9, 9, 9, 9, 9, 9, 9};
        Ipv6Groups groups = before;
        EXPECT_EQ(RULE_ERR_FAILED, parseIPv6Address({text.data(), text.size()}, &groups));
        EXPECT_EQ(before, groups);
    }
}

}  // namespace

}  // namespace rs::test
