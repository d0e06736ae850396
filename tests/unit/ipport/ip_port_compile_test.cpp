// Lists of IP:Port rules and the structures that they are compiled into.
#include "ipport/ip_port_compile.h"

#include <ruleset.h>

#include <algorithm>
#include <cstdint>
#include <initializer_list>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "core/list.h"
#include "core/rule_group.h"
#include "core/rule_set.h"
#include "ipport/ip_port_rule.h"
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

// An entry as "#1! second,second", with its second addresses.
std::string entryText(const CompiledIpPortRule& entry) {
    std::string text = ruleText(entry.ruleIndex, entry.releaseOwner);
    const char* separator = " ";
    for (const auto* node = entry.secondAddresses; node != nullptr; node = node->next) {
        text += separator + rangeText(node->low, node->high);
        separator = ",";
    }
    return text;
}

Lines linesOf(const RuleGroup& group) {
    const IpPortIndex& index = *group.ipPortIndex;
    const EndpointStructures<CompiledIpPortRule> structures{
        index.anyFirst4, index.exact4, index.blocks4, index.anyFirst6, index.exact6, index.ranges6};
    return linesOf(structures, entryText);
}

Lines linesOf(std::initializer_list<RuleLine> rules) {
    return linesOf(*makeIpPortGroup(rules));
}

TEST(IpPortCompile, MakesNoStructureForAnEmptySet) {
    const RuleGroupHandle group = makeIpPortGroup({});
    ASSERT_NE(nullptr, group->ipPortIndex);
    const IpPortIndex& index = *group->ipPortIndex;
    EXPECT_EQ(nullptr, index.exact4);
    EXPECT_EQ(nullptr, index.blocks4);
    EXPECT_EQ(nullptr, index.anyFirst4);
    EXPECT_EQ(nullptr, index.exact6);
    EXPECT_EQ(nullptr, index.ranges6);
    EXPECT_EQ(nullptr, index.anyFirst6);
    EXPECT_EQ(1, index.refCount);
}

TEST(IpPortCompile, SplitsRangesAtBlocks) {
    const RuleGroupHandle group = makeIpPortGroup({{"10.0.0.0-10.2.0.5;1;1.1.1.1;1;1"}});
    EXPECT_THAT(
        linesOf(*group),
        ElementsAre("blocks4 10.0 0-ffff #1 1010101:0:0:0", "blocks4 10.1 0-ffff #1 1010101:0:0:0",
                    "blocks4 10.2 0-5 #1 1010101:0:0:0",
                    "ranges6 0:0:ffff:a000000-0:0:ffff:a020005 #1 0:0:ffff:1010101"));
    EXPECT_EQ(1, group->ipPortIndex->blocks4->count) << "of insertions, not of blocks";
    const auto* slots = group->ipPortIndex->blocks4->slots[10];
    EXPECT_NE(slots[0].first->entry, slots[1].first->entry);
    EXPECT_EQ(slots[0].first->entry->firstPorts, slots[1].first->entry->firstPorts);
}

TEST(IpPortCompile, EntersARepeatedItemOnceIntoEachStructure) {
    const RuleGroupHandle group =
        makeIpPortGroup({{"10.0.0.1,10.0.0.1,1.0.0.0/31,1.0.0.0/31,0.0.0.0-255.255.255.255,"
                          "0.0.0.0-255.255.255.255;1;1.1.1.1;1;1"}});
    EXPECT_THAT(linesOf(*group),
                ElementsAre("any4 #1 1010101:0:0:0", "exact4 a000001 #1 1010101:0:0:0",
                            "blocks4 1.0 0-1 #1 1010101:0:0:0",
                            "exact6 0:0:ffff:a000001 #1 0:0:ffff:1010101",
                            "ranges6 0:0:ffff:0-0:0:ffff:ffffffff #1 0:0:ffff:1010101",
                            "ranges6 0:0:ffff:1000000-0:0:ffff:1000001 #1 0:0:ffff:1010101"));
    const IpPortIndex& index = *group->ipPortIndex;
    EXPECT_EQ(2, index.anyFirst4->count) << "of insertions";
    EXPECT_EQ(2, index.blocks4->count);
    EXPECT_EQ(4, index.ranges6->count);
    EXPECT_EQ(1, index.exact4->elementCount);
    EXPECT_EQ(1, index.exact6->elementCount);
}

