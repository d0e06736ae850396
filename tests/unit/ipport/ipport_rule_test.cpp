#include "ipport/ipport_rule.h"

#include <ruleset_static.h>

#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "support/text.h"

namespace rs::test {

namespace {

IpPortRuleFields parsed(std::string_view rule, int32_t expectedStatus = RULE_OK) {
    IpPortRuleFields fields{};
    const ExactText text(rule);
    EXPECT_EQ(expectedStatus, parseIpPortRule(text.data(), text.size(), &fields)) << rule;
    return fields;
}

TEST(IpPortRule, TakesWildcardsEverywhere) {
    const IpPortRuleFields fields = parsed("*;*;*;*;1");
    EXPECT_EQ(WILDCARD_FIRST_ADDRESS | WILDCARD_SECOND_ADDRESS, fields.wildcardFlags);
    EXPECT_EQ(1, fields.firstAddressLength);
    EXPECT_EQ(1, fields.ruleMask);
    EXPECT_EQ(0, fields.firstAddressWide);
}

TEST(IpPortRule, RecordsWhereItsFieldsLie) {
    const IpPortRuleFields fields =
        parsed(" \t10.0.0.0/8;80,443;192.168.1.1-192.168.1.9;1-65535;0x10\n");
    EXPECT_EQ(2, fields.firstAddressOffset);
    EXPECT_EQ(10, fields.firstAddressLength);
    EXPECT_EQ(13, fields.firstPortsOffset);
    EXPECT_EQ(6, fields.firstPortsLength);
    EXPECT_EQ(20, fields.secondAddressOffset);
    EXPECT_EQ(23, fields.secondAddressLength);
    EXPECT_EQ(44, fields.secondPortsOffset);
    EXPECT_EQ(7, fields.secondPortsLength);
    EXPECT_EQ(16, fields.ruleMask);
    EXPECT_EQ(0, fields.wildcardFlags);
}

TEST(IpPortRule, TakesIpv6InTheWideFormOnly) {
    const IpPortRuleFields fields = parsed("2001:db8::1,10.0.0.1;*;*;*;1");
    EXPECT_EQ(1, fields.firstAddressWide);
    EXPECT_EQ(1, fields.secondAddressWide);
    EXPECT_EQ(WILDCARD_SECOND_ADDRESS, fields.wildcardFlags);
    setLibraryOption(RULE_OPTION_IPV6, 0);
    parsed("2001:db8::1;*;*;*;1", RULE_ERR_BAD_RULE);
    parsed("10.0.0.1;*;*;*;1");
    setLibraryOption(RULE_OPTION_IPV6, 1);
}

TEST(IpPortRule, RefusesBadTexts) {
    constexpr std::string_view ROWS[] = {
        "",
        " ",
        "1.2.3.4;80;5.6.7.8;80",
        "1.2.3.4;80;5.6.7.8;80;1;2",
        "1.2.3.4;80;5.6.7.8;80;",
        ";80;5.6.7.8;80;1",
        "1.2.3.4;;5.6.7.8;80;1",
        "1.2.3.4/;80;*;80;1",
        "1.2.3.4,;80;*;80;1",
        ",1.2.3.4;80;*;80;1",
        "1.2.3.4,,1.2.3.5;80;*;80;1",
        "1.2.3.4,*;80;*;80;1",
        "1.2.3.4; 80;*;80;1",
        "1.2.3.4 ;80;*;80;1",
        "1.2.3.4;80,;*;80;1",
        "1.2.3.4;*,80;*;80;1",
        "1.2.3.4;0;*;80;1",
        "1.2.3.4;65536;*;80;1",
        "1.2.3.4;90-80;*;80;1",
        "1.2.3.4;1-2-3;*;80;1",
        "1.2.3.4;80;*;80;0",
        "1.2.3.4;80;*;80;0x0",
    };
    for (const std::string_view row : ROWS) {
        parsed(row, RULE_ERR_BAD_RULE);
    }
}

TEST(IpPortRule, TakesTextsUpToTheLongest) {
    std::string rule = "*;1";
    while (rule.size() + 2 <= 4095 - 6) {
        rule += ",1";
    }
    rule += ";*;*;";
    rule += std::string(4095 - rule.size() - 1, '0') + "1";
    ASSERT_EQ(4095, rule.size());
    parsed(" " + rule + " ");
    parsed(rule + "1", RULE_ERR_BAD_RULE);
}

TEST(IpPortRule, RefusesNullArguments) {
    IpPortRuleFields fields{};
    EXPECT_EQ(RULE_ERR_INVALID_ARG, parseIpPortRule("*;*;*;*;1", 9, nullptr));
    EXPECT_EQ(RULE_ERR_INVALID_ARG, parseIpPortRule(nullptr, 9, &fields));
    EXPECT_EQ(RULE_ERR_BAD_RULE, rs_validateRule_IpPort(nullptr, 9));
}

TEST(RuleMask, ReadsDecimalAndHexadecimal) {
    constexpr struct {
        std::string_view text;
        int32_t status;
        uint32_t value;
    } ROWS[] = {
        {"1", RULE_OK, 1},
        {"0001", RULE_OK, 1},
        {"4294967295", RULE_OK, 4294967295},
        {"0xffffffff", RULE_OK, 4294967295},
        {"0xAb", RULE_OK, 0xAB},
        {"4294967296", RULE_ERR_BAD_RULE, 0},
        {"9999999999", RULE_ERR_BAD_RULE, 0},
        {"12345678901", RULE_ERR_BAD_RULE, 0},
        {"0xFFFFFFFFF", RULE_ERR_BAD_RULE, 0},
        {"0", RULE_ERR_BAD_RULE, 0},
        {"0000", RULE_ERR_BAD_RULE, 0},
        {"0x0", RULE_ERR_BAD_RULE, 0},
        {"0x", RULE_ERR_BAD_RULE, 0},
        {"0X10", RULE_ERR_BAD_RULE, 0},
        {"0xg", RULE_ERR_BAD_RULE, 0},
        {"1a", RULE_ERR_BAD_RULE, 0},
        {"", RULE_ERR_BAD_RULE, 0},
    };
    for (const auto& row : ROWS) {
        SCOPED_TRACE(row.text);
        uint32_t value = 0;
        EXPECT_EQ(row.status, parseRuleMask(row.text.data(), size32(row.text), &value));
        EXPECT_EQ(row.value, value);
    }
}

}  // namespace

}  // namespace rs::test
