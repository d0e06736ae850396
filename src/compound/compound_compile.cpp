#include "compound/compound_compile.h"

#include <algorithm>
#include <utility>

#include "core/chain.h"
#include "core/structure.h"

namespace rs {

namespace {

constexpr uint64_t ALL_VALUES = UINT64_MAX;
constexpr uint32_t LARGEST_MASK_BIT = 63;

// What an entry adds to the summary of field 1.
uint64_t valuesOf(const CompoundEntry& entry) noexcept {
    if (entry.matchesAll != 0) {
        return 0;
    }
    const U32Range* range = entry.rangeListA;
    if (range == nullptr || range->next != nullptr || range->low != range->high) {
        return ALL_VALUES;
    }
    return uint64_t{1} << std::min(range->low, LARGEST_MASK_BIT);
}

// Pushes an entry for each rule: until finishEntries the last rule is first. Hosts see that order
// when a build fails, since userData goes back in it.
bool enterRules(RuleSet& set, CompoundTable& table) noexcept {
    return forEachRule<CompoundRuleRecord>(
        set.compoundRules, [&table](const CompoundRuleRecord& record, uint32_t ruleIndex) noexcept {
            OwnedCompoundEntry entry = makeCompoundEntry(record.rule, ruleIndex);
            if (!entry) {
                return false;
            }
            pushToChain(table.entries, entry.release());
            return true;
        });
}

// Puts the entries in rule order and sums them up.
void finishEntries(CompoundTable& table) noexcept {
    CompoundEntry* pushed = std::exchange(table.entries, nullptr);
    while (pushed != nullptr) {
        CompoundEntry* entry = std::exchange(pushed, pushed->next);
        table.valueMask |= valuesOf(*entry);
        pushToChain(table.entries, entry);
    }
}

}  // namespace

CompoundTable* buildCompoundTable(RuleSet* set, RuleGroup* group) noexcept {
    if (set == nullptr || group == nullptr) {
        return nullptr;
    }
    group->compoundTable = nullptr;
    auto table = newStructure<CompoundTable, releaseCompoundTable>(*set);
    if (!table || !enterRules(*set, *table)) {
        return nullptr;  // the owner frees what was made and gives its userData back
    }
    finishEntries(*table);
    return group->compoundTable = table.release();
}

}  // namespace rs
