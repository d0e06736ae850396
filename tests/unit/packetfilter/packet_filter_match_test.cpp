// Compiled packet filter rules and the endpoints that they cover.
#include <ruleset_static.h>

#include <cstdint>
#include <string_view>

#include <gtest/gtest.h>

#include "core/rule_group.h"
#include "endpoint/exact_table.h"
#include "packetfilter/packet_filter_index.h"
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
                uint32_t secondAddress, uint32_t secondPort) {
    return winnerOfBoth(
        [&](MatchResult* result) {
            return matchPacketFilter4(&group, firstAddress, firstPort, secondAddress, secondPort,
                                      result);
        },
        [&](MatchResult* result) {
            return matchPacketFilter6(&group, mapped(firstAddress), firstPort,
                                      mapped(secondAddress), secondPort, result);
        });
}

TEST(PacketFilterMatch, TestsBothEndpoints) {
    const RuleGroupHandle group =
        makePacketFilterGroup({{"tcp;10.0.0.1;80;192.168.0.0/16;1024-65535"}});
    EXPECT_EQ(1, winner(*group, 0x0A000001, 80, 0xC0A80000, 1024));
    EXPECT_EQ(1, winner(*group, 0x0A000001, 65616, 0xC0A8FFFF, 65535));
    EXPECT_EQ(0, winner(*group, 0x0A000001, 80, 0xC0A90000, 1024));
    EXPECT_EQ(0, winner(*group, 0x0A000001, 80, 0xC0A80000, 1023));
    EXPECT_EQ(0, winner(*group, 0x0A000001, 81, 0xC0A80000, 1024));
    EXPECT_EQ(0, winner(*group, 0x0A000002, 80, 0xC0A80000, 1024));
}

TEST(PacketFilterMatch, ReportsTheEarliestRule) {
    const RuleGroupHandle group = makePacketFilterGroup({{"tcp;9.9.9.9;*;*;*"},
                                                         {"tcp;10.0.0.1;*;*;*"},
                                                         {"tcp;10.0.0.0/8;*;*;*"},
                                                         {"tcp;10.0.0.1;*;*;*"},
                                                         {"tcp;*;*;*;*"}});
    EXPECT_EQ(2, winner(*group, 0x0A000001, 1, 1, 1));
    EXPECT_EQ(3, winner(*group, 0x0A000002, 1, 1, 1));
    EXPECT_EQ(5, winner(*group, 0x0B000002, 1, 1, 1));
}

TEST(PacketFilterMatch, AnswersAlikeWhenBuiltTwice) {
    const RuleSetHandle set = makePacketFilterRuleSet({{"tcp;*;*;10.0.0.1;*"},
                                                       {"tcp;10.0.0.0/8;80;*;*"},
                                                       {"tcp;*;81;*;*"},
                                                       {"tcp;*;82;2001:db8::1;*"}});
    // The build rewrites addresses in the set's records.
    const RuleGroupHandle first = buildRuleGroup(*set);
    const RuleGroupHandle second = buildRuleGroup(*set);
    for (const RuleGroup* group : {first.get(), second.get()}) {
        EXPECT_EQ(1, winner(*group, 0x01010101, 5, 0x0A000001, 1));
        EXPECT_EQ(2, winner(*group, 0x0A000009, 80, 0x01010101, 1));
        EXPECT_EQ(3, winner(*group, 0x0B000009, 81, 0x01010101, 1));
        MatchResult hit{};
        EXPECT_EQ(1, matchPacketFilter6(group, {5, 5, 5, 5}, 82, {0x20010db8, 0, 0, 1}, 1, &hit));
        EXPECT_EQ(4, hit.ruleIndex);
        EXPECT_EQ(0, matchPacketFilter6(group, {5, 5, 5, 5}, 80, {0x20010db8, 0, 0, 1}, 1, &hit));
    }
}

TEST(PacketFilterMatch, PrefersTheEarlierRuleOfALaterStructure) {
    const RuleGroupHandle group = makePacketFilterGroup({{"tcp;9.9.9.9;1;*;1"},
                                                         {"tcp;1.2.3.4;*;*;*", 20},
                                                         {"tcp;9.9.9.8;1;*;1"},
                                                         {"tcp;9.9.9.7;1;*;1"},
                                                         {"tcp;*;*;*;*", 50}});
    MatchResult hit{};
    EXPECT_EQ(1, matchPacketFilter4(group.get(), 0x01020304, 5, 6, 7, &hit));
    EXPECT_EQ(2, hit.ruleIndex);
    EXPECT_EQ(20, hit.ruleValue);
    EXPECT_EQ(ruleIdAt(2), hit.ruleId);
    EXPECT_EQ(5, winner(*group, 0x01020305, 5, 6, 7));
}

