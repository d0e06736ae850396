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

// The set is gone when this returns.
inline RuleGroupHandle makeRuleGroup(int32_t type, std::initializer_list<RuleLine> rules) {
    return buildRuleGroup(*makeRuleSet(type, rules));
}

// The same for each rule type.

inline RuleSetHandle makeIpRuleSet(std::initializer_list<RuleLine> rules) {
    return makeRuleSet(RULE_TYPE_IP, rules);
}

inline RuleGroupHandle makeIpGroup(std::initializer_list<RuleLine> rules) {
    return makeRuleGroup(RULE_TYPE_IP, rules);
}

inline RuleSetHandle makeDomainRuleSet(std::initializer_list<RuleLine> rules) {
    return makeRuleSet(RULE_TYPE_FQDN, rules);
}

inline RuleGroupHandle makeDomainGroup(std::initializer_list<RuleLine> rules) {
    return makeRuleGroup(RULE_TYPE_FQDN, rules);
}

inline RuleSetHandle makeUrlRuleSet(std::initializer_list<RuleLine> rules) {
    return makeRuleSet(RULE_TYPE_URL, rules);
}

inline RuleGroupHandle makeUrlGroup(std::initializer_list<RuleLine> rules) {
    return makeRuleGroup(RULE_TYPE_URL, rules);
}

inline RuleSetHandle makePacketFilterRuleSet(std::initializer_list<RuleLine> rules) {
    return makeRuleSet(RULE_TYPE_PACKET_FILTER, rules);
}

inline RuleGroupHandle makePacketFilterGroup(std::initializer_list<RuleLine> rules) {
    return makeRuleGroup(RULE_TYPE_PACKET_FILTER, rules);
}

inline RuleSetHandle makeIpPortRuleSet(std::initializer_list<RuleLine> rules) {
    return makeRuleSet(RULE_TYPE_IP_PORT, rules);
}

inline RuleGroupHandle makeIpPortGroup(std::initializer_list<RuleLine> rules) {
    return makeRuleGroup(RULE_TYPE_IP_PORT, rules);
}

inline RuleSetHandle makeCompoundRuleSet(std::initializer_list<RuleLine> rules) {
    return makeRuleSet(RULE_TYPE_COMPOUND, rules);
}

inline RuleGroupHandle makeCompoundGroup(std::initializer_list<RuleLine> rules) {
    return makeRuleGroup(RULE_TYPE_COMPOUND, rules);
}

}  // namespace rs::test
