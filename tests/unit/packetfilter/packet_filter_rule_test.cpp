#include "packetfilter/packet_filter_rule.h"

#include <ruleset_static.h>

#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "core/memory.h"
#include "support/text.h"
#include "syntax/ip_range.h"

namespace rs::test {

namespace {

PacketFilterRuleFields parsed(std::string_view rule, int32_t expectedStatus = RULE_OK) {
    PacketFilterRuleFields fields{};
    const ExactText text(rule);
    EXPECT_EQ(expectedStatus, parsePacketFilterRule(text.data(), text.size(), &fields)) << rule;
    return fields;
}

TEST(PacketFilterRule, ReadsItsFields) {
    const PacketFilterRuleFields fields = parsed("tcp;10.0.0.1;80;192.168.0.0/16;1024-65535");
    EXPECT_EQ(PROTOCOL_TCP, fields.protocol);
    EXPECT_EQ(0, fields.wildcardFlags);
    EXPECT_EQ(13, fields.firstPortsOffset);
    EXPECT_EQ(2, fields.firstPortsLength);
    EXPECT_EQ(mappedAddress(0x0A000001), fields.firstAddressStart);
    EXPECT_EQ(mappedAddress(0xC0A8FFFF), fields.secondAddressEnd);
    EXPECT_EQ(ADDRESS_FLAG_SINGLE, fields.firstAddressFlags);
}

TEST(PacketFilterRule, CountsOffsetsFromUntrimmedText) {
    EXPECT_EQ(7, parsed(" tcp;*;80;*;443").firstPortsOffset);
}

TEST(PacketFilterRule, TakesStarsForAllAddresses) {
    const PacketFilterRuleFields fields = parsed("TCP;*;*;*;*");
    EXPECT_EQ(3, fields.wildcardFlags);
    EXPECT_EQ((Address128{{0, 0, 0, 0}}), fields.firstAddressStart);
    EXPECT_EQ((Address128{{~0U, ~0U, ~0U, ~0U}}), fields.secondAddressEnd);
}

TEST(PacketFilterRule, RefusesBadTexts) {
    constexpr std::string_view ROWS[] = {
        "",
        "udp;*;*;*;*",
        "tc;*;*;*;*",
        "tcp;*;80;*",
        "tcp;*;80;*;80;",
        "tcp;;80;*;80",
        "tcp;10.0.0.1 ;80;*;80",
        "tcp;10.0.0.1,10.0.0.2;80;*;80",
        // Either form is for one family.
        "tcp;10.0.0.1;80;::1;80",
        "tcp;*;0;*;80",
    };
    for (const std::string_view row : ROWS) {
        parsed(row, RULE_ERR_BAD_RULE);
    }
    EXPECT_EQ(RULE_ERR_BAD_RULE, rs_validateRule_PacketFilter(nullptr, 5));
    EXPECT_EQ(RULE_ERR_INVALID_ARG, parsePacketFilterRule("tcp;*;*;*;*", 11, nullptr));
}

TEST(PacketFilterRule, TakesIpv6OnlyWhileItIsEnabled) {
    EXPECT_EQ(ADDRESS_FLAG_IPV6 | ADDRESS_FLAG_SINGLE,
              parsed("tcp;2001:db8::1;80;*;80").firstAddressFlags);
    setLibraryOption(RULE_OPTION_IPV6, 0);
    parsed("tcp;2001:db8::1;80;*;80", RULE_ERR_BAD_RULE);
    setLibraryOption(RULE_OPTION_IPV6, 1);
}

TEST(PacketFilterRule, ReadsBothEndpointsInFull) {
    constexpr std::string_view RULE = "tcp;10.0.0.1;80;192.168.0.0/16;1024-65535";
    const PacketFilterRuleFields fields = parsed(RULE);
    EXPECT_EQ(6, fields.protocol);
    EXPECT_EQ(mappedAddress(0x0A000001), fields.firstAddressEnd);
    EXPECT_EQ(mappedAddress(0xC0A80000), fields.secondAddressStart);
    EXPECT_EQ(0, fields.secondAddressFlags);
    EXPECT_EQ("1024-65535", RULE.substr(fields.secondPortsOffset));
    EXPECT_EQ(10, fields.secondPortsLength);
}

TEST(PacketFilterRule, WritesTheEndsOfStarsButNotTheirFlags) {
    constexpr std::string_view RULE = "TCP;*;*;*;*";
    PacketFilterRuleFields fields{};
    fields.firstAddressFlags = 99;
    fields.secondAddressFlags = 98;
    EXPECT_EQ(RULE_OK, parsePacketFilterRule(RULE.data(), size32(RULE), &fields));
    EXPECT_EQ(FILTER_ANY_FIRST_ADDRESS | FILTER_ANY_SECOND_ADDRESS, fields.wildcardFlags);
    EXPECT_EQ(FIRST_ADDRESS, fields.firstAddressStart);
    EXPECT_EQ(LAST_ADDRESS, fields.firstAddressEnd);
    EXPECT_EQ(FIRST_ADDRESS, fields.secondAddressStart);
    EXPECT_EQ(LAST_ADDRESS, fields.secondAddressEnd);
    EXPECT_EQ(99, fields.firstAddressFlags);
    EXPECT_EQ(98, fields.secondAddressFlags);
}

TEST(PacketFilterRule, MarksEachStarByItself) {
    EXPECT_EQ(FILTER_ANY_FIRST_ADDRESS, parsed("tcp;*;*;1.2.3.4;*").wildcardFlags);
    EXPECT_EQ(FILTER_ANY_SECOND_ADDRESS, parsed("tcp;::1;*;*;*").wildcardFlags);
    EXPECT_EQ(0, parsed("tcp;::1;*;::2;*").wildcardFlags);
}

TEST(PacketFilterRule, ForgetsStarsSeenBefore) {
    constexpr std::string_view RULE = "tcp;1.2.3.4;1;5.6.7.8;1";
    PacketFilterRuleFields fields{};
    fields.wildcardFlags = 3;
    EXPECT_EQ(RULE_OK, parsePacketFilterRule(RULE.data(), size32(RULE), &fields));
    EXPECT_EQ(0, fields.wildcardFlags);
    // The default form sees the star before it refuses the other address.
    EXPECT_EQ(FILTER_ANY_FIRST_ADDRESS, parsed("tcp;*;1;::1;1").wildcardFlags);
}

TEST(PacketFilterRule, TakesTheOneProtocolInAnyLetterCase) {
    for (const std::string_view protocol : {"tcp", "TCP", "Tcp", "tCP"}) {
        EXPECT_EQ(PROTOCOL_TCP, parsed(std::string(protocol) + ";*;*;*;*").protocol);
    }
    for (const std::string_view protocol :
         {"udp", "tc", "", "tcpx", "tcq", "*", "6", "t\x03p", "\364cp", " tcp;tcp"}) {
        parsed(std::string(protocol) + ";*;*;*;*", RULE_ERR_BAD_RULE);
    }
    uint32_t protocol = 99;
    EXPECT_EQ(RULE_ERR_BAD_RULE, parseProtocolName({"udp", 3}, &protocol));
    EXPECT_EQ(99, protocol);
    EXPECT_EQ(RULE_OK, parseProtocolName({"tcpx", 3}, &protocol));
    EXPECT_EQ(6, protocol);
}

TEST(PacketFilterRule, HasExactlyFiveFields) {
    parsed("tcp;*;80;*;80");
    for (const std::string_view rule :
         {"tcp", "tcp;*;80;*", "tcp;*;80;*;", "tcp;*;80;*;80;", "tcp;*;80;*;80;80", "tcp;;80;*;80",
          "tcp;*;80;;80", "tcp;*;;*;80", ";*;80;*;80", ";;;;"}) {
        parsed(rule, RULE_ERR_BAD_RULE);
    }
}

TEST(PacketFilterRule, TellsIpv6ByItsFlags) {
    const PacketFilterRuleFields fields = parsed("tcp;2001:db8::1;80;2001:db8::/32;80");
    EXPECT_EQ(17, fields.firstAddressFlags);
    EXPECT_EQ(1, fields.secondAddressFlags);
    EXPECT_EQ((Address128{{0x20010db8, 0, 0, 1}}), fields.firstAddressStart);
    EXPECT_EQ((Address128{{0x20010db8, ~0U, ~0U, ~0U}}), fields.secondAddressEnd);
    EXPECT_EQ(17, parsed("tcp;2001:db8::1;80;*;80").firstAddressFlags);
}

// Both addresses are of one family; a mapped address is an IPv6 one.
TEST(PacketFilterRule, NeverMixesFamilies) {
    for (const std::string_view rule : {"tcp;10.0.0.1;80;::1;80", "tcp;::1;80;10.0.0.1;80"}) {
        parsed(rule, RULE_ERR_BAD_RULE);
    }
    constexpr std::string_view IPV4_RULE = "tcp;10.0.0.1;80;10.0.0.2;80";
    PacketFilterRuleFields fields{};
    EXPECT_EQ(RULE_OK, parsePacketFilterRuleDefault(IPV4_RULE.data(), size32(IPV4_RULE), &fields));
    EXPECT_EQ(RULE_ERR_BAD_RULE,
              parsePacketFilterRuleWide(IPV4_RULE.data(), size32(IPV4_RULE), &fields));
    fields = parsed("tcp;::ffff:10.0.0.1;80;::1;80");
    EXPECT_EQ(17, fields.firstAddressFlags);
    EXPECT_EQ(mappedAddress(0x0A000001), fields.firstAddressStart);
}

// Items may have blanks around them elsewhere; here neither form lets them.
TEST(PacketFilterRule, RefusesBlanksAtTheEndsOfAddresses) {
    for (const std::string_view address : {"10.0.0.1", "2001:db8::1"}) {
        for (const char blank : {' ', '\t', '\r', '\n'}) {
            const std::string before = blank + std::string(address);
            const std::string behind = std::string(address) + blank;
            for (const std::string& field : {before, behind}) {
                parsed("tcp;" + field + ";80;*;80", RULE_ERR_BAD_RULE);
                parsed("tcp;*;80;" + field + ";80", RULE_ERR_BAD_RULE);
            }
        }
    }
}

TEST(PacketFilterRule, CountsBothOffsetsFromTheUntrimmedStart) {
    for (const std::string_view blanks : {"", " ", "\t", "\r\n", " \t\r\n \n"}) {
        const std::string rule = std::string(blanks) + "tcp;*;80,81;2001:db8::1;443\n ";
        const PacketFilterRuleFields fields = parsed(rule);
        EXPECT_EQ(blanks.size() + 6, fields.firstPortsOffset);
        EXPECT_EQ("80,81", rule.substr(fields.firstPortsOffset, fields.firstPortsLength));
        EXPECT_EQ("443", rule.substr(fields.secondPortsOffset, fields.secondPortsLength));
    }
    const PacketFilterRuleFields fields = parsed(" tcp;*;80;*;443");
    EXPECT_EQ(7, fields.firstPortsOffset);
    EXPECT_EQ(2, fields.firstPortsLength);
    EXPECT_EQ(12, fields.secondPortsOffset);
    EXPECT_EQ(3, fields.secondPortsLength);
}

TEST(PacketFilterRule, TakesTextsUpToTheLongest) {
    constexpr std::string_view REST = ";*;1";
    std::string rule = "tcp;*;1";
    while (rule.size() + REST.size() < 4095) {
        rule += ",1";
    }
    rule += REST;
    ASSERT_EQ(4095, rule.size());
    parsed(rule);
    parsed("\n" + rule + "\t");
    parsed(rule + "1", RULE_ERR_BAD_RULE);
    parsed("", RULE_ERR_BAD_RULE);
    parsed(" \r\n\t", RULE_ERR_BAD_RULE);
}

TEST(PacketFilterRule, KeepsWhatItReadBeforeTheFieldThatFails) {
    constexpr std::string_view RULE = "tcp;10.0.0.1;80;x;80";
    PacketFilterRuleFields fields{};
    EXPECT_EQ(RULE_ERR_BAD_RULE, parsePacketFilterRuleDefault(RULE.data(), size32(RULE), &fields));
    EXPECT_EQ(6, fields.protocol);
    EXPECT_EQ(mappedAddress(0x0A000001), fields.firstAddressStart);
    EXPECT_EQ(13, fields.firstPortsOffset);
    EXPECT_EQ(0, fields.secondPortsOffset);
}

TEST(PacketFilterRule, AsksForATextAndARecord) {
    PacketFilterRuleFields fields{};
    EXPECT_EQ(RULE_ERR_INVALID_ARG, parsePacketFilterRule(nullptr, 5, &fields));
    EXPECT_EQ(RULE_ERR_INVALID_ARG, parsePacketFilterRule("tcp;*;*;*;*", 11, nullptr));
    for (auto* const parse : {parsePacketFilterRuleDefault, parsePacketFilterRuleWide}) {
        EXPECT_EQ(RULE_ERR_INVALID_ARG, parse(nullptr, 5, &fields));
        EXPECT_EQ(RULE_ERR_INVALID_ARG, parse("tcp;*;*;*;*", 11, nullptr));
    }
    EXPECT_EQ(RULE_ERR_BAD_RULE, rs_validateRule_PacketFilter(nullptr, 5));
    EXPECT_EQ(RULE_OK, rs_validateRule_PacketFilter("tcp;*;*;*;*", 11));
}

TEST(PacketFilterRuleRecord, KeepsTheTextAsGivenAndTheValues) {
    constexpr std::string_view RULE = " tcp;*;80;*;443\n";
    const ExactText text(RULE);
    int userData = 0;
    int32_t status = RULE_ERR_FAILED;
    const Owned<PacketFilterRule, freePacketFilterRule> rule(
        makePacketFilterRule(text.data(), text.size(), {7, 8, &userData}, &status));
    ASSERT_NE(nullptr, rule);
    EXPECT_EQ(RULE_OK, status);
    EXPECT_EQ(RULE, std::string_view(rule->text, RULE.size()));
    EXPECT_EQ(7, rule->fields.firstPortsOffset);
    EXPECT_EQ(7, rule->ruleValue);
    EXPECT_EQ(8, rule->ruleId);
    EXPECT_EQ(&userData, rule->userData);
}

TEST(PacketFilterRuleRecord, IsNotMadeFromABadText) {
    int32_t status = RULE_OK;
    EXPECT_EQ(nullptr, makePacketFilterRule("udp;*;*;*;*", 11, {}, &status));
    EXPECT_EQ(RULE_ERR_BAD_RULE, status);
    status = RULE_OK;
    EXPECT_EQ(nullptr, makePacketFilterRule(nullptr, 11, {}, &status));
    EXPECT_EQ(RULE_ERR_BAD_RULE, status);
}

}  // namespace

}  // namespace rs::test
