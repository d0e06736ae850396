// The compiled form of a list of packet filter rules.
//
//     PacketFilterTable
//       ipv4AnyList     ipv6AnyList     EntryList                every first address
//       ipv4HostTable   ipv6HostTable   table of exact addresses one first address
//       ipv4BlockIndex                  BlockIndex               a range of IPv4 first addresses
//                       ipv6RangeList   RangeList                a range of 128-bit first addresses
//
//     tcp;10.0.0.1;80,90-99;5.6.7.8;443  at position 4
//       ipv4HostTable   10.0.0.1         -> entry  firstPorts   90-99 -> 80-80
//       ipv6HostTable   ::ffff:10.0.0.1  -> entry  second address  5.6.7.8-5.6.7.8, mapped
//                                                  secondPorts  443-443
//                                                  ruleIndex 4 ...
//
// Invariants: IPv4 rules have entries in the structures of both widths, in those of 128 bits with
//             the first address in mapped form; IPv6 rules in the IPv4 structures only where they
//             are mapped. An entry has both lists. Every rule has entries of its own: equal rules
//             are all kept. packet_filter_compile.h says where each first address goes.
// Ownership:  the table owns its structures, and the records that these are made of. A rule's userData is released
//             by one entry only, the one that carries ENTRY_RELEASES_USER_DATA.
// Threads:    read-only once built; afterwards only refCount changes, atomically.
// Cost:       a range of IPv4 first addresses makes an entry for each /16 block that it touches.
//             The entries that a rule has in one view share their lists.
#pragma once

#include <cstdint>

#include "core/port_list.h"
#include "core/release.h"
#include "endpoint/block_index.h"
#include "endpoint/endpoint_entry.h"
#include "endpoint/endpoint_lookups.h"
#include "endpoint/endpoint_records.h"
#include "endpoint/endpoint_summary.h"
#include "endpoint/entry_list.h"
#include "endpoint/range_list.h"
#include "lookup/hash_table.h"
#include "packetfilter/packet_filter_rule.h"
#include "syntax/address128.h"

namespace rs {

struct FilterEntry {
    PortRange* firstPorts;  // may be shared, like secondPorts; see endpoint/endpoint_entry.h
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

constexpr uint32_t& releaseFlagsOf(FilterEntry& entry) noexcept {
    return entry.entryFlags;
}

// What an entry says in a summary, which has no use for a mask: every lookup asks for this one.
inline constexpr uint32_t ANY_FILTER_MASK = 1;

[[nodiscard]] EntryHulls hullsOf(const FilterEntry& entry, bool isOf32Bits) noexcept;

struct PacketFilterTable {
    uint32_t refCount;
    HashTable* ipv4HostTable;  // owned; null until needed, like all of these
    BlockIndex<FilterEntry>* ipv4BlockIndex;
    EntryList<FilterEntry>* ipv4AnyList;
    HashTable* ipv6HostTable;
    RangeList<FilterEntry>* ipv6RangeList;
    EntryList<FilterEntry>* ipv6AnyList;
    EndpointRecords<FilterEntry> records;  // owned
    EndpointLookups lookups;               // owned
};

// A new entry with what a rule says beside its first address; null when memory is out, with records
// that nothing uses. It has its lists for itself, and owns the rule's userData when it is the first
// for the rule.
[[nodiscard]] FilterEntry* makeFilterEntry(EndpointRecords<FilterEntry>& records,
                                           const EntrySource<PacketFilterRule>& source) noexcept;

// Clears *slot and drops one reference; the last one frees the table and gives userData back. A
// null slot or an empty one is left alone.
void releasePacketFilterTable(PacketFilterTable** slot, const ReleaseInfo* info) noexcept;

}  // namespace rs