// Equal texts make two rules all the same.
TEST(IpPortCompile, KeepsTheEntriesOfEqualRules) {
    EXPECT_THAT(linesOf({{"::1,::1;1;::2;1;1"}, {"::1;1;::2;1;1"}}),
                ElementsAre("exact6 0:0:0:1 #1 0:0:0:2", "exact6 0:0:0:1 #2 0:0:0:2"));
}

TEST(IpPortCompile, SharesListsWithinAViewOnly) {
    const RuleGroupHandle group = makeIpPortGroup({{"10.0.0.1,11.0.0.0-11.1.0.0;1;1.1.1.1;1;1"}});
    const IpPortIndex& index = *group->ipPortIndex;
    const CompiledIpPortRule& block = *index.blocks4->slots[11][0].first->entry;
    const CompiledIpPortRule& range = *index.ranges6->buckets.first->entries.first;
    EXPECT_EQ(block.firstPorts, index.blocks4->slots[11][1].first->entry->firstPorts);
    EXPECT_EQ(5, index.records.entries.count)
        << "two blocks, an address of each width, and a range";
    EXPECT_EQ(4, index.records.ports.count) << "two lists in each view";
    EXPECT_EQ(2, index.records.addresses.count);
    EXPECT_NE(block.firstPorts, range.firstPorts);
    const RuleGroupHandle stars = makeIpPortGroup({{"*;1;*;1;1"}});
    const CompiledIpPortRule& star = *stars->ipPortIndex->anyFirst4->entries.first;
    EXPECT_NE(star.firstPorts, star.next->firstPorts) << "of different second addresses";
}

TEST(IpPortCompile, SplitsRangesAcrossFirstOctets) {
    const Lines lines = linesOf({{"9.255.255.1-10.0.0.2;1;1.1.1.1;1;1"}});
    EXPECT_THAT(
        lines,
        ElementsAre("blocks4 9.255 ff01-ffff #1 1010101:0:0:0", "blocks4 10.0 0-2 #1 1010101:0:0:0",
                    "ranges6 0:0:ffff:9ffff01-0:0:ffff:a000002 #1 0:0:ffff:1010101"));
}

TEST(IpPortCompile, SharesTheNodeOfOneAddressInRuleOrder) {
    const RuleGroupHandle group = makeIpPortGroup(
        {{"1.2.3.4;1;1.1.1.1;1;1"}, {"1.2.3.4;2;2.2.2.2;1;1"}, {"1.2.3.4;3;3.3.3.3;1;1"}});
    EXPECT_EQ(1, group->ipPortIndex->exact4->elementCount);
    EXPECT_EQ(1, group->ipPortIndex->exact6->elementCount);
    EXPECT_THAT(linesOf(*group),
                ElementsAre("exact4 1020304 #1 1010101:0:0:0", "exact4 1020304 #2 2020202:0:0:0",
                            "exact4 1020304 #3 3030303:0:0:0",
                            "exact6 0:0:ffff:1020304 #1 0:0:ffff:1010101",
                            "exact6 0:0:ffff:1020304 #2 0:0:ffff:2020202",
                            "exact6 0:0:ffff:1020304 #3 0:0:ffff:3030303"));
}

// Lists run in reverse text order, so the entry of the last item is the first one made.
TEST(IpPortCompile, MakesOneEntryForEachItemOfWhichOneOwnsUserData) {
    int userData = 0;
    EXPECT_THAT(
        linesOf({{"10.0.0.1,10.0.0.2;1;1.1.1.1;1;1", 0, &userData}}),
        UnorderedElementsAre("exact4 a000001 #1 1010101:0:0:0", "exact4 a000002 #1! 1010101:0:0:0",
                             "exact6 0:0:ffff:a000001 #1 0:0:ffff:1010101",
                             "exact6 0:0:ffff:a000002 #1 0:0:ffff:1010101"));
}

TEST(IpPortCompile, LetsTheFirstBlockOwnUserData) {
    int userData = 0;
    EXPECT_THAT(
        linesOf({{"10.0.255.255-10.1.0.0;1;1.1.1.1;1;1", 0, &userData}}),
        ElementsAre("blocks4 10.0 ffff #1! 1010101:0:0:0", "blocks4 10.1 0 #1 1010101:0:0:0",
                    "ranges6 0:0:ffff:a00ffff-0:0:ffff:a010000 #1 0:0:ffff:1010101"));
}

