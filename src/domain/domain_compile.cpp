#include "domain/domain_compile.h"

#include <ruleset.h>

#include <algorithm>

#include "core/entry.h"
#include "core/memory.h"
#include "core/structure.h"
#include "domain/domain_rule.h"
#include "lookup/chain_blocks.h"

namespace rs {

namespace {

void freeEntry(DomainEntry* entry) noexcept {
    freeMemory(entry->name);
    freeMemory(entry);
}
using OwnedDomainEntry = Owned<DomainEntry, freeEntry>;

// An entry for the part of a rule's text from skipped on; null when that has no wire form or memory
// is out.
OwnedDomainEntry makeEntry(const DomainRule& rule, uint32_t skipped, uint32_t ruleIndex) noexcept {
    const uint32_t length = rule.rule.length - skipped;
    OwnedDomainEntry entry(allocateRecord<DomainEntry>());
    if (!entry) {
        return nullptr;
    }
    entry->name = allocateBytes(size_t{length} + 2);
    if (entry->name == nullptr) {
        return nullptr;
    }
    std::copy_n(rule.rule.text + skipped, length, entry->name + 1);
    if (!makeWireName(entry->name, length)) {
        return nullptr;
    }
    entry->nameLength = length + 1;
    entry->hash = hashWireName(entry->name, entry->nameLength);
    fillEntry(rule, ruleIndex, *entry);
    return entry;
}

// The entry of a name in a bucket whose chain is not packed yet; null without one.
void* findEntry(HashBucket* bucket, uint32_t /*hash*/, const void* key) noexcept {
    const auto& name = *static_cast<const HashedName*>(key);
    for (auto* entry = static_cast<DomainEntry*>(bucket->chain); entry != nullptr;
         entry = entry->next) {
        if (compareHashedNames(nameOf(*entry), name) == 0) {
            return entry;
        }
    }
    return nullptr;
}

// Enters a rule into a table, which is created when needed. False only when that fails.
bool insertDomainRule(HashTable*& table, const RuleSet& set, const DomainRule& rule,
                      uint32_t skipped, uint32_t ruleIndex) noexcept {
    if (!ensureHashTable(table, DOMAIN_BUCKETS)) {
        return false;
    }
    OwnedDomainEntry entry = makeEntry(rule, skipped, ruleIndex);
    if (!entry) {
        return true;  // the rule is left out
    }
    const HashedName name = nameOf(*entry);
    if (hashLookup(table, name.hash, &name, findEntry) != nullptr) {
        callReleaseCallback(set.releaseCallback, set.releaseContext, rule.userData,
                            ENTRY_RELEASES_USER_DATA);
        return true;
    }
    hashAdd(*table, name.hash, [&entry](HashBucket& bucket) noexcept {
        auto* head = static_cast<DomainEntry*>(bucket.chain);
        pushSingleNode(head, *entry.release());
        bucket.chain = head;
    });
    return true;
}

void enterMatchAll(DomainIndex& index, const DomainRule& rule, uint32_t ruleIndex) noexcept {
    if (index.matchAll != nullptr) {
        return;
    }
    index.matchAll = makeEntry(rule, 0, ruleIndex).release();
    if (index.matchAll != nullptr) {
        // No lookup reads these: "*" is no name in wire form, and the entry is in no chain.
        index.matchAll->nameLength = rule.rule.length;
        index.matchAll->nextCount = 1;
    }
}

bool enterDomainRules(DomainIndex& index, RuleSet& set) noexcept {
    return forEachRule<DomainRule>(set.domainRules,
                                   [&](const DomainRule& rule, uint32_t ruleIndex) noexcept {
                                       return enterDomainRule(index, set, rule, ruleIndex);
                                   });
}

void packDomainBucket(HashBucket& bucket) noexcept {
    packChain(
        static_cast<DomainEntry*>(bucket.chain), MAX_DOMAIN_BLOCK,
        [](const DomainEntry& left, const DomainEntry& right) noexcept {
            return compareHashedNames(nameOf(left), nameOf(right)) < 0;
        },
        [](const DomainEntry&, const DomainEntry&) noexcept { return true; });
}

}  // namespace

bool enterDomainRule(DomainIndex& index, const RuleSet& set, const DomainRule& rule,
                     uint32_t ruleIndex) noexcept {
    if (rule.rule.flags == 0) {
        return insertDomainRule(index.exactTable, set, rule, 0, ruleIndex);
    }
    if (rule.rule.flags != DOMAIN_RULE_WILDCARD) {
        return true;
    }
    if (rule.rule.length == 1) {
        enterMatchAll(index, rule, ruleIndex);
        return true;
    }
    return insertDomainRule(index.wildcardTable, set, rule, WILDCARD_LENGTH, ruleIndex);
}

DomainIndex* buildDomainIndex(RuleSet* set, RuleGroup* group) noexcept {
    if (set == nullptr || group == nullptr) {
        return nullptr;
    }
    group->domainIndex = nullptr;
    auto index = newStructure<DomainIndex, releaseDomainIndex>(*set);
    if (!index || !enterDomainRules(*index, *set)) {
        return nullptr;
    }
    forEachBucket(index->exactTable, packDomainBucket);
    forEachBucket(index->wildcardTable, packDomainBucket);
    return group->domainIndex = index.release();
}

}  // namespace rs
