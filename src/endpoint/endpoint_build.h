// Compiling a list of rules with two endpoints, the part that both types of such rules share.
//
//     pass 1    rule 1, rule 2, ... --enterIpv4View-->  anyFirst4  exact4  blocks4
//     pass 2    rule 1, rule 2, ... --enterIpv6View-->  anyFirst6  exact6  ranges6
//     last      records             -------------------->  flat lookups
//
//     one address     exact4, exact6
//     a range         blocks4, ranges6
//     every address   anyFirst4, anyFirst6
//
// Each type declares the six structures in its own order and with its own names. So an
// EndpointBuild refers to them where they are.
//
// Invariants: rules enter in their order, so that chains of entries are in rule order.
// Ownership:  the compiled structure owns all that is entered. A failed build frees it, and gives
//             the userData of all entries back.
// Threads:    one thread builds.
// Cost:       two walks over the list, and what the insertions cost.
#pragma once

#include <cstdint>
#include <type_traits>

#include "core/memory.h"
#include "core/rule_set.h"
#include "core/structure.h"
#include "endpoint/block_index.h"
#include "endpoint/endpoint_entry.h"
#include "endpoint/endpoint_lookups.h"
#include "endpoint/endpoint_records.h"
#include "endpoint/entry_list.h"
#include "endpoint/exact_table.h"
#include "endpoint/range_list.h"
#include "lookup/hash_table.h"
#include "lookup/place_finder.h"
#include "syntax/address128.h"

namespace rs {

template <typename Entry>
struct EndpointBuild {
    EntryList<Entry>*& anyFirst4;
    HashTable*& exact4;
    BlockIndex<Entry>*& blocks4;
    EntryList<Entry>*& anyFirst6;
    HashTable*& exact6;
    RangeList<Entry>*& ranges6;
    EndpointRecords<Entry>& records;
    EndpointLookups& lookups;
    PlaceFinder<ExactAddressNode<Entry, uint32_t>> finder4 = {};  // of exact4
    PlaceFinder<ExactAddressNode<Entry, Address128>> finder6 = {};
    PlaceFinder<RangeBucket<Entry>> rangeFinder = {};  // of ranges6
};

constexpr bool isWholeSpace(uint32_t low, uint32_t high) noexcept {
    return low == 0 && high == UINT32_MAX;
}

constexpr bool isWholeSpace(const Address128& low, const Address128& high) noexcept {
    return low == FIRST_ADDRESS && high == LAST_ADDRESS;
}

// Files a range of first addresses as a range, even when it is of one address.
template <typename Entry, typename MakeEntry>
[[nodiscard]] bool enterRange(EndpointBuild<Entry>& build, const Address128& low,
                              const Address128& high, const MakeEntry& makeEntry) noexcept {
    return insertIntoRanges(build.ranges6, build.records.buckets, build.rangeFinder, low, high,
                            makeEntry);
}

// These enter the first addresses from low to high: a single one into the exact structure, several
// into that of ranges.

template <typename Entry, typename MakeEntry>
[[nodiscard]] bool enterAddresses(EndpointBuild<Entry>& build, uint32_t low, uint32_t high,
                                  const MakeEntry& makeEntry) noexcept {
    return low == high
               ? insertExact(build.exact4, build.records.nodes4, build.finder4, low, makeEntry)
               : insertIntoBlocks(build.blocks4, build.records.spans, low, high, makeEntry);
}

template <typename Entry, typename MakeEntry>
[[nodiscard]] bool enterAddresses(EndpointBuild<Entry>& build, const Address128& low,
                                  const Address128& high, const MakeEntry& makeEntry) noexcept {
    return low == high
               ? insertExact(build.exact6, build.records.nodes6, build.finder6, low, makeEntry)
               : enterRange(build, low, high, makeEntry);
}

// Enters one rule into the structures of one view. False when memory is out.
template <typename Rule, typename Entry>
using EnterView = bool (*)(const EntrySource<Rule>& source, EndpointBuild<Entry>& build) noexcept;

// Compiles the rules of a list, stores the structure in slot and returns it; null, with null in the
// slot, when memory is out.
template <auto releaseStructure, typename Structure, typename Rule, typename Entry>
[[nodiscard]] Structure* buildEndpointStructure(
    RuleSet& set, RuleList& list, Structure*& slot,
    EndpointBuild<Entry> (*startBuild)(Structure&) noexcept, EnterView<Rule, Entry> enterIpv4View,
    EnterView<Rule, Entry> enterIpv6View) noexcept {
    slot = nullptr;
    OwnedMemory<uint8_t> claims;
    if (!allocateClaims(set, list, claims)) {
        return nullptr;
    }
    auto structure = newStructure<Structure, releaseStructure>(set);
    if (!structure) {
        return nullptr;
    }
    EndpointBuild<Entry> build = startBuild(*structure);
    sizeEndpointRecords(build.records, list.ruleCount);
    for (const auto enterView : {enterIpv4View, enterIpv6View}) {
        const auto enterRule = [&](Rule& rule, uint32_t ruleIndex) noexcept {
            return enterView({rule, ruleIndex, claims.get()}, build);
        };
        if (!forEachRule<std::remove_const_t<Rule>>(list, enterRule)) {
            return nullptr;  // the owner frees what was made and gives its userData back
        }
    }
    buildEndpointLookups(build.records, build.lookups);
    build.lookups.hasOnlyExact4 = build.lookups.exact4.hosts != nullptr &&
                                  build.anyFirst4 == nullptr && build.blocks4 == nullptr;
    build.lookups.hasOnlyExact6 = build.lookups.exact6.hosts != nullptr &&
                                  build.anyFirst6 == nullptr && build.ranges6 == nullptr;
    return slot = structure.release();
}

}  // namespace rs
