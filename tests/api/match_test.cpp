// The exported lookups through the shared library.
#include <ruleset.h>

#include <array>
#include <cstdint>

#include <gtest/gtest.h>

#include "support/rule_builder.h"
#include "support/winner.h"

namespace rs::test {

namespace {

using Bytes16 = std::array<uint8_t, 16>;

constexpr Bytes16 MAPPED_10_0_0_1 = {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xFF, 0xFF, 10, 0, 0, 1};
constexpr Bytes16 COMPATIBLE_10_0_0_1 = {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 10, 0, 0, 1};

uint32_t winnerOfNumber(const RuleGroup& group, uint32_t address) {
    return winnerOfMatch(
        [&](MatchResult* result) { return rs_matchIPRuleGroup(&group, address, result); });
}

uint32_t winnerOfBytes(const RuleGroup& group, int32_t family, const uint8_t* bytes) {
    return winnerOfMatch(
        [&](MatchResult* result) { return rs_matchIPRuleGroupEx(&group, family, bytes, result); });
}

TEST(IpMatchApi, ReportsTheWinningRule) {
    int userData = 0;
    const RuleGroupHandle group = makeIpGroup({{"10.0.0.0/8", 4}, {"192.168.0.1", 5, &userData}});
    MatchResult result = UNTOUCHED;
    ASSERT_EQ(1, rs_matchIPRuleGroup(group.get(), 0xC0A80001, &result));
    EXPECT_EQ(2, result.ruleIndex);
    EXPECT_EQ(5, result.ruleValue);
    EXPECT_EQ(ruleIdAt(2), result.ruleId);
    EXPECT_EQ(&userData, result.userData);
    ASSERT_EQ(1, rs_matchIPRuleGroup(group.get(), 0x0AFFFFFF, &result));
    EXPECT_EQ(1, result.ruleIndex);
    EXPECT_EQ(4, result.ruleValue);
    EXPECT_EQ(ruleIdAt(1), result.ruleId);
    EXPECT_EQ(nullptr, result.userData);
}

TEST(IpMatchApi, PrefersTheEarlierRule) {
    const RuleGroupHandle rangeFirst = makeIpGroup({{"10.0.0.0/8"}, {"10.1.1.1"}});
    EXPECT_EQ(1, winnerOfNumber(*rangeFirst, 0x0A010101));
    const RuleGroupHandle hostFirst = makeIpGroup({{"10.1.1.1"}, {"10.0.0.0/8"}});
    EXPECT_EQ(1, winnerOfNumber(*hostFirst, 0x0A010101));
    EXPECT_EQ(2, winnerOfNumber(*hostFirst, 0x0A010102));
}

TEST(IpMatchApi, FindsNothingInAnEmptyGroup) {
    const RuleGroupHandle group = makeIpGroup({});
    for (const uint32_t address : {0U, 1U, 0x0A000001U, 0x80000000U, 0xFFFFFFFFU}) {
        EXPECT_EQ(0, winnerOfNumber(*group, address));
    }
    EXPECT_EQ(0, winnerOfBytes(*group, 6, MAPPED_10_0_0_1.data()));
}

TEST(IpMatchExApi, InFamily4ReadsNetworkOrder) {
    const RuleGroupHandle group = makeIpGroup({{"10.0.0.1"}, {"1.2.3.4"}, {"255.0.0.0/8"}});
    // An odd address: nothing needs alignment.
    constexpr std::array<uint8_t, 13> BYTES = {9, 10, 0, 0, 1, 1, 2, 3, 4, 0xFF, 0x80, 0x7F, 0xFE};
    EXPECT_EQ(1, winnerOfBytes(*group, 4, BYTES.data() + 1));
    EXPECT_EQ(2, winnerOfBytes(*group, 4, BYTES.data() + 5));
    EXPECT_EQ(3, winnerOfBytes(*group, 4, BYTES.data() + 9));
    EXPECT_EQ(0, winnerOfBytes(*group, 4, BYTES.data()));
    EXPECT_EQ(1, winnerOfNumber(*group, 0x0A000001));
    EXPECT_EQ(0, winnerOfNumber(*group, 0x0100000A));
}

TEST(IpMatchExApi, InFamily6ReadsNetworkOrder) {
    const RuleGroupHandle group = makeIpGroup({{"102:304:506:708:90a:b0c:d0e:f10"}});
    constexpr std::array<uint8_t, 17> BYTES = {0, 1,  2,  3,  4,  5,  6,  7, 8,
                                               9, 10, 11, 12, 13, 14, 15, 16};
    EXPECT_EQ(1, winnerOfBytes(*group, 6, BYTES.data() + 1));
    EXPECT_EQ(0, winnerOfBytes(*group, 6, BYTES.data()));
}

TEST(IpMatchExApi, FindsIpv4RulesForMappedAddressesOnly) {
    const RuleGroupHandle group = makeIpGroup({{"10.0.0.1"}});
    EXPECT_EQ(1, winnerOfBytes(*group, 6, MAPPED_10_0_0_1.data()));
    EXPECT_EQ(0, winnerOfBytes(*group, 6, COMPATIBLE_10_0_0_1.data()));
    EXPECT_EQ(1, winnerOfBytes(*group, 4, MAPPED_10_0_0_1.data() + 12));
}

TEST(IpMatchExApi, FindsMappedRulesInBothFamilies) {
    const RuleGroupHandle group = makeIpGroup({{"::ffff:a00:1"}, {"::ffff:10.0.0.0/104"}});
    EXPECT_EQ(1, winnerOfBytes(*group, 6, MAPPED_10_0_0_1.data()));
    EXPECT_EQ(1, winnerOfBytes(*group, 4, MAPPED_10_0_0_1.data() + 12));
    EXPECT_EQ(1, winnerOfNumber(*group, 0x0A000001));
    EXPECT_EQ(2, winnerOfNumber(*group, 0x0A000002));
    const RuleGroupHandle compatible = makeIpGroup({{"::10.0.0.1"}});
    EXPECT_EQ(0, winnerOfNumber(*compatible, 0x0A000001));
    EXPECT_EQ(1, winnerOfBytes(*compatible, 6, COMPATIBLE_10_0_0_1.data()));
}

TEST(IpMatchExApi, LetsARangeOverTheMappedBlockCoverItInFamily6Only) {
    const RuleGroupHandle group = makeIpGroup({{"::/1"}, {"10.0.0.1"}});
    EXPECT_EQ(1, winnerOfBytes(*group, 6, MAPPED_10_0_0_1.data()));
    EXPECT_EQ(2, winnerOfBytes(*group, 4, MAPPED_10_0_0_1.data() + 12));
    EXPECT_EQ(0, winnerOfNumber(*group, 0x0A000002));
}

TEST(IpMatchApi, RefusesNullArguments) {
    const RuleGroupHandle group = makeIpGroup({{"10.0.0.1"}});
    MatchResult result = UNTOUCHED;
    EXPECT_EQ(RULE_ERR_INVALID_ARG, rs_matchIPRuleGroup(nullptr, 0x0A000001, &result));
    EXPECT_EQ(RULE_ERR_INVALID_ARG, rs_matchIPRuleGroup(group.get(), 0x0A000001, nullptr));
    EXPECT_EQ(RULE_ERR_INVALID_ARG, rs_matchIPRuleGroup(nullptr, 0x0A000001, nullptr));
    const uint8_t* bytes = MAPPED_10_0_0_1.data();
    for (const int32_t family : {4, 6}) {
        EXPECT_EQ(RULE_ERR_INVALID_ARG, rs_matchIPRuleGroupEx(nullptr, family, bytes, &result));
        EXPECT_EQ(RULE_ERR_INVALID_ARG, rs_matchIPRuleGroupEx(group.get(), family, bytes, nullptr));
        EXPECT_EQ(RULE_ERR_INVALID_ARG,
                  rs_matchIPRuleGroupEx(group.get(), family, nullptr, &result));
    }
    EXPECT_EQ(UNTOUCHED, result);
}

TEST(IpMatchExApi, KnowsTwoFamilies) {
    const RuleGroupHandle group = makeIpGroup({{"0.0.0.0-255.255.255.255"}, {"::/1"}});
    for (const int32_t family : {0, 1, 2, 3, 5, 7, 10, -4, -6, 0x104, INT32_MAX, INT32_MIN}) {
        MatchResult result = UNTOUCHED;
        EXPECT_EQ(RULE_ERR_INVALID_ARG,
                  rs_matchIPRuleGroupEx(group.get(), family, MAPPED_10_0_0_1.data(), &result))
            << family;
        EXPECT_EQ(UNTOUCHED, result);
    }
}

TEST(IpMatchApi, RefusesGroupsOfOtherTypes) {
    for (const int32_t type : {RULE_TYPE_FQDN, RULE_TYPE_URL, RULE_TYPE_PACKET_FILTER,
                               RULE_TYPE_IP_PORT, RULE_TYPE_COMPOUND}) {
        const RuleGroupHandle group = buildRuleGroup(*newRuleSet(type));
        ASSERT_NE(nullptr, group) << type;
        MatchResult result = UNTOUCHED;
        EXPECT_EQ(RULE_ERR_INVALID_ARG, rs_matchIPRuleGroup(group.get(), 1, &result)) << type;
        for (const int32_t family : {4, 6}) {
            EXPECT_EQ(RULE_ERR_INVALID_ARG,
                      rs_matchIPRuleGroupEx(group.get(), family, MAPPED_10_0_0_1.data(), &result))
                << type;
        }
        EXPECT_EQ(UNTOUCHED, result);
    }
}

}  // namespace

}  // namespace rs::test
