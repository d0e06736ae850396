// Compound rules done the slow way: what the library must answer, written for clarity and sharing no
// code with it.
//
//     rule texts --add--> a vector of rules --find--> the first rule of the vector that covers
#pragma once

#include <ruleset.h>

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "support/reference_ip.h"

namespace rs::test {

struct NumberRange {
    uint32_t low;
    uint32_t high;  // inclusive, never below low

    friend bool operator==(const NumberRange&, const NumberRange&) = default;
    bool covers(uint32_t number) const { return low <= number && number <= high; }
};

// A rule, its lists in text order.
struct CompoundRuleText {
    std::vector<NumberRange> rangeListA;    // field 1
    std::vector<NumberRange> rangeListB;    // field 2
    std::vector<AddressRange> addressList;  // field 3
    std::vector<NumberRange> rangeList16;   // field 4
    uint32_t numberA;                       // field 5
    uint32_t numberB;                       // field 6

    // Whether every field but the fourth is the one that means no condition.
    bool matchesAll() const;
};

// Each reads a whole text; nothing when it is not well formed.
std::optional<uint32_t> readCompoundNumber(std::string_view text);
std::optional<CompoundRuleText> readCompoundRule(std::string_view text, bool allowIpv6 = true);

// What rules are tested against, and what the test writes.
struct ReferenceFlow {
    std::array<uint16_t, 2> values16;
    uint32_t value32;
    int32_t family;
    std::array<AddressBytes, 2> addresses;  // of which family 4 uses the first four bytes
    uint16_t listValue16;
    uint16_t listValue12;
    uint32_t outNumber;
    uint32_t outListValue;
    uint32_t outMark;

    friend bool operator==(const ReferenceFlow&, const ReferenceFlow&) = default;
};

struct ReferenceCompoundRule {
    CompoundRuleText text;
    MatchResult result;  // what a lookup reports for it
};

// The conditions of a rule, one by one.
struct CompoundConditions {
    bool isValue16Covered;
    bool isValue32Covered;
    bool isAddressCovered;
    bool isListAsked;
    bool isListValue16Covered;  // false also when the list is not asked
    bool isListValue12Covered;

    bool areMet() const {
        return isValue16Covered && isValue32Covered && isAddressCovered &&
               (!isListAsked || isListValue16Covered || isListValue12Covered);
    }
};

CompoundConditions conditionsOf(const CompoundRuleText& rule, const ReferenceFlow& flow);

class ReferenceCompoundRules {
public:
    // RULE_OK, or RULE_ERR_BAD_RULE with nothing added.
    int32_t add(std::string_view text, uint32_t ruleValue, uint32_t ruleId, void* userData,
                bool allowIpv6 = true);

    // The first rule that covers the flow, whose outputs are then written; null, with the flow left
    // alone, when none does.
    const ReferenceCompoundRule* find(ReferenceFlow& flow, bool wantsListValue) const;

    // The summary of field 1.
    uint64_t valueMask() const;

    std::vector<void*> handedBackAtBuild() const { return {}; }
    // In the order of the rules.
    std::vector<void*> handedBackAtDelete() const;

    const std::vector<ReferenceCompoundRule>& rules() const { return rules_; }

private:
    std::vector<ReferenceCompoundRule> rules_;
};

}  // namespace rs::test
