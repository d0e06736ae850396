// The structures in which rules with two endpoints are filed by their first address. Both types of
// such rules use them, each with an Entry of its own.
//
//   EntryList          entry -> entry -> ...                         every first address
//   exact hash table   ExactAddressNode 10.0.0.1  -> entry -> ...    one first address
//   BlockIndex         [10] -> [0] -> span 0-ffff -> span 5-9 ...    a range of IPv4 addresses, one
//                              [1] -> span 0-5                       node for each /16 block of it
//   RangeList          bucket low-high -> entry -> ...               a range of 128-bit addresses
//                      bucket low-high -> entry -> ...
//
// Invariants: chains of entries stand in rule order; buckets of a range list stand in the order in
//             which their ranges were first entered, each range once.
// Ownership:  a structure owns everything below it; entries are freed by freeEntry of their type.
// Threads:    read-only once built. Counts of insertions are changed atomically.
// Cost:       appending is one step. Entering a range of 128 bits looks an equal one up in a
//             RangeFinder, which lives during the build only.
#pragma once

#include <ruleset.h>

#include <cstddef>
#include <cstdint>

#include "core/chain.h"
#include "core/memory.h"
#include "core/reference_count.h"
#include "lookup/address_hash.h"
#include "lookup/hash_table.h"
#include "lookup/range_finder.h"
#include "syntax/address128.h"

