#include "domain/domain_match.h"

#include <ruleset.h>

#include <cstdint>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "api/domain_wire_api.h"
#include "core/rule_group.h"
#include "core/rule_set.h"
#include "domain/domain_rule.h"
#include "support/host_names.h"
#include "support/rule_builder.h"
#include "support/rule_records.h"
#include "support/text.h"
#include "support/winner.h"

namespace rs::test {

namespace {

uint32_t winnerOf(const RuleGroup& group, std::string_view name) {
    return winnerOfText(rs_matchDomainNameWithRuleGroup, group, name);
}

uint32_t wireWinnerOf(const RuleGroup& group, std::string_view wireName) {
    return winnerOfText(matchDomainWireWithRuleGroup, group, wireName);
}

int32_t refusalOf(const RuleGroup& group, std::string_view name) {
    return refusalOfText(rs_matchDomainNameWithRuleGroup, group, name);
}

TEST(DomainMatch, ReportsWhatTheHostAttached) {
    int userData = 0;
    const RuleGroupHandle group =
        makeDomainGroup({{"a.com", 5, &userData}, {"*.com", 6, &userData}, {"*", 7, &userData}});
    const struct {
        std::string_view name;
        MatchResult expected;
    } rows[] = {{"a.com", {1, 5, ruleIdAt(1), &userData}},
                {"b.com", {2, 6, ruleIdAt(2), &userData}},
                {"b.org", {3, 7, ruleIdAt(3), &userData}}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        MatchResult result = UNTOUCHED;
        EXPECT_EQ(1, rs_matchDomainNameWithRuleGroup(group.get(), row.name.data(), size32(row.name),
                                                     &result));
        EXPECT_EQ(row.expected, result);
    }
}

TEST(DomainMatch, PrefersAnEarlierWildcardToTheExactName) {
    const RuleGroupHandle group = makeDomainGroup({{"*.example.com"}, {"web.example.com"}});
    EXPECT_EQ(1, winnerOf(*group, "web.example.com"));
    EXPECT_EQ(1, winnerOf(*group, "x.example.com"));
    EXPECT_EQ(0, winnerOf(*group, "example.com"));
}

TEST(DomainMatch, PrefersAnEarlierExactNameToTheWildcard) {
    const RuleGroupHandle group = makeDomainGroup({{"web.example.com"}, {"*.example.com"}});
    EXPECT_EQ(1, winnerOf(*group, "web.example.com"));
    EXPECT_EQ(2, winnerOf(*group, "x.example.com"));
}

TEST(DomainMatch, PrefersTheEarlierOfTwoWildcards) {
    const RuleGroupHandle wideFirst = makeDomainGroup({{"*.com"}, {"*.example.com"}});
    EXPECT_EQ(1, winnerOf(*wideFirst, "a.example.com"));
    EXPECT_EQ(1, winnerOf(*wideFirst, "example.com"));
    const RuleGroupHandle narrowFirst = makeDomainGroup({{"*.example.com"}, {"*.com"}});
    EXPECT_EQ(1, winnerOf(*narrowFirst, "a.example.com"));
    EXPECT_EQ(2, winnerOf(*narrowFirst, "example.com"));
    EXPECT_EQ(0, winnerOf(*narrowFirst, "com"));
}

TEST(DomainMatch, TakesTheMatchAllRuleByItsPosition) {
    const RuleGroupHandle last = makeDomainGroup({{"a.com"}, {"*.org"}, {"*"}});
    EXPECT_EQ(1, winnerOf(*last, "a.com"));
    EXPECT_EQ(2, winnerOf(*last, "a.org"));
    EXPECT_EQ(3, winnerOf(*last, "b.com"));
    EXPECT_EQ(3, winnerOf(*last, "com"));
    const RuleGroupHandle first = makeDomainGroup({{"*"}, {"a.com"}, {"*.com"}});
    for (const std::string_view name : {"a.com", "b.com", "x", "*", "a.b.c"}) {
        EXPECT_EQ(1, winnerOf(*first, name)) << name;
    }
    const RuleGroupHandle middle = makeDomainGroup({{"a.com"}, {"*"}, {"b.com"}, {"*.b.com"}});
    EXPECT_EQ(1, winnerOf(*middle, "a.com"));
    EXPECT_EQ(2, winnerOf(*middle, "b.com"));
    EXPECT_EQ(2, winnerOf(*middle, "x.b.com"));
}

TEST(DomainMatch, KeepsTheFirstOfEqualRules) {
    const RuleGroupHandle group = makeDomainGroup({{"a.com"}, {"A.COM."}, {"*.b"}, {"*.B."}});
    EXPECT_EQ(1, winnerOf(*group, "a.com"));
    EXPECT_EQ(3, winnerOf(*group, "x.b"));
}

TEST(DomainMatch, WildcardsNeverMatchTheNameItself) {
    const RuleGroupHandle group = makeDomainGroup({{"*.example.com"}, {"*.a"}});
    EXPECT_EQ(0, winnerOf(*group, "example.com"));
    EXPECT_EQ(0, winnerOf(*group, "a"));
    EXPECT_EQ(1, winnerOf(*group, "web.example.com"));
    EXPECT_EQ(1, winnerOf(*group, "a.b.c.d.example.com"));
    EXPECT_EQ(1, winnerOf(*group, "example.com.example.com"));
    EXPECT_EQ(2, winnerOf(*group, "a.a"));
}

TEST(DomainMatch, WildcardsEndAtLabelBoundaries) {
    const RuleGroupHandle group = makeDomainGroup({{"*.example.com"}});
    EXPECT_EQ(0, winnerOf(*group, "myexample.com"));
    EXPECT_EQ(0, winnerOf(*group, "example.com.org"));
    EXPECT_EQ(0, winnerOf(*group, "x.example.co"));
    EXPECT_EQ(0, winnerOf(*group, "x.example-com"));
}

TEST(DomainMatch, GoesOnBehindASuffixThatIsNotFound) {
    const RuleGroupHandle group = makeDomainGroup({{"*.c.d"}});
    EXPECT_EQ(1, winnerOf(*group, "x.y.z.a.b.c.d"));
    EXPECT_EQ(0, winnerOf(*group, "c.d"));
}

TEST(DomainMatch, NeverTakesAnExactNameForASuffix) {
    const RuleGroupHandle group = makeDomainGroup({{"example.com"}});
    EXPECT_EQ(1, winnerOf(*group, "example.com"));
    EXPECT_EQ(0, winnerOf(*group, "web.example.com"));
    EXPECT_EQ(0, winnerOf(*group, "com"));
}

TEST(DomainMatch, NormalizesTheName) {
    const RuleGroupHandle group = makeDomainGroup({{"web.example.com"},
                                                   {"b\xC3\xBC"
                                                    "cher.example"},
                                                   {"under_score.com"},
                                                   {"*.xn--tda"}});
    constexpr struct {
        std::string_view name;
        uint32_t winner;
    } ROWS[] = {
        {"WEB.EXAMPLE.COM.", 1},
        {"web.example.com", 1},
        {"%57eb.example.com", 1},
        {"web.example.com%2e", 1},
        // A decoded dot separates labels when the wire form is made.
        {"web%2eexample.com", 1},
        {"B\xC3\x9C"
         "CHER.example",
         2},
        {"xn--bcher-kva.example", 2},
        {"b%C3%BCcher.example.", 2},
        {"Under_Score.com", 3},
        {"under%5fscore.com", 3},
        {"a.\xC3\x9C", 4},
        {"a_b.xn--TDA", 4},
        // A '_' anywhere keeps the name as it is.
        {"a_b.\xC3\x9C", 0},
        {" web.example.com", 0},
        {"web.example.com:80", 0},
        {"web.example.com..x", 0},
    };
    for (const auto& row : ROWS) {
        SCOPED_TRACE(row.name);
        if (row.name == "web.example.com..x") {
            EXPECT_EQ(RULE_ERR_INVALID_ARG, refusalOf(*group, row.name));
        } else {
            EXPECT_EQ(row.winner, winnerOf(*group, row.name));
        }
    }
}

TEST(DomainMatch, RefusesNamesWithoutWireForm) {
    const RuleGroupHandle group = makeDomainGroup({{"*"}});
    for (const std::string_view name :
         {".", "..", "a..b", ".a", "a..", "%2e", "%2e%2e", "a.%2e.b", "a:..b", "%2ea"}) {
        EXPECT_EQ(RULE_ERR_INVALID_ARG, refusalOf(*group, name)) << name;
    }
}

TEST(DomainMatch, RefusesNullAndEmptyArguments) {
    const RuleGroupHandle group = makeDomainGroup({{"*"}});
    const RuleGroup otherType{};
    MatchResult result = UNTOUCHED;
    EXPECT_EQ(RULE_ERR_INVALID_ARG, rs_matchDomainNameWithRuleGroup(nullptr, "a", 1, &result));
    EXPECT_EQ(RULE_ERR_INVALID_ARG,
              rs_matchDomainNameWithRuleGroup(group.get(), nullptr, 1, &result));
    EXPECT_EQ(RULE_ERR_INVALID_ARG, rs_matchDomainNameWithRuleGroup(group.get(), "a", 0, &result));
    EXPECT_EQ(RULE_ERR_INVALID_ARG, rs_matchDomainNameWithRuleGroup(group.get(), "a", 1, nullptr));
    EXPECT_EQ(RULE_ERR_INVALID_ARG, rs_matchDomainNameWithRuleGroup(&otherType, "a", 1, &result));
    EXPECT_EQ(UNTOUCHED, result);
}

TEST(DomainMatch, TakesLabelsOfUpTo255Bytes) {
    const RuleGroupHandle group = makeDomainGroup({{"*.com"}, {"*"}});
    for (const size_t length : {63U, 64U, 65U, 127U, 128U, 200U, 254U, 255U}) {
        const std::string label(length, 'a');
        EXPECT_EQ(1, winnerOf(*group, label + ".com")) << length;
        EXPECT_EQ(1, winnerOf(*group, "x." + label + ".com")) << length;
        EXPECT_EQ(2, winnerOf(*group, label)) << length;
    }
    EXPECT_EQ(RULE_ERR_INVALID_ARG, refusalOf(*group, std::string(256, 'a')));
    EXPECT_EQ(RULE_ERR_INVALID_ARG, refusalOf(*group, std::string(256, 'a') + ".com"));
    EXPECT_EQ(RULE_ERR_INVALID_ARG, refusalOf(*group, "com." + std::string(256, 'a')));
}

TEST(DomainMatch, TakesNamesOfAnyLength) {
    const RuleGroupHandle group = makeDomainGroup({{"*.com"}});
    for (const size_t labels :
         {127U, 128U, 1000U, 4086U, 4087U, 4088U, 4094U, 4095U, 4096U, 20000U}) {
        EXPECT_EQ(1, winnerOf(*group, repeat("a.", labels) + "com")) << labels;
        EXPECT_EQ(0, winnerOf(*group, repeat("a.", labels) + "org")) << labels;
    }
}

// The encoded form of n labels of one letter has 8n bytes. The strict form refuses 1023 of them as
// too long, so that they are copied; it runs out of the largest buffer for one label more.
TEST(DomainMatch, RunsOutOfBuffersBelow8192Bytes) {
    const RuleGroupHandle group = makeDomainGroup({{"*"}, {"*.com"}});
    EXPECT_EQ(1, winnerOf(*group, repeat("\xC3\xBC.", 1023)));
    EXPECT_EQ(RULE_ERR_BUFFER_SMALL, refusalOf(*group, repeat("\xC3\xBC.", 1024)));
    EXPECT_EQ(1, winnerOf(*group, repeat("\xC3\xBC.", 1022) + "a.com"));
}

TEST(DomainMatch, LooksACopiedNameUpAsItIs) {
    const RuleGroupHandle group =
        makeDomainGroup({{repeat("\xC3\xBC.", 33)}, {"*.\xC3\xBC_"}, {"_\xC3\x9C"}});
    EXPECT_EQ(1, winnerOf(*group, repeat("\xC3\xBC.", 33)));
    EXPECT_EQ(1, winnerOf(*group, repeat("%C3%BC.", 33)));
    EXPECT_EQ(0, winnerOf(*group, repeat("\xC3\xBC.", 32)));
    EXPECT_EQ(2, winnerOf(*group, "x.\xC3\xBC_"));
    // Only letters of ASCII are lowered in a copy.
    EXPECT_EQ(3, winnerOf(*group, "_\xC3\x9C"));
    EXPECT_EQ(0, winnerOf(*group, "_\xC3\xBC"));
}

TEST(DomainMatch, SetsRuleIndexToZeroWhenNothingIsFound) {
    const RuleGroupHandle group = makeDomainGroup({{"a.com"}});
    MatchResult result = UNTOUCHED;
    EXPECT_EQ(0, matchDomainName(*group->domainIndex, "b.com", 5, result));
    EXPECT_EQ(0, result.ruleIndex);
    EXPECT_EQ(UNTOUCHED.ruleValue, result.ruleValue);
    EXPECT_EQ(UNTOUCHED.ruleId, result.ruleId);
}

// ---- Names in wire form.

TEST(DomainWireMatch, FindsWhatTheDottedNameFinds) {
    const RuleGroupHandle group =
        makeDomainGroup({{"web.example.com"}, {"*.example.com"}, {"*.org"}});
    EXPECT_EQ(1, wireWinnerOf(*group, "\3web\7example\3com"));
    EXPECT_EQ(2, wireWinnerOf(*group, "\1x\7example\3com"));
    EXPECT_EQ(0, wireWinnerOf(*group, "\7example\3com"));
    EXPECT_EQ(3, wireWinnerOf(*group, "\3web\3org"));
    EXPECT_EQ(0, wireWinnerOf(*group, "\3org"));
}

TEST(DomainWireMatch, LowersLettersInsideLabels) {
    const RuleGroupHandle group = makeDomainGroup({{"web.example.com"}, {"*.example.com"}});
    EXPECT_EQ(1, wireWinnerOf(*group, "\3WEB\7example\3com"));
    EXPECT_EQ(1, wireWinnerOf(*group, "\3web\7example\3coM"));
    EXPECT_EQ(2, wireWinnerOf(*group, "\3weB\3web\7Example\3com"));
}

TEST(DomainWireMatch, TakesNoLengthForALetter) {
    // The length 65 is the code of 'A', and 97 that of 'a'.
    const std::string label65(65, 'a');
    const std::string label97(97, 'a');
    const RuleGroupHandle group = makeDomainGroup({{"*.com"}, {"*"}});
    EXPECT_EQ(1, wireWinnerOf(*group, "A" + label65 + "\3com"));
    EXPECT_EQ(1, wireWinnerOf(*group, "A" + label65 + "\3COM"));
    EXPECT_EQ(1, wireWinnerOf(*group, "a" + label97 + "\3com"));
    EXPECT_EQ(2, wireWinnerOf(*group, "\3com"));
}

TEST(DomainWireMatch, LowersLongNamesToo) {
    std::string wireName;
    for (int i = 0; i < 300; ++i) {
        wireName += "\1A";
    }
    const RuleGroupHandle group = makeDomainGroup({{"*.a.a.a"}});
    EXPECT_EQ(1, wireWinnerOf(*group, wireName));
}

TEST(DomainWireMatch, StopsAtAZeroLengthAndAtTheEnd) {
    const RuleGroupHandle group = makeDomainGroup({{"*.com"}});
    EXPECT_EQ(1, wireWinnerOf(*group, "\1a\3com"));
    EXPECT_EQ(0, wireWinnerOf(*group, std::string("\1a\0\3com", 7)));
    // Lengths that lead beyond the end.
    EXPECT_EQ(0, wireWinnerOf(*group, "\5a\3com"));
    EXPECT_EQ(0, wireWinnerOf(*group, "\6a\3com"));
    EXPECT_EQ(0, wireWinnerOf(*group,
                              "\xFF"
                              "a\3com"));
    EXPECT_EQ(0, wireWinnerOf(*group, "\1"));
    EXPECT_EQ(0, wireWinnerOf(*group, std::string(1, '\0')));
}

// The longest names that rules hold: 255 bytes, or 253 after "*.".
TEST(DomainMatch, FindsTheLongestNames) {
    const std::string exact = nameOfLength(255, 'x');
    const std::string below = nameOfLength(253, 'w');
    const RuleGroupHandle group = makeDomainGroup({{exact}, {"*." + below}});
    EXPECT_EQ(1, winnerOf(*group, exact));
    EXPECT_EQ(1, winnerOf(*group, exact + '.'));
    EXPECT_EQ(0, winnerOf(*group, exact + 'x'));
    EXPECT_EQ(0, winnerOf(*group, exact.substr(1)));
    EXPECT_EQ(2, winnerOf(*group, "a." + below));
    EXPECT_EQ(2, winnerOf(*group, "a.b.c." + below));
    EXPECT_EQ(0, winnerOf(*group, below));
}

// Only a record that was overwritten can hold such a name: a lookup does not ask for it.
TEST(DomainMatch, LooksUpNoNameOver255Bytes) {
    const std::string longest = nameOfLength(255);
    const std::string tooLong = nameOfLength(256);
    for (const std::string& name : {longest, tooLong}) {
        const RuleSetHandle set = makeDomainRuleSet({{"exact"}, {"*.wildcard"}});
        auto& exact = ruleAt<DomainRule>(set->domainRules, 1).rule;
        exact.text = name.data();
        exact.length = size32(name);
        const std::string below = "*." + name;
        auto& wildcard = ruleAt<DomainRule>(set->domainRules, 2).rule;
        wildcard.text = below.data();
        wildcard.length = size32(below);
        const RuleGroupHandle group = buildRuleGroup(*set);
        EXPECT_EQ(name == longest ? 1 : 0, winnerOf(*group, name));
        EXPECT_EQ(name == longest ? 2 : 0, winnerOf(*group, "a." + name));
    }
}

// The cost of such a name must not grow with the square of its length, and its short suffixes still count.
TEST(DomainMatch, FindsTheSuffixesOfNamesThatNoRuleCanHold) {
    const RuleGroupHandle group = makeDomainGroup({{"*.example.com"}, {"*.com"}});
    std::string name;
    while (name.size() < 400'000) {
        name += "a.";
    }
    MatchResult result{};
    for (const std::string_view end : {"example.com", "com", "org"}) {
        const std::string longName = name + std::string(end);
        EXPECT_EQ(end == "org" ? 0 : 1,
                  rs_matchDomainNameWithRuleGroup(group.get(), longName.data(), size32(longName),
                                                  &result));
        EXPECT_EQ(end == "org" ? 0U : end == "com" ? 2U : 1U, result.ruleIndex);
    }
}

}  // namespace

}  // namespace rs::test
