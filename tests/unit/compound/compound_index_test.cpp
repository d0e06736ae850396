#include "compound/compound_index.h"

#include <ruleset.h>

#include <cstdint>
#include <vector>

#include <gtest/gtest.h>

#include "compound/compound_compile.h"
#include "core/memory.h"
#include "core/release.h"
#include "core/rule_group.h"
#include "support/release_recorder.h"
#include "support/rule_builder.h"

namespace rs::test {

namespace {

TEST(CompoundRelease, HandsEveryUserDataBack) {
    int data[3] = {};
    ReleaseRecorder recorder;
    const RuleSetHandle set = makeCompoundRuleSet(
        {{"*;*;*;*;0;0", 0, &data[0]}, {"*;*;*;*;0;0", 0, &data[1]}, {"1;*;*;*;0;0", 0, &data[2]}});
    ASSERT_EQ(RULE_OK, recorder.registerOn(*set));
    RuleGroupHandle group = buildRuleGroup(*set);
    EXPECT_TRUE(recorder.order().empty());
    group.reset();
    EXPECT_EQ((std::vector<void*>{&data[0], &data[1], &data[2]}), recorder.order());
}

// Equal rules are all kept, so one userData given with several goes back as often.
TEST(CompoundRelease, HandsUserDataBackOncePerRule) {
    int data = 0;
    ReleaseRecorder recorder;
    const RuleSetHandle set = makeCompoundRuleSet(
        {{"5;*;*;*;0;0", 0, &data}, {"5;*;*;*;0;0"}, {"5;*;*;*;0;0", 0, &data}});
    ASSERT_EQ(RULE_OK, recorder.registerOn(*set));
    buildRuleGroup(*set).reset();
    EXPECT_EQ((std::vector<void*>{&data, &data}), recorder.order());
}

TEST(CompoundRelease, WaitsForTheLastReference) {
    int data = 0;
    ReleaseRecorder recorder;
    const ReleaseInfo info{ReleaseRecorder::record, &recorder, 0};
    const RuleSetHandle set = makeCompoundRuleSet({{"5;*;*;*;0;0", 0, &data}});
    RuleGroup group{};
    CompoundTable* table = buildCompoundTable(set.get(), &group);
    ASSERT_NE(nullptr, table);
    EXPECT_EQ(table, group.compoundTable);
    table->refCount = 2;
    CompoundTable* other = table;
    releaseCompoundTable(&table, &info);
    EXPECT_EQ(nullptr, table);
    EXPECT_EQ(1, other->refCount);
    EXPECT_TRUE(recorder.order().empty());
    releaseCompoundTable(&other, &info);
    EXPECT_EQ(nullptr, other);
    EXPECT_EQ((std::vector<void*>{&data}), recorder.order());
    releaseCompoundTable(&other, &info);
    releaseCompoundTable(nullptr, &info);
    EXPECT_EQ(1, recorder.order().size());
}

TEST(CompoundRelease, FreesEntriesWithOrWithoutACallback) {
    int data[2] = {};
    ReleaseRecorder recorder;
    const ReleaseInfo info{ReleaseRecorder::record, &recorder, 0};
    for (const ReleaseInfo* given : {static_cast<const ReleaseInfo*>(nullptr), &info}) {
        auto* first = allocateRecord<CompoundEntry>();
        first->userData = &data[0];
        first->rangeListA = allocateRecord<U32Range>();
        first->rangeList16 = allocateRecord<PortRange>();
        first->next = allocateRecord<CompoundEntry>();
        first->next->userData = &data[1];
        first->next->addressList = allocateRecord<AddressRange>();
        first->next->rangeListB = allocateRecord<U32Range>();
        freeCompoundEntries(first, given);
        EXPECT_EQ(given == nullptr ? 0 : 2, recorder.order().size());
    }
    EXPECT_EQ((std::vector<void*>{&data[0], &data[1]}), recorder.order());
    freeCompoundEntries(nullptr, &info);
}

}  // namespace

}  // namespace rs::test
