// The compiled form of a list of IP:Port rules.
//
//     IpPortIndex
//       anyFirst4   anyFirst6   EntryList                every first address
//       exact4      exact6      table of exact addresses one first address
//       blocks4                 BlockIndex               a range of IPv4 first addresses
//                   ranges6     RangeList                a range of 128-bit first addresses
//
//     10.0.0.1;80,90-99;5.6.7.8;443;6  at position 4
//       exact4   10.0.0.1         -> entry  firstPorts       90-99 -> 80-80
//                                           secondAddresses  5.6.7.8 in IPv4 form
//                                           secondPorts      443-443
//                                           ruleMask 6  ruleIndex 4 ...
//       exact6   ::ffff:10.0.0.1  -> entry  the same, 5.6.7.8 in mapped form
//
// Invariants: each rule has entries in the 128-bit structures, IPv4 addresses in mapped form, and as
//             far as its addresses are IPv4 ones or "*" in the IPv4 structures too. An entry has all
//             three lists. ip_port_compile.h says where each first address goes.
// Ownership:  the index owns its structures, and the records that these are made of. A rule's userData is released
//             by one entry only, the first one made, whose releaseOwner has bit 0 set.
// Threads:    read-only once built; afterwards only refCount changes, atomically.
// Cost:       each item of a rule's first address field makes an entry, and a range of IPv4 first
//             addresses one for each /16 block that it touches. An item makes none where an entry of
//             the rule covers as much already. The entries that a rule has in one view share their
//             lists.
#pragma once

#include <cstdint>

#include "core/port_list.h"
#include "core/range_node.h"
#include "core/release.h"
#include "endpoint/block_index.h"
#include "endpoint/endpoint_entry.h"
#include "endpoint/endpoint_lookups.h"
#include "endpoint/endpoint_records.h"
#include "endpoint/endpoint_summary.h"
#include "endpoint/entry_list.h"
#include "endpoint/range_list.h"
#include "ipport/ip_port_rule.h"
#include "lookup/hash_table.h"

namespace rs {

struct CompiledIpPortRule {
    PortRange* firstPorts;  // may be shared, like the next two; see endpoint/endpoint_entry.h
    AddressRange* secondAddresses;  // in IPv4 form or of 128 bits, as the structure
    PortRange* secondPorts;
    uint32_t ruleMask;
    uint32_t ruleIndex;
    uint32_t ruleValue;
    uint32_t ruleId;
    void* userData;         // borrowed from the host
    uint32_t releaseOwner;  // bit 0: this entry gives userData back
    CompiledIpPortRule* next;
};

constexpr uint32_t& releaseFlagsOf(CompiledIpPortRule& entry) noexcept {
    return entry.releaseOwner;
}

// What an entry says in a summary.
[[nodiscard]] EntryHulls hullsOf(const CompiledIpPortRule& entry, bool isOf32Bits) noexcept;

struct IpPortIndex {
    HashTable* exact4;  // owned; null until needed, like all of these
    BlockIndex<CompiledIpPortRule>* blocks4;
    EntryList<CompiledIpPortRule>* anyFirst4;
    HashTable* exact6;
    RangeList<CompiledIpPortRule>* ranges6;
    EntryList<CompiledIpPortRule>* anyFirst6;
    uint32_t refCount;
    EndpointRecords<CompiledIpPortRule> records;  // owned
    EndpointLookups lookups;                      // owned
};

// A new entry with what a rule says beside its first address, and a copy of a list of second
// addresses; null when memory is out, with records that nothing uses. It has its lists for itself,
// and owns the rule's userData when it is the first for the rule.
[[nodiscard]] CompiledIpPortRule* makeIpPortEntry(EndpointRecords<CompiledIpPortRule>& records,
                                                  const EntrySource<const IpPortRule>& source,
                                                  const AddressRange* secondAddresses) noexcept;

// Clears *slot and drops one reference; the last one frees the index and gives userData back. A
// null slot or an empty one is left alone.
void releaseIpPortIndex(IpPortIndex** slot, const ReleaseInfo* info) noexcept;

}  // namespace rs
