// Packet filter rules from text to lookup.
#include <ruleset_static.h>

#include <set>
#include <string_view>

#include <gtest/gtest.h>

#include "core/rule_group.h"
#include "packetfilter/packet_filter_index.h"
#include "packetfilter/packet_filter_rule.h"
#include "support/release_recorder.h"
#include "support/rule_builder.h"
#include "support/rule_handles.h"
#include "support/text.h"
#include "syntax/ip_range.h"

namespace rs::test {

namespace {

PacketFilterRuleFields parsed(std::string_view rule, int32_t expectedStatus = RULE_OK) {
    PacketFilterRuleFields fields{};
    const ExactText text(rule);
    EXPECT_EQ(expectedStatus, parsePacketFilterRule(text.data(), text.size(), &fields)) << rule;
    return fields;
}

RuleSetHandle makeSet(std::initializer_list<RuleLine> rules) {
    return makeRuleSet(RULE_TYPE_PACKET_FILTER, rules);
}

TEST(PacketFilterRule, ReadsItsFields) {
    const PacketFilterRuleFields fields = parsed("tcp;10.0.0.1;80;192.168.0.0/16;1024-65535");
    EXPECT_EQ(PROTOCOL_TCP, fields.protocol);
    EXPECT_EQ(0, fields.wildcardFlags);
    EXPECT_EQ(13, fields.firstPortsOffset);
    EXPECT_EQ(2, fields.firstPortsLength);
    EXPECT_EQ(mappedAddress(0x0A000001), fields.firstAddressStart);
    EXPECT_EQ(mappedAddress(0xC0A8FFFF), fields.secondAddressEnd);
    EXPECT_EQ(ADDRESS_FLAG_SINGLE, fields.firstAddressFlags);
}

TEST(PacketFilterRule, CountsOffsetsFromUntrimmedText) {
    EXPECT_EQ(7, parsed(" tcp;*;80;*;443").firstPortsOffset);
}

TEST(PacketFilterRule, TakesStarsForAllAddresses) {
    const PacketFilterRuleFields fields = parsed("TCP;*;*;*;*");
    EXPECT_EQ(3, fields.wildcardFlags);
    EXPECT_EQ((Address128{{0, 0, 0, 0}}), fields.firstAddressStart);
    EXPECT_EQ((Address128{{~0U, ~0U, ~0U, ~0U}}), fields.secondAddressEnd);
}

TEST(PacketFilterRule, RefusesBadTexts) {
    constexpr std::string_view ROWS[] = {
        "",
        "udp;*;*;*;*",
        "tc;*;*;*;*",
        "tcp;*;80;*",
        "tcp;*;80;*;80;",
        "tcp;;80;*;80",
        "tcp;10.0.0.1 ;80;*;80",
        "tcp;10.0.0.1,10.0.0.2;80;*;80",
        // Either form is for one family.
        "tcp;10.0.0.1;80;::1;80",
        "tcp;*;0;*;80",
    };
    for (const std::string_view row : ROWS) {
        parsed(row, RULE_ERR_BAD_RULE);
    }
    EXPECT_EQ(RULE_ERR_BAD_RULE, rs_validateRule_PacketFilter(nullptr, 5));
    EXPECT_EQ(RULE_ERR_INVALID_ARG, parsePacketFilterRule("tcp;*;*;*;*", 11, nullptr));
}

TEST(PacketFilterRule, TakesIpv6OnlyWhileItIsEnabled) {
    EXPECT_EQ(ADDRESS_FLAG_IPV6 | ADDRESS_FLAG_SINGLE,
              parsed("tcp;2001:db8::1;80;*;80").firstAddressFlags);
    setLibraryOption(RULE_OPTION_IPV6, 0);
    parsed("tcp;2001:db8::1;80;*;80", RULE_ERR_BAD_RULE);
    setLibraryOption(RULE_OPTION_IPV6, 1);
}

uint32_t winner(const RuleGroup& group, uint32_t firstAddress, uint32_t firstPort,
                uint32_t secondAddress, uint32_t secondPort) {
    MatchResult four{};
    MatchResult six{};
    const int32_t status4 =
        matchPacketFilter4(&group, firstAddress, firstPort, secondAddress, secondPort, &four);
    const int32_t status6 = matchPacketFilter6(&group, {0, 0, 0xFFFF, firstAddress}, firstPort,
                                               {0, 0, 0xFFFF, secondAddress}, secondPort, &six);
    EXPECT_EQ(status4, status6);
    EXPECT_EQ(four.ruleIndex, six.ruleIndex);
    return four.ruleIndex;
}

TEST(PacketFilterMatch, TestsBothEndpoints) {
    const RuleGroupHandle group =
        buildRuleGroup(*makeSet({{"tcp;10.0.0.1;80;192.168.0.0/16;1024-65535"}}));
    EXPECT_EQ(1, winner(*group, 0x0A000001, 80, 0xC0A80000, 1024));
    EXPECT_EQ(1, winner(*group, 0x0A000001, 65616, 0xC0A8FFFF, 65535));
    EXPECT_EQ(0, winner(*group, 0x0A000001, 80, 0xC0A90000, 1024));
    EXPECT_EQ(0, winner(*group, 0x0A000001, 80, 0xC0A80000, 1023));
    EXPECT_EQ(0, winner(*group, 0x0A000001, 81, 0xC0A80000, 1024));
    EXPECT_EQ(0, winner(*group, 0x0A000002, 80, 0xC0A80000, 1024));
}

TEST(PacketFilterMatch, ReportsTheEarliestRule) {
    const RuleGroupHandle group = buildRuleGroup(*makeSet({{"tcp;9.9.9.9;*;*;*"},
                                                           {"tcp;10.0.0.1;*;*;*"},
                                                           {"tcp;10.0.0.0/8;*;*;*"},
                                                           {"tcp;10.0.0.1;*;*;*"},
                                                           {"tcp;*;*;*;*"}}));
    EXPECT_EQ(2, winner(*group, 0x0A000001, 1, 1, 1));
    EXPECT_EQ(3, winner(*group, 0x0A000002, 1, 1, 1));
    EXPECT_EQ(5, winner(*group, 0x0B000002, 1, 1, 1));
}

TEST(PacketFilterMatch, AsksForArguments) {
    const RuleGroupHandle group = buildRuleGroup(*makeSet({{"tcp;*;*;*;*"}}));
    EXPECT_EQ(RULE_ERR_INVALID_ARG, matchPacketFilter4(group.get(), 1, 1, 1, 1, nullptr));
    MatchResult hit{};
    EXPECT_EQ(RULE_ERR_INVALID_ARG, matchPacketFilter6(nullptr, {}, 1, {}, 1, &hit));
}

TEST(PacketFilterIndex, SplitsRangesAtBlocks) {
    const RuleGroupHandle group = buildRuleGroup(*makeSet({{"tcp;10.0.0.0-10.1.255.255;80;*;*"}}));
    const auto* slots = group->packetFilterTable->ipv4BlockIndex->slots[10];
    for (const int block : {0, 1}) {
        EXPECT_EQ(0, slots[block].first->spanLow);
        EXPECT_EQ(0xFFFF, slots[block].first->spanHigh);
    }
    EXPECT_EQ(1, group->packetFilterTable->ipv6RangeList->count);
    const RuleGroupHandle small = buildRuleGroup(*makeSet({{"tcp;10.1.2.3-10.1.2.9;80;*;*"}}));
    const BlockNode* node = small->packetFilterTable->ipv4BlockIndex->slots[10][1].first;
    EXPECT_EQ(0x0203, node->spanLow);
    EXPECT_EQ(0x0209, node->spanHigh);
}

TEST(PacketFilterIndex, AnswersAlikeWhenBuiltTwice) {
    const RuleSetHandle set = makeSet({{"tcp;*;*;10.0.0.1;*"},
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

TEST(PacketFilterIndex, HandsEveryUserDataBackOnce) {
    int data[2] = {};
    ReleaseRecorder recorder;
    const RuleSetHandle set =
        makeSet({{"tcp;*;*;*;*", 0, &data[0]}, {"tcp;10.0.0.0/8;*;*;*", 0, &data[1]}});
    ASSERT_EQ(RULE_OK, recorder.registerOn(*set));
    buildRuleGroup(*set).reset();
    EXPECT_EQ((std::multiset<void*>{&data[0], &data[1]}),
              std::multiset<void*>(recorder.order().begin(), recorder.order().end()));
}

}  // namespace

}  // namespace rs::test
