#include "url/url_rule.h"

#include <ruleset.h>
#include <ruleset_static.h>

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "support/text.h"
#include "support/url_piece_text.h"

namespace rs::test {

namespace {

constexpr uint32_t ROOMY = 9000;
constexpr bool WILDCARD = true;

// A status, and what a record of RULE_OK says.
struct ParsedRule {
    int32_t status = 0;
    std::string text;
    std::string scheme;
    std::string host;
    std::string path;
    uint32_t hostFlags = 0;
    uint32_t wildcardOffset = 0;
    uint16_t portLow = 0;
    uint16_t portHigh = 0;
};

// Input and output stand in blocks of exactly their sizes.
ParsedRule parse(std::string_view rule, uint32_t capacity = ROOMY) {
    const ExactText text(rule);
    const auto out = std::make_unique<char[]>(capacity);
    uint32_t length = capacity;
    UrlRuleText record{};
    record.extra = {"stale", 5};
    record.path = {"stale", 5};
    record.wildcardOffset = 77;
    ParsedRule result;
    result.status = parseUrlRule(text.data(), text.size(), out.get(), &length, &record);
    if (result.status != RULE_OK) {
        EXPECT_EQ(capacity, length);
        return result;
    }
    result.text.assign(out.get(), length);
    result.scheme = bytesOf(record.scheme);
    result.host = bytesOf({record.host.text, record.host.length});
    result.path = bytesOf(record.path);
    result.hostFlags = record.host.flags;
    result.wildcardOffset = record.wildcardOffset;
    result.portLow = record.portLow;
    result.portHigh = record.portHigh;
    EXPECT_EQ(0, record.extra.length);
    EXPECT_EQ(nullptr, record.extra.text);
    // The pieces stand in the output one behind the other.
    EXPECT_EQ(result.text, result.scheme + result.host + result.path);
    EXPECT_EQ(out.get() + result.scheme.size(), record.host.text);
    return result;
}

struct Expected {
    std::string_view rule;
    std::string_view scheme;
    std::string_view host;
    bool isWildcard;
    uint16_t portLow;
    uint16_t portHigh;
    std::string_view path;
    uint32_t wildcardOffset;
};

void expectRule(const Expected& expected) {
    SCOPED_TRACE(expected.rule);
    const ParsedRule parsed = parse(expected.rule);
    EXPECT_EQ(RULE_OK, parsed.status);
    EXPECT_EQ(expected.scheme, parsed.scheme);
    EXPECT_EQ(expected.host, parsed.host);
    EXPECT_EQ(expected.isWildcard ? DOMAIN_RULE_WILDCARD : 0, parsed.hostFlags);
    EXPECT_EQ(expected.portLow, parsed.portLow);
    EXPECT_EQ(expected.portHigh, parsed.portHigh);
    EXPECT_EQ(expected.path, parsed.path);
    EXPECT_EQ(expected.wildcardOffset, parsed.wildcardOffset);
}

// Restores the option that some of these tests change.
class UrlRuleParser : public testing::Test {
protected:
    void TearDown() override { setLibraryOption(RULE_OPTION_IPV6, 1); }
};

TEST_F(UrlRuleParser, StoresHttpWithoutScheme) {
    expectRule({"HTTP://WEB.Example.com/Index.HTML", "", "web.example.com", !WILDCARD, 80, 80,
                "/index.html", 0});
    EXPECT_EQ("web.example.com/index.html", parse("HTTP://WEB.Example.com/Index.HTML").text);
    expectRule(
        {"web.example.com/index.html", "", "web.example.com", !WILDCARD, 80, 80, "/index.html", 0});
    expectRule({"//web.example.com/index.html", "", "web.example.com", !WILDCARD, 80, 80,
                "/index.html", 0});
}

TEST_F(UrlRuleParser, StoresHttps) {
    expectRule({"https://example.com", "https", "example.com", !WILDCARD, 443, 443, "", 0});
    EXPECT_EQ("httpsexample.com", parse("https://example.com").text);
    expectRule({"HttpS://example.com/", "https", "example.com", !WILDCARD, 443, 443, "/", 0});
}

TEST_F(UrlRuleParser, StoresAnyPort) {
    expectRule({"example.com:*/a*b", "", "example.com", !WILDCARD, 1, 65535, "/a*b", 2});
    EXPECT_EQ("example.com/a*b", parse("example.com:*/a*b").text);
    expectRule({"https://example.com:*", "https", "example.com", !WILDCARD, 1, 65535, "", 0});
    expectRule({"*:*", "", "*", WILDCARD, 1, 65535, "", 0});
    expectRule({"*.a:*?x", "", "*.a", WILDCARD, 1, 65535, "/?x", 0});
}

TEST_F(UrlRuleParser, StoresAWildcardHost) {
    expectRule({"*.example.com:8080/", "", "*.example.com", WILDCARD, 8080, 8080, "/", 0});
    EXPECT_EQ("*.example.com/", parse("*.example.com:8080/").text);
    expectRule({"*", "", "*", WILDCARD, 80, 80, "", 0});
    expectRule({"https://*/X", "https", "*", WILDCARD, 443, 443, "/x", 0});
}

TEST_F(UrlRuleParser, StoresTheStarOfAQuery) {
    expectRule({"example.com?q=*", "", "example.com", !WILDCARD, 80, 80, "/?q=*", 4});
    EXPECT_EQ("example.com/?q=*", parse("example.com?q=*").text);
}

TEST_F(UrlRuleParser, RefusesOtherSchemes) {
    for (const std::string_view rule :
         {"ftp://a/", "file://a/", "httpx://a", "httpss://a", "xhttp://a", "ttps://a", "htt://a",
          "gopher://a", "a://b", "abcd://a", "abcde://a", "a:b://c", "http ://a", "https ://a"}) {
        EXPECT_EQ(RULE_ERR_BAD_SCHEME, parse(rule).status) << rule;
    }
    EXPECT_EQ(RULE_ERR_BAD_RULE, parse("://a").status);
    // A bad scheme is seen first.
    EXPECT_EQ(RULE_ERR_BAD_SCHEME, parse("ftp://").status);
    EXPECT_EQ(RULE_ERR_BAD_SCHEME, parse("ftp://a:0/**").status);
}

TEST_F(UrlRuleParser, NeedsAHost) {
    for (const std::string_view rule :
         {"/a/b*c*", "/", "/a", "?q", "#f", "//", "http://", "https://", "http:///x", "///x", ":80",
          ":80/x", "u@", "http://u@/x", "u@:80", "http://:80/", ":*", "http://:*/"}) {
        EXPECT_EQ(RULE_ERR_BAD_RULE, parse(rule).status) << rule;
    }
}

TEST_F(UrlRuleParser, ReadsPorts) {
    constexpr struct {
        std::string_view rule;
        uint16_t port;
    } ROWS[] = {
        {"a:1", 1},           {"a:65535", 65535},    {"a:80/", 80},
        {"https://a:80", 80}, {"http://a:443", 443}, {"u:p@a:9", 9},
    };
    for (const auto& row : ROWS) {
        const ParsedRule parsed = parse(row.rule);
        EXPECT_EQ(RULE_OK, parsed.status) << row.rule;
        EXPECT_EQ(row.port, parsed.portLow) << row.rule;
        EXPECT_EQ(row.port, parsed.portHigh) << row.rule;
    }
    for (const std::string_view rule :
         {"example.com:x", "example.com:0", "a:", "a:65536", "a:08", "a:80x", "a:**", "a:*x",
          "a:x*", "a: *", "a:* /", "a:1-2", "a:80:", "http:a", "a:1]"}) {
        EXPECT_EQ(RULE_ERR_BAD_RULE, parse(rule).status) << rule;
    }
}

TEST_F(UrlRuleParser, TakesTheLastColonForThePortColon) {
    // What stands before it makes a bad host.
    for (const std::string_view rule : {"a:1:2", "a:*:2", "a:1:*", "a:*:*", "a::80"}) {
        EXPECT_EQ(RULE_ERR_BAD_RULE, parse(rule).status) << rule;
    }
}

// Deliberate: an '@' does not make the splitter forget the colon of a password.
TEST_F(UrlRuleParser, RefusesAPasswordWithoutPort) {
    EXPECT_EQ(RULE_ERR_BAD_RULE, parse("http://u:p@h/").status);
    EXPECT_EQ(RULE_ERR_BAD_RULE, parse("u:80@h/").status);
    expectRule({"http://u:p@h:80/", "", "h", !WILDCARD, 80, 80, "/", 0});
    expectRule({"http://u:p@h:*/", "", "h", !WILDCARD, 1, 65535, "/", 0});
    expectRule({"http://u@h/", "", "h", !WILDCARD, 80, 80, "/", 0});
    expectRule({"http://u:p@[::1]/", "", "[0:0:0:0:0:0:0:1]", !WILDCARD, 80, 80, "/", 0});
    // A second '@' belongs to the host.
    expectRule({"http://u@v@h/", "", "v@h", !WILDCARD, 80, 80, "/", 0});
}

TEST_F(UrlRuleParser, ReadsBracketedLiterals) {
    expectRule({"http://[2001:DB8::1]/", "", "[2001:db8:0:0:0:0:0:1]", !WILDCARD, 80, 80, "/", 0});
    expectRule({"[::ffff:1.2.3.4]:8/x", "", "1.2.3.4", !WILDCARD, 8, 8, "/x", 0});
    expectRule({"https://[::]:*", "https", "[0:0:0:0:0:0:0:0]", !WILDCARD, 1, 65535, "", 0});
    // What is no address may be a host all the same, unless it holds a ':'.
    expectRule({"[A]", "", "[a]", !WILDCARD, 80, 80, "", 0});
    EXPECT_EQ(RULE_ERR_BAD_RULE, parse("[::g]").status);
    EXPECT_EQ(RULE_ERR_BAD_RULE, parse("*.[::1]").status);
}

TEST_F(UrlRuleParser, RefusesLiteralsWhileIpv6IsOff) {
    setLibraryOption(RULE_OPTION_IPV6, 0);
    for (const std::string_view rule :
         {"http://[2001:DB8::1]/", "[::ffff:1.2.3.4]", "https://[::]:*", "[::1]:80/x"}) {
        EXPECT_EQ(RULE_ERR_BAD_RULE, parse(rule).status) << rule;
    }
    expectRule({"1.2.3.4", "", "1.2.3.4", !WILDCARD, 80, 80, "", 0});
    expectRule({"[a]", "", "[a]", !WILDCARD, 80, 80, "", 0});
    setLibraryOption(RULE_OPTION_IPV6, 1);
    EXPECT_EQ(RULE_OK, parse("[::1]").status);
}

TEST_F(UrlRuleParser, ReadsTheHostAsADomainRule) {
    expectRule(
        {"B\xC3\x9C"
         "CHER.example./",
         "", "xn--bcher-kva.example", !WILDCARD, 80, 80, "/", 0});
    expectRule({"*.My_Host./x", "", "*.my_host", WILDCARD, 80, 80, "/x", 0});
    // Blanks around the host are trimmed as those of a domain rule are.
    expectRule({"http:// a /x", "", "a", !WILDCARD, 80, 80, "/x", 0});
    for (const std::string_view rule :
         {"a..b", "*a", "a.*", "**", "*.*.a", ".", "*.", "http:// /"}) {
        EXPECT_EQ(RULE_ERR_BAD_RULE, parse(rule).status) << rule;
    }
}

TEST_F(UrlRuleParser, TakesAnEscapedStarInAHostForNoWildcard) {
    expectRule({"%2a.com/x", "", "*.com", !WILDCARD, 80, 80, "/x", 0});
    expectRule({"%2A", "", "*", !WILDCARD, 80, 80, "", 0});
}

TEST_F(UrlRuleParser, MayLeaveNothingBehindItsWildcard) {
    expectRule({"*.%2e/x", "", "*.", WILDCARD, 80, 80, "/x", 0});
}

TEST_F(UrlRuleParser, NormalizesPaths) {
    constexpr struct {
        std::string_view rule;
        std::string_view path;
        uint32_t wildcardOffset;
    } ROWS[] = {
        {"a/", "/", 0},
        {"a/A%41?X+Y#Z+W", "/aa?x y#z+w", 0},
        {"a?", "/?", 0},
        {"a#", "/#", 0},
        {"a//", "//", 0},
        {"a/./..", "/./..", 0},
        // The offset counts stored bytes.
        {"a/*", "/*", 1},
        {"a?*", "/?*", 2},
        {"a#*", "/#*", 2},
        {"a/%41%42*c", "/ab*c", 3},
        {"a/x*", "/x*", 2},
        {"a/*x", "/*x", 1},
        // The state goes on behind the star.
        {"a/+*+", "/+*+", 2},
        {"a?+*+", "/? * ", 3},
        {"a#+*?+", "/#+*?+", 3},
        {"a/*?+#+", "/*? #+", 1},
        {"a?x#*+", "/?x#*+", 4},
        // An escape does not reach over the star.
        {"a/%*41", "/%*41", 2},
        {"a/%4*1", "/%4*1", 3},
        {"a/*%41", "/*a", 1},
        // An escaped star is no wildcard, beside one or alone.
        {"a/%2a", "/*", 0},
        {"a/%2a*%2A", "/***", 2},
    };
    for (const auto& row : ROWS) {
        SCOPED_TRACE(row.rule);
        const ParsedRule parsed = parse(row.rule);
        EXPECT_EQ(RULE_OK, parsed.status);
        EXPECT_EQ(row.path, parsed.path);
        EXPECT_EQ(row.wildcardOffset, parsed.wildcardOffset);
    }
}

TEST_F(UrlRuleParser, RefusesTwoStarsInAPath) {
    for (const std::string_view rule : {"a/**", "a/*b*", "a?*#*", "a/b*?*", "a:*/x**"}) {
        EXPECT_EQ(RULE_ERR_BAD_RULE, parse(rule).status) << rule;
    }
    // The star of the host is another one, and so is that of the port.
    EXPECT_EQ(RULE_OK, parse("*.a:*/x*").status);
}

TEST_F(UrlRuleParser, TrimsBlanks) {
    expectRule({" \t\r\nHTTPS://A/X \r\n", "https", "a", !WILDCARD, 443, 443, "/x", 0});
    EXPECT_EQ("/x y", parse("a/x y ").path);
    for (const std::string_view rule : {"", " ", "\t\r\n "}) {
        EXPECT_EQ(RULE_ERR_BAD_RULE, parse(rule).status);
    }
}

TEST_F(UrlRuleParser, HasAtMost4095BytesBetweenBlanks) {
    const std::string rule = "a/" + std::string(4093, 'x');
    EXPECT_EQ(RULE_OK, parse(rule).status);
    EXPECT_EQ(4094, parse(rule).path.size());
    EXPECT_EQ(RULE_OK, parse(std::string(3000, ' ') + rule + std::string(3000, '\n')).status);
    EXPECT_EQ(RULE_ERR_BAD_RULE, parse(rule + 'x').status);
    EXPECT_EQ(RULE_ERR_BAD_RULE, parse("x" + rule).status);
}

TEST_F(UrlRuleParser, HasHostsOf255BytesAtMost) {
    const std::string host = repeat("abc.", 63) + "abc";
    EXPECT_EQ(host, parse("https://" + host + "/x").host);
    EXPECT_EQ(RULE_ERR_BAD_RULE, parse("https://" + host + "d/x").status);
    EXPECT_EQ(RULE_OK, parse("*." + host.substr(2)).status);
    EXPECT_EQ(RULE_ERR_BAD_RULE, parse("*." + host.substr(1)).status);
}

TEST_F(UrlRuleParser, FillsItsRoomButNotMore) {
    constexpr struct {
        std::string_view rule;
        uint32_t needed;
    } ROWS[] = {
        {"a", 1}, {"http://a/", 2}, {"https://a", 6}, {"https://*.b/c*d", 12},
        {"*", 1}, {"a?x", 4},       {"a/%41", 3},     {"a./x", 3},
    };
    for (const auto& row : ROWS) {
        for (uint32_t capacity = 0; capacity < row.needed + 3; ++capacity) {
            SCOPED_TRACE(testing::Message() << row.rule << " into " << capacity);
            const ParsedRule parsed = parse(row.rule, capacity);
            EXPECT_EQ(capacity < row.needed ? RULE_ERR_BUFFER_SMALL : RULE_OK, parsed.status);
        }
    }
}

TEST_F(UrlRuleParser, LooksForRoomAfterTheLengthOfTheText) {
    EXPECT_EQ(RULE_ERR_BAD_RULE, parse(" ", 0).status);
    EXPECT_EQ(RULE_ERR_BUFFER_SMALL, parse("ftp://a", 0).status);
    EXPECT_EQ(RULE_ERR_BAD_SCHEME, parse("ftp://a", 1).status);
    EXPECT_EQ(RULE_ERR_BUFFER_SMALL, parse("https://", 4).status);
    EXPECT_EQ(RULE_ERR_BAD_RULE, parse("https://", 5).status);
}

// A literal without room is still a literal, not a domain rule with colons.
TEST_F(UrlRuleParser, AsksForRoomForALiteral) {
    EXPECT_EQ(RULE_OK, parse("[::1]", 17).status);
    EXPECT_EQ(RULE_ERR_BUFFER_SMALL, parse("[::1]", 16).status);
}

TEST_F(UrlRuleParser, RefusesNullArguments) {
    char out[16];
    uint32_t length = sizeof out;
    UrlRuleText record{};
    EXPECT_EQ(RULE_ERR_INVALID_ARG, parseUrlRule(nullptr, 1, out, &length, &record));
    EXPECT_EQ(RULE_ERR_INVALID_ARG, parseUrlRule("a", 1, nullptr, &length, &record));
    EXPECT_EQ(RULE_ERR_INVALID_ARG, parseUrlRule("a", 1, out, nullptr, &record));
    EXPECT_EQ(RULE_ERR_INVALID_ARG, parseUrlRule("a", 1, out, &length, nullptr));
    EXPECT_EQ(RULE_ERR_BAD_RULE, parseUrlRule("a", 0, out, &length, &record));
    EXPECT_EQ(16, length);
}

// Whatever a text needs, the check makes its own room; running out of that is a matter of memory.
TEST_F(UrlRuleParser, NeverAsksForRoomAsACheck) {
    bool hasRunOut = false;
    for (size_t labels = 1; labels < 1100; ++labels) {
        for (const std::string_view scheme : {"", "https://"}) {
            const std::string rule = std::string(scheme) + repeat("\xC3\xBC.", labels) + "/x";
            const int32_t status = rs_validateRule_URL(rule.data(), size32(rule));
            EXPECT_NE(RULE_ERR_BUFFER_SMALL, status) << labels;
            hasRunOut = hasRunOut || status == RULE_ERR_NO_MEMORY;
        }
    }
    EXPECT_TRUE(hasRunOut);
    EXPECT_EQ(RULE_OK, rs_validateRule_URL("example.com?q=*", 15));
    EXPECT_EQ(RULE_ERR_BAD_SCHEME, rs_validateRule_URL("ftp://a/", 8));
    EXPECT_EQ(RULE_ERR_INVALID_ARG, rs_validateRule_URL(nullptr, 1));
}

// ---- Records.

using OwnedUrlRule = Owned<UrlRule, freeUrlRule>;

OwnedUrlRule make(std::string_view rule, int32_t& status, void* userData = nullptr) {
    const ExactText text(rule);
    return OwnedUrlRule(makeUrlRule(text.data(), text.size(), {4, 5, userData}, &status));
}

TEST(MakeUrlRule, KeepsTheCanonicalTextAndWhatTheHostAttached) {
    int userData = 0;
    int32_t status = 77;
    const OwnedUrlRule rule = make(" HTTPS://A/B ", status, &userData);
    EXPECT_EQ(RULE_OK, status);
    ASSERT_NE(nullptr, rule);
    EXPECT_EQ("httpsa/b", std::string_view(rule->text, 8));
    EXPECT_EQ(rule->text, rule->rule.scheme.text);
    EXPECT_EQ(rule->text + 5, rule->rule.host.text);
    EXPECT_EQ(rule->text + 6, rule->rule.path.text);
    EXPECT_EQ(4, rule->ruleValue);
    EXPECT_EQ(5, rule->ruleId);
    EXPECT_EQ(&userData, rule->userData);
}

TEST(MakeUrlRule, GrowsItsBufferForEncodedHosts) {
    int32_t status = 77;
    const OwnedUrlRule rule = make("https://" + repeat("\xC3\xBC.", 32) + "/x", status);
    EXPECT_EQ(RULE_OK, status);
    ASSERT_NE(nullptr, rule);
    EXPECT_EQ(255, rule->rule.host.length);
}

TEST(MakeUrlRule, GrowsItsBufferForLiterals) {
    for (const std::string_view text : {"[::]", "https://[::]", "//[::]:*", "[1::]/x*y"}) {
        int32_t status = 77;
        EXPECT_NE(nullptr, make(text, status)) << text;
        EXPECT_EQ(RULE_OK, status);
    }
}

// A host of n labels of one letter needs 8n bytes; with 1024 of them that is more than the largest
// buffer, and no syntax error is found on the way.
TEST(MakeUrlRule, RunsOutOfBuffersBelow8192Bytes) {
    int32_t status = 77;
    EXPECT_EQ(nullptr, make(repeat("\xC3\xBC.", 1023), status));
    EXPECT_EQ(RULE_ERR_BAD_RULE, status);
    EXPECT_EQ(nullptr, make(repeat("\xC3\xBC.", 1024), status));
    EXPECT_EQ(RULE_ERR_NO_MEMORY, status);
}

TEST(MakeUrlRule, ReportsBadTexts) {
    int32_t status = 77;
    EXPECT_EQ(nullptr, make("ftp://a", status));
    EXPECT_EQ(RULE_ERR_BAD_SCHEME, status);
    EXPECT_EQ(nullptr, make("/x", status));
    EXPECT_EQ(RULE_ERR_BAD_RULE, status);
}

TEST(MakeUrlRule, FreesNothingForNull) {
    freeUrlRule(nullptr);
}

}  // namespace

}  // namespace rs::test
