// URL rules (type 3): rule text -> record.
//
//     rule      [ 'http://' | 'https://' | '//' ] host [ ':' port | ':*' ] [ path ]
//     host      a domain rule, or a bracketed IPv6 literal
//     path      from '/', '?' or '#' on, with one '*' at most after its first byte
//
//     stored text                       [https][host][path], without anything between them
//
//     HTTP://WEB.Example.com/Index.HTML  ->  web.example.com/index.html   port 80
//     https://example.com                ->  httpsexample.com             port 443, no path
//     example.com:*/a*b                  ->  example.com/a*b              any port, '*' at 2
//
// http:// and no scheme are the same. Without a port, http means 80 and https 443.
//
// Ownership:  a record owns its text and borrows userData.
// Threads:    none of its own; a record is the set's.
#pragma once

#include <cstdint>

#include "core/list.h"
#include "core/memory.h"
#include "core/rule_set.h"
#include "domain/domain_rule.h"
#include "syntax/text.h"

namespace rs {

// What a URL without a port means.
inline constexpr uint16_t HTTP_PORT = 80;
inline constexpr uint16_t HTTPS_PORT = 443;

// A parsed rule. Its pieces point into the buffer that the parser was given.
struct UrlRuleText {
    DomainRuleText host;
    Text scheme;              // "https", or empty
    Text extra;               // empty; reserved
    Text path;                // empty when the rule has none
    uint32_t wildcardOffset;  // of the '*' in the path; 0 without one
    uint16_t portLow;
    uint16_t portHigh;  // inclusive
};

struct UrlRule {
    ListLink links;
    char* text;  // owned; what rule points to
    UrlRuleText rule;
    uint32_t ruleValue;
    uint32_t ruleId;
    void* userData;  // borrowed from the host
};

// Writes the canonical text of a rule into out and fills *record; *inOutCapacity is the capacity in
// and the length out. RULE_ERR_INVALID_ARG for a null argument, RULE_ERR_BAD_SCHEME for a scheme
// other than http and https, RULE_ERR_BAD_RULE for anything else that is wrong with the text,
// RULE_ERR_BUFFER_SMALL.
[[nodiscard]] int32_t parseUrlRule(const char* text, uint32_t length, char* out,
                                   uint32_t* inOutCapacity, UrlRuleText* record) noexcept;

// Parses a rule into a new record, which the caller frees with freeUrlRule; null with a status
// otherwise. A text that the largest buffer of core/text_buffer.h does not hold is
// RULE_ERR_NO_MEMORY.
[[nodiscard]] UrlRule* makeUrlRule(const char* text, uint32_t length, const RuleValues& values,
                                   int32_t* status) noexcept;

void freeUrlRule(UrlRule* rule) noexcept;

}  // namespace rs
