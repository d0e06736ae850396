// One rule text in every function that says whether it is one.
#pragma once

#include <ruleset.h>

#include <cstddef>
#include <cstdint>

#include "fuzz_check.h"
#include "support/rule_handles.h"
#include "support/text.h"

namespace rs::fuzz {

using Validate = int32_t (*)(const char* text, uint32_t length);

// Whether a rule set takes the text, and the validator of its type, if there is one, agrees.
inline void checkRuleStatus(int32_t ruleType, const test::ExactText& text, bool isRule,
                            Validate validate) {
    const int32_t expected = isRule ? RULE_OK : RULE_ERR_BAD_RULE;
    const auto type = static_cast<size_t>(ruleType);
    check(validate == nullptr || validate(text.data(), text.size()) == expected, "the validator",
          type);
    const test::RuleSetHandle set = test::newRuleSet(ruleType);
    check(rs_addRuleToRuleSet(set.get(), text.data(), text.size(), 1, 1) == expected,
          "adding the rule", type);
}

}  // namespace rs::fuzz
