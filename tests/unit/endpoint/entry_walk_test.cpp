#include "endpoint/entry_walk.h"

#include <cstdint>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/match_result.h"
#include "support/plain_entry.h"

namespace rs::test {

namespace {

using ::testing::ElementsAre;

TEST(EntryScan, EndsAtTheFirstStatusButZero) {
    PlainEntry third{3, 0, 0, nullptr, nullptr};
    PlainEntry second{2, 0, 0, nullptr, &third};
    const PlainEntry first{1, 0, 0, nullptr, &second};
    std::vector<uint32_t> seen;
    const auto scan = [&](uint32_t endIndex, int32_t status) {
        seen.clear();
        return scanEntries(&first, [&](const PlainEntry& entry) {
            seen.push_back(entry.ruleIndex);
            return entry.ruleIndex == endIndex ? status : 0;
        });
    };
    EXPECT_EQ(&second, scan(2, 1).entry);
    EXPECT_THAT(seen, ElementsAre(1, 2));
    EXPECT_EQ(RULE_ERR_INVALID_ARG, scan(2, RULE_ERR_INVALID_ARG).status);
    EXPECT_EQ(nullptr, scan(2, RULE_ERR_INVALID_ARG).entry);
    EXPECT_THAT(seen, ElementsAre(1, 2));
    EXPECT_EQ(0, scan(4, 1).status);
    EXPECT_THAT(seen, ElementsAre(1, 2, 3));
    EXPECT_EQ(0, scanEntries<PlainEntry>(nullptr, takeAny).status);
}

// One structure's answer: an entry, nothing, or a failure.
auto answering(const PlainEntry& entry) {
    return [&entry]() { return EntryAnswer<PlainEntry>{1, &entry}; };
}
auto answering(int32_t status) {
    return [status]() { return EntryAnswer<PlainEntry>{status, nullptr}; };
}

TEST(CombinedAnswer, IsOfTheSmallestRule) {
    int userData = 0;
    const PlainEntry second{2, 20, 200, &userData, nullptr};
    const PlainEntry third{3, 30, 300, nullptr, nullptr};
    const PlainEntry fourth{4, 40, 400, nullptr, nullptr};
    MatchResult result{};
    EXPECT_EQ(1, combineAnswers(result, answering(third), answering(second), answering(fourth)));
    EXPECT_EQ(2, result.ruleIndex);
    EXPECT_EQ(20, result.ruleValue);
    EXPECT_EQ(200, result.ruleId);
    EXPECT_EQ(&userData, result.userData);
    EXPECT_EQ(1, combineAnswers(result, answering(0), answering(0), answering(fourth)));
    EXPECT_EQ(4, result.ruleIndex);
}

TEST(CombinedAnswer, OfTheSameRuleIsTheLaterOne) {
    const PlainEntry earlier{2, 20, 0, nullptr, nullptr};
    const PlainEntry later{2, 21, 0, nullptr, nullptr};
    MatchResult result{};
    EXPECT_EQ(1, combineAnswers(result, answering(earlier), answering(0), answering(later)));
    EXPECT_EQ(21, result.ruleValue);
}

// What the result held before a lookup counts for nothing, however small its rule.
TEST(CombinedAnswer, ReplacesWhatTheResultHeldBefore) {
    const PlainEntry third{3, 30, 0, nullptr, nullptr};
    MatchResult result{1, 10, 0, nullptr};
    EXPECT_EQ(1, combineAnswers(result, answering(third), answering(0), answering(0)));
    EXPECT_EQ(3, result.ruleIndex);
}

TEST(CombinedAnswer, OfNothingLeavesTheResultAlone) {
    MatchResult result = UNTOUCHED;
    EXPECT_EQ(0, combineAnswers(result, answering(0), answering(0), answering(0)));
    EXPECT_EQ(UNTOUCHED, result);
}

TEST(CombinedAnswer, IsTheFirstFailureWithWhatWasFoundBefore) {
    const PlainEntry third{3, 30, 0, nullptr, nullptr};
    const PlainEntry first{1, 10, 0, nullptr, nullptr};
    MatchResult result = UNTOUCHED;
    EXPECT_EQ(RULE_ERR_INVALID_ARG,
              combineAnswers(result, answering(third), answering(RULE_ERR_INVALID_ARG),
                             answering(first)));
    EXPECT_EQ(3, result.ruleIndex) << "structures after the failure are not asked";
    result = UNTOUCHED;
    EXPECT_EQ(RULE_ERR_FAILED, combineAnswers(result, answering(RULE_ERR_FAILED), answering(first),
                                              answering(first)));
    EXPECT_EQ(UNTOUCHED, result);
}

TEST(FirstStatus, IsTheFirstButZero) {
    uint32_t asked = 0;
    const auto answers = [&asked](int32_t status) {
        return [&asked, status]() {
            ++asked;
            return status;
        };
    };
    EXPECT_EQ(0, firstStatus(answers(0), answers(0), answers(0)));
    EXPECT_EQ(3, asked);
    EXPECT_EQ(1, firstStatus(answers(0), answers(1), answers(RULE_ERR_FAILED)));
    EXPECT_EQ(5, asked) << "structures after the answer are not asked";
    EXPECT_EQ(RULE_ERR_FAILED, firstStatus(answers(RULE_ERR_FAILED), answers(1)));
}

}  // namespace

}  // namespace rs::test
