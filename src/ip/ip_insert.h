// Entering rules into the structures of an IpRuleTable, one rule at one place.
//
// A new interval never splits or widens a node: what lies inside a node becomes an entry there, and
// what sticks out is entered by itself.
//
//     rule 2    |-----------------------------|
//     tree           |---rule 1---|
//     becomes   |-2-||----1, 2----||----2-----|
//
// Each operation returns RULE_OK, RULE_ERR_DUPLICATE when the rule adds nothing to what earlier rules
// with the same ruleValue cover, or another status, which fails the build.
//
// Ownership:  the structure owns what enters it. The first entry of a rule that is sure to stay owns
//             the rule's userData; the claims remember that.
// Threads:    none; a table is built by one thread.
// Cost:       a bucket is walked for a host. Everything else takes a descent for each piece of an
//             interval, and a walk over the node's entries. Where walks would add up, indexes take
//             their place, so that a build costs a few descents for each rule and entry.
#pragma once

#include <cstdint>

#include "ip/cover_index.h"
#include "ip/ip_index.h"
#include "ip/value_table.h"
#include "syntax/address128.h"

namespace rs {

// What the entries of one rule are made from.
struct EntryRule {
    uint32_t ruleIndex;
    uint32_t ruleValue;
    uint32_t ruleId;
    void* userData;           // borrowed from the host
    uint8_t* userDataClaims;  // borrowed; one byte per rule of the set, null when none has userData
};

[[nodiscard]] int32_t insertHost(HashTable* hostTable, Slab<HostEntry>& entries, uint32_t address,
                                 const EntryRule& rule) noexcept;

// What a tree of addresses needs beside itself while rules are entered.
struct AddressBuild {
    Slab<AddressNode>& nodes;
    Slab<AddressEntry>& entries;
    ValueTable crowdedValues{};
};

[[nodiscard]] int32_t insertAddress128(SearchTree* tree, AddressBuild& build,
                                       const Address128& address, const EntryRule& rule) noexcept;

// What a tree of intervals needs beside itself while rules are entered.
template <typename Address>
struct IntervalBuild {
    Slab<IntervalNode<Address>>& nodes;
    Slab<RangeEntry<Address>>& entries;
    CoverIndex<Address> covers{};
    uint64_t steps = 0;    // nodes that were met and entries that were walked
    uint32_t leftOut = 0;  // intervals for which memory ran out before a part had entered
};

// Deliberate: what fails before any part of the interval is entered is RULE_ERR_DUPLICATE too, out
// of memory included, so that the build goes on without the rule; build.leftOut counts these.
[[nodiscard]] int32_t insertInterval32(SearchTree* tree, IntervalBuild<uint32_t>& build,
                                       uint32_t low, uint32_t high, const EntryRule& rule) noexcept;
[[nodiscard]] int32_t insertInterval128(SearchTree* tree, IntervalBuild<Address128>& build,
                                        const Address128& low, const Address128& high,
                                        const EntryRule& rule) noexcept;

}  // namespace rs
