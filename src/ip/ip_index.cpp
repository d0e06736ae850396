#include "ip/ip_index.h"

#include <cstddef>

#include "core/lines.h"
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
void releaseEntry(const ReleaseInfo& info, const Entry& entry) noexcept {
    callReleaseCallback(info.releaseCallback, info.releaseContext, entry.userData,
                        entry.entryFlags);
}

template <typename Entry>
void releaseChain(const ReleaseInfo* info, void* firstEntry) noexcept {
    for (auto* entry = static_cast<const Entry*>(firstEntry); entry != nullptr;
         entry = entry->next) {
        releaseEntry(*info, *entry);
    }
}

void freeHostTable(HashTable** hostTable, const ReleaseInfo& info) noexcept {
    forEachBucket(*hostTable, [&info](HashBucket& bucket) noexcept {
        freeList(bucket.list,
                 [&info](ListLink* link) noexcept { releaseEntry(info, *hostEntryOf(link)); });
    });
    hashDestroy(hostTable);
}

void freeSlabs(IpRuleTable& table) noexcept {
    freeSlab(table.hostEntries);
    freeSlab(table.ipv4RangeEntries);
    freeSlab(table.addressEntries);
    freeSlab(table.ipv6RangeEntries);
    freeSlab(table.ipv4RangeNodes);
    freeSlab(table.ipv6HostNodes);
    freeSlab(table.ipv6RangeNodes);
}

void freeFlatLookups(IpRuleTable& table) noexcept {
    freeFlatHosts(table.flatIpv4Hosts);
    freeFlatHosts(table.flatIpv6Hosts);
    freeLines(table.ipv4Answers);
    freeLines(table.ipv6Answers);
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

void releaseAddressEntries(const ReleaseInfo* info, void* /*key*/, void* firstEntry) noexcept {
    releaseChain<AddressEntry>(info, firstEntry);
}

void releaseRangeEntries32(const ReleaseInfo* info, void* /*key*/, void* firstEntry) noexcept {
    releaseChain<RangeEntry<uint32_t>>(info, firstEntry);
}

void releaseRangeEntries128(const ReleaseInfo* info, void* /*key*/, void* firstEntry) noexcept {
    releaseChain<RangeEntry<Address128>>(info, firstEntry);
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
    freeSlabs(*table);
    freeFlatLookups(*table);
    freeFlatRanges(table->flatIpv4Ranges);
    freeFlatRanges(table->flatIpv6Ranges);
    freeMemory(table);
}

}  // namespace rs