TEST(IpPortCompile, EntersIpv6Into128BitStructuresOnlyAndMappedIntoBoth) {
    int userData = 0;
    EXPECT_THAT(linesOf({{"2001:db8::1;1;1.1.1.1;1;1", 0, &userData}}),
                ElementsAre("exact6 20010db8:0:0:1 #1! 0:0:ffff:1010101"));
    EXPECT_THAT(linesOf({{"2001:db8::/32;1;1.1.1.1;1;1"}}),
                ElementsAre("ranges6 20010db8:0:0:0-20010db8:ffffffff:ffffffff:ffffffff #1 "
                            "0:0:ffff:1010101"));
    EXPECT_THAT(linesOf({{"::1,10.0.0.1;1;1.1.1.1;1;1", 0, &userData}}),
                UnorderedElementsAre("exact4 a000001 #1! 1010101:0:0:0",
                                     "exact6 0:0:0:1 #1 0:0:ffff:1010101",
                                     "exact6 0:0:ffff:a000001 #1 0:0:ffff:1010101"));
}

// The rows of both views for rules of the default form.

TEST(IpPortCompile, FilesTheWholeIpv4SpaceAsEveryAddress) {
    EXPECT_THAT(linesOf({{"0.0.0.0-255.255.255.255;1;1.1.1.1;1;1"}}),
                ElementsAre("any4 #1 1010101:0:0:0",
                            "ranges6 0:0:ffff:0-0:0:ffff:ffffffff #1 0:0:ffff:1010101"));
}

TEST(IpPortCompile, FilesARangeOfOneAddressAsSingle) {
    EXPECT_THAT(
        linesOf({{"1.2.3.4-1.2.3.4;1;1.1.1.1;1;1"}, {"::ffff:1.2.3.5/128;1;1.1.1.1;1;1"}}),
        UnorderedElementsAre("exact4 1020304 #1 1010101:0:0:0", "exact4 1020305 #2 1010101:0:0:0",
                             "exact6 0:0:ffff:1020304 #1 0:0:ffff:1010101",
                             "exact6 0:0:ffff:1020305 #2 0:0:ffff:1010101"));
}

TEST(IpPortCompile, ConvertsSecondAddressesOncePerRule) {
    EXPECT_THAT(
        linesOf({{"10.0.0.1,10.0.0.2,10.0.0.3-10.0.0.9;1;1.1.1.1,2.0.0.0/8;1;1"}}),
        UnorderedElementsAre("exact4 a000001 #1 2000000:0:0:0-2ffffff:0:0:0,1010101:0:0:0",
                             "exact4 a000002 #1 2000000:0:0:0-2ffffff:0:0:0,1010101:0:0:0",
                             "blocks4 10.0 3-9 #1 2000000:0:0:0-2ffffff:0:0:0,1010101:0:0:0",
                             "exact6 0:0:ffff:a000001 #1 "
                             "0:0:ffff:2000000-0:0:ffff:2ffffff,0:0:ffff:1010101",
                             "exact6 0:0:ffff:a000002 #1 "
                             "0:0:ffff:2000000-0:0:ffff:2ffffff,0:0:ffff:1010101",
                             "ranges6 0:0:ffff:a000003-0:0:ffff:a000009 #1 "
                             "0:0:ffff:2000000-0:0:ffff:2ffffff,0:0:ffff:1010101"));
}

TEST(IpPortCompile, ConvertsSecondAddressesBehindAStar) {
    EXPECT_THAT(linesOf({{"*;1;1.1.1.1,2.0.0.0/8;1;1"}}),
                ElementsAre("any4 #1 2000000:0:0:0-2ffffff:0:0:0,1010101:0:0:0",
                            "ranges6 0:0:ffff:0-0:0:ffff:ffffffff #1 "
                            "0:0:ffff:2000000-0:0:ffff:2ffffff,0:0:ffff:1010101"));
}

