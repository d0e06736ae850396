// Records of rules that keep their text as it was given.
#pragma once

#include <ruleset.h>

#include <algorithm>
#include <cstdint>

#include "core/memory.h"
#include "core/rule_set.h"

namespace rs {

// A copy of length bytes and padding zero bytes; null when memory is out.
inline char* copyRuleText(const char* text, uint32_t length, uint32_t padding) noexcept {
    char* copy = allocateBytes(size_t{length} + padding);
    if (copy != nullptr) {
        std::copy_n(text, length, copy);
        std::fill_n(copy + length, padding, '\0');
    }
    return copy;
}

// Parses a text into a new, zero-filled Rule that keeps a copy of it, with padding zero bytes behind
// it. parse(record) fills the parsed form. Null, with RULE_ERR_BAD_RULE or RULE_ERR_NO_MEMORY, when
// that fails: freeRule copes with the record as it is then.
template <typename Rule, auto freeRule, typename Parse>
Rule* makeTextRule(const char* text, uint32_t length, uint32_t padding, const RuleValues& values,
                   int32_t* status, const Parse& parse) noexcept {
    Owned<Rule, freeRule> rule(allocateRecord<Rule>());
    if (!rule) {
        *status = RULE_ERR_NO_MEMORY;
        return nullptr;
    }
    if (parse(*rule) != RULE_OK) {
        *status = RULE_ERR_BAD_RULE;
        return nullptr;
    }
    rule->text = copyRuleText(text, length, padding);
    if (rule->text == nullptr) {
        *status = RULE_ERR_NO_MEMORY;
        return nullptr;
    }
    rule->ruleValue = values.ruleValue;
    rule->ruleId = values.ruleId;
    rule->userData = values.userData;
    *status = RULE_OK;
    return rule.release();
}

}  // namespace rs
