#include "ipport/ip_port_rule.h"

#include <ruleset_static.h>

#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "core/memory.h"
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
    EXPECT_EQ(0, fields.firstAddressWide);
    EXPECT_EQ(0, fields.secondAddressWide);
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

// What a rule's offsets and lengths name in its text.
struct FieldTexts {
    std::string_view firstAddress;
    std::string_view firstPorts;
    std::string_view secondAddress;
    std::string_view secondPorts;
};

FieldTexts fieldTextsOf(std::string_view rule) {
    const IpPortRuleFields fields = parsed(rule);
    return {rule.substr(fields.firstAddressOffset, fields.firstAddressLength),
            rule.substr(fields.firstPortsOffset, fields.firstPortsLength),
            rule.substr(fields.secondAddressOffset, fields.secondAddressLength),
            rule.substr(fields.secondPortsOffset, fields.secondPortsLength)};
}

TEST(IpPortRule, CountsOffsetsFromTheUntrimmedStart) {
    for (const std::string_view blanks : {"", " ", "\t", "\r\n", " \t\r\n \n"}) {
        for (const std::string_view endpoints :
             {"10.0.0.1,10.0.0.2;80,443;192.168.0.0/16;*", "*;1-9;*;22", "::1,10.0.0.1;*;*;7"}) {
            const std::string rule = std::string(blanks) + std::string(endpoints) + ";0x10\n ";
            SCOPED_TRACE(rule);
            const FieldTexts texts = fieldTextsOf(rule);
            std::string joined(texts.firstAddress);
            for (const std::string_view text :
                 {texts.firstPorts, texts.secondAddress, texts.secondPorts}) {
                joined += ';';
                joined += text;
            }
            EXPECT_EQ(endpoints, joined);
        }
    }
}

TEST(IpPortRule, RefusesBlanksAnywhereInside) {
    constexpr std::string_view RULE = "10.0.0.1,::1;80,1-9;*;*;0x1";
    parsed(RULE);
    for (const char blank : {' ', '\t', '\r', '\n'}) {
        for (size_t place = 1; place < RULE.size(); ++place) {
            std::string rule(RULE);
            rule.insert(place, 1, blank);
            parsed(rule, RULE_ERR_BAD_RULE);
        }
    }
}

TEST(IpPortRule, HasExactlyFiveFields) {
    parsed("1.2.3.4;80;5.6.7.8;80;1");
    for (const std::string_view rule :
         {"1.2.3.4;80;5.6.7.8;80", "1.2.3.4;80;5.6.7.8;80;1;2", "1.2.3.4;80;5.6.7.8;80;",
          "1.2.3.4;80;5.6.7.8;80;1;", ";;;;", "1"}) {
        parsed(rule, RULE_ERR_BAD_RULE);
    }
}

TEST(IpPortRule, ReadsTheMaskInFull) {
    EXPECT_EQ(4294967295U, parsed("*;*;*;*;4294967295").ruleMask);
    EXPECT_EQ(4294967295U, parsed("*;*;*;*;0xffffffff").ruleMask);
    for (const std::string_view rule :
         {"*;*;*;*;4294967296", "*;*;*;*;12345678901", "*;*;*;*;0xFFFFFFFFF"}) {
        parsed(rule, RULE_ERR_BAD_RULE);
    }
}

// The ends of an address field of the default form are digits; both forms refuse the field.
TEST(IpPortRule, EndsAddressesInDigits) {
    for (const std::string_view rule :
         {"1.2.3.4/;80;*;80;1", "*;80;1.2.3.4-;80;1", "/1.2.3.4;80;*;80;1", "*;80;-1.2.3.4;80;1"}) {
        const ExactText text(rule);
        IpPortRuleFields fields{};
        EXPECT_EQ(RULE_ERR_BAD_RULE, parseIpPortRuleDefault(text.data(), text.size(), &fields))
            << rule;
        EXPECT_EQ(RULE_ERR_BAD_RULE, parseIpPortRuleWide(text.data(), text.size(), &fields))
            << rule;
    }
}

