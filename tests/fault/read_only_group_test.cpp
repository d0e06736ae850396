// Every lookup in groups whose memory nobody may write: readers share no line of memory that one of them changes.
#include <ruleset.h>
#include <ruleset_static.h>

#include <map>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "core/rule_group.h"
#include "support/every_lookup.h"
#include "support/failing_allocator.h"
#include "support/group_shapes.h"
#include "support/page_arena.h"
#include "support/rule_handles.h"

namespace rs::test {

namespace {

// The set is gone when this returns.
RuleGroupHandle buildIn(const PageArena& arena, const GroupShape& shape) {
    const RuleSetHandle set = makeSetOf(shape);
    const UsedArena used(arena);
    return buildRuleGroup(*set);
}

class ReadOnlyGroup : public ::testing::TestWithParam<GroupShape> {
protected:
    void SetUp() override {
        group = buildIn(arena, GetParam());
        ASSERT_NE(nullptr, group);
        ASSERT_TRUE(arena.holds(group.get()));
        before = answers();
        arena.makeReadOnly();
    }
    void TearDown() override {
        arena.makeWritable();
        group.reset();
    }

    std::vector<Answer> answers() const {
        return answersOf(*group, GetParam().type, GetParam().keys);
    }

    PageArena arena;
    RuleGroupHandle group;
    std::vector<Answer> before;
};

TEST_P(ReadOnlyGroup, AnswersEveryLookup) {
    EXPECT_EQ(before, answers());
    EXPECT_EQ(0U, rulesLeftOut(group.get()));
}

TEST_P(ReadOnlyGroup, IsAskedByKeysThatHitAndByKeysThatMiss) {
    std::map<std::string_view, uint32_t> hits;
    std::map<std::string_view, uint32_t> misses;
    for (const Answer& answer : before) {
        ++(answer.status == 1 ? hits : misses)[answer.lookup];
    }
    for (const Answer& answer : before) {
        EXPECT_LT(0U, hits[answer.lookup]) << answer.lookup;
        EXPECT_LT(0U, misses[answer.lookup]) << answer.lookup;
    }
}

TEST_P(ReadOnlyGroup, IsAskedWithoutAnAllocation) {
    const AllocationWatch watch;
    EXPECT_EQ(before, answers());
    EXPECT_EQ(0U, watch.allocationCount());
}

TEST_P(ReadOnlyGroup, IsSharedWhenItIsWritableAgain) {
    arena.makeWritable();
    const RuleGroupHandle copy(retainRuleGroup(group.get()));
    ASSERT_NE(nullptr, copy);
    arena.makeReadOnly();
    EXPECT_EQ(before, answersOf(*copy, GetParam().type, GetParam().keys));
    arena.makeWritable();
}

// What the tests above would do if a lookup wrote.
TEST_P(ReadOnlyGroup, EndsTheProgramThatWritesToIt) {
    GTEST_FLAG_SET(death_test_style, "fast");
    EXPECT_DEATH(group->refCount = 2, "");
    EXPECT_DEATH(*arena.lastByte() = 1, "");
    // Of the compiled structure, which is a block of its own, the number of references.
    EXPECT_DEATH(retainRuleGroup(group.get()), "");
    EXPECT_EQ(before, answers());
}

INSTANTIATE_TEST_SUITE_P(EveryShape, ReadOnlyGroup, ::testing::ValuesIn(groupShapes()),
                         [](const auto& row) { return row.param.name; });

}  // namespace

}  // namespace rs::test