TEST(IpPortCompile, NeverConvertsAStarAsSecondAddress) {
    EXPECT_THAT(linesOf({{"10.0.0.1,10.0.0.0/24;1;*;1;1"}}),
                UnorderedElementsAre(
                    "exact4 a000001 #1 0:0:0:0-ffffffff:ffffffff:ffffffff:ffffffff",
                    "blocks4 10.0 0-ff #1 0:0:0:0-ffffffff:ffffffff:ffffffff:ffffffff",
                    "exact6 0:0:ffff:a000001 #1 0:0:0:0-ffffffff:ffffffff:ffffffff:ffffffff",
                    "ranges6 0:0:ffff:a000000-0:0:ffff:a0000ff #1 "
                    "0:0:0:0-ffffffff:ffffffff:ffffffff:ffffffff"));
}

// Once with what the star is in the IPv4 form, once with the star itself. Its 128-bit view has the
// whole space and the mapped one.
TEST(IpPortCompile, EntersTwoStarsTwiceIntoEachView) {
    int userData = 0;
    const RuleGroupHandle group = makeIpPortGroup({{"*;1;*;1;1", 0, &userData}});
    EXPECT_THAT(
        linesOf(*group),
        ElementsAre("any4 #1! 0:0:0:0-ffffffff:0:0:0",
                    "any4 #1 0:0:0:0-ffffffff:ffffffff:ffffffff:ffffffff",
                    "any6 #1 0:0:0:0-ffffffff:ffffffff:ffffffff:ffffffff",
                    "ranges6 0:0:ffff:0-0:0:ffff:ffffffff #1 0:0:ffff:0-0:0:ffff:ffffffff"));
    EXPECT_EQ(2, group->ipPortIndex->anyFirst4->count);
    EXPECT_EQ(1, group->ipPortIndex->anyFirst6->count);
    EXPECT_EQ(1, group->ipPortIndex->ranges6->count);
}

// The rows of both views for rules of the wide form.

TEST(IpPortCompile, GivesTheIpv4ViewOnlySecondAddressesThatAreMapped) {
    EXPECT_THAT(linesOf({{"10.0.0.1;1;::1,1.1.1.1,::/1;1;1"}}),
                ElementsAre("exact4 a000001 #1 1010101:0:0:0",
                            "exact6 0:0:ffff:a000001 #1 "
                            "0:0:0:0-7fffffff:ffffffff:ffffffff:ffffffff,"
                            "0:0:ffff:1010101,0:0:0:1"));
    EXPECT_THAT(linesOf({{"10.0.0.0/31;1;1.1.1.1,::1;1;1"}}),
                ElementsAre("blocks4 10.0 0-1 #1 1010101:0:0:0",
                            "ranges6 0:0:ffff:a000000-0:0:ffff:a000001 #1 "
                            "0:0:0:1,0:0:ffff:1010101"));
}

TEST(IpPortCompile, LeavesRulesWithoutMappedSecondAddressToThe128BitView) {
    EXPECT_THAT(linesOf({{"10.0.0.1;1;::1;1;1"}}),
                ElementsAre("exact6 0:0:ffff:a000001 #1 0:0:0:1"));
    EXPECT_THAT(linesOf({{"10.0.0.0/31;1;::1;1;1"}}),
                ElementsAre("ranges6 0:0:ffff:a000000-0:0:ffff:a000001 #1 0:0:0:1"));
    EXPECT_THAT(linesOf({{"*;1;::1;1;1"}}), ElementsAre("any6 #1 0:0:0:1"));
}

TEST(IpPortCompile, LeavesRangesWithOneMappedEndToThe128BitView) {
    EXPECT_THAT(linesOf({{"::ffff:10.0.0.1-::1:0:0:1;1;1.1.1.1;1;1"}}),
                ElementsAre("ranges6 0:0:ffff:a000001-0:0:10000:1 #1 0:0:ffff:1010101"));
    EXPECT_THAT(linesOf({{"::ffff:10.0.0.1-::1:0:a00:9;1;1.1.1.1;1;1"}}),
                ElementsAre("ranges6 0:0:ffff:a000001-0:0:10000:a000009 #1 0:0:ffff:1010101"));
    EXPECT_THAT(linesOf({{"::1-::ffff:10.0.0.1;1;1.1.1.1;1;1"}}),
                ElementsAre("ranges6 0:0:0:1-0:0:ffff:a000001 #1 0:0:ffff:1010101"));
}

