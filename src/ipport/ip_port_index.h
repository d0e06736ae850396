// The compiled form of a list of IP:Port rules.
//
//   anyFirst4   anyFirst6   every first address
//   exact4      exact6      one first address, by hash           structures of
//   blocks4                 a range of IPv4 first addresses      endpoint/
//               ranges6     a range of 128-bit first addresses
//
// Each rule stands in the 128-bit structures, IPv4 addresses in mapped form, and as far as its
// addresses are IPv4 ones or "*" in the IPv4 structures too. Each item of its first address field
// makes an entry of its own, which carries the rest of the rule.
//
// Ownership:  the index owns everything below it. A rule's userData is released by one entry only,
//             the first one made, whose releaseOwner has bit 0 set.
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
#include "ipport/address_list.h"

namespace rs {

struct CompiledIpPortRule {
    PortRange* firstPorts;          // owned, like the next two
    AddressRange* secondAddresses;  // in IPv4 form or of 128 bits, as the structure
    PortRange* secondPorts;
    uint32_t ruleMask;
    uint32_t ruleIndex;
    uint32_t ruleValue;
    uint32_t ruleId;
    void* userData;         // borrowed from the host
    uint32_t releaseOwner;  // bit 0: this entry hands userData back
    CompiledIpPortRule* next;
};

struct IpPortIndex {
    HashTable* exact4;  // owned; null until needed, like all of these
    BlockIndex<CompiledIpPortRule>* blocks4;
    EntryList<CompiledIpPortRule>* anyFirst4;
    HashTable* exact6;
    RangeList<CompiledIpPortRule>* ranges6;
    EntryList<CompiledIpPortRule>* anyFirst6;
    uint32_t refCount;
};

// Compiles the IP:Port rules of a set, stores the index in the group's slot and returns it; null,
// with null in the slot, when memory is out. What had entered the unfinished index then hands its
// userData back through the set's callback.
IpPortIndex* buildIpPortIndex(RuleSet* set, RuleGroup* group) noexcept;

// Clears *slot and drops one reference; the last one frees the index and hands userData back.
void destroyIpPortIndex(IpPortIndex** slot, const ReleaseInfo* info) noexcept;

}  // namespace rs
