#include "url/url_compile.h"

#include <ruleset.h>

#include <algorithm>
#include <cstring>
#include <numeric>

#include "core/chain.h"
#include "core/lines.h"
#include "core/memory.h"
#include "core/structure.h"
#include "lookup/chain_blocks.h"
#include "lookup/flat_names.h"
#include "lookup/flat_policy.h"
#include "lookup/hash_seed.h"
#include "lookup/open_table.h"
#include "url/host_paths.h"
#include "url/path_index.h"
#include "url/url_rule.h"

namespace rs {

namespace {

// The place of a rule: its scheme, and its host without wildcard.
struct NodePlace {
    Text scheme;
    Text host;
};

NodePlace placeOf(const UrlRule& rule, uint32_t skipped) noexcept {
    const DomainRuleText& host = rule.rule.host;
    return {rule.rule.scheme, {host.text + skipped, host.length - skipped}};
}

// Depends on all bytes of a place, and on the seed.
uint32_t hashPlace(const HashSeed& seed, const NodePlace& place) noexcept {
    constexpr uint32_t WORD = sizeof(uint64_t);
    uint64_t hash = seed.left ^ ((uint64_t{place.scheme.length} << 32U) | place.host.length);
    const char* bytes = place.host.text;
    for (uint32_t rest = place.host.length; rest != 0;) {
        const uint32_t length = std::min(rest, WORD);
        uint64_t word = 0;
        std::memcpy(&word, bytes, length);
        hash = mixHash(hash ^ word, seed.right);
        bytes += length;
        rest -= length;
    }
    return static_cast<uint32_t>(mixHash(hash, seed.right) >> 16U);
}

bool isAt(const UrlHostNode& node, const NodePlace& place) noexcept {
    // There is one scheme to be told apart from none.
    return node.schemeLength == place.scheme.length && node.hostLength == place.host.length &&
           std::memcmp(node.host, place.host.text, place.host.length) == 0;
}

struct HostSlot {
    uint32_t hash;
    uint32_t position;  // of the node in its slab, from 1; 0 in a free slot

