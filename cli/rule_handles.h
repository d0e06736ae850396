// Rule sets and groups of the library, with an owner that deletes them. The rules of the command
// have no userData, so no callback is ever called.
#pragma once

#include <ruleset.h>

#include <cstdint>
#include <memory>

namespace cli {

struct DeletingRuleSet {
    void operator()(RuleSet* set) const { rs_delRuleSet(&set); }
};
using RuleSetHandle = std::unique_ptr<RuleSet, DeletingRuleSet>;

struct DeletingRuleGroup {
    void operator()(RuleGroup* group) const { rs_delRuleGroup(&group); }
};
using RuleGroupHandle = std::unique_ptr<RuleGroup, DeletingRuleGroup>;

// An empty set for rules of a type, RULE_TYPE_... Throws std::bad_alloc.
RuleSetHandle newRuleSet(int32_t type);

// Compiles a set. The set may be deleted before the group. Throws std::bad_alloc, and
// std::runtime_error when memory ran out for some of the rules: answers without them would be wrong.
RuleGroupHandle buildRuleGroup(RuleSet& set);

}  // namespace cli
