// Sets and groups for the benchmarks, which end the program when something fails: a wrong figure is worse than none.
#pragma once

#include <ruleset.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string_view>

#include "lists.h"

namespace bench {

inline void require(bool condition, const char* what) {
    if (!condition) {
        std::fprintf(stderr, "benchmark: %s\n", what);
        std::abort();
    }
}

struct FreeSet {
    void operator()(RuleSet* set) const { rs_delRuleSet(&set); }
};
struct FreeGroup {
    void operator()(RuleGroup* group) const { rs_delRuleGroup(&group); }
};
using SetHandle = std::unique_ptr<RuleSet, FreeSet>;
using GroupHandle = std::unique_ptr<RuleGroup, FreeGroup>;

// The rule at position n, counted from 1, has the ruleId n and one of VALUE_COUNT values in turn.
inline SetHandle fillSet(const RuleList& list) {
    RuleSet* made = nullptr;
    require(rs_newRuleSet(list.type, &made) == RULE_OK, "no rule set");
    SetHandle set(made);
    for (uint32_t i = 0; i < list.rules.size(); ++i) {
        const std::string_view rule = list.rules[i];
        require(rs_addRuleToRuleSet(made, rule.data(), static_cast<uint32_t>(rule.size()),
                                    i % VALUE_COUNT, i + 1) == RULE_OK,
                "a rule was refused");
    }
    return set;
}

inline GroupHandle buildGroup(const SetHandle& set) {
    RuleGroup* group = nullptr;
    require(rs_buildRuleGroup(set.get(), &group) == RULE_OK, "the build failed");
    return GroupHandle(group);
}

}  // namespace bench
