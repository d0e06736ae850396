// List of packet filter rules -> PacketFilterTable.
//
//     first address              IPv4 structures     128-bit structures
//     10.0.0.1                   ipv4HostTable       ipv6HostTable, mapped
//     10.0.0.0/8                 ipv4BlockIndex      ipv6RangeList, mapped
//     0.0.0.0-255.255.255.255    ipv4AnyList         ipv6RangeList, mapped
//     ::ffff:10.0.0.1            ipv4HostTable       ipv6HostTable
//     ::ffff:10.0.0.0/104        ipv4BlockIndex      ipv6RangeList
//     2001:db8::1                none                ipv6HostTable
//     2001:db8::/32              none                ipv6RangeList
//     ::-ffff:...:ffff           none                ipv6AnyList
//     * before IPv4              ipv4AnyList         ipv6RangeList as ::ffff:0:0/96
//     * before *                 ipv4AnyList         ipv6AnyList, and ipv6RangeList as ::ffff:0:0/96
//     * before IPv6              ipv4AnyList         ipv6AnyList
//
// Invariants: a rule whose second address is IPv6, and not mapped at both ends, stays out of the
//             IPv4 structures.
// Ownership:  the table belongs to the slot that it is stored in. The set keeps its rules.
// Threads:    none: one thread builds from a set, and changes its records.
// Cost:       two passes over the rules; see packet_filter_index.h.
#pragma once

#include "core/rule_group.h"
#include "core/rule_set.h"
#include "packetfilter/packet_filter_index.h"

namespace rs {

// Compiles the packet filter rules of a set, stores the table in the group's slot and returns it;
// null, with null in the slot, when memory is out. What had entered the unfinished table then gives
// its userData back through the set's callback. Null, with nothing changed, for a null argument.
//
// Deliberate: the second pass rewrites addresses in the set's records to their mapped form. A later
// build of the set reads the rewritten records, and makes a table that answers alike.
[[nodiscard]] PacketFilterTable* buildPacketFilterTable(RuleSet* set, RuleGroup* group) noexcept;

}  // namespace rs
