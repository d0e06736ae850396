#include "domain/domain_compile.h"

#include <ruleset.h>

#include <algorithm>

#include "core/entry.h"
#include "core/memory.h"
#include "core/structure.h"
#include "core/text_rule.h"
#include "domain/domain_rule.h"
#include "domain/host_name.h"
#include "lookup/chain_blocks.h"

namespace rs {

namespace {

void freeEntry(DomainEntry* entry) noexcept {
    freeMemory(entry->name);
    freeMemory(entry);
}
using OwnedDomainEntry = Owned<DomainEntry, freeEntry>;

// The name of a rule in wire form, before there is an entry for it.
struct RuleName {
    char bytes[MAX_HOST_LENGTH + 2];
    HashedName name;  // borrows bytes
};

// Reads the part of a rule's text from skipped on. False when that has no wire form.
bool readRuleName(const DomainRule& rule, uint32_t skipped, RuleName& out) noexcept {
    const uint32_t length = rule.rule.length - skipped;
    std::copy_n(rule.rule.text + skipped, length, out.bytes + 1);
    if (!makeWireName(out.bytes, length)) {
        return false;
    }
    out.name = {out.bytes, length + 1, hashWireName(out.bytes, length + 1)};
    return true;
}

// An entry for a rule; null when memory is out: then the rule is left out, and counts.
OwnedDomainEntry makeEntry(DomainIndex& index, const DomainRule& rule, const HashedName& name,
                           uint32_t ruleIndex) noexcept {
    OwnedDomainEntry entry(allocateRecord<DomainEntry>());
    if (entry) {
        entry->name = copyRuleText(name.bytes, name.length, 1);
    }
    if (!entry || entry->name == nullptr) {
        ++index.leftOut;
        return nullptr;
    }
    entry->nameLength = name.length;
    entry->hash = name.hash;
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

// Enters a rule into a table of the index, which is created when needed. False only when that fails.
bool insertDomainRule(DomainIndex& index, HashTable*& table, const RuleSet& set,
                      const DomainRule& rule, uint32_t skipped, uint32_t ruleIndex) noexcept {
    if (!ensureHashTable(table, DOMAIN_BUCKETS)) {
        return false;
    }
    RuleName key;
    if (!readRuleName(rule, skipped, key)) {
        return true;  // no key has such a name
    }
    if (hashLookup(table, key.name.hash, &key.name, findEntry) != nullptr) {
        callReleaseCallback(set.releaseCallback, set.releaseContext, rule.userData,
                            ENTRY_RELEASES_USER_DATA);
        return true;
    }
    OwnedDomainEntry entry = makeEntry(index, rule, key.name, ruleIndex);
    if (!entry) {
        return true;
    }
    hashAdd(*table, key.name.hash, [&entry](HashBucket& bucket) noexcept {
        auto* head = static_cast<DomainEntry*>(bucket.chain);
        pushSingleNode(head, *entry.release());
        bucket.chain = head;
    });
    return true;
}

void enterMatchAll(DomainIndex& index, const DomainRule& rule, uint32_t ruleIndex) noexcept {
    RuleName key;
    if (index.matchAll != nullptr || !readRuleName(rule, 0, key)) {
        return;
    }
    index.matchAll = makeEntry(index, rule, key.name, ruleIndex).release();
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
        return insertDomainRule(index, index.exactTable, set, rule, 0, ruleIndex);
    }
    if (rule.rule.flags != DOMAIN_RULE_WILDCARD) {
        return true;
    }
    if (rule.rule.length == 1) {
        enterMatchAll(index, rule, ruleIndex);
        return true;
    }
    return insertDomainRule(index, index.wildcardTable, set, rule, WILDCARD_LENGTH, ruleIndex);
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
