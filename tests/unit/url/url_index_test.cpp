#include "url/url_index.h"

#include <ruleset.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "core/rule_group.h"
#include "support/release_recorder.h"
#include "support/rule_builder.h"
#include "support/text.h"
#include "url/url_compile.h"

namespace rs::test {

namespace {

uint32_t hashOf(std::string_view host) {
    const ExactText text(host);
    return urlHostHash(text.data(), text.size());
}

TEST(UrlHostHash, AddsEveryByteTimes3571) {
    EXPECT_EQ(0, hashOf(""));
    EXPECT_EQ(97U * 3571, hashOf("a"));
    EXPECT_EQ(97U * 3571 + 98U * 3571 + (97U * 3571 >> 16U), hashOf("ab"));
    EXPECT_EQ(0xFFU * 3571, hashOf("\xFF"));
}

TEST(UrlHostHash, CountsDots) {
    EXPECT_EQ(static_cast<uint32_t>('.') * 3571, hashOf("."));
    EXPECT_NE(hashOf("ab"), hashOf("a.b"));
    EXPECT_NE(hashOf("abc"), hashOf("ab.c"));
}

TEST(UrlIndexRelease, LeavesNullAlone) {
    const ReleaseInfo info{};
    releaseUrlIndex(nullptr, &info);
    UrlIndex* index = nullptr;
    releaseUrlIndex(&index, &info);
    EXPECT_EQ(nullptr, index);
}

TEST(UrlIndexRelease, HappensWithTheLastReference) {
    int userData = 0;
    ReleaseRecorder recorder;
    RuleSetHandle set = makeUrlRuleSet({{"a.com", 1, &userData}});
    RuleGroup group{};
    UrlIndex* index = buildUrlIndex(set.get(), &group);
    ASSERT_NE(nullptr, index);
    EXPECT_EQ(1, index->refCount);
    index->refCount = 2;
    const ReleaseInfo info{ReleaseRecorder::record, &recorder, 0};
    releaseUrlIndex(&group.urlIndex, &info);
    EXPECT_EQ(index, group.urlIndex);
    EXPECT_TRUE(recorder.order().empty());
    releaseUrlIndex(&group.urlIndex, &info);
    EXPECT_EQ(nullptr, group.urlIndex);
    EXPECT_EQ(1, recorder.countOf(&userData));
}

TEST(UrlUserData, OfEveryEntryComesBackWithTheGroup) {
    char userData[6];
    ReleaseRecorder recorder;
    RuleSetHandle set = makeUrlRuleSet({{"a.com/x", 0, &userData[0]},
                                        {"a.com/x", 0, &userData[1]},
                                        {"*.com/x", 0, &userData[2]},
                                        {"*/x", 0, &userData[3]},
                                        {"https://*/x", 0, &userData[4]},
                                        {"https://a.com/x", 0, &userData[5]},
                                        {"b.com/x"}});
    recorder.registerOn(*set);
    RuleGroupHandle group = buildRuleGroup(*set);
    EXPECT_TRUE(recorder.order().empty());
    group.reset();
    EXPECT_EQ(6, recorder.order().size());
    for (const char& data : userData) {
        EXPECT_EQ(1, recorder.countOf(&data));
    }
}

TEST(UrlUserData, OfPackedEntriesComesBackToo) {
    constexpr uint32_t COUNT = 400;
    std::vector<char> userData(COUNT);
    ReleaseRecorder recorder;
    RuleSetHandle set = newRuleSet(RULE_TYPE_URL);
    for (uint32_t i = 0; i < COUNT; ++i) {
        // Path blocks on three hosts.
        const std::string_view host = i % 4 == 0 ? "*" : i % 4 == 1 ? "a.com" : "*.b.com";
        ASSERT_EQ(RULE_OK, addRule(*set, std::string(host) + "/path" + std::to_string(i), 0, i + 1,
                                   &userData[i]));
    }
    recorder.registerOn(*set);
    buildRuleGroup(*set).reset();
    EXPECT_EQ(COUNT, recorder.order().size());
    for (const char& data : userData) {
        EXPECT_EQ(1, recorder.countOf(&data));
    }
}

TEST(UrlUserData, ComesBackFromEveryGroup) {
    int userData = 0;
    ReleaseRecorder recorder;
    RuleSetHandle set = makeUrlRuleSet({{"a.com", 0, &userData}});
    recorder.registerOn(*set);
    buildRuleGroup(*set).reset();
    buildRuleGroup(*set).reset();
    EXPECT_EQ(2, recorder.countOf(&userData));
}

TEST(CountUrlRules, CountsNodesAndEntries) {
    const RuleGroupHandle group = makeUrlGroup(
        {{"a.com/x"}, {"a.com/y"}, {"https://a.com"}, {"*.com"}, {"*"}, {"https://*"}});
    const UrlStatistics statistics = countUrlRules(*group->urlIndex);
    EXPECT_EQ(4, statistics.hosts);
    EXPECT_EQ(6, statistics.paths);
    const UrlStatistics empty = countUrlRules(UrlIndex{});
    EXPECT_EQ(0, empty.hosts);
    EXPECT_EQ(0, empty.paths);
}

TEST(CountUrlRules, CountsEntriesOfBlocks) {
    RuleSetHandle set = newRuleSet(RULE_TYPE_URL);
    for (uint32_t i = 0; i < 200; ++i) {
        ASSERT_EQ(RULE_OK, addRule(*set, "a.com/path" + std::to_string(i), 0, 1));
        ASSERT_EQ(RULE_OK, addRule(*set, "a.com/p", 0, 1));
    }
    const RuleGroupHandle group = buildRuleGroup(*set);
    EXPECT_EQ(1, countUrlRules(*group->urlIndex).hosts);
    EXPECT_EQ(400, countUrlRules(*group->urlIndex).paths);
}

}  // namespace

}  // namespace rs::test
