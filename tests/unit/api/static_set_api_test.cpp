#include <ruleset.h>
#include <ruleset_static.h>

#include <cstdint>
#include <string_view>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "core/rule_set.h"
#include "support/release_recorder.h"
#include "support/rule_builder.h"

namespace rs::test {

namespace {

struct TypedRule {
    int32_t type;
    std::string_view rule;
};

constexpr TypedRule TYPED_RULES[] = {
    {RULE_TYPE_IP, "10.0.0.1"},
    {RULE_TYPE_FQDN, "example.com"},
    {RULE_TYPE_URL, "http://example.com/a"},
    {RULE_TYPE_IP_ALT, "10.0.0.1"},
    {RULE_TYPE_PACKET_FILTER, "tcp;*;*;*;*"},
    {RULE_TYPE_IP_PORT, "*;*;*;*;1"},
    {RULE_TYPE_COMPOUND, "*;*;*;*;0;0"},
};

TEST(MoveRules, KeepsTheirOrderAndGoesOnCounting) {
    const RuleSetHandle to = makeIpRuleSet({{"10.0.0.1"}, {"10.0.0.2"}});
    const RuleSetHandle from = makeIpRuleSet({{"10.0.0.3"}, {"10.0.0.0/24"}});
    ASSERT_EQ(RULE_OK, moveRules(from.get(), to.get()));
    ASSERT_EQ(RULE_OK, addRule(*to, "10.0.1.0/24"));
    const RuleGroupHandle group = buildRuleGroup(*to);
    ASSERT_NE(nullptr, group);
    constexpr struct {
        uint32_t address;
        uint32_t ruleIndex;
    } ROWS[] = {
        {0x0A000001, 1}, {0x0A000002, 2}, {0x0A000003, 3}, {0x0A000004, 4}, {0x0A000101, 5}};
    for (const auto& row : ROWS) {
        MatchResult hit{};
        EXPECT_EQ(1, rs_matchIPRuleGroup(group.get(), row.address, &hit));
        EXPECT_EQ(row.ruleIndex, hit.ruleIndex);
    }
}

TEST(MoveRules, LeavesAnEmptySetThatTakesRules) {
    const RuleSetHandle to = newRuleSet(RULE_TYPE_IP);
    const RuleSetHandle from = makeIpRuleSet({{"10.0.0.1"}});
    ASSERT_EQ(RULE_OK, moveRules(from.get(), to.get()));
    EXPECT_EQ(0, from->ipRules.ruleCount);
    ASSERT_EQ(RULE_OK, addRule(*from, "10.0.0.2"));
    ASSERT_EQ(RULE_OK, moveRules(from.get(), to.get()));
    EXPECT_EQ(2, to->ipRules.ruleCount);
    ASSERT_EQ(RULE_OK, moveRules(from.get(), to.get()));
    EXPECT_EQ(2, to->ipRules.ruleCount);
}

TEST(MoveRules, KnowsEveryType) {
    for (const TypedRule& row : TYPED_RULES) {
        SCOPED_TRACE(row.type);
        const RuleSetHandle to = makeRuleSet(row.type, {{row.rule}});
        const RuleSetHandle from = makeRuleSet(row.type, {{row.rule}});
        EXPECT_EQ(RULE_OK, moveRules(from.get(), to.get()));
        const RuleGroupHandle group = buildRuleGroup(*to);
        EXPECT_NE(nullptr, group);
    }
}

TEST(MoveRules, RefusesSetsThatDoNotFit) {
    const RuleSetHandle set = makeIpRuleSet({{"10.0.0.1"}});
    const RuleSetHandle other = makeRuleSet(RULE_TYPE_IP_ALT, {{"10.0.0.1"}});
    EXPECT_EQ(RULE_ERR_INVALID_ARG, moveRules(nullptr, set.get()));
    EXPECT_EQ(RULE_ERR_INVALID_ARG, moveRules(set.get(), nullptr));
    EXPECT_EQ(RULE_ERR_INVALID_ARG, moveRules(set.get(), set.get()));
    EXPECT_EQ(RULE_ERR_INVALID_ARG, moveRules(other.get(), set.get()));
    EXPECT_EQ(1, set->ipRules.ruleCount);
    EXPECT_EQ(1, other->ipRules.ruleCount);
}

TEST(MoveRules, RefusesSetsOfAnUnknownType) {
    const RuleSetHandle from = makeIpRuleSet({{"10.0.0.1"}});
    const RuleSetHandle to = newRuleSet(RULE_TYPE_IP);
    from->type = 9;
    to->type = 9;
    EXPECT_EQ(RULE_ERR_INVALID_ARG, moveRules(from.get(), to.get()));
    EXPECT_EQ(1, from->ipRules.ruleCount);
}

TEST(MoveRules, RefusesMoreRulesThanASetHolds) {
    const RuleSetHandle to = newRuleSet(RULE_TYPE_IP);
    const RuleSetHandle from = makeIpRuleSet({{"10.0.0.1"}, {"10.0.0.2"}});
    to->ipRules.ruleCount = UINT32_MAX - 1;
    EXPECT_EQ(RULE_ERR_SET_FULL, moveRules(from.get(), to.get()));
    EXPECT_EQ(2, from->ipRules.ruleCount);
    EXPECT_EQ(UINT32_MAX - 1, to->ipRules.ruleCount);
    to->ipRules.ruleCount = UINT32_MAX - 2;
    EXPECT_EQ(RULE_OK, moveRules(from.get(), to.get()));
    EXPECT_EQ(UINT32_MAX, to->ipRules.ruleCount);
}

TEST(MoveRules, LetsUserDataGoBackThroughTheCallbackOfItsNewSet) {
    int data = 0;
    ReleaseRecorder recorder;
    {
        const RuleSetHandle to = newRuleSet(RULE_TYPE_IP);
        recorder.registerOn(*to);
        const RuleSetHandle from = makeIpRuleSet({{"10.0.0.1", 0, &data}});
        ASSERT_EQ(RULE_OK, moveRules(from.get(), to.get()));
        const RuleGroupHandle group = buildRuleGroup(*to);
        ASSERT_NE(nullptr, group);
    }
    EXPECT_THAT(recorder.order(), ::testing::ElementsAre(&data));
}

}  // namespace

}  // namespace rs::test
