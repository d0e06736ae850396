// The compiled form of a list of IP rules.
//
//   hostTable      10.0.0.1                -> rule 4, rule 9     single IPv4 addresses, by hash
//   ipv4RangeTree  10.0.0.0 - 10.0.0.255   -> rule 2             all other IPv4 rules
//   ipv6HostTree   ::ffff:10.0.0.1         -> rule 4, rule 9     the same rules as 128-bit values,
//   ipv6RangeTree  ::ffff:10.0.0.0 - ...   -> rule 2             beside the IPv6 ones
//
// An IPv6 rule whose addresses are IPv4-mapped stands in the IPv4 structures too.
//
// Invariants: the keys of one tree never overlap. The first entry of a node covers the whole key
//             and has the smallest ruleIndex in the node; plain lookups read no other. The entries
//             of a bucket stand in rule order.
// Ownership:  the table owns everything below it. A rule's userData is released by one entry only,
//             the one that carries ENTRY_RELEASES_USER_DATA.
// Threads:    read-only once built; afterwards only refCount changes, atomically.
// Cost:       a lookup is one hash probe and one descent, or two descents, and allocates nothing.
#pragma once

#include <cstdint>

#include "core/list.h"
#include "core/release.h"
#include "ip/search_tree.h"
#include "lookup/hash_table.h"
#include "syntax/address128.h"

namespace rs {

struct IpRuleTable {
    uint32_t refCount;
    HashTable* hostTable;       // owned; null until the first single IPv4 address
    SearchTree* ipv4RangeTree;  // owned; null until needed, like the next two
    SearchTree* ipv6HostTree;
    SearchTree* ipv6RangeTree;
};

// A key of an interval tree, and while a rule is being entered an interval still to enter.
template <typename Address>
struct IntervalKey {
    Address low;
    Address high;       // inclusive
    IntervalKey* next;  // owned while it waits; null in a tree
};

// Entries, each for one rule at one place. Those of a tree node form a list in rule order.

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
    RangeEntry* next;  // owned
    Address low;       // the part of the node's key that the rule covers
    Address high;
    uint32_t ruleIndex;
    uint32_t ruleValue;
    uint32_t ruleId;
    uint32_t entryFlags;
    void* userData;
};

struct AddressEntry {
    AddressEntry* next;  // owned
    uint32_t ruleIndex;
    uint32_t ruleValue;
    uint32_t ruleId;
    uint32_t entryFlags;
    void* userData;
};

// What the entries of one rule are made from while a table is built.
struct EntryRule {
    uint32_t ruleIndex;
    uint32_t ruleValue;
    uint32_t ruleId;
    void* userData;
    uint8_t* userDataClaims;  // one byte per rule of the set; null when no rule has userData
};

HostEntry* hostEntryOf(ListLink* link) noexcept;

// Compare operations of the trees; keys are Address128 in the first, IntervalKey in the others.
int32_t compareAddressKey(const void* key, const TreeNode* node) noexcept;
int32_t classifyInterval32(const void* key, const TreeNode* node) noexcept;
int32_t classifyInterval128(const void* key, const TreeNode* node) noexcept;

// Release operations of the trees.
void releaseAddressEntries(const ReleaseInfo* info, void* key, void* firstEntry) noexcept;
void releaseRangeEntries32(const ReleaseInfo* info, void* key, void* firstEntry) noexcept;
void releaseRangeEntries128(const ReleaseInfo* info, void* key, void* firstEntry) noexcept;

// Each enters one rule at one place and returns RULE_OK, RULE_ERR_DUPLICATE when that adds nothing
// to what earlier rules with the same ruleValue cover, or another status, which fails the build.

int32_t insertHost(HashTable* hostTable, uint32_t address, const EntryRule& rule) noexcept;

int32_t insertAddress128(SearchTree* tree, const Address128& address,
                         const EntryRule& rule) noexcept;

// Deliberate: what fails before any part of the interval is entered is RULE_ERR_DUPLICATE too, out
// of memory included, so that the build goes on without the rule.
int32_t insertInterval32(SearchTree* tree, uint32_t low, uint32_t high,
                         const EntryRule& rule) noexcept;
int32_t insertInterval128(SearchTree* tree, const Address128& low, const Address128& high,
                          const EntryRule& rule) noexcept;

// Clears *slot and drops one reference; the last one frees the table and hands owned userData back:
// that of hostTable through info, that of a tree through what the tree was created with. A null slot
// or an empty one is left alone.
void releaseIpRuleTable(IpRuleTable** slot, const ReleaseInfo* info) noexcept;

}  // namespace rs