TEST(IpPortCompile, TakesAStarAsSecondAddressOfTheWideFormIntoBothViews) {
    EXPECT_THAT(linesOf({{"::1,10.0.0.1;1;*;1;1"}}),
                UnorderedElementsAre(
                    "exact4 a000001 #1 0:0:0:0-ffffffff:0:0:0",
                    "exact6 0:0:0:1 #1 0:0:0:0-ffffffff:ffffffff:ffffffff:ffffffff",
                    "exact6 0:0:ffff:a000001 #1 0:0:0:0-ffffffff:ffffffff:ffffffff:ffffffff"));
}

TEST(IpPortCompile, EntersAStarBeforeWideAddressesOnceIntoEachView) {
    EXPECT_THAT(linesOf({{"*;1;::1,1.1.1.1;1;1"}}),
                ElementsAre("any4 #1 1010101:0:0:0", "any6 #1 0:0:ffff:1010101,0:0:0:1"));
}

TEST(IpPortCompile, FilesTheWhole128BitSpaceAsEveryAddressOfItsView) {
    EXPECT_THAT(linesOf({{"::-ffff:ffff:ffff:ffff:ffff:ffff:ffff:ffff;1;1.1.1.1;1;1"}}),
                ElementsAre("any6 #1 0:0:ffff:1010101"));
}

// In the wide form the whole IPv4 space is a range like any other.
TEST(IpPortCompile, SplitsTheWholeIpv4SpaceOfTheWideFormAtBlocks) {
    const RuleGroupHandle group = makeIpPortGroup({{"0.0.0.0-255.255.255.255,::1;1;1.1.1.1;1;1"}});
    const IpPortIndex& index = *group->ipPortIndex;
    EXPECT_EQ(nullptr, index.anyFirst4);
    EXPECT_EQ(1, index.blocks4->count);
    const Lines lines = linesOf(*group);
    EXPECT_EQ(65536 + 2, lines.size());
    EXPECT_EQ("blocks4 0.0 0-ffff #1 1010101:0:0:0", lines.front());
    EXPECT_EQ("blocks4 255.255 0-ffff #1 1010101:0:0:0", lines[65535]);
}

TEST(IpPortCompile, FilesEqualRangesTogetherInOrderOfTheirFirstUse) {
    const RuleGroupHandle group = makeIpPortGroup({{"10.0.0.0/31;1;1.1.1.1;1;1"},
                                                   {"10.0.0.0/30;1;2.2.2.2;1;1"},
                                                   {"10.0.0.0-10.0.0.1;1;3.3.3.3;1;1"}});
    EXPECT_THAT(
        linesOf(*group),
        ElementsAre("blocks4 10.0 0-1 #1 1010101:0:0:0", "blocks4 10.0 0-3 #2 2020202:0:0:0",
                    "blocks4 10.0 0-1 #3 3030303:0:0:0",
                    "ranges6 0:0:ffff:a000000-0:0:ffff:a000001 #1 0:0:ffff:1010101",
                    "ranges6 0:0:ffff:a000000-0:0:ffff:a000001 #3 0:0:ffff:3030303",
                    "ranges6 0:0:ffff:a000000-0:0:ffff:a000003 #2 0:0:ffff:2020202"));
    EXPECT_EQ(3, group->ipPortIndex->ranges6->count);
    EXPECT_EQ(3, group->ipPortIndex->blocks4->count);
}

TEST(IpPortCompile, CarriesTheRestOfTheRule) {
    int userData = 0;
    const RuleGroupHandle group =
        makeIpPortGroup({{"::1;1;1.1.1.1;1;1"}, {"*;80,90-99;1.1.1.1;*;0x12", 77, &userData}});
    const CompiledIpPortRule& entry = *group->ipPortIndex->anyFirst4->entries.first;
    EXPECT_EQ(90, entry.firstPorts->low);
    EXPECT_EQ(99, entry.firstPorts->high);
    EXPECT_EQ(80, entry.firstPorts->next->low);
    EXPECT_EQ(nullptr, entry.firstPorts->next->next);
    EXPECT_EQ(1, entry.secondPorts->low);
    EXPECT_EQ(65535, entry.secondPorts->high);
    EXPECT_EQ(0x12, entry.ruleMask);
    EXPECT_EQ(2, entry.ruleIndex);
    EXPECT_EQ(77, entry.ruleValue);
    EXPECT_EQ(ruleIdAt(2), entry.ruleId);
    EXPECT_EQ(&userData, entry.userData);
}