namespace rs {

inline constexpr int32_t ENDPOINT_BUCKETS = 4095;
inline constexpr uint32_t OCTET_VALUES = 256;

template <typename Entry>
struct EntryList {
    Chain<Entry> entries;
    uint32_t count;  // of insertions
};

template <typename Entry, typename Address>
struct ExactAddressNode {
    Chain<Entry> entries;
    ListLink links;  // in the bucket
    Address address;
};

template <typename Entry, typename Address>
ExactAddressNode<Entry, Address>* exactNodeOf(ListLink* link) noexcept {
    using Node = ExactAddressNode<Entry, Address>;
    return reinterpret_cast<Node*>(reinterpret_cast<char*>(link) - offsetof(Node, links));
}

template <typename Entry>
struct BlockSpanNode {
    Entry* entry;  // owned; a chain of one
    BlockSpanNode* next;
    uint16_t spanLow;  // low 16 bits of the addresses covered in the block
    uint16_t spanHigh;
};

template <typename Entry>
struct BlockIndex {
    using Slot = Chain<BlockSpanNode<Entry>>;
    Slot* slots[OCTET_VALUES];  // by the first octet: owned, null or OCTET_VALUES by the second
    uint32_t count;             // of insertions
};

template <typename Entry>
struct RangeBucket {
    Chain<Entry> entries;
    RangeBucket* next;
    Address128 low;
    Address128 high;
};

template <typename Entry>
struct RangeList {
    Chain<RangeBucket<Entry>> buckets;
    uint32_t count;  // of insertions
};

// Insertions. Each creates its structure when needed and takes makeEntry(), which returns a new
// entry or null. Everything else that an insertion needs is allocated first, so that an entry that
// was made always enters. False when memory is out or makeEntry failed; what was entered before
// stays.

template <typename Structure>
bool createStructure(Structure*& structure) noexcept {
    if (structure == nullptr) {
        structure = allocateRecord<Structure>();
    }
    return structure != nullptr;
}

template <typename Entry, typename MakeEntry>
bool appendMadeEntry(Chain<Entry>& chain, const MakeEntry& makeEntry) noexcept {
    Entry* entry = makeEntry();
    if (entry == nullptr) {
        return false;
    }
    chain.append(entry);
    return true;
}

template <typename Entry, typename MakeEntry>
bool insertIntoList(EntryList<Entry>*& list, const MakeEntry& makeEntry) noexcept {
    if (!createStructure(list) || !appendMadeEntry(list->entries, makeEntry)) {
        return false;
    }
    incrementCount(list->count);
    return true;
}

// The node for an address in its bucket; null without one. A lookup callback.
template <typename Entry, typename Address>
void* findExactNode(HashBucket* bucket, uint32_t /*hash*/, const void* key) noexcept {
    const auto& address = *static_cast<const Address*>(key);
    for (ListLink* link = bucket->list.next; link != &bucket->list; link = link->next) {
        auto* node = exactNodeOf<Entry, Address>(link);
        if (node->address == address) {
            return node;
        }
    }
    return nullptr;
}

template <typename Entry, typename Address, typename MakeEntry>
bool insertExact(HashTable*& table, const Address& address, const MakeEntry& makeEntry) noexcept {
    using Node = ExactAddressNode<Entry, Address>;
    if (table == nullptr) {
        table = hashCreate(ENDPOINT_BUCKETS, HASH_KIND_PLAIN);
        if (table == nullptr) {
            return false;
        }
    }
    const uint32_t hash = hashAddress(address);
    auto* found =
        static_cast<Node*>(hashLookup(table, hash, &address, findExactNode<Entry, Address>));
    if (found != nullptr) {
        return appendMadeEntry(found->entries, makeEntry);
    }
    OwnedMemory<Node> node(allocateRecord<Node>());
    if (!node || !appendMadeEntry(node->entries, makeEntry)) {
        return false;
    }
    node->address = address;
    hashAdd(*table, hash, [&node](HashBucket& bucket) noexcept {
        appendToList(bucket.list, node.release()->links);
    });
    return true;
}

// Enters one node for the addresses that [low, high] has in a /16 block.
template <typename Entry, typename MakeEntry>
bool insertBlockSpan(BlockIndex<Entry>& index, uint32_t block, uint32_t low, uint32_t high,
                     const MakeEntry& makeEntry) noexcept {
    using Slot = typename BlockIndex<Entry>::Slot;
    Slot*& slots = index.slots[block >> 8U];
    if (slots == nullptr) {
        slots = allocateArray<Slot>(OCTET_VALUES);
    }
    OwnedMemory<BlockSpanNode<Entry>> node(allocateRecord<BlockSpanNode<Entry>>());
    if (slots == nullptr || !node) {
        return false;
    }
    node->spanLow = block == low >> 16U ? static_cast<uint16_t>(low & 0xFFFFU) : 0;
    node->spanHigh = block == high >> 16U ? static_cast<uint16_t>(high & 0xFFFFU) : 0xFFFF;
    node->entry = makeEntry();
    if (node->entry == nullptr) {
        return false;
    }
    slots[block & 0xFFU].append(node.release());
    return true;
}

template <typename Entry, typename MakeEntry>
bool insertIntoBlocks(BlockIndex<Entry>*& index, uint32_t low, uint32_t high,
                      const MakeEntry& makeEntry) noexcept {
    if (!createStructure(index)) {
        return false;
    }
    for (uint32_t block = low >> 16U; block <= high >> 16U; ++block) {
        if (!insertBlockSpan(*index, block, low, high, makeEntry)) {
            return false;
        }
    }
    incrementCount(index->count);
    return true;
}

template <typename Entry, typename MakeEntry>
bool insertIntoRanges(RangeList<Entry>*& list, RangeFinder<RangeBucket<Entry>>& finder,
                      const Address128& low, const Address128& high,
                      const MakeEntry& makeEntry) noexcept {
    using Bucket = RangeBucket<Entry>;
    if (!createStructure(list)) {
        return false;
    }
    Bucket* bucket = finder.find(low, high);
    OwnedMemory<Bucket> made;
    if (bucket == nullptr) {
        made.reset(allocateRecord<Bucket>());
        if (!made || !finder.reserveOne()) {
            return false;
        }
        made->low = low;
        made->high = high;
        bucket = made.get();
    }
    if (!appendMadeEntry(bucket->entries, makeEntry)) {
        return false;
    }
    if (made) {
        finder.add(bucket);
        list->buckets.append(made.release());
    }
    incrementCount(list->count);
    return true;
}

// Frees a structure and sets the pointer to null; freeEntry(entry) frees one entry.

template <typename Entry, typename FreeEntry>
void freeEntryList(EntryList<Entry>*& list, const FreeEntry& freeEntry) noexcept {
    if (list != nullptr) {
        freeChain(list->entries.first, freeEntry);
        freeMemory(list);
        list = nullptr;
    }
}

template <typename Entry, typename Address, typename FreeEntry>
void freeExactTable(HashTable*& table, const FreeEntry& freeEntry) noexcept {
    forEachBucket(table, [&freeEntry](HashBucket& bucket) noexcept {
        freeList(bucket.list, [&freeEntry](ListLink* link) noexcept {
            auto* node = exactNodeOf<Entry, Address>(link);
            freeChain(node->entries.first, freeEntry);
            freeMemory(node);
        });
    });
    hashDestroy(&table);
}

template <typename Entry, typename FreeEntry>
void freeBlockIndex(BlockIndex<Entry>*& index, const FreeEntry& freeEntry) noexcept {
    if (index == nullptr) {
        return;
    }
    for (auto* slots : index->slots) {
        for (uint32_t i = 0; slots != nullptr && i < OCTET_VALUES; ++i) {
            freeChain(slots[i].first, [&freeEntry](BlockSpanNode<Entry>* node) noexcept {
                freeEntry(node->entry);
                freeMemory(node);
            });
        }
        freeMemory(slots);
    }
    freeMemory(index);
    index = nullptr;
}

template <typename Entry, typename FreeEntry>
void freeRanges(RangeList<Entry>*& list, const FreeEntry& freeEntry) noexcept {
    if (list == nullptr) {
        return;
    }
    freeChain(list->buckets.first, [&freeEntry](RangeBucket<Entry>* bucket) noexcept {
        freeChain(bucket->entries.first, freeEntry);
        freeMemory(bucket);
    });
    freeMemory(list);
    list = nullptr;
}

// Walks. test(entry) returns 1 for an entry that covers the endpoints, 0, or a negative status,
// which ends a walk.

template <typename Entry>
struct EntryAnswer {
    int32_t status;      // 1 with the entry, 0, or negative
    const Entry* entry;  // null unless status is 1
};

// The first entry of a chain that covers.
template <typename Entry, typename Test>
EntryAnswer<Entry> scanEntries(const Entry* first, const Test& test) noexcept {
    for (const Entry* entry = first; entry != nullptr; entry = entry->next) {
        const int32_t status = test(*entry);
        if (status != 0) {
            return {status, status == 1 ? entry : nullptr};
        }
    }
    return {0, nullptr};
}

template <typename Entry, typename Test>
EntryAnswer<Entry> scanList(const EntryList<Entry>* list, const Test& test) noexcept {
    return scanEntries<Entry>(list == nullptr ? nullptr : list->entries.first, test);
}

template <typename Entry, typename Address, typename Test>
EntryAnswer<Entry> scanExact(const HashTable* table, const Address& address,
                             const Test& test) noexcept {
    const auto* node = static_cast<const ExactAddressNode<Entry, Address>*>(
        hashLookup(table, hashAddress(address), &address, findExactNode<Entry, Address>));
    return scanEntries<Entry>(node == nullptr ? nullptr : node->entries.first, test);
}

// The nodes of one block, those that do not hold the address passed over.
template <typename Entry, typename Test>
EntryAnswer<Entry> scanBlocks(const BlockIndex<Entry>* index, uint32_t address,
                              const Test& test) noexcept {
    const auto* slots = index == nullptr ? nullptr : index->slots[address >> 24U];
    const auto* node = slots == nullptr ? nullptr : slots[(address >> 16U) & 0xFFU].first;
    const uint32_t low16 = address & 0xFFFFU;
    for (; node != nullptr; node = node->next) {
        if (low16 < node->spanLow || low16 > node->spanHigh) {
            continue;
        }
        const EntryAnswer<Entry> answer = scanEntries<Entry>(node->entry, test);
        if (answer.status != 0) {
            return answer;
        }
    }
    return {0, nullptr};
}

// Deliberate: the first range that answers wins, even over an earlier rule in a later range.
template <typename Entry, typename Test>
EntryAnswer<Entry> scanRanges(const RangeList<Entry>* list, const Address128& address,
                              const Test& test) noexcept {
    const auto* bucket = list == nullptr ? nullptr : list->buckets.first;
    for (; bucket != nullptr; bucket = bucket->next) {
        if (compareIPv6(address, bucket->low) < 0 || compareIPv6(bucket->high, address) < 0) {
            continue;
        }
        const EntryAnswer<Entry> answer = scanEntries<Entry>(bucket->entries.first, test);
        if (answer.status != 0) {
            return answer;
        }
    }
    return {0, nullptr};
}

// Puts the answer of a further structure into *result, unless what it holds is of an earlier rule.
// On equal rules the later structure's answer stands.
template <typename Entry>
void keepEarlier(const EntryAnswer<Entry>& answer, int32_t& held, MatchResult& result) noexcept {
    if (answer.status == 1 && (held == 0 || result.ruleIndex >= answer.entry->ruleIndex)) {
        const Entry& entry = *answer.entry;
        result = {entry.ruleIndex, entry.ruleValue, entry.ruleId, entry.userData};
        held = 1;
    }
}

// Asks structures one after the other, each by an operation of its own; the first negative status is
// the answer, with whatever *result holds by then.
template <typename... Ask>
int32_t combineAnswers(MatchResult& result, const Ask&... ask) noexcept {
    int32_t held = 0;
    int32_t status = 0;
    const auto askOne = [&](const auto& one) noexcept {
        const auto answer = one();
        status = answer.status;
        keepEarlier(answer, held, result);
        return status >= 0;
    };
    return (askOne(ask) && ...) ? held : status;
}

}  // namespace rs
