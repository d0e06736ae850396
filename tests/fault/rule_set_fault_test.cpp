// Rule sets when memory runs out.
#include <ruleset.h>

#include <cstdint>
#include <string_view>

#include <gtest/gtest.h>

#include "core/rule_set.h"
#include "support/failing_allocator.h"
#include "support/rule_handles.h"

namespace rs::test {

namespace {

TEST(RuleSetFault, FailedCreationLeavesTheOutputAlone) {
    for (int32_t type = RULE_TYPE_IP; type <= RULE_TYPE_COMPOUND; ++type) {
        SCOPED_TRACE(type);
        const uint64_t failures = failEachAllocation([&](uint64_t number) {
            RuleSet untouched{};
            RuleSet* set = &untouched;
            const AllocationWatch watch(number);
            const int32_t status = rs_newRuleSet(type, &set);
            if (watch.hasFailed()) {
                EXPECT_EQ(RULE_ERR_NO_MEMORY, status);
                EXPECT_EQ(&untouched, set);
            } else {
                EXPECT_EQ(RULE_OK, status);
                EXPECT_EQ(RULE_OK, rs_delRuleSet(&set));
            }
            EXPECT_EQ(0U, watch.liveBlockCount());
            return watch.hasFailed();
        });
        EXPECT_EQ(1U, failures);
    }
}

// What a failed add must leave as it was.
struct SetState {
    explicit SetState(const RuleSet& set)
        : ruleCount(set.ipRules.ruleCount),
          first(set.ipRules.head.next),
          last(set.ipRules.head.prev),
          hasUserData(set.hasUserData) {}

    friend bool operator==(const SetState&, const SetState&) = default;

    uint32_t ruleCount;
    const ListLink* first;
    const ListLink* last;
    uint8_t hasUserData;
};

TEST(RuleSetFault, FailedAddLeavesTheSetAsItWas) {
    constexpr std::string_view TEXTS[] = {
        "10.0.0.1", "10.0.0.0/8",      "10.0.0.1-10.0.0.9", "2001:db8::1",      "2001:db8::/32",
        "::1-::ff", "::ffff:10.0.0.1", " \t10.0.0.1\r\n",   "::ffff:1.2.3.4/97"};
    const RuleSetHandle set = newRuleSet(RULE_TYPE_IP);
    char token = 0;
    uint32_t ruleCount = 0;
    for (const std::string_view text : TEXTS) {
        SCOPED_TRACE(text);
        const uint64_t failures = failEachAllocation([&](uint64_t number) {
            const SetState before(*set);
            const AllocationWatch watch(number);
            const int32_t status = addRule(*set, text, 1, 1, &token);
            if (watch.hasFailed()) {
                EXPECT_EQ(RULE_ERR_NO_MEMORY, status);
                EXPECT_TRUE(before == SetState(*set));
                EXPECT_EQ(0U, watch.liveBlockCount());
            } else {
                EXPECT_EQ(RULE_OK, status);
                EXPECT_EQ(1U, watch.liveBlockCount());
            }
            return watch.hasFailed();
        });
        EXPECT_EQ(1U, failures);
        EXPECT_EQ(++ruleCount, set->ipRules.ruleCount);
        EXPECT_EQ(1U, set->hasUserData);
    }
}

// The record is allocated before the text is read.
TEST(RuleSetFault, MemoryRunsOutBeforeTheTextIsRead) {
    const RuleSetHandle set = newRuleSet(RULE_TYPE_IP_ALT);
    char token = 0;
    failEachAllocation([&](uint64_t number) {
        const SetState before(*set);
        const AllocationWatch watch(number);
        const int32_t status = addRule(*set, "10.0.0.256", 1, 1, &token);
        EXPECT_EQ(watch.hasFailed() ? RULE_ERR_NO_MEMORY : RULE_ERR_BAD_RULE, status);
        EXPECT_TRUE(before == SetState(*set));
        EXPECT_EQ(0U, watch.liveBlockCount());
        return watch.hasFailed();
    });
}

TEST(RuleSetFault, DeletingFreesAllRules) {
    const AllocationWatch watch;
    RuleSetHandle set = newRuleSet(RULE_TYPE_IP);
    for (int i = 0; i < 10; ++i) {
        EXPECT_EQ(RULE_OK, addRule(*set, "10.0.0.1", 1, 1));
    }
    EXPECT_EQ(11U, watch.liveBlockCount());
    set.reset();
    EXPECT_EQ(0U, watch.liveBlockCount());
}

}  // namespace

}  // namespace rs::test
