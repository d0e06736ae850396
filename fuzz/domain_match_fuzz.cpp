// Lookups in a group of domain rules: rules, one in a line, and a name in the last.
#include <ruleset.h>

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "fuzz_check.h"
#include "support/reference_domain.h"
#include "support/rule_handles.h"
#include "support/text.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    std::vector<std::string_view> lines = rs::fuzz::linesOf(rs::fuzz::viewOf(data, size));
    const rs::test::ExactText key(lines.back());
    const std::string_view keyText = lines.back();
    lines.pop_back();

    rs::test::ReferenceDomainRules reference;
    const rs::test::RuleSetHandle set = rs::test::newRuleSet(RULE_TYPE_FQDN);
    uint32_t number = 0;
    for (const std::string_view line : lines) {
        ++number;
        const rs::test::ExactText rule(line);
        const int32_t expected = reference.add(line, 3 * number, 7 * number, nullptr);
        rs::fuzz::check(rs_addRuleToRuleSet(set.get(), rule.data(), rule.size(), 3 * number,
                                            7 * number) == expected,
                        "adding a rule", number);
    }
    const rs::test::RuleGroupHandle group = rs::test::buildRuleGroup(*set);
    rs::fuzz::check(group != nullptr, "the build");

    const rs::test::DomainAnswer expected = reference.find(keyText);
    MatchResult result{};
    const int32_t status =
        rs_matchDomainNameWithRuleGroup(group.get(), key.data(), key.size(), &result);
    rs::fuzz::check(status == expected.status, "the status of the lookup");
    if (status == 1) {
        rs::fuzz::check(result.ruleIndex == expected.winner->ruleIndex &&
                            result.ruleValue == expected.winner->ruleValue &&
                            result.ruleId == expected.winner->ruleId,
                        "the winner", result.ruleIndex);
    }
    return 0;
}
