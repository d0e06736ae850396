// The rule types as a table, and the steps that the functions of api take for rules of any type.
//
//     RULE_TYPES of rule_type.cpp    a row:  list in RuleSet  slot in RuleGroup  parse  free  build  release
//
//     one type    ruleListOf  parseRule  buildSlot      use the row of the set's type
//     all types   resetLists  freeRules  retainSlots  releaseSlots      run over all rows
//
// To add a type, give it a row: nothing else in api knows the types. A row without one of its
// operations does not compile, nor does a type, a list or a slot without a row.
//
// Ownership:  a set owns its records, a group its references to structures: see core/rule_set.h and
//             core/rule_group.h. Nothing is owned here.
// Threads:    those that the argument allows; the table is constant.
#pragma once

#include <ruleset.h>

#include <cstdint>

#include "core/release.h"
#include "core/rule_group.h"
#include "core/rule_set.h"

namespace rs {

inline constexpr uint32_t FIRST_RULE_TYPE = RULE_TYPE_IP;
inline constexpr uint32_t LAST_RULE_TYPE = RULE_TYPE_COMPOUND;

// Makes the lists of a new set empty. Frees nothing.
void resetLists(RuleSet& set) noexcept;

// The list that rules of the set's type belong to; null when there is no such type.
[[nodiscard]] RuleList* ruleListOf(RuleSet& set) noexcept;

// Parses a rule of the set's type into a new record, which the caller owns until it is in the set's
// list. RULE_ERR_BAD_TYPE when there is no such type, otherwise as rs_addRuleToRuleSetEx.
[[nodiscard]] int32_t parseRule(const RuleSet& set, const char* text, uint32_t length,
                                const RuleValues& values, ListLink** out) noexcept;

// Frees the rules of all lists; userData is not touched.
void freeRules(RuleSet& set) noexcept;

// Compiles the set into the slot of its type. False when that fails.
[[nodiscard]] bool buildSlot(RuleSet& set, RuleGroup& group) noexcept;

// Shares every structure of group with copy, whose slots are empty.
void retainSlots(const RuleGroup& group, RuleGroup& copy) noexcept;

// Drops the group's reference to every structure, in the order of the rows. The slots must not be
// used afterwards.
void releaseSlots(RuleGroup& group, const ReleaseInfo& info) noexcept;

}  // namespace rs
