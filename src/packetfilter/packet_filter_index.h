// The compiled form of a list of packet filter rules.
//
//   ipv4AnyList     ipv6AnyList     every first address
//   ipv4HostTable   ipv6HostTable   one first address, by hash           structures of
//   ipv4BlockIndex                  a range of IPv4 first addresses      endpoint/
//                   ipv6RangeList   a range of 128-bit first addresses
//
// IPv4 rules stand in both views, in the 128-bit one in mapped form; IPv6 rules stand in the IPv4 one
// only where they are mapped. Every rule makes an entry of its own: equal ones are all kept.
//
// Ownership:  the table owns everything below it. A rule's userData is released by one entry only,
//             the one that carries ENTRY_RELEASES_USER_DATA.
// Threads:    read-only once built; afterwards only refCount changes, atomically.
// Cost:       a range of IPv4 first addresses makes an entry for each /16 block that it touches.
#pragma once

#include <cstdint>

#include "core/port_list.h"
#include "core/release.h"
#include "core/rule_group.h"
#include "core/rule_set.h"
#include "endpoint/block_index.h"
#include "endpoint/entry_list.h"
#include "endpoint/exact_table.h"
#include "endpoint/range_list.h"

namespace rs {

struct FilterEntry {
    PortRange* firstPorts;  // owned, like secondPorts
    Address128 secondAddressStart;
    Address128 secondAddressEnd;
    PortRange* secondPorts;
    uint32_t ruleIndex;
    uint32_t ruleValue;
    uint32_t ruleId;
    uint32_t entryFlags;
    void* userData;  // borrowed from the host
    uint32_t protocol;
    FilterEntry* next;
};

struct PacketFilterTable {
    uint32_t refCount;
    HashTable* ipv4HostTable;  // owned; null until needed, like all of these
    BlockIndex<FilterEntry>* ipv4BlockIndex;
    EntryList<FilterEntry>* ipv4AnyList;
    HashTable* ipv6HostTable;
    RangeList<FilterEntry>* ipv6RangeList;
    EntryList<FilterEntry>* ipv6AnyList;
};

// Compiles the packet filter rules of a set, stores the table in the group's slot and returns it;
// null, with null in the slot, when memory is out. What had entered the unfinished table then hands
// its userData back through the set's callback.
//
// Deliberate: the build rewrites addresses in the set's records, as its second pass says; a later
// build of the set sees the rewritten records, and answers alike.
PacketFilterTable* buildPacketFilterTable(RuleSet* set, RuleGroup* group) noexcept;

// Clears *slot and drops one reference; the last one frees the table and hands userData back.
void releasePacketFilterTable(PacketFilterTable** slot, const ReleaseInfo* info) noexcept;

}  // namespace rs
