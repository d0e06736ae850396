#include "ip/ip_match.h"

#include <bit>
#include <cstddef>

#include "core/entry.h"
#include "core/slab.h"
#include "ip/ip_flat_ranges.h"
#include "lookup/address_hash.h"
#include "lookup/flat_hosts.h"
#include "lookup/flat_range_tree.h"
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

// The same by the number that a flat lookup has found.
template <typename Address>
const RangeEntry<Address>* intervalOf(const Slab<RangeEntry<Address>>& entries,
                                      uint32_t number) noexcept {
    return number == NO_RECORD ? nullptr : &recordAt(entries, number);
}

const RangeEntry<uint32_t>* askIpv4Ranges(const IpRuleTable& table, uint32_t address) noexcept {
    return table.flatIpv4Ranges != nullptr
               ? intervalOf(table.ipv4RangeEntries, findFlatRange(*table.flatIpv4Ranges, address))
               : findInterval<uint32_t>(table.ipv4RangeTree, address);
}

// The address of a key of 128 bits.
Address128 addressOfKey(AddressHalves key) noexcept {
    return hostKeyOf(std::bit_cast<Address128>(key));
}

// The halves of a key, which are no record here: see findIpv6Range.
const RangeEntry<Address128>* askIpv6Ranges(const IpRuleTable& table, uint64_t first,
                                            uint64_t second) noexcept {
    if (table.flatIpv6Ranges != nullptr) {
        return intervalOf(table.ipv6RangeEntries,
                          findIpv6Range(*table.flatIpv6Ranges, first, second));
    }
    if (hasMirroredRanges(table)) {
        return isIpv4Mapped(AddressHalves{first, second})
                   ? intervalOf(table.ipv6RangeEntries,
                                findFlatRange(*table.flatIpv4Ranges,
                                              addressOfKey({first, second}).words[3]))
                   : nullptr;
    }
    return findInterval<Address128>(table.ipv6RangeTree, addressOfKey({first, second}));
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

// Key is uint32_t, or AddressHalves for 128 bits.
template <typename Address, typename Key>
HostPlace placeOfHost(HostProbe probe, const HostAnswer<Address>* answers, Key key) noexcept {
    return searchFlatHost(
        probe, [answers, key](size_t rank) noexcept { return isSameHost(answers[rank].key, key); });
}

// The earlier of an address's first rule and of the interval that holds it. The bucket is asked for first, and is there
// when the interval is found.
template <typename Address, typename Key, typename FindInterval>
int32_t matchFlatHost(const FlatHosts<Address>& hosts, const HostAnswer<Address>* answers, Key key,
                      const FindInterval& findIt, MatchResult& result) noexcept {
    const HostProbe probe = prepareFlatHost(hosts, key);
    prefetchHostBucket(probe);
    const auto* interval = findIt();
    const uint32_t rank = placeOfHost(probe, answers, key).rank;
    return reportEarlier(rank == NO_RECORD ? nullptr : &answers[rank], interval, result);
}

// The key of ipv6HostTree.
Address128 treeAddress(uint32_t address) noexcept {
    return mappedAddress(address);
}
const Address128& treeAddress(const Address128& address) noexcept {
    return address;
}

// The lookup for one ruleValue where a flat lookup has the address. An address with several entries has them side by
// side in the tree of 128-bit addresses only.
template <typename Address, typename FindInterval>
int32_t matchFlatHostWithValue(const IpRuleTable& table, const FlatHosts<Address>& hosts,
                               const HostAnswer<Address>* answers, const Address& address,
                               uint32_t ruleValue, const FindInterval& findIt,
                               MatchResult& result) noexcept {
    const Address key = hostKeyOf(address);
    const HostProbe probe = prepareFlatHost(hosts, key);
    prefetchHostBucket(probe);
    const auto* interval = findIt();
    const HostPlace place = placeOfHost(probe, answers, key);
    const bool isThere = place.rank != NO_RECORD;
    const bool isFirst = isThere && answers[place.rank].ruleValue == ruleValue;
    if (isThere && !isFirst && place.hasMore) {
        const AddressEntry* chain = findAddress(table.ipv6HostTree, treeAddress(address));
        return reportEarlier(entryWithValue(chain, ruleValue), interval, result);
    }
    return reportEarlier(isFirst ? &answers[place.rank] : nullptr, interval, result);
}

}  // namespace

const RangeEntry<uint32_t>* findIpv4Interval(const IpRuleTable& table, uint32_t address) noexcept {
    return askIpv4Ranges(table, address);
}

const RangeEntry<Address128>* findIpv6Interval(const IpRuleTable& table,
                                               const Address128& address) noexcept {
    const AddressHalves key = halvesOf(hostKeyOf(address));
    return askIpv6Ranges(table, key.first, key.second);
}

