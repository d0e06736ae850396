// The door for names that are in wire form already, as a packet has them. No public header declares
// it.
#pragma once

#include <ruleset.h>

#include <cstdint>

namespace rs {

// As rs_matchDomainNameWithRuleGroup, for a name in wire form and in any letter case; wireLength does
// not count the final zero byte.
[[nodiscard]] int32_t matchDomainWireWithRuleGroup(const RuleGroup* group, const char* wireName,
                                                   uint32_t wireLength,
                                                   MatchResult* result) noexcept;

}  // namespace rs
