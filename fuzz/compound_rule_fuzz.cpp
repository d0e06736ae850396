// The reader of compound rules and that of their numbers, with and without IPv6: text.
#include "compound/compound_rule.h"

#include <ruleset.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "fuzz_check.h"
#include "rule_status.h"
#include "support/ipv6_option.h"
#include "support/reference_compound.h"
#include "support/text.h"

namespace {

using rs::fuzz::check;
using rs::test::CompoundRuleText;

// A record whose lists are freed, whatever became of its parse.
struct OwnedCompoundRule {
    rs::CompoundRule rule{};

    OwnedCompoundRule() = default;
    OwnedCompoundRule(const OwnedCompoundRule&) = delete;
    OwnedCompoundRule& operator=(const OwnedCompoundRule&) = delete;
    ~OwnedCompoundRule() {
        rs::freeRangeList(&rule.rangeListA);
        rs::freeRangeList(&rule.rangeListB);
        rs::freeRangeList(&rule.addressList);
        rs::freeRangeList(&rule.rangeList16);
    }
};

template <typename Node>
std::vector<rs::test::NumberRange> rangesOf(const Node* node) {
    std::vector<rs::test::NumberRange> ranges;
    for (; node != nullptr; node = node->next) {
        ranges.push_back({node->low, node->high});
    }
    return ranges;
}

rs::test::Number128 numberOf(const rs::Address128& address) {
    rs::test::Number128 number = 0;
    for (const uint32_t word : address.words) {
        number = number << 32U | word;
    }
    return number;
}

bool isSameList(const rs::AddressRange* node, const std::vector<rs::test::AddressRange>& expected) {
    for (const rs::test::AddressRange& range : expected) {
        if (node == nullptr || numberOf(node->low) != range.low ||
            numberOf(node->high) != range.high) {
            return false;
        }
        node = node->next;
    }
    return node == nullptr;
}

void checkRecord(const rs::CompoundRule& rule, const CompoundRuleText& expected) {
    check(rangesOf(rule.rangeListA) == expected.rangeListA, "field 1");
    check(rangesOf(rule.rangeListB) == expected.rangeListB, "field 2");
    check(isSameList(rule.addressList, expected.addressList), "field 3");
    check(rangesOf(rule.rangeList16) == expected.rangeList16, "field 4");
    check(rule.numberA == expected.numberA && rule.numberB == expected.numberB, "the numbers");
    check(rule.matchesAll == (expected.matchesAll() ? 1U : 0U), "whether all is let through");
}

void checkRule(const rs::test::ExactText& text, std::string_view rule, bool allowIpv6) {
    const rs::test::Ipv6Option option(allowIpv6);
    const std::optional<CompoundRuleText> expected = rs::test::readCompoundRule(rule, allowIpv6);
    rs::fuzz::checkRuleStatus(RULE_TYPE_COMPOUND, text, expected.has_value(), nullptr);
    OwnedCompoundRule record;
    const int32_t status = rs::parseCompoundRule(text.data(), text.size(), &record.rule);
    check((status == RULE_OK) == expected.has_value(), "the parser");
    if (expected) {
        checkRecord(record.rule, *expected);
    }
}

void checkNumber(const rs::test::ExactText& text, std::string_view digits) {
    const std::optional<uint32_t> expected = rs::test::readCompoundNumber(digits);
    uint32_t number = 0;
    const int32_t status = rs::parseCompoundNumber({text.data(), text.size()}, &number);
    check(status == (expected ? RULE_OK : RULE_ERR_FAILED), "the status of a number");
    check(!expected || number == *expected, "the number");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string_view rule = rs::fuzz::viewOf(data, size);
    const rs::test::ExactText text(rule);
    checkRule(text, rule, true);
    checkRule(text, rule, false);
    checkNumber(text, rule);
    return 0;
}
