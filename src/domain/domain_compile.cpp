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
#include "lookup/cut_name.h"
#include "lookup/flat_names.h"
#include "lookup/flat_policy.h"

namespace rs {

namespace {

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

// The hash by which equal names are found while building.
uint64_t hashOf(const HashedName& name, const HashSeed& seed) noexcept {
    CutName cut;
    return cutWireName(name.bytes, name.length, cut) ? hashCutName(cut, seed) : 0;
}

const EnteredName* findName(const OpenTable<EnteredName>& names, uint64_t hash,
                            const HashedName& name) noexcept {
    return names.find(hash, [&name](const EnteredName& entered) noexcept {
        return compareHashedNames(nameOf(*entered.entry), name) == 0;
    });
}

void fillNamedEntry(DomainEntry& entry, const DomainRule& rule, const HashedName& name,
                    uint32_t ruleIndex) noexcept {
    entry.nameLength = name.length;
    entry.hash = name.hash;
    fillEntry(rule, ruleIndex, entry);
}

// An entry for a rule; null when memory is out.
DomainEntry* makeEntry(DomainIndex& index, const DomainRule& rule, const HashedName& name,
                       uint32_t ruleIndex) noexcept {
    DomainEntry* entry = newRecord(index.entered);
    char* text = entry == nullptr ? nullptr : newText(index.names, size_t{name.length} + 1);
    if (text == nullptr) {
        if (entry != nullptr) {
            takeBackRecord(index.entered);
        }
        return nullptr;
    }
    entry->name = std::copy_n(name.bytes, name.length + 1, text) - (name.length + 1);
    fillNamedEntry(*entry, rule, name, ruleIndex);
    return entry;
}

void linkEntry(HashTable& table, DomainEntry& entry) noexcept {
    hashAdd(table, entry.hash, [&entry](HashBucket& bucket) noexcept {
        auto* head = static_cast<DomainEntry*>(bucket.chain);
        pushSingleNode(head, entry);
        bucket.chain = head;
    });
}

// Enters a rule into a table of the index, which is created when needed. False only when that fails.
bool insertDomainRule(DomainIndex& index, HashTable*& table, OpenTable<EnteredName>& names,
                      const HashSeed& seed, const RuleSet& set, const DomainRule& rule,
                      uint32_t skipped, uint32_t ruleIndex) noexcept {
    if (!ensureHashTable(table, DOMAIN_BUCKETS)) {
        return false;
    }
    RuleName key;
    if (!readRuleName(rule, skipped, key)) {
        return true;  // no key has such a name
    }
    const uint64_t hash = hashOf(key.name, seed);
    if (findName(names, hash, key.name) != nullptr) {
        callReleaseCallback(set.releaseCallback, set.releaseContext, rule.userData,
                            ENTRY_RELEASES_USER_DATA);
        return true;
    }
    DomainEntry* entry = names.reserveOne() ? makeEntry(index, rule, key.name, ruleIndex) : nullptr;
    if (entry == nullptr) {
        ++index.leftOut;
        return true;
    }
    names.add({hash, entry});
    linkEntry(*table, *entry);
    return true;
}

void enterMatchAll(DomainIndex& index, const DomainRule& rule, uint32_t ruleIndex) noexcept {
    RuleName key;
    if (index.matchAll != nullptr || !readRuleName(rule, 0, key)) {
        return;
    }
    OwnedMemory<DomainEntry> entry(allocateRecord<DomainEntry>());
    if (entry) {
        entry->name = copyRuleText(key.name.bytes, key.name.length, 1);
    }
    if (!entry || entry->name == nullptr) {
        ++index.leftOut;
        return;
    }
    fillNamedEntry(*entry, rule, key.name, ruleIndex);
    // No lookup reads these: "*" is no name in wire form, and the entry is in no chain.
    entry->nameLength = rule.rule.length;
    entry->nextCount = 1;
    index.matchAll = entry.release();
}

bool enterDomainRules(DomainIndex& index, RuleSet& set) noexcept {
    EnteredNames names;
    sizeSlab(index.entered, set.domainRules.ruleCount);
    return forEachRule<DomainRule>(set.domainRules,
                                   [&](const DomainRule& rule, uint32_t ruleIndex) noexcept {
                                       return enterDomainRule(index, names, set, rule, ruleIndex);
                                   });
}

uint32_t elementCountOf(const HashTable* table) noexcept {
    return table == nullptr ? 0 : table->elementCount;
}

bool packDomainTable(DomainIndex& index, const HashTable* table) noexcept {
    bool isPacked = true;
    forEachBucket(table, [&](HashBucket& bucket) noexcept {
        auto* head = static_cast<DomainEntry*>(bucket.chain);
        isPacked =
            isPacked && packChainInto(
                            index.entries, head, MAX_DOMAIN_BLOCK,
                            [](const DomainEntry& left, const DomainEntry& right) noexcept {
                                return compareHashedNames(nameOf(left), nameOf(right)) < 0;
                            },
                            [](const DomainEntry&, const DomainEntry&) noexcept { return true; });
        bucket.chain = head;
    });
    return isPacked;
}

// The flat lookup of the packed entries, of which the first exactCount numbers are those of the exact table; null when
// memory is out.
FlatNames* buildDomainNames(const DomainIndex& index, uint64_t nameCount,
                            uint32_t exactCount) noexcept {
    return buildFlatNames(
        NameForm::WIRE, nameCount,
        [&](const auto& add) noexcept {
            for (uint32_t number = 0; number < index.entries.count; ++number) {
                const DomainEntry& entry = recordAt(index.entries, number);
                const bool isExact = number < exactCount;
                // The last records of a chunk may be free.
                if (entry.name != nullptr &&
                    !add(FlatName{entry.name, entry.nameLength, isExact ? number : NO_RECORD,
                                  isExact ? NO_RECORD : number})) {
                    return false;
                }
            }
            return true;
        },
        [&index](uint32_t own, uint32_t inherited) noexcept {
            return recordAt(index.entries, inherited).ruleIndex <
                           recordAt(index.entries, own).ruleIndex
                       ? inherited
                       : own;
        });
}

// Moves all entries to where they stay, chain by chain. When memory runs out, the rest stays as it was entered, and
// lookups do without the flat one.
void packDomainIndex(DomainIndex& index) noexcept {
    const uint64_t count =
        uint64_t{elementCountOf(index.exactTable)} + elementCountOf(index.wildcardTable);
    // Chunks of a quarter of the entries hold huge pages.
    sizeSlab(index.entries, 2 * count, MAX_DOMAIN_BLOCK);
    if (!packDomainTable(index, index.exactTable)) {
        return;
    }
    const uint32_t exactCount = index.entries.count;
    if (!packDomainTable(index, index.wildcardTable)) {
        return;
    }
    freeSlab(index.entered);
    if (wantsFlat(count, FLAT_DOMAIN_NAMES)) {
        index.flatNames = buildDomainNames(index, count, exactCount);
    }
}

}  // namespace

bool enterDomainRule(DomainIndex& index, EnteredNames& names, const RuleSet& set,
                     const DomainRule& rule, uint32_t ruleIndex) noexcept {
    if (rule.rule.flags == 0) {
        return insertDomainRule(index, index.exactTable, names.exact, names.seed, set, rule, 0,
                                ruleIndex);
    }
    if (rule.rule.flags != DOMAIN_RULE_WILDCARD) {
        return true;
    }
    if (rule.rule.length == 1) {
        enterMatchAll(index, rule, ruleIndex);
        return true;
    }
    return insertDomainRule(index, index.wildcardTable, names.wildcard, names.seed, set, rule,
                            WILDCARD_LENGTH, ruleIndex);
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
    packDomainIndex(*index);
    return group->domainIndex = index.release();
}

}  // namespace rs
