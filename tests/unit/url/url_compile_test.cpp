#include "url/url_compile.h"

#include <ruleset.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "core/rule_group.h"
#include "lookup/chain_blocks.h"
#include "support/rule_builder.h"
#include "support/table_blocks.h"
#include "support/text.h"
#include "support/winner.h"
#include "url/host_paths.h"
#include "url/url_index.h"
#include "url/url_match.h"
#include "url/url_rule.h"

namespace rs::test {

namespace {

using Block = std::vector<const UrlHostNode*>;
using Sizes = std::vector<size_t>;

uint32_t hashOf(std::string_view host) {
    return urlHostHash(host.data(), size32(host));
}

std::string_view hostText(const UrlHostNode& node) {
    return {node.host, node.hostLength};
}

std::string_view schemeText(const UrlHostNode& node) {
    return {node.scheme, node.schemeLength};
}

std::vector<const UrlPathEntry*> listOf(const UrlHostNode& node) {
    std::vector<const UrlPathEntry*> entries;
    for (const UrlPathEntry* entry = node.paths; entry != nullptr; entry = entry->next) {
        entries.push_back(entry);
    }
    EXPECT_EQ(node.pathCount, entries.size());
    return entries;
}

uint32_t winnerOf(const RuleGroup& group, std::string_view url) {
    return winnerOfText(rs_matchUrlWithRuleGroup, group, url);
}

// Different hosts that share one hash, in an order that is not that of their bytes.
const std::vector<std::string>& sharingHosts() {
    static const std::vector<std::string> HOSTS = [] {
        constexpr uint32_t LENGTH = 5;
        std::vector<std::string> hosts;
        for (uint32_t number = 0; number < 1U << (3 * LENGTH); ++number) {
            // Every 5-letter word of 'a' to 'h', in a scrambled order.
            const uint32_t scrambled = number * 12345U % (1U << (3 * LENGTH));
            std::string host;
            for (uint32_t i = 0; i < LENGTH; ++i) {
                host += static_cast<char>('a' + (scrambled >> (3 * i) & 7U));
            }
            if (hashOf(host) == hashOf("aadfh")) {
                hosts.push_back(host);
            }
        }
        return hosts;
    }();
    return HOSTS;
}

// Sharing hosts 0 to count - 1 as rules behind a prefix.
RuleGroupHandle makeSharingGroup(uint32_t count, std::string_view prefix) {
    RuleSetHandle set = newRuleSet(RULE_TYPE_URL);
    for (uint32_t i = 0; i < count; ++i) {
        EXPECT_EQ(RULE_OK,
                  addRule(*set, std::string(prefix) + sharingHosts()[i], i, ruleIdAt(i + 1)));
    }
    return buildRuleGroup(*set);
}

TEST(UrlCompile, OfAnEmptySetMakesNoTables) {
    const RuleGroupHandle group = makeUrlGroup({});
    ASSERT_NE(nullptr, group->urlIndex);
    EXPECT_EQ(1, group->urlIndex->refCount);
    EXPECT_EQ(nullptr, group->urlIndex->anyHost);
    EXPECT_EQ(nullptr, group->urlIndex->exactHosts);
    EXPECT_EQ(nullptr, group->urlIndex->wildcardHosts);
    EXPECT_EQ(0, winnerOf(*group, "a.com"));
}

TEST(UrlCompile, MakesEachTableOnFirstNeed) {
    const RuleGroupHandle exact = makeUrlGroup({{"a.com"}, {"*"}});
    ASSERT_NE(nullptr, exact->urlIndex->exactHosts);
    EXPECT_EQ(4096, exact->urlIndex->exactHosts->bucketCount);
    EXPECT_EQ(nullptr, exact->urlIndex->wildcardHosts);
    const RuleGroupHandle wildcard = makeUrlGroup({{"*.com"}});
    EXPECT_EQ(nullptr, wildcard->urlIndex->exactHosts);
    ASSERT_NE(nullptr, wildcard->urlIndex->wildcardHosts);
    EXPECT_EQ(4096, wildcard->urlIndex->wildcardHosts->bucketCount);
    EXPECT_EQ(nullptr, wildcard->urlIndex->anyHost);
}

TEST(UrlCompile, MakesANodeForEachScheme) {
    const RuleGroupHandle group = makeUrlGroup({{"a.test/x"}, {"https://a.test/x"}});
    const std::vector<Block> blocks =
        blocksOf<UrlHostNode>(group->urlIndex->exactHosts, hashOf("a.test"));
    ASSERT_EQ(2, blocks.size()) << "both in one bucket";
    const UrlHostNode& https = *blocks[0][0];
    const UrlHostNode& http = *blocks[1][0];
    EXPECT_EQ("https", schemeText(https));
    EXPECT_EQ(nullptr, http.scheme);
    EXPECT_EQ(0, http.schemeLength);
    for (const UrlHostNode* node : {&https, &http}) {
        EXPECT_EQ("a.test", hostText(*node));
        EXPECT_EQ(hashOf("a.test"), node->hash);
        EXPECT_EQ(nullptr, node->pathBlocks);
        EXPECT_EQ(1, listOf(*node).size());
    }
}

TEST(UrlCompile, TakesHttpAndNoSchemeForTheSame) {
    const RuleGroupHandle group = makeUrlGroup({{"a.test/x"}, {"http://a.test/y"}, {"//A.test:9"}});
    const std::vector<Block> blocks =
        blocksOf<UrlHostNode>(group->urlIndex->exactHosts, hashOf("a.test"));
    ASSERT_EQ(1, blocks.size());
    EXPECT_EQ(3, listOf(*blocks[0][0]).size());
}

TEST(UrlCompile, CoversTheWholeHostWithoutPathOrWithASlash) {
    const RuleGroupHandle group = makeUrlGroup({{"a.test"}, {"a.test/"}});
    const std::vector<const UrlPathEntry*> entries =
        listOf(*blocksOf<UrlHostNode>(group->urlIndex->exactHosts, hashOf("a.test"))[0][0]);
    ASSERT_EQ(2, entries.size());
    for (const UrlPathEntry* entry : entries) {
        EXPECT_STREQ("/*", entry->path);
        EXPECT_EQ(2, entry->pathLength);
        EXPECT_EQ(1, entry->prefixLength);
    }
}

TEST(UrlCompile, PutsTheNewestEntryInFront) {
    const RuleGroupHandle group = makeUrlGroup({{"a.test/x"}, {"a.test/y"}, {"a.test/z"}});
    const std::vector<const UrlPathEntry*> entries =
        listOf(*blocksOf<UrlHostNode>(group->urlIndex->exactHosts, hashOf("a.test"))[0][0]);
    ASSERT_EQ(3, entries.size());
    EXPECT_STREQ("/z", entries[0]->path);
    EXPECT_STREQ("/x", entries[2]->path);
}

TEST(UrlCompile, SharesOneNodeAmongTheRulesForAnyHost) {
    const RuleGroupHandle httpsFirst = makeUrlGroup({{"https://*/x"}, {"*/y"}, {"http://*:*/z"}});
    const UrlHostNode* node = httpsFirst->urlIndex->anyHost;
    ASSERT_NE(nullptr, node);
    EXPECT_EQ("https", schemeText(*node));
    EXPECT_EQ("*", hostText(*node));
    EXPECT_EQ(3, listOf(*node).size());
    EXPECT_EQ(nullptr, httpsFirst->urlIndex->exactHosts);
    const RuleGroupHandle httpFirst = makeUrlGroup({{"*/y"}, {"https://*/x"}});
    ASSERT_NE(nullptr, httpFirst->urlIndex->anyHost);
    EXPECT_EQ(nullptr, httpFirst->urlIndex->anyHost->scheme);
    EXPECT_EQ(2, listOf(*httpFirst->urlIndex->anyHost).size());
}

TEST(UrlCompile, KeepsEqualRulesBothWithTheirPositions) {
    const RuleGroupHandle group = makeUrlGroup({{"a.test/x"}, {"A.TEST/X"}});
    const std::vector<const UrlPathEntry*> entries =
        listOf(*blocksOf<UrlHostNode>(group->urlIndex->exactHosts, hashOf("a.test"))[0][0]);
    ASSERT_EQ(2, entries.size());
    EXPECT_EQ(2, entries[0]->ruleIndex);
    EXPECT_EQ(1, entries[1]->ruleIndex);
    EXPECT_EQ(1, winnerOf(*group, "a.test/x"));
}

TEST(UrlCompile, KeysWildcardsByTheHostBehindThem) {
    const RuleGroupHandle group = makeUrlGroup({{"*.a.test/x"}});
    const std::vector<Block> blocks =
        blocksOf<UrlHostNode>(group->urlIndex->wildcardHosts, hashOf("a.test"));
    ASSERT_EQ(1, blocks.size());
    EXPECT_EQ("a.test", hostText(*blocks[0][0]));
}

TEST(UrlCompile, SkipsAWildcardWithNothingBehindIt) {
    const RuleGroupHandle group = makeUrlGroup({{"*.%2e"}, {"*.a"}});
    EXPECT_EQ(nullptr, group->urlIndex->anyHost);
    EXPECT_EQ(1, countUrlRules(*group->urlIndex).hosts);
    EXPECT_EQ(2, winnerOf(*group, "b.a"));
    const RuleGroupHandle alone = makeUrlGroup({{"*.%2e"}});
    EXPECT_EQ(0, countUrlRules(*alone->urlIndex).hosts);
}

TEST(UrlCompile, TakesAnEscapedStarForAName) {
    const RuleGroupHandle group = makeUrlGroup({{"%2a.com"}, {"%2a"}});
    EXPECT_EQ(nullptr, group->urlIndex->anyHost);
    EXPECT_EQ(nullptr, group->urlIndex->wildcardHosts);
    EXPECT_EQ(0, winnerOf(*group, "a.com"));
    EXPECT_EQ(1, winnerOf(*group, "*.com"));
    EXPECT_EQ(2, winnerOf(*group, "%2A"));
}

TEST(UrlCompile, SkipsHostsAndPathsOver8191Bytes) {
    const std::string text = '/' + std::string(8191, 'a');
    for (const uint32_t length : {8191U, 8192U}) {
        RuleSetHandle longHost = makeUrlRuleSet({{"x.com"}});
        auto* rule = reinterpret_cast<UrlRule*>(longHost->urlRules.head.next);
        rule->rule.host = {text.data(), length, 0};
        EXPECT_EQ(length == 8191 ? 1 : 0,
                  countUrlRules(*buildRuleGroup(*longHost)->urlIndex).hosts);
        RuleSetHandle longPath = makeUrlRuleSet({{"x.com/a"}});
        rule = reinterpret_cast<UrlRule*>(longPath->urlRules.head.next);
        rule->rule.path = {text.data(), length};
        const UrlStatistics statistics = countUrlRules(*buildRuleGroup(*longPath)->urlIndex);
        EXPECT_EQ(length == 8191 ? 1 : 0, statistics.paths);
    }
}

TEST(UrlCompile, CountsEveryRuleOfTheList) {
    const RuleGroupHandle group = makeUrlGroup({{"*.%2e"}, {"a.com"}, {"a.com"}, {"b.com"}});
    EXPECT_EQ(2, winnerOf(*group, "a.com"));
    EXPECT_EQ(4, winnerOf(*group, "b.com"));
}

TEST(UrlCompile, RefusesNullArguments) {
    RuleSetHandle set = makeUrlRuleSet({});
    RuleGroup group{};
    EXPECT_EQ(nullptr, buildUrlIndex(nullptr, &group));
    EXPECT_EQ(nullptr, buildUrlIndex(set.get(), nullptr));
}

// ---- Crowded buckets.

TEST(UrlCompile, TellsHostsOfOneHashApartByTheirBytes) {
    ASSERT_EQ(hashOf("aadfh"), hashOf("aadgg"));
    const RuleGroupHandle group = makeUrlGroup({{"aadfh"}, {"aadgg"}, {"*.aadfh"}, {"*.aadgg"}});
    EXPECT_EQ(1, winnerOf(*group, "aadfh"));
    EXPECT_EQ(2, winnerOf(*group, "aadgg"));
    EXPECT_EQ(0, winnerOf(*group, "aadhf"));
    EXPECT_EQ(3, winnerOf(*group, "x.aadfh"));
    EXPECT_EQ(4, winnerOf(*group, "x.aadgg"));
    EXPECT_EQ(0, winnerOf(*group, "x.aadhf"));
}

TEST(UrlCompile, PacksAChainOfNineHostsAndMore) {
    const struct {
        uint32_t count;
        Sizes sizes;
    } rows[] = {
        {8, Sizes(8, 1)}, {9, {1, 8}},        {63, {1, 62}},         {64, {1, 63}},
        {65, {1, 63, 1}}, {127, {1, 63, 63}}, {128, {1, 63, 63, 1}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.count);
        for (const std::string_view prefix : {"", "https://"}) {
            const RuleGroupHandle group = makeSharingGroup(row.count, prefix);
            EXPECT_EQ(row.sizes,
                      blockSizesOf<UrlHostNode>(group->urlIndex->exactHosts, hashOf("aadfh")));
        }
        for (const std::string_view prefix : {"*.", "https://*."}) {
            const RuleGroupHandle group = makeSharingGroup(row.count, prefix);
            EXPECT_EQ(row.sizes,
                      blockSizesOf<UrlHostNode>(group->urlIndex->wildcardHosts, hashOf("aadfh")));
        }
    }
}

TEST(UrlCompile, SortsTheHostsOfABlock) {
    const RuleGroupHandle group = makeSharingGroup(500, "");
    const std::vector<Block> blocks =
        blocksOf<UrlHostNode>(group->urlIndex->exactHosts, hashOf("aadfh"));
    EXPECT_EQ(sharingHosts()[499], hostText(*blocks[0][0]));
    for (const Block& block : blocks) {
        EXPECT_TRUE(std::is_sorted(block.begin(), block.end(),
                                   [](const UrlHostNode* left, const UrlHostNode* right) {
                                       return hostText(*left) < hostText(*right);
                                   }));
    }
}

TEST(UrlCompile, CutsABlockWhereTheSchemeChanges) {
    RuleSetHandle set = newRuleSet(RULE_TYPE_URL);
    // In chain order, which is the reverse: 1 https | 9 https, 70 http, 5 https.
    uint32_t next = 0;
    for (const auto& [prefix, count] :
         {std::pair<std::string, uint32_t>{"https://", 5}, {"", 70}, {"https://", 10}}) {
        for (uint32_t i = 0; i < count; ++i) {
            ASSERT_EQ(RULE_OK, addRule(*set, prefix + sharingHosts()[next++]));
        }
    }
    const RuleGroupHandle group = buildRuleGroup(*set);
    const std::vector<Block> blocks =
        blocksOf<UrlHostNode>(group->urlIndex->exactHosts, hashOf("aadfh"));
    EXPECT_EQ((Sizes{1, 9, 63, 7, 5}),
              blockSizesOf<UrlHostNode>(group->urlIndex->exactHosts, hashOf("aadfh")));
    for (const Block& block : blocks) {
        for (const UrlHostNode* node : block) {
            EXPECT_EQ(block[0]->schemeLength, node->schemeLength);
        }
    }
    for (uint32_t i = 0; i < next; ++i) {
        const bool isHttps = i < 5 || i >= 75;
        EXPECT_EQ(isHttps ? i + 1 : 0, winnerOf(*group, "https://" + sharingHosts()[i]));
        EXPECT_EQ(isHttps ? 0 : i + 1, winnerOf(*group, "http://" + sharingHosts()[i]));
    }
}

TEST(UrlCompile, FindsEveryHostOfACrowdedBucketUnderBothSchemes) {
    const auto count = static_cast<uint32_t>(sharingHosts().size());
    ASSERT_LT(1000U, count);
    RuleSetHandle set = newRuleSet(RULE_TYPE_URL);
    for (const std::string& host : sharingHosts()) {
        ASSERT_EQ(RULE_OK, addRule(*set, host));
        ASSERT_EQ(RULE_OK, addRule(*set, "https://*." + host));
    }
    const RuleGroupHandle group = buildRuleGroup(*set);
    for (uint32_t i = 0; i < count; ++i) {
        const std::string& host = sharingHosts()[i];
        ASSERT_EQ(2 * i + 1, winnerOf(*group, host));
        ASSERT_EQ(0, winnerOf(*group, "https://" + host));
        ASSERT_EQ(2 * i + 2, winnerOf(*group, "https://x." + host));
        ASSERT_EQ(0, winnerOf(*group, "x." + host));
    }
}

TEST(UrlCompile, FindsEachOfManyHostsUnderItsOwnScheme) {
    constexpr uint32_t COUNT = 100000;
    constexpr uint32_t RUN = 1000;  // hosts under one scheme before the other has its turn
    const auto hostAt = [](uint32_t i) {
        // The length keeps the buckets from being more crowded than the test needs.
        return "h" + std::to_string(i) + std::string(i % 53, '-') + ".test";
    };
    RuleSetHandle set = newRuleSet(RULE_TYPE_URL);
    for (uint32_t first = 0; first < COUNT; first += RUN) {
        for (const std::string_view scheme : {"http://", "https://"}) {
            for (uint32_t i = first; i < first + RUN; ++i) {
                ASSERT_EQ(RULE_OK, addRule(*set, std::string(scheme) + hostAt(i), i, 1));
            }
        }
    }
    const RuleGroupHandle group = buildRuleGroup(*set);
    EXPECT_EQ(2 * COUNT, countUrlRules(*group->urlIndex).hosts);
    for (uint32_t i = 0; i < COUNT; ++i) {
        const uint32_t http = i / RUN * 2 * RUN + i % RUN + 1;
        ASSERT_EQ(http, winnerOf(*group, "http://" + hostAt(i)));
        ASSERT_EQ(http, winnerOf(*group, hostAt(i)));
        ASSERT_EQ(http + RUN, winnerOf(*group, "https://" + hostAt(i)));
    }
}

// ---- Paths of one host.

TEST(UrlCompile, PacksThePathsOfEachKindOfHost) {
    for (const uint32_t count : {15U, 16U, 130U}) {
        SCOPED_TRACE(count);
        RuleSetHandle set = newRuleSet(RULE_TYPE_URL);
        for (uint32_t i = 0; i < count; ++i) {
            for (const std::string_view host : {"a.com", "*.a.com", "*"}) {
                ASSERT_EQ(RULE_OK, addRule(*set, std::string(host) + "/path" + std::to_string(i)));
            }
        }
        const RuleGroupHandle group = buildRuleGroup(*set);
        const UrlIndex& index = *group->urlIndex;
        const UrlHostNode* nodes[] = {
            blocksOf<UrlHostNode>(index.exactHosts, hashOf("a.com"))[0][0],
            blocksOf<UrlHostNode>(index.wildcardHosts, hashOf("a.com"))[0][0], index.anyHost};
        for (const UrlHostNode* node : nodes) {
            EXPECT_EQ(count == 15 ? 15 : 0, listOf(*node).size());
            std::vector<int32_t> sizes;
            for (const UrlPathBlock* block = node->pathBlocks; block != nullptr;
                 block = block->next) {
                sizes.push_back(block->count);
            }
            EXPECT_EQ(count == 15   ? std::vector<int32_t>{}
                      : count == 16 ? std::vector<int32_t>{16}
                                    : (std::vector<int32_t>{34, 33, 63}),
                      sizes);
        }
    }
}

TEST(UrlCompile, PacksThePathsOfHostsInCrowdedBuckets) {
    RuleSetHandle set = newRuleSet(RULE_TYPE_URL);
    for (uint32_t host = 0; host < 12; ++host) {
        for (uint32_t i = 0; i < 20; ++i) {
            ASSERT_EQ(RULE_OK,
                      addRule(*set, sharingHosts()[host] + "/path" + std::to_string(10 + i)));
        }
    }
    const RuleGroupHandle group = buildRuleGroup(*set);
    for (const Block& block : blocksOf<UrlHostNode>(group->urlIndex->exactHosts, hashOf("aadfh"))) {
        for (const UrlHostNode* node : block) {
            ASSERT_NE(nullptr, node->pathBlocks);
            EXPECT_EQ(20, node->pathBlocks->count);
        }
    }
    for (uint32_t host = 0; host < 12; ++host) {
        for (uint32_t i = 0; i < 20; ++i) {
            EXPECT_EQ(host * 20 + i + 1,
                      winnerOf(*group, sharingHosts()[host] + "/path" + std::to_string(10 + i)));
        }
    }
}

// No host of the largest length has larger bytes, but for its dots.
TEST(UrlCompile, HashesTheLargestHostBelowTheSign) {
    const std::string label(63, '\xFF');
    const std::string host = label + '.' + label + '.' + label + '.' + label;
    const RuleGroupHandle group = makeUrlGroup({{host}});
    const uint32_t hash = hashOf(host);
    EXPECT_LT(largestNameHash(252, 3571), hash);
    EXPECT_GT(largestNameHash(255, 3571), hash);
    EXPECT_EQ((Sizes{1}), blockSizesOf<UrlHostNode>(group->urlIndex->exactHosts, hash));
    EXPECT_EQ(1, winnerOf(*group, host));
}

}  // namespace

}  // namespace rs::test
