#include "ip/ip_flat_hosts.h"

#include <cstdint>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "core/list.h"
#include "core/rule_group.h"
#include "core/slab.h"
#include "ip/ip_index.h"
#include "ip/ip_match.h"
#include "lookup/hash_table.h"
#include "support/flat_checks_ip.h"
#include "support/rule_builder.h"
#include "support/rule_handles.h"
#include "support/scoped_flat_use.h"

namespace rs::test {

namespace {

RuleGroupHandle makeHosts(const std::string& before, uint32_t count) {
    const RuleSetHandle set = newRuleSet(RULE_TYPE_IP);
    for (uint32_t i = 0; i < count; ++i) {
        EXPECT_EQ(RULE_OK, addRule(*set, before + std::to_string(i)));
    }
    return buildRuleGroup(*set);
}

TEST(FlatIpHosts, AreBuiltFromTheirThresholdsOn) {
    const ScopedFlatUse bySize(FlatUse::BY_SIZE);
    const struct {
        const char* before;
        uint32_t count;
        bool isIpv4Flat;
        bool isIpv6Flat;
    } rows[] = {
        {"10.0.0.", FLAT_IPV4_HOSTS - 1, false, false},
        {"10.0.0.", FLAT_IPV4_HOSTS, true, true},
        {"2001:db8::", FLAT_IPV6_HOSTS - 1, false, false},
        {"2001:db8::", FLAT_IPV6_HOSTS, false, true},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.before + std::to_string(row.count));
        const RuleGroupHandle group = makeHosts(row.before, row.count);
        const IpRuleTable& table = *group->ipTable;
        EXPECT_EQ(row.isIpv4Flat, table.flatIpv4Hosts != nullptr);
        EXPECT_EQ(row.isIpv4Flat, table.ipv4Answers != nullptr);
        EXPECT_EQ(row.isIpv6Flat, table.flatIpv6Hosts != nullptr);
        EXPECT_EQ(row.isIpv6Flat, table.ipv6Answers != nullptr);
        checkFlatIpHosts(table);
    }
}

TEST(FlatIpHosts, LeaveMappedAddressesToTheLookupOf32Bits) {
    const ScopedFlatUse always(FlatUse::ALWAYS);
    const RuleGroupHandle group =
        makeIpGroup({{"10.0.0.1"}, {"::ffff:10.0.0.2"}, {"2001:db8::1"}, {"10.0.0.1", 1}});
    const IpRuleTable& table = *group->ipTable;
    ASSERT_NE(nullptr, table.flatIpv4Hosts);
    ASSERT_NE(nullptr, table.flatIpv6Hosts);
    EXPECT_EQ(2U, table.flatIpv4Hosts->count);
    EXPECT_EQ(1U, table.flatIpv6Hosts->count);
    checkFlatIpHosts(table);
}

TEST(FlatIpHosts, AreAskedAloneWithoutARangeOfTheirWidth) {
    const ScopedFlatUse always(FlatUse::ALWAYS);
    const struct {
        const char* range;
        bool isIpv4Alone;
        bool isIpv6Alone;
    } rows[] = {
        {"10.0.0.9", true, true}, {"10.0.0.0/8", false, false}, {"2001:db8::/32", true, false}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.range);
        const RuleGroupHandle group = makeIpGroup({{"10.0.0.1"}, {"2001:db8::1"}, {row.range}});
        const IpRuleTable& table = *group->ipTable;
        EXPECT_EQ(row.isIpv4Alone ? table.flatIpv4Hosts : nullptr, table.onlyIpv4Hosts);
        EXPECT_EQ(row.isIpv6Alone ? table.flatIpv6Hosts : nullptr, table.onlyIpv6Hosts);
        checkFlatIpHosts(table);
    }
}

TEST(FlatIpHosts, FindEachOfTheValuesOfAnAddress) {
    const ScopedFlatUse always(FlatUse::ALWAYS);
    const RuleSetHandle set = newRuleSet(RULE_TYPE_IP);
    for (uint32_t value = 0; value < 40; ++value) {
        EXPECT_EQ(RULE_OK, addRule(*set, "10.0.0.1", value));
        EXPECT_EQ(RULE_OK, addRule(*set, "2001:db8::1", value));
    }
    EXPECT_EQ(RULE_OK, addRule(*set, "10.0.0.0/8", 50));
    const RuleGroupHandle group = buildRuleGroup(*set);
    checkFlatIpHosts(*group->ipTable);
    for (uint32_t value = 0; value < 40; ++value) {
        MatchResult result{};
        EXPECT_EQ(1, matchIpv4WithValue(*group->ipTable, 0x0A000001, value, result));
        EXPECT_EQ(2 * value + 1, result.ruleIndex);
    }
}

std::vector<uint32_t> bucketOrder(const HashTable* hostTable) {
    std::vector<uint32_t> order;
    forEachBucket(hostTable, [&order](const HashBucket& bucket) {
        for (ListLink* link = bucket.list.next; link != &bucket.list; link = link->next) {
            EXPECT_EQ(link, link->next->prev);
            order.push_back(hostEntryOf(link)->ruleIndex);
        }
    });
    return order;
}

std::vector<uint32_t> chainOrder(const Slab<AddressNode>& nodes) {
    std::vector<uint32_t> order;
    for (uint32_t i = 0; i < nodes.count; ++i) {
        for (auto* entry = static_cast<const AddressEntry*>(recordAt(nodes, i).node.entries);
             entry != nullptr; entry = entry->next) {
            order.push_back(entry->ruleIndex);
        }
    }
    return order;
}

TEST(FlatIpHosts, KeepTheOrderOfBucketsAndChains) {
    const RuleSetHandle set = newRuleSet(RULE_TYPE_IP);
    for (uint32_t i = 0; i < 6000; ++i) {
        const std::string ipv4 = "10.0." + std::to_string(i % 250) + "." + std::to_string(i % 9);
        EXPECT_EQ(RULE_OK, addRule(*set, ipv4, i / 3));
        EXPECT_EQ(RULE_OK, addRule(*set, "2001:db8::" + std::to_string(i % 70), i));
    }
    std::vector<uint32_t> buckets;
    std::vector<uint32_t> chains;
    {
        const ScopedFlatUse never(FlatUse::NEVER);
        const RuleGroupHandle group = buildRuleGroup(*set);
        buckets = bucketOrder(group->ipTable->hostTable);
        chains = chainOrder(group->ipTable->ipv6HostNodes);
    }
    const ScopedFlatUse always(FlatUse::ALWAYS);
    const RuleGroupHandle group = buildRuleGroup(*set);
    ASSERT_NE(nullptr, group->ipTable->flatIpv4Hosts);
    ASSERT_NE(nullptr, group->ipTable->flatIpv6Hosts);
    EXPECT_EQ(buckets, bucketOrder(group->ipTable->hostTable));
    EXPECT_EQ(chains, chainOrder(group->ipTable->ipv6HostNodes));
}

}  // namespace

}  // namespace rs::test
