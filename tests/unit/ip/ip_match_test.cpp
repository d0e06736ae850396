#include "ip/ip_match.h"

#include <ruleset.h>

#include <cstdint>

#include <gtest/gtest.h>

#include "core/library_option.h"
#include "core/rule_group.h"
#include "ip/ip_compile.h"
#include "ip/ip_index.h"
#include "support/rule_builder.h"
#include "support/scoped_flat_use.h"
#include "support/winner.h"

namespace rs::test {

namespace {

constexpr uint32_t ONES = 0xFFFFFFFF;

uint32_t ipv4Winner(const RuleGroup& group, uint32_t address) {
    return winnerOfMatch(
        [&](MatchResult* result) { return matchIpv4(*group.ipTable, address, *result); });
}

uint32_t ipv6Winner(const RuleGroup& group, const Address128& address) {
    return winnerOfMatch(
        [&](MatchResult* result) { return matchIpv6(*group.ipTable, address, *result); });
}

uint32_t ipv4Winner(const RuleGroup& group, uint32_t address, uint32_t ruleValue) {
    return winnerOfMatch([&](MatchResult* result) {
        const int32_t status = matchIpv4WithValue(*group.ipTable, address, ruleValue, *result);
        EXPECT_TRUE(status != 1 || result->ruleValue == ruleValue);
        return status;
    });
}

uint32_t ipv6Winner(const RuleGroup& group, const Address128& address, uint32_t ruleValue) {
    return winnerOfMatch([&](MatchResult* result) {
        const int32_t status = matchIpv6WithValue(*group.ipTable, address, ruleValue, *result);
        EXPECT_TRUE(status != 1 || result->ruleValue == ruleValue);
        return status;
    });
}

TEST(IpMatch, ReportsWhatTheHostAttached) {
    int userData = 0;
    const RuleGroupHandle group =
        makeIpGroup({{"10.0.0.1", 5, &userData}, {"10.0.0.0/8", 6, &userData}});
    const struct {
        uint32_t address;
        MatchResult expected;
    } rows[] = {{0x0A000001, {1, 5, 1001, &userData}}, {0x0A000002, {2, 6, 1002, &userData}}};
    for (const auto& row : rows) {
        for (const bool isIpv4 : {true, false}) {
            MatchResult result = UNTOUCHED;
            EXPECT_EQ(1, isIpv4 ? matchIpv4(*group->ipTable, row.address, result)
                                : matchIpv6(*group->ipTable, mappedAddress(row.address), result));
            EXPECT_EQ(row.expected, result);
        }
    }
}

TEST(IpMatch, PrefersAnEarlierIntervalToAnAddress) {
    const RuleGroupHandle group = makeIpGroup({{"10.0.0.0/8"}, {"10.1.1.1"}});
    EXPECT_EQ(1, ipv4Winner(*group, 0x0A010101));
    EXPECT_EQ(1, ipv6Winner(*group, mappedAddress(0x0A010101)));
}

TEST(IpMatch, PrefersAnEarlierAddressToAnInterval) {
    const RuleGroupHandle group = makeIpGroup({{"10.1.1.1"}, {"10.0.0.0/8"}});
    EXPECT_EQ(1, ipv4Winner(*group, 0x0A010101));
    EXPECT_EQ(2, ipv4Winner(*group, 0x0A010102));
    EXPECT_EQ(1, ipv6Winner(*group, mappedAddress(0x0A010101)));
    EXPECT_EQ(2, ipv6Winner(*group, mappedAddress(0x0A010102)));
}

TEST(IpMatch, PrefersTheEarliestOfManyIntervals) {
    const RuleGroupHandle group = makeIpGroup({{"10.0.5.0/24", 1},
                                               {"10.0.0.0/16", 2},
                                               {"10.0.4.0/22", 3},
                                               {"10.0.0.0-10.0.255.254", 4},
                                               {"0.0.0.0-255.255.255.255", 5}});
    constexpr struct {
        uint32_t address;
        uint32_t winner;
    } ROWS[] = {
        {0x0A000500, 1}, {0x0A0005FF, 1}, {0x0A000400, 2}, {0x0A000600, 2}, {0x0A000000, 2},
        {0x0A00FFFF, 2}, {0x0A010000, 5}, {0x09FFFFFF, 5}, {0, 5},          {ONES, 5},
    };
    for (const auto& row : ROWS) {
        EXPECT_EQ(row.winner, ipv4Winner(*group, row.address)) << row.address;
        EXPECT_EQ(row.winner, ipv6Winner(*group, mappedAddress(row.address))) << row.address;
    }
}

TEST(IpMatch, MissesBesideTheEdgesOfIntervals) {
    const RuleGroupHandle group = makeIpGroup({{"10.0.0.10-10.0.0.20"},
                                               {"0.0.0.0"},
                                               {"255.255.255.254-255.255.255.255"},
                                               {"2001:db8::/32"}});
    constexpr struct {
        Address128 address;
        uint32_t winner;
    } ROWS[] = {
        {mappedAddress(0x0A000009), 0},
        {mappedAddress(0x0A00000A), 1},
        {mappedAddress(0x0A000014), 1},
        {mappedAddress(0x0A000015), 0},
        {mappedAddress(0), 2},
        {mappedAddress(1), 0},
        {mappedAddress(ONES - 2), 0},
        {mappedAddress(ONES - 1), 3},
        {mappedAddress(ONES), 3},
        // Neighbours of the mapped block.
        {{{0, 0, 0xFFFE, ONES}}, 0},
        {{{0, 0, 0x10000, 0}}, 0},
        {{{0x20010DB7, ONES, ONES, ONES}}, 0},
        {{{0x20010DB8, 0, 0, 0}}, 4},
        {{{0x20010DB8, ONES, ONES, ONES}}, 4},
        {{{0x20010DB9, 0, 0, 0}}, 0},
    };
    for (const auto& row : ROWS) {
        EXPECT_EQ(row.winner, ipv6Winner(*group, row.address));
        if (isIpv4Mapped(row.address)) {
            EXPECT_EQ(row.winner, ipv4Winner(*group, row.address.words[3]));
        }
    }
}

TEST(IpMatch, FindsNothingInAnEmptyGroup) {
    const RuleGroupHandle group = makeIpGroup({});
    for (const uint32_t address : {0U, 1U, 0x7F000001U, 0x80000000U, ONES}) {
        EXPECT_EQ(0, ipv4Winner(*group, address));
        EXPECT_EQ(0, ipv4Winner(*group, address, 0));
        EXPECT_EQ(0, ipv6Winner(*group, mappedAddress(address)));
        EXPECT_EQ(0, ipv6Winner(*group, {{address, address, address, address}}, 0));
    }
}

TEST(IpMatch, FindsMappedRulesAndAddressesInBothFamilies) {
    const RuleGroupHandle group =
        makeIpGroup({{"10.0.0.1"}, {"::ffff:10.0.0.2"}, {"10.1.0.0/16"}, {"::ffff:10.2.0.0/112"}});
    constexpr struct {
        uint32_t address;
        uint32_t winner;
    } ROWS[] = {{0x0A000001, 1}, {0x0A000002, 2}, {0x0A010000, 3}, {0x0A02FFFF, 4}};
    for (const auto& row : ROWS) {
        EXPECT_EQ(row.winner, ipv4Winner(*group, row.address));
        EXPECT_EQ(row.winner, ipv6Winner(*group, mappedAddress(row.address)));
        // Without the ffff word the address is another.
        EXPECT_EQ(0, ipv6Winner(*group, {{0, 0, 0, row.address}}));
    }
}

TEST(IpMatch, AnswersFamiliesApartWhereARangeReachesOverTheMappedBlock) {
    const RuleGroupHandle group = makeIpGroup({{"::/1"}, {"10.0.0.1"}, {"10.0.0.0/8"}});
    EXPECT_EQ(2, ipv4Winner(*group, 0x0A000001));
    EXPECT_EQ(3, ipv4Winner(*group, 0x0A000002));
    EXPECT_EQ(0, ipv4Winner(*group, 0x0B000000));
    EXPECT_EQ(1, ipv6Winner(*group, mappedAddress(0x0A000001)));
    EXPECT_EQ(1, ipv6Winner(*group, mappedAddress(0x0B000000)));
}

// Each family with the structures of the other one alone.
TEST(IpMatch, OfOneFamilyNeverReadsTheOrderedStructuresOfTheOther) {
    const ScopedFlatUse orderedOnly(FlatUse::NEVER);
    const RuleGroupHandle group = makeIpGroup({{"10.0.0.1"}, {"10.1.0.0/16"}});
    IpRuleTable& table = *group->ipTable;
    IpRuleTable complete = table;

    table.hostTable = nullptr;
    table.ipv4RangeTree = nullptr;
    table.flatIpv4Ranges = nullptr;
    EXPECT_EQ(0, ipv4Winner(*group, 0x0A000001));
    EXPECT_EQ(0, ipv4Winner(*group, 0x0A010000));
    EXPECT_EQ(1, ipv6Winner(*group, mappedAddress(0x0A000001)));
    EXPECT_EQ(2, ipv6Winner(*group, mappedAddress(0x0A010000)));

    table = complete;
    table.ipv6HostTree = nullptr;
    table.ipv6RangeTree = nullptr;
    table.flatIpv6Ranges = nullptr;
    EXPECT_EQ(1, ipv4Winner(*group, 0x0A000001));
    EXPECT_EQ(2, ipv4Winner(*group, 0x0A010000));
    EXPECT_EQ(0, ipv6Winner(*group, mappedAddress(0x0A000001)));
    EXPECT_EQ(0, ipv6Winner(*group, mappedAddress(0x0A010000)));
    table = complete;
}

// Deliberate: no build makes two hits of one rule, and such a pair is no match.
TEST(IpMatch, TakesTwoHitsWithOneRuleIndexForAMiss) {
    const RuleGroupHandle group = makeIpGroup({{"10.0.0.1", 5}, {"10.0.0.0/8", 5}});
    IpRuleTable& table = *group->ipTable;
    auto& range4 = *static_cast<RangeEntry<uint32_t>*>(table.ipv4RangeTree->root->entries);
    auto& range6 = *static_cast<RangeEntry<Address128>*>(table.ipv6RangeTree->root->entries);
    range4.ruleIndex = 1;
    range6.ruleIndex = 1;
    EXPECT_EQ(0, ipv4Winner(*group, 0x0A000001));
    EXPECT_EQ(0, ipv6Winner(*group, mappedAddress(0x0A000001)));
    EXPECT_EQ(0, ipv4Winner(*group, 0x0A000001, 5));
    EXPECT_EQ(0, ipv6Winner(*group, mappedAddress(0x0A000001), 5));
}

TEST(IpMatch, ComparesRuleIndexesUnsigned) {
    const RuleGroupHandle group = makeIpGroup({{"10.0.0.1"}, {"10.0.0.0/8"}});
    auto& range = *static_cast<RangeEntry<uint32_t>*>(group->ipTable->ipv4RangeTree->root->entries);
    range.ruleIndex = 0x80000000;
    EXPECT_EQ(1, ipv4Winner(*group, 0x0A000001));
}

TEST(IpMatchWithValue, FindsTheEarliestRuleOfThatValue) {
    const RuleGroupHandle group = makeIpGroup({{"10.0.0.1", 5},
                                               {"10.0.0.1", 6},
                                               {"10.0.0.0/24", 7},
                                               {"10.0.0.0-10.0.0.9", 6},
                                               {"10.0.0.0/24", 6},
                                               {"10.0.0.0/24", 5},
                                               {"10.0.0.200-10.0.0.210", 9}});
    constexpr struct {
        uint32_t address;
        uint32_t ruleValue;
        uint32_t winner;
    } ROWS[] = {
        {0x0A000001, 5, 1},
        {0x0A000001, 6, 2},
        {0x0A000001, 7, 3},
        {0x0A000001, 8, 0},
        {0x0A000002, 5, 6},
        {0x0A000002, 6, 4},
        {0x0A000002, 7, 3},
        {0x0A000002, 8, 0},
        // Rules 4 and 7 cover parts of the node only.
        {0x0A000009, 6, 4},
        {0x0A00000A, 6, 5},
        {0x0A0000FF, 6, 5},
        {0x0A000100, 6, 0},
        {0x0A0000C7, 9, 0},
        {0x0A0000C8, 9, 7},
        {0x0A0000D2, 9, 7},
        {0x0A0000D3, 9, 0},
    };
    for (const auto& row : ROWS) {
        SCOPED_TRACE(::testing::Message() << row.address << " with " << row.ruleValue);
        EXPECT_EQ(row.winner, ipv4Winner(*group, row.address, row.ruleValue));
        EXPECT_EQ(row.winner, ipv6Winner(*group, mappedAddress(row.address), row.ruleValue));
    }
}

TEST(IpMatchWithValue, FindsIpv6Rules) {
    const RuleGroupHandle group =
        makeIpGroup({{"2001:db8::/32", 1}, {"2001:db8::1", 2}, {"2001:db8::1", 3}});
    const Address128 address{{0x20010DB8, 0, 0, 1}};
    EXPECT_EQ(1, ipv6Winner(*group, address, 1));
    EXPECT_EQ(2, ipv6Winner(*group, address, 2));
    EXPECT_EQ(3, ipv6Winner(*group, address, 3));
    EXPECT_EQ(0, ipv6Winner(*group, address, 4));
    EXPECT_EQ(0, ipv6Winner(*group, {{0x20010DB8, 0, 0, 2}}, 2));
}

}  // namespace

}  // namespace rs::test
