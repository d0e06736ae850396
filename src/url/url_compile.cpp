#include "url/url_compile.h"

#include <ruleset.h>

#include <algorithm>
#include <string_view>

#include "core/chain.h"
#include "core/memory.h"
#include "core/structure.h"
#include "lookup/chain_blocks.h"
#include "url/host_paths.h"
#include "url/url_rule.h"

namespace rs {

namespace {

void freeNode(UrlHostNode* node) noexcept {
    freeMemory(node->scheme);
    freeMemory(node->host);
    freeMemory(node);
}
using OwnedHostNode = Owned<UrlHostNode, freeNode>;

// An owned copy; null for an empty piece.
char* copyPiece(const Text& piece) noexcept {
    char* copy = piece.length == 0 ? nullptr : allocateBytes(piece.length);
    if (copy != nullptr) {
        std::copy_n(piece.text, piece.length, copy);
    }
    return copy;
}

// The place of a rule: its scheme, and its host without wildcard.
struct HostPlace {
    Text scheme;
    Text host;
    uint32_t hash;
};

HostPlace placeOf(const UrlRule& rule, uint32_t skipped) noexcept {
    const DomainRuleText& host = rule.rule.host;
    const Text key{host.text + skipped, host.length - skipped};
    return {rule.rule.scheme, key, urlHostHash(key.text, key.length)};
}

// Null for a host that no node can have, and when memory is out.
UrlHostNode* makeHostNode(const HostPlace& place) noexcept {
    if (place.host.length == 0 || place.host.length > MAX_STORED_LENGTH) {
        return nullptr;
    }
    OwnedHostNode node(allocateRecord<UrlHostNode>());
    if (!node) {
        return nullptr;
    }
    node->host = copyPiece(place.host);
    node->scheme = copyPiece(place.scheme);
    if (node->host == nullptr || (node->scheme == nullptr && place.scheme.length != 0)) {
        return nullptr;
    }
    node->hostLength = place.host.length;
    node->schemeLength = place.scheme.length;
    node->hash = place.hash;
    return node.release();
}

// False for a path that no entry can have, and when memory is out.
bool addPath(UrlHostNode& node, const UrlRule& rule, uint32_t ruleIndex) noexcept {
    UrlPathEntry* entry = makePathEntry(rule, ruleIndex);
    if (entry == nullptr) {
        return false;
    }
    pushToChain(node.paths, entry);
    ++node.pathCount;
    return true;
}

// The node of a place in a bucket whose chain is not packed yet; null without one.
void* findHostNode(HashBucket* bucket, uint32_t /*hash*/, const void* key) noexcept {
    const auto& place = *static_cast<const HostPlace*>(key);
    const HashedName host{place.host.text, place.host.length, place.hash};
    for (auto* node = static_cast<UrlHostNode*>(bucket->chain); node != nullptr;
         node = node->next) {
        // There is one scheme to be told apart from none.
        if (node->schemeLength == place.scheme.length &&
            compareHashedNames(hostOf(*node), host) == 0) {
            return node;
        }
    }
    return nullptr;
}

// Counts a rule that has no node or no entry, unless its host or path is what none can have.
void countLeftOut(UrlIndex& index, const HostPlace& place, const UrlRule& rule) noexcept {
    const bool isStorable = place.host.length != 0 && place.host.length <= MAX_STORED_LENGTH &&
                            rule.rule.path.length <= MAX_STORED_LENGTH;
    index.leftOut += isStorable ? 1 : 0;
}

// The node of a place, made when there is none; null as makeHostNode.
UrlHostNode* ensureHostNode(HashTable& table, const HostPlace& place) noexcept {
    auto* found = static_cast<UrlHostNode*>(hashLookup(&table, place.hash, &place, findHostNode));
    if (found != nullptr) {
        return found;
    }
    UrlHostNode* made = makeHostNode(place);
    if (made != nullptr) {
        hashAdd(table, place.hash, [made](HashBucket& bucket) noexcept {
            auto* head = static_cast<UrlHostNode*>(bucket.chain);
            pushSingleNode(head, *made);
            bucket.chain = head;
        });
    }
    return made;
}

// Enters a rule into a table of the index, which is created when needed. False only when that fails.
bool insertUrlRule(UrlIndex& index, HashTable*& table, const UrlRule& rule, uint32_t skipped,
                   uint32_t ruleIndex) noexcept {
    if (!ensureHashTable(table, URL_BUCKETS)) {
        return false;
    }
    const HostPlace place = placeOf(rule, skipped);
    UrlHostNode* node = ensureHostNode(*table, place);
    if (node == nullptr || !addPath(*node, rule, ruleIndex)) {
        countLeftOut(index, place, rule);
    }
    return true;
}

// Deliberate: rules for "*" share one node, which has the scheme of the first of them; no lookup
// asks for it.
void enterAnyHost(UrlIndex& index, const UrlRule& rule, uint32_t ruleIndex) noexcept {
    const HostPlace place = placeOf(rule, 0);
    if (index.anyHost == nullptr) {
        index.anyHost = makeHostNode(place);
    }
    if (index.anyHost == nullptr || !addPath(*index.anyHost, rule, ruleIndex)) {
        countLeftOut(index, place, rule);
    }
}

bool enterUrlRule(UrlIndex& index, const UrlRule& rule, uint32_t ruleIndex) noexcept {
    const DomainRuleText& host = rule.rule.host;
    if ((host.flags & DOMAIN_RULE_WILDCARD) == 0) {
        return insertUrlRule(index, index.exactHosts, rule, 0, ruleIndex);
    }
    if (host.length == 1) {
        enterAnyHost(index, rule, ruleIndex);
        return true;
    }
    if (host.length <= WILDCARD_LENGTH) {
        return true;  // nothing is left after the wildcard
    }
    return insertUrlRule(index, index.wildcardHosts, rule, WILDCARD_LENGTH, ruleIndex);
}

bool enterUrlRules(UrlIndex& index, RuleSet& set) noexcept {
    return forEachRule<UrlRule>(set.urlRules,
                                [&](const UrlRule& rule, uint32_t ruleIndex) noexcept {
                                    return enterUrlRule(index, rule, ruleIndex);
                                });
}

void packUrlBucket(HashBucket& bucket) noexcept {
    auto* head = static_cast<UrlHostNode*>(bucket.chain);
    for (UrlHostNode* node = head; node != nullptr; node = node->next) {
        packPaths(*node);
    }
    // A lookup tests the scheme on the first node of a block, so a block holds one scheme only.
    // One host under both schemes is found under both.
    packChain(
        head, MAX_HOST_BLOCK,
        [](const UrlHostNode& left, const UrlHostNode& right) noexcept {
            return compareHashedNames(hostOf(left), hostOf(right)) < 0;
        },
        [](const UrlHostNode& first, const UrlHostNode& node) noexcept {
            return first.schemeLength == node.schemeLength;
        });
}

}  // namespace

UrlIndex* buildUrlIndex(RuleSet* set, RuleGroup* group) noexcept {
    if (set == nullptr || group == nullptr) {
        return nullptr;
    }
    group->urlIndex = nullptr;
    auto index = newStructure<UrlIndex, releaseUrlIndex>(*set);
    if (!index || !enterUrlRules(*index, *set)) {
        return nullptr;
    }
    if (index->anyHost != nullptr) {
        packPaths(*index->anyHost);
    }
    forEachBucket(index->exactHosts, packUrlBucket);
    forEachBucket(index->wildcardHosts, packUrlBucket);
    return group->urlIndex = index.release();
}

}  // namespace rs
