// Sets and groups of rules from lists of texts.
#pragma once

#include <ruleset.h>

#include <cstdint>
#include <initializer_list>
#include <string_view>

#include <gtest/gtest.h>

#include "support/rule_handles.h"

namespace rs::test {

struct RuleLine {
    std::string_view text;
    uint32_t ruleValue = 0;
    void* userData = nullptr;
};

// The rule at position n, counted from 1, has this ruleId.
constexpr uint32_t ruleIdAt(uint32_t position) {
    return 1000 + position;
}

inline void addRules(RuleSet& set, std::initializer_list<RuleLine> rules) {
    uint32_t position = 0;
    for (const RuleLine& rule : rules) {
        EXPECT_EQ(RULE_OK,
                  addRule(set, rule.text, rule.ruleValue, ruleIdAt(++position), rule.userData))
            << rule.text;
    }
}

inline RuleSetHandle makeRuleSet(int32_t type, std::initializer_list<RuleLine> rules) {
    RuleSetHandle set = newRuleSet(type);
    addRules(*set, rules);
    return set;
}

inline RuleSetHandle makeIpRuleSet(std::initializer_list<RuleLine> rules) {
    return makeRuleSet(RULE_TYPE_IP, rules);
}

// The set is gone when this returns.
inline RuleGroupHandle makeIpGroup(std::initializer_list<RuleLine> rules) {
    return buildRuleGroup(*makeIpRuleSet(rules));
}

}  // namespace rs::test
