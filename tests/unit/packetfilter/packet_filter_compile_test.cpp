// Lists of packet filter rules and the structures that they are compiled into.
#include "packetfilter/packet_filter_compile.h"

#include <ruleset.h>
#include <ruleset_static.h>

#include <cstdint>
#include <initializer_list>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "core/list.h"
#include "core/rule_group.h"
#include "core/rule_set.h"
#include "packetfilter/packet_filter_rule.h"
#include "support/endpoint_text.h"
#include "support/release_recorder.h"
#include "support/rule_builder.h"
#include "support/rule_handles.h"
#include "support/rule_records.h"

namespace rs::test {

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;

// An entry as "#1! second", with its second address.
std::string entryText(const FilterEntry& entry) {
    return ruleText(entry.ruleIndex, entry.entryFlags) + " " +
           rangeText(entry.secondAddressStart, entry.secondAddressEnd);
}

Lines linesOf(const RuleGroup& group) {
    const PacketFilterTable& table = *group.packetFilterTable;
    const EndpointStructures<FilterEntry> structures{table.ipv4AnyList,    table.ipv4HostTable,
                                                     table.ipv4BlockIndex, table.ipv6AnyList,
                                                     table.ipv6HostTable,  table.ipv6RangeList};
    return linesOf(structures, entryText);
}

Lines linesOf(std::initializer_list<RuleLine> rules) {
    return linesOf(*makePacketFilterGroup(rules));
}

TEST(PacketFilterCompile, MakesNoStructureForAnEmptySet) {
    const RuleGroupHandle group = makePacketFilterGroup({});
    ASSERT_NE(nullptr, group->packetFilterTable);
    const PacketFilterTable& table = *group->packetFilterTable;
    EXPECT_EQ(1, table.refCount);
    EXPECT_EQ(nullptr, table.ipv4HostTable);
    EXPECT_EQ(nullptr, table.ipv4BlockIndex);
    EXPECT_EQ(nullptr, table.ipv4AnyList);
    EXPECT_EQ(nullptr, table.ipv6HostTable);
    EXPECT_EQ(nullptr, table.ipv6RangeList);
    EXPECT_EQ(nullptr, table.ipv6AnyList);
}

TEST(PacketFilterCompile, SplitsARangeAtItsBlocks) {
    const RuleGroupHandle group =
        makePacketFilterGroup({{"tcp;10.0.0.0-10.1.255.255;80;1.1.1.1;*"}});
    EXPECT_THAT(linesOf(*group),
                ElementsAre("blocks4 10.0 0-ffff #1 0:0:ffff:1010101",
                            "blocks4 10.1 0-ffff #1 0:0:ffff:1010101",
                            "ranges6 0:0:ffff:a000000-0:0:ffff:a01ffff #1 0:0:ffff:1010101"));
    EXPECT_EQ(1, group->packetFilterTable->ipv4BlockIndex->count) << "of rules, not of blocks";
    EXPECT_EQ(1, group->packetFilterTable->ipv6RangeList->count);
    const auto* slots = group->packetFilterTable->ipv4BlockIndex->slots[10];
    EXPECT_NE(slots[0].first->entry, slots[1].first->entry);
}

TEST(PacketFilterCompile, MakesOneNodeForARangeInsideABlock) {
    EXPECT_THAT(linesOf({{"tcp;10.1.2.3-10.1.2.9;80;1.1.1.1;*"}}),
                ElementsAre("blocks4 10.1 203-209 #1 0:0:ffff:1010101",
                            "ranges6 0:0:ffff:a010203-0:0:ffff:a010209 #1 0:0:ffff:1010101"));
}

TEST(PacketFilterCompile, SplitsRangesAcrossFirstOctets) {
    EXPECT_THAT(linesOf({{"tcp;9.255.255.1-10.0.0.2;80;1.1.1.1;*"}}),
                ElementsAre("blocks4 9.255 ff01-ffff #1 0:0:ffff:1010101",
                            "blocks4 10.0 0-2 #1 0:0:ffff:1010101",
                            "ranges6 0:0:ffff:9ffff01-0:0:ffff:a000002 #1 0:0:ffff:1010101"));
}

// In both passes the record is as the pass finds it: the IPv4 view saw the star, the range of the
// 128-bit view is the mapped space that the record says afterwards.
TEST(PacketFilterCompile, RewritesAStarBeforeIpv4ToTheMappedSpace) {
    const RuleSetHandle set = makePacketFilterRuleSet({{"tcp;*;*;10.0.0.1;*"}});
    const RuleGroupHandle group = buildRuleGroup(*set);
    EXPECT_THAT(linesOf(*group),
                ElementsAre("any4 #1 0:0:ffff:a000001",
                            "ranges6 0:0:ffff:0-0:0:ffff:ffffffff #1 0:0:ffff:a000001"));
    const PacketFilterRuleFields& fields =
        ruleAt<PacketFilterRule>(set->packetFilterRules, 1).fields;
    EXPECT_EQ(mappedAddress(0), fields.firstAddressStart);
    EXPECT_EQ(mappedAddress(0xFFFFFFFF), fields.firstAddressEnd);
    EXPECT_EQ(FILTER_ANY_FIRST_ADDRESS, fields.wildcardFlags);
}

TEST(PacketFilterCompile, EntersTwoStarsIntoBothStructuresOfThe128BitView) {
    EXPECT_THAT(linesOf({{"tcp;*;*;*;*"}}),
                ElementsAre("any4 #1 0:0:0:0-ffffffff:ffffffff:ffffffff:ffffffff",
                            "any6 #1 0:0:0:0-ffffffff:ffffffff:ffffffff:ffffffff",
                            "ranges6 0:0:ffff:0-0:0:ffff:ffffffff #1 "
                            "0:0:0:0-ffffffff:ffffffff:ffffffff:ffffffff"));
}

TEST(PacketFilterCompile, EntersAStarBeforeIpv6IntoTheListOfEveryAddress) {
    EXPECT_THAT(linesOf({{"tcp;*;*;2001:db8::1;*"}}), ElementsAre("any6 #1 20010db8:0:0:1"));
    EXPECT_THAT(linesOf({{"tcp;*;*;::ffff:1.1.1.1;*"}}),
                ElementsAre("any4 #1 0:0:ffff:1010101", "any6 #1 0:0:ffff:1010101"));
    EXPECT_THAT(linesOf({{"tcp;*;*;::1-::ffff:1.1.1.1;*"}}),
                ElementsAre("any6 #1 0:0:0:1-0:0:ffff:1010101"));
}

TEST(PacketFilterCompile, EntersIpv4IntoBothViews) {
    EXPECT_THAT(linesOf({{"tcp;10.0.0.1;*;1.1.1.1;*"}}),
                ElementsAre("exact4 a000001 #1 0:0:ffff:1010101",
                            "exact6 0:0:ffff:a000001 #1 0:0:ffff:1010101"));
    EXPECT_THAT(linesOf({{"tcp;10.0.0.1-10.0.0.1;*;*;*"}}),
                ElementsAre("exact4 a000001 #1 0:0:0:0-ffffffff:ffffffff:ffffffff:ffffffff",
                            "exact6 0:0:ffff:a000001 #1 "
                            "0:0:0:0-ffffffff:ffffffff:ffffffff:ffffffff"));
}

TEST(PacketFilterCompile, FilesTheWholeIpv4SpaceAsEveryAddressAndLeavesItsSecondAddress) {
    EXPECT_THAT(linesOf({{"tcp;0.0.0.0-255.255.255.255;*;*;*"}}),
                ElementsAre("any4 #1 0:0:0:0-ffffffff:ffffffff:ffffffff:ffffffff",
                            "ranges6 0:0:ffff:0-0:0:ffff:ffffffff #1 "
                            "0:0:0:0-ffffffff:ffffffff:ffffffff:ffffffff"));
}

// The second address of an IPv4 range is put into the mapped space between the passes, in the
// record; a later build has it there from the start, where its last words say the same.
TEST(PacketFilterCompile, RewritesTheSecondAddressOfARange) {
    const RuleSetHandle set = makePacketFilterRuleSet({{"tcp;10.0.0.0/31;*;*;*"}});
    const RuleGroupHandle first = buildRuleGroup(*set);
    EXPECT_THAT(linesOf(*first),
                ElementsAre("blocks4 10.0 0-1 #1 0:0:0:0-ffffffff:ffffffff:ffffffff:ffffffff",
                            "ranges6 0:0:ffff:a000000-0:0:ffff:a000001 #1 "
                            "0:0:ffff:0-0:0:ffff:ffffffff"));
    const PacketFilterRuleFields& fields =
        ruleAt<PacketFilterRule>(set->packetFilterRules, 1).fields;
    EXPECT_EQ(mappedAddress(0), fields.secondAddressStart);
    EXPECT_EQ(mappedAddress(0xFFFFFFFF), fields.secondAddressEnd);
    EXPECT_EQ(FILTER_ANY_SECOND_ADDRESS, fields.wildcardFlags);
    const RuleGroupHandle second = buildRuleGroup(*set);
    EXPECT_THAT(linesOf(*second), ElementsAre("blocks4 10.0 0-1 #1 0:0:ffff:0-0:0:ffff:ffffffff",
                                              "ranges6 0:0:ffff:a000000-0:0:ffff:a000001 #1 "
                                              "0:0:ffff:0-0:0:ffff:ffffffff"));
}

TEST(PacketFilterCompile, EntersIpv6IntoThe128BitViewOnly) {
    EXPECT_THAT(linesOf({{"tcp;2001:db8::1;*;*;*"}}),
                ElementsAre("exact6 20010db8:0:0:1 #1 "
                            "0:0:0:0-ffffffff:ffffffff:ffffffff:ffffffff"));
    EXPECT_THAT(linesOf({{"tcp;2001:db8::/32;*;::1;*"}}),
                ElementsAre("ranges6 20010db8:0:0:0-20010db8:ffffffff:ffffffff:ffffffff #1 "
                            "0:0:0:1"));
    EXPECT_THAT(linesOf({{"tcp;::-ffff:ffff:ffff:ffff:ffff:ffff:ffff:ffff;*;::1;*"}}),
                ElementsAre("any6 #1 0:0:0:1"));
}

TEST(PacketFilterCompile, EntersMappedAddressesIntoBothViews) {
    EXPECT_THAT(linesOf({{"tcp;::ffff:10.0.0.1;*;::ffff:1.1.1.1;*"}}),
                ElementsAre("exact4 a000001 #1 0:0:ffff:1010101",
                            "exact6 0:0:ffff:a000001 #1 0:0:ffff:1010101"));
    EXPECT_THAT(linesOf({{"tcp;::ffff:10.0.0.0/127;*;*;*"}}),
                ElementsAre("blocks4 10.0 0-1 #1 0:0:0:0-ffffffff:ffffffff:ffffffff:ffffffff",
                            "ranges6 0:0:ffff:a000000-0:0:ffff:a000001 #1 "
                            "0:0:0:0-ffffffff:ffffffff:ffffffff:ffffffff"));
}

TEST(PacketFilterCompile, LeavesMappedAddressesBeforeOtherIpv6ToThe128BitView) {
    EXPECT_THAT(linesOf({{"tcp;::ffff:10.0.0.1;*;::1;*"}}),
                ElementsAre("exact6 0:0:ffff:a000001 #1 0:0:0:1"));
    EXPECT_THAT(linesOf({{"tcp;::ffff:10.0.0.0/127;*;::1;*"}}),
                ElementsAre("ranges6 0:0:ffff:a000000-0:0:ffff:a000001 #1 0:0:0:1"));
    EXPECT_THAT(linesOf({{"tcp;::1-::ffff:10.0.0.1;*;*;*"}}),
                ElementsAre("ranges6 0:0:0:1-0:0:ffff:a000001 #1 "
                            "0:0:0:0-ffffffff:ffffffff:ffffffff:ffffffff"));
}

// Mapped, the whole IPv4 space is a range like any other.
TEST(PacketFilterCompile, SplitsTheMappedSpaceAtBlocks) {
    const RuleGroupHandle group = makePacketFilterGroup({{"tcp;::ffff:0:0/96;*;::ffff:1.1.1.1;*"}});
    EXPECT_EQ(nullptr, group->packetFilterTable->ipv4AnyList);
    EXPECT_EQ(1, group->packetFilterTable->ipv4BlockIndex->count);
    const Lines lines = linesOf(*group);
    EXPECT_EQ(65536 + 1, lines.size());
    EXPECT_EQ("blocks4 0.0 0-ffff #1 0:0:ffff:1010101", lines.front());
    EXPECT_EQ("blocks4 255.255 0-ffff #1 0:0:ffff:1010101", lines[65535]);
}

// A star is told by its flag: bounds that reach as far are an IPv6 range, and a star whose bounds an
// earlier build has rewritten stays one.
TEST(PacketFilterCompile, TellsAStarByItsFlagAndNotByItsBounds) {
    EXPECT_THAT(linesOf({{"tcp;*;*;::-ffff:ffff:ffff:ffff:ffff:ffff:ffff:ffff;*"}}),
                ElementsAre("any6 #1 0:0:0:0-ffffffff:ffffffff:ffffffff:ffffffff"));
    EXPECT_THAT(linesOf({{"tcp;::ffff:1.1.1.1;*;::-ffff:ffff:ffff:ffff:ffff:ffff:ffff:ffff;*"}}),
                ElementsAre("exact6 0:0:ffff:1010101 #1 "
                            "0:0:0:0-ffffffff:ffffffff:ffffffff:ffffffff"));
    const RuleSetHandle set = makePacketFilterRuleSet({{"tcp;*;*;*;*"}, {"tcp;*;*;10.0.0.1;*"}});
    const Lines lines = linesOf(*buildRuleGroup(*set));
    EXPECT_EQ(mappedAddress(0),
              ruleAt<PacketFilterRule>(set->packetFilterRules, 1).fields.firstAddressStart);
    EXPECT_EQ(lines, linesOf(*buildRuleGroup(*set)));
    EXPECT_EQ(lines, linesOf(*buildRuleGroup(*set)));
}

TEST(PacketFilterCompile, KeepsEqualRulesAll) {
    const RuleGroupHandle group = makePacketFilterGroup({{"tcp;10.0.0.1;80;1.1.1.1;*"},
                                                         {"tcp;10.0.0.1;80;1.1.1.1;*"},
                                                         {"tcp;10.0.0.0/31;80;1.1.1.1;*"},
                                                         {"tcp;10.0.0.0/31;80;1.1.1.1;*"}});
    EXPECT_THAT(
        linesOf(*group),
        ElementsAre("exact4 a000001 #1 0:0:ffff:1010101", "exact4 a000001 #2 0:0:ffff:1010101",
                    "blocks4 10.0 0-1 #3 0:0:ffff:1010101", "blocks4 10.0 0-1 #4 0:0:ffff:1010101",
                    "exact6 0:0:ffff:a000001 #1 0:0:ffff:1010101",
                    "exact6 0:0:ffff:a000001 #2 0:0:ffff:1010101",
                    "ranges6 0:0:ffff:a000000-0:0:ffff:a000001 #3 0:0:ffff:1010101",
                    "ranges6 0:0:ffff:a000000-0:0:ffff:a000001 #4 0:0:ffff:1010101"));
    const PacketFilterTable& table = *group->packetFilterTable;
    EXPECT_EQ(1, table.ipv4HostTable->elementCount);
    EXPECT_EQ(1, table.ipv6HostTable->elementCount);
    EXPECT_EQ(table.ipv6RangeList->buckets.first, table.ipv6RangeList->buckets.last);
    EXPECT_EQ(2, table.ipv6RangeList->count);
    EXPECT_EQ(2, table.ipv4BlockIndex->count);
}

TEST(PacketFilterCompile, KeepsRangesInOrderOfTheirFirstUse) {
    EXPECT_THAT(linesOf({{"tcp;2001:db8::/32;1;::1;1"},
                         {"tcp;2001:db8::/48;1;::1;1"},
                         {"tcp;2001:db8::/32;1;::2;1"}}),
                ElementsAre("ranges6 20010db8:0:0:0-20010db8:ffffffff:ffffffff:ffffffff #1 0:0:0:1",
                            "ranges6 20010db8:0:0:0-20010db8:ffffffff:ffffffff:ffffffff #3 0:0:0:2",
                            "ranges6 20010db8:0:0:0-20010db8:ffff:ffffffff:ffffffff #2 0:0:0:1"));
}

TEST(PacketFilterCompile, LetsTheFirstEntryOfARuleOwnUserData) {
    int userData = 0;
    EXPECT_THAT(linesOf({{"tcp;*;1;1.1.1.1;1", 0, &userData},
                         {"tcp;10.0.255.255-10.1.0.0;1;1.1.1.1;1", 0, &userData},
                         {"tcp;::1;1;::2;1", 0, &userData},
                         {"tcp;*;1;::2;1"}}),
                ElementsAre("any4 #1! 0:0:ffff:1010101", "blocks4 10.0 ffff #2! 0:0:ffff:1010101",
                            "blocks4 10.1 0 #2 0:0:ffff:1010101", "any6 #4 0:0:0:2",
                            "exact6 0:0:0:1 #3! 0:0:0:2",
                            "ranges6 0:0:ffff:0-0:0:ffff:ffffffff #1 0:0:ffff:1010101",
                            "ranges6 0:0:ffff:a00ffff-0:0:ffff:a010000 #2 0:0:ffff:1010101"));
}

TEST(PacketFilterCompile, CarriesTheRestOfTheRule) {
    int userData = 0;
    const RuleGroupHandle group =
        makePacketFilterGroup({{"tcp;::1;1;::2;1"}, {" tcp;*;80,90-99;1.1.1.1;*", 77, &userData}});
    const FilterEntry& entry = *group->packetFilterTable->ipv4AnyList->entries.first;
    EXPECT_EQ(90, entry.firstPorts->low);
    EXPECT_EQ(99, entry.firstPorts->high);
    EXPECT_EQ(80, entry.firstPorts->next->low);
    EXPECT_EQ(nullptr, entry.firstPorts->next->next);
    EXPECT_EQ(1, entry.secondPorts->low);
    EXPECT_EQ(65535, entry.secondPorts->high);
    EXPECT_EQ(PROTOCOL_TCP, entry.protocol);
    EXPECT_EQ(2, entry.ruleIndex);
    EXPECT_EQ(77, entry.ruleValue);
    EXPECT_EQ(ruleIdAt(2), entry.ruleId);
    EXPECT_EQ(&userData, entry.userData);
}

TEST(PacketFilterCompile, AsksForASetAndAGroup) {
    RuleGroup group{};
    const RuleSetHandle set = makePacketFilterRuleSet({{"tcp;*;1;*;1"}});
    EXPECT_EQ(nullptr, buildPacketFilterTable(nullptr, &group));
    EXPECT_EQ(nullptr, buildPacketFilterTable(set.get(), nullptr));
}

// Ports are read again by a build. Only a record that was overwritten can be bad by then.
TEST(PacketFilterCompile, FailsOnBadPortsAndHandsWhatEnteredBackOnce) {
    for (uint32_t PacketFilterRuleFields::*const ports :
         {&PacketFilterRuleFields::firstPortsOffset, &PacketFilterRuleFields::secondPortsOffset}) {
        int data[3] = {};
        ReleaseRecorder recorder;
        const RuleSetHandle set = makePacketFilterRuleSet({{"tcp;*;1;*;1", 0, &data[0]},
                                                           {"tcp;10.0.0.1;80;*;81", 0, &data[1]},
                                                           {"tcp;10.0.0.0/8;1;*;1", 0, &data[2]}});
        ASSERT_EQ(RULE_OK, recorder.registerOn(*set));
        PacketFilterRule& rule = ruleAt<PacketFilterRule>(set->packetFilterRules, 2);
        rule.text[rule.fields.*ports] = 'x';
        RuleGroup group{};
        PacketFilterTable stale{};
        group.packetFilterTable = &stale;
        EXPECT_EQ(nullptr, buildPacketFilterTable(set.get(), &group));
        EXPECT_EQ(nullptr, group.packetFilterTable);
        EXPECT_THAT(recorder.order(), ElementsAre(&data[0]));
        RuleGroup* out = nullptr;
        EXPECT_EQ(RULE_ERR_NO_MEMORY, rs_buildRuleGroup(set.get(), &out));
        EXPECT_EQ(nullptr, out);
        EXPECT_THAT(recorder.order(), ElementsAre(&data[0], &data[0])) << "once for each build";
    }
}

// A rule that enters the 128-bit structures only fails when all others have their entries.
TEST(PacketFilterCompile, HandsWhatEnteredBackWhenTheSecondPassFails) {
    int data[3] = {};
    ReleaseRecorder recorder;
    const RuleSetHandle set = makePacketFilterRuleSet({{"tcp;*;1;*;1", 0, &data[0]},
                                                       {"tcp;::1;80;*;81", 0, &data[1]},
                                                       {"tcp;10.0.0.0/8;1;*;1", 0, &data[2]}});
    ASSERT_EQ(RULE_OK, recorder.registerOn(*set));
    PacketFilterRule& rule = ruleAt<PacketFilterRule>(set->packetFilterRules, 2);
    rule.text[rule.fields.secondPortsOffset] = 'x';
    RuleGroup* group = nullptr;
    EXPECT_EQ(RULE_ERR_NO_MEMORY, rs_buildRuleGroup(set.get(), &group));
    EXPECT_EQ(nullptr, group);
    EXPECT_THAT(recorder.order(), UnorderedElementsAre(&data[0], &data[2]));
}

}  // namespace

}  // namespace rs::test
