// The order in which compound rules and their entries are freed, and refused rules with the lists
// that they already had.
#include <ruleset.h>

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "compound/compound_compile.h"
#include "compound/compound_index.h"
#include "compound/compound_rule.h"
#include "core/memory.h"
#include "core/release.h"
#include "core/rule_group.h"
#include "core/rule_set.h"
#include "support/failing_allocator.h"
#include "support/rule_handles.h"
#include "support/text.h"

namespace rs::test {

namespace {

using Blocks = std::vector<const void*>;

template <typename Range>
void appendNodes(Blocks& blocks, const Range* list) {
    for (; list != nullptr; list = list->next) {
        blocks.push_back(list);
    }
}

// The lists in the order in which they are freed.
template <typename Rule>
Blocks listBlocks(const Rule& rule) {
    Blocks blocks;
    appendNodes(blocks, rule.rangeListA);
    appendNodes(blocks, rule.rangeList16);
    appendNodes(blocks, rule.addressList);
    appendNodes(blocks, rule.rangeListB);
    return blocks;
}

constexpr std::string_view RULE = "1,2;3,4;10.0.0.1,*;80,443;0;0";

TEST(CompoundFault, RecordIsFreedListByList) {
    const ExactText text(RULE);
    const AllocationWatch watch;
    int32_t status = RULE_ERR_FAILED;
    CompoundRuleRecord* record =
        makeCompoundRule(text.data(), text.size(), {1, 2, nullptr}, &status);
    ASSERT_NE(nullptr, record);
    EXPECT_EQ(10U, watch.liveBlockCount());
    Blocks expected = listBlocks(record->rule);
    expected.push_back(record->text);
    expected.push_back(record);
    freeCompoundRecord(record);
    EXPECT_EQ(expected, watch.freedBlocks());
    EXPECT_EQ(0U, watch.liveBlockCount());
}

// What the watch held when userData went back.
struct Release {
    const AllocationWatch* watch;
    size_t freedBefore;
};

void noteRelease(void* /*userData*/, void* context) {
    auto* release = static_cast<Release*>(context);
    release->freedBefore = release->watch->freedBlocks().size();
}

TEST(CompoundFault, EntryIsFreedListByListAndHandsUserDataBackBefore) {
    const RuleSetHandle set = newRuleSet(RULE_TYPE_COMPOUND);
    int data = 0;
    ASSERT_EQ(RULE_OK, addRule(*set, RULE, 1, 2, &data));
    const AllocationWatch watch;
    RuleGroup group{};
    CompoundTable* table = buildCompoundTable(set.get(), &group);
    ASSERT_NE(nullptr, table);
    Blocks expected = listBlocks(*table->entries);
    const size_t listNodes = expected.size();
    EXPECT_EQ(8U, listNodes);
    expected.push_back(table->entries);
    expected.push_back(table);
    Release release{&watch, 0};
    const ReleaseInfo info{noteRelease, &release, 0};
    releaseCompoundTable(&table, &info);
    EXPECT_EQ(expected, watch.freedBlocks());
    EXPECT_EQ(listNodes, release.freedBefore);
    EXPECT_EQ(0U, watch.liveBlockCount());
}

TEST(CompoundFault, RefusedRuleIsFreedWithTheListsItHad) {
    constexpr struct {
        std::string_view text;
        uint64_t nodes;  // made before the text turns out to be bad
    } ROWS[] = {
        {"x;3;10.0.0.1;80;0;0", 0},        {"1,2,x;3;10.0.0.1;80;0;0", 2},
        {"1,2;3,x;10.0.0.1;80;0;0", 3},    {"1,2;3;10.0.0.1,x;80;0;0", 4},
        {"1,2;3;10.0.0.1;80,81,x;0;0", 6}, {"1,2;3;10.0.0.1;80;x;0", 5},
        {"1,2;3;10.0.0.1;80;0;x", 5},      {"1,2;3;10.0.0.1;80;0", 0},
    };
    const RuleSetHandle set = newRuleSet(RULE_TYPE_COMPOUND);
    for (const auto& row : ROWS) {
        SCOPED_TRACE(row.text);
        const AllocationWatch watch;
        EXPECT_EQ(RULE_ERR_BAD_RULE, addRule(*set, row.text, 1, 2));
        EXPECT_EQ(row.nodes + 1, watch.allocationCount());
        EXPECT_EQ(row.nodes + 1, watch.freedBlocks().size());
        EXPECT_EQ(0U, watch.liveBlockCount());
    }
    EXPECT_EQ(0U, set->compoundRules.ruleCount);
}

}  // namespace

}  // namespace rs::test