TEST(PacketFilterMatch, PrefersTheEarlierRuleOfAnEarlierStructure) {
    const RuleGroupHandle any =
        makePacketFilterGroup({{"tcp;*;*;*;*"}, {"tcp;1.2.3.4;*;*;*"}, {"tcp;1.0.0.0/8;*;*;*"}});
    EXPECT_EQ(1, winner(*any, 0x01020304, 5, 6, 7));
    const RuleGroupHandle host =
        makePacketFilterGroup({{"tcp;1.2.3.4;*;*;*"}, {"tcp;1.0.0.0/8;*;*;*"}, {"tcp;*;*;*;*"}});
    EXPECT_EQ(1, winner(*host, 0x01020304, 5, 6, 7));
    EXPECT_EQ(2, winner(*host, 0x01020305, 5, 6, 7));
    EXPECT_EQ(3, winner(*host, 0x02020305, 5, 6, 7));
}

TEST(PacketFilterMatch, CountsTheLow16BitsOfPorts) {
    const RuleGroupHandle group = makePacketFilterGroup({{"tcp;10.0.0.1;80;*;443"}});
    EXPECT_EQ(1, winner(*group, 0x0A000001, 65616, 1, 443));
    EXPECT_EQ(1, winner(*group, 0x0A000001, 80, 1, 0xFFFF01BB));
    EXPECT_EQ(0, winner(*group, 0x0A000001, 65617, 1, 443));
}

TEST(PacketFilterMatch, NeverCoversPortZero) {
    const RuleGroupHandle group = makePacketFilterGroup({{"tcp;*;*;*;*"}});
    EXPECT_EQ(1, winner(*group, 1, 1, 2, 65535));
    EXPECT_EQ(0, winner(*group, 1, 0, 2, 1));
    EXPECT_EQ(0, winner(*group, 1, 1, 2, 65536));
}

TEST(PacketFilterMatch, EndsSecondAddressesWhereTheirRangeEnds) {
    const RuleGroupHandle group = makePacketFilterGroup({{"tcp;10.0.0.1;*;1.1.1.1-1.1.1.9;*"}});
    EXPECT_EQ(1, winner(*group, 0x0A000001, 5, 0x01010101, 7));
    EXPECT_EQ(1, winner(*group, 0x0A000001, 5, 0x01010109, 7));
    EXPECT_EQ(0, winner(*group, 0x0A000001, 5, 0x0101010A, 7));
    EXPECT_EQ(0, winner(*group, 0x0A000001, 5, 0x01010100, 7));
}

TEST(PacketFilterMatch, EndsRangesOfFirstAddressesWhereTheyEnd) {
    const RuleGroupHandle group = makePacketFilterGroup({{"tcp;10.1.2.3-10.3.0.5;*;*;*"}});
    for (const uint32_t covered : {0x0A010203U, 0x0A01FFFFU, 0x0A020000U, 0x0A030005U}) {
        EXPECT_EQ(1, winner(*group, covered, 5, 6, 7)) << covered;
    }
    for (const uint32_t other : {0x0A010202U, 0x0A030006U, 0x0A040000U, 0x0B020000U}) {
        EXPECT_EQ(0, winner(*group, other, 5, 6, 7)) << other;
    }
}

TEST(PacketFilterMatch, KeepsIpv6ToTheWideLookup) {
    const RuleGroupHandle group = makePacketFilterGroup(
        {{"tcp;2001:db8::/32;*;2001:db9::5:0:0-2001:db9::7:0:0;*"}, {"tcp;2001:db9::1;*;*;*"}});
    MatchResult hit{};
    const auto match = [&](const AddressWords& first, const AddressWords& second) {
        return matchPacketFilter6(group.get(), first, 5, second, 7, &hit);
    };
    EXPECT_EQ(1, match({0x20010db8, 9, 9, 9}, {0x20010db9, 0, 5, 0}));
    EXPECT_EQ(1, match({0x20010db8, 0, 0, 0}, {0x20010db9, 0, 6, ~0U}));
    EXPECT_EQ(1, match({0x20010db8, ~0U, ~0U, ~0U}, {0x20010db9, 0, 7, 0}));
    EXPECT_EQ(0, match({0x20010db8, 9, 9, 9}, {0x20010db9, 0, 7, 1}));
    EXPECT_EQ(0, match({0x20010db8, 9, 9, 9}, {0x20010db9, 0, 4, ~0U}));
    EXPECT_EQ(0, match({0x20010db9, 0, 0, 0}, {0x20010db9, 0, 5, 0}));
    EXPECT_EQ(1, match({0x20010db9, 0, 0, 1}, {1, 2, 3, 4}));
    EXPECT_EQ(2, hit.ruleIndex);
    EXPECT_EQ(0, matchPacketFilter4(group.get(), 0x20010db8, 5, 6, 7, &hit));
}

