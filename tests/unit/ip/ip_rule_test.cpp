#include "ip/ip_rule.h"

#include <ruleset.h>
#include <ruleset_static.h>

#include <cstdint>
#include <string_view>

#include <gtest/gtest.h>

#include "core/library_option.h"
#include "core/memory.h"
#include "support/text.h"

namespace rs::test {

namespace {

constexpr uint32_t FLAGS_IPV6_SINGLE = ADDRESS_FLAG_IPV6 | ADDRESS_FLAG_SINGLE;
constexpr uint32_t ONES = 0xFFFFFFFF;

class IpRuleText : public ::testing::Test {
protected:
    void TearDown() override { setLibraryOption(RULE_OPTION_IPV6, 1); }
};

struct RuleRow {
    std::string_view text;
    Address128 start;
    Address128 end;
    uint32_t flags;
};

constexpr RuleRow IPV4_ROWS[] = {
    {"192.168.1.0/24", {{0, 0, 0xFFFF, 0xC0A80100}}, {{0, 0, 0xFFFF, 0xC0A801FF}}, 0},
    {"192.168.1.77/24", {{0, 0, 0xFFFF, 0xC0A80100}}, {{0, 0, 0xFFFF, 0xC0A801FF}}, 0},
    {"10.0.0.1", {{0, 0, 0xFFFF, 0x0A000001}}, {{0, 0, 0xFFFF, 0x0A000001}}, ADDRESS_FLAG_SINGLE},
    {"10.0.0.1/32", {{0, 0, 0xFFFF, 0x0A000001}}, {{0, 0, 0xFFFF, 0x0A000001}}, 16},
    {"10.0.0.1-10.0.0.1", {{0, 0, 0xFFFF, 0x0A000001}}, {{0, 0, 0xFFFF, 0x0A000001}}, 16},
    {" 10.1.2.3\t", {{0, 0, 0xFFFF, 0x0A010203}}, {{0, 0, 0xFFFF, 0x0A010203}}, 16},
    // Deliberate: the length of an IPv4 prefix is not checked for digits.
    {"10.0.0.0/1:", {{0, 0, 0xFFFF, 0x0A000000}}, {{0, 0, 0xFFFF, 0x0A000FFF}}, 0},
};

constexpr RuleRow IPV6_ROWS[] = {
    {"2001:db8::1", {{0x20010DB8, 0, 0, 1}}, {{0x20010DB8, 0, 0, 1}}, FLAGS_IPV6_SINGLE},
    {"2001:db8::/32", {{0x20010DB8, 0, 0, 0}}, {{0x20010DB8, ONES, ONES, ONES}}, 1},
    {"::ffff:a00:1", {{0, 0, 0xFFFF, 0x0A000001}}, {{0, 0, 0xFFFF, 0x0A000001}}, 17},
    {"::ffff:10.0.0.1", {{0, 0, 0xFFFF, 0x0A000001}}, {{0, 0, 0xFFFF, 0x0A000001}}, 17},
    {"::ffff:a00:0/104", {{0, 0, 0xFFFF, 0x0A000000}}, {{0, 0, 0xFFFF, 0x0AFFFFFF}}, 1},
    {"::1-::2", {{0, 0, 0, 1}}, {{0, 0, 0, 2}}, 1},
};

constexpr std::string_view BAD_TEXTS[] = {
    "",
    "  ",
    "10.0.0.9-10.0.0.1",
    "10.0.0.1/0",
    "10.0.0.1/33",
    // There is no port part.
    "10.0.0.1:80",
    "[::1]:80",
    "2001:db8::/0",
    "2001:db8::/129",
    "::2-::1",
    "10.0.0.1-::ffff:10.0.0.2",
    "::ffff:10.0.0.1-10.0.0.2",
    "example.com",
};

void expectRow(const RuleRow& row) {
    SCOPED_TRACE(row.text);
    const ExactText text(row.text);
    AddressSpec record{};
    record.addressFlags = 0xFFFFFFFF;  // cleared by the parser
    ASSERT_EQ(RULE_OK, parseIpRule({text.data(), text.size()}, &record));
    EXPECT_EQ(row.start, record.startAddress);
    EXPECT_EQ(row.end, record.endAddress);
    EXPECT_EQ(row.flags, record.addressFlags);
}

TEST_F(IpRuleText, ReadsIpv4WhateverTheOption) {
    for (const int32_t enabled : {1, 0}) {
        setLibraryOption(RULE_OPTION_IPV6, enabled);
        for (const RuleRow& row : IPV4_ROWS) {
            expectRow(row);
        }
    }
}

TEST_F(IpRuleText, ReadsIpv6WhileItIsEnabled) {
    for (const RuleRow& row : IPV6_ROWS) {
        expectRow(row);
    }
}

TEST_F(IpRuleText, RefusesIpv6WhileItIsDisabled) {
    setLibraryOption(RULE_OPTION_IPV6, 0);
    for (const RuleRow& row : IPV6_ROWS) {
        SCOPED_TRACE(row.text);
        AddressSpec record{};
        EXPECT_EQ(RULE_ERR_BAD_RULE, parseIpRule({row.text.data(), size32(row.text)}, &record));
        EXPECT_EQ(RULE_ERR_BAD_RULE, rs_validateRule_IP(row.text.data(), size32(row.text)));
    }
    setLibraryOption(RULE_OPTION_IPV6, 7);
    expectRow(IPV6_ROWS[0]);
}

TEST_F(IpRuleText, RefusesBadTexts) {
    for (const int32_t enabled : {1, 0}) {
        setLibraryOption(RULE_OPTION_IPV6, enabled);
        for (const std::string_view row : BAD_TEXTS) {
            SCOPED_TRACE(row);
            const ExactText text(row);
            AddressSpec record{};
            EXPECT_EQ(RULE_ERR_BAD_RULE, parseIpRule({text.data(), text.size()}, &record));
            EXPECT_EQ(RULE_ERR_BAD_RULE, rs_validateRule_IP(text.data(), text.size()));
        }
    }
}

TEST_F(IpRuleText, TellsNullTextsFromBadOnes) {
    for (const int32_t enabled : {1, 0}) {
        setLibraryOption(RULE_OPTION_IPV6, enabled);
        AddressSpec record{};
        EXPECT_EQ(RULE_ERR_INVALID_ARG, parseIpRule({nullptr, 0}, &record));
        EXPECT_EQ(RULE_ERR_INVALID_ARG, parseIpRule({nullptr, 8}, &record));
        EXPECT_EQ(RULE_ERR_INVALID_ARG, parseIpRule({"10.0.0.1", 8}, nullptr));
        // The exported check does not.
        EXPECT_EQ(RULE_ERR_BAD_RULE, rs_validateRule_IP(nullptr, 8));
    }
}

TEST_F(IpRuleText, ConvertsIpv6EvenWhileItIsDisabled) {
    setLibraryOption(RULE_OPTION_IPV6, 0);
    ConvertedRange range{};
    EXPECT_EQ(RULE_OK, rs_convertRule_IP("2001:db8::1", 11, &range));
    EXPECT_EQ(6, range.family);
    EXPECT_EQ(RULE_OK, rs_validate_IPv6Range("2001:db8::1", 11));
}

TEST(IpRuleRecord, KeepsWhatTheHostAttached) {
    int userData = 0;
    int32_t status = 1;
    const Owned<IpRule, freeIpRule> rule(
        makeIpRule("10.0.0.1", 8, {0xFFFFFFFF, 0x80000000, &userData}, &status));
    ASSERT_NE(nullptr, rule);
    EXPECT_EQ(RULE_OK, status);
    EXPECT_EQ(0xFFFFFFFF, rule->ruleValue);
    EXPECT_EQ(0x80000000, rule->ruleId);
    EXPECT_EQ(&userData, rule->userData);
    EXPECT_EQ(0, rule->released);
    EXPECT_EQ(mappedAddress(0x0A000001), rule->addresses.startAddress);
    EXPECT_EQ(ADDRESS_FLAG_SINGLE, rule->addresses.addressFlags);
}

TEST(IpRuleRecord, IsNotMadeFromABadText) {
    int32_t status = 1;
    EXPECT_EQ(nullptr, makeIpRule("10.0.0", 6, {1, 1, nullptr}, &status));
    EXPECT_EQ(RULE_ERR_BAD_RULE, status);
    // Every failure of the parser is a bad rule here.
    status = 1;
    EXPECT_EQ(nullptr, makeIpRule(nullptr, 6, {1, 1, nullptr}, &status));
    EXPECT_EQ(RULE_ERR_BAD_RULE, status);
}

}  // namespace

}  // namespace rs::test
