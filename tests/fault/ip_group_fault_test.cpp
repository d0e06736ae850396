// Groups of IP rules when memory runs out.
#include <ruleset.h>
#include <ruleset_static.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "core/list.h"
#include "core/memory.h"
#include "core/rule_group.h"
#include "core/rule_set.h"
#include "ip/ip_flat_ranges.h"
#include "ip/ip_insert.h"
#include "ip/ip_match.h"
#include "ip/ip_statistics.h"
#include "lookup/flat_policy.h"
#include "lookup/hash_table.h"
#include "support/expected_match.h"
#include "support/failing_allocator.h"
#include "support/match_result.h"
#include "support/random_rules.h"
#include "support/random_source.h"
#include "support/reference_ip.h"
#include "support/release_recorder.h"
#include "support/rule_handles.h"
#include "support/scoped_flat_use.h"

namespace rs::test {

namespace {

struct Line {
    std::string text;
    uint32_t ruleValue = 0;
    bool hasUserData = true;
};
using Lines = std::vector<Line>;

// A fresh set of some rules with its host, and the same rules in the reference.
struct FaultCase {
    explicit FaultCase(const Lines& lines) : tokens(lines.size()), set(newRuleSet(RULE_TYPE_IP)) {
        recorder.registerOn(*set);
        for (size_t i = 0; i < lines.size(); ++i) {
            const Line& line = lines[i];
            void* userData = line.hasUserData ? &tokens[i] : nullptr;
            const auto ruleId = static_cast<uint32_t>(i + 100);
            EXPECT_EQ(RULE_OK, addRule(*set, line.text, line.ruleValue, ruleId, userData));
            EXPECT_TRUE(reference.add(line.text, line.ruleValue, ruleId, userData));
        }
    }

    // Each rule's userData went back `count` times, or, with atMost, no more often.
    void expectHandedBack(size_t count, bool atMost) const {
        for (const ReferenceRule& rule : reference.rules()) {
            if (rule.userData != nullptr) {
                const size_t found = recorder.countOf(rule.userData);
                EXPECT_TRUE(found == count || (atMost && found < count))
                    << "rule " << rule.ruleIndex << " was handed back " << found << " times";
            }
        }
    }

    void expectLookups(const RuleGroup& group) const {
        for (const ReferenceRule& rule : reference.rules()) {
            for (const Number128 address : edgesOf(rule.range)) {
                MatchResult result = UNTOUCHED;
                int32_t status = rs_matchIPRuleGroupEx(&group, 6, bytesOf(address).data(), &result);
                EXPECT_TRUE(isExpectedMatch(reference.findIpv6(address), status, result));
                if (isMappedNumber(address)) {
                    const auto ipv4 = static_cast<uint32_t>(address);
                    result = UNTOUCHED;
                    status = rs_matchIPRuleGroup(&group, ipv4, &result);
                    EXPECT_TRUE(isExpectedMatch(reference.findIpv4(ipv4), status, result));
                }
            }
        }
    }

