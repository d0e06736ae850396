#include <ruleset_static.h>

#include <set>

#include <gtest/gtest.h>

#include "core/rule_group.h"
#include "ipport/ipport_index.h"
#include "support/release_recorder.h"
#include "support/rule_builder.h"
#include "support/rule_handles.h"

namespace rs::test {

namespace {

RuleGroupHandle makeGroup(std::initializer_list<RuleLine> rules) {
    return buildRuleGroup(*makeRuleSet(RULE_TYPE_IP_PORT, rules));
}

AddressWords mapped(uint32_t address) {
    return {0, 0, 0xFFFF, address};
}

// The winner of a pair of IPv4 endpoints, 0 for none, in the IPv4 structures and, the addresses in
// mapped form, in the 128-bit ones; which must agree.
uint32_t winner(const RuleGroup& group, uint32_t firstAddress, uint32_t firstPort,
                uint32_t secondAddress, uint32_t secondPort, uint32_t mask = 0xFFFFFFFF) {
    MatchResult four{};
    MatchResult six{};
    const int32_t status4 =
        matchIpPortPair4(&group, firstAddress, firstPort, secondAddress, secondPort, mask, &four);
    const int32_t status6 = matchIpPortPair6(&group, mapped(firstAddress), firstPort,
                                             mapped(secondAddress), secondPort, mask, &six);
    EXPECT_EQ(status4, status6);
    EXPECT_EQ(four.ruleIndex, six.ruleIndex);
    return four.ruleIndex;
}

TEST(IpPortMatch, TestsEveryPartOfARule) {
    const RuleGroupHandle group = makeGroup({{"1.2.3.4;80,90-99;5.6.7.8;443;6"}});
    EXPECT_EQ(1, winner(*group, 0x01020304, 80, 0x05060708, 443, 2));
    EXPECT_EQ(1, winner(*group, 0x01020304, 99, 0x05060708, 443, 4));
    EXPECT_EQ(1, winner(*group, 0x01020304, 0x10050, 0x05060708, 0x101BB));
    EXPECT_EQ(0, winner(*group, 0x01020305, 80, 0x05060708, 443));
    EXPECT_EQ(0, winner(*group, 0x01020304, 100, 0x05060708, 443));
    EXPECT_EQ(0, winner(*group, 0x01020304, 80, 0x05060709, 443));
    EXPECT_EQ(0, winner(*group, 0x01020304, 80, 0x05060708, 444));
    EXPECT_EQ(0, winner(*group, 0x01020304, 80, 0x05060708, 443, 9));
}

TEST(IpPortMatch, NeverCoversPortZero) {
    const RuleGroupHandle group = makeGroup({{"*;*;*;*;1"}});
    EXPECT_EQ(1, winner(*group, 1, 1, 2, 65535));
    EXPECT_EQ(0, winner(*group, 1, 0, 2, 1));
    EXPECT_EQ(0, winner(*group, 1, 1, 2, 65536));
}

TEST(IpPortMatch, ReportsTheEarliestRuleOfAllStructures) {
    const RuleGroupHandle group = makeGroup(
        {{"10.0.0.0-10.2.0.5;*;*;*;1"}, {"10.1.1.1;*;*;*;1"}, {"*;*;*;*;1"}, {"10.1.1.1;*;*;*;1"}});
    EXPECT_EQ(1, winner(*group, 0x0A010101, 1, 1, 1));
    EXPECT_EQ(3, winner(*group, 0x0A020006, 1, 1, 1));
    const RuleGroupHandle other =
        makeGroup({{"9.9.9.9;*;*;*;1"}, {"1.1.1.1;*;*;*;1"}, {"*;*;*;*;1"}});
    EXPECT_EQ(2, winner(*other, 0x01010101, 1, 1, 1));
}

TEST(IpPortMatch, FindsIpv6RulesInTheWideLookupOnly) {
    const RuleGroupHandle group = makeGroup({{"2001:db8::/32,1.1.1.1;*;::/1;*;1"}});
    MatchResult hit{};
    EXPECT_EQ(1, matchIpPortPair6(group.get(), {0x20010db8, 5, 0, 0}, 1, {1, 0, 0, 0}, 1, 1, &hit));
    EXPECT_EQ(0, matchIpPortPair6(group.get(), {0x20010db9, 0, 0, 0}, 1, {1, 0, 0, 0}, 1, 1, &hit));
    // The second address is no IPv4 one, so the IPv4 lookups know nothing of the rule.
    EXPECT_EQ(0, matchIpPortPair4(group.get(), 0x01010101, 1, 1, 1, 1, &hit));
}

TEST(IpPortMatch, TakesTheFirstRangeThatAnswers) {
    const RuleGroupHandle group = makeGroup(
        {{"2001:db8::/32;9;*;*;1"}, {"2001:db8::/48;80;*;*;1"}, {"2001:db8::/32;80;*;*;1"}});
    MatchResult hit{};
    EXPECT_EQ(1, matchIpPortPair6(group.get(), {0x20010db8, 0, 0, 1}, 80, {}, 1, 1, &hit));
    EXPECT_EQ(3, hit.ruleIndex);
}

TEST(IpPortMatch, AsksForArguments) {
    const RuleGroupHandle group = makeGroup({{"*;*;*;*;1"}});
    const RuleGroupHandle other = buildRuleGroup(*makeRuleSet(RULE_TYPE_IP, {{"10.0.0.1"}}));
    MatchResult hit{};
    EXPECT_EQ(RULE_ERR_INVALID_ARG, matchIpPortPair4(nullptr, 1, 1, 1, 1, 1, &hit));
    EXPECT_EQ(RULE_ERR_INVALID_ARG, matchIpPortPair4(group.get(), 1, 1, 1, 1, 1, nullptr));
    EXPECT_EQ(RULE_ERR_INVALID_ARG, matchIpPortPair4(other.get(), 1, 1, 1, 1, 1, &hit));
    EXPECT_EQ(RULE_ERR_INVALID_ARG, matchIpPortPair6(other.get(), {}, 1, {}, 1, 1, &hit));
    EXPECT_EQ(RULE_ERR_INVALID_ARG, matchSecondEndpoint4(other.get(), 1, 1));
    EXPECT_EQ(RULE_ERR_INVALID_ARG, matchSecondEndpoint6(nullptr, {}, 1));
    const RuleGroupHandle empty = makeGroup({});
    EXPECT_EQ(0, matchIpPortPair4(empty.get(), 1, 1, 1, 1, 1, &hit));
    EXPECT_EQ(0, matchSecondEndpoint6(empty.get(), {}, 1));
}

TEST(IpPortMatch, FindsSecondEndpointsOfAllStructures) {
    const RuleGroupHandle group = makeGroup(
        {{"*;1;10.0.0.1;80;1"}, {"1.1.1.1;1;10.0.0.2;80;1"}, {"1.0.0.0/8;1;10.0.0.3;80;1"}});
    for (const uint32_t address : {0x0A000001U, 0x0A000002U, 0x0A000003U}) {
        EXPECT_EQ(1, matchSecondEndpoint4(group.get(), address, 80)) << address;
        EXPECT_EQ(1, matchSecondEndpoint6(group.get(), mapped(address), 80)) << address;
        EXPECT_EQ(0, matchSecondEndpoint4(group.get(), address, 81)) << address;
    }
    EXPECT_EQ(0, matchSecondEndpoint4(group.get(), 0x0A000004, 80));
}

}  // namespace

}  // namespace rs::test