// In the IPv4 view a mapped address is that IPv4 address.
TEST(PacketFilterMatch, FindsMappedRulesInBothLookups) {
    const RuleGroupHandle group =
        makePacketFilterGroup({{"tcp;::ffff:10.0.0.1;80;::ffff:1.1.1.1;90"},
                               {"tcp;::ffff:11.0.0.0/104;*;*;*"},
                               {"tcp;*;81;::ffff:1.1.1.0/120;*"}});
    EXPECT_EQ(1, winner(*group, 0x0A000001, 80, 0x01010101, 90));
    EXPECT_EQ(0, winner(*group, 0x0A000001, 80, 0x01010102, 90));
    EXPECT_EQ(2, winner(*group, 0x0BFFFFFF, 1, 2, 3));
    EXPECT_EQ(3, winner(*group, 0x0CFFFFFF, 81, 0x010101FF, 3));
}

TEST(PacketFilterMatch, FindsTheFirstRangeThatAnswersOverAnEarlierRule) {
    // Rule 3 stands in the range that rule 1 named first; rule 2 is in a later one.
    const RuleGroupHandle group = makePacketFilterGroup(
        {{"tcp;10.0.0.0/8;9;*;*"}, {"tcp;10.0.0.0/16;80;*;*"}, {"tcp;10.0.0.0/8;80;*;*"}});
    MatchResult hit{};
    EXPECT_EQ(1, matchPacketFilter6(group.get(), mapped(0x0A000001), 80, mapped(6), 7, &hit));
    EXPECT_EQ(3, hit.ruleIndex);
    // The blocks of the IPv4 view are in rule order.
    EXPECT_EQ(1, matchPacketFilter4(group.get(), 0x0A000001, 80, 6, 7, &hit));
    EXPECT_EQ(2, hit.ruleIndex);
}

TEST(PacketFilterMatch, AsksLaterRangesWhenTheFirstDoesNotAnswer) {
    const RuleGroupHandle group =
        makePacketFilterGroup({{"tcp;10.0.0.0/8;9;*;*"}, {"tcp;10.0.0.0/16;80;*;*"}});
    EXPECT_EQ(2, winner(*group, 0x0A000001, 80, 6, 7));
    EXPECT_EQ(0, winner(*group, 0x0A010001, 80, 6, 7));
}

TEST(PacketFilterMatch, FindsNothingInAnEmptyTable) {
    const RuleGroupHandle empty = makePacketFilterGroup({});
    MatchResult hit = UNTOUCHED;
    EXPECT_EQ(0, matchPacketFilter4(empty.get(), 1, 1, 1, 1, &hit));
    EXPECT_EQ(0, matchPacketFilter6(empty.get(), mapped(1), 1, mapped(1), 1, &hit));
    EXPECT_EQ(UNTOUCHED, hit);
}

// A group whose entries a test may damage before it looks them up.
class PlantedFilterEntry : public ::testing::Test {
protected:
    static FilterEntry& host4Of(const RuleGroup& group, uint32_t address) {
        void* node = hashLookup(group.packetFilterTable->ipv4HostTable, hashIPv4(address), &address,
                                findExactNode<FilterEntry, uint32_t>);
        return *static_cast<ExactAddressNode<FilterEntry, uint32_t>*>(node)->entries.first;
    }

    static FilterEntry& host6Of(const RuleGroup& group, const Address128& address) {
        void* node = hashLookup(group.packetFilterTable->ipv6HostTable, hashIPv6(address), &address,
                                findExactNode<FilterEntry, Address128>);
        return *static_cast<ExactAddressNode<FilterEntry, Address128>*>(node)->entries.first;
    }

