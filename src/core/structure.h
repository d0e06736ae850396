// Compiled structures, the shared part: making one, counting its references, owning it while it is
// built, walking the rules it is built from, and dropping it from the slot of a group.
//
//     RuleSet  list of records --forEachRule--> OwnedStructure --release()--> slot of a RuleGroup
//                                                    |
//                             a failed build frees the structure here, with its userData
//
// A structure is a record with a field refCount. Its rule type has the operation that frees it, which
// begins with dropFromSlot:
//
//     void release<Structure>(Structure** slot, const ReleaseInfo* info) noexcept;
//
// Ownership:  the group that drops the last reference frees the structure.
// Threads:    one thread builds; references are counted atomically.
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

// How a structure compiled from a set gives userData back.
inline ReleaseInfo releaseInfoOf(const RuleSet& set) noexcept {
    return {set.releaseCallback, set.releaseContext, 0};
}

// Freeing a structure calls the host back, so its owner carries what that needs.
template <typename Structure, auto releaseStructure>
struct StructureReleasing {
    ReleaseInfo info;
    void operator()(Structure* structure) const noexcept { releaseStructure(&structure, &info); }
};

// Owns a structure that is being built, or null.
template <typename Structure, auto releaseStructure>
using OwnedStructure = std::unique_ptr<Structure, StructureReleasing<Structure, releaseStructure>>;

// A new structure with one reference, for the rules of a set; null when memory is out.
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

// Shares a structure with a further slot; a null structure is left alone.
template <typename Structure>
void shareStructure(Structure* structure, Structure*& slot) noexcept {
    if (structure != nullptr) {
        retainReference(structure->refCount);
        slot = structure;
    }
}

// Clears *slot and drops its reference. Returns the structure when that was the last reference: the
// caller frees it. Null otherwise, and for a null slot or an empty one.
template <typename Structure>
[[nodiscard]] Structure* dropFromSlot(Structure** slot) noexcept {
    if (slot == nullptr || *slot == nullptr) {
        return nullptr;
    }
    Structure* structure = *slot;
    *slot = nullptr;
    return dropReference(structure->refCount) ? structure : nullptr;
}

// The same for structures whose slot is cleared only when the last reference is dropped.
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
// with false after the first visit that answers false.
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

// One byte per rule of the list, all 0, in which entries claim userData; none when no rule has any.
// False when memory is out.
[[nodiscard]] inline bool allocateClaims(const RuleSet& set, const RuleList& list,
                                         OwnedMemory<uint8_t>& claims) noexcept {
    if (set.hasUserData == 0 || list.ruleCount == 0) {
        return true;
    }
    claims.reset(allocateArray<uint8_t>(list.ruleCount));
    return claims != nullptr;
}

}  // namespace rs