const RangeEntry<uint32_t>* findIpv4IntervalOrdered(const IpRuleTable& table,
                                                    uint32_t address) noexcept {
    return findInterval<uint32_t>(table.ipv4RangeTree, address);
}

const RangeEntry<Address128>* findIpv6IntervalOrdered(const IpRuleTable& table,
                                                      const Address128& address) noexcept {
    return findInterval<Address128>(table.ipv6RangeTree, address);
}

int32_t matchIpv4InRanges(const IpRuleTable& table, uint32_t address,
                          MatchResult& result) noexcept {
    return table.onlyIpv4Ranges == nullptr
               ? matchIpv4InBoth(table, address, result)
               : reportRange(table.ipv4RangeEntries, findFlatRange(*table.onlyIpv4Ranges, address),
                             result);
}

int32_t matchIpv6InRanges(const IpRuleTable& table, AddressHalves key,
                          MatchResult& result) noexcept {
    return table.onlyIpv6Ranges == nullptr
               ? matchIpv6InBoth(table, key, result)
               : reportRange(table.ipv6RangeEntries,
                             findIpv6Range(*table.onlyIpv6Ranges, key.first, key.second), result);
}

int32_t matchIpv4InBoth(const IpRuleTable& table, uint32_t address, MatchResult& result) noexcept {
    const auto findIt = [&]() noexcept { return askIpv4Ranges(table, address); };
    if (table.hostTable == nullptr) {
        return reportEntry(findIt(), result);
    }
    if (table.flatIpv4Hosts == nullptr) {
        return reportEarlier(findFirstHost(table, address), findIt(), result);
    }
    return matchFlatHost(*table.flatIpv4Hosts, table.ipv4Answers, address, findIt, result);
}

int32_t matchIpv6InBoth(const IpRuleTable& table, AddressHalves key, MatchResult& result) noexcept {
    const uint64_t first = key.first;
    const uint64_t second = key.second;
    const auto findIt = [&table, first, second]() noexcept {
        return askIpv6Ranges(table, first, second);
    };
    if (table.ipv6HostTree == nullptr) {
        return reportEntry(findIt(), result);
    }
    if (table.flatIpv4Hosts != nullptr && isIpv4Mapped(key)) {
        return matchFlatHost(*table.flatIpv4Hosts, table.ipv4Answers, addressOfKey(key).words[3],
                             findIt, result);
    }
    if (table.flatIpv6Hosts == nullptr || isIpv4Mapped(key)) {
        return reportEarlier(findAddress(table.ipv6HostTree, addressOfKey(key)), findIt(), result);
    }
    return matchFlatHost(*table.flatIpv6Hosts, table.ipv6Answers, key, findIt, result);
}

int32_t matchIpv4WithValue(const IpRuleTable& table, uint32_t address, uint32_t ruleValue,
                           MatchResult& result) noexcept {
    const auto findIt = [&]() noexcept {
        return entryWithValue(askIpv4Ranges(table, address), address, ruleValue);
    };
    if (table.flatIpv4Hosts == nullptr) {
        return reportEarlier(findHostWithValue(table, address, ruleValue), findIt(), result);
    }
    return matchFlatHostWithValue(table, *table.flatIpv4Hosts, table.ipv4Answers, address,
                                  ruleValue, findIt, result);
}

int32_t matchIpv6WithValue(const IpRuleTable& table, const Address128& address, uint32_t ruleValue,
                           MatchResult& result) noexcept {
    const auto findIt = [&]() noexcept {
        const AddressHalves key = halvesOf(hostKeyOf(address));
        return entryWithValue(askIpv6Ranges(table, key.first, key.second), address, ruleValue);
    };
    if (table.flatIpv4Hosts != nullptr && isIpv4Mapped(address)) {
        return matchFlatHostWithValue(table, *table.flatIpv4Hosts, table.ipv4Answers,
                                      address.words[3], ruleValue, findIt, result);
    }
    if (table.flatIpv6Hosts == nullptr || isIpv4Mapped(address)) {
        const AddressEntry* chain = findAddress(table.ipv6HostTree, address);
        return reportEarlier(entryWithValue(chain, ruleValue), findIt(), result);
    }
    return matchFlatHostWithValue(table, *table.flatIpv6Hosts, table.ipv6Answers, address,
                                  ruleValue, findIt, result);
}

int32_t matchIpv4Ordered(const IpRuleTable& table, uint32_t address, MatchResult& result) noexcept {
    return reportEarlier(findFirstHost(table, address), findIpv4IntervalOrdered(table, address),
                         result);
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
