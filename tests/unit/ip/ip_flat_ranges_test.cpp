#include "ip/ip_flat_ranges.h"

#include <cstdint>
#include <string>

#include <gtest/gtest.h>

#include "core/rule_group.h"
#include "core/rule_set.h"
#include "ip/ip_match.h"
#include "lookup/flat_policy.h"
#include "support/flat_checks_ranges.h"
#include "support/rule_builder.h"
#include "support/rule_handles.h"
#include "support/scoped_flat_use.h"
#include "syntax/address128.h"

namespace rs::test {

namespace {

RuleGroupHandle groupOfRanges(uint32_t count) {
    const RuleSetHandle set = newRuleSet(RULE_TYPE_IP);
    for (uint32_t i = 0; i < count; ++i) {
        const std::string text = "10.0." + std::to_string(i) + ".0/24";
        EXPECT_EQ(RULE_OK, addRule(*set, text, i, i + 1, nullptr));
    }
    RuleGroup* group = nullptr;
    EXPECT_EQ(RULE_OK, rs_buildRuleGroup(set.get(), &group));
    return RuleGroupHandle(group);
}

// Tests may set flatUse, which is as before after each.
class FlatIpRanges : public ::testing::Test {
    ScopedFlatUse before_{flatUse};
};

TEST_F(FlatIpRanges, AreBuiltFromTheirThresholdOn) {
    flatUse = FlatUse::BY_SIZE;
    const RuleGroupHandle few = groupOfRanges(FLAT_IPV4_RANGES - 1);
    EXPECT_EQ(nullptr, few->ipTable->flatIpv4Ranges);
    const RuleGroupHandle many = groupOfRanges(FLAT_IPV4_RANGES);
    EXPECT_NE(nullptr, many->ipTable->flatIpv4Ranges);
    checkFlatIpRanges(*many->ipTable);
}

TEST_F(FlatIpRanges, OfIpv4AloneServeMappedAddressesToo) {
    flatUse = FlatUse::ALWAYS;
    const RuleGroupHandle group = groupOfRanges(FLAT_IPV4_RANGES);
    const IpRuleTable& table = *group->ipTable;
    EXPECT_TRUE(hasMirroredRanges(table));
    EXPECT_EQ(nullptr, table.flatIpv6Ranges);
    MatchResult result{};
    EXPECT_EQ(1, matchIpv6(table, mappedAddress(0x0A000300), result));
    EXPECT_EQ(4, result.ruleIndex);
    EXPECT_EQ(0, matchIpv6(table, mappedAddress(0x0A010000), result));
    EXPECT_EQ(0, matchIpv6(table, Address128{{0, 0, 0, 0x0A000300}}, result));
}

TEST_F(FlatIpRanges, WithAnIpv6RangeAreTwo) {
    flatUse = FlatUse::ALWAYS;
    const RuleGroupHandle group = makeIpGroup({{"10.0.0.0/24"}, {"2001:db8::/32"}});
    const IpRuleTable& table = *group->ipTable;
    EXPECT_FALSE(hasMirroredRanges(table));
    ASSERT_NE(nullptr, table.flatIpv6Ranges);
    checkFlatIpRanges(table);
}

}  // namespace

}  // namespace rs::test
