#include "lookup/hash_table.h"

#include <ruleset.h>

#include "core/reference_count.h"

namespace rs {

namespace {

HashBucket* bucketFor(const HashTable* table, uint32_t hash) noexcept {
    if (table == nullptr || table->bucketCount == 0) {
        return nullptr;
    }
    return &table->buckets[hash % table->bucketCount];
}

bool allocateBuckets(HashTable& table) noexcept {
    if (table.bucketCount == 0) {
        return true;
    }
    table.buckets = allocateArray<HashBucket>(table.bucketCount);
    if (table.buckets == nullptr) {
        return false;
    }
    for (uint32_t i = 0; i < table.bucketCount; ++i) {
        resetList(table.buckets[i].list);
    }
    if (table.kind == HASH_KIND_PLAIN) {
        return true;
    }
    uint32_t*& sideArray = table.sideArrays[table.kind - 1];
    sideArray = allocateArray<uint32_t>(table.bucketCount);
    return sideArray != nullptr;
}

}  // namespace

HashTable* hashCreate(int32_t bucketCount, int32_t kind) noexcept {
    if (bucketCount < 0 || kind < HASH_KIND_PLAIN || kind > HASH_KIND_LAST) {
        return nullptr;
    }
    OwnedHashTable table(allocateRecord<HashTable>());
    if (!table) {
        return nullptr;
    }
    table->bucketCount = static_cast<uint32_t>(bucketCount);
    table->kind = static_cast<uint32_t>(kind);
    return allocateBuckets(*table) ? table.release() : nullptr;
}

bool ensureHashTable(HashTable*& table, int32_t bucketCount) noexcept {
    if (table == nullptr) {
        table = hashCreate(bucketCount, HASH_KIND_PLAIN);
    }
    return table != nullptr;
}

int32_t hashInsert(HashTable* table, uint32_t hash, void* item,
                   HashInsertCallback callback) noexcept {
    HashBucket* bucket = bucketFor(table, hash);
    if (bucket == nullptr || callback == nullptr) {
        return RULE_ERR_INVALID_ARG;
    }
    if (callback(bucket, item) != item) {
        return RULE_ERR_EXISTS;
    }
    return static_cast<int32_t>(incrementCount(table->elementCount));
}

void* hashLookup(const HashTable* table, uint32_t hash, const void* key,
                 HashLookupCallback callback) noexcept {
    HashBucket* bucket = bucketFor(table, hash);
    if (bucket == nullptr || callback == nullptr) {
        return bucket;
    }
    return callback(bucket, hash, key);
}

int32_t hashVisitBucket(HashTable* table, uint32_t hash, void* argument,
                        HashVisitCallback callback) noexcept {
    HashBucket* bucket = bucketFor(table, hash);
    if (bucket == nullptr || callback == nullptr) {
        return RULE_ERR_INVALID_ARG;
    }
    return callback(bucket, argument, &table->elementCount);
}

void* hashRemove(HashTable* table, uint32_t hash, const void* key,
                 HashRemoveCallback callback) noexcept {
    HashBucket* bucket = bucketFor(table, hash);
    void* removed = nullptr;
    if (bucket == nullptr || callback == nullptr || callback(bucket, key, &removed) != 0) {
        return nullptr;
    }
    decrementCount(table->elementCount);
    return removed;
}

int32_t hashVisitAll(HashTable* table, void* argument, HashVisitCallback callback) noexcept {
    if (table == nullptr || (callback == nullptr && table->bucketCount != 0)) {
        return RULE_ERR_INVALID_ARG;
    }
    for (uint32_t i = 0; i < table->bucketCount; ++i) {
        const int32_t answer = callback(&table->buckets[i], argument, &table->elementCount);
        if (answer != 0) {
            return answer;
        }
    }
    return 0;
}

uint32_t hashBucketIndex(const HashTable* table, uint32_t hash) noexcept {
    if (table == nullptr || table->bucketCount == 0) {
        return static_cast<uint32_t>(RULE_ERR_INVALID_ARG);
    }
    return hash % table->bucketCount;
}

void hashDestroy(HashTable** table) noexcept {
    if (table == nullptr || *table == nullptr) {
        return;
    }
    freeMemory((*table)->buckets);
    for (uint32_t* sideArray : (*table)->sideArrays) {
        freeMemory(sideArray);
    }
    freeMemory(*table);
    *table = nullptr;
}

}  // namespace rs
