// What rs_buildRuleGroup leaves in a group, and what a host cannot cause.
#include <ruleset.h>

#include <cstdint>

#include <gtest/gtest.h>

#include "core/rule_group.h"
#include "core/rule_set.h"
#include "ip/ip_index.h"
#include "support/release_recorder.h"
#include "support/rule_builder.h"

namespace rs::test {

namespace {

TEST(BuiltGroup, HoldsTheStructureOfItsTypeOnly) {
    for (const int32_t type : {RULE_TYPE_IP, RULE_TYPE_IP_ALT}) {
        const RuleSetHandle set = newRuleSet(type);
        ASSERT_EQ(RULE_OK, addRule(*set, "10.0.0.1", 1, 1));
        const RuleGroupHandle group = buildRuleGroup(*set);
        ASSERT_NE(nullptr, group);
        EXPECT_EQ(1, group->refCount);
        EXPECT_EQ(1, group->nonEmpty);
        EXPECT_EQ(0, group->reservedWords[0]);
        EXPECT_EQ(0, group->reservedWords[1]);
        EXPECT_EQ(0, group->reserved);
        ASSERT_NE(nullptr, group->ipTable);
        EXPECT_EQ(1, group->ipTable->refCount);
        EXPECT_EQ(nullptr, group->urlIndex);
        EXPECT_EQ(nullptr, group->domainIndex);
        EXPECT_EQ(nullptr, group->packetFilterTable);
        EXPECT_EQ(nullptr, group->ipPortIndex);
        EXPECT_EQ(nullptr, group->compoundTable);
    }
}

TEST(BuiltGroup, IsEmptyWithoutRulesWhateverItsType) {
    for (int32_t type = RULE_TYPE_IP; type <= RULE_TYPE_COMPOUND; ++type) {
        SCOPED_TRACE(type);
        const RuleGroupHandle group = buildRuleGroup(*newRuleSet(type));
        ASSERT_NE(nullptr, group);
        EXPECT_EQ(0, group->nonEmpty);
        EXPECT_EQ(type == RULE_TYPE_IP || type == RULE_TYPE_IP_ALT, group->ipTable != nullptr);
    }
}

TEST(BuiltGroup, IsNotEmptyWhenItsSetCountsRules) {
    // The count of the set decides, not what entered the structure.
    const RuleSetHandle set = newRuleSet(RULE_TYPE_IP);
    set->ipRules.ruleCount = 1;
    const RuleGroupHandle group = buildRuleGroup(*set);
    ASSERT_NE(nullptr, group);
    EXPECT_EQ(1, group->nonEmpty);
    EXPECT_EQ(nullptr, group->ipTable->hostTable);
}

TEST(BuiltGroup, CopiesTheCallbackThatIsRegisteredThen) {
    ReleaseRecorder recorder;
    ReleaseRecorder later;
    const RuleSetHandle set = makeIpRuleSet({{"10.0.0.1"}});
    recorder.registerOn(*set);
    const RuleGroupHandle group = buildRuleGroup(*set);
    later.registerOn(*set);
    ASSERT_NE(nullptr, group);
    EXPECT_EQ(ReleaseRecorder::record, group->releaseCallback);
    EXPECT_EQ(&recorder, group->releaseContext);
}

TEST(BuiltGroup, IsNotMadeFromASetOfAnUnknownType) {
    for (const uint32_t badType : {0U, 8U, 9U, 0x80000000U, 0xFFFFFFFFU}) {
        const RuleSetHandle set = makeIpRuleSet({{"10.0.0.1"}});
        set->type = badType;
        RuleGroup untouched{};
        RuleGroup* group = &untouched;
        EXPECT_EQ(RULE_ERR_BAD_TYPE, rs_buildRuleGroup(set.get(), &group)) << badType;
        EXPECT_EQ(&untouched, group);
    }
}

TEST(DeletedGroup, LivesUntilItsLastReference) {
    int userData = 0;
    ReleaseRecorder recorder;
    const RuleSetHandle set = makeIpRuleSet({{"10.0.0.1", 0, &userData}});
    recorder.registerOn(*set);
    RuleGroup* group = nullptr;
    ASSERT_EQ(RULE_OK, rs_buildRuleGroup(set.get(), &group));
    RuleGroup* second = group;
    ++group->refCount;
    EXPECT_EQ(RULE_OK, rs_delRuleGroup(&second));
    EXPECT_EQ(nullptr, second);
    EXPECT_EQ(1, group->refCount);
    EXPECT_TRUE(recorder.order().empty());
    EXPECT_EQ(RULE_OK, rs_delRuleGroup(&group));
    EXPECT_EQ(nullptr, group);
    EXPECT_EQ(1, recorder.countOf(&userData));
}

}  // namespace

}  // namespace rs::test
