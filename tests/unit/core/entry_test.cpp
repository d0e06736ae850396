#include "core/entry.h"

#include <cstdint>

#include <gtest/gtest.h>

#include "core/rule_set.h"

namespace rs::test {

namespace {

struct Rule {
    uint32_t ruleValue;
    uint32_t ruleId;
    void* userData;
};

struct Entry {
    void* userData;
    uint32_t ruleId;
    uint32_t ruleValue;
    uint32_t ruleIndex;
    uint32_t own;
};

TEST(RuleValues, AreCopiedToARecord) {
    int userData = 0;
    Rule rule{};
    copyRuleValues(RuleValues{5, 6, &userData}, rule);
    EXPECT_EQ(5, rule.ruleValue);
    EXPECT_EQ(6, rule.ruleId);
    EXPECT_EQ(&userData, rule.userData);
}

TEST(Entry, CarriesTheValuesOfItsRule) {
    int userData = 0;
    Entry entry{nullptr, 0, 0, 0, 9};
    fillEntry(Rule{7, 8, &userData}, 3, entry);
    EXPECT_EQ(3, entry.ruleIndex);
    EXPECT_EQ(7, entry.ruleValue);
    EXPECT_EQ(8, entry.ruleId);
    EXPECT_EQ(&userData, entry.userData);
    EXPECT_EQ(9, entry.own) << "what else the entry holds is left alone";
}

TEST(Entry, IsReportedAsTheResult) {
    int userData = 0;
    const Entry entry{&userData, 8, 7, 3, 0};
    MatchResult result{};
    EXPECT_EQ(1, reportEntry(&entry, result));
    EXPECT_EQ(3, result.ruleIndex);
    EXPECT_EQ(7, result.ruleValue);
    EXPECT_EQ(8, result.ruleId);
    EXPECT_EQ(&userData, result.userData);
}

TEST(Entry, LeavesTheResultAloneWhenThereIsNone) {
    MatchResult result{1, 2, 3, &result};
    EXPECT_EQ(0, reportEntry<Entry>(nullptr, result));
    EXPECT_EQ(1, result.ruleIndex);
    EXPECT_EQ(2, result.ruleValue);
    EXPECT_EQ(3, result.ruleId);
    EXPECT_EQ(&result, result.userData);
}

TEST(Entry, OfTheSmallerRuleIndexIsEarlier) {
    const Entry first{nullptr, 0, 0, 1, 0};
    const Entry second{nullptr, 0, 0, 2, 0};
    const Entry firstAgain{nullptr, 0, 0, 1, 0};
    EXPECT_EQ(&first, earlier(&first, &second));
    EXPECT_EQ(&first, earlier(&second, &first));
    EXPECT_EQ(&first, earlier(&first, &firstAgain)) << "left of two of one rule";
    EXPECT_EQ(&second, earlier<Entry>(nullptr, &second));
    EXPECT_EQ(&second, earlier<Entry>(&second, nullptr));
    EXPECT_EQ(nullptr, earlier<Entry>(nullptr, nullptr));
}

}  // namespace

}  // namespace rs::test
