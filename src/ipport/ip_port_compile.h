// List of IP:Port rules -> IpPortIndex.
//
//     first address                IPv4 structures        128-bit structures
//     10.0.0.1                     exact4                 exact6, mapped
//     10.0.0.0/8                   blocks4                ranges6, mapped
//     0.0.0.0-255.255.255.255      anyFirst4              ranges6, mapped
//     *                            anyFirst4              ranges6 as ::ffff:0:0/96
//     * before *                   anyFirst4, twice       anyFirst6, and ranges6 as ::ffff:0:0/96
//
//     in the wide form
//     ::ffff:10.0.0.1              exact4                 exact6
//     ::ffff:10.0.0.0/104          blocks4                ranges6
//     2001:db8::1  2001:db8::/32   none                   exact6  ranges6
//     ::-ffff:...:ffff             none                   anyFirst6
//     *                            anyFirst4              anyFirst6
//
// Invariants: of a rule in the wide form the IPv4 structures know only the second addresses that are
//             mapped; a rule without any stays out of them.
// Ownership:  the index belongs to the slot that it is stored in. The set keeps its rules.
// Threads:    none: one thread builds from a set.
// Cost:       see ip_port_index.h. Each rule's address fields are read again in each of two passes.
#pragma once

#include "core/rule_group.h"
#include "core/rule_set.h"
#include "ipport/ip_port_index.h"

namespace rs {

// Compiles the IP:Port rules of a set, stores the index in the group's slot and returns it; null,
// with null in the slot, when memory is out. What had entered the unfinished index then gives its
// userData back through the set's callback. Null, with nothing changed, for a null argument.
[[nodiscard]] IpPortIndex* buildIpPortIndex(RuleSet* set, RuleGroup* group) noexcept;

}  // namespace rs
