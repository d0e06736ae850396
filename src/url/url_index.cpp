#include "url/url_index.h"

#include <ruleset.h>

#include "core/lines.h"
#include "core/memory.h"
#include "core/structure.h"
#include "domain/host_name.h"
#include "lookup/chain_blocks.h"
#include "lookup/flat_names.h"
#include "url/path_index.h"

namespace rs {

namespace {

constexpr uint32_t HASH_FACTOR = 3571;

// Hosts are stored up to MAX_STORED_LENGTH, but no rule has one over MAX_HOST_LENGTH.
static_assert(largestNameHash(MAX_HOST_LENGTH, HASH_FACTOR) <= INT32_MAX,
              "hosts are sorted and searched by the sign of a wrapping difference");

void giveBack(const UrlPathEntry& entry, const ReleaseInfo& info) noexcept {
    callReleaseCallback(info.releaseCallback, info.releaseContext, entry.userData,
                        ENTRY_RELEASES_USER_DATA);
}

// Visits the nodes of a chain, packed or not.
template <typename Visit>
void forEachHost(UrlHostNode* head, const Visit& visit) noexcept {
    for (auto block = firstBlock(head); block.first != nullptr; block = nextBlock(block)) {
        for (uint32_t i = 0; i < block.count; ++i) {
            visit(block.first[i]);
        }
    }
}

// Gives back the userData of all entries of a chain, from the newest node on.
void giveBackChain(UrlHostNode* head, const ReleaseInfo& info) noexcept {
    forEachHost(head, [&info](const UrlHostNode& node) noexcept {
        for (const UrlPathEntry* entry = node.paths; entry != nullptr; entry = entry->next) {
            giveBack(*entry, info);
        }
        for (const UrlPathBlock* block = node.pathBlocks; block != nullptr; block = block->next) {
            for (int32_t i = 0; i < block->count; ++i) {
                giveBack(entriesOf(block)[i], info);
            }
        }
    });
}

void giveBackUserData(const UrlIndex& index, const ReleaseInfo& info) noexcept {
    giveBackChain(index.anyHost, info);
    for (const HashTable* table : {index.exactHosts, index.wildcardHosts}) {
        forEachBucket(table, [&info](const HashBucket& bucket) noexcept {
            giveBackChain(static_cast<UrlHostNode*>(bucket.chain), info);
        });
    }
}

void freeRecords(UrlRecords& records) noexcept {
    freeSlab(records.enteredExact);
    freeSlab(records.enteredWildcard);
    freeSlab(records.enteredPaths);
    freeLines(records.nodes);
    freeLines(records.paths);
    freeTextSlab(records.texts);
}

void countHost(const UrlHostNode& node, UrlStatistics& statistics) noexcept {
    ++statistics.hosts;
    for (const UrlPathEntry* entry = node.paths; entry != nullptr; entry = entry->next) {
        ++statistics.paths;
    }
    for (const UrlPathBlock* block = node.pathBlocks; block != nullptr; block = block->next) {
        statistics.paths += static_cast<uint32_t>(block->count);
    }
}

}  // namespace

uint32_t urlHostHash(const char* host, uint32_t length) noexcept {
    uint32_t hash = 0;
    for (uint32_t i = 0; i < length; ++i) {
        hash = addToNameHash(hash, host[i], HASH_FACTOR);
    }
    return hash;
}

void releaseUrlIndex(UrlIndex** slot, const ReleaseInfo* info) noexcept {
    UrlIndex* index = dropLastFromSlot(slot);
    if (index == nullptr) {
        return;
    }
    if (info->releaseCallback != nullptr) {
        giveBackUserData(*index, *info);
    }
    hashDestroy(&index->exactHosts);
    hashDestroy(&index->wildcardHosts);
    freeMemory(index->anyHost);
    freePathIndex(index->pathIndex);
    freeFlatNames(index->hostNames);
    freeRecords(index->records);
    freeMemory(index);
}

UrlStatistics countUrlRules(const UrlIndex& index) noexcept {
    UrlStatistics statistics{};
    if (index.anyHost != nullptr) {
        countHost(*index.anyHost, statistics);
    }
    for (const HashTable* table : {index.exactHosts, index.wildcardHosts}) {
        forEachBucket(table, [&statistics](const HashBucket& bucket) noexcept {
            forEachHost(
                static_cast<UrlHostNode*>(bucket.chain),
                [&statistics](const UrlHostNode& node) noexcept { countHost(node, statistics); });
        });
    }
    return statistics;
}

}  // namespace rs
