// Rule sets and groups that free themselves.
#pragma once

#include <ruleset.h>

#include <cstdint>
#include <memory>
#include <string_view>

#include "support/text.h"

namespace rs::test {

struct DeletingRuleSet {
    void operator()(RuleSet* set) const { rs_delRuleSet(&set); }
};
using RuleSetHandle = std::unique_ptr<RuleSet, DeletingRuleSet>;

struct DeletingRuleGroup {
    void operator()(RuleGroup* group) const { rs_delRuleGroup(&group); }
};
using RuleGroupHandle = std::unique_ptr<RuleGroup, DeletingRuleGroup>;

// Null when the set cannot be made.
inline RuleSetHandle newRuleSet(int32_t type) {
    RuleSet* set = nullptr;
    rs_newRuleSet(type, &set);
    return RuleSetHandle(set);
}

// What is checked of every group that buildRuleGroup makes; null in programs that cannot look into it.
inline void (*checkBuiltGroup)(const RuleGroup& group) = nullptr;

// Null when the build fails.
inline RuleGroupHandle buildRuleGroup(RuleSet& set) {
    RuleGroup* group = nullptr;
    rs_buildRuleGroup(&set, &group);
    if (group != nullptr && checkBuiltGroup != nullptr) {
        checkBuiltGroup(*group);
    }
    return RuleGroupHandle(group);
}

// The ruleId of rules that a test adds without a number.
constexpr uint32_t NO_NUMBER = 1;

inline int32_t addRule(RuleSet& set, std::string_view text, uint32_t ruleValue = 0,
                       uint32_t ruleId = NO_NUMBER, void* userData = nullptr) {
    return rs_addRuleToRuleSetEx(&set, text.data(), static_cast<uint32_t>(text.size()), ruleValue,
                                 ruleId, userData);
}

// The same by the function that takes no userData, from a block that ends where the text does.
inline int32_t addExactRule(RuleSet& set, std::string_view rule) {
    const ExactText text(rule);
    return rs_addRuleToRuleSet(&set, text.data(), text.size(), 0, NO_NUMBER);
}

}  // namespace rs::test