    std::vector<char> tokens;
    ReleaseRecorder recorder;
    RuleSetHandle set;
    ReferenceIpRules reference;
};

// A build with memory enough, on a set that has seen a build that lacked it.
void expectGoodBuild(FaultCase& rules) {
    const AllocationWatch watch;
    rules.recorder.clear();
    RuleGroup* group = nullptr;
    EXPECT_EQ(RULE_OK, rs_buildRuleGroup(rules.set.get(), &group));
    rules.expectLookups(*group);
    rs_delRuleGroup(&group);
    EXPECT_EQ(0U, watch.liveBlockCount());
    // What the build before has handed back may be missing here, if no entry holds it now.
    rules.expectHandedBack(1, true);
    for (const void* userData : rules.reference.build().atDelete) {
        EXPECT_EQ(1U, rules.recorder.countOf(userData));
    }
}

// The flat lookups of ranges that the policy wants and that a table goes without.
uint32_t flatRangesLeftOut(const RuleGroup& group) {
    const IpRuleTable& table = *group.ipTable;
    const bool lacksIpv4 =
        wantsFlat(table.ipv4RangeNodes.count, FLAT_IPV4_RANGES) && table.flatIpv4Ranges == nullptr;
    const bool lacksIpv6 = wantsFlat(table.ipv6RangeNodes.count, FLAT_IPV6_RANGES) &&
                           table.flatIpv6Ranges == nullptr && !hasMirroredRanges(table);
    return (lacksIpv4 ? 1 : 0) + (lacksIpv6 ? 1 : 0);
}

struct FaultCounts {
    uint64_t failures = 0;
    // Builds that went on and left the rule that met the failure out.
    uint64_t goodBuilds = 0;
};

// Builds a fresh set once for each allocation that can fail. Flat lookups have a test of their own: without memory for
// them a build does not fail.
FaultCounts failEachAllocationOfBuild(const Lines& lines) {
    const ScopedFlatUse orderedOnly(FlatUse::NEVER);
    FaultCounts counts;
    counts.failures = failEachAllocation([&](uint64_t number) {
        FaultCase rules(lines);
        bool hasFailed = false;
        {
            RuleGroup untouched{};
            RuleGroup* group = &untouched;
            const AllocationWatch watch(number);
            const int32_t status = rs_buildRuleGroup(rules.set.get(), &group);
            hasFailed = watch.hasFailed();
            if (status == RULE_OK) {
                counts.goodBuilds += hasFailed ? 1 : 0;
                EXPECT_EQ(hasFailed ? 1U : 0U, rulesLeftOut(group) + flatRangesLeftOut(*group));
                if (rulesLeftOut(group) == 0) {
                    EXPECT_EQ(ReferenceIpRules(rules.reference).build().atBuild,
                              rules.recorder.order());
                    rules.expectLookups(*group);
                }
                EXPECT_EQ(RULE_OK, rs_delRuleGroup(&group));
                rules.expectHandedBack(1, false);
            } else {
                EXPECT_TRUE(hasFailed);
                EXPECT_EQ(RULE_ERR_NO_MEMORY, status);
                EXPECT_EQ(&untouched, group);
                rules.expectHandedBack(1, true);
            }
            EXPECT_EQ(0U, watch.liveBlockCount());
        }
        EXPECT_EQ(lines.size(), rules.set->ipRules.ruleCount);
        expectGoodBuild(rules);
        return hasFailed;
    });
    return counts;
}

TEST(IpGroupFault, EmptySetNeedsTheGroupAndTheTable) {
    const FaultCounts counts = failEachAllocationOfBuild({});
    EXPECT_EQ(2U, counts.failures);
    EXPECT_EQ(0U, counts.goodBuilds);
}

// Whatever fails on the way of a host fails the build.
TEST(IpGroupFault, HostsFailTheBuild) {
    const std::vector<Lines> cases = {
        {{"10.0.0.1"}},
        {{"10.0.0.1"}, {"10.0.0.2"}, {"10.0.0.1", 1}, {"192.0.2.1"}},
        {{"10.0.0.1"}, {"10.0.0.1"}, {"10.0.0.1", 1}, {"10.0.0.1", 1}},
        {{"10.0.0.1", 0, false}, {"10.0.0.1", 0, true}, {"10.0.0.2", 0, false}},
        {{"2001:db8::1"}, {"2001:db8::2"}, {"2001:db8::1"}, {"2001:db8::1", 1}},
        {{"::ffff:10.0.0.1"}, {"10.0.0.1"}, {"10.0.0.1", 1, false}},
    };
    for (const Lines& lines : cases) {
        SCOPED_TRACE(lines.front().text);
        const FaultCounts counts = failEachAllocationOfBuild(lines);
        EXPECT_LT(6U, counts.failures);
        EXPECT_EQ(0U, counts.goodBuilds);
    }
}

struct LostLookups {
    uint32_t ipv4 = 0;
    uint32_t ipv6 = 0;
};

// Builds with flat lookups once for each allocation. A build that goes on without one answers as it would with it.
LostLookups failEachAllocationOfFlatBuild(const Lines& lines) {
    const ScopedFlatUse flat(FlatUse::ALWAYS);
    LostLookups lost;
    failEachAllocation([&](uint64_t number) {
        FaultCase rules(lines);
        RuleGroup* group = nullptr;
        const AllocationWatch watch(number);
        const int32_t status = rs_buildRuleGroup(rules.set.get(), &group);
        const bool hasFailed = watch.hasFailed();
        if (status == RULE_OK) {
            lost.ipv4 += group->ipTable->flatIpv4Hosts == nullptr ? 1 : 0;
            lost.ipv6 += group->ipTable->flatIpv6Hosts == nullptr ? 1 : 0;
            rules.expectLookups(*group);
            EXPECT_EQ(RULE_OK, rs_delRuleGroup(&group));
        }
        EXPECT_TRUE(status == RULE_OK || (hasFailed && status == RULE_ERR_NO_MEMORY));
        rules.expectHandedBack(1, status != RULE_OK);
        EXPECT_EQ(0U, watch.liveBlockCount());
        return hasFailed;
    });
    return lost;
}

// A lookup of addresses is five blocks: its head, buckets, keys and numbers, and the entries in their new order.
TEST(IpGroupFault, FlatLookupsOfAddressesAreLostAlone) {
    const LostLookups lost = failEachAllocationOfFlatBuild({{"10.0.0.1"},
                                                            {"2001:db8::1"},
                                                            {"10.0.0.2"},
                                                            {"10.0.0.1", 1},
                                                            {"::ffff:10.0.0.3"},
                                                            {"2001:db8::1", 1},
                                                            {"10.0.0.1", 1},
                                                            {"2001:db8::2"}});
    EXPECT_EQ(5U, lost.ipv4);
    EXPECT_EQ(5U, lost.ipv6);
}

// Deliberate: a failure before any part of an interval is entered counts as a duplicate, so that the
// build goes on without the rule and hands its userData back.
TEST(IpGroupFault, IntervalsMayBeLeftOut) {
    const std::vector<Lines> cases = {
        {{"10.0.0.0/8"}},
        {{"10.0.0.0/8"}, {"10.0.0.0/8"}, {"10.1.0.0/16"}, {"10.1.0.0/16", 1}},
        {{"10.0.0.0/8", 0, false}, {"11.0.0.0/8", 1, true}},
        {{"2001:db8::/32"}, {"2001:db8::/48", 1}, {"2001:db7::-2001:db8::ff"}},
        {{"::ffff:10.0.0.0/104"}, {"::/1"}, {"10.0.0.0/8"}},
        // What is left of a rule on both sides of an earlier one.
        {{"10.0.0.100-10.0.0.200"}, {"10.0.0.0/24"}},
        {{"10.0.0.10-10.0.0.20"},
         {"10.0.0.30-10.0.0.40", 1},
         {"10.0.0.50-10.0.0.60"},
         {"10.0.0.0/24"},
         {"10.0.0.15-10.0.1.20", 2}},
        {{"2001:db8::100-2001:db8::200"}, {"2001:db8::/64", 1}, {"::/1", 2}},
    };
    for (const Lines& lines : cases) {
        SCOPED_TRACE(lines.back().text);
        const FaultCounts counts = failEachAllocationOfBuild(lines);
        EXPECT_LT(6U, counts.failures);
        EXPECT_LT(0U, counts.goodBuilds);
        EXPECT_LT(counts.goodBuilds, counts.failures);
    }
}

// Such a rule may answer for one family only. Its userData goes back at once unless the 32-bit tree,
// which is filled first, has it.
TEST(IpGroupFault, RangeMayBeLeftOutForOneFamily) {
    constexpr uint32_t ADDRESS = 0x0A010203;
    uint32_t family4Only = 0;
    uint32_t family6Only = 0;
    failEachAllocation([&](uint64_t number) {
        FaultCase rules({{"10.0.0.0/8"}});
        RuleGroup* group = nullptr;
        bool hasFailed = false;
        {
            const AllocationWatch watch(number);
            rs_buildRuleGroup(rules.set.get(), &group);
            hasFailed = watch.hasFailed();
        }
        if (group != nullptr) {
            MatchResult result{};
            const bool isIn4 = rs_matchIPRuleGroup(group, ADDRESS, &result) == 1;
            const bool isIn6 = rs_matchIPRuleGroupEx(
                                   group, 6, bytesOf(mappedNumber(ADDRESS)).data(), &result) == 1;
            EXPECT_EQ(isIn4 ? 0U : 1U, rules.recorder.order().size());
            EXPECT_EQ((isIn4 ? 0U : 1U) + (isIn6 ? 0U : 1U), rulesLeftOut(group));
            family4Only += isIn4 && !isIn6 ? 1 : 0;
            family6Only += isIn6 && !isIn4 ? 1 : 0;
        }
        rs_delRuleGroup(&group);
        return hasFailed;
    });
    EXPECT_LT(0U, family4Only);
    EXPECT_LT(0U, family6Only);
}

// A superfluous rule goes back once for all builds, a rule that enters once for each.
TEST(IpGroupFault, FailedBuildHandsBackWhatTheNextOneHandsBackAgain) {
    const ScopedFlatUse orderedOnly(FlatUse::NEVER);
    uint32_t handedBackTwice = 0;
    failEachAllocation([&](uint64_t number) {
        FaultCase rules({{"10.0.0.1"}, {"10.0.0.1"}, {"2001:db8::1"}});
        const auto countOf = [&rules](size_t i) {
            return rules.recorder.countOf(&rules.tokens[i]);
        };
        RuleGroup* group = nullptr;
        bool hasFailed = false;
        {
            const AllocationWatch watch(number);
            rs_buildRuleGroup(rules.set.get(), &group);
            hasFailed = watch.hasFailed();
        }
        EXPECT_EQ(hasFailed, group == nullptr);
        rs_delRuleGroup(&group);
        const size_t entered = countOf(0);
        EXPECT_GE(1U, entered);
        EXPECT_EQ(RULE_OK, rs_buildRuleGroup(rules.set.get(), &group));
        rs_delRuleGroup(&group);
        EXPECT_EQ(entered + 1, countOf(0));
        EXPECT_EQ(1U, countOf(1));
        handedBackTwice += hasFailed && countOf(0) == 2 ? 1 : 0;
        return hasFailed;
    });
    EXPECT_LT(0U, handedBackTwice);
}

// The views of 32 and of 128 bits differ in what they find superfluous.
// The topmost node is the upper one, whose entry of rule 3 owns the userData; the lower one gets its entry first.
TEST(IpGroupFault, RangeThatEnteredInPartGoesBackWhenTheBuildFails) {
    const ScopedFlatUse orderedOnly(FlatUse::NEVER);
    const Lines lines = {{"10.0.1.0-10.0.1.9", 1, false},
                         {"10.0.0.0-10.0.0.9", 2, false},
                         {"10.0.0.0-10.0.1.9", 3, true}};
    bool isBegun = false;
    uint64_t failedBuilds = 0;
    failEachAllocation([&](uint64_t number) {
        FaultCase rules(lines);
        RuleGroup* group = nullptr;
        const AllocationWatch watch(number);
        const int32_t status = rs_buildRuleGroup(rules.set.get(), &group);
        const bool hasFailed = watch.hasFailed();
        MatchResult result = UNTOUCHED;
        const bool isLeftOut =
            status == RULE_OK && rs_matchIPRuleGroup(group, 0x0A000050, &result) == 0;
        rs_delRuleGroup(&group);
        if (isBegun) {
            failedBuilds += status == RULE_OK ? 0 : 1;
            rules.expectHandedBack(1, false);
        }
        isBegun = isBegun || isLeftOut;
        return hasFailed;
    });
    EXPECT_LE(3U, failedBuilds) << "two more entries and a node between them";
}

TEST(IpGroupFault, RuleSuperfluousInOneViewKeepsItsUserDataOnce) {
    failEachAllocationOfBuild({{"::/1", 5}, {"10.0.0.0/8", 5}});
    failEachAllocationOfBuild({{"::fffe:ffff:0-::ffff:0:64", 9},
                               {"0.0.0.0-0.0.0.9", 5},
                               {"0.0.0.10-0.0.0.19", 5},
                               {"0.0.0.5-0.0.0.15", 5}});
}

TEST(IpGroupFault, RulesWithoutUserDataLoseNothing) {
    failEachAllocationOfBuild({{"10.0.0.1", 0, false},
                               {"10.0.0.0/24", 0, false},
                               {"10.0.0.128-10.0.1.1", 1, false},
                               {"2001:db8::1", 0, false}});
}

TEST(IpGroupFault, RandomSetsLoseNothing) {
    forEachCase(60, [](RandomSource& random) {
        RandomIpRules rules(random);
        Lines lines;
        for (uint64_t i = random.between(1, 14); i > 0; --i) {
            lines.push_back({rules.nextText(), random.below32(3), !random.oneIn(4)});
        }
        failEachAllocationOfBuild(lines);
    });
}

// Without a callback a failed build must leave userData alone.
TEST(IpGroupFault, FailedBuildWithoutCallbackHandsNothingBack) {
    failEachAllocation([](uint64_t number) {
        FaultCase rules({{"10.0.0.1"}, {"10.0.0.0/8"}, {"10.0.0.1"}, {"2001:db8::/32"}});
        rs_registerRuleCallback(rules.set.get(), RULE_CALLBACK_RELEASE, nullptr, nullptr);
        const AllocationWatch watch(number);
        RuleGroup* group = nullptr;
        rs_buildRuleGroup(rules.set.get(), &group);
        rs_delRuleGroup(&group);
        rules.expectHandedBack(0, false);
        EXPECT_EQ(0U, watch.liveBlockCount());
        return watch.hasFailed();
    });
}

TEST(IpGroupFault, FailedInsertionOfHostLeavesTheBucketAlone) {
    const EntryRule rule{1, 1, 1, nullptr, nullptr};
    const EntryRule second{2, 2, 2, nullptr, nullptr};
    const OwnedHashTable table(hashCreate(1, HASH_KIND_PLAIN));
    Slab<HostEntry> entries{};
    for (const EntryRule& entry : {rule, second}) {
        const uint64_t failures = failEachAllocation([&](uint64_t number) {
            const uint32_t before = table->elementCount;
            const AllocationWatch watch(number);
            const int32_t status = insertHost(*table, entries, 1, entry);
            EXPECT_EQ(watch.hasFailed(), status != RULE_OK);
            EXPECT_NE(RULE_ERR_DUPLICATE, status);
            EXPECT_EQ(before + (watch.hasFailed() ? 0 : 1), table->elementCount);
            EXPECT_EQ(table->elementCount, entries.count);
            return watch.hasFailed();
        });
        EXPECT_LT(0U, failures);
    }
    freeSlab(entries);
}

TEST(IpGroupFault, FailedRetainLeavesTheGroupAlone) {
    FaultCase rules({{"10.0.0.1"}, {"10.0.0.0/8"}});
    failEachAllocation([&](uint64_t number) {
        RuleGroupHandle group = buildRuleGroup(*rules.set);
        rules.recorder.clear();
        const AllocationWatch watch(number);
        RuleGroupHandle copy(retainRuleGroup(group.get()));
        EXPECT_EQ(watch.hasFailed(), copy == nullptr);
        EXPECT_EQ(watch.hasFailed() ? 1U : 2U, group->ipTable->refCount);
        copy.reset();
        EXPECT_EQ(0U, watch.liveBlockCount());
        rules.expectHandedBack(0, false);
        rules.expectLookups(*group);
        group.reset();
        rules.expectHandedBack(1, false);
        return watch.hasFailed();
    });
}

TEST(IpGroupFault, LookupsAllocateNothing) {
    FaultCase rules({{"10.0.0.1"},
                     {"10.0.0.0/8", 1},
                     {"10.0.0.1", 2},
                     {"10.0.0.128-11.0.0.0"},
                     {"2001:db8::1"},
                     {"2001:db8::/32", 1},
                     {"::/1", 3}});
    const RuleGroupHandle group = buildRuleGroup(*rules.set);
    const AllocationWatch watch;
    rules.expectLookups(*group);
    for (const ReferenceRule& rule : rules.reference.rules()) {
        for (const Number128 address : edgesOf(rule.range)) {
            MatchResult result = UNTOUCHED;
            EXPECT_LE(0, matchIpv4WithValue(*group->ipTable, static_cast<uint32_t>(address),
                                            rule.ruleValue, result));
            EXPECT_LE(
                0, matchIpv6WithValue(*group->ipTable, wordsOf(address), rule.ruleValue, result));
        }
    }
    EXPECT_EQ(2U, countIpRules(*group->ipTable).hostEntries);
    EXPECT_EQ(0U, watch.allocationCount());
}

TEST(IpGroupFault, ValidatorsAndConverterAllocateNothing) {
    const AllocationWatch watch;
    for (const std::string_view text :
         {"10.0.0.1", "10.0.0.0/8", "2001:db8::1-2001:db8::2", "80-90", "nonsense", ""}) {
        const auto length = static_cast<uint32_t>(text.size());
        ConvertedRange range;
        rs_validate_IPv4Range(text.data(), length);
        rs_validate_IPv6Range(text.data(), length);
        rs_validate_PortRange(text.data(), length);
        rs_validateRule_IP(text.data(), length);
        rs_convertRule_IP(text.data(), length, &range);
    }
    EXPECT_EQ(0U, watch.allocationCount());
}

}  // namespace

}  // namespace rs::test
