#include "url/url_match.h"

#include <ruleset.h>
#include <ruleset_static.h>

#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "core/rule_group.h"
#include "core/rule_set.h"
#include "support/host_names.h"
#include "support/rule_builder.h"
#include "support/rule_records.h"
#include "support/text.h"
#include "support/winner.h"
#include "url/url_rule.h"

namespace rs::test {

namespace {

uint32_t winnerOf(const RuleGroup& group, std::string_view url) {
    return winnerOfText(rs_matchUrlWithRuleGroup, group, url);
}

struct Row {
    std::string_view url;
    uint32_t winner;
};

void expectWinners(const RuleGroup& group, std::initializer_list<Row> rows) {
    for (const Row& row : rows) {
        EXPECT_EQ(row.winner, winnerOf(group, row.url)) << row.url;
    }
}

int32_t refusalOf(const RuleGroup& group, std::string_view url) {
    return refusalOfText(rs_matchUrlWithRuleGroup, group, url);
}

TEST(UrlMatch, ReportsWhatTheHostAttached) {
    int userData = 0;
    const RuleGroupHandle group =
        makeUrlGroup({{"a.test", 5, &userData}, {"*.test", 6, &userData}, {"*", 7, &userData}});
    const struct {
        std::string_view url;
        MatchResult expected;
    } rows[] = {{"http://a.test/x", {1, 5, ruleIdAt(1), &userData}},
                {"http://b.test", {2, 6, ruleIdAt(2), &userData}},
                {"b.org", {3, 7, ruleIdAt(3), &userData}}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.url);
        MatchResult result = UNTOUCHED;
        EXPECT_EQ(1,
                  rs_matchUrlWithRuleGroup(group.get(), row.url.data(), size32(row.url), &result));
        EXPECT_EQ(row.expected, result);
    }
}

TEST(UrlMatch, LooksExactAndWildcardHostsUp) {
    const RuleGroupHandle group = makeUrlGroup({{"a.test/x"}, {"*.test/x"}});
    expectWinners(*group, {{"http://a.test/x", 1},
                           {"http://b.test/x", 2},
                           {"https://a.test/x", 0},
                           {"https://b.test/x", 0},
                           {"http://test/x", 0},
                           {"http://a.b.test/x", 2},
                           {"http://atest/x", 0}});
}

TEST(UrlMatch, PrefersTheEarlierRuleWhateverItsKind) {
    const RuleGroupHandle anyFirst = makeUrlGroup({{"*"}, {"a.test"}, {"*.test"}});
    expectWinners(*anyFirst, {{"a.test", 1}, {"b.test", 1}, {"c", 1}});
    const RuleGroupHandle anyLast = makeUrlGroup({{"*.test"}, {"a.test"}, {"*"}});
    expectWinners(*anyLast, {{"a.test", 1}, {"test", 3}, {"c", 3}});
    const RuleGroupHandle suffixes = makeUrlGroup({{"*.b.test"}, {"*.test"}, {"a.b.test"}});
    expectWinners(*suffixes, {{"a.b.test", 1}, {"b.test", 2}, {"x.test", 2}});
    const RuleGroupHandle wideFirst = makeUrlGroup({{"*.test"}, {"*.b.test"}});
    expectWinners(*wideFirst, {{"a.b.test", 1}});
}

TEST(UrlMatch, PrefersTheEarlierPath) {
    const RuleGroupHandle group = makeUrlGroup({{"a.test/b"}, {"a.test"}, {"a.test/b/c"}});
    expectWinners(*group, {{"a.test/b/c", 1}, {"a.test/x", 2}, {"a.test", 2}});
}

TEST(UrlMatch, TakesHttpsRulesForHttpsOnly) {
    const RuleGroupHandle group = makeUrlGroup({{"https://a.test/"}});
    expectWinners(*group, {{"https://a.test/p", 1},
                           {"HTTPS://A.TEST", 1},
                           {"https://a.test:443/p", 1},
                           {"https://a.test:8443/p", 0},
                           {"http://a.test/p", 0},
                           {"http://a.test:443/p", 0},
                           {"a.test:443", 0},
                           {"//a.test:443", 0},
                           {"httpx://a.test:443/", 0}});
}

TEST(UrlMatch, TakesOtherRulesForAnySchemeButOneOfEightBytes) {
    const RuleGroupHandle group = makeUrlGroup({{"a.test:*"}});
    expectWinners(*group, {{"a.test", 1},
                           {"//a.test", 1},
                           {"http://a.test", 1},
                           {"ftp://a.test", 1},
                           {"x://a.test", 1},
                           {"://a.test", 1},
                           {"gopher://a.test", 1},
                           {"https://a.test", 0},
                           // Deliberate: the length of the scheme is what counts.
                           {"gophr://a.test", 0},
                           {"httpx://a.test", 0}});
}

TEST(UrlMatch, MakesNoSchemeTestForAnyHost) {
    const RuleGroupHandle http = makeUrlGroup({{"*/x"}});
    expectWinners(*http, {{"http://any.test/x", 1},
                          {"ftp://h/x/y", 1},
                          {"gophr://h/x", 1},
                          {"https://any.test:80/x", 1},
                          // The port refuses this one.
                          {"https://any.test/x", 0},
                          {"/x", 1}});
    const RuleGroupHandle https = makeUrlGroup({{"https://*/x"}});
    expectWinners(*https, {{"https://any.test/x", 1},
                           {"http://any.test/x", 0},
                           {"http://any.test:443/x", 1},
                           {"any.test:443/x", 1}});
    // Whichever rule made the node.
    const RuleGroupHandle both = makeUrlGroup({{"https://*/x"}, {"*/x"}});
    expectWinners(*both, {{"https://any.test/x", 1}, {"http://any.test/x", 2}});
}

TEST(UrlMatch, TestsThePort) {
    const RuleGroupHandle group = makeUrlGroup({{"a.test:8080/"}, {"b.test"}, {"c.test:*"}});
    expectWinners(*group, {{"a.test:8080/z", 1},
                           {"a.test/z", 0},
                           {"a.test:8081/z", 0},
                           {"b.test:80", 2},
                           {"b.test:81", 0},
                           {"ftp://b.test", 2},
                           {"c.test:1", 3},
                           {"c.test:65535", 3},
                           {"c.test", 3},
                           // No valid port, so that the host has a colon.
                           {"c.test:65536", 0},
                           {"c.test:0", 0}});
}

TEST(UrlMatch, FindsTheTailOfAWildcardAnywhereBehindItsPrefix) {
    const RuleGroupHandle group = makeUrlGroup({{"a.test/a*b"}});
    expectWinners(*group, {{"a.test/a/cb/d", 1},
                           {"a.test/ab", 1},
                           {"a.test/abc", 1},
                           {"a.test/ac", 0},
                           {"a.test/a", 0},
                           {"a.test/b", 0},
                           {"a.test/A?B", 1}});
    const RuleGroupHandle overlap = makeUrlGroup({{"a.test/ab*ba"}, {"a.test/x*"}, {"a.test/*y"}});
    expectWinners(*overlap, {{"a.test/aba", 0},
                             {"a.test/abba", 1},
                             {"a.test/ab/bb/ba", 1},
                             {"a.test/x", 2},
                             {"a.test/xz", 2},
                             {"a.test/y", 3},
                             {"a.test/zyz", 3}});
}

TEST(UrlMatch, CoversEveryPathWithoutPath) {
    const RuleGroupHandle group = makeUrlGroup({{"a.test"}, {"b.test/"}});
    expectWinners(*group, {{"a.test", 1},
                           {"a.test/", 1},
                           {"a.test/x/y?z", 1},
                           {"a.test?z", 1},
                           {"a.test#z", 1},
                           {"b.test", 2},
                           {"b.test/x", 2}});
}

TEST(UrlMatch, EndsAPlainPathAtASeparator) {
    const RuleGroupHandle group = makeUrlGroup({{"a.test/a"}, {"a.test/b/"}, {"a.test/c?d"}});
    expectWinners(*group, {{"a.test/a", 1},
                           {"a.test/a/b", 1},
                           {"a.test/a?x", 1},
                           {"a.test/a#x", 1},
                           {"a.test/ab", 0},
                           {"a.test/a.b", 0},
                           {"a.test/a%2fb", 1},
                           {"a.test/a%3Fb", 1},
                           // These are no plain paths.
                           {"a.test/b", 0},
                           {"a.test/b/c", 2},
                           {"a.test/c?d", 3},
                           {"a.test/c?de", 3}});
}

TEST(UrlMatch, TakesAnEscapedStarOfAPathForAPrefixByte) {
    const RuleGroupHandle group = makeUrlGroup({{"a.test/a%2ab"}});
    expectWinners(*group, {{"a.test/a*b", 1},
                           {"a.test/a%2Ab", 1},
                           // As it is no plain path, what follows need not be a separator.
                           {"a.test/a*bc", 1},
                           {"a.test/axb", 0},
                           {"a.test/ab", 0}});
}

TEST(UrlMatch, NormalizesTheUrl) {
    const RuleGroupHandle group = makeUrlGroup({{"a.test/x"},
                                                {"b\xC3\xBC"
                                                 "cher.test"}});
    expectWinners(*group, {{"HTTP://A.TEST/X", 1},
                           {"a.test/x?q=1", 1},
                           {"a.test/x#f", 1},
                           {"a.test./x", 1},
                           {"%41.test/%58", 1},
                           {"u:p@a.test/x", 1},
                           {"http://u:p@a.test:80/x", 1},
                           {"http://B\xC3\x9C"
                            "CHER.test",
                            2},
                           {"xn--bcher-kva.test/", 2},
                           {" a.test/x", 0},
                           {"a.test/x ", 0}});
}

TEST(UrlMatch, FindsBracketedLiterals) {
    const RuleGroupHandle group =
        makeUrlGroup({{"[2001:DB8::1]/x"}, {"[::ffff:1.2.3.4]"}, {"[::]"}});
    expectWinners(*group, {{"http://[2001:db8:0:0::1]/x", 1},
                           {"[2001:db8::1]/x", 1},
                           {"http://1.2.3.4/", 2},
                           {"http://[::ffff:102:304]", 2},
                           {"http://[0:0:0:0:0:0:0:0]", 3},
                           {"[::]/", 3},
                           // Deliberate: four times 4 bytes of scratch are one too few.
                           {"[::]", 0}});
}

TEST(UrlMatch, FindsBracketedLiteralsWhileIpv6IsOff) {
    const RuleGroupHandle group = makeUrlGroup({{"[2001:DB8::1]/x"}, {"1.2.3.4"}});
    setLibraryOption(RULE_OPTION_IPV6, 0);
    expectWinners(*group, {{"http://[2001:db8::1]/x", 1}, {"http://[::ffff:1.2.3.4]/x", 2}});
    setLibraryOption(RULE_OPTION_IPV6, 1);
}

TEST(UrlMatch, WalksTheSuffixesOfTheHost) {
    const RuleGroupHandle group = makeUrlGroup({{"*.c.d"}, {"*.3.4"}});
    expectWinners(*group, {{"x.y.z.a.b.c.d", 1},
                           {"c.d", 0},
                           {".c.d", 1},
                           {"a..c.d", 1},
                           {"1.2.3.4", 2},
                           {"[::ffff:1.2.3.4]", 2},
                           {"3.4", 0},
                           {"a.c.d..", 0}});
}

TEST(UrlMatch, FindsNothingForAHostThatIsEmpty) {
    const RuleGroupHandle hosts = makeUrlGroup({{"a.test"}, {"*.test"}});
    expectWinners(*hosts, {{"/x", 0}, {"http://./x", 0}, {"?x", 0}});
    const RuleGroupHandle any = makeUrlGroup({{"*/x"}});
    expectWinners(*any, {{"/x", 1}, {"http://./x", 1}, {"?x", 0}});
}

TEST(UrlMatch, RefusesUrlsWithoutHostThatHaveASchemeOrAPort) {
    const RuleGroupHandle group = makeUrlGroup({{"*:*"}});
    for (const std::string_view url :
         {"http://", "http:///x", "//", "///x", ":80", ":80/x", "file:///x", "u@", "http://:80/"}) {
        EXPECT_EQ(RULE_ERR_BAD_RULE, refusalOf(*group, url)) << url;
    }
}

TEST(UrlMatch, RefusesNullAndEmptyArguments) {
    const RuleGroupHandle group = makeUrlGroup({{"*"}});
    const RuleGroup otherType{};
    MatchResult result = UNTOUCHED;
    EXPECT_EQ(RULE_ERR_INVALID_ARG, rs_matchUrlWithRuleGroup(nullptr, "a", 1, &result));
    EXPECT_EQ(RULE_ERR_INVALID_ARG, rs_matchUrlWithRuleGroup(group.get(), nullptr, 1, &result));
    EXPECT_EQ(RULE_ERR_INVALID_ARG, rs_matchUrlWithRuleGroup(group.get(), "a", 0, &result));
    EXPECT_EQ(RULE_ERR_INVALID_ARG, rs_matchUrlWithRuleGroup(group.get(), "a", 1, nullptr));
    EXPECT_EQ(RULE_ERR_INVALID_ARG, rs_matchUrlWithRuleGroup(&otherType, "a", 1, &result));
    EXPECT_EQ(UNTOUCHED, result);
}

TEST(UrlMatch, RefusesUrlsWhoseCanonicalPiecesExceed4096Bytes) {
    const RuleGroupHandle group = makeUrlGroup({{"a"}, {"*"}});
    EXPECT_EQ(1, winnerOf(*group, "a/" + std::string(4094, 'x')));
    EXPECT_EQ(RULE_ERR_BUFFER_SMALL, refusalOf(*group, "a/" + std::string(4095, 'x')));
    // A query without path has a byte more, an escape two bytes less.
    EXPECT_EQ(1, winnerOf(*group, "a?" + std::string(4093, 'x')));
    EXPECT_EQ(RULE_ERR_BUFFER_SMALL, refusalOf(*group, "a?" + std::string(4094, 'x')));
    EXPECT_EQ(1, winnerOf(*group, "a/" + repeat("%78", 4094)));
    EXPECT_EQ(RULE_ERR_BUFFER_SMALL, refusalOf(*group, "a/" + repeat("%78", 4095)));
    // User information takes its room, though nobody asks for it.
    EXPECT_EQ(1, winnerOf(*group, std::string(4094, 'u') + "@a"));
    EXPECT_EQ(RULE_ERR_BUFFER_SMALL, refusalOf(*group, std::string(4095, 'u') + "@a"));
}

// Deliberate: a host that only its encoded form makes too long for the scratch is not copied.
TEST(UrlMatch, RefusesAHostWhoseEncodedFormHasNoRoom) {
    const RuleGroupHandle group = makeUrlGroup({{"*"}});
    EXPECT_EQ(1, winnerOf(*group, repeat("\xC3\xBC.", 512)));
    EXPECT_EQ(RULE_ERR_BUFFER_SMALL, refusalOf(*group, repeat("\xC3\xBC.", 513)));
    EXPECT_EQ(1, winnerOf(*group, repeat("_\xC3\xBC.", 1000)));
}

// ---- Lists and blocks of paths.

// A rule that is asked for, behind others that fill the path list of the same host: with 15 long
// paths they stay in a list, with 16 they are in a block.
RuleGroupHandle makeCrowdedGroup(std::string_view hostAndPort, std::string_view path,
                                 uint32_t longPaths) {
    RuleSetHandle set = newRuleSet(RULE_TYPE_URL);
    EXPECT_EQ(RULE_OK, addRule(*set, std::string(hostAndPort) + std::string(path)));
    for (uint32_t i = 1; i < longPaths; ++i) {
        EXPECT_EQ(RULE_OK, addRule(*set, std::string(hostAndPort) + "/other" + std::to_string(i)));
    }
    return buildRuleGroup(*set);
}

// Deliberate: in a list and in a block, a path is not matched alike.
TEST(UrlPathBlocks, HavePlainPathsAsPlainPrefixes) {
    constexpr struct {
        std::string_view url;
        uint32_t inList;
        uint32_t inBlock;
    } ROWS[] = {
        {"a.test/abcde", 1, 1},   {"a.test/abcde/f", 1, 1}, {"a.test/abcde?f", 1, 1},
        {"a.test/abcde#f", 1, 1}, {"a.test/abcdef", 0, 1},  {"a.test/abcde.f", 0, 1},
        {"a.test/abcd", 0, 0},    {"a.test/abcdx", 0, 0},   {"a.test", 0, 0},
    };
    const RuleGroupHandle list = makeCrowdedGroup("a.test", "/abcde", 15);
    const RuleGroupHandle block = makeCrowdedGroup("a.test", "/abcde", 16);
    for (const auto& row : ROWS) {
        SCOPED_TRACE(row.url);
        EXPECT_EQ(row.inList, winnerOf(*list, row.url));
        EXPECT_EQ(row.inBlock, winnerOf(*block, row.url));
    }
}

TEST(UrlPathBlocks, HaveTheDefaultPort80ForHttpsToo) {
    const RuleGroupHandle list = makeCrowdedGroup("https://a.test", "/abcde", 15);
    const RuleGroupHandle block = makeCrowdedGroup("https://a.test", "/abcde", 16);
    constexpr std::string_view URL = "https://a.test/abcde";
    EXPECT_EQ(1, winnerOf(*list, URL));
    EXPECT_EQ(0, winnerOf(*block, URL));
    EXPECT_EQ(1, winnerOf(*list, "https://a.test:443/abcde"));
    EXPECT_EQ(1, winnerOf(*block, "https://a.test:443/abcde"));
    // The other way round for rules for port 80 of https.
    const RuleGroupHandle list80 = makeCrowdedGroup("https://a.test:80", "/abcde", 15);
    const RuleGroupHandle block80 = makeCrowdedGroup("https://a.test:80", "/abcde", 16);
    EXPECT_EQ(0, winnerOf(*list80, URL));
    EXPECT_EQ(1, winnerOf(*block80, URL));
    // Rules for any port do not care.
    EXPECT_EQ(1, winnerOf(*makeCrowdedGroup("https://a.test:*", "/abcde", 15), URL));
    EXPECT_EQ(1, winnerOf(*makeCrowdedGroup("https://a.test:*", "/abcde", 16), URL));
}

TEST(UrlPathBlocks, OfAnyHostHaveTheDefaultPort80Too) {
    const RuleGroupHandle list = makeCrowdedGroup("*", "/abcde", 15);
    const RuleGroupHandle block = makeCrowdedGroup("*", "/abcde", 16);
    EXPECT_EQ(0, winnerOf(*list, "https://any.test/abcde"));
    EXPECT_EQ(1, winnerOf(*block, "https://any.test/abcde"));
    EXPECT_EQ(1, winnerOf(*list, "http://any.test/abcde"));
    EXPECT_EQ(1, winnerOf(*block, "http://any.test/abcde"));
    EXPECT_EQ(0, winnerOf(*list, "any.test/abcdef"));
    EXPECT_EQ(1, winnerOf(*block, "any.test/abcdef"));
}

TEST(UrlPathBlocks, TestWildcardsAsListsDo) {
    for (const uint32_t longPaths : {15U, 16U}) {
        SCOPED_TRACE(longPaths);
        const RuleGroupHandle group = makeCrowdedGroup("a.test", "/abcd*xy", longPaths);
        expectWinners(*group, {{"a.test/abcdxy", 1},
                               {"a.test/abcd/1/xyz", 1},
                               {"a.test/abcd", 0},
                               {"a.test/abcdx", 0},
                               {"a.test/abcxyd", 0}});
    }
}

TEST(UrlPathBlocks, TestTheWholePrefixOfLongerPaths) {
    const RuleGroupHandle group = makeCrowdedGroup("a.test", "/other/long/path", 40);
    expectWinners(*group, {{"a.test/other/long/path", 1},
                           {"a.test/other/long/pat", 0},
                           {"a.test/other/long/paths", 1},
                           {"a.test/other", 0},
                           {"a.test/othe", 0},
                           {"a.test/other1", 2},
                           {"a.test/other12", 2},
                           {"a.test/other2", 3},
                           {"a.test/other39", 4}});
}

TEST(UrlPathBlocks, AreSkippedWhenTheirShortestPrefixIsTooLong) {
    RuleSetHandle set = newRuleSet(RULE_TYPE_URL);
    for (uint32_t i = 0; i < 16; ++i) {
        ASSERT_EQ(RULE_OK, addRule(*set, "a.test/long/path/" + std::to_string(10 + i)));
    }
    ASSERT_EQ(RULE_OK, addRule(*set, "a.test/s"));
    const RuleGroupHandle group = buildRuleGroup(*set);
    expectWinners(*group, {{"a.test/", 0},
                           {"a.test/s", 17},
                           {"a.test/long/path/1", 0},
                           {"a.test/long/path/10", 1},
                           {"a.test/long/path/25", 16},
                           {"a.test/long/path/255", 16}});
}

TEST(UrlPathBlocks, GiveTheEarliestRuleOfAllBlocksAndTheList) {
    RuleSetHandle set = newRuleSet(RULE_TYPE_URL);
    // The shorter the prefix, the later the rule.
    const std::string path = "/" + std::string(140, 'p');
    for (uint32_t length = 140; length >= 2; --length) {
        ASSERT_EQ(RULE_OK, addRule(*set, "a.test" + path.substr(0, length)));
    }
    const RuleGroupHandle group = buildRuleGroup(*set);
    for (uint32_t length = 2; length <= 140; ++length) {
        EXPECT_EQ(141 - length, winnerOf(*group, "a.test" + path.substr(0, length)));
    }
    // The other way round the first rule covers all in blocks.
    RuleSetHandle reversed = newRuleSet(RULE_TYPE_URL);
    for (uint32_t length = 5; length <= 140; ++length) {
        ASSERT_EQ(RULE_OK, addRule(*reversed, "a.test" + path.substr(0, length)));
    }
    const RuleGroupHandle reversedGroup = buildRuleGroup(*reversed);
    for (uint32_t length = 5; length <= 140; ++length) {
        EXPECT_EQ(1, winnerOf(*reversedGroup, "a.test" + path.substr(0, length)));
    }
    EXPECT_EQ(0, winnerOf(*reversedGroup, "a.test" + path.substr(0, 4)));
}

TEST(UrlPathBlocks, GiveTheEarliestOfEqualPaths) {
    RuleSetHandle set = newRuleSet(RULE_TYPE_URL);
    for (uint32_t i = 0; i < 200; ++i) {
        ASSERT_EQ(RULE_OK, addRule(*set, "a.test:" + std::to_string(1 + i % 100) + "/equal"));
    }
    const RuleGroupHandle group = buildRuleGroup(*set);
    for (uint32_t i = 0; i < 100; ++i) {
        EXPECT_EQ(i + 1, winnerOf(*group, "a.test:" + std::to_string(1 + i) + "/equal"));
    }
    EXPECT_EQ(80, winnerOf(*group, "a.test/equal"));
    EXPECT_EQ(0, winnerOf(*group, "a.test:101/equal"));
}

TEST(UrlPathBlocks, FindEachOfManyPaths) {
    for (const uint32_t count : {16U, 63U, 64U, 130U, 1000U}) {
        SCOPED_TRACE(count);
        RuleSetHandle set = newRuleSet(RULE_TYPE_URL);
        const auto pathAt = [](uint32_t i) {
            // Bytes on both sides of 0x80 in a scrambled order.
            return std::string("/p") + static_cast<char>('a' + i * 7 % 13) +
                   static_cast<char>(0x80 + i * 11 % 128) + std::to_string(1000 + i * 37 % 1000) +
                   '/';
        };
        for (uint32_t i = 0; i < count; ++i) {
            ASSERT_EQ(RULE_OK, addRule(*set, "a.test:*" + pathAt(i))) << pathAt(i);
        }
        const RuleGroupHandle group = buildRuleGroup(*set);
        for (uint32_t i = 0; i < count; ++i) {
            ASSERT_EQ(i + 1, winnerOf(*group, "a.test" + pathAt(i) + "tail"));
        }
    }
}

TEST(UrlPathBlocks, OrderTheirBytesWithoutSign) {
    RuleSetHandle set = newRuleSet(RULE_TYPE_URL);
    for (uint32_t byte = 0x60; byte < 0xA0; ++byte) {
        ASSERT_EQ(RULE_OK, addRule(*set, "a.test/" + std::string(5, static_cast<char>(byte))));
    }
    const RuleGroupHandle group = buildRuleGroup(*set);
    for (uint32_t byte = 0x60; byte < 0xA0; ++byte) {
        EXPECT_EQ(byte - 0x60 + 1,
                  winnerOf(*group, "a.test/" + std::string(5, static_cast<char>(byte))));
    }
}

// ---- Long hosts.

// The longest hosts that rules hold: 255 bytes, or 253 after "*.".
TEST(UrlMatch, FindsTheLongestHosts) {
    const std::string exact = nameOfLength(255, 'x');
    const std::string below = nameOfLength(253, 'w');
    const RuleGroupHandle group = makeUrlGroup({{exact + "/a"}, {"*." + below}});
    EXPECT_EQ(1, winnerOf(*group, "http://" + exact + "/a"));
    EXPECT_EQ(1, winnerOf(*group, exact + "./a"));
    EXPECT_EQ(0, winnerOf(*group, exact + "x/a"));
    EXPECT_EQ(0, winnerOf(*group, exact.substr(1) + "/a"));
    EXPECT_EQ(2, winnerOf(*group, "a." + below));
    EXPECT_EQ(2, winnerOf(*group, "http://a.b.c." + below + "/a"));
    EXPECT_EQ(0, winnerOf(*group, below));
}

// Only a record that was overwritten can hold such a host: a lookup does not ask for it.
TEST(UrlMatch, LooksUpNoHostOver255Bytes) {
    const std::string longest = nameOfLength(255);
    const std::string tooLong = nameOfLength(256);
    for (const std::string& host : {longest, tooLong}) {
        const RuleSetHandle set = makeUrlRuleSet({{"exact"}, {"*.wildcard"}});
        DomainRuleText& exact = ruleAt<UrlRule>(set->urlRules, 1).rule.host;
        exact.text = host.data();
        exact.length = size32(host);
        const std::string below = "*." + host;
        DomainRuleText& wildcard = ruleAt<UrlRule>(set->urlRules, 2).rule.host;
        wildcard.text = below.data();
        wildcard.length = size32(below);
        const RuleGroupHandle group = buildRuleGroup(*set);
        EXPECT_EQ(host == longest ? 1 : 0, winnerOf(*group, host));
        EXPECT_EQ(host == longest ? 2 : 0, winnerOf(*group, "a." + host));
    }
}

}  // namespace

}  // namespace rs::test
