// The entries of rules whose first endpoint is a single address, found by its hash.
//
//     HashTable
//       [1340]  ExactAddressNode 10.0.0.18 -> #1 -> #4       nodes of one bucket are linked in
//               ExactAddressNode 10.0.13.1 -> #2             a list, the oldest first
//       [...]   ...
//
// Invariants: an address has one node at most; elementCount is the number of nodes. The entries of
//             a node are in rule order.
// Ownership:  the table owns its buckets. Nodes and entries are records of the compiled structure.
// Threads:    read-only once built.
// Cost:       entering an address looks an equal one up in a PlaceFinder, which lives during the build
//             only. A lookup of a table with FLAT_EXACT_ADDRESSES asks a FlatHosts and reads one
//             summary, which mostly decides; an address takes 64 bytes for it. Otherwise it reads the
//             node that the summary names. One of a small table walks the nodes of one of
//             ENDPOINT_BUCKETS buckets.
#pragma once

#include <cstddef>
#include <cstdint>

#include "core/chain.h"
#include "core/lines.h"
#include "core/list.h"
#include "core/slab.h"
#include "endpoint/endpoint_summary.h"
#include "endpoint/entry_walk.h"
#include "endpoint/insertion.h"
#include "lookup/address_hash.h"
#include "lookup/flat_hosts.h"
#include "lookup/flat_policy.h"
#include "lookup/hash_table.h"
#include "lookup/place_finder.h"

namespace rs {

inline constexpr int32_t ENDPOINT_BUCKETS = 4095;

template <typename Entry, typename Address>
struct ExactAddressNode {
    Chain<Entry> entries;
    ListLink links;  // in the bucket
    Address address;

