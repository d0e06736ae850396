#include <ruleset_static.h>

#include <cstdint>
#include <string_view>

#include <gtest/gtest.h>

#include "core/rule_group.h"
#include "endpoint/exact_table.h"
#include "ipport/ip_port_index.h"
#include "support/address_words.h"
#include "support/rule_builder.h"
#include "support/rule_handles.h"
#include "support/scoped_flat_use.h"
#include "support/winner.h"

namespace rs::test {

namespace {

// The winner of a pair of IPv4 endpoints, 0 for none, in the IPv4 structures and, the addresses in
// mapped form, in the 128-bit ones; which must agree.
uint32_t winner(const RuleGroup& group, uint32_t firstAddress, uint32_t firstPort,
                uint32_t secondAddress, uint32_t secondPort, uint32_t mask = 0xFFFFFFFF) {
    return winnerOfBoth(
        [&](MatchResult* result) {
            return matchIpPortPair4(&group, firstAddress, firstPort, secondAddress, secondPort,
                                    mask, result);
        },
        [&](MatchResult* result) {
            return matchIpPortPair6(&group, mapped(firstAddress), firstPort, mapped(secondAddress),
                                    secondPort, mask, result);
        });
}

TEST(IpPortMatch, TestsEveryPartOfARule) {
    const RuleGroupHandle group = makeIpPortGroup({{"1.2.3.4;80,90-99;5.6.7.8;443;6"}});
    EXPECT_EQ(1, winner(*group, 0x01020304, 80, 0x05060708, 443, 2));
    EXPECT_EQ(1, winner(*group, 0x01020304, 99, 0x05060708, 443, 4));
    EXPECT_EQ(1, winner(*group, 0x01020304, 0x10050, 0x05060708, 0x101BB));
    EXPECT_EQ(0, winner(*group, 0x01020305, 80, 0x05060708, 443));
    EXPECT_EQ(0, winner(*group, 0x01020304, 100, 0x05060708, 443));
    EXPECT_EQ(0, winner(*group, 0x01020304, 80, 0x05060709, 443));
    EXPECT_EQ(0, winner(*group, 0x01020304, 80, 0x05060708, 444));
    EXPECT_EQ(0, winner(*group, 0x01020304, 80, 0x05060708, 443, 9));
}

TEST(IpPortMatch, NeverCoversPortZero) {
    const RuleGroupHandle group = makeIpPortGroup({{"*;*;*;*;1"}});
    EXPECT_EQ(1, winner(*group, 1, 1, 2, 65535));
    EXPECT_EQ(0, winner(*group, 1, 0, 2, 1));
    EXPECT_EQ(0, winner(*group, 1, 1, 2, 65536));
}

TEST(IpPortMatch, ReportsTheEarliestRuleOfAllStructures) {
    const RuleGroupHandle group = makeIpPortGroup(
        {{"10.0.0.0-10.2.0.5;*;*;*;1"}, {"10.1.1.1;*;*;*;1"}, {"*;*;*;*;1"}, {"10.1.1.1;*;*;*;1"}});
    EXPECT_EQ(1, winner(*group, 0x0A010101, 1, 1, 1));
    EXPECT_EQ(3, winner(*group, 0x0A020006, 1, 1, 1));
    const RuleGroupHandle other =
        makeIpPortGroup({{"9.9.9.9;*;*;*;1"}, {"1.1.1.1;*;*;*;1"}, {"*;*;*;*;1"}});
    EXPECT_EQ(2, winner(*other, 0x01010101, 1, 1, 1));
}

TEST(IpPortMatch, FindsIpv6RulesInTheWideLookupOnly) {
    const RuleGroupHandle group = makeIpPortGroup({{"2001:db8::/32,1.1.1.1;*;::/1;*;1"}});
    MatchResult hit{};
    EXPECT_EQ(1, matchIpPortPair6(group.get(), {0x20010db8, 5, 0, 0}, 1, {1, 0, 0, 0}, 1, 1, &hit));
    EXPECT_EQ(0, matchIpPortPair6(group.get(), {0x20010db9, 0, 0, 0}, 1, {1, 0, 0, 0}, 1, 1, &hit));
    // The second address is no IPv4 one, so the IPv4 lookups know nothing of the rule.
    EXPECT_EQ(0, matchIpPortPair4(group.get(), 0x01010101, 1, 1, 1, 1, &hit));
}

TEST(IpPortMatch, TakesTheFirstRangeThatAnswers) {
    const RuleGroupHandle group = makeIpPortGroup(
        {{"2001:db8::/32;9;*;*;1"}, {"2001:db8::/48;80;*;*;1"}, {"2001:db8::/32;80;*;*;1"}});
    MatchResult hit{};
    EXPECT_EQ(1, matchIpPortPair6(group.get(), {0x20010db8, 0, 0, 1}, 80, {}, 1, 1, &hit));
    EXPECT_EQ(3, hit.ruleIndex);
}

TEST(IpPortMatch, FindsNothingInAnEmptyIndex) {
    const RuleGroupHandle empty = makeIpPortGroup({});
    MatchResult hit{};
    EXPECT_EQ(0, matchIpPortPair4(empty.get(), 1, 1, 1, 1, 1, &hit));
    EXPECT_EQ(0, matchIpPortPair6(empty.get(), mapped(1), 1, mapped(1), 1, 1, &hit));
    EXPECT_EQ(0, matchSecondEndpoint4(empty.get(), 1, 1));
    EXPECT_EQ(0, matchSecondEndpoint6(empty.get(), {}, 1));
}

TEST(IpPortMatch, FindsSecondEndpointsOfAllStructures) {
    const RuleGroupHandle group = makeIpPortGroup(
        {{"*;1;10.0.0.1;80;1"}, {"1.1.1.1;1;10.0.0.2;80;1"}, {"1.0.0.0/8;1;10.0.0.3;80;1"}});
    for (const uint32_t address : {0x0A000001U, 0x0A000002U, 0x0A000003U}) {
        EXPECT_EQ(1, matchSecondEndpoint4(group.get(), address, 80)) << address;
        EXPECT_EQ(1, matchSecondEndpoint6(group.get(), mapped(address), 80)) << address;
        EXPECT_EQ(0, matchSecondEndpoint4(group.get(), address, 81)) << address;
    }
    EXPECT_EQ(0, matchSecondEndpoint4(group.get(), 0x0A000004, 80));
}

TEST(IpPortMatch, FindsSecondIpv4EndpointsOfRulesForFirstIpv4AddressesOnly) {
    constexpr struct {
        std::string_view rule;
        int32_t found4;
    } ROWS[] = {
        {"2001:db8::1;1;10.0.0.1;80;1", 0},
        {"2001:db8::/32,fe80::1;1;10.0.0.1;80;1", 0},
        {"::/8;1;10.0.0.1;80;1", 0},  // it reaches beyond the mapped block
        {"2001:db8::1,1.1.1.1;1;10.0.0.1;80;1", 1},
        {"::ffff:1.1.1.1;1;10.0.0.1;80;1", 1},
        {"*;1;10.0.0.1;80;1", 1},
    };
    for (const auto& row : ROWS) {
        const RuleGroupHandle group = makeIpPortGroup({{row.rule}});
        EXPECT_EQ(row.found4, matchSecondEndpoint4(group.get(), 0x0A000001, 80)) << row.rule;
        EXPECT_EQ(1, matchSecondEndpoint6(group.get(), mapped(0x0A000001), 80)) << row.rule;
    }
}

// Of 10.0.0.1:22 and 1.2.3.4:1, of the same in mapped form, and of ::ffff:10.0.0.1 and ::5.
TEST(IpPortMatch, TakesStarAndIpv6RangesBesideIpv4Addresses) {
    constexpr struct {
        std::string_view rule;
        int32_t ipv4;
        int32_t mappedPair;
        int32_t mixedPair;
    } ROWS[] = {
        {"10.0.0.0/8;22;*;*;1", 1, 1, 1},
        {"10.0.0.1;22;*;*;1", 1, 1, 1},
        {"::/8;22;*;*;1", 0, 1, 1},
        {"10.0.0.0/8;22;::/8;*;1", 0, 1, 1},
        {"*;22;::/8;*;1", 0, 1, 1},
        {"::ffff:10.0.0.0/104;22;::ffff:1.0.0.0/104;*;1", 1, 1, 0},
    };
    for (const auto& row : ROWS) {
        SCOPED_TRACE(row.rule);
        const RuleGroupHandle group = makeIpPortGroup({{row.rule}});
        const auto find6 = [&](const AddressWords& second) {
            MatchResult hit{};
            return matchIpPortPair6(group.get(), mapped(0x0A000001), 22, second, 1, 1, &hit);
        };
        MatchResult hit{};
        EXPECT_EQ(row.ipv4, matchIpPortPair4(group.get(), 0x0A000001, 22, 0x01020304, 1, 1, &hit));
        EXPECT_EQ(row.mappedPair, find6(mapped(0x01020304)));
        EXPECT_EQ(row.mixedPair, find6({0, 0, 0, 5}));
    }
}

TEST(IpPortMatch, FindsAFirstEndpointWhateverTheSecond) {
    const RuleGroupHandle group = makeIpPortGroup({{"1.2.3.4;80;*;*;1"}});
    for (const uint32_t secondAddress : {0U, 0x05060708U, 0xFFFFFFFFU}) {
        for (const uint32_t secondPort : {1U, 80U, 65535U}) {
            EXPECT_EQ(1, winner(*group, 0x01020304, 80, secondAddress, secondPort, 1));
            EXPECT_EQ(1, winner(*group, 0x01020304, 80, secondAddress, secondPort, 0xFF));
            EXPECT_EQ(0, winner(*group, 0x01020304, 80, secondAddress, secondPort, 2));
            EXPECT_EQ(0, winner(*group, 0x01020304, 80, secondAddress, secondPort, 0));
        }
    }
}

TEST(IpPortMatch, PrefersTheEarlierRuleOfALaterStructure) {
    const RuleGroupHandle group =
        makeIpPortGroup({{"9.9.9.9;1;*;1;1"}, {"1.2.3.4;*;*;*;1", 20}, {"*;*;*;*;1", 30}});
    MatchResult hit{};
    EXPECT_EQ(1, matchIpPortPair4(group.get(), 0x01020304, 5, 6, 7, 1, &hit));
    EXPECT_EQ(2, hit.ruleIndex);
    EXPECT_EQ(20, hit.ruleValue);
    EXPECT_EQ(ruleIdAt(2), hit.ruleId);
    EXPECT_EQ(3, winner(*group, 0x01020305, 5, 6, 7));
}

TEST(IpPortMatch, PrefersTheEarlierRuleOfAnEarlierStructure) {
    const RuleGroupHandle any =
        makeIpPortGroup({{"*;*;*;*;1"}, {"1.2.3.4;*;*;*;1"}, {"1.0.0.0/8;*;*;*;1"}});
    EXPECT_EQ(1, winner(*any, 0x01020304, 5, 6, 7));
    const RuleGroupHandle exact =
        makeIpPortGroup({{"1.2.3.4;*;*;*;1"}, {"1.0.0.0/8;*;*;*;1"}, {"*;*;*;*;1"}});
    EXPECT_EQ(1, winner(*exact, 0x01020304, 5, 6, 7));
    EXPECT_EQ(2, winner(*exact, 0x01020305, 5, 6, 7));
    EXPECT_EQ(3, winner(*exact, 0x02020305, 5, 6, 7));
}

TEST(IpPortMatch, TakesTheFirstEntryOfAChainThatPasses) {
    const RuleGroupHandle group = makeIpPortGroup({{"1.2.3.4;80;*;*;1"},
                                                   {"1.2.3.4;81;*;*;1"},
                                                   {"1.2.3.4;*;*;*;2"},
                                                   {"1.2.3.4;*;*;*;1"},
                                                   {"1.2.3.4;*;*;*;1"}});
    EXPECT_EQ(1, winner(*group, 0x01020304, 80, 6, 7, 1));
    EXPECT_EQ(2, winner(*group, 0x01020304, 81, 6, 7, 1));
    EXPECT_EQ(4, winner(*group, 0x01020304, 82, 6, 7, 1));
    EXPECT_EQ(3, winner(*group, 0x01020304, 82, 6, 7, 3));
}

TEST(IpPortMatch, PassesSpansOfABlockOver) {
    const RuleGroupHandle group = makeIpPortGroup(
        {{"10.0.0.5-10.0.0.9;*;*;*;1"}, {"10.0.0.0/24;*;*;*;1"}, {"10.0.0.0/8;80;*;*;1"}});
    EXPECT_EQ(1, winner(*group, 0x0A000005, 1, 6, 7));
    EXPECT_EQ(1, winner(*group, 0x0A000009, 1, 6, 7));
    EXPECT_EQ(2, winner(*group, 0x0A000004, 1, 6, 7));
    EXPECT_EQ(2, winner(*group, 0x0A00000A, 1, 6, 7));
    EXPECT_EQ(3, winner(*group, 0x0A000100, 80, 6, 7));
    EXPECT_EQ(0, winner(*group, 0x0A000100, 81, 6, 7));
    EXPECT_EQ(3, winner(*group, 0x0AFFFFFF, 80, 6, 7));
    EXPECT_EQ(0, winner(*group, 0x0B000000, 80, 6, 7));
}

TEST(IpPortMatch, FindsIpv4RulesInBothLookups) {
    const RuleGroupHandle group = makeIpPortGroup({{"10.0.0.0/8;80;5.6.7.8;90;1"}});
    EXPECT_EQ(1, winner(*group, 0x0A010203, 80, 0x05060708, 90));
    MatchResult hit{};
    // An IPv4 address that is not in mapped form is another address.
    EXPECT_EQ(0, matchIpPortPair6(group.get(), {0x0A010203, 0, 0, 0}, 80, mapped(0x05060708), 90, 1,
                                  &hit));
    EXPECT_EQ(0, matchIpPortPair6(group.get(), {0, 0, 0, 0x0A010203}, 80, mapped(0x05060708), 90, 1,
                                  &hit));
    EXPECT_EQ(0, matchIpPortPair6(group.get(), mapped(0x0A010203), 80, {0, 0, 0, 0x05060708}, 90, 1,
                                  &hit));
}

// The 128-bit lookups know the star of a default rule as every IPv4 address and nothing else, unless
// both addresses are stars.
TEST(IpPortMatch, TakesAStarBeforeIpv4AsEveryIpv4Address) {
    const RuleGroupHandle group = makeIpPortGroup({{"*;*;5.6.7.8;*;1"}, {"*;*;*;*;2"}});
    EXPECT_EQ(1, winner(*group, 0x01020304, 5, 0x05060708, 7, 1));
    MatchResult hit{};
    const AddressWords ipv6{0x20010db8, 0, 0, 1};
    EXPECT_EQ(0, matchIpPortPair6(group.get(), ipv6, 5, mapped(0x05060708), 7, 1, &hit));
    EXPECT_EQ(1, matchIpPortPair6(group.get(), ipv6, 5, mapped(0x05060708), 7, 2, &hit));
    EXPECT_EQ(2, hit.ruleIndex);
    EXPECT_EQ(1, matchIpPortPair6(group.get(), ipv6, 5, ipv6, 7, 2, &hit));
    EXPECT_EQ(2, hit.ruleIndex);
}

// Such a rule stands in no list of ranges, but every first address of 128 bits covers mapped ones.
TEST(IpPortMatch, TakesAStarBeforeWideAddressesAsEveryAddress) {
    const RuleGroupHandle group = makeIpPortGroup({{"*;*;2001:db8::1,5.6.7.8;*;1"}});
    EXPECT_EQ(1, winner(*group, 0x01020304, 5, 0x05060708, 7));
    EXPECT_EQ(0, winner(*group, 0x01020304, 5, 0x05060709, 7));
    MatchResult hit{};
    const AddressWords ipv6{0x20010db8, 0, 0, 1};
    EXPECT_EQ(1, matchIpPortPair6(group.get(), mapped(1), 5, ipv6, 7, 1, &hit));
    EXPECT_EQ(1, matchIpPortPair6(group.get(), ipv6, 5, ipv6, 7, 1, &hit));
    EXPECT_EQ(1, matchIpPortPair6(group.get(), ipv6, 5, mapped(0x05060708), 7, 1, &hit));
}

TEST(IpPortMatch, StaysOutOfTheResultWithoutAMatch) {
    const RuleGroupHandle group = makeIpPortGroup({{"1.2.3.4;80;*;*;1"}});
    MatchResult four = UNTOUCHED;
    MatchResult six = UNTOUCHED;
    EXPECT_EQ(0, matchIpPortPair4(group.get(), 1, 80, 6, 7, 1, &four));
    EXPECT_EQ(0, matchIpPortPair6(group.get(), mapped(1), 80, mapped(6), 7, 1, &six));
    EXPECT_EQ(UNTOUCHED, four);
    EXPECT_EQ(UNTOUCHED, six);
}

// A group whose entries a test may damage before it looks them up.
class PlantedIpPortEntry : public ::testing::Test {
protected:
    using Entry = CompiledIpPortRule;