// Deliberate: the length of an IPv4 prefix may hold a byte that is no digit. At an end of the field
// it makes the default form refuse, not the wide one.
TEST(IpPortRule, EndsAddressesOfTheDefaultFormInDigits) {
    constexpr struct {
        std::string_view rule;
        int32_t defaultStatus;
    } ROWS[] = {
        {"10.0.0.0/1:;80;*;80;1", RULE_ERR_BAD_RULE},
        {"*;80;10.0.0.0/1:;80;1", RULE_ERR_BAD_RULE},
        {"1.2.3.4,10.0.0.0/1:;80;*;80;1", RULE_ERR_BAD_RULE},
        {"10.0.0.0/1:,1.2.3.4;80;*;80;1", RULE_OK},
        {"10.0.0.0/:1;80;*;80;1", RULE_ERR_BAD_RULE},
        {"10.0.0.0/20;80;*;80;1", RULE_OK},
    };
    for (const auto& row : ROWS) {
        SCOPED_TRACE(row.rule);
        const ExactText text(row.rule);
        IpPortRuleFields fields{};
        EXPECT_EQ(row.defaultStatus, parseIpPortRuleDefault(text.data(), text.size(), &fields));
        fields = {};
        EXPECT_EQ(row.rule.find("/:1") == std::string_view::npos ? RULE_OK : RULE_ERR_BAD_RULE,
                  parseIpPortRuleWide(text.data(), text.size(), &fields));
    }
}

TEST(IpPortRule, MarksIpv6InEitherField) {
    for (const std::string_view rule :
         {"2001:db8::1;80;10.0.0.1;80;1", "10.0.0.1;80;2001:db8::1;80;1"}) {
        const ExactText text(rule);
        IpPortRuleFields fields{};
        EXPECT_EQ(RULE_ERR_BAD_RULE, parseIpPortRuleDefault(text.data(), text.size(), &fields))
            << rule;
        fields = parsed(rule);
        EXPECT_EQ(1, fields.firstAddressWide) << rule;
        EXPECT_EQ(1, fields.secondAddressWide) << rule;
        setLibraryOption(RULE_OPTION_IPV6, 0);
        parsed(rule, RULE_ERR_BAD_RULE);
        setLibraryOption(RULE_OPTION_IPV6, 1);
    }
}

TEST(IpPortRule, FormsDifferInTheWideFieldsOnly) {
    constexpr std::string_view RULE = "*;80,443;192.168.1.1-192.168.1.9;1-65535;7";
    IpPortRuleFields byDefault{};
    IpPortRuleFields byWide{};
    byDefault.firstAddressWide = 5;  // left alone
    EXPECT_EQ(RULE_OK, parseIpPortRuleDefault(RULE.data(), size32(RULE), &byDefault));
    EXPECT_EQ(RULE_OK, parseIpPortRuleWide(RULE.data(), size32(RULE), &byWide));
    EXPECT_EQ(5, byDefault.firstAddressWide);
    EXPECT_EQ(0, byDefault.secondAddressWide);
    EXPECT_EQ(1, byWide.firstAddressWide) << "a star is marked, too";
    EXPECT_EQ(1, byWide.secondAddressWide);
    EXPECT_EQ(byDefault.wildcardFlags, byWide.wildcardFlags);
    EXPECT_EQ(byDefault.secondAddressOffset, byWide.secondAddressOffset);
    EXPECT_EQ(byDefault.secondPortsLength, byWide.secondPortsLength);
    EXPECT_EQ(byDefault.ruleMask, byWide.ruleMask);
}

// Each form starts with no star, so that a star that the first form saw does not count twice, nor
// one of a rule that the record held before.
TEST(IpPortRule, ForgetsStarsSeenBefore) {
    IpPortRuleFields fields{};
    fields.wildcardFlags = 3;
    EXPECT_EQ(RULE_OK, parseIpPortRule("1.2.3.4;1;5.6.7.8;1;1", 21, &fields));
    EXPECT_EQ(0, fields.wildcardFlags);
    EXPECT_EQ(WILDCARD_FIRST_ADDRESS, parsed("*;1;::1;1;1").wildcardFlags);
    EXPECT_EQ(WILDCARD_SECOND_ADDRESS, parsed("::1;1;*;1;1").wildcardFlags);
    EXPECT_EQ(0, parsed("::1;*;1.2.3.4;*;1").wildcardFlags) << "a star for ports is none of these";
}