    [[nodiscard]] const Address& key() const noexcept { return address; }
};

template <typename Entry, typename Address>
ExactAddressNode<Entry, Address>* exactNodeOf(ListLink* link) noexcept {
    using Node = ExactAddressNode<Entry, Address>;
    return reinterpret_cast<Node*>(reinterpret_cast<char*>(link) - offsetof(Node, links));
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

// finder is that of the table, and nodes all that insertions have made: both know each other's.
template <typename Entry, typename Address, typename MakeEntry>
[[nodiscard]] bool insertExact(HashTable*& table, Slab<ExactAddressNode<Entry, Address>>& nodes,
                               PlaceFinder<ExactAddressNode<Entry, Address>>& finder,
                               const Address& address, const MakeEntry& makeEntry) noexcept {
    using Node = ExactAddressNode<Entry, Address>;
    if (!ensureHashTable(table, ENDPOINT_BUCKETS)) {
        return false;
    }
    Node* found = finder.find(address);
    if (found != nullptr) {
        return appendMadeEntry(found->entries, makeEntry);
    }
    Node* node = finder.reserveOne() ? newRecord(nodes) : nullptr;
    if (node == nullptr) {
        return false;
    }
    if (!appendMadeEntry(node->entries, makeEntry)) {
        takeBackRecord(nodes);
        return false;
    }
    node->address = address;
    finder.add(node);
    hashAdd(*table, hashAddress(address),
            [node](HashBucket& bucket) noexcept { appendToList(bucket.list, node->links); });
    return true;
}

// From how many addresses on a table gets a flat lookup. At 100 addresses a walk of a bucket takes as
// long, 35 to 50 ns for a whole lookup; at 300 it takes 10 to 20 ns longer, at 10,000 twice as long.
inline constexpr uint32_t FLAT_EXACT_ADDRESSES = 128;

// The flat lookup of a table.
template <typename Address>
struct ExactLookup {
    FlatHosts<Address>* hosts;         // owned, like summaries; both are null or none
    ExactSummary<Address>* summaries;  // of the nodes, by the ranks of hosts
};

template <typename Address>
void freeExactLookup(ExactLookup<Address>& lookup) noexcept {
    freeFlatHosts(lookup.hosts);
    freeLines(lookup.summaries);
    lookup = {};
}

// The flat lookup of a table whose nodes are these records; none for a small table, and when memory
// is out.
template <typename Entry, typename Address>
[[nodiscard]] ExactLookup<Address> buildFlatExact(
    const Slab<ExactAddressNode<Entry, Address>>& nodes) noexcept {
    if (!wantsFlat(nodes.count, FLAT_EXACT_ADDRESSES)) {
        return {};
    }
    OwnedFlatHosts<Address> hosts(
        buildFlatHosts<Address>(nodes.count, [&nodes](const auto& add) noexcept {
            for (uint32_t i = 0; i < nodes.count; ++i) {
                add(recordAt(nodes, i).address, i);
            }
        }));
    OwnedLines<ExactSummary<Address>> summaries(
        hosts ? allocateLines<ExactSummary<Address>>(hosts->count) : nullptr);
    if (!summaries) {
        return {};
    }
    for (uint32_t rank = 0; rank < hosts->count; ++rank) {
        const uint32_t number = hosts->numbers[rank];
        const Entry* first = recordAt(nodes, number).entries.first;
        summaries.get()[rank] = {summarizeNode(number, first, sizeof(Address) == sizeof(uint32_t)),
                                 hosts->keys[rank]};
    }
    dropHostKeys(*hosts);  // summaries have them
    dropHostNumbers(*hosts);
    return {hosts.release(), summaries.release()};
}

// The first entry that covers, of those for an address. A null table has none.
template <typename Entry, typename Address, typename Test>
[[nodiscard]] EntryAnswer<Entry> scanExact(const HashTable* table, const Address& address,
                                           const Test& test) noexcept {
    const auto* node = static_cast<const ExactAddressNode<Entry, Address>*>(
        hashLookup(table, hashAddress(address), &address, findExactNode<Entry, Address>));
    return scanEntries<Entry>(node == nullptr ? nullptr : node->entries.first, test);
}

// The summary of an address; null without one.
template <typename Address>
[[nodiscard]] const EndpointSummary* summaryOf(const ExactLookup<Address>& lookup,
                                               const Address& address) noexcept {
    const uint32_t rank = searchFlatHost(prepareFlatHost(*lookup.hosts, address), [&](size_t each) {
                              return isSameHost(lookup.summaries[each].address, address);
                          }).rank;
    return rank == NO_RECORD ? nullptr : &lookup.summaries[rank].summary;
}

// The first entry that covers, by the flat lookup of the table, which may be none.
template <typename Entry, typename Address, typename Test>
[[nodiscard]] EntryAnswer<Entry> findInExact(const HashTable* table,
                                             const Slab<ExactAddressNode<Entry, Address>>& nodes,
                                             const ExactLookup<Address>& lookup,
                                             const Address& address, const Test& test) noexcept {
    if (lookup.hosts == nullptr) {
        return scanExact<Entry>(table, address, test);
    }
    const EndpointSummary* summary = summaryOf(lookup, address);
    return summary == nullptr
               ? EntryAnswer<Entry>{0, nullptr}
               : scanEntries<Entry>(recordAt(nodes, summary->node).entries.first, test);
}

// The same for a test that has a question, which the summary is asked first.
template <typename Entry, typename Address, typename Test>
[[nodiscard]] EntryAnswer<Entry> findAskedInExact(
    const HashTable* table, const Slab<ExactAddressNode<Entry, Address>>& nodes,
    const ExactLookup<Address>& lookup, const Address& address, const Test& test) noexcept {
    if (lookup.hosts == nullptr) {
        return scanExact<Entry>(table, address, test);
    }
    const EndpointSummary* summary = summaryOf(lookup, address);
    if (summary == nullptr) {
        return {0, nullptr};
    }
    return scanSummarized<Entry>(*summary, recordAt(nodes, summary->node).entries.first, test);
}

// The lookup of a structure that has nothing but this table: 1 with the rule in *result, or 0. search() is that by the
// entries. An address of 128 bits is in halves. As tryFlatHost says, all ends are jumps.
template <typename Address, typename Key, typename Search>
[[nodiscard]] inline int32_t askOnlyExact(const ExactLookup<Address>& lookup, const Key& address,
                                          const EndpointQuestion& question, MatchResult& result,
                                          const Search& search) noexcept {
    const ExactSummary<Address>* summaries = lookup.summaries;
    return tryFlatHost(
        prepareFlatHost(*lookup.hosts, address),
        [&](size_t rank) noexcept { return isSameHost(summaries[rank].address, address); },
        [&](size_t rank) noexcept {
            return answerBySummary(summaries[rank].summary, question, result, search);
        },
        []() noexcept { return int32_t{0}; }, search);
}

// The first status but 0 over the entries for all addresses, bucket by bucket; 0 for a null table.
template <typename Entry, typename Address, typename Test>
[[nodiscard]] int32_t scanAllExact(HashTable* table, const Test& test) noexcept {
    const auto scanBucket = [](HashBucket* bucket, void* argument,
                               uint32_t* /*elementCount*/) noexcept -> int32_t {
        const auto& testEntry = **static_cast<const Test**>(argument);
        for (ListLink* link = bucket->list.next; link != &bucket->list; link = link->next) {
            const auto* node = exactNodeOf<Entry, Address>(link);
            const int32_t status = scanEntries<Entry>(node->entries.first, testEntry).status;
            if (status != 0) {
                return status;
            }
        }
        return 0;
    };
    const Test* argument = &test;
    return table == nullptr ? 0 : hashVisitAll(table, &argument, scanBucket);
}

}  // namespace rs
