#include "api/rule_type.h"

#include <ruleset.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "ip/ip_index.h"
#include "ip/ip_rule.h"
#include "support/release_recorder.h"
#include "support/rule_builder.h"

namespace rs::test {

namespace {

TEST(RuleType, HasAListOfItsOwn) {
    RuleSet set{};
    const struct {
        uint32_t type;
        const RuleList* list;
    } rows[] = {
        {RULE_TYPE_IP, &set.ipRules},
        {RULE_TYPE_IP_ALT, &set.ipRules},
        {RULE_TYPE_FQDN, &set.domainRules},
        {RULE_TYPE_URL, &set.urlRules},
        {RULE_TYPE_PACKET_FILTER, &set.packetFilterRules},
        {RULE_TYPE_IP_PORT, &set.ipPortRules},
        {RULE_TYPE_COMPOUND, &set.compoundRules},
        {0, nullptr},
        {LAST_RULE_TYPE + 1, nullptr},
        {9, nullptr},
        {0xFFFFFFFF, nullptr},
    };
    for (const auto& row : rows) {
        set.type = row.type;
        EXPECT_EQ(row.list, ruleListOf(set)) << row.type;
    }
}

TEST(RuleType, ParsesIpRulesIntoRecordsOfTheirOwn) {
    for (const int32_t type : {RULE_TYPE_IP, RULE_TYPE_IP_ALT}) {
        RuleSet set{};
        set.type = static_cast<uint32_t>(type);
        ListLink* record = nullptr;
        ASSERT_EQ(RULE_OK, parseRule(set, "10.0.0.1", 8, {5, 7, nullptr}, &record));
        ASSERT_NE(nullptr, record);
        const OwnedMemory<IpRule> rule(reinterpret_cast<IpRule*>(record));
        EXPECT_EQ(5, rule->ruleValue);
        EXPECT_EQ(7, rule->ruleId);
        EXPECT_EQ(0, set.ipRules.ruleCount);
    }
}

TEST(RuleType, ParsesNothingOfAnUnknownType) {
    for (const uint32_t type : {0U, LAST_RULE_TYPE + 1, 0xFFFFFFFFU}) {
        RuleSet set{};
        set.type = type;
        ListLink* record = nullptr;
        EXPECT_EQ(RULE_ERR_BAD_TYPE, parseRule(set, "10.0.0.1", 8, {5, 7, nullptr}, &record));
        EXPECT_EQ(nullptr, record);
    }
}

TEST(RuleSlots, AreSharedWithACopyAndReleasedOneByOne) {
    int userData = 0;
    ReleaseRecorder recorder;
    const RuleSetHandle set = makeIpRuleSet({{"10.0.0.1", 0, &userData}});
    recorder.registerOn(*set);
    const RuleGroupHandle group = buildRuleGroup(*set);
    ASSERT_NE(nullptr, group);
    RuleGroup copy{};
    retainSlots(*group, copy);
    EXPECT_EQ(group->ipTable, copy.ipTable);
    EXPECT_EQ(2, group->ipTable->refCount);

    releaseSlots(copy, {ReleaseRecorder::record, &recorder, 0});
    EXPECT_EQ(nullptr, copy.ipTable);
    EXPECT_EQ(1, group->ipTable->refCount);
    EXPECT_TRUE(recorder.order().empty());
}

TEST(RuleSlots, OfAnEmptyGroupAreNothingToShareOrRelease) {
    RuleGroup group{};
    RuleGroup copy{};
    retainSlots(group, copy);
    EXPECT_EQ(nullptr, copy.ipTable);
    releaseSlots(group, {});
}

TEST(RuleSlots, AreReleasedInAFixedOrder) {
    struct TypedRule {
        int32_t type;
        std::string_view text;
    };
    constexpr std::array<TypedRule, 6> RULES = {{{RULE_TYPE_IP, "10.0.0.1"},
                                                 {RULE_TYPE_URL, "http://example.com/a"},
                                                 {RULE_TYPE_FQDN, "example.com"},
                                                 {RULE_TYPE_PACKET_FILTER, "tcp;*;*;*;*"},
                                                 {RULE_TYPE_IP_PORT, "*;*;*;*;1"},
                                                 {RULE_TYPE_COMPOUND, "*;*;*;*;0;0"}}};
    int userData[RULES.size()] = {};
    RuleGroup all{};
    std::vector<void*> expected;
    for (size_t i = 0; i < RULES.size(); ++i) {
        const RuleSetHandle set = makeRuleSet(RULES[i].type, {{RULES[i].text, 0, &userData[i]}});
        retainSlots(*buildRuleGroup(*set), all);
        expected.push_back(&userData[i]);
    }
    ReleaseRecorder recorder;
    releaseSlots(all, {ReleaseRecorder::record, &recorder, 0});
    EXPECT_EQ(expected, recorder.order());
}

TEST(RuleLists, AreReset) {
    RuleSet set{};
    resetLists(set);
    for (const RuleList* list : {&set.ipRules, &set.domainRules, &set.urlRules,
                                 &set.packetFilterRules, &set.ipPortRules, &set.compoundRules}) {
        EXPECT_TRUE(isListEmpty(list->head));
    }
}

TEST(RuleLists, AreEmptyOnceTheirRulesAreFreed) {
    const RuleSetHandle set = makeIpRuleSet({{"10.0.0.1"}, {"10.0.0.2"}, {"::1"}});
    freeRules(*set);
    EXPECT_TRUE(isListEmpty(set->ipRules.head));
    EXPECT_EQ(0, set->ipRules.ruleCount);
}

}  // namespace

}  // namespace rs::test
