#include "domain/domain_index.h"

#include <ruleset.h>

#include "core/memory.h"
#include "core/structure.h"
#include "domain/host_name.h"
#include "lookup/chain_blocks.h"

namespace rs {

namespace {

constexpr uint32_t HASH_FACTOR = 1999;
constexpr uint32_t MAX_WIRE_LABEL = 255;

static_assert(largestNameHash(MAX_HOST_LENGTH, HASH_FACTOR) <= INT32_MAX,
              "names are sorted and searched by the sign of a wrapping difference");

void freeMatchAll(DomainEntry* entry, const ReleaseInfo& info) noexcept {
    if (entry == nullptr) {
        return;
    }
    callReleaseCallback(info.releaseCallback, info.releaseContext, entry->userData,
                        entry->releaseFlags);
    freeMemory(entry->name);
    freeMemory(entry);
}

void releaseDomainChain(const HashBucket& bucket, const ReleaseInfo& info) noexcept {
    forEachBlock(static_cast<DomainEntry*>(bucket.chain),
                 [&info](const ChainBlock<DomainEntry>& block) noexcept {
                     callReleaseCallback(info.releaseCallback, info.releaseContext,
                                         block.first->userData, ENTRY_RELEASES_USER_DATA);
                 });
}

void releaseDomainTable(const HashTable* table, const ReleaseInfo& info) noexcept {
    if (info.releaseCallback != nullptr) {
        forEachBucket(table,
                      [&info](HashBucket& bucket) noexcept { releaseDomainChain(bucket, info); });
    }
}

uint64_t countDomainChain(const HashBucket& bucket) noexcept {
    uint64_t count = 0;
    forEachBlock(static_cast<DomainEntry*>(bucket.chain),
                 [&count](const ChainBlock<DomainEntry>& block) noexcept { count += block.count; });
    return count;
}

}  // namespace

uint32_t hashWireName(const char* wireName, uint32_t wireLength) noexcept {
    if (wireLength < 2) {
        return 0;
    }
    uint32_t hash = 0;
    uint32_t labelEnd = 0;
    for (uint32_t i = 0; i < wireLength; ++i) {
        if (i == labelEnd) {
            labelEnd += static_cast<uint8_t>(wireName[i]) + 1U;
        } else {
            hash = addToNameHash(hash, wireName[i], HASH_FACTOR);
        }
    }
    return hash;
}

bool makeWireName(char* buffer, uint32_t length) noexcept {
    uint32_t lengthByte = 0;
    for (uint32_t i = 1; i <= length + 1; ++i) {
        if (i <= length && buffer[i] != '.') {
            continue;
        }
        const uint32_t labelLength = i - lengthByte - 1;
        if (labelLength == 0 || labelLength > MAX_WIRE_LABEL) {
            return false;
        }
        buffer[lengthByte] = static_cast<char>(labelLength);
        lengthByte = i;
    }
    buffer[length + 1] = 0;
    return true;
}

void releaseDomainIndex(DomainIndex** slot, const ReleaseInfo* info) noexcept {
    DomainIndex* index = dropLastFromSlot(slot);
    if (index == nullptr) {
        return;
    }
    freeMatchAll(index->matchAll, *info);
    for (HashTable** table : {&index->exactTable, &index->wildcardTable}) {
        releaseDomainTable(*table, *info);
        hashDestroy(table);
    }
    freeFlatNames(index->flatNames);
    freeSlab(index->entered);
    freeSlab(index->entries);
    freeTextSlab(index->names);
    freeMemory(index);
}

uint64_t countDomainEntries(const DomainIndex& index) noexcept {
    uint64_t count = 0;
    for (const HashTable* table : {index.exactTable, index.wildcardTable}) {
        forEachBucket(table,
                      [&count](HashBucket& bucket) noexcept { count += countDomainChain(bucket); });
    }
    return count;
}

}  // namespace rs
