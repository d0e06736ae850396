// IP rules (types 1 and 4): rule text -> record.
//
//     rule      an IPv4 item, or while IPv6 is enabled an IPv6 item, of syntax/ip_range.h
//
// A text that is valid IPv4 is always read as IPv4. An IPv6 rule whose addresses are IPv4-mapped
// has the same words as the IPv4 rule, and ADDRESS_FLAG_IPV6 beside them.
//
// Ownership:  a record owns nothing but itself: its text is not kept, and userData is borrowed.
// Threads:    none of its own; a record is the set's, and a build may mark it as released.
// Cost:       linear in the length of the text, one allocation.
#pragma once

#include <cstdint>

#include "core/list.h"
#include "core/rule_set.h"
#include "syntax/ip_range.h"
#include "syntax/text.h"

namespace rs {

struct IpRule {
    ListLink links;
    AddressSpec addresses;
    uint32_t ruleValue;
    uint32_t ruleId;
    void* userData;     // borrowed from the host
    uint32_t released;  // 1 once a build has given userData back; never cleared
};

// Reads the text of a rule. RULE_ERR_INVALID_ARG for a null argument, RULE_ERR_BAD_RULE for a bad
// text; *record is then unspecified.
[[nodiscard]] int32_t parseIpRule(Text text, AddressSpec* record) noexcept;

// Parses a rule into a new record, which the caller frees with freeIpRule; null, with a status, for a
// text that parseIpRule refuses (RULE_ERR_BAD_RULE) and when memory is out (RULE_ERR_NO_MEMORY).
[[nodiscard]] IpRule* makeIpRule(const char* text, uint32_t length, const RuleValues& values,
                                 int32_t* status) noexcept;

void freeIpRule(IpRule* rule) noexcept;

}  // namespace rs
