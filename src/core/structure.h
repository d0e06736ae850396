// Compiled structures, the part that all rule types share: making one, owning it while it is built,
// walking the rules that it is built from, sharing it, and dropping it from the slot of a group.
//
//     RuleSet  list of records --forEachRule--> OwnedStructure --lets go--> slot of a RuleGroup
//                                                    |
//                     a failed build frees it here and gives its userData back
//
// A structure is a record with a field refCount. Its rule type declares it, with one operation
// that drops a reference to it:
//
//     void release<Structure>(Structure** slot, const ReleaseInfo* info) noexcept;
//
// The operation begins with dropFromSlot or dropLastFromSlot. When these return a structure, it
// frees the structure and gives the userData in it back through *info, which is never null.
//
// Invariants: refCount is the number of slots that hold the structure, or 1 while it is built.
// Ownership:  each slot holds one reference. The group that drops the last one frees the structure.
// Threads:    one thread builds. Then groups that share a structure may be dropped in any threads:
//             references are counted atomically. A slot itself has one thread at a time.
// Cost:       sharing and dropping are one step. Freeing visits everything in the structure.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <type_traits>

#include "core/memory.h"
#include "core/reference_count.h"
#include "core/release.h"
#include "core/rule_set.h"

namespace rs {

// How a structure that is being built from a set gives userData back. A copy: what keeps it
// may outlive the set.
inline ReleaseInfo releaseInfoOf(const RuleSet& set) noexcept {
    return {set.releaseCallback, set.releaseContext, 0};
}

// Freeing a structure calls the host back, so its owner stores what that needs.
template <typename Structure, auto releaseStructure>
struct StructureReleasing {
    ReleaseInfo info;
    void operator()(Structure* structure) const noexcept { releaseStructure(&structure, &info); }
};

// Owns a structure that is being built, or null.
template <typename Structure, auto releaseStructure>
using OwnedStructure = std::unique_ptr<Structure, StructureReleasing<Structure, releaseStructure>>;

// A new structure for the rules of a set, zero-filled but for its one reference; null when memory
// is out.
template <typename Structure, auto releaseStructure>
[[nodiscard]] OwnedStructure<Structure, releaseStructure> newStructure(
    const RuleSet& set) noexcept {
    OwnedStructure<Structure, releaseStructure> structure(allocateRecord<Structure>(),
                                                          {releaseInfoOf(set)});
    if (structure) {
        structure->refCount = 1;
    }
    return structure;
}

// Stores a structure in a further slot, which is empty, and counts the reference. A null structure
// leaves the slot as it is.
template <typename Structure>
void shareStructure(Structure* structure, Structure*& slot) noexcept {
    if (structure != nullptr) {
        retainReference(structure->refCount);
        slot = structure;
    }
}

// Clears *slot and drops its reference. Returns the structure when that was the last reference;
// then the caller frees it. Null otherwise, and for a null slot or an empty one.
template <typename Structure>
[[nodiscard]] Structure* dropFromSlot(Structure** slot) noexcept {
    if (slot == nullptr || *slot == nullptr) {
        return nullptr;
    }
    Structure* structure = *slot;
    *slot = nullptr;
    return dropReference(structure->refCount) ? structure : nullptr;
}

// The same for a structure (of domain or URL rules) whose slot is cleared with the last reference
// only. After an earlier one *slot still names the structure, which is no longer the caller's.
template <typename Structure>
[[nodiscard]] Structure* dropLastFromSlot(Structure** slot) noexcept {
    if (slot == nullptr || *slot == nullptr || !dropReference((*slot)->refCount)) {
        return nullptr;
    }
    Structure* structure = *slot;
    *slot = nullptr;
    return structure;
}

// The record that a link of a set's list belongs to.
template <typename Rule>
Rule& ruleOf(ListLink& link) noexcept {
    static_assert(std::is_standard_layout_v<Rule> && offsetof(Rule, links) == 0,
                  "a set finds its records by their links");
    return reinterpret_cast<Rule&>(link);
}

// Visits the rules of a list in order: visit(rule, ruleIndex), with positions counted from 1. Stops
// after the first visit that answers false, and is false then.
template <typename Rule, typename Visit>
[[nodiscard]] bool forEachRule(RuleList& list, const Visit& visit) noexcept {
    uint32_t ruleIndex = 0;
    for (ListLink* link = list.head.next; link != &list.head; link = link->next) {
        if (!visit(ruleOf<Rule>(*link), ++ruleIndex)) {
            return false;
        }
    }
    return true;
}

// The claims of core/release.h for a build: one byte per rule of the list, all 0. True with null
// claims when no rule has userData; false when memory is out.
[[nodiscard]] inline bool allocateClaims(const RuleSet& set, const RuleList& list,
                                         OwnedMemory<uint8_t>& claims) noexcept {
    if (set.hasUserData == 0 || list.ruleCount == 0) {
        return true;
    }
    claims.reset(allocateArray<uint8_t>(list.ruleCount));
    return claims != nullptr;
}

}  // namespace rs
