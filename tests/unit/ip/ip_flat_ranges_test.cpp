#include "ip/ip_flat_ranges.h"

#include <cstdint>
#include <string>

#include <gtest/gtest.h>

#include "core/rule_group.h"
#include "core/rule_set.h"
#include "lookup/flat_policy.h"
#include "support/flat_checks_ranges.h"
#include "support/rule_handles.h"
#include "support/scoped_flat_use.h"

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
    EXPECT_NE(nullptr, many->ipTable->flatIpv6Ranges);  // IPv4 rules are in it in mapped form
    checkFlatIpRanges(*many->ipTable);
}

}  // namespace

}  // namespace rs::test
