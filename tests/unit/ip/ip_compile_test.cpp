#include "ip/ip_compile.h"

#include <ruleset.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "core/rule_group.h"
#include "core/rule_set.h"
#include "ip/ip_match.h"
#include "ip/ip_rule.h"
#include "support/release_recorder.h"
#include "support/rule_builder.h"
#include "support/rule_records.h"
#include "support/search_tree_check.h"
#include "support/tree_text.h"
#include "support/winner.h"

namespace rs::test {

namespace {

using Lines = std::vector<std::string>;
using Pointers = std::vector<void*>;

uint32_t ipv4Winner(const RuleGroup& group, uint32_t address) {
    return winnerOfMatch(
        [&](MatchResult* result) { return matchIpv4(*group.ipTable, address, *result); });
}

uint32_t ipv6Winner(const RuleGroup& group, const Address128& address) {
    return winnerOfMatch(
        [&](MatchResult* result) { return matchIpv6(*group.ipTable, address, *result); });
}

uint32_t nodeCountOf(const SearchTree* tree) {
    return tree == nullptr ? 0 : tree->nodeCount;
}

// The addresses of the last words, where all the others are those of mapped addresses.
Lines describeMappedRanges(const SearchTree* tree) {
    return describeIntervals<Address128>(tree, [](const Address128& address) {
        return (isIpv4Mapped(address) ? "" : "!") + dottedQuad(address.words[3]);
    });
}

TEST(IpRuleTableBuild, GivesNullForNullArguments) {
    RuleGroup group{};
    const RuleSetHandle set = makeIpRuleSet({{"10.0.0.1"}});
    EXPECT_EQ(nullptr, buildIpRuleTable(nullptr, &group));
    EXPECT_EQ(nullptr, buildIpRuleTable(set.get(), nullptr));
    EXPECT_EQ(nullptr, buildIpRuleTable(nullptr, nullptr));
}

TEST(IpRuleTableBuild, StoresTheTableInItsSlot) {
    const RuleSetHandle set = makeIpRuleSet({{"10.0.0.1"}});
    RuleGroup group{};
    IpRuleTable* table = buildIpRuleTable(set.get(), &group);
    ASSERT_NE(nullptr, table);
    EXPECT_EQ(table, group.ipTable);
    EXPECT_EQ(1, table->refCount);
    const ReleaseInfo info{};
    releaseIpRuleTable(&group.ipTable, &info);
}

TEST(IpRuleTableBuild, MakesNoStructuresForAnEmptySet) {
    const RuleGroupHandle group = makeIpGroup({});
    ASSERT_NE(nullptr, group);
    ASSERT_NE(nullptr, group->ipTable);
    EXPECT_EQ(1, group->ipTable->refCount);
    EXPECT_EQ(nullptr, group->ipTable->hostTable);
    EXPECT_EQ(nullptr, group->ipTable->ipv4RangeTree);
    EXPECT_EQ(nullptr, group->ipTable->ipv6HostTree);
    EXPECT_EQ(nullptr, group->ipTable->ipv6RangeTree);
    EXPECT_EQ(0, ipv4Winner(*group, 0));
    EXPECT_EQ(0, ipv6Winner(*group, {}));
}

// Which structures a rule enters, as letters: h hostTable, r ipv4RangeTree, H ipv6HostTree,
// R ipv6RangeTree.
TEST(IpRuleTableBuild, MakesOnlyTheStructuresThatItsRulesNeed) {
    constexpr struct {
        const char* text;
        const char* structures;
    } ROWS[] = {
        {"10.0.0.1", "hH"},
        {"10.0.0.1/32", "hH"},
        {"10.0.0.1-10.0.0.1", "hH"},
        {"10.0.0.0/31", "rR"},
        {"0.0.0.0-255.255.255.255", "rR"},
        {"2001:db8::1", "H"},
        {"2001:db8::1/128", "H"},
        {"2001:db8::/32", "R"},
        // Mapped addresses are IPv4 ones, and ranges of them.
        {"::ffff:a00:1", "hH"},
        {"::ffff:10.0.0.1", "hH"},
        {"::ffff:10.0.0.1/128", "hH"},
        {"::ffff:0:0/96", "rR"},
        {"::ffff:10.0.0.0-::ffff:10.0.0.9", "rR"},
        {"::ffff:0.0.0.0-::ffff:255.255.255.255", "rR"},
        // Ranges that reach over the mapped block are not, on either side.
        {"::fffe:ffff:ffff-::ffff:0:5", "R"},
        {"::ffff:ffff:fff0-::1:0:0:0", "R"},
        {"::fffe:ffff:ffff-::1:0:0:0", "R"},
        {"::/1", "R"},
        {"::ffff:0:0/95", "R"},
        // Neighbours of the mapped block, and other forms with an IPv4 address in them.
        {"::fffe:ffff:ffff", "H"},
        {"::1:0:0:0", "H"},
        {"::10.0.0.1", "H"},
        {"64:ff9b::10.0.0.1", "H"},
        {"1::ffff:10.0.0.1", "H"},
        {"0:0:0:1:0:ffff:10.0.0.0/112", "R"},
    };
    for (const auto& row : ROWS) {
        SCOPED_TRACE(row.text);
        const RuleGroupHandle group = makeIpGroup({{row.text}});
        ASSERT_NE(nullptr, group);
        const IpRuleTable& table = *group->ipTable;
        std::string structures;
        structures += table.hostTable != nullptr ? "h" : "";
        structures += table.ipv4RangeTree != nullptr ? "r" : "";
        structures += table.ipv6HostTree != nullptr ? "H" : "";
        structures += table.ipv6RangeTree != nullptr ? "R" : "";
        EXPECT_EQ(row.structures, structures);
    }
}

TEST(IpRuleTableBuild, EntersMappedAddressesAsIpv4Ones) {
    const RuleGroupHandle group = makeIpGroup({{"::ffff:a00:1"}, {"::ffff:a00:0/120"}});
    ASSERT_NE(nullptr, group);
    EXPECT_EQ(Lines{"10.0.0.1: 1"}, describeHosts(group->ipTable->hostTable));
    EXPECT_EQ(Lines{"10.0.0.0-10.0.0.255: 2 10.0.0.0-10.0.0.255"},
              describeIpv4Ranges(group->ipTable->ipv4RangeTree));
    EXPECT_EQ(Lines{"10.0.0.0-10.0.0.255: 2 10.0.0.0-10.0.0.255"},
              describeMappedRanges(group->ipTable->ipv6RangeTree));
}

TEST(IpRuleTableBuild, GivesTheHostTableABucketPerRuleAndOneMore) {
    for (const uint32_t count : {1U, 10U, 4093U, 4094U, 4095U, 4096U, 5000U}) {
        const RuleSetHandle set = newRuleSet(RULE_TYPE_IP);
        for (uint32_t i = 0; i < count; ++i) {
            ASSERT_EQ(RULE_OK, addRule(*set, dottedQuad(0x0A000000 + i), 1, 1));
        }
        const RuleGroupHandle group = buildRuleGroup(*set);
        ASSERT_NE(nullptr, group);
        EXPECT_EQ(std::min(count + 1, 4095U), group->ipTable->hostTable->bucketCount) << count;
        EXPECT_EQ(count, group->ipTable->hostTable->elementCount);
        EXPECT_EQ(count, group->ipTable->ipv6HostTree->nodeCount);
        EXPECT_TRUE(checkSearchTree(*group->ipTable->ipv6HostTree));
    }
}

TEST(IpRuleTableBuild, CountsAllRulesForTheBucketsOfTheHostTable) {
    const RuleGroupHandle group =
        makeIpGroup({{"::1"}, {"10.0.0.0/8"}, {"2001:db8::/32"}, {"10.0.0.1"}, {"10.0.0.1"}});
    ASSERT_NE(nullptr, group);
    EXPECT_EQ(6, group->ipTable->hostTable->bucketCount);
    EXPECT_EQ(0, group->ipTable->hostTable->kind);
    EXPECT_EQ(1, group->ipTable->hostTable->elementCount);
}

TEST(IpRuleTableBuild, RefusesAnEqualAddressWithTheSameRuleValue) {
    const RuleGroupHandle group = makeIpGroup({{"10.0.0.1", 5}, {"10.0.0.1", 5}});
    ASSERT_NE(nullptr, group);
    EXPECT_EQ(Lines{"10.0.0.1: 1"}, describeHosts(group->ipTable->hostTable));
    EXPECT_EQ(1, nodeCountOf(group->ipTable->ipv6HostTree));
    EXPECT_EQ(1, ipv4Winner(*group, 0x0A000001));
    EXPECT_EQ(1, ipv6Winner(*group, mappedAddress(0x0A000001)));
}

TEST(IpRuleTableBuild, KeepsAnEqualAddressWithAnotherRuleValue) {
    const RuleGroupHandle group = makeIpGroup({{"10.0.0.1", 5}, {"10.0.0.1", 6}});
    ASSERT_NE(nullptr, group);
    EXPECT_EQ((Lines{"10.0.0.1: 1", "10.0.0.1: 2"}), describeHosts(group->ipTable->hostTable));
    EXPECT_EQ(1, nodeCountOf(group->ipTable->ipv6HostTree));
    EXPECT_EQ(1, ipv4Winner(*group, 0x0A000001));
    EXPECT_EQ(1, ipv6Winner(*group, mappedAddress(0x0A000001)));
}

TEST(IpRuleTableBuild, FindsEqualRulesInDifferentWritings) {
    int userData = 0;
    ReleaseRecorder recorder;
    const RuleSetHandle set = makeIpRuleSet({{"10.0.0.1"},
                                             {"::ffff:a00:1", 0, &userData},
                                             {" 10.0.0.1/32 ", 0, &userData},
                                             {"192.168.1.0/24"},
                                             {"192.168.1.77/24", 0, &userData},
                                             {"192.168.1.0-192.168.1.255", 0, &userData},
                                             {"::ffff:192.168.1.9/120", 0, &userData}});
    recorder.registerOn(*set);
    const RuleGroupHandle group = buildRuleGroup(*set);
    ASSERT_NE(nullptr, group);
    EXPECT_EQ(5, recorder.countOf(&userData));
}

TEST(IpRuleTableBuild, AddsAnEntryAndANodeForAnIntervalThatSticksOutAbove) {
    const RuleGroupHandle group = makeIpGroup({{"10.0.0.0/24", 1}, {"10.0.0.100-10.0.1.50", 2}});
    ASSERT_NE(nullptr, group);
    const Lines expected = {
        "10.0.0.0-10.0.0.255: 1 10.0.0.0-10.0.0.255, 2 10.0.0.100-10.0.0.255",
        "10.0.1.0-10.0.1.50: 2 10.0.1.0-10.0.1.50",
    };
    EXPECT_EQ(expected, describeIpv4Ranges(group->ipTable->ipv4RangeTree));
    EXPECT_EQ(expected, describeMappedRanges(group->ipTable->ipv6RangeTree));
    EXPECT_TRUE(checkSearchTree(*group->ipTable->ipv4RangeTree));
    EXPECT_EQ(1, ipv4Winner(*group, 0x0A000096));
    EXPECT_EQ(2, ipv4Winner(*group, 0x0A00010A));
    EXPECT_EQ(2, ipv6Winner(*group, mappedAddress(0x0A00010A)));
    EXPECT_EQ(0, ipv4Winner(*group, 0x0A000133));
}

TEST(IpRuleTableBuild, AddsNodesOnlyAroundAnIntervalOfTheSameRuleValue) {
    const RuleGroupHandle group = makeIpGroup({{"10.0.0.100-10.0.0.200", 5}, {"10.0.0.0/24", 5}});
    ASSERT_NE(nullptr, group);
    const Lines expected = {
        "10.0.0.0-10.0.0.99: 2 10.0.0.0-10.0.0.99",
        "10.0.0.100-10.0.0.200: 1 10.0.0.100-10.0.0.200",
        "10.0.0.201-10.0.0.255: 2 10.0.0.201-10.0.0.255",
    };
    EXPECT_EQ(expected, describeIpv4Ranges(group->ipTable->ipv4RangeTree));
    EXPECT_EQ(expected, describeMappedRanges(group->ipTable->ipv6RangeTree));
    EXPECT_EQ(1, ipv4Winner(*group, 0x0A000096));
    EXPECT_EQ(2, ipv4Winner(*group, 0x0A000032));
}

TEST(IpRuleTableBuild, RefusesAnIntervalInsideAnEarlierOneOfTheSameRuleValue) {
    int userData = 0;
    ReleaseRecorder recorder;
    const RuleSetHandle set =
        makeIpRuleSet({{"10.0.0.0/8", 5}, {"10.1.0.0/16", 5, &userData}, {"10.1.0.0/16", 6}});
    recorder.registerOn(*set);
    const RuleGroupHandle group = buildRuleGroup(*set);
    ASSERT_NE(nullptr, group);
    EXPECT_EQ(Pointers{&userData}, recorder.order());
    EXPECT_EQ(Lines{"10.0.0.0-10.255.255.255: 1 10.0.0.0-10.255.255.255, 3 10.1.0.0-10.1.255.255"},
              describeIpv4Ranges(group->ipTable->ipv4RangeTree));
}

TEST(IpRuleTableBuild, KeepsAnAddressBesideAnIntervalThatHoldsIt) {
    // Single addresses and intervals live apart, so neither makes the other superfluous.
    const RuleGroupHandle group = makeIpGroup({{"10.0.0.0/8", 5}, {"10.1.1.1", 5}});
    ASSERT_NE(nullptr, group);
    EXPECT_EQ(Lines{"10.1.1.1: 2"}, describeHosts(group->ipTable->hostTable));
}

TEST(IpRuleTableBuild, CountsRefusedAndSkippedRulesInTheirPositions) {
    const RuleGroupHandle group =
        makeIpGroup({{"2001:db8::1"}, {"10.0.0.1"}, {"10.0.0.1"}, {"2001:db8::/32"}, {"10.0.0.2"}});
    ASSERT_NE(nullptr, group);
    EXPECT_EQ(2, ipv4Winner(*group, 0x0A000001));
    EXPECT_EQ(5, ipv4Winner(*group, 0x0A000002));
    EXPECT_EQ(5, ipv6Winner(*group, mappedAddress(0x0A000002)));
}

TEST(IpRuleTableBuild, GivesTreesTheCallbackOfTheSet) {
    ReleaseRecorder recorder;
    const RuleSetHandle set = makeIpRuleSet({{"10.0.0.0/8"}, {"::1"}});
    recorder.registerOn(*set);
    const RuleGroupHandle group = buildRuleGroup(*set);
    ASSERT_NE(nullptr, group);
    for (const SearchTree* tree : {group->ipTable->ipv4RangeTree, group->ipTable->ipv6HostTree,
                                   group->ipTable->ipv6RangeTree}) {
        ASSERT_NE(nullptr, tree);
        EXPECT_EQ(ReleaseRecorder::record, tree->releaseInfo->releaseCallback);
        EXPECT_EQ(&recorder, tree->releaseInfo->releaseContext);
        EXPECT_EQ(0, tree->releaseInfo->flags);
    }
}

// Who owns userData.

TEST(IpRuleUserData, BelongsToTheEntryMadeFirst) {
    int userData[4] = {};
    const RuleSetHandle set = makeIpRuleSet({{"10.0.0.1", 1, &userData[0]},
                                             {"10.0.0.0/24", 1, &userData[1]},
                                             {"10.0.0.128-10.0.1.9", 2, &userData[2]},
                                             {"2001:db8::/32", 1, &userData[3]}});
    const RuleGroupHandle group = buildRuleGroup(*set);
    ASSERT_NE(nullptr, group);
    const IpRuleTable& table = *group->ipTable;
    EXPECT_EQ(Lines{"10.0.0.1: 1*"}, describeHosts(table.hostTable));
    EXPECT_EQ((Lines{"10.0.0.0-10.0.0.255: 2* 10.0.0.0-10.0.0.255, 3* 10.0.0.128-10.0.0.255",
                     "10.0.1.0-10.0.1.9: 3 10.0.1.0-10.0.1.9"}),
              describeIpv4Ranges(table.ipv4RangeTree));
    EXPECT_EQ((Lines{"10.0.0.0-10.0.0.255: 2 10.0.0.0-10.0.0.255, 3 10.0.0.128-10.0.0.255",
                     "10.0.1.0-10.0.1.9: 3 10.0.1.0-10.0.1.9",
                     "!0.0.0.0-!255.255.255.255: 4* "
                     "!0.0.0.0-!255.255.255.255"}),
              describeMappedRanges(table.ipv6RangeTree));
}

TEST(IpRuleUserData, OfDuplicatesGoesBackInListOrderTheFirstPassFirst) {
    int userData[8] = {};
    ReleaseRecorder recorder;
    const RuleSetHandle set = makeIpRuleSet({{"2001:db8::1", 1},
                                             {"10.0.0.1", 1},
                                             {"2001:db8::1", 1, &userData[2]},
                                             {"10.0.0.1", 1, &userData[3]},
                                             {"2001:db8::/32", 1},
                                             {"2001:db8:1::/48", 1, &userData[5]},
                                             {"::ffff:10.0.0.1", 1, &userData[6]},
                                             {"10.0.0.1/32", 1, &userData[7]}});
    recorder.registerOn(*set);
    RuleGroupHandle group = buildRuleGroup(*set);
    ASSERT_NE(nullptr, group);
    EXPECT_EQ((Pointers{&userData[3], &userData[6], &userData[7], &userData[2], &userData[5]}),
              recorder.order());
    group.reset();
    EXPECT_EQ(5, recorder.order().size());
}

// The views of 32 and of 128 bits differ where an IPv6 rule reaches over the mapped block: in 128
// bits its node holds what is in nodes of its own in 32 bits.

TEST(IpRuleUserData, StaysWithTheGroupWhenOnlyTheSecondPassRefusesTheRule) {
    int userData = 0;
    ReleaseRecorder recorder;
    const RuleSetHandle set = makeIpRuleSet({{"::/1", 5}, {"10.0.0.0/24", 5, &userData}});
    recorder.registerOn(*set);
    for (int build = 0; build < 2; ++build) {
        recorder.clear();
        RuleGroupHandle group = buildRuleGroup(*set);
        ASSERT_NE(nullptr, group);
        EXPECT_EQ(Lines{"10.0.0.0-10.0.0.255: 2* 10.0.0.0-10.0.0.255"},
                  describeIpv4Ranges(group->ipTable->ipv4RangeTree));
        EXPECT_EQ(1, nodeCountOf(group->ipTable->ipv6RangeTree));
        EXPECT_TRUE(recorder.order().empty());
        EXPECT_EQ(0, ruleAt<IpRule>(set->ipRules, 2).released);
        EXPECT_EQ(2, ipv4Winner(*group, 0x0A000001));
        EXPECT_EQ(1, ipv6Winner(*group, mappedAddress(0x0A000001)));
        group.reset();
        EXPECT_EQ(Pointers{&userData}, recorder.order());
    }
}

TEST(IpRuleUserData, GoesBackOnceWhenOnlyTheFirstPassRefusesTheRule) {
    int userData = 0;
    ReleaseRecorder recorder;
    const RuleSetHandle set = makeIpRuleSet({{"::/1", 9},
                                             {"10.0.0.0-10.0.0.9", 5},
                                             {"10.0.0.10-10.0.0.19", 5},
                                             {"10.0.0.5-10.0.0.14", 5, &userData}});
    recorder.registerOn(*set);
    RuleGroupHandle group = buildRuleGroup(*set);
    ASSERT_NE(nullptr, group);
    EXPECT_EQ((Lines{"10.0.0.0-10.0.0.9: 2 10.0.0.0-10.0.0.9",
                     "10.0.0.10-10.0.0.19: 3 10.0.0.10-10.0.0.19"}),
              describeIpv4Ranges(group->ipTable->ipv4RangeTree));
    EXPECT_EQ(Pointers{&userData}, recorder.order());
    // The rule is in the 128-bit tree all the same, but owns nothing there.
    MatchResult result{};
    EXPECT_EQ(1, matchIpv6WithValue(*group->ipTable, mappedAddress(0x0A00000A), 5, result));
    EXPECT_EQ(3, result.ruleIndex);
    const std::vector<const TreeNode*> nodes = nodesInOrder(group->ipTable->ipv6RangeTree);
    ASSERT_EQ(1, nodes.size());
    const auto* entry = static_cast<const RangeEntry<Address128>*>(nodes[0]->entries);
    while (entry->next != nullptr) {
        entry = entry->next;
    }
    EXPECT_EQ(4, entry->ruleIndex);
    EXPECT_EQ(&userData, entry->userData);
    EXPECT_EQ(0, entry->entryFlags);
    group.reset();
    EXPECT_EQ(Pointers{&userData}, recorder.order());

    // Nor does the second build hand it back, or let an entry own it.
    group = buildRuleGroup(*set);
    ASSERT_NE(nullptr, group);
    group.reset();
    EXPECT_EQ(Pointers{&userData}, recorder.order());
}

TEST(IpRuleUserData, IsNotOwnedAfterARefusalWithoutACallback) {
    int userData = 0;
    ReleaseRecorder recorder;
    const RuleSetHandle set = makeIpRuleSet({{"::/1", 9},
                                             {"10.0.0.0-10.0.0.9", 5},
                                             {"10.0.0.10-10.0.0.19", 5},
                                             {"10.0.0.5-10.0.0.14", 5, &userData}});
    ASSERT_NE(nullptr, buildRuleGroup(*set));
    EXPECT_EQ(0, ruleAt<IpRule>(set->ipRules, 4).released);
    // A build without a callback leaves no mark: the next one hands the pointer back.
    recorder.registerOn(*set);
    RuleGroupHandle group = buildRuleGroup(*set);
    EXPECT_EQ(Pointers{&userData}, recorder.order());
    EXPECT_EQ(1, ruleAt<IpRule>(set->ipRules, 4).released);
    group.reset();
    EXPECT_EQ(1, recorder.order().size());
}

TEST(IpRuleUserData, OfARuleRefusedByBothPassesGoesBackOnce) {
    int userData = 0;
    ReleaseRecorder recorder;
    const RuleSetHandle set = makeIpRuleSet({{"10.0.0.1", 5}, {"10.0.0.1", 5, &userData}});
    recorder.registerOn(*set);
    RuleGroupHandle group = buildRuleGroup(*set);
    EXPECT_EQ(Pointers{&userData}, recorder.order());
    group.reset();
    EXPECT_EQ(Pointers{&userData}, recorder.order());
}

TEST(IpRuleUserData, OfDuplicatesGoesBackInTheFirstBuildOnly) {
    int first = 0;
    int second = 0;
    ReleaseRecorder recorder;
    const RuleSetHandle set =
        makeIpRuleSet({{"10.0.0.1", 5, &first}, {"10.0.0.1", 5, &second}, {"10.0.0.0/8"}});
    recorder.registerOn(*set);
    RuleGroupHandle group = buildRuleGroup(*set);
    EXPECT_EQ(Pointers{&second}, recorder.order());
    EXPECT_EQ(0, ruleAt<IpRule>(set->ipRules, 1).released);
    EXPECT_EQ(1, ruleAt<IpRule>(set->ipRules, 2).released);

    RuleGroupHandle again = buildRuleGroup(*set);
    ASSERT_NE(nullptr, again);
    EXPECT_EQ(Pointers{&second}, recorder.order());
    // The claims are each build's own: each group owns the pointer of the rule that it holds.
    group.reset();
    again.reset();
    EXPECT_EQ((Pointers{&second, &first, &first}), recorder.order());
}

TEST(IpRuleUserData, OfOneRuleMayBeThatOfAnother) {
    int userData = 0;
    ReleaseRecorder recorder;
    const RuleSetHandle set = makeIpRuleSet(
        {{"10.0.0.1", 1, &userData}, {"10.0.0.2", 1, &userData}, {"10.0.0.1", 1, &userData}});
    recorder.registerOn(*set);
    RuleGroupHandle group = buildRuleGroup(*set);
    EXPECT_EQ(1, recorder.countOf(&userData));
    group.reset();
    EXPECT_EQ(3, recorder.countOf(&userData));
}

TEST(IpRuleUserData, OfNullIsNeverHandedBack) {
    int userData = 0;
    ReleaseRecorder recorder;
    const RuleSetHandle set =
        makeIpRuleSet({{"10.0.0.1"}, {"10.0.0.1"}, {"10.0.0.0/8"}, {"::1", 0, &userData}});
    recorder.registerOn(*set);
    buildRuleGroup(*set);
    EXPECT_EQ(Pointers{&userData}, recorder.order());
}

}  // namespace

}  // namespace rs::test
