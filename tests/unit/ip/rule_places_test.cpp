#include "ip/rule_places.h"

#include <ruleset.h>

#include <cstdint>
#include <vector>

#include <gtest/gtest.h>

#include "support/rule_builder.h"

namespace rs::test {

namespace {

using Ranks = std::vector<uint32_t>;

Ranks hostRanks(const HostPlaces& hosts) {
    return {hosts.ranks.get(), hosts.ranks.get() + hosts.count};
}

// Low and end of each range.
Ranks rangeRanks(const RangePlaces& ranges) {
    Ranks ranks;
    for (uint32_t i = 0; i < ranges.count; ++i) {
        ranks.push_back(ranges.ranges[i].low);
        ranks.push_back(ranges.ranges[i].end);
    }
    return ranks;
}

TEST(RulePlaces, AreNoneWithoutRules) {
    const RuleSetHandle set = makeIpRuleSet({});
    RulePlaces places{};
    ASSERT_TRUE(placeRules(set->ipRules, places));
    EXPECT_EQ(0, places.hosts.count);
    EXPECT_EQ(0, places.ranges.count);
}

TEST(RulePlaces, AreThoseOfTheAddressesInOrder) {
    const RuleSetHandle set = makeIpRuleSet({{"10.0.0.1-10.0.0.4", 7},
                                             {"10.0.0.9", 1},
                                             {"10.0.0.3-10.0.0.8", 8},
                                             {"10.0.0.2", 1},
                                             {"10.0.0.9", 1},
                                             {"10.0.0.9", 2}});
    RulePlaces places{};
    ASSERT_TRUE(placeRules(set->ipRules, places));
    EXPECT_EQ(4, places.hosts.count);
    EXPECT_EQ(4, places.hosts.ipv4Count);
    EXPECT_EQ((Ranks{1, 0, DUPLICATE_HOST, 1}), hostRanks(places.hosts));
    EXPECT_EQ(2, places.hosts.addresses.count());
    EXPECT_EQ(0x0A000009, places.hosts.addresses.at<uint32_t>(1));
    EXPECT_EQ(2, places.ranges.count);
    EXPECT_EQ((Ranks{0, 2, 1, 3}), rangeRanks(places.ranges));
    EXPECT_EQ(8, places.ranges.values[1]);
    EXPECT_EQ(0x0A000005, places.ranges.addresses.at<uint32_t>(2));
}

TEST(RulePlaces, EndAfterTheLastAddressOfAll) {
    const RuleSetHandle set = makeIpRuleSet({{"255.0.0.0-255.255.255.255"}});
    RulePlaces places{};
    ASSERT_TRUE(placeRules(set->ipRules, places));
    EXPECT_EQ((Ranks{0, 1}), rangeRanks(places.ranges));
    EXPECT_EQ(1, places.ranges.addresses.count());
    EXPECT_EQ(UINT32_MAX, places.ranges.addresses.before<uint32_t>(1));
}

TEST(RulePlaces, AreSharedByBothWidths) {
    const RuleSetHandle set = makeIpRuleSet({{"2001:db8::/32", 1},
                                             {"255.255.255.0/24", 1},
                                             {"::ffff:10.0.0.1", 1},
                                             {"10.0.0.1", 1},
                                             {"2001:db8::1", 1},
                                             {"ff00::/8", 1}});
    RulePlaces places{};
    ASSERT_TRUE(placeRules(set->ipRules, places));
    EXPECT_EQ(3, places.hosts.count);
    EXPECT_EQ(2, places.hosts.ipv4Count);
    EXPECT_EQ((Ranks{0, DUPLICATE_HOST, 1}), hostRanks(places.hosts));
    EXPECT_EQ(3, places.ranges.count);
    EXPECT_EQ(1, places.ranges.ipv4Count);
    EXPECT_EQ((Ranks{2, 3, 0, 1, 4, 5}), rangeRanks(places.ranges));
    EXPECT_EQ(UINT32_MAX, places.ranges.addresses.before<uint32_t>(1));
    EXPECT_EQ(LAST_ADDRESS, places.ranges.addresses.before<Address128>(5));
}

}  // namespace

}  // namespace rs::test
