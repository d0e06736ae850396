// What one IP:Port or packet filter rule costs at most: allocations, bytes and time of its build.
#include <ruleset.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <ctime>
#include <iterator>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "core/rule_group.h"
#include "ipport/ip_port_index.h"
#include "packetfilter/packet_filter_index.h"
#include "support/failing_allocator.h"
#include "support/random_source.h"
#include "support/rule_handles.h"

namespace rs::test {

namespace {

constexpr size_t LONGEST_RULE = 4095;
constexpr uint64_t BLOCKS = 65536;
constexpr uint64_t MOST_BYTES = 16'000'000;
constexpr double MOST_SECONDS = 1;

struct BuildCost {
    uint64_t allocations;
    uint64_t bytes;
    double seconds;
};

double processorSeconds() {
    return static_cast<double>(std::clock()) / CLOCKS_PER_SEC;
}

// The cost of a group of one rule, of which nothing may remain.
BuildCost buildCostOf(int32_t type, const std::string& text) {
    const RuleSetHandle set = newRuleSet(type);
    EXPECT_EQ(RULE_OK, addRule(*set, text, 1, 1, nullptr)) << text;
    const AllocationWatch watch;
    const double start = processorSeconds();
    buildRuleGroup(*set).reset();
    const BuildCost cost{watch.allocationCount(), watch.allocatedBytes(),
                         processorSeconds() - start};
    EXPECT_EQ(0U, watch.liveBlockCount());
    return cost;
}

std::string repeated(std::string_view item, size_t count) {
    std::string text(item);
    for (size_t i = 1; i < count; ++i) {
        text += ',';
        text += item;
    }
    return text;
}

std::string ipPortRule(const std::string& first, size_t firstPorts, size_t secondPorts) {
    return first + ';' + repeated("1", firstPorts) + ";1.1.1.1;" + repeated("1", secondPorts) +
           ";1";
}

std::string packetFilterRule(const std::string& first, size_t firstPorts, size_t secondPorts) {
    return "tcp;" + first + ';' + repeated("1", firstPorts) + ";1.1.1.1;" +
           repeated("1", secondPorts);
}

// What a rule says again and again costs no entry; each pass reads the item, that is all.
TEST(EndpointRuleCost, OfARepeatedItemIsOneOfReadingIt) {
    for (const std::string_view item :
         {"0.0.0.0/1", "10.0.0.0/15", "10.0.0.1", "0.0.0.0-255.255.255.255", "::", "::/1"}) {
        SCOPED_TRACE(item);
        const uint64_t once =
            buildCostOf(RULE_TYPE_IP_PORT, ipPortRule(std::string(item), 9, 9)).allocations;
        for (const uint64_t count : {2U, 20U, 150U}) {
            const BuildCost cost =
                buildCostOf(RULE_TYPE_IP_PORT, ipPortRule(repeated(item, count), 9, 9));
            EXPECT_EQ(once + 2 * (count - 1), cost.allocations) << count << " times";
        }
    }
}

// The records of a group of one rule.
struct RecordCounts {
    uint32_t entries;
    uint32_t ports;
    uint32_t spans;
    uint32_t buckets;
};

template <typename Entry>
RecordCounts countsOf(const EndpointRecords<Entry>& records) {
    return {records.entries.count, records.ports.count, records.spans.count, records.buckets.count};
}

RecordCounts recordCountsOf(int32_t type, const std::string& text) {
    const RuleSetHandle set = newRuleSet(type);
    EXPECT_EQ(RULE_OK, addRule(*set, text, 1, 1, nullptr)) << text;
    const RuleGroupHandle group = buildRuleGroup(*set);
    return type == RULE_TYPE_IP_PORT ? countsOf(group->ipPortIndex->records)
                                     : countsOf(group->packetFilterTable->records);
}

// However many entries there are: a port is a node in the lists of each of both views.
TEST(EndpointRuleCost, OfAPortIsOneNodeInEachView) {
    for (const std::string first :
         {"0.0.0.0/1", "10.0.0.0/15", "10.0.0.1", "0.0.0.0-255.255.255.255"}) {
        SCOPED_TRACE(first);
        for (const uint32_t count : {1U, 2U, 100U, 1000U}) {
            SCOPED_TRACE(count);
            EXPECT_EQ(2 * 2 * count,
                      recordCountsOf(RULE_TYPE_IP_PORT, ipPortRule(first, count, count)).ports);
            EXPECT_EQ(2 * 2 * count,
                      recordCountsOf(RULE_TYPE_PACKET_FILTER, packetFilterRule(first, count, count))
                          .ports);
        }
    }
}

// A rule has an entry and a node for each block, and some more for the ends of its ranges.
TEST(EndpointRuleCost, OfABlockIsPaidOnce) {
    constexpr uint32_t HALF = BLOCKS / 2;
    const auto expectCounts = [](const std::string& first, uint32_t spans, uint32_t buckets) {
        SCOPED_TRACE(first);
        const RecordCounts counts = recordCountsOf(RULE_TYPE_IP_PORT, ipPortRule(first, 1, 1));
        EXPECT_EQ(spans, counts.spans);
        EXPECT_EQ(buckets, counts.buckets);
        EXPECT_EQ(spans + buckets, counts.entries);
    };
    expectCounts("0.0.0.0/1", HALF, 1);
    expectCounts("0.0.0.0/1,0.0.0.0/1", HALF, 1);
    expectCounts("0.0.0.1-127.255.255.254,0.0.0.0/1", HALF, 2);
    // The one that goes before it, as a list runs in reverse text order, has its two ends as well.
    expectCounts("0.0.0.0/1,0.0.0.1-127.255.255.254", HALF + 2, 2);
}

// Rules of the greatest length, by the items that they repeat or count through.

enum class Family : uint8_t {
    REPEATED,     // a range of half of all blocks
    MAPPED,       // the range of all blocks
    HALVES,       // the two halves in turn
    NESTED,       // ranges of all blocks, each inside the next one
    SHIFTED,      // ranges of all blocks, each with ends of its own
    ALTERNATING,  // two wide ranges in turn, one inside the other
    ONE_BLOCK,    // ends in one block
    HOSTS,        // single addresses
    WIDE,         // ranges of 128-bit addresses
};

constexpr Family FAMILIES[] = {Family::REPEATED,  Family::MAPPED,  Family::HALVES,
                               Family::NESTED,    Family::SHIFTED, Family::ALTERNATING,
                               Family::ONE_BLOCK, Family::HOSTS,   Family::WIDE};

std::string itemOf(Family family, uint32_t number) {
    const std::string low = std::to_string(number / 250) + '.' + std::to_string(number % 250);
    switch (family) {
        case Family::REPEATED:
            return "0.0.0.0/1";
        case Family::MAPPED:
            return "::ffff:0:0/96";
        case Family::HALVES:
            return number % 2 == 0 ? "0.0.0.0/1" : "128.0.0.0/1";
        case Family::NESTED:
            return "0.0." + low + "-255.255." + std::to_string(255 - number / 250) + '.' +
                   std::to_string(249 - number % 250);
        case Family::SHIFTED:
            return "0.0." + low + "-255.255." + low;
        case Family::ALTERNATING:
            return number % 2 == 0 ? "0.0.0.1-255.9.9.9" : "0.0.0.0/1";
        case Family::ONE_BLOCK:
            return "0.0." + low + "-0.0.255.9";
        case Family::HOSTS:
            return "0.0." + low;
        case Family::WIDE:
            return "::" + std::to_string(number) + "-f::";
    }
    return {};
}

// As many items as fit into the length.
template <typename ItemAt>
std::string listOf(size_t length, const ItemAt& itemAt) {
    std::string list = itemAt(0U);
    for (uint32_t i = 1;; ++i) {
        const std::string item = itemAt(i);
        if (list.size() + 1 + item.size() > length) {
            return list;
        }
        list += ',' + item;
    }
}

// A rule of the greatest length whose first addresses take a share of it, in hundredths.
template <typename ItemAt>
std::string longestRule(uint32_t share, const ItemAt& itemAt) {
    const std::string first = listOf(40 * share, itemAt);
    return ipPortRule(first, std::max<size_t>(1, (LONGEST_RULE - 25 - first.size()) / 2), 1);
}

void expectWithinBounds(int32_t type, const std::string& text) {
    SCOPED_TRACE(text.substr(0, 100));
    EXPECT_GE(LONGEST_RULE, text.size());
    const BuildCost cost = buildCostOf(type, text);
    EXPECT_GE(MOST_BYTES, cost.bytes);
    if (RULESET_TESTS_SANITIZED == 0) {
        EXPECT_GE(MOST_SECONDS, cost.seconds);
    }
}

TEST(EndpointRuleCost, OfAnIpPortRuleIsBounded) {
    for (const Family family : FAMILIES) {
        for (const uint32_t share : {10U, 50U, 100U}) {
            expectWithinBounds(RULE_TYPE_IP_PORT, longestRule(share, [family](uint32_t number) {
                                   return itemOf(family, number);
                               }));
        }
    }
    // Second addresses are shared as ports are.
    expectWithinBounds(RULE_TYPE_IP_PORT,
                       "0.0.0.0-255.255.255.254;1;" + repeated("0.0.0.0", 500) + ";1;1");
    expectWithinBounds(RULE_TYPE_IP_PORT,
                       "::ffff:0:0/96;1;" + repeated("::", 1000) + ",::ffff:0:1;1;1");
}

TEST(EndpointRuleCost, OfAPacketFilterRuleIsBounded) {
    for (const std::string first :
         {"0.0.0.0-255.255.255.254", "0.0.0.0-255.255.255.255", "0.0.0.0/1", "10.0.0.1"}) {
        for (const size_t ports : {1U, 1000U, 2000U}) {
            expectWithinBounds(RULE_TYPE_PACKET_FILTER, packetFilterRule(first, ports, 1));
            expectWithinBounds(RULE_TYPE_PACKET_FILTER, packetFilterRule(first, 1, ports));
        }
    }
    expectWithinBounds(RULE_TYPE_PACKET_FILTER, "tcp;::ffff:0:0/96;" + repeated("1", 1000) +
                                                    ";::ffff:0:0/96;" + repeated("1", 1000));
}

// Items of all families in one list, in any order.
TEST(EndpointRuleCost, OfARandomRuleIsBounded) {
    forEachCase(20, [](RandomSource& random) {
        const auto itemAt = [&random](uint32_t /*number*/) {
            const Family family = FAMILIES[random.below(std::size(FAMILIES))];
            return itemOf(family, random.below32(random.oneIn(2) ? 4 : 1000));
        };
        const auto share = static_cast<uint32_t>(random.between(1, 100));
        expectWithinBounds(RULE_TYPE_IP_PORT, longestRule(share, itemAt));
    });
}

}  // namespace

}  // namespace rs::test
