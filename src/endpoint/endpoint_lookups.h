// The flat lookups of a compiled structure with two endpoints. They hold no rule, but the numbers of
// records, and are asked before the ordered structures.
//
//     exact4    FlatHosts of summaries   in exact_table
//     exact6    FlatHosts of summaries
//     blocks4   FlatOrder of spans       in crowded blocks of block_index
//     ranges6   FlatOrder of buckets     in range_list
//
// Invariants: each answers as the structure that it is of. A lookup that is null, because there are
//             few records or memory was out, is not asked. The build of a structure knows what other
//             structures there are, and sets hasOnlyExact4 and hasOnlyExact6.
// Ownership:  the compiled structure owns its lookups.
// Threads:    read-only once built.
// Cost:       see lookup/flat_hosts.h and lookup/flat_order.h.
#pragma once

#include <cstdint>

#include "endpoint/block_index.h"
#include "endpoint/endpoint_records.h"
#include "endpoint/exact_table.h"
#include "endpoint/range_list.h"
#include "lookup/flat_hosts.h"
#include "lookup/flat_order.h"

namespace rs {

struct EndpointLookups {
    ExactLookup<uint32_t> exact4;
    ExactLookup<Address128> exact6;
    BlockOrder blocks4;  // owned, like all of these
    FlatOrder<Address128>* ranges6;
    bool hasOnlyExact4;  // exact4 is there, and all that a lookup of its width has to ask
    bool hasOnlyExact6;
};

// Builds the lookups of a structure that has all of its records. What memory is out for stays null.
template <typename Entry>
void buildEndpointLookups(const EndpointRecords<Entry>& records,
                          EndpointLookups& lookups) noexcept {
    lookups.exact4 = buildFlatExact(records.nodes4);
    lookups.exact6 = buildFlatExact(records.nodes6);
    lookups.blocks4 = buildBlockOrder(records.spans);
    lookups.ranges6 = buildRangeOrder(records.buckets);
}

inline void freeEndpointLookups(EndpointLookups& lookups) noexcept {
    freeExactLookup(lookups.exact4);
    freeExactLookup(lookups.exact6);
    freeBlockOrder(lookups.blocks4);
    freeFlatOrder(lookups.ranges6);
    lookups = {};
}

}  // namespace rs