TEST(IpPortCompile, ReadsFieldsBehindBlanks) {
    EXPECT_THAT(linesOf({{" \t1.2.3.4;1;1.1.1.1;1;1 "}}),
                ElementsAre("exact4 1020304 #1 1010101:0:0:0",
                            "exact6 0:0:ffff:1020304 #1 0:0:ffff:1010101"));
}

TEST(IpPortCompile, BuildsTheSameAgain) {
    const RuleSetHandle set = makeIpPortRuleSet({{"*;1;*;1;1"},
                                                 {"10.0.0.0/15;1;1.1.1.1;1;1"},
                                                 {"10.0.0.1,::1;1;::2,1.1.1.1;1;1"},
                                                 {"*;1;1.1.1.1;1;1"}});
    const RuleGroupHandle first = buildRuleGroup(*set);
    const RuleGroupHandle second = buildRuleGroup(*set);
    EXPECT_NE(first->ipPortIndex, second->ipPortIndex);
    EXPECT_EQ(linesOf(*first), linesOf(*second));
}

TEST(IpPortCompile, AsksForASetAndAGroup) {
    RuleGroup group{};
    const RuleSetHandle set = makeIpPortRuleSet({{"*;1;*;1;1"}});
    EXPECT_EQ(nullptr, buildIpPortIndex(nullptr, &group));
    EXPECT_EQ(nullptr, buildIpPortIndex(set.get(), nullptr));
}

// A build reads rule texts again. Only a record that was overwritten can be bad by then.
class BadIpPortRecord : public ::testing::TestWithParam<std::string_view> {
protected:
    void SetUp() override { ASSERT_EQ(RULE_OK, recorder.registerOn(*set)); }

    int data[3] = {};
    ReleaseRecorder recorder;
    RuleSetHandle set = makeIpPortRuleSet({{"*;1;*;1;1", 0, &data[0]},
                                           {"10.0.0.1;80;5.6.7.8;81;1", 0, &data[1]},
                                           {"10.0.0.0/8;1;*;1;1", 0, &data[2]}});
};

TEST_P(BadIpPortRecord, FailsTheBuildAndHandsWhatEnteredBackOnce) {
    std::string_view badText = GetParam();
    std::copy(badText.begin(), badText.end(), ruleAt<IpPortRule>(set->ipPortRules, 2).text);
    RuleGroup group{};
    IpPortIndex stale{};
    group.ipPortIndex = &stale;
    EXPECT_EQ(nullptr, buildIpPortIndex(set.get(), &group));
    EXPECT_EQ(nullptr, group.ipPortIndex);
    EXPECT_EQ(std::vector<void*>{&data[0]}, recorder.order());
    RuleGroup* unchanged = &group;
    EXPECT_EQ(RULE_ERR_NO_MEMORY, rs_buildRuleGroup(set.get(), &unchanged));
    EXPECT_EQ(&group, unchanged);
    EXPECT_EQ((std::vector<void*>{&data[0], &data[0]}), recorder.order()) << "once for each build";
}

INSTANTIATE_TEST_SUITE_P(Fields, BadIpPortRecord,
                         ::testing::Values("x", "10.0.0.1;x", "10.0.0.1;80;x",
                                           "10.0.0.1;80;5.6.7.8;x"));

// A rule that enters the 128-bit structures only fails when all others have their entries.
TEST(IpPortCompile, HandsWhatEnteredBackWhenTheSecondPassFails) {
    int data[3] = {};
    ReleaseRecorder recorder;
    const RuleSetHandle set = makeIpPortRuleSet({{"*;1;*;1;1", 0, &data[0]},
                                                 {"::1;80;*;81;1", 0, &data[1]},
                                                 {"10.0.0.0/8;1;*;1;1", 0, &data[2]}});
    ASSERT_EQ(RULE_OK, recorder.registerOn(*set));
    auto& rule = ruleAt<IpPortRule>(set->ipPortRules, 2);
    rule.text[rule.fields.secondPortsOffset] = 'x';
    RuleGroup* group = nullptr;
    EXPECT_EQ(RULE_ERR_NO_MEMORY, rs_buildRuleGroup(set.get(), &group));
    EXPECT_EQ(nullptr, group);
    EXPECT_THAT(recorder.order(), UnorderedElementsAre(&data[0], &data[2]));
}

}  // namespace

}  // namespace rs::test
