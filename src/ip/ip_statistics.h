// Counting what a compiled list of IP rules holds.
#pragma once

#include <cstdint>

#include "ip/ip_index.h"

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

// Walks every bucket and every tree of a table and counts. All zero for an empty table.
//
// The table is not const: the walk needs no stack because it bends pointers of the trees on the way,
// and restores them. Nobody may look up in the table meanwhile. See visitTreeInOrder.
[[nodiscard]] IpRuleStatistics countIpRules(IpRuleTable& table) noexcept;

}  // namespace rs
