// The only switches over the rule type. To add a type, give it a case in each of them.
#pragma once

#include <cstdint>

#include "core/release.h"
#include "core/rule_group.h"
#include "core/rule_set.h"

namespace rs {

inline constexpr uint32_t FIRST_RULE_TYPE = RULE_TYPE_IP;
inline constexpr uint32_t LAST_RULE_TYPE = RULE_TYPE_COMPOUND;

// The list that rules of the set's type belong to; null when the type is outside 1..7.
RuleList* ruleListOf(RuleSet& set) noexcept;

// Parses a rule of the set's type into a new record, which the caller owns until it is in the set's
// list. RULE_ERR_BAD_TYPE for a type that takes no rules, otherwise as rs_addRuleToRuleSetEx.
int32_t parseRule(const RuleSet& set, const char* text, uint32_t length, const RuleValues& values,
                  ListLink** out) noexcept;

// Compiles the set into the slot of its type. False when that fails.
[[nodiscard]] bool buildSlot(RuleSet& set, RuleGroup& group) noexcept;

// Shares every structure of group with copy.
void retainSlots(const RuleGroup& group, RuleGroup& copy) noexcept;

// Drops the group's reference to every structure and clears its slots.
void releaseSlots(RuleGroup& group, const ReleaseInfo& info) noexcept;

// Frees the rules of all lists; userData is not touched.
void freeRules(RuleSet& set) noexcept;

}  // namespace rs