    // The status of both lookups, which must agree.
    int32_t match(const RuleGroup& group, uint32_t firstAddress, uint32_t firstPort,
                  uint32_t secondAddress = 6) {
        const int32_t status =
            matchPacketFilter4(&group, firstAddress, firstPort, secondAddress, 7, &result4);
        EXPECT_EQ(status, matchPacketFilter6(&group, mapped(firstAddress), firstPort,
                                             mapped(secondAddress), 7, &result6));
        return status;
    }

    MatchResult result4 = UNTOUCHED;
    MatchResult result6 = UNTOUCHED;

private:
    // What is planted is in the ordered structures alone: a flat lookup says what entries said when it was built.
    const ScopedFlatUse ordered_{FlatUse::NEVER};
};

TEST_F(PlantedFilterEntry, WithoutFirstPortsIsAnErrorAtOnce) {
    const RuleGroupHandle group = makePacketFilterGroup({{"tcp;1.2.3.4;80;9.9.9.9;80"}});
    host4Of(*group, 0x01020304).firstPorts = nullptr;
    host6Of(*group, mappedAddress(0x01020304)).firstPorts = nullptr;
    EXPECT_EQ(RULE_ERR_INVALID_ARG, match(*group, 0x01020304, 81));
    EXPECT_EQ(0, match(*group, 0x01020305, 81)) << "the entry is not walked to";
    EXPECT_EQ(UNTOUCHED, result4);
    EXPECT_EQ(UNTOUCHED, result6);
}

TEST_F(PlantedFilterEntry, WithoutSecondPortsIsAnErrorOnceTheyAreAskedFor) {
    const RuleGroupHandle group = makePacketFilterGroup({{"tcp;1.2.3.4;80;9.9.9.9;7"}});
    host4Of(*group, 0x01020304).secondPorts = nullptr;
    host6Of(*group, mappedAddress(0x01020304)).secondPorts = nullptr;
    EXPECT_EQ(0, match(*group, 0x01020304, 81, 0x09090909)) << "the first port decides";
    EXPECT_EQ(0, match(*group, 0x01020304, 80, 0x09090908)) << "the second address decides";
    EXPECT_EQ(RULE_ERR_INVALID_ARG, match(*group, 0x01020304, 80, 0x09090909));
}

TEST_F(PlantedFilterEntry, IsAnErrorInEveryStructure) {
    const RuleGroupHandle group =
        makePacketFilterGroup({{"tcp;*;80;*;80"}, {"tcp;1.2.0.0/16;80;*;80"}});
    PacketFilterTable& table = *group->packetFilterTable;
    table.ipv4BlockIndex->slots[1][2].first->entry->firstPorts = nullptr;
    table.ipv6RangeList->buckets.last->entries.first->firstPorts = nullptr;
    EXPECT_EQ(RULE_ERR_INVALID_ARG, match(*group, 0x01020304, 81));
    EXPECT_EQ(0, match(*group, 0x02020304, 81));
    table.ipv4AnyList->entries.first->firstPorts = nullptr;
    table.ipv6AnyList->entries.first->firstPorts = nullptr;
    EXPECT_EQ(RULE_ERR_INVALID_ARG, match(*group, 0x02020304, 81));
}

TEST_F(PlantedFilterEntry, IsNotReachedBehindAnAnswerOfItsChain) {
    const RuleGroupHandle group =
        makePacketFilterGroup({{"tcp;1.2.3.4;80;*;*"}, {"tcp;1.2.3.4;*;*;*"}});
    host4Of(*group, 0x01020304).next->firstPorts = nullptr;
    host6Of(*group, mappedAddress(0x01020304)).next->firstPorts = nullptr;
    EXPECT_EQ(1, match(*group, 0x01020304, 80));
    EXPECT_EQ(1, result4.ruleIndex);
    EXPECT_EQ(1, result6.ruleIndex);
    EXPECT_EQ(RULE_ERR_INVALID_ARG, match(*group, 0x01020304, 81));
}

// The answer of the structures before is already in the result when a later one fails.
TEST_F(PlantedFilterEntry, SpoilsTheAnswerOfEarlierStructures) {
    const RuleGroupHandle group = makePacketFilterGroup({{"tcp;*;*;*;*"}, {"tcp;1.2.3.4;*;*;*"}});
    host4Of(*group, 0x01020304).secondPorts = nullptr;
    host6Of(*group, mappedAddress(0x01020304)).secondPorts = nullptr;
    EXPECT_EQ(RULE_ERR_INVALID_ARG, match(*group, 0x01020304, 80));
    EXPECT_EQ(1, result4.ruleIndex);
    EXPECT_EQ(1, result6.ruleIndex);
    EXPECT_EQ(1, match(*group, 0x01020305, 80));
}

