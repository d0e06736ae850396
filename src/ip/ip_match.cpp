#include "ip/ip_match.h"

#include <cstddef>

#include "core/entry.h"
#include "core/slab.h"
#include "lookup/address_hash.h"
#include "lookup/flat_hosts.h"
#include "lookup/flat_ranges.h"
#include "syntax/address128.h"

namespace rs {

namespace {

// The entry of a chain for the rule with one ruleValue that covers address: rules cover parts of a
// node's key.
template <typename Address>
const RangeEntry<Address>* entryWithValue(const RangeEntry<Address>* entry, const Address& address,
                                          uint32_t ruleValue) noexcept {
    while (entry != nullptr &&
           !(entry->ruleValue == ruleValue && entry->low <= address && address <= entry->high)) {
        entry = entry->next;
    }
    return entry;
}

const AddressEntry* entryWithValue(const AddressEntry* entry, uint32_t ruleValue) noexcept {
    while (entry != nullptr && entry->ruleValue != ruleValue) {
        entry = entry->next;
    }
    return entry;
}

// The entries of the node whose interval holds address; null without one.
template <typename Address>
const RangeEntry<Address>* findInterval(const SearchTree* tree, const Address& address) noexcept {
    const TreeNode* node = tree == nullptr ? nullptr : tree->root;
    while (node != nullptr) {
        const auto& key = *static_cast<const IntervalKey<Address>*>(node->key);
        if (address < key.low) {
            node = node->left;
        } else if (address > key.high) {
            node = node->right;
        } else {
            return static_cast<const RangeEntry<Address>*>(node->entries);
        }
    }
    return nullptr;
}

// The same by the flat lookup of a tree.
template <typename Address>
const RangeEntry<Address>* findFlatInterval(const FlatRanges<Address>& ranges,
                                            const Slab<RangeEntry<Address>>& entries,
                                            const Address& address) noexcept {
    const uint32_t number = findFlatRange(ranges, address);
    return number == NO_RECORD ? nullptr : &recordAt(entries, number);
}

const RangeEntry<uint32_t>* findIpv4Interval(const IpRuleTable& table, uint32_t address) noexcept {
    return table.flatIpv4Ranges != nullptr
               ? findFlatInterval(*table.flatIpv4Ranges, table.ipv4RangeEntries, address)
               : findInterval<uint32_t>(table.ipv4RangeTree, address);
}

const RangeEntry<Address128>* findIpv6Interval(const IpRuleTable& table,
                                               const Address128& address) noexcept {
    return table.flatIpv6Ranges != nullptr
               ? findFlatInterval(*table.flatIpv6Ranges, table.ipv6RangeEntries, address)
               : findInterval<Address128>(table.ipv6RangeTree, address);
}

// The entries of the node for exactly this address; null without one.
const AddressEntry* findAddress(const SearchTree* tree, const Address128& address) noexcept {
    const TreeNode* node = tree == nullptr ? nullptr : tree->root;
    while (node != nullptr) {
        const int32_t order = compareIPv6(address, *static_cast<const Address128*>(node->key));
        if (order == 0) {
            return static_cast<const AddressEntry*>(node->entries);
        }
        node = order < 0 ? node->left : node->right;
    }
    return nullptr;
}

// The first entry for an address that isWanted(entry) takes. The bucket is walked here rather than in
// a callback, so that the key stays in registers.
template <typename IsWanted>
const HostEntry* findHost(const HashTable* hostTable, uint32_t address,
                          const IsWanted& isWanted) noexcept {
    auto* bucket =
        static_cast<HashBucket*>(hashLookup(hostTable, hashIPv4(address), nullptr, nullptr));
    if (bucket == nullptr) {
        return nullptr;
    }
    for (ListLink* link = bucket->list.next; link != &bucket->list; link = link->next) {
        const HostEntry* entry = hostEntryOf(link);
        if (entry->address == address && isWanted(*entry)) {
            return entry;
        }
    }
    return nullptr;
}

// Reports the earlier of two hits, each of which may be missing.
//
// Deliberate: two hits of one rule are no match. No build makes them: a rule is either a single
// address or a range.
template <typename Host, typename Range>
int32_t reportEarlier(const Host* host, const Range* range, MatchResult& result) noexcept {
    if (host == nullptr) {
        return reportEntry(range, result);
    }
    if (range == nullptr || host->ruleIndex < range->ruleIndex) {
        return reportEntry(host, result);
    }
    return host->ruleIndex == range->ruleIndex ? 0 : reportEntry(range, result);
}

const HostEntry* findFirstHost(const IpRuleTable& table, uint32_t address) noexcept {
    return findHost(table.hostTable, address, [](const HostEntry&) noexcept { return true; });
}

const HostEntry* findHostWithValue(const IpRuleTable& table, uint32_t address,
                                   uint32_t ruleValue) noexcept {
    return findHost(table.hostTable, address, [ruleValue](const HostEntry& entry) noexcept {
        return entry.ruleValue == ruleValue;
    });
}

HostPlace flatIpv4Place(const IpRuleTable& table, uint32_t address) noexcept {
    const HostEntry* entries = table.rankedHostEntries;
    return searchFlatHost(
        prepareFlatHost(*table.flatIpv4Hosts, address),
        [entries, address](size_t rank) noexcept { return entries[rank].address == address; });
}

const HostEntry* findFlatIpv4(const IpRuleTable& table, uint32_t address) noexcept {
    const HostPlace place = flatIpv4Place(table, address);
    return place.rank == NO_RECORD ? nullptr : &table.rankedHostEntries[place.rank];
}

const AddressEntry* findFlatIpv6(const IpRuleTable& table, const Address128& address) noexcept {
    const HostPlace place = findHostPlace(*table.flatIpv6Hosts, address);
    return place.rank == NO_RECORD ? nullptr : &table.rankedAddressEntries[place.rank];
}

// The entries of an address, as a chain: by the flat lookup where it has the address.
const AddressEntry* findIpv6Entries(const IpRuleTable& table, const Address128& address) noexcept {
    const bool isFlat = table.flatIpv6Hosts != nullptr && !isIpv4Mapped(address);
    return isFlat ? findFlatIpv6(table, address) : findAddress(table.ipv6HostTree, address);
}

// A plain lookup of whatever the table has.
[[gnu::noinline]] int32_t matchIpv4InBoth(const IpRuleTable& table, uint32_t address,
                                          MatchResult& result) noexcept {
    const HostEntry* host = table.flatIpv4Hosts != nullptr ? findFlatIpv4(table, address)
                                                           : findFirstHost(table, address);
    return reportEarlier(host, findIpv4Interval(table, address), result);
}

[[gnu::noinline]] int32_t matchIpv6InBoth(const IpRuleTable& table, const Address128& address,
                                          MatchResult& result) noexcept {
    const RangeEntry<Address128>* interval = findIpv6Interval(table, address);
    if (table.flatIpv4Hosts != nullptr && isIpv4Mapped(address)) {
        return reportEarlier(findFlatIpv4(table, address.words[3]), interval, result);
    }
    return reportEarlier(findIpv6Entries(table, address), interval, result);
}

// Whether a flat lookup alone says that no entry of an address has a ruleValue, or that its first one has.
bool isDecided(HostPlace place, const HostEntry* entries, uint32_t ruleValue) noexcept {
    return place.rank == NO_RECORD || !place.hasMore || entries[place.rank].ruleValue == ruleValue;
}

// The lookup for one ruleValue where a flat lookup has the address. An address with several entries has them side by
// side in the tree of 128-bit addresses only.
template <typename Interval>
int32_t matchFlatIpv4WithValue(const IpRuleTable& table, uint32_t address, uint32_t ruleValue,
                               const Interval* interval, MatchResult& result) noexcept {
    const HostEntry* entries = table.rankedHostEntries;
    const HostPlace place = flatIpv4Place(table, address);
    if (!isDecided(place, entries, ruleValue)) {
        const AddressEntry* chain = findAddress(table.ipv6HostTree, mappedAddress(address));
        return reportEarlier(entryWithValue(chain, ruleValue), interval, result);
    }
    const bool isFound = place.rank != NO_RECORD && entries[place.rank].ruleValue == ruleValue;
    return reportEarlier(isFound ? &entries[place.rank] : nullptr, interval, result);
}

}  // namespace

const RangeEntry<uint32_t>* findIpv4IntervalOrdered(const IpRuleTable& table,
                                                    uint32_t address) noexcept {
    return findInterval<uint32_t>(table.ipv4RangeTree, address);
}

const RangeEntry<Address128>* findIpv6IntervalOrdered(const IpRuleTable& table,
                                                      const Address128& address) noexcept {
    return findInterval<Address128>(table.ipv6RangeTree, address);
}

// The way of a table of addresses only is a function of its own, which is nearly all jumps: see tryFlatHost.
int32_t matchIpv4(const IpRuleTable& table, uint32_t address, MatchResult& result) noexcept {
    if (table.hostTable == nullptr) {
        return reportEntry(findIpv4Interval(table, address), result);
    }
    if (table.flatIpv4Hosts == nullptr || table.ipv4RangeTree != nullptr) {
        return matchIpv4InBoth(table, address, result);
    }
    const HostEntry* entries = table.rankedHostEntries;
    return tryFlatHost(
        prepareFlatHost(*table.flatIpv4Hosts, address),
        [entries, address](size_t rank) noexcept { return entries[rank].address == address; },
        [entries, &result](size_t rank) noexcept { return reportEntry(&entries[rank], result); },
        []() noexcept { return int32_t{0}; },
        [&]() noexcept { return matchIpv4InBoth(table, address, result); });
}

int32_t matchIpv6(const IpRuleTable& table, const Address128& address,
                  MatchResult& result) noexcept {
    if (table.ipv6HostTree == nullptr) {
        return reportEntry(findIpv6Interval(table, address), result);
    }
    if (table.flatIpv6Hosts == nullptr || table.ipv6RangeTree != nullptr || isIpv4Mapped(address)) {
        return matchIpv6InBoth(table, address, result);
    }
    const Address128* keys = table.flatIpv6Hosts->keys;
    const AddressEntry* entries = table.rankedAddressEntries;
    return tryFlatHost(
        prepareFlatHost(*table.flatIpv6Hosts, address),
        [keys, &address](size_t rank) noexcept { return isSameHost(keys[rank], address); },
        [entries, &result](size_t rank) noexcept { return reportEntry(&entries[rank], result); },
        []() noexcept { return int32_t{0}; },
        [&]() noexcept { return matchIpv6InBoth(table, address, result); });
}

int32_t matchIpv4WithValue(const IpRuleTable& table, uint32_t address, uint32_t ruleValue,
                           MatchResult& result) noexcept {
    const auto* interval = entryWithValue(findIpv4Interval(table, address), address, ruleValue);
    if (table.flatIpv4Hosts != nullptr) {
        return matchFlatIpv4WithValue(table, address, ruleValue, interval, result);
    }
    return reportEarlier(findHostWithValue(table, address, ruleValue), interval, result);
}

int32_t matchIpv6WithValue(const IpRuleTable& table, const Address128& address, uint32_t ruleValue,
                           MatchResult& result) noexcept {
    const auto* interval = entryWithValue(findIpv6Interval(table, address), address, ruleValue);
    if (table.flatIpv4Hosts != nullptr && isIpv4Mapped(address)) {
        return matchFlatIpv4WithValue(table, address.words[3], ruleValue, interval, result);
    }
    return reportEarlier(entryWithValue(findIpv6Entries(table, address), ruleValue), interval,
                         result);
}

int32_t matchIpv4Ordered(const IpRuleTable& table, uint32_t address, MatchResult& result) noexcept {
    return reportEarlier(findFirstHost(table, address),
                         findIpv4IntervalOrdered(table, address), result);
}

int32_t matchIpv6Ordered(const IpRuleTable& table, const Address128& address,
                         MatchResult& result) noexcept {
    return reportEarlier(findAddress(table.ipv6HostTree, address),
                         findIpv6IntervalOrdered(table, address), result);
}

int32_t matchIpv4WithValueOrdered(const IpRuleTable& table, uint32_t address, uint32_t ruleValue,
                                  MatchResult& result) noexcept {
    const auto* interval = findInterval<uint32_t>(table.ipv4RangeTree, address);
    return reportEarlier(findHostWithValue(table, address, ruleValue),
                         entryWithValue(interval, address, ruleValue), result);
}

int32_t matchIpv6WithValueOrdered(const IpRuleTable& table, const Address128& address,
                                  uint32_t ruleValue, MatchResult& result) noexcept {
    const auto* interval = findInterval<Address128>(table.ipv6RangeTree, address);
    return reportEarlier(entryWithValue(findAddress(table.ipv6HostTree, address), ruleValue),
                         entryWithValue(interval, address, ruleValue), result);
}

}  // namespace rs
