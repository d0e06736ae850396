#include "url/url_index.h"

#include <ruleset.h>

#include "core/chain.h"
#include "core/memory.h"
#include "core/structure.h"
#include "domain/host_name.h"
#include "lookup/chain_blocks.h"

namespace rs {

namespace {

constexpr uint32_t HASH_FACTOR = 3571;

// Hosts are stored up to MAX_STORED_LENGTH, but no rule has one over MAX_HOST_LENGTH.
static_assert(largestNameHash(MAX_HOST_LENGTH, HASH_FACTOR) <= INT32_MAX,
              "hosts are sorted and searched by the sign of a wrapping difference");

void releaseEntry(UrlPathEntry& entry, const ReleaseInfo& info) noexcept {
    freeMemory(entry.path);
    callReleaseCallback(info.releaseCallback, info.releaseContext, entry.userData,
                        ENTRY_RELEASES_USER_DATA);
}

void freePathBlock(UrlPathBlock* block, const ReleaseInfo& info) noexcept {
    for (int32_t i = 0; i < block->count; ++i) {
        releaseEntry(entriesOf(block)[i], info);
    }
    freeMemory(block);
}

// Frees what a chain of nodes owns, and the nodes.
void freeHostChain(UrlHostNode* head, const ReleaseInfo& info) noexcept {
    freeBlocks(head, [&info](const ChainBlock<UrlHostNode>&, UrlHostNode& node) noexcept {
        freeChain(node.paths, [&info](UrlPathEntry* entry) noexcept {
            releaseEntry(*entry, info);
            freeMemory(entry);
        });
        freeChain(node.pathBlocks,
                  [&info](UrlPathBlock* block) noexcept { freePathBlock(block, info); });
        freeMemory(node.scheme);
        freeMemory(node.host);
    });
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

void countHostBucket(const HashBucket& bucket, UrlStatistics& statistics) noexcept {
    for (auto block = firstBlock(static_cast<UrlHostNode*>(bucket.chain)); block.first != nullptr;
         block = nextBlock(block)) {
        for (uint32_t i = 0; i < block.count; ++i) {
            countHost(block.first[i], statistics);
        }
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
    freeHostChain(index->anyHost, *info);
    for (HashTable** table : {&index->exactHosts, &index->wildcardHosts}) {
        forEachBucket(*table, [info](HashBucket& bucket) noexcept {
            freeHostChain(static_cast<UrlHostNode*>(bucket.chain), *info);
        });
        hashDestroy(table);
    }
    freeMemory(index);
}

UrlStatistics countUrlRules(const UrlIndex& index) noexcept {
    UrlStatistics statistics{};
    if (index.anyHost != nullptr) {
        countHost(*index.anyHost, statistics);
    }
    for (const HashTable* table : {index.exactHosts, index.wildcardHosts}) {
        forEachBucket(table, [&statistics](HashBucket& bucket) noexcept {
            countHostBucket(bucket, statistics);
        });
    }
    return statistics;
}

}  // namespace rs
