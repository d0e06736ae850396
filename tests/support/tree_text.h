// Interval trees as texts, so that a test can state the exact nodes and entries.
//
//     "10.0.0.0-10.0.0.255: 1* 10.0.0.0-10.0.0.255, 2 10.0.0.100-10.0.0.255"
//
// is a node with the entries of rules 1 and 2, of which the first owns its rule's userData.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "core/release.h"
#include "ip/ip_index.h"
#include "support/search_tree_check.h"

namespace rs::test {

inline std::string dottedQuad(uint32_t address) {
    return std::to_string(address >> 24U) + '.' + std::to_string((address >> 16U) & 0xFFU) + '.' +
           std::to_string((address >> 8U) & 0xFFU) + '.' + std::to_string(address & 0xFFU);
}

template <typename Entry>
std::string describeRuleOf(const Entry& entry) {
    return std::to_string(entry.ruleIndex) +
           ((entry.entryFlags & ENTRY_RELEASES_USER_DATA) != 0 ? "*" : "");
}

// One line per node, in key order; format turns an address into text.
template <typename Address, typename Format>
std::vector<std::string> describeIntervals(const SearchTree* tree, const Format& format) {
    std::vector<std::string> lines;
    for (const TreeNode* node : nodesInOrder(tree)) {
        const auto& key = *static_cast<const IntervalKey<Address>*>(node->key);
        std::string line = format(key.low) + '-' + format(key.high);
        const char* separator = ": ";
        for (auto* entry = static_cast<const RangeEntry<Address>*>(node->entries); entry != nullptr;
             entry = entry->next) {
            line += separator + describeRuleOf(*entry) + ' ' + format(entry->low) + '-' +
                    format(entry->high);
            separator = ", ";
        }
        lines.push_back(line);
    }
    return lines;
}

inline std::vector<std::string> describeIpv4Ranges(const SearchTree* tree) {
    return describeIntervals<uint32_t>(tree, dottedQuad);
}

// The entries of hostTable in the order of its buckets: "10.0.0.1: 4*".
inline std::vector<std::string> describeHosts(const HashTable* hostTable) {
    std::vector<std::string> lines;
    for (uint32_t i = 0; hostTable != nullptr && i < hostTable->bucketCount; ++i) {
        const ListLink& head = hostTable->buckets[i].list;
        for (ListLink* link = head.next; link != &head; link = link->next) {
            const HostEntry& entry = *hostEntryOf(link);
            lines.push_back(dottedQuad(entry.address) + ": " + describeRuleOf(entry));
        }
    }
    return lines;
}

}  // namespace rs::test
