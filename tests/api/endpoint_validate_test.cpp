// The exported validators of rules with two endpoints, through the shared library.
#include <ruleset.h>

#include <cstdint>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "support/rule_handles.h"
#include "support/text.h"

namespace rs::test {

namespace {

using std::string_view_literals::operator""sv;

// Validators and sets judge alike, so each text is given to both, in a block that ends where it
// does.
struct EndpointRules {
    const char* name;
    int32_t type;
    int32_t (*validate)(const char* text, uint32_t length) noexcept;
    std::string_view shortest;  // a rule whose last port list may be made longer
    std::string_view behind;    // what stands behind that list
};

constexpr EndpointRules TYPES[] = {
    {"IpPort", RULE_TYPE_IP_PORT, rs_validateRule_IpPort, "*;*;*;1", ";1"},
    {"PacketFilter", RULE_TYPE_PACKET_FILTER, rs_validateRule_PacketFilter, "tcp;*;*;*;1", ""},
};

void PrintTo(const EndpointRules& rules, std::ostream* out) {
    *out << rules.name;
}

std::string nameOf(const ::testing::TestParamInfo<EndpointRules>& info) {
    return info.param.name;
}

int32_t validate(const EndpointRules& rules, std::string_view text) {
    const ExactText exact(text);
    const int32_t status = rules.validate(exact.data(), exact.size());
    const RuleSetHandle set = newRuleSet(rules.type);
    EXPECT_EQ(status, rs_addRuleToRuleSet(set.get(), exact.data(), exact.size(), 1, 1));
    return status;
}

// A rule of exactly that many bytes, made of as many ports as it takes.
std::string ruleOfLength(const EndpointRules& rules, size_t length) {
    std::string rule(rules.shortest);
    while (rule.size() + rules.behind.size() + 2 <= length) {
        rule += ",1";
    }
    if (rule.size() + rules.behind.size() < length) {
        rule += "1";
    }
    return rule + std::string(rules.behind);
}

class EndpointRuleValidator : public ::testing::TestWithParam<EndpointRules> {};

INSTANTIATE_TEST_SUITE_P(Types, EndpointRuleValidator, ::testing::ValuesIn(TYPES), nameOf);

TEST_P(EndpointRuleValidator, RefusesNullAndNothing) {
    const EndpointRules& rules = GetParam();
    for (const uint32_t length : {0U, 1U, 9U, 4095U, UINT32_MAX}) {
        EXPECT_EQ(RULE_ERR_BAD_RULE, rules.validate(nullptr, length)) << length;
    }
    const std::string rule = ruleOfLength(rules, 20);
    EXPECT_EQ(RULE_ERR_BAD_RULE, rules.validate(rule.data(), 0));
    for (const std::string_view text : {""sv, " "sv, "\t\r\n "sv, ";"sv, ";;;;"sv}) {
        EXPECT_EQ(RULE_ERR_BAD_RULE, validate(rules, text)) << text;
    }
}

// No rule is a rule any more when its last field is cut away. The mask of the one and the last ports
// of the other are single digits here, so that no shorter length is a rule.
TEST_P(EndpointRuleValidator, ReadsNoFurtherThanTheLength) {
    const EndpointRules& rules = GetParam();
    const std::string rule = std::string(rules.shortest) + std::string(rules.behind);
    EXPECT_EQ(RULE_OK, validate(rules, rule));
    for (size_t length = 0; length < rule.size(); ++length) {
        EXPECT_EQ(RULE_ERR_BAD_RULE, validate(rules, std::string_view(rule).substr(0, length)))
            << length;
    }
    const std::string longer = rule + ";what follows is no part of the rule";
    EXPECT_EQ(RULE_OK, rules.validate(longer.data(), size32(rule)));
}

TEST_P(EndpointRuleValidator, TakesAtMost4095Bytes) {
    const EndpointRules& rules = GetParam();
    for (const size_t length : {size_t{100}, size_t{101}, size_t{4094}, size_t{4095}}) {
        const std::string rule = ruleOfLength(rules, length);
        ASSERT_EQ(length, rule.size());
        EXPECT_EQ(RULE_OK, validate(rules, rule)) << length;
    }
    for (const size_t length : {size_t{4096}, size_t{4097}, size_t{70000}}) {
        const std::string rule = ruleOfLength(rules, length);
        ASSERT_EQ(length, rule.size());
        EXPECT_EQ(RULE_ERR_BAD_RULE, validate(rules, rule)) << length;
    }
}

TEST_P(EndpointRuleValidator, DoesNotCountTheBlanksAroundARule) {
    const EndpointRules& rules = GetParam();
    const std::string blanks = " \t\r\n" + std::string(5000, ' ');
    const std::string longest = ruleOfLength(rules, 4095);
    EXPECT_EQ(RULE_OK, validate(rules, blanks + longest));
    EXPECT_EQ(RULE_OK, validate(rules, longest + blanks));
    EXPECT_EQ(RULE_OK, validate(rules, blanks + longest + blanks));
    EXPECT_EQ(RULE_ERR_BAD_RULE, validate(rules, blanks + ruleOfLength(rules, 4096)));
    EXPECT_EQ(RULE_ERR_BAD_RULE, validate(rules, ruleOfLength(rules, 4096) + blanks));
    EXPECT_EQ(RULE_ERR_BAD_RULE, validate(rules, blanks));
}

TEST_P(EndpointRuleValidator, RefusesOtherBytesAroundARule) {
    const EndpointRules& rules = GetParam();
    const std::string rule = ruleOfLength(rules, 20);
    for (const std::string_view other : {"\v"sv, "\f"sv, "\0"sv, "\xA0"sv, ";"sv}) {
        EXPECT_EQ(RULE_ERR_BAD_RULE, validate(rules, std::string(other) + rule));
        EXPECT_EQ(RULE_ERR_BAD_RULE, validate(rules, rule + std::string(other)));
    }
}

TEST(IpPortRuleValidator, TakesTwoEndpointsAndAMask) {
    for (const std::string_view text :
         {"*;*;*;*;1"sv, "10.0.0.0/8;80,443;192.168.1.1-192.168.1.9;1-65535;0x10"sv,
          "10.0.0.1,10.0.0.9;00080;*;22,80,8000-8080;0000000001"sv, "*;*;::1;*;4294967295"sv,
          "2001:db8::/32,10.0.0.1;*;::1-::9,::ffff:1.2.3.4;65535;0xffffFFFF"sv,
          "\t10.0.0.1;1;10.0.0.2;2;3\r\n"sv}) {
        EXPECT_EQ(RULE_OK, validate(TYPES[0], text)) << text;
    }
}

TEST(IpPortRuleValidator, RefusesEverythingElse) {
    for (const std::string_view text :
         {// number of fields
          "1.2.3.4;80;5.6.7.8;80"sv, "1.2.3.4;80;5.6.7.8;80;1;2"sv, "1.2.3.4;80;5.6.7.8;80;1;"sv,
          // addresses
          ";80;*;80;1"sv, "1.2.3;80;*;80;1"sv, "1.2.3.4/;80;*;80;1"sv, "*,1.2.3.4;80;*;80;1"sv,
          "1.2.3.4,;80;*;80;1"sv, ",1.2.3.4;80;*;80;1"sv, "1.1.1.1,,2.2.2.2;80;*;80;1"sv,
          "**;80;*;80;1"sv, "*;80;2.2.2.2-1.1.1.1;80;1"sv, "[::1];80;*;80;1"sv,
          // ports
          "*;;*;80;1"sv, "*;0;*;80;1"sv, "*;65536;*;80;1"sv, "*;80-79;*;80;1"sv, "*;80,;*;80;1"sv,
          "*;*,80;*;80;1"sv, "*;000080;*;80;1"sv, "*;80;*;1-2-3;1"sv, "*;80;*;;1"sv,
          // masks
          "*;80;*;80;"sv, "*;80;*;80;0"sv, "*;80;*;80;0x0"sv, "*;80;*;80;0x"sv, "*;80;*;80;0X1"sv,
          "*;80;*;80;4294967296"sv, "*;80;*;80;00000000001"sv, "*;80;*;80;0xFFFFFFFFF"sv,
          "*;80;*;80;-1"sv, "*;80;*;80;1\0"sv,
          // blanks inside
          "* ;80;*;80;1"sv, "*;80; *;80;1"sv, "*;80;*;80; 1"sv, "*;80,\t81;*;80;1"sv}) {
        EXPECT_EQ(RULE_ERR_BAD_RULE, validate(TYPES[0], text)) << text;
    }
}

TEST(PacketFilterRuleValidator, TakesTcpAndTwoEndpoints) {
    for (const std::string_view text :
         {"tcp;10.0.0.1;80;192.168.0.0/16;1024-65535"sv, "TCP;*;*;*;*"sv, "tCp;*;80;::1;443"sv,
          "tcp;2001:db8::/32;22,80,8000-8080;::1-::9;*"sv, " tcp;*;80;*;00443\n"sv}) {
        EXPECT_EQ(RULE_OK, validate(TYPES[1], text)) << text;
    }
}

TEST(PacketFilterRuleValidator, RefusesEverythingElse) {
    for (const std::string_view text :
         {// number of fields
          "tcp;*;80;*"sv, "tcp;*;80;*;80;"sv, "tcp;*;80;*;80;1"sv,
          // protocols
          "udp;*;*;*;*"sv, "tc;*;*;*;*"sv, "tcpx;*;*;*;*"sv, ";*;*;*;*"sv, "6;*;*;*;*"sv,
          "tcp ;*;*;*;*"sv, "*;*;*;*;*"sv,
          // addresses
          "tcp;;80;*;80"sv, "tcp;1.2.3;80;*;80"sv, "tcp;1.1.1.1,2.2.2.2;80;*;80"sv,
          "tcp;10.0.0.1 ;80;*;80"sv, "tcp;*;80; ::1;80"sv, "tcp;**;80;*;80"sv,
          "tcp;10.0.0.1;80;::1;80"sv, "tcp;::1;80;10.0.0.1;80"sv, "tcp;::/0;80;*;80"sv,
          // ports
          "tcp;*;;*;80"sv, "tcp;*;0;*;80"sv, "tcp;*;80;*;65536"sv, "tcp;*;80-79;*;80"sv,
          "tcp;*;80;*;80,"sv, "tcp;*;80;*;"sv, "tcp;*;80 ;*;80"sv, "tcp;*;80;*;80\0"sv}) {
        EXPECT_EQ(RULE_ERR_BAD_RULE, validate(TYPES[1], text)) << text;
    }
}

}  // namespace

}  // namespace rs::test
