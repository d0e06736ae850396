#include "compound/compound_index.h"

#include "core/chain.h"
#include "core/entry.h"
#include "core/structure.h"

namespace rs {

OwnedCompoundEntry makeCompoundEntry(const CompoundRule& rule, uint32_t ruleIndex) noexcept {
    OwnedCompoundEntry entry(allocateRecord<CompoundEntry>());
    if (!entry || !copyRanges(rule.rangeListA, entry->rangeListA) ||
        !copyRanges(rule.rangeList16, entry->rangeList16) ||
        !copyRanges(rule.addressList, entry->addressList) ||
        !copyRanges(rule.rangeListB, entry->rangeListB)) {
        return nullptr;
    }
    fillEntry(rule, ruleIndex, *entry);
    entry->numberB = rule.numberB;
    entry->numberA = rule.numberA;
    entry->matchesAll = rule.matchesAll;
    return entry;
}

void freeCompoundEntries(CompoundEntry* first, const ReleaseInfo* info) noexcept {
    freeChain(first, [info](CompoundEntry* entry) noexcept {
        freeRangeList(&entry->rangeListA);
        freeRangeList(&entry->rangeList16);
        freeRangeList(&entry->addressList);
        freeRangeList(&entry->rangeListB);
        if (info != nullptr) {
            callReleaseCallback(info->releaseCallback, info->releaseContext, entry->userData,
                                ENTRY_RELEASES_USER_DATA);
        }
        freeMemory(entry);
    });
}

void releaseCompoundTable(CompoundTable** slot, const ReleaseInfo* info) noexcept {
    if (CompoundTable* table = dropFromSlot(slot)) {
        freeCompoundEntries(table->entries, info);
        freeMemory(table);
    }
}

}  // namespace rs
