// Compiled domain rules + name -> MatchResult.
//
// Each lookup returns 1 with *result filled, 0 for none, or a negative status; result->ruleIndex is
// set to 0 before the lookup itself, so also when nothing is found. Lookups only read and may run in
// any number of threads.
#pragma once

#include <ruleset.h>

#include <cstdint>

#include "core/rule_group.h"
#include "domain/domain_index.h"

namespace rs {

// A name as users write it. RULE_ERR_INVALID_ARG for null or zero arguments, a group without domain
// rules' index, and a name that leaves no wire form; RULE_ERR_BUFFER_SMALL for one whose canonical
// form exceeds the largest buffer; RULE_ERR_NO_MEMORY, for names of thousands of bytes only.
int32_t matchDomainName(const RuleGroup* group, const char* name, uint32_t length,
                        MatchResult* result) noexcept;

// A name in wire form, in any letter case; wireLength does not count the final zero byte.
// RULE_ERR_INVALID_ARG for null or zero arguments and a group without domain rules' index.
int32_t matchDomainWireWithRuleGroup(const RuleGroup* group, const char* wireName,
                                     uint32_t wireLength, MatchResult* result) noexcept;

int32_t lookupDomainWire(const DomainIndex* index, const char* wireName, uint32_t wireLength,
                         MatchResult* result) noexcept;

}  // namespace rs
