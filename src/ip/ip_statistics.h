// Counting what a compiled IP group holds.
#pragma once

#include <cstdint>

#include "core/rule_group.h"

namespace rs {

struct IpRuleStatistics {
    uint64_t hostEntries;     // in hostTable
    uint64_t ipv4RangeNodes;  // in ipv4RangeTree, and the entries of those nodes
    uint64_t ipv4RangeEntries;
    uint64_t ipv6HostNodes;
    uint64_t ipv6HostEntries;
    uint64_t ipv6RangeNodes;
    uint64_t ipv6RangeEntries;
};

// Walks every bucket and every tree of a group and counts. All zero for a null group, one without
// IP rules' table, and an empty table. The trees are changed and restored on the way: nobody may
// match in the group meanwhile.
IpRuleStatistics countIpRules(const RuleGroup* group) noexcept;

}  // namespace rs