// A later structure's answer stands unless what is held is of an earlier rule.
TEST_F(PlantedFilterEntry, OfTheSameRuleInALaterStructureIsReported) {
    const RuleGroupHandle group = makePacketFilterGroup(
        {{"tcp;*;*;*;*", 10}, {"tcp;1.2.3.4;*;*;*", 20}, {"tcp;1.0.0.0/8;*;*;*", 30}});
    host4Of(*group, 0x01020304).ruleIndex = 1;
    host6Of(*group, mappedAddress(0x01020304)).ruleIndex = 1;
    EXPECT_EQ(1, match(*group, 0x01020304, 80));
    EXPECT_EQ(20, result4.ruleValue);
    // The star stands among the ranges, too, where it answers before the rule for 1.0.0.0/8.
    EXPECT_EQ(10, result6.ruleValue);
    group->packetFilterTable->ipv4BlockIndex->slots[1][2].first->entry->ruleIndex = 1;
    EXPECT_EQ(1, match(*group, 0x01020304, 80));
    EXPECT_EQ(30, result4.ruleValue);
}

// Only the last words of the bounds of a second address count in the IPv4 view.
TEST_F(PlantedFilterEntry, IsReadByItsLastWordsInTheIpv4View) {
    const RuleGroupHandle group = makePacketFilterGroup({{"tcp;1.2.3.4;*;5.6.7.8;*"}});
    for (FilterEntry* entry :
         {&host4Of(*group, 0x01020304), &host6Of(*group, mappedAddress(0x01020304))}) {
        entry->secondAddressStart = {{9, 9, 9, 0x05060708}};
        entry->secondAddressEnd = {{8, 8, 8, 0x05060709}};
    }
    MatchResult hit{};
    EXPECT_EQ(1, matchPacketFilter4(group.get(), 0x01020304, 5, 0x05060709, 7, &hit));
    EXPECT_EQ(0, matchPacketFilter4(group.get(), 0x01020304, 5, 0x0506070A, 7, &hit));
    EXPECT_EQ(0,
              matchPacketFilter6(group.get(), mapped(0x01020304), 5, mapped(0x05060709), 7, &hit));
}

// Of 10.0.0.1:22 and 1.2.3.4:1, of the same in mapped form, and of ::ffff:10.0.0.1 and ::5.
TEST(PacketFilterMatch, TakesStarAndIpv6RangesBesideIpv4Addresses) {
    constexpr struct {
        std::string_view rule;
        int32_t ipv4;
        int32_t mappedPair;
        int32_t mixedPair;
    } ROWS[] = {
        {"tcp;10.0.0.0/8;22;*;*", 1, 1, 0},
        {"tcp;10.0.0.0/31;22;*;*", 1, 1, 0},
        {"tcp;10.0.0.1;22;*;*", 1, 1, 1},
        {"tcp;0.0.0.0-255.255.255.255;22;*;*", 1, 1, 1},
        {"tcp;::ffff:10.0.0.0/104;22;*;*", 1, 1, 1},
        {"tcp;::/8;22;*;*", 0, 1, 1},
        {"tcp;::ffff:10.0.0.0/104;22;::/8;*", 0, 1, 1},
        {"tcp;*;22;::/8;*", 0, 1, 1},
    };
    for (const auto& row : ROWS) {
        SCOPED_TRACE(row.rule);
        const RuleGroupHandle group = makePacketFilterGroup({{row.rule}});
        const auto find6 = [&](const AddressWords& second) {
            MatchResult hit{};
            return matchPacketFilter6(group.get(), {0, 0, 0xFFFF, 0x0A000001}, 22, second, 1, &hit);
        };
        MatchResult hit{};
        EXPECT_EQ(row.ipv4, matchPacketFilter4(group.get(), 0x0A000001, 22, 0x01020304, 1, &hit));
        EXPECT_EQ(row.mappedPair, find6({0, 0, 0xFFFF, 0x01020304}));
        EXPECT_EQ(row.mixedPair, find6({0, 0, 0, 5}));
    }
}

}  // namespace

}  // namespace rs::test
