// Domain rules through the shared library.
#include <ruleset.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "support/release_recorder.h"
#include "support/rule_builder.h"
#include "support/rule_handles.h"
#include "support/text.h"
#include "support/winner.h"

namespace rs::test {

namespace {

int32_t match(const RuleGroup& group, std::string_view name, MatchResult& result) {
    const ExactText text(name);
    return rs_matchDomainNameWithRuleGroup(&group, text.data(), text.size(), &result);
}

uint32_t winnerOf(const RuleGroup& group, std::string_view name) {
    return winnerOfText(rs_matchDomainNameWithRuleGroup, group, name);
}

int32_t validate(std::string_view rule) {
    const ExactText text(rule);
    return rs_validateRule_FQDN(text.data(), text.size());
}

TEST(DomainMatchApi, ReportsTheWinningRule) {
    int userData = 0;
    const RuleGroupHandle group =
        makeDomainGroup({{"*.example.com", 4}, {"example.com", 5, &userData}});
    MatchResult result = UNTOUCHED;
    ASSERT_EQ(1, match(*group, "Example.COM.", result));
    EXPECT_EQ(2, result.ruleIndex);
    EXPECT_EQ(5, result.ruleValue);
    EXPECT_EQ(ruleIdAt(2), result.ruleId);
    EXPECT_EQ(&userData, result.userData);
    ASSERT_EQ(1, match(*group, "web.example.com", result));
    EXPECT_EQ(1, result.ruleIndex);
    EXPECT_EQ(4, result.ruleValue);
    EXPECT_EQ(ruleIdAt(1), result.ruleId);
    EXPECT_EQ(nullptr, result.userData);
}

TEST(DomainMatchApi, PrefersTheEarlierRuleWhateverItsKind) {
    const RuleGroupHandle group =
        makeDomainGroup({{"b.com"}, {"*.com"}, {"a.com"}, {"*"}, {"c.org"}, {"*.b.com"}});
    EXPECT_EQ(1, winnerOf(*group, "b.com"));
    EXPECT_EQ(2, winnerOf(*group, "a.com"));
    EXPECT_EQ(2, winnerOf(*group, "x.b.com"));
    EXPECT_EQ(4, winnerOf(*group, "c.org"));
    EXPECT_EQ(4, winnerOf(*group, "com"));
}

TEST(DomainMatchApi, MatchesNoWildcardWithTheNameItself) {
    const RuleGroupHandle group = makeDomainGroup({{"*.example.com"}});
    EXPECT_EQ(0, winnerOf(*group, "example.com"));
    EXPECT_EQ(1, winnerOf(*group, "a.b.example.com"));
}

TEST(DomainMatchApi, MeetsNamesInEverySpelling) {
    const RuleGroupHandle group =
        makeDomainGroup({{"b\xC3\xBC"
                          "cher.example"}});
    for (const std::string_view name :
         {"b\xC3\xBC"
          "cher.example",
          "B\xC3\x9C"
          "CHER.EXAMPLE.",
          "b%C3%BCcher.example", "xn--bcher-kva.example", "XN--BCHER-KVA.example."}) {
        EXPECT_EQ(1, winnerOf(*group, name)) << name;
    }
}

TEST(DomainMatchApi, FindsNothingInAnEmptyGroup) {
    const RuleGroupHandle group = makeDomainGroup({});
    ASSERT_NE(nullptr, group);
    for (const std::string_view name : {"a", "a.com", "*", "host:80", "_"}) {
        EXPECT_EQ(0, winnerOf(*group, name)) << name;
    }
}

TEST(DomainMatchApi, ChecksItsArguments) {
    const RuleGroupHandle group = makeDomainGroup({{"*"}});
    const RuleGroupHandle otherType = makeIpGroup({{"10.0.0.1"}});
    MatchResult result = UNTOUCHED;
    EXPECT_EQ(RULE_ERR_INVALID_ARG, rs_matchDomainNameWithRuleGroup(nullptr, "a", 1, &result));
    EXPECT_EQ(RULE_ERR_INVALID_ARG,
              rs_matchDomainNameWithRuleGroup(group.get(), nullptr, 1, &result));
    EXPECT_EQ(RULE_ERR_INVALID_ARG, rs_matchDomainNameWithRuleGroup(group.get(), "a", 0, &result));
    EXPECT_EQ(RULE_ERR_INVALID_ARG, rs_matchDomainNameWithRuleGroup(group.get(), "a", 1, nullptr));
    EXPECT_EQ(RULE_ERR_INVALID_ARG,
              rs_matchDomainNameWithRuleGroup(otherType.get(), "a", 1, &result));
    EXPECT_EQ(UNTOUCHED, result);
}

TEST(DomainMatchApi, RefusesNamesWithoutLabels) {
    const RuleGroupHandle group = makeDomainGroup({{"*"}});
    for (const std::string& name :
         {std::string("."), std::string("a..b"), std::string(".a"), std::string("a.."),
          std::string("%2e"), std::string(256, 'a'), std::string(256, 'a') + ".com"}) {
        MatchResult result = UNTOUCHED;
        EXPECT_EQ(RULE_ERR_INVALID_ARG, match(*group, name, result)) << name;
        EXPECT_EQ(UNTOUCHED, result);
    }
    EXPECT_EQ(1, winnerOf(*group, std::string(255, 'a') + ".com"));
}

TEST(DomainMatchApi, RefusesNamesWhoseEncodedFormExceedsTheLargestBuffer) {
    const RuleGroupHandle group = makeDomainGroup({{"*"}});
    EXPECT_EQ(1, winnerOf(*group, repeat("\xC3\xBC.", 1023)));
    MatchResult result = UNTOUCHED;
    EXPECT_EQ(RULE_ERR_BUFFER_SMALL, match(*group, repeat("\xC3\xBC.", 1024), result));
    EXPECT_EQ(UNTOUCHED, result);
    EXPECT_EQ(1, winnerOf(*group, repeat("a.", 30000)));
}

TEST(DomainRuleApi, AnswersAddingAndValidatingAlike) {
    const struct {
        std::string rule;
        int32_t status;
    } rows[] = {
        {"example.com", RULE_OK},
        {"  Example.COM.\r\n", RULE_OK},
        {"*", RULE_OK},
        {"*.Example.com.", RULE_OK},
        {"*.my_host.com", RULE_OK},
        {"a%zz", RULE_OK},
        {"%2a.com", RULE_OK},
        {"[::1", RULE_ERR_BAD_RULE},
        {"", RULE_ERR_BAD_RULE},
        {" \t", RULE_ERR_BAD_RULE},
        {"*example.com", RULE_ERR_BAD_RULE},
        {"a.*.com", RULE_ERR_BAD_RULE},
        {"**", RULE_ERR_BAD_RULE},
        {"*.*.com", RULE_ERR_BAD_RULE},
        {"*x", RULE_ERR_BAD_RULE},
        {"*.", RULE_ERR_BAD_RULE},
        {"*..", RULE_ERR_BAD_RULE},
        {"*.a..b", RULE_ERR_BAD_RULE},
        {"*.host:8080", RULE_ERR_BAD_RULE},
        {"http://a", RULE_ERR_BAD_RULE},
        // Both sides of the limits of a label and of a name.
        {std::string(63, 'a'), RULE_OK},
        {std::string(64, 'a'), RULE_ERR_BAD_RULE},
        {repeat("abc.", 63) + "abc", RULE_OK},
        {repeat("abc.", 63) + "abc.", RULE_OK},
        {repeat("abc.", 63) + "abcd", RULE_ERR_BAD_RULE},
        {"*." + repeat("abc.", 63) + "a", RULE_OK},
        {"*." + repeat("abc.", 63) + "ab", RULE_ERR_BAD_RULE},
    };
    const RuleSetHandle set = newRuleSet(RULE_TYPE_FQDN);
    for (const auto& row : rows) {
        EXPECT_EQ(row.status, validate(row.rule)) << row.rule;
        EXPECT_EQ(row.status, addExactRule(*set, row.rule)) << row.rule;
    }
}

// The encoded form of n labels of one letter has 8n bytes.
TEST(DomainRuleApi, ReportsNoMemoryForAFormThatFitsInNoBuffer) {
    const RuleSetHandle set = newRuleSet(RULE_TYPE_FQDN);
    EXPECT_EQ(RULE_ERR_BAD_RULE, validate(repeat("\xC3\xBC.", 511)));
    EXPECT_EQ(RULE_ERR_NO_MEMORY, validate(repeat("\xC3\xBC.", 512)));
    // Adding has a larger buffer.
    EXPECT_EQ(RULE_ERR_BAD_RULE, addExactRule(*set, repeat("\xC3\xBC.", 512)));
    EXPECT_EQ(RULE_ERR_BAD_RULE, addExactRule(*set, repeat("\xC3\xBC.", 1023)));
    EXPECT_EQ(RULE_ERR_NO_MEMORY, addExactRule(*set, repeat("\xC3\xBC.", 1024)));
    // A text that is only long is no matter of memory.
    EXPECT_EQ(RULE_OK, validate(std::string(5000, ' ') + "a"));
    EXPECT_EQ(RULE_OK, addExactRule(*set, std::string(10000, ' ') + "a"));
}

TEST(DomainRuleApi, ChecksItsArguments) {
    EXPECT_EQ(RULE_ERR_INVALID_ARG, rs_validateRule_FQDN(nullptr, 1));
    EXPECT_EQ(RULE_ERR_INVALID_ARG, rs_validateRule_FQDN(nullptr, 0));
    EXPECT_EQ(RULE_ERR_BAD_RULE, rs_validateRule_FQDN("a", 0));
    const RuleSetHandle set = newRuleSet(RULE_TYPE_FQDN);
    EXPECT_EQ(RULE_ERR_INVALID_ARG, rs_addRuleToRuleSet(set.get(), nullptr, 1, 0, 1));
    EXPECT_EQ(RULE_ERR_INVALID_ARG, rs_addRuleToRuleSet(set.get(), "a", 1, 0, 0));
    EXPECT_EQ(RULE_ERR_INVALID_ARG, rs_addRuleToRuleSet(nullptr, "a", 1, 0, 1));
    EXPECT_EQ(RULE_ERR_BAD_RULE, rs_addRuleToRuleSet(set.get(), "a", 0, 0, 1));
}

TEST(DomainRuleApi, LeavesTheSetAsItWasWhenARuleIsRefused) {
    RuleSetHandle set = newRuleSet(RULE_TYPE_FQDN);
    EXPECT_EQ(RULE_OK, addExactRule(*set, "a.com"));
    EXPECT_EQ(RULE_ERR_BAD_RULE, addExactRule(*set, "a:b"));
    EXPECT_EQ(RULE_OK, addExactRule(*set, "b.com"));
    const RuleGroupHandle group = buildRuleGroup(*set);
    EXPECT_EQ(2, winnerOf(*group, "b.com"));
}

TEST(DomainUserDataApi, ComesBackForADuplicateAtOnceAndForAnEntryWithTheGroup) {
    int kept = 0;
    int dropped = 0;
    ReleaseRecorder recorder;
    RuleSetHandle set = makeDomainRuleSet({{"a.com", 0, &kept}, {"A.com", 0, &dropped}});
    recorder.registerOn(*set);
    RuleGroupHandle group = buildRuleGroup(*set);
    EXPECT_EQ(std::vector<void*>{&dropped}, recorder.order());
    set.reset();
    EXPECT_EQ(1, recorder.order().size());
    recorder.clear();
    group.reset();
    EXPECT_EQ(std::vector<void*>{&kept}, recorder.order());
}

// Deliberate: the userData of "*" rules stays with the host.
TEST(DomainUserDataApi, NeverComesBackForAMatchAllRule) {
    int first = 0;
    int second = 0;
    ReleaseRecorder recorder;
    RuleSetHandle set = makeDomainRuleSet({{"*", 0, &first}, {"*", 0, &second}});
    recorder.registerOn(*set);
    buildRuleGroup(*set).reset();
    EXPECT_TRUE(recorder.order().empty());
}

}  // namespace

}  // namespace rs::test