    // Takes one list away from an entry that has it for itself.
    static void dropFirstPorts(Entry& entry) { entry.firstPorts = nullptr; }
    static void dropSecondPorts(Entry& entry) { entry.secondPorts = nullptr; }
    static void dropSecondAddresses(Entry& entry) { entry.secondAddresses = nullptr; }

    static Entry& exact4Of(const RuleGroup& group, uint32_t address) {
        void* node = hashLookup(group.ipPortIndex->exact4, hashIPv4(address), &address,
                                findExactNode<Entry, uint32_t>);
        return *static_cast<ExactAddressNode<Entry, uint32_t>*>(node)->entries.first;
    }

    static Entry& exact6Of(const RuleGroup& group, const Address128& address) {
        void* node = hashLookup(group.ipPortIndex->exact6, hashIPv6(address), &address,
                                findExactNode<Entry, Address128>);
        return *static_cast<ExactAddressNode<Entry, Address128>*>(node)->entries.first;
    }

    static int32_t match4(const RuleGroup& group, uint32_t firstAddress, uint32_t firstPort) {
        return matchIpPortPair4(&group, firstAddress, firstPort, 6, 7, 1, &result4);
    }

    static int32_t match6(const RuleGroup& group, uint32_t firstAddress, uint32_t firstPort) {
        return matchIpPortPair6(&group, mapped(firstAddress), firstPort, mapped(6), 7, 1, &result6);
    }

