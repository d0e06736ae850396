// The winners of lookups, in groups whose rules have the ruleId of their position, or no number.
#pragma once

#include <ruleset.h>

#include <cstdint>
#include <string_view>

#include <gtest/gtest.h>

#include "support/match_result.h"
#include "support/rule_builder.h"
#include "support/rule_handles.h"
#include "support/text.h"

namespace rs::test {

// The ruleIndex of the rule that match(result) finds; 0 for a miss, after which result must equal
// `missed`.
template <typename Match>
uint32_t winnerOfMatch(const Match& match, const MatchResult& missed = UNTOUCHED) {
    MatchResult result = UNTOUCHED;
    const int32_t status = match(&result);
    if (status == 1) {
        EXPECT_TRUE(result.ruleId == ruleIdAt(result.ruleIndex) || result.ruleId == NO_NUMBER)
            << result.ruleIndex << " with " << result.ruleId;
        return result.ruleIndex;
    }
    EXPECT_EQ(0, status);
    EXPECT_EQ(missed, result);
    return 0;
}

// A lookup of a name or a URL.
using MatchText = int32_t (*)(const RuleGroup* group, const char* text, uint32_t length,
                              MatchResult* result);

// The same for a lookup of a text, of which a miss writes ruleIndex alone.
inline uint32_t winnerOfText(MatchText match, const RuleGroup& group, std::string_view key) {
    const ExactText text(key);
    MatchResult missed = UNTOUCHED;
    missed.ruleIndex = 0;
    return winnerOfMatch(
        [&](MatchResult* result) { return match(&group, text.data(), text.size(), result); },
        missed);
}

// The status of a lookup that refuses the text, and leaves the result alone.
inline int32_t refusalOfText(MatchText match, const RuleGroup& group, std::string_view key) {
    const ExactText text(key);
    MatchResult result = UNTOUCHED;
    const int32_t status = match(&group, text.data(), text.size(), &result);
    EXPECT_GT(0, status);
    EXPECT_EQ(UNTOUCHED, result);
    return status;
}

// The winner of a pair of lookups, of IPv4 addresses and of the same in mapped form, which must
// agree.
template <typename Match4, typename Match6>
uint32_t winnerOfBoth(const Match4& match4, const Match6& match6) {
    const uint32_t winner = winnerOfMatch(match4);
    EXPECT_EQ(winner, winnerOfMatch(match6));
    return winner;
}

}  // namespace rs::test
