// The records of a compiled structure with two endpoints: all of its nodes, entries and lists, each
// kind in a slab of its own.
//
//     nodes4, nodes6   ExactAddressNode     entries    first -> next       ports      1-65535
//     spans            BlockSpanNode                                       addresses  10.0.0.0-...
//     buckets          RangeBucket
//
// What is linked from the structures is in order there, and here in the order in which it was made.
//
// Invariants: the records of nodes4, nodes6, spans and buckets are those of the structures, one for
//             one; buckets and spans are in the order of their lists.
// Ownership:  the compiled structure owns its records. Nothing else is freed one by one.
// Threads:    one thread builds; then any number of threads may read.
// Cost:       a slab takes an allocation for every eighth of the rules at most, and for every 16 MiB.
#pragma once

#include <algorithm>
#include <cstdint>

#include "core/port_list.h"
#include "core/range_node.h"
#include "core/slab.h"
#include "endpoint/block_index.h"
#include "endpoint/exact_table.h"
#include "endpoint/range_list.h"

namespace rs {

template <typename Entry>
struct EndpointRecords {
    Slab<Entry> entries;
    Slab<PortRange> ports;
    Slab<AddressRange> addresses;
    Slab<ExactAddressNode<Entry, uint32_t>> nodes4;
    Slab<ExactAddressNode<Entry, Address128>> nodes6;
    Slab<BlockSpanNode<Entry>> spans;
    Slab<RangeBucket<Entry>> buckets;
};

// Even one rule may have an entry in each of 65536 blocks.
inline constexpr uint32_t FEWEST_EXPECTED_RECORDS = 128;

// Chooses how many records a chunk has, for as many rules.
template <typename Entry>
void sizeEndpointRecords(EndpointRecords<Entry>& records, uint32_t ruleCount) noexcept {
    const uint64_t expected = std::max(ruleCount, FEWEST_EXPECTED_RECORDS);
    sizeSlab(records.entries, expected);
    sizeSlab(records.ports, expected);
    sizeSlab(records.addresses, expected);
    sizeSlab(records.nodes4, expected);
    sizeSlab(records.nodes6, expected);
    sizeSlab(records.spans, expected);
    sizeSlab(records.buckets, expected);
}

template <typename Entry>
void freeEndpointRecords(EndpointRecords<Entry>& records) noexcept {
    freeSlab(records.entries);
    freeSlab(records.ports);
    freeSlab(records.addresses);
    freeSlab(records.nodes4);
    freeSlab(records.nodes6);
    freeSlab(records.spans);
    freeSlab(records.buckets);
}

}  // namespace rs
