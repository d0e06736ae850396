#include "ip/ip_match.h"

#include "core/entry.h"
#include "lookup/address_hash.h"
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

}  // namespace

int32_t matchIpv4(const IpRuleTable& table, uint32_t address, MatchResult& result) noexcept {
    return reportEarlier(
        findHost(table.hostTable, address, [](const HostEntry&) noexcept { return true; }),
        findInterval<uint32_t>(table.ipv4RangeTree, address), result);
}

int32_t matchIpv6(const IpRuleTable& table, const Address128& address,
                  MatchResult& result) noexcept {
    return reportEarlier(findAddress(table.ipv6HostTree, address),
                         findInterval<Address128>(table.ipv6RangeTree, address), result);
}

int32_t matchIpv4WithValue(const IpRuleTable& table, uint32_t address, uint32_t ruleValue,
                           MatchResult& result) noexcept {
    const auto* interval = findInterval<uint32_t>(table.ipv4RangeTree, address);
    return reportEarlier(findHost(table.hostTable, address,
                                  [ruleValue](const HostEntry& entry) noexcept {
                                      return entry.ruleValue == ruleValue;
                                  }),
                         entryWithValue(interval, address, ruleValue), result);
}

int32_t matchIpv6WithValue(const IpRuleTable& table, const Address128& address, uint32_t ruleValue,
                           MatchResult& result) noexcept {
    const auto* interval = findInterval<Address128>(table.ipv6RangeTree, address);
    return reportEarlier(entryWithValue(findAddress(table.ipv6HostTree, address), ruleValue),
                         entryWithValue(interval, address, ruleValue), result);
}

}  // namespace rs
