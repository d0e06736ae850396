// List of compound rules -> CompoundTable.
#include <ruleset.h>

#include <memory>

#include "compound/compound_index.h"
#include "core/memory.h"
#include "core/reference_count.h"
#include "core/structure.h"

namespace rs {

namespace {

constexpr uint64_t ALL_VALUES = UINT64_MAX;
constexpr uint32_t LARGEST_MASK_BIT = 63;

// Freeing a table calls the host back, so its owner carries what that needs.
struct CompoundTableReleasing {
    ReleaseInfo info;
    void operator()(CompoundTable* table) const noexcept { destroyCompoundTable(&table, &info); }
};
using OwnedCompoundTable = std::unique_ptr<CompoundTable, CompoundTableReleasing>;

void freeUnfinishedEntry(CompoundEntry* entry) noexcept {
    destroyCompoundEntries(entry, nullptr);
}
using OwnedEntry = Owned<CompoundEntry, freeUnfinishedEntry>;

OwnedEntry makeEntry(const CompoundRule& rule, uint32_t ruleIndex) noexcept {
    OwnedEntry entry(allocateRecord<CompoundEntry>());
    if (!entry || !copyRanges(rule.rangeListA, entry->rangeListA) ||
        !copyRanges(rule.rangeList16, entry->rangeList16) ||
        !copyRanges(rule.addressList, entry->addressList) ||
        !copyRanges(rule.rangeListB, entry->rangeListB)) {
        return nullptr;
    }
    entry->numberB = rule.numberB;
    entry->numberA = rule.numberA;
    entry->ruleIndex = ruleIndex;
    entry->ruleValue = rule.ruleValue;
    entry->ruleId = rule.ruleId;
    entry->matchesAll = rule.matchesAll;
    entry->userData = rule.userData;
    return entry;
}

// What an entry adds to the summary of field 1.
uint64_t valuesOf(const CompoundEntry& entry) noexcept {
    if (entry.matchesAll != 0) {
        return 0;
    }
    const U32Range* range = entry.rangeListA;
    if (range == nullptr || range->next != nullptr || range->low != range->high) {
        return ALL_VALUES;
    }
    const uint32_t bit = range->low < LARGEST_MASK_BIT ? range->low : LARGEST_MASK_BIT;
    return uint64_t{1} << bit;
}

// Entries are pushed in front; this puts them in rule order and sums them up.
void finishEntries(CompoundTable& table) noexcept {
    CompoundEntry* entry = table.entries;
    table.entries = nullptr;
    while (entry != nullptr) {
        CompoundEntry* next = entry->next;
        table.valueMask |= valuesOf(*entry);
        entry->next = table.entries;
        table.entries = entry;
        entry = next;
    }
}

bool enterRules(RuleSet& set, CompoundTable& table) noexcept {
    const RuleList& list = set.compoundRules;
    uint32_t position = 0;
    for (ListLink* link = list.head.next; link != &list.head; link = link->next) {
        OwnedEntry entry =
            makeEntry(reinterpret_cast<const CompoundRuleRecord*>(link)->rule, ++position);
        if (!entry) {
            return false;
        }
        entry->next = table.entries;
        table.entries = entry.release();
    }
    return true;
}

}  // namespace

void destroyCompoundEntries(CompoundEntry* first, const ReleaseInfo* info) noexcept {
    while (first != nullptr) {
        CompoundEntry* next = first->next;
        freeRangeList(&first->rangeListA);
        freeRangeList(&first->rangeList16);
        freeRangeList(&first->addressList);
        freeRangeList(&first->rangeListB);
        if (info != nullptr) {
            callReleaseCallback(info->releaseCallback, info->releaseContext, first->userData,
                                ENTRY_RELEASES_USER_DATA);
        }
        freeMemory(first);
        first = next;
    }
}

void destroyCompoundTable(CompoundTable** slot, const ReleaseInfo* info) noexcept {
    if (slot == nullptr || *slot == nullptr) {
        return;
    }
    CompoundTable* table = *slot;
    *slot = nullptr;
    if (dropReference(table->refCount)) {
        destroyCompoundEntries(table->entries, info);
        freeMemory(table);
    }
}

bool buildCompoundTable(RuleSet* set, CompoundTable** slot) noexcept {
    if (set == nullptr || slot == nullptr) {
        return false;
    }
    *slot = nullptr;
    OwnedCompoundTable table(allocateRecord<CompoundTable>(), {releaseInfoOf(*set)});
    if (!table) {
        return false;
    }
    table->refCount = 1;
    if (!enterRules(*set, *table)) {
        return false;  // the owner frees what was made and hands its userData back
    }
    finishEntries(*table);
    *slot = table.release();
    return true;
}

}  // namespace rs
