#include "ip/ip_index.h"

#include <cstddef>

#include "core/chain.h"
#include "core/memory.h"
#include "core/structure.h"
#include "syntax/address128.h"

namespace rs {

namespace {

// Where an interval is in relation to the key of a node.
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
void freeEntry(const ReleaseInfo& info, Entry* entry) noexcept {
    callReleaseCallback(info.releaseCallback, info.releaseContext, entry->userData,
                        entry->entryFlags);
    freeMemory(entry);
}

template <typename Entry>
void freeNodeContent(const ReleaseInfo* info, void* key, void* firstEntry) noexcept {
    auto* first = static_cast<Entry*>(firstEntry);
    freeChain(first, [info](Entry* entry) noexcept { freeEntry(*info, entry); });
    freeMemory(key);
}

void freeHostTable(HashTable** hostTable, const ReleaseInfo& info) noexcept {
    forEachBucket(*hostTable, [&info](HashBucket& bucket) noexcept {
        freeList(bucket.list,
                 [&info](ListLink* link) noexcept { freeEntry(info, hostEntryOf(link)); });
    });
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
    freeNodeContent<AddressEntry>(info, key, firstEntry);
}

void releaseRangeEntries32(const ReleaseInfo* info, void* key, void* firstEntry) noexcept {
    freeNodeContent<RangeEntry<uint32_t>>(info, key, firstEntry);
}

void releaseRangeEntries128(const ReleaseInfo* info, void* key, void* firstEntry) noexcept {
    freeNodeContent<RangeEntry<Address128>>(info, key, firstEntry);
}

void releaseIpRuleTable(IpRuleTable** slot, const ReleaseInfo* info) noexcept {
    IpRuleTable* table = dropFromSlot(slot);
    if (table == nullptr) {
        return;
    }
    if (table->hostTable != nullptr) {
        freeHostTable(&table->hostTable, *info);
    }
    freeSearchTree(table->ipv4RangeTree);
    freeSearchTree(table->ipv6HostTree);
    freeSearchTree(table->ipv6RangeTree);
    freeMemory(table);
}

}  // namespace rs
