// Compiled IP rules + address -> MatchResult.
//
// Each lookup asks two structures and reports the rule added earlier. It returns 1 with *result
// filled, 0 for none, or RULE_ERR_INVALID_ARG for a null argument or a group without IP rules' table;
// *result is left alone but for a match. Lookups only read and may run in any number of threads;
// they allocate nothing.
#pragma once

#include <ruleset.h>

#include <cstdint>

#include "core/rule_group.h"
#include "syntax/address128.h"

namespace rs {

// An address in host order; asks hostTable and ipv4RangeTree.
int32_t matchIpv4(const RuleGroup* group, uint32_t address, MatchResult* result) noexcept;

// Asks ipv6HostTree and ipv6RangeTree, in which IPv4 rules stand in mapped form.
int32_t matchIpv6(const RuleGroup* group, const Address128& address, MatchResult* result) noexcept;

// The same among the rules with one ruleValue only.
int32_t matchIpv4WithValue(const RuleGroup* group, uint32_t address, uint32_t ruleValue,
                           MatchResult* result) noexcept;
int32_t matchIpv6WithValue(const RuleGroup* group, const Address128& address, uint32_t ruleValue,
                           MatchResult* result) noexcept;

}  // namespace rs
