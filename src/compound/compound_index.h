// The compiled form of a list of compound rules: a list of entries in rule order, each with copies
// of its rule's four lists and its numbers.
//
//     CompoundTable   entries -> rule 1 -> rule 2 -> ...
//                     valueMask   which numbers below 63 field 1 names alone; bit 63 for larger ones
//
// Ownership:  the table owns everything below it. Every entry hands its userData back when freed:
//             there is one for each rule.
// Threads:    read-only once built; afterwards only refCount changes, atomically.
// Cost:       a lookup walks the list.
#pragma once

#include <cstdint>

#include "compound/compound_rule.h"
#include "core/release.h"
#include "core/rule_group.h"
#include "core/rule_set.h"

namespace rs {

struct CompoundEntry {
    AddressRange* addressList;  // owned, like the other lists
    PortRange* rangeList16;
    U32Range* rangeListA;
    U32Range* rangeListB;
    uint32_t numberB;
    uint32_t numberA;  // bits 0, 1 and 2 steer the entry test
    uint32_t ruleIndex;
    uint32_t ruleValue;
    uint32_t ruleId;
    uint32_t matchesAll;
    void* userData;  // borrowed from the host
    CompoundEntry* next;
};

struct CompoundTable {
    CompoundEntry* entries;  // owned
    uint64_t valueMask;  // all ones unless field 1 of every rule is one number, or lets all pass
    uint32_t refCount;
};

// Compiles the compound rules of a set into *slot. False, with null in the slot, when memory is out;
// the entries made until then hand their userData back through the set's callback.
[[nodiscard]] bool buildCompoundTable(RuleSet* set, CompoundTable** slot) noexcept;

// Clears *slot and drops one reference; the last one frees the table and hands userData back.
void destroyCompoundTable(CompoundTable** slot, const ReleaseInfo* info) noexcept;

// Frees entries from the first on; without info nothing is handed back.
void destroyCompoundEntries(CompoundEntry* first, const ReleaseInfo* info) noexcept;

}  // namespace rs
