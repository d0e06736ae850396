// The reader of domain rules: capacity byte, rule.
#include "domain/domain_rule.h"

#include <ruleset.h>

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "fuzz_check.h"
#include "support/reference_domain.h"
#include "support/text.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0) {
        return 0;
    }
    std::string_view rule = rs::fuzz::viewOf(data, size);
    const size_t capacity = rs::fuzz::takeCapacity(rule);
    const rs::test::ExactText text(rule);
    const rs::test::DomainForm expected = rs::test::readDomainRule(rule);
    rs::fuzz::checkOutcome(
        expected.outcome, capacity, "the rule", [&](char* out, uint32_t* inOutCapacity) {
            rs::DomainRuleText record{};
            const int32_t status =
                rs::parseDomainRule(text.data(), text.size(), out, inOutCapacity, &record);
            rs::fuzz::check(
                status != RULE_OK || (record.text == out && record.length == *inOutCapacity &&
                                      record.flags == (expected.isWildcard ? 1U : 0U)),
                "the record");
            return status;
        });
    rs::fuzz::check(rs_validateRule_FQDN(text.data(), text.size()) ==
                        rs::test::statusOfValidating(expected.outcome.statusAt(4095)),
                    "the validator");
    return 0;
}
