// The compiled form of a list of IP rules.
//
//   hostTable      10.0.0.1                -> rule 4, rule 9     single IPv4 addresses, by hash
//   ipv4RangeTree  10.0.0.0 - 10.0.0.255   -> rule 2             all other IPv4 rules
//   ipv6HostTree   ::ffff:10.0.0.1         -> rule 4, rule 9     the same rules as 128-bit values,
//   ipv6RangeTree  ::ffff:10.0.0.0 - ...   -> rule 2             beside the IPv6 ones
//
// An IPv6 rule whose addresses are IPv4-mapped is in the IPv4 structures too.
//
// Invariants: the keys of one tree never overlap. The first entry of a node covers the whole key
//             and has the smallest ruleIndex in the node; plain lookups read no other. The entries
//             of a bucket are in rule order.
//
// Records are in slabs, one for each kind. Host entries are made in rule order, so that of two for one address the one
// with the smaller number is the earlier. The nodes of a tree are in key order, and each names the number of its first
// entry: a walk over the slab of nodes visits the tree in order.
//
// Ownership:  the table owns everything below it. A rule's userData is released by one entry only,
//             the one that carries ENTRY_RELEASES_USER_DATA.
// Threads:    read-only once built; afterwards only refCount changes, atomically.
// Cost:       a lookup in a crowded table is a flat one: see ip/ip_flat_hosts.h and ip/ip_flat_ranges.h. Otherwise it is
//             one hash probe and one descent, or two descents. It allocates nothing.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>

#include "core/list.h"
#include "core/range_node.h"
#include "core/release.h"
#include "core/slab.h"
#include "ip/search_tree.h"
#include "lookup/flat_hosts.h"
#include "lookup/flat_range_tree.h"
#include "lookup/flat_ranges.h"
#include "lookup/hash_table.h"
#include "syntax/address128.h"

namespace rs {

// A key of an interval tree; its next is null.
template <typename Address>
using IntervalKey = RangeNode<Address>;

// A node of a tree with its key.
template <typename Address>
struct IntervalNode {
    TreeNode node;
    IntervalKey<Address> key;
};

struct AddressNode {
    TreeNode node;
    Address128 key;
};

// Entries, each for one rule at one place. Those of a tree node form a chain in rule order.

struct HostEntry {
    uint32_t address;
    uint32_t ruleIndex;
    uint32_t ruleValue;
    uint32_t ruleId;
    void* userData;  // borrowed from the host, like all userData here
    uint32_t entryFlags;
    ListLink links;  // in the bucket
};

template <typename Address>
struct RangeEntry {
    RangeEntry* next;  // borrowed
    Address low;       // the part of the node's key that the rule covers
    Address high;
    uint32_t ruleIndex;
    uint32_t ruleValue;
    uint32_t ruleId;
    uint32_t entryFlags;
    void* userData;
};

struct AddressEntry {
    AddressEntry* next;  // borrowed
    uint32_t ruleIndex;
    uint32_t ruleValue;
    uint32_t ruleId;
    uint32_t entryFlags;
    void* userData;
};

// The key of a single address in its flat lookup. One of 128 bits is the 16 bytes of the address as exported lookups get
// them. hostKeyOf leads from the address to its key, and back.
constexpr uint32_t hostKeyOf(uint32_t address) noexcept {
    return address;
}

constexpr Address128 hostKeyOf(const Address128& address) noexcept {
    if constexpr (std::endian::native == std::endian::big) {
        return address;
    }
    Address128 key{};
    for (size_t i = 0; i < key.words.size(); ++i) {
        key.words[i] = __builtin_bswap32(address.words[i]);
    }
    return key;
}

// What a lookup reports of the first rule of a single address: see ip/ip_flat_hosts.h.
template <typename Address>
struct HostAnswer {
    Address key;
    uint32_t ruleIndex;
    uint32_t ruleValue;
    uint32_t ruleId;
    void* userData;  // borrowed
};

static_assert(sizeof(HostAnswer<uint32_t>) == 24 && sizeof(HostAnswer<Address128>) == 40);

struct IpRuleTable {
    uint32_t refCount;
    HashTable* hostTable;       // owned; null until the first single IPv4 address
    SearchTree* ipv4RangeTree;  // owned; null until needed, like the next two
    SearchTree* ipv6HostTree;
    SearchTree* ipv6RangeTree;
    uint32_t leftOut;  // rules for which memory ran out, once for each view that lacks them
    Slab<HostEntry> hostEntries;
    Slab<RangeEntry<uint32_t>> ipv4RangeEntries;
    Slab<AddressEntry> addressEntries;
    Slab<RangeEntry<Address128>> ipv6RangeEntries;
    Slab<IntervalNode<uint32_t>> ipv4RangeNodes;
    Slab<AddressNode> ipv6HostNodes;
    Slab<IntervalNode<Address128>> ipv6RangeNodes;
    // Owned, like all that follows; null in a table that does without.
    FlatHosts<uint32_t>* flatIpv4Hosts;
    FlatHosts<Address128>* flatIpv6Hosts;
    HostAnswer<uint32_t>* ipv4Answers;  // by the ranks of flatIpv4Hosts; null without it
    HostAnswer<Address128>* ipv6Answers;
    FlatRanges32* flatIpv4Ranges;  // see ip/ip_flat_ranges.h
    FlatRanges128* flatIpv6Ranges;
    // Borrowed: flatIpv4Hosts and flatIpv6Hosts where there is no range of that width, flatIpv4Ranges and flatIpv6Ranges
    // where there is no single address; null otherwise.
    const FlatHosts<uint32_t>* onlyIpv4Hosts;
    const FlatHosts<Address128>* onlyIpv6Hosts;
    const FlatRanges32* onlyIpv4Ranges;
    const FlatRanges128* onlyIpv6Ranges;
    bool isMirrored;  // the range trees have the same ranges, in entries with the same numbers
};

// The entry that a link of a bucket belongs to.
[[nodiscard]] HostEntry* hostEntryOf(ListLink* link) noexcept;

// Compare operations of the trees; keys are Address128 in the first, IntervalKey in the others.
[[nodiscard]] int32_t compareAddressKey(const void* key, const TreeNode* node) noexcept;
[[nodiscard]] int32_t classifyInterval32(const void* key, const TreeNode* node) noexcept;
[[nodiscard]] int32_t classifyInterval128(const void* key, const TreeNode* node) noexcept;

// Release operations of the trees: a node's entries give their userData back from the first on.
void releaseAddressEntries(const ReleaseInfo* info, void* key, void* firstEntry) noexcept;
void releaseRangeEntries32(const ReleaseInfo* info, void* key, void* firstEntry) noexcept;
void releaseRangeEntries128(const ReleaseInfo* info, void* key, void* firstEntry) noexcept;

// Clears *slot and drops one reference; the last one frees the table and gives owned userData back:
// that of hostTable through info, that of a tree through what the tree was created with. A null slot
// or an empty one is left alone.
void releaseIpRuleTable(IpRuleTable** slot, const ReleaseInfo* info) noexcept;

}  // namespace rs
