// List of domain rules -> DomainIndex.
//
//     1  *.example.com     ->  wildcardTable   example.com
//     2  web.example.com   ->  exactTable      web.example.com
//     3  *                 ->  matchAll
//     4  web.example.com                       left out: rule 2 has the name
//     5  *                                     left out: rule 3 matches all
//
// Rules are entered in list order, so that the earliest rule for a name is the one that stays. Then
// crowded chains are packed, and many names get a flat lookup.
//
// Ownership:  the userData of a name that is there already goes back through the set's callback at
//             once, that of a later "*" never. See docs/ownership.md.
// Threads:    none; the host serialises builds with all other use of the set.
// Cost:       a rule takes the same few steps in a list of any length and kind: a table that lives during the build
//             finds an equal name, and a block of a crowded chain is sorted once. Beside the rules, a build takes
//             half as much memory as the index, for entries that are not packed yet.
#pragma once

#include <cstdint>

#include "core/rule_group.h"
#include "core/rule_set.h"
#include "domain/domain_index.h"
#include "domain/domain_rule.h"
#include "lookup/hash_seed.h"
#include "lookup/open_table.h"

namespace rs {

// From as many names on there is a flat lookup. With 8 names it answers in 48 ns where the tables take 76, and when
// nothing is found in 27 instead of 45. Fewer names gain as much, but not enough to be worth six allocations.
inline constexpr uint32_t FLAT_DOMAIN_NAMES = 8;

// A name that was entered into a table of the index.
struct EnteredName {
    uint64_t hash;
    const DomainEntry* entry;  // borrowed from the index

    [[nodiscard]] bool isTaken() const noexcept { return entry != nullptr; }
};

// The names that were entered so far, while chains are not packed yet.
struct EnteredNames {
    HashSeed seed = newHashSeed();
    OpenTable<EnteredName> exact;
    OpenTable<EnteredName> wildcard;
};

// A step of the build: enters a rule of a set into an index whose chains are not packed yet. False
// when a table cannot be made; a rule that memory runs out for is left out, as by buildDomainIndex.
[[nodiscard]] bool enterDomainRule(DomainIndex& index, EnteredNames& names, const RuleSet& set,
                                   const DomainRule& rule, uint32_t ruleIndex) noexcept;

// Builds the index of a set's domain rules, stores it in the group's slot and returns it; null, with
// null in the slot, when that fails. A rule that memory runs out for is left out and
// counts in index.leftOut.
DomainIndex* buildDomainIndex(RuleSet* set, RuleGroup* group) noexcept;

}  // namespace rs
