// Lookups of texts: rules, one in a line, and a key in the last.
#pragma once

#include <ruleset.h>

#include <cstdint>
#include <string_view>
#include <vector>

#include "fuzz_check.h"
#include "lookup/flat_policy.h"
#include "support/rule_handles.h"
#include "support/text.h"

namespace rs::fuzz {

using LookUpText = int32_t (*)(const RuleGroup* group, const char* key, uint32_t length,
                               MatchResult* result);

// Builds groups of the rules, one with flat lookups and one without, looks the key up in both, and
// compares statuses and winner with the twin.
template <typename Reference>
void runTextMatch(int32_t ruleType, LookUpText lookUp, std::string_view input) {
    std::vector<std::string_view> lines = linesOf(input);
    const std::string_view keyText = lines.back();
    const test::ExactText key(keyText);
    lines.pop_back();

    Reference reference;
    const test::RuleSetHandle set = test::newRuleSet(ruleType);
    uint32_t number = 0;
    for (const std::string_view line : lines) {
        ++number;
        const test::ExactText rule(line);
        const int32_t expected = reference.add(line, 3 * number, 7 * number, nullptr);
        check(rs_addRuleToRuleSet(set.get(), rule.data(), rule.size(), 3 * number, 7 * number) ==
                  expected,
              "adding a rule", number);
    }
    const auto expected = reference.find(keyText);
    for (const FlatUse use : {FlatUse::ALWAYS, FlatUse::NEVER}) {
        flatUse = use;
        const test::RuleGroupHandle group = test::buildRuleGroup(*set);
        check(group != nullptr, "the build");
        MatchResult result{};
        const int32_t status = lookUp(group.get(), key.data(), key.size(), &result);
        check(status == expected.status, "the status of the lookup");
        if (status == 1) {
            check(result.ruleIndex == expected.winner->ruleIndex &&
                      result.ruleValue == expected.winner->ruleValue &&
                      result.ruleId == expected.winner->ruleId,
                  "the winner", result.ruleIndex);
        }
    }
}

}  // namespace rs::fuzz
