// The compiled form of a list of compound rules: a chain of entries in rule order, each with copies
// of its rule's four lists and its numbers.
//
//     CompoundTable  entries -> rule 1 -> rule 2 -> rule 3 -> null
//                                 |
//                                 rangeListA   1-10 -> 20-20        copies of the rule's lists
//                                 rangeListB   0-4294967295
//                                 addressList  10.0.0.0-10.255.255.255
//                                 rangeList16  80-80
//
//     valueMask      bit n: field 1 of a rule is the number n alone     bit 63: a number from 63 on
//
// valueMask and matchesAll are summaries. No lookup reads them.
//
// Invariants: there is one entry for each rule. valueMask has all bits set as soon as field 1 of one
//             rule is not a single range of a single number: "1-2" and "5,5" set them, "5-5" sets bit
//             5. A rule with matchesAll adds no bit to it.
// Ownership:  the table owns everything below it. Every entry owns its rule's userData.
// Threads:    read-only once built; afterwards only refCount changes, atomically.
// Cost:       a lookup walks the chain, and the lists of each entry on the way.
#pragma once

#include <cstdint>

#include "compound/compound_rule.h"
#include "core/memory.h"
#include "core/release.h"
#include "core/rule_group.h"

namespace rs {

struct CompoundEntry {
    AddressRange* addressList;  // owned, like the other lists
    PortRange* rangeList16;
    U32Range* rangeListA;
    U32Range* rangeListB;
    uint32_t numberB;
    uint32_t numberA;  // bits 0, 1 and 2: what a test of the entry tests and writes
    uint32_t ruleIndex;
    uint32_t ruleValue;
    uint32_t ruleId;
    uint32_t matchesAll;
    void* userData;       // borrowed from the host; given back with the entry
    CompoundEntry* next;  // owned
};

struct CompoundTable {
    CompoundEntry* entries;  // owned
    uint64_t valueMask;
    uint32_t refCount;
};

// Frees a chain of entries, from the first on, and gives their userData back through info; null info
// gives none back.
void freeCompoundEntries(CompoundEntry* first, const ReleaseInfo* info) noexcept;

inline void dropCompoundEntry(CompoundEntry* entry) noexcept {
    freeCompoundEntries(entry, nullptr);
}

// Owns an entry that is in no table yet: its userData stays the host's.
using OwnedCompoundEntry = Owned<CompoundEntry, dropCompoundEntry>;

// A new entry for the rule at a position counted from 1; null when memory is out.
[[nodiscard]] OwnedCompoundEntry makeCompoundEntry(const CompoundRule& rule,
                                                   uint32_t ruleIndex) noexcept;

// Clears *slot and drops one reference; the last one frees the table and gives userData back. A null
// slot or an empty one is left alone.
void releaseCompoundTable(CompoundTable** slot, const ReleaseInfo* info) noexcept;

}  // namespace rs
