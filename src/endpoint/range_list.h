// The entries of rules whose first endpoint is a range of 128-bit addresses.
//
//     RangeList  bucket 2001:db8::-2001:db8::9 -> #1 -> #3
//                bucket 2001:db8::-2001:db8::5 -> #2
//
// Invariants: each range has one bucket. Buckets are in the order in which their ranges were first
//             entered; the entries of a bucket are in rule order.
// Ownership:  buckets and entries are records of the compiled structure.
// Threads:    read-only once built.
// Cost:       entering a range looks an equal one up in a PlaceFinder, which lives during the build
//             only. A lookup of a list with ORDERED_RANGES asks a FlatOrder: a logarithm of steps, and
//             the buckets that hold the address up to the first that answers. One of a short list
//             walks all buckets up to there.
#pragma once

#include <cstdint>

#include "core/chain.h"
#include "core/memory.h"
#include "core/reference_count.h"
#include "core/slab.h"
#include "endpoint/entry_walk.h"
#include "endpoint/insertion.h"
#include "lookup/flat_order.h"
#include "lookup/flat_policy.h"
#include "lookup/place_finder.h"
#include "syntax/address128.h"

namespace rs {

template <typename Entry>
struct RangeBucket {
    Chain<Entry> entries;
    RangeBucket* next;
    Address128 low;
    Address128 high;

    [[nodiscard]] RangeKey key() const noexcept { return {low, high}; }
};

template <typename Entry>
struct RangeList {
    Chain<RangeBucket<Entry>> buckets;
    uint32_t count;  // of insertions
};

// finder is that of the list, and nodes all that insertions have made: both know each other's.
template <typename Entry, typename MakeEntry>
[[nodiscard]] bool insertIntoRanges(RangeList<Entry>*& list, Slab<RangeBucket<Entry>>& nodes,
                                    PlaceFinder<RangeBucket<Entry>>& finder, const Address128& low,
                                    const Address128& high, const MakeEntry& makeEntry) noexcept {
    using Bucket = RangeBucket<Entry>;
    if (!createStructure(list)) {
        return false;
    }
    Bucket* found = finder.find(RangeKey{low, high});
    if (found == nullptr) {
        Bucket* bucket = finder.reserveOne() ? newRecord(nodes) : nullptr;
        if (bucket == nullptr) {
            return false;
        }
        if (!appendMadeEntry(bucket->entries, makeEntry)) {
            takeBackRecord(nodes);
            return false;
        }
        bucket->low = low;
        bucket->high = high;
        finder.add(bucket);
        list->buckets.append(bucket);
    } else if (!appendMadeEntry(found->entries, makeEntry)) {
        return false;
    }
    incrementCount(list->count);
    return true;
}

// From how many ranges on a list gets a FlatOrder. At 8 ranges a walk finds an answer as soon, 70 ns
// for a whole lookup; at 12 it takes 10 ns longer, at 32 it takes 50 ns longer.
inline constexpr uint32_t ORDERED_RANGES = 12;

// The flat lookup of a list whose buckets are these records; null for a short list, and when memory
// is out.
template <typename Entry>
[[nodiscard]] FlatOrder<Address128>* buildRangeOrder(
    const Slab<RangeBucket<Entry>>& buckets) noexcept {
    if (!wantsFlat(buckets.count, ORDERED_RANGES)) {
        return nullptr;
    }
    const OwnedMemory<OrderedRange<Address128>[]> ranges(
        allocateArray<OrderedRange<Address128>>(buckets.count));
    for (uint32_t i = 0; ranges && i < buckets.count; ++i) {
        const RangeBucket<Entry>& bucket = recordAt(buckets, i);
        ranges[i] = {bucket.low, bucket.high, i};
    }
    return ranges ? buildFlatOrder(ranges.get(), buckets.count) : nullptr;
}

// The first entry that covers, of the ranges that hold an address. A null list has none.
//
// Deliberate: the first range that answers wins, even over an earlier rule in a later range.
template <typename Entry, typename Test>
[[nodiscard]] EntryAnswer<Entry> scanRanges(const RangeList<Entry>* list, const Address128& address,
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

// The same by the flat lookup of the list, which may be null.
template <typename Entry, typename Test>
[[nodiscard]] EntryAnswer<Entry> findInRanges(const RangeList<Entry>* list,
                                              const Slab<RangeBucket<Entry>>& buckets,
                                              const FlatOrder<Address128>* order,
                                              const Address128& address,
                                              const Test& test) noexcept {
    if (order == nullptr) {
        return scanRanges(list, address, test);
    }
    EntryAnswer<Entry> answer{0, nullptr};
    static_cast<void>(askInOrder(*order, address, [&](uint32_t number) noexcept {
        answer = scanEntries<Entry>(recordAt(buckets, number).entries.first, test);
        return answer.status;
    }));
    return answer;
}

// The first status but 0 over the entries of all ranges; 0 for a null list.
template <typename Entry, typename Test>
[[nodiscard]] int32_t scanAllRanges(const RangeList<Entry>* list, const Test& test) noexcept {
    const auto* bucket = list == nullptr ? nullptr : list->buckets.first;
    for (; bucket != nullptr; bucket = bucket->next) {
        const int32_t status = scanEntries<Entry>(bucket->entries.first, test).status;
        if (status != 0) {
            return status;
        }
    }
    return 0;
}

}  // namespace rs
