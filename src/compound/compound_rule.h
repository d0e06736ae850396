// Compound rules (type 7): rule text -> record.
//
//     rule      ranges ';' ranges ';' addresses ';' ranges16 ';' number ';' number
//     ranges    range { ',' range }       of numbers up to 4294967295, in ranges16 up to 65535
//     range     ( '*' | number ) [ '-' number | '*' ]
//     addresses item { ',' item }         an IP rule, or '*'
//     number    decimal, or "0x" and hexadecimal digits
//
//     1-10,20;*;10.0.0.0/8;80;0;7
//
// Blanks around items and numbers are ignored. "5*" is 5 to the largest number.
//
// Deliberate: overflow is noticed only when a digit makes the value smaller than before. In a
// number after "0x", the letters a to f count 0 to 5: "0xA" is 0.
//
// Ownership:  a record owns its text and its four lists, and borrows userData.
// Cost:       a record, its text and each item of its lists are one allocation each.
#pragma once

#include <cstdint>

#include "core/list.h"
#include "core/port_list.h"
#include "core/rule_set.h"
#include "syntax/address128.h"
#include "syntax/text.h"

namespace rs {

using U32Range = RangeNode<uint32_t>;

// The parsed form. Its lists are in text order.
struct CompoundRule {
    AddressRange* addressList;  // field 3; owned, like the other lists
    PortRange* rangeList16;     // field 4
    U32Range* rangeListA;       // field 1
    U32Range* rangeListB;       // field 2
    uint32_t numberB;           // field 6
    uint32_t numberA;           // field 5
    uint32_t ruleValue;
    uint32_t ruleId;
    void* userData;       // borrowed from the host
    uint32_t matchesAll;  // 1 when every field but the fourth lets everything through
};

struct CompoundRuleRecord {
    ListLink links;
    char* text;  // owned; the bytes as given and a NUL
    CompoundRule rule;
};

// Parses a rule into *record, whose lists the caller has cleared and frees, also after a failure:
// RULE_ERR_BAD_RULE for a text that is too long or lacks a field, RULE_ERR_FAILED for a bad range or
// number, the status of the IP rule parser for a bad address, RULE_ERR_NO_MEMORY.
[[nodiscard]] int32_t parseCompoundRule(const char* text, uint32_t length,
                                        CompoundRule* record) noexcept;

// Reads a number with blanks around it; out may be null. RULE_ERR_FAILED for a bad one.
[[nodiscard]] int32_t parseCompoundNumber(Text text, uint32_t* out) noexcept;

// Parses a rule into a new record with a copy of its text, which the caller frees with
// freeCompoundRecord; null with RULE_ERR_BAD_RULE or RULE_ERR_NO_MEMORY otherwise.
[[nodiscard]] CompoundRuleRecord* makeCompoundRule(const char* text, uint32_t length,
                                                   const RuleValues& values,
                                                   int32_t* status) noexcept;

void freeCompoundRecord(CompoundRuleRecord* record) noexcept;

}  // namespace rs
