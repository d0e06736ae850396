// Domain rules (type 2): rule text -> record.
//
//     rule      '*' | [ '*.' ] host, with blanks around it
//
//     '  Example.COM\r\n'    ->  example.com          that name
//     '*.Example.com.'       ->  *.example.com        every name below it, not the name itself
//     '*'                    ->  *                    every name
//
// Ownership:  a record owns its text and borrows userData.
// Threads:    none of its own; a record is the set's.
#pragma once

#include <cstdint>

#include "core/list.h"
#include "core/memory.h"
#include "core/rule_set.h"

namespace rs {

inline constexpr uint32_t DOMAIN_RULE_WILDCARD = 1;  // the text begins with a wildcard
inline constexpr uint32_t WILDCARD_LENGTH = 2;       // of "*." before a host

// A parsed rule. Its text points into the buffer that the parser was given.
struct DomainRuleText {
    const char* text;  // borrowed; canonical, not NUL-terminated
    uint32_t length;   // 1 to 255
    uint32_t flags;
};

struct DomainRule {
    ListLink links;
    char* text;  // owned; what rule.text points to
    DomainRuleText rule;
    uint32_t ruleValue;
    uint32_t ruleId;
    void* userData;  // borrowed from the host
};

// Writes the canonical text of a rule into out and fills *record; *inOutCapacity is the capacity in
// and the length out. RULE_ERR_INVALID_ARG for a null argument, RULE_ERR_BAD_RULE for a bad text,
// RULE_ERR_BUFFER_SMALL.
[[nodiscard]] int32_t parseDomainRule(const char* text, uint32_t length, char* out,
                                      uint32_t* inOutCapacity, DomainRuleText* record) noexcept;

// Parses a rule into a new record, which the caller frees with freeDomainRule; null with a status
// otherwise. A text that the largest buffer of core/text_buffer.h does not hold is
// RULE_ERR_NO_MEMORY.
[[nodiscard]] DomainRule* makeDomainRule(const char* text, uint32_t length,
                                         const RuleValues& values, int32_t* status) noexcept;

void freeDomainRule(DomainRule* rule) noexcept;

}  // namespace rs
