// What rs_addRuleToRuleSetEx and its siblings leave in the set, and what a host cannot cause.
#include <ruleset.h>

#include <array>
#include <cstdint>

#include <gtest/gtest.h>

#include "core/rule_set.h"
#include "ip/ip_rule.h"
#include "support/rule_builder.h"

namespace rs::test {

namespace {

constexpr uint32_t BAD_TYPES[] = {0, 8, 9, 0x80000000, 0xFFFFFFFF};

std::array<const RuleList*, 6> listsOf(const RuleSet& set) {
    return {&set.ipRules,           &set.domainRules, &set.urlRules,
            &set.packetFilterRules, &set.ipPortRules, &set.compoundRules};
}

TEST(NewRuleSetRecord, IsEmptyWhateverItsType) {
    for (int32_t type = RULE_TYPE_IP; type <= RULE_TYPE_COMPOUND; ++type) {
        SCOPED_TRACE(type);
        const RuleSetHandle set = newRuleSet(type);
        ASSERT_NE(nullptr, set);
        EXPECT_EQ(static_cast<uint32_t>(type), set->type);
        EXPECT_EQ(0, set->hasUserData);
        EXPECT_EQ(nullptr, set->releaseCallback);
        EXPECT_EQ(nullptr, set->releaseContext);
        for (const RuleList* list : listsOf(*set)) {
            EXPECT_EQ(0, list->ruleCount);
            EXPECT_EQ(&list->head, list->head.next);
            EXPECT_EQ(&list->head, list->head.prev);
        }
    }
}

TEST(AddedRuleRecord, StandsAtTheTailOfTheListOfItsType) {
    for (const int32_t type : {RULE_TYPE_IP, RULE_TYPE_IP_ALT}) {
        int userData = 0;
        const RuleSetHandle set = newRuleSet(type);
        ASSERT_EQ(RULE_OK, addRule(*set, "10.0.0.1", 5, 7));
        ASSERT_EQ(RULE_OK, addRule(*set, "10.0.0.0/8", 6, 8, &userData));
        EXPECT_EQ(2, set->ipRules.ruleCount);
        const auto* first = reinterpret_cast<const IpRule*>(set->ipRules.head.next);
        const auto* second = reinterpret_cast<const IpRule*>(first->links.next);
        EXPECT_EQ(&set->ipRules.head, second->links.next);
        EXPECT_EQ(second, reinterpret_cast<const IpRule*>(set->ipRules.head.prev));
        EXPECT_EQ(5, first->ruleValue);
        EXPECT_EQ(7, first->ruleId);
        EXPECT_EQ(nullptr, first->userData);
        EXPECT_EQ(0, first->released);
        EXPECT_EQ(6, second->ruleValue);
        EXPECT_EQ(8, second->ruleId);
        EXPECT_EQ(&userData, second->userData);
        EXPECT_EQ(0, second->released);
        for (const RuleList* list : listsOf(*set)) {
            EXPECT_EQ(list == &set->ipRules ? 2 : 0, list->ruleCount);
        }
    }
}

TEST(AddedRuleRecord, RaisesHasUserDataForGood) {
    int userData = 0;
    const RuleSetHandle set = newRuleSet(RULE_TYPE_IP);
    ASSERT_EQ(RULE_OK, rs_addRuleToRuleSet(set.get(), "10.0.0.1", 8, 1, 1));
    EXPECT_EQ(0, set->hasUserData);
    ASSERT_EQ(RULE_OK, addRule(*set, "10.0.0.1", 1, 1, nullptr));
    EXPECT_EQ(0, set->hasUserData);
    // A failed add does not.
    EXPECT_EQ(RULE_ERR_BAD_RULE, addRule(*set, "bad", 1, 1, &userData));
    EXPECT_EQ(0, set->hasUserData);
    ASSERT_EQ(RULE_OK, addRule(*set, "10.0.0.2", 1, 1, &userData));
    EXPECT_EQ(1, set->hasUserData);
    ASSERT_EQ(RULE_OK, addRule(*set, "10.0.0.3", 1, 1, nullptr));
    EXPECT_EQ(1, set->hasUserData);
}

// Each step removes the first reason to refuse that is left.
TEST(AddedRuleRecord, IsCheckedInOrder) {
    int userData = 0;
    for (const uint32_t badType : BAD_TYPES) {
        SCOPED_TRACE(badType);
        const RuleSetHandle set = newRuleSet(RULE_TYPE_IP);
        set->type = badType;
        set->ipRules.ruleCount = UINT32_MAX;
        EXPECT_EQ(RULE_ERR_INVALID_ARG, rs_addRuleToRuleSetEx(nullptr, nullptr, 0, 1, 0, nullptr));
        EXPECT_EQ(RULE_ERR_INVALID_ARG, rs_addRuleToRuleSetEx(nullptr, "::1", 3, 1, 1, nullptr));
        EXPECT_EQ(RULE_ERR_INVALID_ARG,
                  rs_addRuleToRuleSetEx(set.get(), nullptr, 0, 1, 0, &userData));
        EXPECT_EQ(RULE_ERR_BAD_TYPE, rs_addRuleToRuleSetEx(set.get(), nullptr, 0, 1, 1, &userData));
        set->type = RULE_TYPE_IP;
        EXPECT_EQ(RULE_ERR_SET_FULL, rs_addRuleToRuleSetEx(set.get(), nullptr, 0, 1, 1, &userData));
        EXPECT_EQ(RULE_ERR_SET_FULL, rs_addRuleToRuleSetEx(set.get(), "bad", 3, 1, 1, &userData));
        EXPECT_EQ(RULE_ERR_SET_FULL, rs_addRuleToRuleSetEx(set.get(), "::1", 3, 1, 1, &userData));
        set->ipRules.ruleCount = 0;
        EXPECT_EQ(RULE_ERR_INVALID_ARG,
                  rs_addRuleToRuleSetEx(set.get(), nullptr, 0, 1, 1, &userData));
        EXPECT_EQ(RULE_ERR_BAD_RULE, rs_addRuleToRuleSetEx(set.get(), "::1", 0, 1, 1, &userData));
        EXPECT_EQ(0, set->ipRules.ruleCount);
        EXPECT_EQ(0, set->hasUserData);
        EXPECT_TRUE(isListEmpty(set->ipRules.head));
        EXPECT_EQ(RULE_OK, rs_addRuleToRuleSetEx(set.get(), "::1", 3, 1, 1, &userData));
        EXPECT_EQ(1, set->ipRules.ruleCount);
    }
}

TEST(AddedRuleRecord, OfEveryTypeIsCountedUpToTheLastNumber) {
    struct Row {
        int32_t type;
        RuleList RuleSet::*list;
        std::string_view text;
    };
    constexpr Row ROWS[] = {
        {RULE_TYPE_IP, &RuleSet::ipRules, "10.0.0.1"},
        {RULE_TYPE_IP_ALT, &RuleSet::ipRules, "10.0.0.1"},
        {RULE_TYPE_FQDN, &RuleSet::domainRules, "example.com"},
        {RULE_TYPE_URL, &RuleSet::urlRules, "example.com/a"},
        {RULE_TYPE_PACKET_FILTER, &RuleSet::packetFilterRules, "tcp;*;*;*;*"},
        {RULE_TYPE_IP_PORT, &RuleSet::ipPortRules, "*;*;*;*;1"},
        {RULE_TYPE_COMPOUND, &RuleSet::compoundRules, "*;*;*;*;0;0"},
    };
    for (const Row& row : ROWS) {
        SCOPED_TRACE(row.type);
        const RuleSetHandle set = newRuleSet(row.type);
        RuleList& list = (*set).*row.list;
        list.ruleCount = UINT32_MAX - 1;
        EXPECT_EQ(RULE_OK, addRule(*set, row.text, 1, 1));
        EXPECT_EQ(UINT32_MAX, list.ruleCount);
        EXPECT_EQ(RULE_ERR_SET_FULL, addRule(*set, row.text, 1, 1));
        EXPECT_EQ(UINT32_MAX, list.ruleCount);
    }
}

TEST(AddedRuleRecord, MeetsOnlyTheLimitOfItsOwnList) {
    const RuleSetHandle set = newRuleSet(RULE_TYPE_IP_ALT);
    set->domainRules.ruleCount = UINT32_MAX;
    set->compoundRules.ruleCount = UINT32_MAX;
    EXPECT_EQ(RULE_OK, addRule(*set, "10.0.0.1", 1, 1));
}

TEST(RuleSetCallback, IsStoredOnlyForItsKind) {
    int first = 0;
    int second = 0;
    const RuleSetHandle set = newRuleSet(RULE_TYPE_IP);
    const RuleReleaseCallback callback = [](void*, void*) {};
    ASSERT_EQ(RULE_OK, rs_registerRuleCallback(set.get(), 1, callback, &first));
    for (const int32_t kind : {2, 0, -1, INT32_MAX, INT32_MIN}) {
        EXPECT_EQ(RULE_ERR_FAILED, rs_registerRuleCallback(set.get(), kind, nullptr, &second));
        EXPECT_EQ(callback, set->releaseCallback);
        EXPECT_EQ(&first, set->releaseContext);
    }
    EXPECT_EQ(RULE_OK, rs_registerRuleCallback(set.get(), 1, nullptr, &second));
    EXPECT_EQ(nullptr, set->releaseCallback);
    EXPECT_EQ(&second, set->releaseContext);
}

}  // namespace

}  // namespace rs::test