    void SetUp() override {
        result4 = UNTOUCHED;
        result6 = UNTOUCHED;
    }

    static inline MatchResult result4;
    static inline MatchResult result6;

private:
    // What is planted is in the ordered structures alone: a flat lookup says what entries said when it was built.
    const ScopedFlatUse ordered_{FlatUse::NEVER};
};

// Whichever list is missing and whatever would have decided against the entry before.
TEST_F(PlantedIpPortEntry, WithoutAnyOfItsListsIsAnError) {
    for (void (*const drop)(Entry&) : {dropFirstPorts, dropSecondPorts, dropSecondAddresses}) {
        const RuleGroupHandle group = makeIpPortGroup({{"1.2.3.4;80;9.9.9.9;80;2"}});
        EXPECT_EQ(0, match4(*group, 0x01020304, 81));
        EXPECT_EQ(0, match6(*group, 0x01020304, 81));
        drop(exact4Of(*group, 0x01020304));
        drop(exact6Of(*group, mappedAddress(0x01020304)));
        EXPECT_EQ(RULE_ERR_INVALID_ARG, match4(*group, 0x01020304, 81));
        EXPECT_EQ(RULE_ERR_INVALID_ARG, match6(*group, 0x01020304, 81));
        EXPECT_EQ(0, match4(*group, 0x01020305, 81)) << "the entry is not walked to";
        EXPECT_EQ(0, match6(*group, 0x01020305, 81));
        EXPECT_EQ(UNTOUCHED, result4);
        EXPECT_EQ(UNTOUCHED, result6);
    }
}

TEST_F(PlantedIpPortEntry, IsAnErrorInEveryStructure) {
    const RuleGroupHandle group =
        makeIpPortGroup({{"*;80;9.9.9.9;80;2"}, {"1.2.0.0/16;80;9.9.9.9;80;2"}});
    IpPortIndex& index = *group->ipPortIndex;
    dropSecondPorts(*index.blocks4->slots[1][2].first->entry);
    dropSecondPorts(*index.ranges6->buckets.last->entries.first);
    EXPECT_EQ(RULE_ERR_INVALID_ARG, match4(*group, 0x01020304, 81));
    EXPECT_EQ(RULE_ERR_INVALID_ARG, match6(*group, 0x01020304, 81));
    EXPECT_EQ(0, match4(*group, 0x02020304, 81));
    EXPECT_EQ(0, match6(*group, 0x02020304, 81));
    dropFirstPorts(*index.anyFirst4->entries.first);
    EXPECT_EQ(RULE_ERR_INVALID_ARG, match4(*group, 0x02020304, 81));
}

TEST_F(PlantedIpPortEntry, IsNotReachedBehindAnAnswerOfItsChain) {
    const RuleGroupHandle group = makeIpPortGroup({{"1.2.3.4;80;*;*;1"}, {"1.2.3.4;*;*;*;1"}});
    dropFirstPorts(*exact4Of(*group, 0x01020304).next);
    EXPECT_EQ(1, match4(*group, 0x01020304, 80));
    EXPECT_EQ(1, result4.ruleIndex);
    EXPECT_EQ(RULE_ERR_INVALID_ARG, match4(*group, 0x01020304, 81));
}

// The answer of the structures before is already in the result when a later one fails.
TEST_F(PlantedIpPortEntry, SpoilsTheAnswerOfEarlierStructures) {
    const RuleGroupHandle group =
        makeIpPortGroup({{"*;*;*;*;1"}, {"1.2.3.4;*;*;*;1"}, {"1.0.0.0/8;80;*;*;1"}});
    dropSecondAddresses(exact4Of(*group, 0x01020304));
    dropSecondAddresses(exact6Of(*group, mappedAddress(0x01020304)));
    EXPECT_EQ(RULE_ERR_INVALID_ARG, match4(*group, 0x01020304, 80));
    EXPECT_EQ(RULE_ERR_INVALID_ARG, match6(*group, 0x01020304, 80));
    EXPECT_EQ(1, result4.ruleIndex);
    EXPECT_EQ(1, result6.ruleIndex);
    EXPECT_EQ(1, match4(*group, 0x01020305, 80));
    EXPECT_EQ(1, match6(*group, 0x01020305, 80));
}

// A later structure's answer stands unless what is held is of an earlier rule.
TEST_F(PlantedIpPortEntry, OfTheSameRuleInALaterStructureIsReported) {
    const RuleGroupHandle group =
        makeIpPortGroup({{"*;*;*;*;1", 10}, {"1.2.3.4;*;*;*;1", 20}, {"1.0.0.0/8;*;*;*;1", 30}});
    exact4Of(*group, 0x01020304).ruleIndex = 1;
    exact6Of(*group, mappedAddress(0x01020304)).ruleIndex = 1;
    EXPECT_EQ(1, match4(*group, 0x01020304, 80));
    EXPECT_EQ(1, match6(*group, 0x01020304, 80));
    EXPECT_EQ(20, result4.ruleValue);
    // The star stands among the ranges, too, where it answers before the rule for 1.0.0.0/8.
    EXPECT_EQ(10, result6.ruleValue);
    group->ipPortIndex->blocks4->slots[1][2].first->entry->ruleIndex = 1;
    EXPECT_EQ(1, match4(*group, 0x01020304, 80));
    EXPECT_EQ(30, result4.ruleValue);
}

TEST_F(PlantedIpPortEntry, SpoilsLookupsOfSecondEndpoints) {
    const RuleGroupHandle group = makeIpPortGroup({{"1.2.3.4;80;9.9.9.9;80;2"}});
    CompiledIpPortRule& entry4 = exact4Of(*group, 0x01020304);
    CompiledIpPortRule& entry6 = exact6Of(*group, mappedAddress(0x01020304));
    dropFirstPorts(entry4);
    dropFirstPorts(entry6);
    EXPECT_EQ(1, matchSecondEndpoint4(group.get(), 0x09090909, 80)) << "not asked for";
    EXPECT_EQ(1, matchSecondEndpoint6(group.get(), mapped(0x09090909), 80));
    dropSecondPorts(entry4);
    dropSecondAddresses(entry6);
    EXPECT_EQ(RULE_ERR_INVALID_ARG, matchSecondEndpoint4(group.get(), 1, 1));
    EXPECT_EQ(RULE_ERR_INVALID_ARG, matchSecondEndpoint6(group.get(), mapped(1), 1));
}

TEST(IpPortMatch, FindsTheFirstRangeThatAnswersOverAnEarlierRule) {
    // Rule 3 stands in the range that rule 1 named first; rule 2 is in a later one.
    const RuleGroupHandle group = makeIpPortGroup(
        {{"10.0.0.0/8;9;*;*;1"}, {"10.0.0.0/16;80;*;*;1"}, {"10.0.0.0/8;80;*;*;1"}});
    MatchResult hit{};
    EXPECT_EQ(1, matchIpPortPair6(group.get(), mapped(0x0A000001), 80, mapped(6), 7, 1, &hit));
    EXPECT_EQ(3, hit.ruleIndex);
    // The blocks of the IPv4 view are in rule order.
    EXPECT_EQ(1, matchIpPortPair4(group.get(), 0x0A000001, 80, 6, 7, 1, &hit));
    EXPECT_EQ(2, hit.ruleIndex);
}

TEST(IpPortMatch, AsksLaterRangesWhenTheFirstDoesNotAnswer) {
    const RuleGroupHandle group =
        makeIpPortGroup({{"10.0.0.0/8;9;*;*;1"}, {"10.0.0.0/16;80;*;*;1"}});
    EXPECT_EQ(2, winner(*group, 0x0A000001, 80, 6, 7));
    EXPECT_EQ(0, winner(*group, 0x0A010001, 80, 6, 7));
}

TEST(IpPortMatch, ComparesAllWordsOfSecondAddresses) {
    const RuleGroupHandle group = makeIpPortGroup({{"::1;*;2001:db8::5:0:0-2001:db8::7:0:0;*;1"}});
    const AddressWords first{0, 0, 0, 1};
    MatchResult hit{};
    const auto match = [&](const AddressWords& second) {
        return matchIpPortPair6(group.get(), first, 5, second, 7, 1, &hit);
    };
    EXPECT_EQ(1, match({0x20010db8, 0, 5, 0}));
    EXPECT_EQ(1, match({0x20010db8, 0, 6, 0xFFFFFFFF}));
    EXPECT_EQ(1, match({0x20010db8, 0, 7, 0}));
    EXPECT_EQ(0, match({0x20010db8, 0, 7, 1}));
    EXPECT_EQ(0, match({0x20010db8, 0, 4, 0xFFFFFFFF}));
    EXPECT_EQ(0, match({0x20010db8, 1, 6, 0}));
    EXPECT_EQ(0, match({0x20010db7, 0, 6, 0}));
}

TEST(IpPortMatch, AnswersAlikeWhenBuiltTwice) {
    const RuleSetHandle set = makeIpPortRuleSet({{"*;1;5.6.7.8;*;1"},
                                                 {"10.0.0.0/8;2;*;*;1"},
                                                 {"::1,1.2.3.4;3;5.6.7.8;*;1"},
                                                 {"*;4;*;*;1"}});
    const RuleGroupHandle first = buildRuleGroup(*set);
    const RuleGroupHandle second = buildRuleGroup(*set);
    for (const RuleGroup* group : {first.get(), second.get()}) {
        EXPECT_EQ(1, winner(*group, 0x02020202, 1, 0x05060708, 9));
        EXPECT_EQ(2, winner(*group, 0x0A020202, 2, 0x01010101, 9));
        EXPECT_EQ(3, winner(*group, 0x01020304, 3, 0x05060708, 9));
        EXPECT_EQ(4, winner(*group, 0x01020304, 4, 0x05060708, 9));
    }
}

TEST(IpPortSecondEndpoint, TakesAnyFirstEndpointAndMask) {
    const RuleGroupHandle group = makeIpPortGroup({{"1.2.3.4;80;5.6.7.8,6.0.0.0/8;90-99;0x80"}});
    for (const uint32_t address : {0x05060708U, 0x06FFFFFFU}) {
        EXPECT_EQ(1, matchSecondEndpoint4(group.get(), address, 0x10000 + 99));
        EXPECT_EQ(1, matchSecondEndpoint6(group.get(), mapped(address), 90));
        EXPECT_EQ(0, matchSecondEndpoint4(group.get(), address, 100));
        EXPECT_EQ(0, matchSecondEndpoint6(group.get(), mapped(address), 89));
    }
    EXPECT_EQ(0, matchSecondEndpoint4(group.get(), 0x07000000, 90));
    EXPECT_EQ(0, matchSecondEndpoint6(group.get(), {0, 0, 0, 0x05060708}, 90));
}

TEST(IpPortSecondEndpoint, FindsStarsAndIpv6) {
    const RuleGroupHandle group = makeIpPortGroup({{"::1;*;2001:db8::/32;*;1"}});
    EXPECT_EQ(0, matchSecondEndpoint4(group.get(), 1, 1));
    EXPECT_EQ(1, matchSecondEndpoint6(group.get(), {0x20010db8, 1, 2, 3}, 1));
    EXPECT_EQ(0, matchSecondEndpoint6(group.get(), {0x20010db9, 0, 0, 0}, 1));
    const RuleGroupHandle star = makeIpPortGroup({{"*;*;*;*;1"}});
    EXPECT_EQ(1, matchSecondEndpoint4(star.get(), 0, 1));
    EXPECT_EQ(1, matchSecondEndpoint6(star.get(), {0x20010db8, 0, 0, 0}, 65535));
    EXPECT_EQ(0, matchSecondEndpoint4(star.get(), 0, 0));
    EXPECT_EQ(0, matchSecondEndpoint6(star.get(), {}, 65536));
}

}  // namespace

}  // namespace rs::test
