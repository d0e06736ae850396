// A chained hash table whose chains are laid out by its user.
//
//     HashTable
//       buckets   [0]  chain -> element -> element -> null      a user of chains leaves list empty,
//                      list                                     a user of lists leaves chain null
//                 [1]  chain
//                      list <-> element <-> element <-> list
//                 ...
//
// An element with hash h belongs in bucket h % bucketCount. The table knows neither elements nor
// keys. It picks the bucket, and a callback of its user searches or changes what is in the bucket.
// A callback's first line casts its void pointers to what they are.
//
// Invariants: bucketCount never changes. elementCount is the number of inserts minus removals; a
//             user who empties the buckets before hashDestroy need not count down.
// Ownership:  the table owns its bucket array and side array. Its user owns the elements, and frees
//             them before the table.
// Threads:    lookups never write, so any number of threads may look up. elementCount is changed
//             atomically; the buckets have no lock.
// Cost:       one division, and what the callback costs.
#pragma once

#include <cstdint>

#include "core/list.h"
#include "core/memory.h"
#include "core/reference_count.h"

namespace rs {

struct HashBucket {
    void* chain;        // first element of a singly linked chain; null at first
    ListLink list;      // head of a doubly linked list; empty at first
    void* reserved[2];  // null
};

// Kinds of table: a kind from 1 to 3 carries a side array of one word per bucket, which no user of
// the table reads yet.
inline constexpr int32_t HASH_KIND_PLAIN = 0;
inline constexpr int32_t HASH_KIND_LAST = 3;

struct HashTable {
    uint32_t bucketCount;
    uint32_t elementCount;
    HashBucket* buckets;  // owned
    uint32_t kind;
    uint32_t*
        sideArrays[HASH_KIND_LAST];  // owned; sideArrays[kind - 1] exists, the others are null
};

// Links item, or an element made from it, into the bucket and returns item. Any other pointer means
// that it refuses; item is then where it notes the reason.
using HashInsertCallback = void* (*)(HashBucket* bucket, void* item) noexcept;
// Returns the element found, or null.
using HashLookupCallback = void* (*)(HashBucket* bucket, uint32_t hash, const void* key) noexcept;
// Takes an element out of the bucket, stores it in *removed and returns 0; anything else when there
// is none.
using HashRemoveCallback = int32_t (*)(HashBucket* bucket, const void* key,
                                       void** removed) noexcept;
using HashVisitCallback = int32_t (*)(HashBucket* bucket, void* argument,
                                      uint32_t* elementCount) noexcept;

// A table with empty buckets; null when bucketCount is negative, the kind is unknown, or memory is
// out. The caller frees it with hashDestroy.
[[nodiscard]] HashTable* hashCreate(int32_t bucketCount, int32_t kind) noexcept;

// Makes a plain table where there is none yet: most tables are made for their first element. False,
// with table null, when memory is out.
[[nodiscard]] bool ensureHashTable(HashTable*& table, int32_t bucketCount) noexcept;

// Returns the element count afterwards, RULE_ERR_EXISTS when the callback refused, or
// RULE_ERR_INVALID_ARG for a null table or one without buckets. The count of 2^31 elements or more is
// negative, too: a caller that may have so many asks its item whether it was refused, or uses hashAdd.
[[nodiscard]] int32_t hashInsert(HashTable* table, uint32_t hash, void* item,
                                 HashInsertCallback callback) noexcept;

// Adds an element that cannot be refused: link(bucket) links it. The table has buckets.
template <typename Link>
void hashAdd(HashTable& table, uint32_t hash, const Link& link) noexcept {
    link(table.buckets[hash % table.bucketCount]);
    incrementCount(table.elementCount);
}

// Returns what the callback found, or the bucket itself without a callback; null for a null table
// or one without buckets.
[[nodiscard]] void* hashLookup(const HashTable* table, uint32_t hash, const void* key,
                               HashLookupCallback callback) noexcept;

// Returns what the callback returns, or RULE_ERR_INVALID_ARG for a null table or one without
// buckets.
[[nodiscard]] int32_t hashVisitBucket(HashTable* table, uint32_t hash, void* argument,
                                      HashVisitCallback callback) noexcept;

// Returns the element taken out; null when there was none, and for a null table or callback.
[[nodiscard]] void* hashRemove(HashTable* table, uint32_t hash, const void* key,
                               HashRemoveCallback callback) noexcept;

// Visits the buckets in order up to the first non-zero answer, and returns that answer, or 0.
// RULE_ERR_INVALID_ARG for a null table.
[[nodiscard]] int32_t hashVisitAll(HashTable* table, void* argument,
                                   HashVisitCallback callback) noexcept;

// Visits all buckets in order: visit(bucket). A null table has none.
template <typename Visit>
void forEachBucket(const HashTable* table, const Visit& visit) noexcept {
    for (uint32_t i = 0; table != nullptr && i < table->bucketCount; ++i) {
        visit(table->buckets[i]);
    }
}

// The position of the bucket of a hash. Deliberate: a null table or one without buckets has the
// position RULE_ERR_INVALID_ARG, as an unsigned number; no table has that many buckets.
[[nodiscard]] uint32_t hashBucketIndex(const HashTable* table, uint32_t hash) noexcept;

// Frees the table but no elements, and sets *table to null. Null arguments are left alone.
void hashDestroy(HashTable** table) noexcept;

inline void freeHashTable(HashTable* table) noexcept {
    hashDestroy(&table);
}

using OwnedHashTable = Owned<HashTable, freeHashTable>;

}  // namespace rs
