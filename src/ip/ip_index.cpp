#include "ip/ip_index.h"

#include <ruleset.h>

#include <cstddef>

#include "core/memory.h"
#include "core/reference_count.h"
#include "syntax/address128.h"

namespace rs {

namespace {

// How the interval [low, high] lies to the key of a node.
template <typename Address>
int32_t classifyInterval(const void* item, const TreeNode* node) noexcept {
    const auto& interval = *static_cast<const IntervalKey<Address>*>(item);
    const auto& key = *static_cast<const IntervalKey<Address>*>(node->key);
    if (interval.high < key.low) {
        return KEY_BELOW;
    }
    if (interval.low > key.high) {
        return KEY_ABOVE;
    }
    if (interval.low < key.low) {
        return interval.high <= key.high ? KEY_STICKS_OUT_BELOW : KEY_STICKS_OUT_BOTH;
    }
    return interval.high <= key.high ? KEY_INSIDE : KEY_STICKS_OUT_ABOVE;
}

template <typename Entry>
void releaseEntryList(const ReleaseInfo* info, void* key, void* firstEntry) noexcept {
    auto* entry = static_cast<Entry*>(firstEntry);
    while (entry != nullptr) {
        Entry* next = entry->next;
        callReleaseCallback(info->releaseCallback, info->releaseContext, entry->userData,
                            entry->entryFlags);
        freeMemory(entry);
        entry = next;
    }
    freeMemory(key);
}

// Frees the entries of a bucket; a visitor of the host table.
int32_t releaseHostBucket(HashBucket* bucket, void* argument, uint32_t* elementCount) noexcept {
    const auto* info = static_cast<const ReleaseInfo*>(argument);
    freeList(bucket->list, [info, elementCount](ListLink* link) noexcept {
        HostEntry* entry = hostEntryOf(link);
        callReleaseCallback(info->releaseCallback, info->releaseContext, entry->userData,
                            entry->entryFlags);
        freeMemory(entry);
        decrementCount(*elementCount);
    });
    return 0;
}

void freeHostTable(HashTable** hostTable, const ReleaseInfo* info) noexcept {
    ReleaseInfo callbackInfo = *info;
    hashVisitAll(*hostTable, &callbackInfo, releaseHostBucket);
    hashDestroy(hostTable);
}

}  // namespace

HostEntry* hostEntryOf(ListLink* link) noexcept {
    return reinterpret_cast<HostEntry*>(reinterpret_cast<char*>(link) - offsetof(HostEntry, links));
}

int32_t compareAddressKey(const void* key, const TreeNode* node) noexcept {
    return compareIPv6(*static_cast<const Address128*>(key),
                       *static_cast<const Address128*>(node->key));
}

int32_t classifyInterval32(const void* key, const TreeNode* node) noexcept {
    return classifyInterval<uint32_t>(key, node);
}

int32_t classifyInterval128(const void* key, const TreeNode* node) noexcept {
    return classifyInterval<Address128>(key, node);
}

void releaseAddressEntries(const ReleaseInfo* info, void* key, void* firstEntry) noexcept {
    releaseEntryList<AddressEntry>(info, key, firstEntry);
}

void releaseRangeEntries32(const ReleaseInfo* info, void* key, void* firstEntry) noexcept {
    releaseEntryList<RangeEntry<uint32_t>>(info, key, firstEntry);
}

void releaseRangeEntries128(const ReleaseInfo* info, void* key, void* firstEntry) noexcept {
    releaseEntryList<RangeEntry<Address128>>(info, key, firstEntry);
}

void releaseIpRuleTable(IpRuleTable** slot, const ReleaseInfo* info) noexcept {
    if (slot == nullptr || *slot == nullptr) {
        return;
    }
    IpRuleTable* table = *slot;
    *slot = nullptr;
    if (!dropReference(table->refCount)) {
        return;
    }
    if (table->hostTable != nullptr) {
        freeHostTable(&table->hostTable, info);
    }
    freeSearchTree(table->ipv4RangeTree);
    freeSearchTree(table->ipv6HostTree);
    freeSearchTree(table->ipv6RangeTree);
    freeMemory(table);
}

}  // namespace rs
