// Rule sets when memory runs out.
#include <ruleset.h>

#include <cstdint>
#include <iterator>
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

// Whether the set or the group goes first, and with good and bad rules in turns.
TEST(RuleSetFault, SetsAndGroupsOfEveryTypeLeaveNothingBehind) {
    struct Row {
        int32_t type;
        std::string_view texts[5];
    };
    constexpr Row ROWS[] = {
        {RULE_TYPE_IP, {"10.0.0.1", "::1", "x", "10.0.0.0/8", "::/1"}},
        {RULE_TYPE_IP_ALT, {"10.0.0.1", "::1", "x", "10.0.0.0/8", "::/1"}},
        {RULE_TYPE_FQDN, {"a.test", "*.a.test", "a..test", "a.test", "*"}},
        {RULE_TYPE_URL, {"a.test/x", "https://*.a.test:*/a*b", "a.test:0", "*/x", "*"}},
        {RULE_TYPE_PACKET_FILTER,
         {"tcp;10.0.0.1;80,443;10.0.0.0/8;1-9", "tcp;::/1;*;::1;80", "udp;*;*;*;*",
          "tcp;10.0.0.0/8;*;*;80", "tcp;*;80;*;443"}},
        {RULE_TYPE_IP_PORT,
         {"10.0.0.1,10.0.0.0/8;80,443;::1,1.1.1.1;1-9;1", "::/1;*;::1;80;1", "*;*;*;80;",
          "*;80;*;443;3", "1.1.1.1;80;*;*;0x7"}},
        {RULE_TYPE_COMPOUND,
         {"1-9,20;3,4;10.0.0.0/8,::1;80;0;7", "*;*;*;*;0;0", "1,;*;*;*;0;0", "*;*;1.1.1.1,x;*;0;0",
          "5*;7;::1;1-2;2;8"}},
    };
    for (const Row& row : ROWS) {
        for (const bool setGoesFirst : {true, false}) {
            SCOPED_TRACE(::testing::Message() << "type " << row.type);
            const AllocationWatch watch;
            RuleSetHandle set = newRuleSet(row.type);
            uint32_t accepted = 0;
            for (const std::string_view text : row.texts) {
                accepted += addRule(*set, text, 1, 1) == RULE_OK ? 1 : 0;
            }
            EXPECT_LT(2U, accepted);
            EXPECT_GT(std::size(row.texts), accepted);
            RuleGroupHandle group = buildRuleGroup(*set);
            EXPECT_NE(nullptr, group);
            if (setGoesFirst) {
                set.reset();
                group.reset();
            } else {
                group.reset();
                set.reset();
            }
            EXPECT_EQ(0U, watch.liveBlockCount());
        }
    }
}

}  // namespace

}  // namespace rs::test
