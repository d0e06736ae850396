#include "ip/ip_statistics.h"

#include <ruleset.h>

#include <cstdint>

#include <gtest/gtest.h>

#include "core/rule_group.h"
#include "ip/ip_index.h"
#include "support/rule_builder.h"
#include "support/search_tree_check.h"

namespace rs::test {

namespace {

void expectCounts(const IpRuleStatistics& expected, const IpRuleStatistics& counted) {
    EXPECT_EQ(expected.hostEntries, counted.hostEntries);
    EXPECT_EQ(expected.ipv4RangeNodes, counted.ipv4RangeNodes);
    EXPECT_EQ(expected.ipv4RangeEntries, counted.ipv4RangeEntries);
    EXPECT_EQ(expected.ipv6HostNodes, counted.ipv6HostNodes);
    EXPECT_EQ(expected.ipv6HostEntries, counted.ipv6HostEntries);
    EXPECT_EQ(expected.ipv6RangeNodes, counted.ipv6RangeNodes);
    EXPECT_EQ(expected.ipv6RangeEntries, counted.ipv6RangeEntries);
}

TEST(IpStatistics, CountsEntriesAndNodes) {
    const RuleGroupHandle group = makeIpGroup({{"10.0.0.1", 1},
                                               {"10.0.0.1", 2},
                                               {"10.0.0.2", 1},
                                               {"10.0.0.0/24", 1},
                                               {"10.0.0.100-10.0.1.50", 2},
                                               {"2001:db8::1", 1},
                                               {"2001:db8::1", 2},
                                               {"2001:db8::/32", 1},
                                               {"2001:db8::1", 1}});
    for (int round = 0; round < 2; ++round) {
        expectCounts({3, 2, 3, 3, 5, 3, 4}, countIpRules(*group->ipTable));
        EXPECT_TRUE(checkSearchTree(*group->ipTable->ipv4RangeTree));
        EXPECT_TRUE(checkSearchTree(*group->ipTable->ipv6HostTree));
        EXPECT_TRUE(checkSearchTree(*group->ipTable->ipv6RangeTree));
    }
}

TEST(IpStatistics, CountsNothingWhereNothingIs) {
    expectCounts({}, countIpRules(*makeIpGroup({})->ipTable));
}

TEST(IpStatistics, CountsOneStructureAlone) {
    expectCounts({0, 0, 0, 1, 1, 0, 0}, countIpRules(*makeIpGroup({{"::1"}})->ipTable));
    expectCounts({0, 0, 0, 0, 0, 1, 1}, countIpRules(*makeIpGroup({{"::/1"}})->ipTable));
    expectCounts({1, 0, 0, 1, 1, 0, 0}, countIpRules(*makeIpGroup({{"1.2.3.4"}})->ipTable));
    expectCounts({0, 1, 1, 0, 0, 1, 1}, countIpRules(*makeIpGroup({{"1.2.3.0/24"}})->ipTable));
}

}  // namespace

}  // namespace rs::test
