#include "support/flat_checks_endpoint.h"

#include <algorithm>
#include <cstdint>
#include <set>
#include <unordered_map>

#include <gtest/gtest.h>

#include "endpoint/endpoint_lookups.h"
#include "ipport/ip_port_index.h"
#include "packetfilter/packet_filter_index.h"

namespace rs::test {

namespace {

// So many steps of ordered walks a structure takes at most; of more keys some are asked.
constexpr size_t MOST_STEPS = 2'000'000;
constexpr size_t MOST_KEYS = 5'000;

// The structures that have flat lookups.
template <typename Entry>
struct View {
    const HashTable* exact4;
    const HashTable* exact6;
    const BlockIndex<Entry>* blocks4;
    const RangeList<Entry>* ranges6;
    const EndpointRecords<Entry>& records;
    const EndpointLookups& lookups;
};

// A key and its neighbours.
template <typename Address>
void addKeys(const Address& bound, std::set<Address>& keys) {
    keys.insert({previousAddress(bound), bound, nextAddress(bound)});
}

template <typename Address, typename Check>
void forSomeKeys(const std::set<Address>& keys, size_t stepsOfKey, const Check& check) {
    const size_t most = std::clamp<size_t>(MOST_STEPS / (stepsOfKey + 1), 50, MOST_KEYS);
    const size_t step = keys.size() / most + 1;
    size_t i = 0;
    for (const Address& key : keys) {
        if (i++ % step == 0 && !::testing::Test::HasFailure()) {
            check(key);
        }
    }
}

// Compares two lookups of one key: both are asked with every entry of the key refused, and with the
// entries from the first, second, middle or last one on taken, or failing.
template <typename Entry, typename Ordered, typename Flat>
void checkKey(const Ordered& ordered, const Flat& flat) {
    std::unordered_map<const Entry*, size_t> positions;
    EXPECT_EQ(0, ordered([&positions](const Entry& entry) {
                     positions.emplace(&entry, positions.size());
                     return 0;
                 }).status);
    const size_t count = positions.size();
    for (const size_t position :
         std::set<size_t>{0, 1, count / 2, count - std::min<size_t>(count, 1), count}) {
        for (const int32_t status : {1, RULE_ERR_INVALID_ARG}) {
            if (position <= count) {
                const auto test = [&positions, position, status](const Entry& entry) {
                    const auto place = positions.find(&entry);
                    return place != positions.end() && place->second >= position ? status : 0;
                };
                const EntryAnswer<Entry> expected = ordered(test);
                const EntryAnswer<Entry> answer = flat(test);
                ASSERT_EQ(expected.status, answer.status) << position << " of " << count;
                ASSERT_EQ(expected.entry, answer.entry) << position << " of " << count;
            }
        }
    }
}

template <typename Entry>
void checkRanges(const View<Entry>& view) {
    const auto& buckets = view.records.buckets;
    if (view.lookups.ranges6 == nullptr) {
        return;
    }
    std::set<Address128> keys;
    const RangeBucket<Entry>* bucket = view.ranges6->buckets.first;
    for (uint32_t i = 0; i < buckets.count; ++i, bucket = bucket->next) {
        ASSERT_EQ(bucket, &recordAt(buckets, i)) << "records are in the order of the list";
        addKeys(bucket->low, keys);
        addKeys(bucket->high, keys);
    }
    ASSERT_EQ(nullptr, bucket);
    forSomeKeys(keys, 5 * size_t{buckets.count}, [&](const Address128& key) {
        checkKey<Entry>([&](const auto& test) { return scanRanges(view.ranges6, key, test); },
                        [&](const auto& test) {
                            return findInRanges(view.ranges6, buckets, view.lookups.ranges6, key,
                                                test);
                        });
    });
}

template <typename Entry>
void checkBlocks(const View<Entry>& view) {
    const auto& spans = view.records.spans;
    if (view.lookups.blocks4.order == nullptr) {
        return;
    }
    std::set<uint32_t> keys;
    for (uint32_t i = 0; i < spans.count; ++i) {
        const BlockSpanNode<Entry>& node = recordAt(spans, i);
        const uint32_t block = uint32_t{node.block} << 16U;
        addKeys(block | node.spanLow, keys);
        addKeys(block | node.spanHigh, keys);
    }
    forSomeKeys(keys, spans.count / 4, [&](uint32_t key) {
        checkKey<Entry>([&](const auto& test) { return scanBlocks(view.blocks4, key, test); },
                        [&](const auto& test) {
                            return findInBlocks(view.blocks4, spans, view.lookups.blocks4, key,
                                                test);
                        });
    });
}

template <typename Entry, typename Address>
void checkExact(const HashTable* table, const Slab<ExactAddressNode<Entry, Address>>& nodes,
                const ExactLookup<Address>& lookup) {
    if (lookup.hosts == nullptr) {
        return;
    }
    ASSERT_EQ(table->elementCount, nodes.count);
    std::set<Address> keys;
    for (uint32_t i = 0; i < nodes.count; ++i) {
        addKeys(recordAt(nodes, i).address, keys);
    }
    forSomeKeys(keys, nodes.count / 40, [&](const Address& key) {
        checkKey<Entry>(
            [&](const auto& test) { return scanExact<Entry>(table, key, test); },
            [&](const auto& test) { return findInExact(table, nodes, lookup, key, test); });
    });
}

template <typename Entry>
void checkView(const View<Entry>& view) {
    checkExact(view.exact4, view.records.nodes4, view.lookups.exact4);
    checkExact(view.exact6, view.records.nodes6, view.lookups.exact6);
    checkBlocks(view);
    checkRanges(view);
}

}  // namespace

void checkIpPortLookups(const IpPortIndex& index) {
    checkView<CompiledIpPortRule>(
        {index.exact4, index.exact6, index.blocks4, index.ranges6, index.records, index.lookups});
}

void checkPacketFilterLookups(const PacketFilterTable& table) {
    checkView<FilterEntry>({table.ipv4HostTable, table.ipv6HostTable, table.ipv4BlockIndex,
                            table.ipv6RangeList, table.records, table.lookups});
}

}  // namespace rs::test
