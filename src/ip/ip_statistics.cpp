#include "ip/ip_statistics.h"

#include "lookup/hash_table.h"

namespace rs {

namespace {

struct TreeCounts {
    uint64_t nodes;
    uint64_t entries;
};

template <typename Entry>
void countNode(void* context, const TreeNode& node) noexcept {
    auto* counts = static_cast<TreeCounts*>(context);
    ++counts->nodes;
    for (auto* entry = static_cast<const Entry*>(node.entries); entry != nullptr;
         entry = entry->next) {
        ++counts->entries;
    }
}

template <typename Entry>
TreeCounts countTree(SearchTree* tree) noexcept {
    TreeCounts counts{};
    if (tree != nullptr) {
        visitTreeInOrder(*tree, &counts, countNode<Entry>);
    }
    return counts;
}

uint64_t countBucket(const HashBucket& bucket) noexcept {
    uint64_t entries = 0;
    for (const ListLink* link = bucket.list.next; link != &bucket.list; link = link->next) {
        ++entries;
    }
    return entries;
}

}  // namespace

IpRuleStatistics countIpRules(IpRuleTable& table) noexcept {
    IpRuleStatistics statistics{};
    forEachBucket(table.hostTable, [&statistics](const HashBucket& bucket) noexcept {
        statistics.hostEntries += countBucket(bucket);
    });
    const TreeCounts ranges4 = countTree<RangeEntry<uint32_t>>(table.ipv4RangeTree);
    const TreeCounts hosts6 = countTree<AddressEntry>(table.ipv6HostTree);
    const TreeCounts ranges6 = countTree<RangeEntry<Address128>>(table.ipv6RangeTree);
    statistics.ipv4RangeNodes = ranges4.nodes;
    statistics.ipv4RangeEntries = ranges4.entries;
    statistics.ipv6HostNodes = hosts6.nodes;
    statistics.ipv6HostEntries = hosts6.entries;
    statistics.ipv6RangeNodes = ranges6.nodes;
    statistics.ipv6RangeEntries = ranges6.entries;
    return statistics;
}

}  // namespace rs
