// What the entries of all compiled structures have in common. An entry holds what a lookup reports
// of its rule:
//
//     rule           ruleValue  ruleId  userData
//     its position       |        |        |
//          |             |        |        |        fillEntry
//     entry  ruleIndex  ruleValue  ruleId  userData
//                                                   reportEntry
//     MatchResult, the same four
//
// Each rule type lays its entries out in its own way, so these are templates over records with the
// same field names.
//
// Ownership:  userData is copied as a pointer. core/release.h says which entry owns it.
// Threads:    none of its own: values in, values out.
#pragma once

#include <ruleset.h>

#include <cstdint>

namespace rs {

// Copies what a host attached to a rule: between its arguments, records and entries.
template <typename From, typename To>
void copyRuleValues(const From& from, To& to) noexcept {
    to.ruleValue = from.ruleValue;
    to.ruleId = from.ruleId;
    to.userData = from.userData;
}

// Fills an entry from the rule at a position counted from 1. Whether the entry owns userData is not
// decided here: see core/release.h.
template <typename Rule, typename Entry>
void fillEntry(const Rule& rule, uint32_t ruleIndex, Entry& entry) noexcept {
    entry.ruleIndex = ruleIndex;
    copyRuleValues(rule, entry);
}

// Reports the winner of a lookup: 1 with *result filled, or 0 with *result left alone for null.
template <typename Entry>
[[nodiscard]] int32_t reportEntry(const Entry* entry, MatchResult& result) noexcept {
    if (entry == nullptr) {
        return 0;
    }
    result = {entry->ruleIndex, entry->ruleValue, entry->ruleId, entry->userData};
    return 1;
}

// The entry of the rule that was added earlier; left when both are of one rule. Either may be null.
template <typename Entry>
[[nodiscard]] const Entry* earlier(const Entry* left, const Entry* right) noexcept {
    if (left == nullptr || right == nullptr) {
        return left == nullptr ? right : left;
    }
    return right->ruleIndex < left->ruleIndex ? right : left;
}

}  // namespace rs