TEST(IpPortRule, TakesTheListedPortForms) {
    for (const std::string_view ports :
         {"80", "1-1024", "22,80,8000-8080", "*", "1-65535", "00080", "80-80"}) {
        parsed("*;" + std::string(ports) + ";*;1;1");
        parsed("*;1;*;" + std::string(ports) + ";1");
    }
    for (const std::string_view ports :
         {"0", "65536", "90-80", "80,", ",80", "*,80", "80,*", "1-2-3", "**", "-", "1-", "-1",
          "0-1", "000080", "80,,81"}) {
        parsed("*;" + std::string(ports) + ";*;1;1", RULE_ERR_BAD_RULE);
        parsed("*;1;*;" + std::string(ports) + ";1", RULE_ERR_BAD_RULE);
    }
}

TEST(AddressListCheck, TakesTheFamiliesOfItsForm) {
    EXPECT_EQ(RULE_OK, checkIPv4AddressList({"1.2.3.4,10.0.0.0/8,1.1.1.1-1.1.1.2", 34}));
    EXPECT_EQ(RULE_ERR_BAD_RULE, checkIPv4AddressList({"1.2.3.4,::1", 11}));
    EXPECT_EQ(RULE_OK, checkAddressList({"1.2.3.4,::1,2001:db8::/32", 25}));
    for (const std::string_view list : {"", ",", "1.2.3.4,", ",1.2.3.4", "1.2.3.4,,1.2.3.5", "*",
                                        "1.2.3.4,*", "1.1.1.2-1.1.1.1"}) {
        EXPECT_EQ(RULE_ERR_BAD_RULE, checkIPv4AddressList({list.data(), size32(list)})) << list;
        EXPECT_EQ(RULE_ERR_BAD_RULE, checkAddressList({list.data(), size32(list)})) << list;
    }
    EXPECT_EQ(RULE_ERR_BAD_RULE, checkIPv4AddressList({nullptr, 1}));
    EXPECT_EQ(RULE_ERR_BAD_RULE, checkAddressList({nullptr, 1}));
}

TEST(IpPortRuleRecord, KeepsTheTextAsGivenAndTheValues) {
    constexpr std::string_view RULE = " 1.2.3.4;80;*;*;3\n";
    const ExactText text(RULE);
    int userData = 0;
    int32_t status = RULE_ERR_FAILED;
    const Owned<IpPortRule, freeIpPortRule> rule(
        makeIpPortRule(text.data(), text.size(), {7, 8, &userData}, &status));
    ASSERT_NE(nullptr, rule);
    EXPECT_EQ(RULE_OK, status);
    EXPECT_EQ(RULE, std::string_view(rule->text, RULE.size()));
    EXPECT_EQ("1.2.3.4", RULE.substr(rule->fields.firstAddressOffset, 7));
    EXPECT_EQ(7, rule->ruleValue);
    EXPECT_EQ(8, rule->ruleId);
    EXPECT_EQ(&userData, rule->userData);
}

TEST(IpPortRuleRecord, IsNotMadeFromABadText) {
    int32_t status = RULE_OK;
    EXPECT_EQ(nullptr, makeIpPortRule("1.2.3.4", 7, {}, &status));
    EXPECT_EQ(RULE_ERR_BAD_RULE, status);
    status = RULE_OK;
    EXPECT_EQ(nullptr, makeIpPortRule(nullptr, 7, {}, &status));
    EXPECT_EQ(RULE_ERR_BAD_RULE, status);
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
        // Ten characters at most, whatever their value.
        {"0000000001", RULE_OK, 1},
        {"00000000001", RULE_ERR_BAD_RULE, 0},
        {"0x00000001", RULE_OK, 1},
        {"0x000000001", RULE_ERR_BAD_RULE, 0},
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
        EXPECT_EQ(row.status, parseRuleMask({row.text.data(), size32(row.text)}, &value));
        EXPECT_EQ(row.value, value);
    }
}

}  // namespace

}  // namespace rs::test