    [[nodiscard]] bool isTaken() const noexcept { return position != 0; }
};

// One table with its nodes while rules are entered.
struct EnteredHosts {
    HashTable*& table;
    Slab<UrlHostNode>& nodes;
    OpenTable<HostSlot> slots;
};

struct UrlBuild {
    UrlIndex& index;
    HashSeed seed;
    EnteredHosts exact;
    EnteredHosts wildcard;
};

// Fills a new node. False for a host that no node can have, and when memory is out.
bool fillHostNode(UrlHostNode& node, TextSlab& texts, const NodePlace& place) noexcept {
    if (place.host.length == 0 || place.host.length > MAX_STORED_LENGTH) {
        return false;
    }
    char* text = newText(texts, size_t{place.host.length} + place.scheme.length);
    if (text == nullptr) {
        return false;
    }
    node.host = text;
    node.hostLength = place.host.length;
    node.hash = urlHostHash(place.host.text, place.host.length);
    text = std::copy_n(place.host.text, place.host.length, text);
    if (place.scheme.length != 0) {
        node.scheme = text;
        node.schemeLength = place.scheme.length;
        std::copy_n(place.scheme.text, place.scheme.length, text);
    }
    return true;
}

// Null for a host that no node can have, and when memory is out.
UrlHostNode* addHostNode(EnteredHosts& hosts, TextSlab& texts, const NodePlace& place,
                         uint32_t hash) noexcept {
    UrlHostNode* node = hosts.slots.reserveOne() ? newRecord(hosts.nodes) : nullptr;
    if (node == nullptr) {
        return nullptr;
    }
    if (!fillHostNode(*node, texts, place)) {
        takeBackRecord(hosts.nodes);
        return nullptr;
    }
    hosts.slots.add({hash, hosts.nodes.count});
    hashAdd(*hosts.table, node->hash, [node](HashBucket& bucket) noexcept {
        auto* head = static_cast<UrlHostNode*>(bucket.chain);
        pushSingleNode(head, *node);
        bucket.chain = head;
    });
    return node;
}

// The node of a place, made when there is none; null as addHostNode.
UrlHostNode* ensureHostNode(UrlBuild& build, EnteredHosts& hosts, const NodePlace& place) noexcept {
    const uint32_t hash = hashPlace(build.seed, place);
    const HostSlot* slot = hosts.slots.find(hash, [&](const HostSlot& taken) noexcept {
        return isAt(recordAt(hosts.nodes, taken.position - 1), place);
    });
    return slot != nullptr ? &recordAt(hosts.nodes, slot->position - 1)
                           : addHostNode(hosts, build.index.records.texts, place, hash);
}

// False for a path that no entry can have, and when memory is out.
bool addPath(UrlRecords& records, UrlHostNode& node, const UrlRule& rule,
             uint32_t ruleIndex) noexcept {
    UrlPathEntry* entry = makePathEntry(records.enteredPaths, records.texts, rule, ruleIndex);
    if (entry == nullptr) {
        return false;
    }
    pushToChain(node.paths, entry);
    ++node.pathCount;
    return true;
}

// Counts a rule that has no node or no entry, unless its host or path is what none can have.
void countLeftOut(UrlIndex& index, const NodePlace& place, const UrlRule& rule) noexcept {
    const bool isStorable = place.host.length != 0 && place.host.length <= MAX_STORED_LENGTH &&
                            rule.rule.path.length <= MAX_STORED_LENGTH;
    index.leftOut += isStorable ? 1 : 0;
}

// Enters a rule into a table of the index, which is created when needed. False only when that fails.
bool insertUrlRule(UrlBuild& build, EnteredHosts& hosts, const UrlRule& rule, uint32_t skipped,
                   uint32_t ruleIndex) noexcept {
    if (!ensureHashTable(hosts.table, URL_BUCKETS)) {
        return false;
    }
    const NodePlace place = placeOf(rule, skipped);
    UrlHostNode* node = ensureHostNode(build, hosts, place);
    if (node == nullptr || !addPath(build.index.records, *node, rule, ruleIndex)) {
        countLeftOut(build.index, place, rule);
    }
    return true;
}

// Null when memory is out.
UrlHostNode* makeAnyHost(TextSlab& texts, const NodePlace& place) noexcept {
    OwnedMemory<UrlHostNode> node(allocateRecord<UrlHostNode>());
    return node && fillHostNode(*node, texts, place) ? node.release() : nullptr;
}

// Deliberate: rules for "*" share one node, which has the scheme of the first of them; no lookup
// asks for it.
void enterAnyHost(UrlIndex& index, const UrlRule& rule, uint32_t ruleIndex) noexcept {
    const NodePlace place = placeOf(rule, 0);
    if (index.anyHost == nullptr) {
        index.anyHost = makeAnyHost(index.records.texts, place);
    }
    if (index.anyHost == nullptr || !addPath(index.records, *index.anyHost, rule, ruleIndex)) {
        countLeftOut(index, place, rule);
    }
}

bool enterUrlRule(UrlBuild& build, const UrlRule& rule, uint32_t ruleIndex) noexcept {
    const DomainRuleText& host = rule.rule.host;
    if ((host.flags & DOMAIN_RULE_WILDCARD) == 0) {
        return insertUrlRule(build, build.exact, rule, 0, ruleIndex);
    }
    if (host.length == 1) {
        enterAnyHost(build.index, rule, ruleIndex);
        return true;
    }
    if (host.length <= WILDCARD_LENGTH) {
        return true;  // nothing is left after the wildcard
    }
    return insertUrlRule(build, build.wildcard, rule, WILDCARD_LENGTH, ruleIndex);
}

bool enterUrlRules(UrlIndex& index, RuleSet& set) noexcept {
    UrlRecords& records = index.records;
    sizeSlab(records.enteredExact, set.urlRules.ruleCount);
    sizeSlab(records.enteredWildcard, set.urlRules.ruleCount);
    sizeSlab(records.enteredPaths, set.urlRules.ruleCount);
    UrlBuild build{index,
                   newHashSeed(),
                   {index.exactHosts, records.enteredExact, {}},
                   {index.wildcardHosts, records.enteredWildcard, {}}};
    return forEachRule<UrlRule>(set.urlRules,
                                [&](const UrlRule& rule, uint32_t ruleIndex) noexcept {
                                    return enterUrlRule(build, rule, ruleIndex);
                                });
}

uint32_t countNodes(const HashTable* table) noexcept {
    return table == nullptr ? 0 : table->elementCount;
}

template <typename Record, typename Visit>
void forEachRecord(const Slab<Record>& slab, const Visit& visit) noexcept {
    for (uint32_t i = 0; i < slab.count; ++i) {
        visit(recordAt(slab, i));
    }
}

// The length of the block that nodes begin with: a lookup tests the scheme on the first node of a
// block, so a block holds one scheme only. One host under both schemes is found under both.
uint32_t hostBlockLength(const UrlHostNode* nodes, uint32_t count) noexcept {
    const uint32_t most = std::min(count, MAX_HOST_BLOCK);
    uint32_t length = 1;
    while (length < most && nodes[length].schemeLength == nodes[0].schemeLength) {
        ++length;
    }
    return length;
}

// Makes a chain of nodes that are side by side in chain order. The head is alone, and so are all nodes
// unless the chain is crowded.
void linkHostChain(UrlHostNode* nodes, uint32_t count) noexcept {
    uint32_t length = 1;
    for (uint32_t first = 0; first < count;) {
        std::sort(nodes + first, nodes + first + length,
                  [](const UrlHostNode& left, const UrlHostNode& right) noexcept {
                      return compareHashedNames(hostOf(left), hostOf(right)) < 0;
                  });
        UrlHostNode& node = nodes[first];
        first += length;
        if (first < count) {
            length = count < CROWDED_CHAIN ? 1 : hostBlockLength(nodes + first, count - first);
            node.next = nodes + first;
            node.nextCount = length;
        }
    }
}

// Moves the nodes of a table to room, bucket by bucket, and links their chains. A chain runs from the
// newest node to the oldest, so they are taken from the last on.
// ends has a number for each bucket.
void moveHosts(const Slab<UrlHostNode>& entered, HashTable& table, UrlHostNode* room,
               uint32_t* ends) noexcept {
    std::fill_n(ends, URL_BUCKETS, 0);
    forEachRecord(entered,
                  [ends](const UrlHostNode& node) noexcept { ++ends[node.hash % URL_BUCKETS]; });
    std::exclusive_scan(ends, ends + URL_BUCKETS, ends, 0U);
    // Each number is where its bucket begins, and moves on to where it ends.
    for (uint32_t i = entered.count; i-- > 0;) {
        const UrlHostNode& node = recordAt(entered, i);
        UrlHostNode& moved = room[ends[node.hash % URL_BUCKETS]++];
        moved = node;
        moved.next = nullptr;
        moved.nextCount = 0;
    }
    uint32_t start = 0;
    for (uint32_t i = 0; i < URL_BUCKETS; ++i) {
        linkHostChain(room + start, ends[i] - start);
        table.buckets[i].chain = ends[i] == start ? nullptr : room + start;
        start = ends[i];
    }
}

// Moves all nodes to where they stay. Without memory for that they stay in chains of single nodes.
void packHosts(UrlIndex& index) noexcept {
    UrlRecords& records = index.records;
    const size_t exactCount = records.enteredExact.count;
    if (exactCount + records.enteredWildcard.count == 0) {
        return;
    }
    const OwnedMemory<uint32_t[]> ends(allocateArray<uint32_t>(URL_BUCKETS));
    if (!ends) {
        return;
    }
    records.nodes = allocateLines<UrlHostNode>(exactCount + records.enteredWildcard.count);
    if (records.nodes == nullptr) {
        return;
    }
    if (index.exactHosts != nullptr) {
        moveHosts(records.enteredExact, *index.exactHosts, records.nodes, ends.get());
    }
    if (index.wildcardHosts != nullptr) {
        moveHosts(records.enteredWildcard, *index.wildcardHosts, records.nodes + exactCount,
                  ends.get());
    }
    freeSlab(records.enteredExact);
    freeSlab(records.enteredWildcard);
}

// How many hosts have their entry in a front, when the fronts are filled.
size_t countInFronts(const PathIndex& paths, const UrlHostNode* nodes) noexcept {
    size_t count = 0;
    for (uint32_t rank = 0; rank < countHosts(paths.hosts); ++rank) {
        count += hasOneEntry(nodes[numberOfRank(paths.hosts, rank)]) ? 1 : 0;
    }
    return count;
}

// Moves the paths of all hosts to where they stay. With an index of paths, the fronts are before them. Without memory
// for that they stay in their lists, and it is false.
bool packAllPaths(UrlIndex& index, PathIndex* paths) noexcept {
    UrlRecords& records = index.records;
    size_t frontWords = 0;
    size_t inFronts = 0;
    if (paths != nullptr) {
        frontWords = countHosts(paths->hosts) * URL_FRONT_WORDS;
        inFronts = countInFronts(*paths, records.nodes);
    }
    records.paths = allocateLines<UrlPathWord>(
        frontWords + packedPathWords(records.enteredPaths.count - inFronts));
    if (records.paths == nullptr) {
        return false;
    }
    if (paths != nullptr) {
        fillFronts(*paths, records.nodes, records.paths);
    }
    PathRoom room{records.paths, frontWords};
    const auto pack = [&](UrlHostNode& node) noexcept {
        if (paths == nullptr || !isInFront(*paths, node)) {
            packPaths(node, room);
        }
    };
    if (index.anyHost != nullptr) {
        pack(*index.anyHost);
    }
    const uint32_t nodeCount = countNodes(index.exactHosts) + countNodes(index.wildcardHosts);
    for (uint32_t i = 0; records.nodes != nullptr && i < nodeCount; ++i) {
        pack(records.nodes[i]);
    }
    forEachRecord(records.enteredExact, pack);
    forEachRecord(records.enteredWildcard, pack);
    freeSlab(records.enteredPaths);
    return true;
}

// Builds the names of the wildcard hosts, and links all places to those above. places has the places
// of their nodes. False when memory is out.
bool linkWildcardHosts(UrlIndex& index, PathIndex& paths, const uint32_t* places,
                       uint32_t exactCount, uint32_t nodeCount) noexcept {
    const UrlHostNode* nodes = index.records.nodes;
    const auto addNames = [=](const auto& add) noexcept {
        for (uint32_t i = exactCount; i < nodeCount; ++i) {
            if (places[i] != NO_RECORD &&
                !add(FlatName{nodes[i].host, nodes[i].hostLength, NO_RECORD, places[i]})) {
                return false;
            }
        }
        return true;
    };
    index.hostNames = buildFlatNames(NameForm::DOTTED, nodeCount - exactCount, addNames,
                                     [&paths](uint32_t own, uint32_t above) noexcept {
                                         linkPlace(paths, own, above);
                                         return own;
                                     });
    if (index.hostNames == nullptr) {
        return false;
    }
    for (uint32_t rank = 0; rank < countHosts(paths.hosts); ++rank) {
        const UrlHostNode& node = nodes[numberOfRank(paths.hosts, rank)];
        const uint32_t above = findFlatName(*index.hostNames, node.host, node.hostLength);
        if (above != NO_RECORD) {
            linkHost(paths, rank, above);
        }
    }
    return true;
}

// Packs all paths, and builds the flat lookups with them. Without memory for all of those, the ordered structures are
// asked.
void packFlatUrls(UrlIndex& index) noexcept {
    const uint32_t exactCount = countNodes(index.exactHosts);
    const uint32_t nodeCount = exactCount + countNodes(index.wildcardHosts);
    const OwnedMemory<uint32_t[]> places(allocateArray<uint32_t>(nodeCount));
    const bool hasNodes = nodeCount == 0 || (index.records.nodes != nullptr && places);
    const size_t mostWords =
        nodeCount * URL_FRONT_WORDS + packedPathWords(index.records.enteredPaths.count);
    OwnedPathIndex paths(hasNodes && mostWords < NO_RECORD ? startPathIndex(index, places.get())
                                                           : nullptr);
    if (packAllPaths(index, paths.get()) && paths && finishPathIndex(*paths, index, places.get()) &&
        (nodeCount == exactCount ||
         linkWildcardHosts(index, *paths, places.get(), exactCount, nodeCount))) {
        dropNumbers(paths->hosts);
        index.pathIndex = paths.release();
    }
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
    packHosts(*index);
    if (wantsFlat(set->urlRules.ruleCount, FLAT_URLS)) {
        packFlatUrls(*index);
    } else {
        static_cast<void>(packAllPaths(*index, nullptr));
    }
    return group->urlIndex = index.release();
}

}  // namespace rs
