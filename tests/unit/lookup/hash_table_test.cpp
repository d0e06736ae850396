#include "lookup/hash_table.h"

#include <ruleset.h>

#include <cstddef>
#include <cstdint>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

namespace rs::test {

namespace {

// An element of the singly linked chains that these tests lay out.
struct Item {
    Item* next;
    uint32_t key;
};

Item*& chainOf(HashBucket* bucket) {
    return reinterpret_cast<Item*&>(bucket->chain);
}

void* pushItem(HashBucket* bucket, void* item) noexcept {
    auto* typed = static_cast<Item*>(item);
    typed->next = chainOf(bucket);
    chainOf(bucket) = typed;
    return item;
}

void* refuseItem(HashBucket* /*bucket*/, void* /*item*/) noexcept {
    return nullptr;
}

void* keepAnother(HashBucket* bucket, void* /*item*/) noexcept {
    return bucket->chain;
}

void* findItem(HashBucket* bucket, uint32_t /*hash*/, const void* key) noexcept {
    for (Item* item = chainOf(bucket); item != nullptr; item = item->next) {
        if (item->key == *static_cast<const uint32_t*>(key)) {
            return item;
        }
    }
    return nullptr;
}

// Reports the hash through the key, which is a uint32_t to fill.
void* reportHash(HashBucket* bucket, uint32_t hash, const void* key) noexcept {
    *const_cast<uint32_t*>(static_cast<const uint32_t*>(key)) = hash;
    return bucket;
}

int32_t removeFirst(HashBucket* bucket, const void* /*key*/, void** removed) noexcept {
    Item*& chain = chainOf(bucket);
    if (chain == nullptr) {
        return RULE_ERR_FAILED;
    }
    *removed = chain;
    chain = chain->next;
    return 0;
}

// Answers what the key says, with an element in *removed that is still in the bucket.
int32_t refuseRemoval(HashBucket* bucket, const void* key, void** removed) noexcept {
    *removed = chainOf(bucket);
    return *static_cast<const int32_t*>(key);
}

struct Visits {
    std::vector<HashBucket*> buckets;
    uint32_t* elementCount = nullptr;
    size_t stopAt = SIZE_MAX;
    int32_t answer = 0;
};

int32_t recordVisit(HashBucket* bucket, void* argument, uint32_t* elementCount) noexcept {
    auto* visits = static_cast<Visits*>(argument);
    visits->buckets.push_back(bucket);
    visits->elementCount = elementCount;
    return visits->buckets.size() == visits->stopAt ? visits->answer : 0;
}

OwnedHashTable makeTable(int32_t bucketCount, int32_t kind = HASH_KIND_PLAIN) {
    return OwnedHashTable(hashCreate(bucketCount, kind));
}

TEST(HashTable, IsCreatedWithEmptyBuckets) {
    for (const int32_t bucketCount : {1, 2, 11, 4095, 4096}) {
        SCOPED_TRACE(bucketCount);
        const OwnedHashTable table = makeTable(bucketCount);
        ASSERT_NE(nullptr, table);
        EXPECT_EQ(static_cast<uint32_t>(bucketCount), table->bucketCount);
        EXPECT_EQ(0, table->elementCount);
        for (uint32_t i = 0; i < table->bucketCount; ++i) {
            HashBucket& bucket = table->buckets[i];
            ASSERT_EQ(nullptr, bucket.chain);
            ASSERT_EQ(&bucket.list, bucket.list.next);
            ASSERT_EQ(&bucket.list, bucket.list.prev);
            ASSERT_EQ(nullptr, bucket.reserved[0]);
            ASSERT_EQ(nullptr, bucket.reserved[1]);
        }
    }
}

TEST(HashTable, HasTheSideArrayOfItsKindOnly) {
    constexpr int32_t BUCKET_COUNT = 5;
    for (int32_t kind = HASH_KIND_PLAIN; kind <= HASH_KIND_LAST; ++kind) {
        SCOPED_TRACE(kind);
        const OwnedHashTable table = makeTable(BUCKET_COUNT, kind);
        ASSERT_NE(nullptr, table);
        EXPECT_EQ(static_cast<uint32_t>(kind), table->kind);
        for (int32_t i = 0; i < HASH_KIND_LAST; ++i) {
            const uint32_t* sideArray = table->sideArrays[i];
            ASSERT_EQ(i == kind - 1, sideArray != nullptr) << i;
            for (int32_t word = 0; sideArray != nullptr && word < BUCKET_COUNT; ++word) {
                EXPECT_EQ(0, sideArray[word]);
            }
        }
    }
}

TEST(HashTable, CannotHaveANegativeBucketCount) {
    EXPECT_EQ(nullptr, hashCreate(-1, HASH_KIND_PLAIN));
    EXPECT_EQ(nullptr, hashCreate(INT32_MIN, HASH_KIND_PLAIN));
}

TEST(HashTable, IsMadeOnFirstNeed) {
    HashTable* table = nullptr;
    ASSERT_TRUE(ensureHashTable(table, 11));
    const OwnedHashTable first(table);
    EXPECT_EQ(11, first->bucketCount);
    EXPECT_EQ(static_cast<uint32_t>(HASH_KIND_PLAIN), first->kind);
    EXPECT_TRUE(ensureHashTable(table, 12));
    EXPECT_EQ(first.get(), table);
}

TEST(HashTable, PicksTheBucketByHashModuloBucketCount) {
    const OwnedHashTable table = makeTable(11);
    for (const uint32_t hash : {0U, 1U, 10U, 11U, 12U, 0x7FFFFFFFU, 0x80000000U, 0xFFFFFFFFU}) {
        SCOPED_TRACE(hash);
        HashBucket* bucket = &table->buckets[hash % 11];
        EXPECT_EQ(hash % 11, hashBucketIndex(table.get(), hash));
        EXPECT_EQ(bucket, hashLookup(table.get(), hash, nullptr, nullptr));

        Item item{nullptr, hash};
        ASSERT_LT(0, hashInsert(table.get(), hash, &item, pushItem));
        EXPECT_EQ(&item, bucket->chain);

        Visits visits;
        EXPECT_EQ(0, hashVisitBucket(table.get(), hash, &visits, recordVisit));
        EXPECT_EQ(std::vector<HashBucket*>{bucket}, visits.buckets);

        EXPECT_EQ(&item, hashRemove(table.get(), hash, nullptr, removeFirst));
        EXPECT_EQ(nullptr, bucket->chain);
    }
}

TEST(HashTable, AnswersAnInsertWithTheElementCount) {
    const OwnedHashTable table = makeTable(2);
    Item items[3] = {};
    EXPECT_EQ(1, hashInsert(table.get(), 0, &items[0], pushItem));
    EXPECT_EQ(2, hashInsert(table.get(), 0, &items[1], pushItem));
    EXPECT_EQ(3, hashInsert(table.get(), 1, &items[2], pushItem));
    EXPECT_EQ(3, table->elementCount);
    // The count of 2^31 elements is a negative answer.
    table->elementCount = INT32_MAX;
    Item last{};
    EXPECT_EQ(INT32_MIN, hashInsert(table.get(), 1, &last, pushItem));
    EXPECT_EQ(&last, table->buckets[1].chain);
}

TEST(HashTable, AnswersARefusedInsertWithExists) {
    const OwnedHashTable table = makeTable(2);
    Item first{nullptr, 1};
    Item second{nullptr, 1};
    ASSERT_EQ(1, hashInsert(table.get(), 0, &first, pushItem));
    EXPECT_EQ(RULE_ERR_EXISTS, hashInsert(table.get(), 0, &second, refuseItem));
    EXPECT_EQ(RULE_ERR_EXISTS, hashInsert(table.get(), 0, &second, keepAnother));
    EXPECT_EQ(1, table->elementCount);
    // A callback that returns what it was offered accepts, even when that was there before.
    EXPECT_EQ(2, hashInsert(table.get(), 0, &first, keepAnother));
}

TEST(HashTable, CountsWhatIsAdded) {
    const OwnedHashTable table = makeTable(3);
    Item items[2] = {};
    for (uint32_t i = 0; i < 2; ++i) {
        hashAdd(*table, 4, [&](HashBucket& bucket) { pushItem(&bucket, &items[i]); });
        EXPECT_EQ(&items[i], table->buckets[1].chain);
        EXPECT_EQ(i + 1, table->elementCount);
    }
}

TEST(HashTable, HandsHashAndKeyToALookup) {
    const OwnedHashTable table = makeTable(3);
    Item items[2] = {{nullptr, 17}, {nullptr, 18}};
    ASSERT_LT(0, hashInsert(table.get(), 4, &items[0], pushItem));
    ASSERT_LT(0, hashInsert(table.get(), 4, &items[1], pushItem));
    for (const uint32_t key : {17U, 18U}) {
        EXPECT_EQ(&items[key - 17], hashLookup(table.get(), 4, &key, findItem));
    }
    const uint32_t missing = 19;
    EXPECT_EQ(nullptr, hashLookup(table.get(), 4, &missing, findItem));
    EXPECT_EQ(nullptr, hashLookup(table.get(), 5, &items[0].key, findItem));

    uint32_t reportedHash = 0;
    EXPECT_EQ(&table->buckets[1], hashLookup(table.get(), 0x10000000, &reportedHash, reportHash));
    EXPECT_EQ(0x10000000, reportedHash);
}

TEST(HashTable, CountsRemovalsThatHappened) {
    const OwnedHashTable table = makeTable(3);
    Item items[2] = {};
    ASSERT_LT(0, hashInsert(table.get(), 1, &items[0], pushItem));
    ASSERT_LT(0, hashInsert(table.get(), 1, &items[1], pushItem));
    EXPECT_EQ(nullptr, hashRemove(table.get(), 2, nullptr, removeFirst));
    EXPECT_EQ(2, table->elementCount);
    EXPECT_EQ(&items[1], hashRemove(table.get(), 1, nullptr, removeFirst));
    EXPECT_EQ(1, table->elementCount);
    EXPECT_EQ(nullptr, hashRemove(table.get(), 1, nullptr, nullptr));
    EXPECT_EQ(1, table->elementCount);
    EXPECT_EQ(&items[0], hashRemove(table.get(), 1, nullptr, removeFirst));
    EXPECT_EQ(nullptr, hashRemove(table.get(), 1, nullptr, removeFirst));
    EXPECT_EQ(0, table->elementCount);
}

TEST(HashTable, RemovesNothingUnlessTheCallbackAnswersZero) {
    const OwnedHashTable table = makeTable(3);
    Item item{};
    ASSERT_EQ(1, hashInsert(table.get(), 1, &item, pushItem));
    for (const int32_t answer : {1, 2, INT32_MAX, -1, INT32_MIN}) {
        SCOPED_TRACE(answer);
        EXPECT_EQ(nullptr, hashRemove(table.get(), 1, &answer, refuseRemoval));
        EXPECT_EQ(1, table->elementCount);
    }
}

TEST(HashTable, HandsItsElementCountToVisitors) {
    const OwnedHashTable table = makeTable(3);
    Visits visits;
    visits.stopAt = 1;
    visits.answer = -7;
    EXPECT_EQ(-7, hashVisitBucket(table.get(), 5, &visits, recordVisit));
    EXPECT_EQ(&table->elementCount, visits.elementCount);
}

TEST(HashTable, VisitsAllBucketsInOrder) {
    const OwnedHashTable table = makeTable(4);
    Visits visits;
    EXPECT_EQ(0, hashVisitAll(table.get(), &visits, recordVisit));
    ASSERT_EQ(4, visits.buckets.size());
    for (size_t i = 0; i < 4; ++i) {
        EXPECT_EQ(&table->buckets[i], visits.buckets[i]);
    }
    EXPECT_EQ(&table->elementCount, visits.elementCount);
}

TEST(HashTable, VisitsAllBucketsWithoutAnAnswer) {
    const OwnedHashTable table = makeTable(4);
    std::vector<HashBucket*> visited;
    forEachBucket(table.get(), [&](HashBucket& bucket) { visited.push_back(&bucket); });
    ASSERT_EQ(4, visited.size());
    for (size_t i = 0; i < 4; ++i) {
        EXPECT_EQ(&table->buckets[i], visited[i]);
    }
    visited.clear();
    forEachBucket(nullptr, [&](HashBucket& bucket) { visited.push_back(&bucket); });
    forEachBucket(makeTable(0).get(), [&](HashBucket& bucket) { visited.push_back(&bucket); });
    EXPECT_TRUE(visited.empty());
}

TEST(HashTable, StopsVisitingAtTheFirstAnswerThatIsNotZero) {
    const OwnedHashTable table = makeTable(4);
    for (const int32_t answer : {1, -1, INT32_MIN}) {
        for (size_t stopAt = 1; stopAt <= 4; ++stopAt) {
            Visits visits;
            visits.stopAt = stopAt;
            visits.answer = answer;
            EXPECT_EQ(answer, hashVisitAll(table.get(), &visits, recordVisit));
            EXPECT_EQ(stopAt, visits.buckets.size());
        }
    }
}

TEST(HashTable, WithoutBucketsHoldsNothing) {
    const OwnedHashTable table = makeTable(0);
    ASSERT_NE(nullptr, table);
    Item item{};
    Visits visits;
    EXPECT_EQ(0, hashVisitAll(table.get(), &visits, recordVisit));
    EXPECT_EQ(RULE_ERR_INVALID_ARG, hashInsert(table.get(), 5, &item, pushItem));
    EXPECT_EQ(nullptr, hashLookup(table.get(), 5, nullptr, nullptr));
    EXPECT_EQ(RULE_ERR_INVALID_ARG, hashVisitBucket(table.get(), 5, &visits, recordVisit));
    EXPECT_EQ(nullptr, hashRemove(table.get(), 5, nullptr, removeFirst));
    EXPECT_EQ(static_cast<uint32_t>(RULE_ERR_INVALID_ARG), hashBucketIndex(table.get(), 5));
    EXPECT_TRUE(visits.buckets.empty());
}

TEST(HashTable, RefusesToBeNull) {
    Item item{};
    Visits visits;
    EXPECT_EQ(RULE_ERR_INVALID_ARG, hashInsert(nullptr, 0, &item, pushItem));
    EXPECT_EQ(nullptr, hashLookup(nullptr, 0, nullptr, findItem));
    EXPECT_EQ(nullptr, hashLookup(nullptr, 0, nullptr, nullptr));
    EXPECT_EQ(RULE_ERR_INVALID_ARG, hashVisitBucket(nullptr, 0, &visits, recordVisit));
    EXPECT_EQ(nullptr, hashRemove(nullptr, 0, nullptr, removeFirst));
    EXPECT_EQ(RULE_ERR_INVALID_ARG, hashVisitAll(nullptr, &visits, recordVisit));
    EXPECT_EQ(static_cast<uint32_t>(RULE_ERR_INVALID_ARG), hashBucketIndex(nullptr, 0));
    EXPECT_TRUE(visits.buckets.empty());
}

TEST(HashTable, IsDestroyedOnce) {
    HashTable* table = hashCreate(3, 2);
    ASSERT_NE(nullptr, table);
    hashDestroy(&table);
    EXPECT_EQ(nullptr, table);
    hashDestroy(&table);
    hashDestroy(nullptr);
}

TEST(HashTable, LosesNoCountBetweenThreads) {
    constexpr uint32_t THREAD_COUNT = 8;
    constexpr uint32_t ITEM_COUNT = 2000;
    const OwnedHashTable table = makeTable(THREAD_COUNT);
    std::vector<Item> items(size_t{THREAD_COUNT} * ITEM_COUNT);
    std::vector<std::thread> threads;
    for (uint32_t i = 0; i < THREAD_COUNT; ++i) {
        // Each thread has a bucket of its own: the chains have no lock.
        threads.emplace_back([&table, &items, i] {
            for (uint32_t j = 0; j < ITEM_COUNT; ++j) {
                EXPECT_LT(0,
                          hashInsert(table.get(), i, &items[size_t{i} * ITEM_COUNT + j], pushItem));
            }
            EXPECT_NE(nullptr, hashRemove(table.get(), i, nullptr, removeFirst));
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(THREAD_COUNT * (ITEM_COUNT - 1), table->elementCount);
}

}  // namespace

}  // namespace rs::test
