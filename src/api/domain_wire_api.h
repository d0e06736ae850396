// Looking up names that are in wire form already, as a packet has them. No public header declares
// this.
//
//     3 web 7 example 3 com 0     wireLength 16
//
// Threads:    any number of threads may look up in one group.
// Cost:       as rs_matchDomainNameWithRuleGroup. Capitals in a name of over 512 bytes take memory
//             for the call.
#pragma once

#include <ruleset.h>

#include <cstdint>

namespace rs {

// Returns as rs_matchDomainNameWithRuleGroup. The name is in wire form and in any letter case;
// wireLength does not count the final zero byte.
[[nodiscard]] int32_t matchDomainWireWithRuleGroup(const RuleGroup* group, const char* wireName,
                                                   uint32_t wireLength,
                                                   MatchResult* result) noexcept;

}  // namespace rs
