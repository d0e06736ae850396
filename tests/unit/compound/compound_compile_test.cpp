#include "compound/compound_compile.h"

#include <ruleset.h>

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <string_view>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "compound/compound_rule.h"
#include "core/rule_group.h"
#include "core/rule_set.h"
#include "support/release_recorder.h"
#include "support/rule_builder.h"
#include "support/rule_handles.h"
#include "support/rule_records.h"

namespace rs::test {

namespace {

uint64_t maskOf(std::initializer_list<RuleLine> rules) {
    return makeCompoundGroup(rules)->compoundTable->valueMask;
}

constexpr uint64_t bit(uint32_t number) {
    return uint64_t{1} << number;
}

TEST(CompoundCompile, OfAnEmptySetIsEmpty) {
    const RuleGroupHandle group = makeCompoundGroup({});
    ASSERT_NE(nullptr, group);
    EXPECT_EQ(nullptr, group->compoundTable->entries);
    EXPECT_EQ(0, group->compoundTable->valueMask);
    EXPECT_EQ(1, group->compoundTable->refCount);
    EXPECT_EQ(0, group->nonEmpty);
}

TEST(CompoundCompile, HoldsCopiesOfTheRulesInTheirOrder) {
    int data = 0;
    RuleSetHandle set = makeCompoundRuleSet(
        {{"1,2;3,4;10.0.0.1,*;80,443;4294967293;4294967294", 21, &data}, {"*;*;*;*;0;0", 22}});
    const RuleGroupHandle group = buildRuleGroup(*set);
    set.reset();
    const CompoundEntry* first = group->compoundTable->entries;
    EXPECT_EQ(1, first->rangeListA->low);
    EXPECT_EQ(2, first->rangeListA->next->low);
    EXPECT_EQ(nullptr, first->rangeListA->next->next);
    EXPECT_EQ(3, first->rangeListB->low);
    EXPECT_EQ(4, first->rangeListB->next->high);
    EXPECT_TRUE(mappedAddress(0x0A000001) == first->addressList->low);
    EXPECT_EQ(UINT32_MAX, first->addressList->next->high.words[0]);
    EXPECT_EQ(80, first->rangeList16->low);
    EXPECT_EQ(443, first->rangeList16->next->high);
    EXPECT_EQ(4294967293, first->numberA);
    EXPECT_EQ(4294967294, first->numberB);
    EXPECT_EQ(1, first->ruleIndex);
    EXPECT_EQ(21, first->ruleValue);
    EXPECT_EQ(ruleIdAt(1), first->ruleId);
    EXPECT_EQ(0, first->matchesAll);
    EXPECT_EQ(&data, first->userData);
    const CompoundEntry* second = first->next;
    EXPECT_EQ(2, second->ruleIndex);
    EXPECT_EQ(22, second->ruleValue);
    EXPECT_EQ(ruleIdAt(2), second->ruleId);
    EXPECT_EQ(1, second->matchesAll);
    EXPECT_EQ(nullptr, second->next);
}

TEST(CompoundValueMask, HasABitForEachSingleValue) {
    EXPECT_EQ(0, maskOf({}));
    EXPECT_EQ(bit(5) | bit(63), maskOf({{"5;*;*;*;0;0"}, {"70;*;*;*;0;0"}}));
    EXPECT_EQ(bit(0), maskOf({{"0;*;*;*;0;0"}}));
    EXPECT_EQ(bit(61), maskOf({{"61;*;*;*;0;0"}}));
    EXPECT_EQ(bit(62), maskOf({{"62;*;*;*;0;0"}}));
    EXPECT_EQ(bit(63), maskOf({{"63;*;*;*;0;0"}}));
    EXPECT_EQ(bit(63), maskOf({{"64;*;*;*;0;0"}}));
    EXPECT_EQ(bit(63), maskOf({{"4294967295;*;*;*;0;0"}}));
    // A range of one number is a single value.
    EXPECT_EQ(bit(7), maskOf({{"7-7;*;*;*;0;0"}}));
    EXPECT_EQ(bit(63), maskOf({{"4294967295*;*;*;*;0;0"}}));
}

TEST(CompoundValueMask, IsAllOnesForAnythingButOneSingleValue) {
    EXPECT_EQ(UINT64_MAX, maskOf({{"1-2;*;*;*;0;0"}}));
    EXPECT_EQ(UINT64_MAX, maskOf({{"1,2;*;*;*;0;0"}}));
    EXPECT_EQ(UINT64_MAX, maskOf({{"1,1;*;*;*;0;0"}}));
    EXPECT_EQ(UINT64_MAX, maskOf({{"100-200;*;*;*;0;0"}}));
    // Everything, in a rule with another condition.
    EXPECT_EQ(UINT64_MAX, maskOf({{"*;*;*;*;1;0"}}));
    EXPECT_EQ(UINT64_MAX, maskOf({{"*;5;*;*;0;0"}}));
    // In whatever order the rules come.
    EXPECT_EQ(UINT64_MAX, maskOf({{"5;*;*;*;0;0"}, {"1-2;*;*;*;0;0"}}));
    EXPECT_EQ(UINT64_MAX, maskOf({{"1-2;*;*;*;0;0"}, {"5;*;*;*;0;0"}}));
    EXPECT_EQ(UINT64_MAX, maskOf({{"1-2;*;*;*;0;0"}, {"*;*;*;*;0;0"}}));
}

TEST(CompoundValueMask, IsLeftAloneByRulesThatMatchAll) {
    EXPECT_EQ(0, maskOf({{"*;*;*;*;0;0"}, {"*;*;*;5;0;0"}, {"0*;**;*;*;0x0;0"}}));
    EXPECT_EQ(bit(5), maskOf({{"*;*;*;*;0;0"}, {"5;*;*;*;0;0"}, {"*;*;*;*;0;0"}}));
}

// Deliberate: a rule always names something in field 1, but an entry without does not count as one
// with a single value.
TEST(CompoundValueMask, IsAllOnesWithoutAList) {
    const RuleSetHandle set = makeCompoundRuleSet({{"5;*;*;*;0;0"}});
    auto& record = ruleAt<CompoundRuleRecord>(set->compoundRules, 1);
    freeRangeList(&record.rule.rangeListA);
    EXPECT_EQ(UINT64_MAX, buildRuleGroup(*set)->compoundTable->valueMask);
}

TEST(CompoundCompile, NeedsASetAndAGroup) {
    RuleGroup group{};
    EXPECT_EQ(nullptr, buildCompoundTable(nullptr, &group));
    EXPECT_EQ(nullptr, group.compoundTable);
    EXPECT_EQ(nullptr, buildCompoundTable(makeCompoundRuleSet({}).get(), nullptr));
}

}  // namespace

}  // namespace rs::test
