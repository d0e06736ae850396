#include "domain/domain_compile.h"

#include <ruleset.h>

#include <algorithm>
#include <cstdint>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "core/rule_group.h"
#include "domain/domain_index.h"
#include "domain/domain_match.h"
#include "domain/domain_rule.h"
#include "support/host_names.h"
#include "support/release_recorder.h"
#include "support/rule_builder.h"
#include "support/rule_records.h"
#include "support/table_blocks.h"
#include "support/text.h"
#include "support/winner.h"

namespace rs::test {

namespace {

using Block = std::vector<const DomainEntry*>;

// The hash of every sharing name.
uint32_t sharedHash() {
    const std::string wireName =
        static_cast<char>(SHARED_LETTERS.size()) + std::string(SHARED_LETTERS);
    return hashWireName(wireName.data(), size32(wireName));
}

// Sharing names 0 to count - 1 as rules, each with its own userData when there is some.
RuleSetHandle makeSharingRuleSet(uint32_t count, std::string_view wildcard = {},
                                 char* userData = nullptr) {
    RuleSetHandle set = newRuleSet(RULE_TYPE_FQDN);
    for (uint32_t i = 0; i < count; ++i) {
        EXPECT_EQ(RULE_OK, addRule(*set, std::string(wildcard) + sharingName(i), i, ruleIdAt(i + 1),
                                   userData == nullptr ? nullptr : userData + i));
    }
    return set;
}

uint32_t winnerOf(const RuleGroup& group, std::string_view name) {
    return winnerOfText(rs_matchDomainNameWithRuleGroup, group, name);
}

TEST(DomainCompile, OfAnEmptySetMakesNoTables) {
    const RuleGroupHandle group = makeDomainGroup({});
    ASSERT_NE(nullptr, group->domainIndex);
    EXPECT_EQ(1, group->domainIndex->refCount);
    EXPECT_EQ(nullptr, group->domainIndex->matchAll);
    EXPECT_EQ(nullptr, group->domainIndex->exactTable);
    EXPECT_EQ(nullptr, group->domainIndex->wildcardTable);
    EXPECT_EQ(0, group->nonEmpty);
    EXPECT_EQ(0, winnerOf(*group, "a.com"));
}

TEST(DomainCompile, MakesEachTableOnFirstNeed) {
    const RuleGroupHandle exact = makeDomainGroup({{"a.com"}, {"*"}});
    ASSERT_NE(nullptr, exact->domainIndex->exactTable);
    EXPECT_EQ(nullptr, exact->domainIndex->wildcardTable);
    EXPECT_EQ(4096, exact->domainIndex->exactTable->bucketCount);
    const RuleGroupHandle wildcard = makeDomainGroup({{"*.com"}});
    EXPECT_EQ(nullptr, wildcard->domainIndex->exactTable);
    ASSERT_NE(nullptr, wildcard->domainIndex->wildcardTable);
    EXPECT_EQ(4096, wildcard->domainIndex->wildcardTable->bucketCount);
    const RuleGroupHandle matchAll = makeDomainGroup({{"*"}});
    EXPECT_EQ(nullptr, matchAll->domainIndex->exactTable);
    EXPECT_EQ(nullptr, matchAll->domainIndex->wildcardTable);
}

TEST(DomainCompile, FillsAnEntry) {
    int userData = 0;
    const RuleGroupHandle group = makeDomainGroup({{"*"}, {"Web.Example.com", 7, &userData}});
    constexpr std::string_view WIRE_NAME("\3web\7example\3com\0", 17);
    const uint32_t hash = hashWireName(WIRE_NAME.data(), 16);
    const std::vector<Block> blocks = blocksOf<DomainEntry>(group->domainIndex->exactTable, hash);
    ASSERT_EQ(1, blocks.size());
    const DomainEntry& entry = *blocks[0][0];
    EXPECT_EQ(WIRE_NAME, std::string_view(entry.name, 17));
    EXPECT_EQ(16, entry.nameLength);
    EXPECT_EQ(hash, entry.hash);
    EXPECT_EQ(2, entry.ruleIndex);
    EXPECT_EQ(7, entry.ruleValue);
    EXPECT_EQ(ruleIdAt(2), entry.ruleId);
    EXPECT_EQ(&userData, entry.userData);
    EXPECT_EQ(0, entry.releaseFlags);
    EXPECT_EQ(0, entry.nextCount);
    EXPECT_EQ(nullptr, entry.next);
}

TEST(DomainCompile, KeysWildcardsByTheNameBehindThem) {
    const RuleGroupHandle group = makeDomainGroup({{"*.com"}});
    constexpr std::string_view WIRE_NAME("\3com\0", 5);
    const std::vector<Block> blocks =
        blocksOf<DomainEntry>(group->domainIndex->wildcardTable, hashWireName(WIRE_NAME.data(), 4));
    ASSERT_EQ(1, blocks.size());
    EXPECT_EQ(WIRE_NAME, std::string_view(blocks[0][0]->name, 5));
}

TEST(DomainCompile, KeepsTheFirstMatchAllRule) {
    int userData = 0;
    const RuleGroupHandle group = makeDomainGroup({{"a.com"}, {"*", 7, &userData}, {"*", 8}});
    const DomainEntry* matchAll = group->domainIndex->matchAll;
    ASSERT_NE(nullptr, matchAll);
    EXPECT_EQ(std::string_view("\1*\0", 3), std::string_view(matchAll->name, 3));
    EXPECT_EQ(1, matchAll->nameLength);
    EXPECT_EQ(1, matchAll->nextCount);
    EXPECT_EQ(2, matchAll->ruleIndex);
    EXPECT_EQ(7, matchAll->ruleValue);
    EXPECT_EQ(ruleIdAt(2), matchAll->ruleId);
    EXPECT_EQ(&userData, matchAll->userData);
    EXPECT_EQ(0, matchAll->releaseFlags);
}

TEST(DomainCompile, CountsEveryRuleOfTheList) {
    const RuleGroupHandle group =
        makeDomainGroup({{"a.com"}, {"a.com"}, {"*"}, {"*"}, {"b.com"}, {"*.com"}});
    EXPECT_EQ(1, winnerOf(*group, "a.com"));
    EXPECT_EQ(3, winnerOf(*group, "b.com"));
    const RuleGroupHandle later = makeDomainGroup({{"a.com"}, {"a.com"}, {"b.com"}});
    EXPECT_EQ(3, winnerOf(*later, "b.com"));
}

TEST(DomainCompile, SkipsRulesOfOtherFlags) {
    for (const uint32_t flags : {2U, 3U, 0x80000001U}) {
        RuleSetHandle set = makeDomainRuleSet({{"a.com"}, {"b.com"}});
        ruleAt<DomainRule>(set->domainRules, 1).rule.flags = flags;
        const RuleGroupHandle group = buildRuleGroup(*set);
        EXPECT_EQ(0, winnerOf(*group, "a.com"));
        EXPECT_EQ(2, winnerOf(*group, "b.com"));
    }
}

TEST(DomainCompile, LeavesOutARuleThatHasNoWireForm) {
    int userData = 0;
    ReleaseRecorder recorder;
    RuleSetHandle set =
        makeDomainRuleSet({{"a%2e%2eb", 0, &userData}, {"*.%2e", 0, &userData}, {"a.b"}});
    recorder.registerOn(*set);
    RuleGroupHandle group = buildRuleGroup(*set);
    ASSERT_NE(nullptr, group);
    EXPECT_EQ(1, countDomainEntries(*group->domainIndex));
    EXPECT_EQ(3, winnerOf(*group, "a.b"));
    group.reset();
    EXPECT_TRUE(recorder.order().empty());
}

TEST(DomainCompile, TakesAnEscapedStarForALabel) {
    const RuleGroupHandle group = makeDomainGroup({{"%2a.com"}, {"%2a"}});
    EXPECT_EQ(nullptr, group->domainIndex->matchAll);
    EXPECT_EQ(nullptr, group->domainIndex->wildcardTable);
    EXPECT_EQ(0, winnerOf(*group, "a.com"));
    EXPECT_EQ(1, winnerOf(*group, "*.com"));
    EXPECT_EQ(1, winnerOf(*group, "%2A.com"));
    EXPECT_EQ(2, winnerOf(*group, "*"));
    EXPECT_EQ(0, winnerOf(*group, "a"));
}

TEST(DomainCompile, RefusesNullArguments) {
    RuleSetHandle set = makeDomainRuleSet({});
    RuleGroup group{};
    EXPECT_EQ(nullptr, buildDomainIndex(nullptr, &group));
    EXPECT_EQ(nullptr, buildDomainIndex(set.get(), nullptr));
}

TEST(DomainCompile, ReturnsWhatItStores) {
    RuleSetHandle set = makeDomainRuleSet({{"a.com"}});
    RuleGroup group{};
    const DomainIndex* index = buildDomainIndex(set.get(), &group);
    EXPECT_NE(nullptr, index);
    EXPECT_EQ(index, group.domainIndex);
    const ReleaseInfo info{};
    releaseDomainIndex(&group.domainIndex, &info);
}

// ---- Crowded buckets.

TEST(DomainCompile, TellsNamesOfOneHashApartByTheirBytes) {
    const RuleGroupHandle group = makeDomainGroup({{"ab.c"}, {"a.bc"}, {"*.ab.c"}, {"*.a.bc"}});
    EXPECT_EQ(1, winnerOf(*group, "ab.c"));
    EXPECT_EQ(2, winnerOf(*group, "a.bc"));
    EXPECT_EQ(0, winnerOf(*group, "abc"));
    EXPECT_EQ(0, winnerOf(*group, "a.b.c"));
    EXPECT_EQ(3, winnerOf(*group, "x.ab.c"));
    EXPECT_EQ(4, winnerOf(*group, "x.a.bc"));
    EXPECT_EQ(0, winnerOf(*group, "x.abc"));
}

TEST(DomainCompile, PacksAChainOfNineNamesAndMore) {
    const struct {
        uint32_t count;
        std::vector<size_t> sizes;
    } rows[] = {
        {8, std::vector<size_t>(8, 1)},
        {9, {1, 8}},
        {72, {1, 71}},
        {73, {1, 72}},
        {74, {1, 72, 1}},
        {145, {1, 72, 72}},
        {146, {1, 72, 72, 1}},
        {2048, {1,  72, 72, 72, 72, 72, 72, 72, 72, 72, 72, 72, 72, 72, 72,
                72, 72, 72, 72, 72, 72, 72, 72, 72, 72, 72, 72, 72, 72, 31}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.count);
        const RuleGroupHandle exact = buildRuleGroup(*makeSharingRuleSet(row.count));
        EXPECT_EQ(row.sizes,
                  blockSizesOf<DomainEntry>(exact->domainIndex->exactTable, sharedHash()));
        const RuleGroupHandle wildcard = buildRuleGroup(*makeSharingRuleSet(row.count, "*."));
        EXPECT_EQ(row.sizes,
                  blockSizesOf<DomainEntry>(wildcard->domainIndex->wildcardTable, sharedHash()));
    }
}

TEST(DomainCompile, SortsBlocksAndKeepsTheLastRuleInFront) {
    const RuleGroupHandle group = buildRuleGroup(*makeSharingRuleSet(500));
    const std::vector<Block> blocks =
        blocksOf<DomainEntry>(group->domainIndex->exactTable, sharedHash());
    EXPECT_EQ(500, blocks[0][0]->ruleIndex);
    uint32_t lastIndex = 500;
    for (size_t i = 1; i < blocks.size(); ++i) {
        EXPECT_TRUE(std::is_sorted(blocks[i].begin(), blocks[i].end(),
                                   [](const DomainEntry* left, const DomainEntry* right) {
                                       return compareHashedNames(nameOf(*left), nameOf(*right)) < 0;
                                   }));
        // The chain runs from the last rule to the first, and so do the blocks.
        std::set<uint32_t> indexes;
        for (const DomainEntry* entry : blocks[i]) {
            indexes.insert(entry->ruleIndex);
        }
        EXPECT_EQ(lastIndex - 1, *indexes.rbegin());
        EXPECT_EQ(lastIndex - blocks[i].size(), *indexes.begin());
        lastIndex = *indexes.begin();
    }
    EXPECT_EQ(1, lastIndex);
}

TEST(DomainCompile, FindsEveryNameOfACrowdedBucket) {
    for (const uint32_t count : {8U, 9U, 73U, 74U, 2000U}) {
        SCOPED_TRACE(count);
        const RuleGroupHandle exact = buildRuleGroup(*makeSharingRuleSet(count));
        const RuleGroupHandle wildcard = buildRuleGroup(*makeSharingRuleSet(count, "*."));
        for (uint32_t i = 0; i < 2048; ++i) {
            const std::string name = sharingName(i);
            ASSERT_EQ(i < count ? i + 1 : 0, winnerOf(*exact, name)) << name;
            ASSERT_EQ(0, winnerOf(*exact, "x." + name)) << name;
            ASSERT_EQ(i < count ? i + 1 : 0, winnerOf(*wildcard, "x." + name)) << name;
            ASSERT_EQ(0, winnerOf(*wildcard, name)) << name;
        }
    }
}

TEST(DomainCompile, FindsEveryNameOfCrowdedBucketsOfManyHashes) {
    constexpr uint32_t COUNT = 60000;
    RuleSetHandle set = newRuleSet(RULE_TYPE_FQDN);
    const auto nameAt = [](uint32_t i) { return "host" + std::to_string(i) + ".example.com"; };
    for (uint32_t i = 0; i < COUNT; ++i) {
        ASSERT_EQ(RULE_OK, addRule(*set, nameAt(i), i, ruleIdAt(i + 1)));
    }
    const RuleGroupHandle group = buildRuleGroup(*set);
    for (uint32_t i = 0; i < COUNT; ++i) {
        ASSERT_EQ(i + 1, winnerOf(*group, nameAt(i)));
    }
    for (uint32_t i = COUNT; i < COUNT + 1000; ++i) {
        ASSERT_EQ(0, winnerOf(*group, nameAt(i)));
    }
}

// ---- Handing userData back.

TEST(DomainUserData, OfADuplicateComesBackDuringTheBuild) {
    int first = 0;
    int second = 0;
    ReleaseRecorder recorder;
    RuleSetHandle set = makeDomainRuleSet({{"a.com", 1, &first},
                                           {"A.COM.", 2, &second},
                                           {"*.a.com", 1, &first},
                                           {"*.a.com", 1, &second},
                                           {"a.com"}});
    recorder.registerOn(*set);
    RuleGroupHandle group = buildRuleGroup(*set);
    EXPECT_EQ((std::vector<void*>{&second, &second}), recorder.order());
    EXPECT_EQ(1, winnerOf(*group, "a.com"));
    EXPECT_EQ(3, winnerOf(*group, "b.a.com"));
    recorder.clear();
    group.reset();
    EXPECT_EQ((std::vector<void*>{&first, &first}), recorder.order());
}

TEST(DomainUserData, OfADuplicateComesBackInEveryBuild) {
    int userData = 0;
    ReleaseRecorder recorder;
    RuleSetHandle set = makeDomainRuleSet({{"a.com"}, {"a.com", 0, &userData}});
    recorder.registerOn(*set);
    const RuleGroupHandle first = buildRuleGroup(*set);
    const RuleGroupHandle second = buildRuleGroup(*set);
    EXPECT_EQ(2, recorder.countOf(&userData));
}

TEST(DomainUserData, StaysWithoutACallback) {
    int userData = 0;
    ReleaseRecorder recorder;
    RuleSetHandle set = makeDomainRuleSet({{"a.com", 0, &userData}, {"a.com", 0, &userData}});
    RuleGroupHandle group = buildRuleGroup(*set);
    // A callback that comes after the build is not the group's.
    recorder.registerOn(*set);
    group.reset();
    EXPECT_TRUE(recorder.order().empty());
}

// Deliberate: the index keeps the userData of the match-all rule, and skips a later one's.
TEST(DomainUserData, OfMatchAllRulesNeverComesBack) {
    int first = 0;
    int second = 0;
    ReleaseRecorder recorder;
    RuleSetHandle set = makeDomainRuleSet({{"*", 0, &first}, {"*", 0, &second}});
    recorder.registerOn(*set);
    RuleGroupHandle group = buildRuleGroup(*set);
    EXPECT_TRUE(recorder.order().empty());
    MatchResult result{};
    EXPECT_EQ(1, matchDomainName(*group->domainIndex, "x", 1, result));
    EXPECT_EQ(&first, result.userData);
    group.reset();
    EXPECT_TRUE(recorder.order().empty());
}

TEST(DomainUserData, OfSingleEntriesAllComesBack) {
    char userData[8];
    ReleaseRecorder recorder;
    RuleSetHandle set = makeSharingRuleSet(8, {}, userData);
    recorder.registerOn(*set);
    buildRuleGroup(*set).reset();
    EXPECT_EQ(8, recorder.order().size());
    for (const char& data : userData) {
        EXPECT_EQ(1, recorder.countOf(&data));
    }
}

// Deliberate: of a block, only the first entry in its sorted order hands its userData back.
TEST(DomainUserData, OfABlockComesBackForItsFirstEntryOnly) {
    constexpr uint32_t COUNT = 150;
    char userData[COUNT];
    ReleaseRecorder recorder;
    for (const std::string_view wildcard : {"", "*."}) {
        recorder.clear();
        RuleSetHandle set = makeSharingRuleSet(COUNT, wildcard, userData);
        recorder.registerOn(*set);
        RuleGroupHandle group = buildRuleGroup(*set);
        const DomainIndex& index = *group->domainIndex;
        std::vector<void*> expected;
        for (const Block& block : blocksOf<DomainEntry>(
                 wildcard.empty() ? index.exactTable : index.wildcardTable, sharedHash())) {
            expected.push_back(block[0]->userData);
        }
        EXPECT_EQ(4, expected.size());
        group.reset();
        EXPECT_EQ(expected, recorder.order());
    }
}

// No name of the largest length has larger bytes.
TEST(DomainCompile, HashesTheLargestNameBelowTheSign) {
    const std::string label(63, '\xFF');
    const std::string name = label + '.' + label + '.' + label + '.' + label;
    const RuleGroupHandle group = makeDomainGroup({{name}});
    const uint32_t hash = largestNameHash(252, 1999);
    EXPECT_EQ((std::vector<size_t>{1}),
              blockSizesOf<DomainEntry>(group->domainIndex->exactTable, hash));
    EXPECT_EQ(1, winnerOf(*group, name));
}

}  // namespace

}  // namespace rs::test
