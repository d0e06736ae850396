// IP:Port rules (type 6): rule text -> where its fields lie in the text.
//
//     rule      addresses ';' ports ';' addresses ';' ports ';' mask, with blanks around it only
//     addresses '*' | item { ',' item }      items of syntax/ip_range.h
//     ports     a port field of syntax/port.h
//     mask      1 to 4294967295, decimal, or after "0x" hexadecimal, in at most 10 characters
//
//     10.0.0.0/8;80,443;192.168.1.1-192.168.1.9;*;0x10
//     first endpoint    second endpoint          mask
//
// There are two forms. In the default form both address fields are IPv4; in the wide form, which is
// tried after it while IPv6 is enabled, every item is of either family.
//
// Ownership:  a record owns its text and borrows userData.
// Threads:    none of its own; a record is the set's.
// Cost:       a text is read once for each form that is tried, and again by every build.
#pragma once

#include <cstdint>

#include "core/list.h"
#include "core/rule_set.h"
#include "syntax/text.h"

namespace rs {

// Bits of wildcardFlags.
inline constexpr uint32_t WILDCARD_FIRST_ADDRESS = 1;
inline constexpr uint32_t WILDCARD_SECOND_ADDRESS = 2;

// Offsets count bytes from the first byte of the text as it was given, blanks in front included.
struct IpPortRuleFields {
    uint32_t secondAddressOffset;
    uint32_t secondAddressLength;
    uint32_t secondAddressWide;  // 1 when read in the wide form; the default form leaves it alone
    uint32_t secondPortsOffset;
    uint32_t secondPortsLength;
    uint32_t firstAddressOffset;
    uint32_t firstAddressLength;
    uint32_t firstAddressWide;
    uint32_t firstPortsOffset;
    uint32_t firstPortsLength;
    uint32_t ruleMask;       // never 0
    uint32_t wildcardFlags;  // which address fields are "*"
};

struct IpPortRule {
    ListLink links;
    char* text;  // owned; the bytes as given, not NUL-terminated
    IpPortRuleFields fields;
    uint32_t ruleValue;
    uint32_t ruleId;
    void* userData;  // borrowed from the host
};

// Checks a rule and fills *fields, which the caller has zero-filled. RULE_ERR_INVALID_ARG for a null
// argument, RULE_ERR_BAD_RULE for a bad text, both with *fields possibly written in part.
[[nodiscard]] int32_t parseIpPortRule(const char* text, uint32_t length,
                                      IpPortRuleFields* fields) noexcept;

// The two forms; the same but for what they take as addresses.
[[nodiscard]] int32_t parseIpPortRuleDefault(const char* text, uint32_t length,
                                             IpPortRuleFields* fields) noexcept;
[[nodiscard]] int32_t parseIpPortRuleWide(const char* text, uint32_t length,
                                          IpPortRuleFields* fields) noexcept;

// RULE_OK for a list of IPv4 items, or of items of either family, none of them empty;
// RULE_ERR_BAD_RULE otherwise.
[[nodiscard]] int32_t checkIPv4AddressList(Text list) noexcept;
[[nodiscard]] int32_t checkAddressList(Text list) noexcept;

// RULE_OK with the value of a mask, or RULE_ERR_BAD_RULE with *out left alone.
[[nodiscard]] int32_t parseRuleMask(Text text, uint32_t* out) noexcept;

// Parses a rule into a new record with a copy of its text, which the caller frees with
// freeIpPortRule; null with RULE_ERR_BAD_RULE or RULE_ERR_NO_MEMORY otherwise.
[[nodiscard]] IpPortRule* makeIpPortRule(const char* text, uint32_t length,
                                         const RuleValues& values, int32_t* status) noexcept;

void freeIpPortRule(IpPortRule* rule) noexcept;

}  // namespace rs
