// What the lookups of <ruleset_static.h> refuse; what they find is tested with their rule types.
#include <ruleset_static.h>

#include <gtest/gtest.h>

#include "support/match_result.h"
#include "support/rule_builder.h"
#include "support/rule_handles.h"

namespace rs::test {

namespace {

TEST(StaticCompoundLookup, RefusesNullArgumentsAndGroupsOfOtherTypes) {
    const RuleGroupHandle group =
        buildRuleGroup(*makeRuleSet(RULE_TYPE_COMPOUND, {{"*;*;*;*;0;0"}}));
    const RuleGroupHandle ipGroup = makeIpGroup({{"10.0.0.1"}});
    CompoundFlow flow{};
    MatchResult hit{};
    EXPECT_EQ(RULE_ERR_INVALID_ARG, matchCompound(nullptr, &flow, true, &hit));
    EXPECT_EQ(RULE_ERR_INVALID_ARG, matchCompound(group.get(), nullptr, true, &hit));
    EXPECT_EQ(RULE_ERR_INVALID_ARG, matchCompound(group.get(), &flow, true, nullptr));
    EXPECT_EQ(RULE_ERR_INVALID_ARG, matchCompound(ipGroup.get(), &flow, true, &hit));
}

TEST(StaticIpPortLookup, RefusesNullArgumentsAndGroupsOfOtherTypes) {
    const RuleGroupHandle group = buildRuleGroup(*makeRuleSet(RULE_TYPE_IP_PORT, {{"*;*;*;*;1"}}));
    const RuleGroupHandle other = buildRuleGroup(*makeRuleSet(RULE_TYPE_IP, {{"10.0.0.1"}}));
    MatchResult hit{};
    EXPECT_EQ(RULE_ERR_INVALID_ARG, matchIpPortPair4(nullptr, 1, 1, 1, 1, 1, &hit));
    EXPECT_EQ(RULE_ERR_INVALID_ARG, matchIpPortPair4(group.get(), 1, 1, 1, 1, 1, nullptr));
    EXPECT_EQ(RULE_ERR_INVALID_ARG, matchIpPortPair4(other.get(), 1, 1, 1, 1, 1, &hit));
    EXPECT_EQ(RULE_ERR_INVALID_ARG, matchIpPortPair6(other.get(), {}, 1, {}, 1, 1, &hit));
    EXPECT_EQ(RULE_ERR_INVALID_ARG, matchIpPortPair6(nullptr, {}, 1, {}, 1, 1, &hit));
    EXPECT_EQ(RULE_ERR_INVALID_ARG, matchIpPortPair6(group.get(), {}, 1, {}, 1, 1, nullptr));
    EXPECT_EQ(RULE_ERR_INVALID_ARG, matchSecondEndpoint4(nullptr, 1, 1));
    EXPECT_EQ(RULE_ERR_INVALID_ARG, matchSecondEndpoint4(other.get(), 1, 1));
    EXPECT_EQ(RULE_ERR_INVALID_ARG, matchSecondEndpoint6(other.get(), {}, 1));
    EXPECT_EQ(RULE_ERR_INVALID_ARG, matchSecondEndpoint6(nullptr, {}, 1));
}

TEST(StaticPacketFilterLookup, RefusesNullArgumentsAndGroupsOfOtherTypes) {
    const RuleGroupHandle group =
        buildRuleGroup(*makeRuleSet(RULE_TYPE_PACKET_FILTER, {{"tcp;*;*;*;*"}}));
    const RuleGroupHandle other = buildRuleGroup(*makeRuleSet(RULE_TYPE_IP, {{"10.0.0.1"}}));
    MatchResult hit = UNTOUCHED;
    EXPECT_EQ(RULE_ERR_INVALID_ARG, matchPacketFilter4(nullptr, 1, 1, 1, 1, &hit));
    EXPECT_EQ(RULE_ERR_INVALID_ARG, matchPacketFilter4(other.get(), 1, 1, 1, 1, &hit));
    EXPECT_EQ(RULE_ERR_INVALID_ARG, matchPacketFilter4(group.get(), 1, 1, 1, 1, nullptr));
    EXPECT_EQ(RULE_ERR_INVALID_ARG, matchPacketFilter6(nullptr, {}, 1, {}, 1, &hit));
    EXPECT_EQ(RULE_ERR_INVALID_ARG, matchPacketFilter6(other.get(), {}, 1, {}, 1, &hit));
    EXPECT_EQ(RULE_ERR_INVALID_ARG, matchPacketFilter6(group.get(), {}, 1, {}, 1, nullptr));
    EXPECT_EQ(UNTOUCHED, hit);
}

}  // namespace

}  // namespace rs::test
