// URL rules and the URL normalizer through the shared library.
#include <ruleset.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "support/release_recorder.h"
#include "support/rule_builder.h"
#include "support/rule_handles.h"
#include "support/text.h"
#include "support/winner.h"

namespace rs::test {

namespace {

int32_t match(const RuleGroup& group, std::string_view url, MatchResult& result) {
    const ExactText text(url);
    return rs_matchUrlWithRuleGroup(&group, text.data(), text.size(), &result);
}

uint32_t winnerOf(const RuleGroup& group, std::string_view url) {
    return winnerOfText(rs_matchUrlWithRuleGroup, group, url);
}

int32_t validate(std::string_view rule) {
    const ExactText text(rule);
    return rs_validateRule_URL(text.data(), text.size());
}

// ---- Matching.

TEST(UrlMatchApi, ReportsTheWinningRule) {
    int userData = 0;
    const RuleGroupHandle group = makeUrlGroup({{"*.example.com/x", 4}, {"*", 5, &userData}});
    MatchResult result = UNTOUCHED;
    ASSERT_EQ(1, match(*group, "http://web.example.com/X?y", result));
    EXPECT_EQ(1, result.ruleIndex);
    EXPECT_EQ(4, result.ruleValue);
    EXPECT_EQ(ruleIdAt(1), result.ruleId);
    EXPECT_EQ(nullptr, result.userData);
    ASSERT_EQ(1, match(*group, "http://example.com/x", result));
    EXPECT_EQ(2, result.ruleIndex);
    EXPECT_EQ(5, result.ruleValue);
    EXPECT_EQ(ruleIdAt(2), result.ruleId);
    EXPECT_EQ(&userData, result.userData);
}

TEST(UrlMatchApi, TestsSchemeHostPortAndPath) {
    const RuleGroupHandle group = makeUrlGroup(
        {{"a.test/x"}, {"https://a.test/"}, {"a.test:8080/"}, {"b.test/a*b"}, {"https://*/any"}});
    constexpr struct {
        std::string_view url;
        uint32_t winner;
    } ROWS[] = {
        {"http://a.test/x", 1},
        {"a.test/x/y", 1},
        {"a.test/xy", 0},
        {"https://a.test/x", 2},
        {"https://a.test:8443/", 0},
        {"a.test:8080/z", 3},
        {"b.test/a/cb/d", 4},
        {"b.test/ab", 4},
        {"b.test/ac", 0},
        {"https://any.test/any", 5},
        {"http://any.test/any", 0},
        {"http://any.test:443/any", 5},
    };
    for (const auto& row : ROWS) {
        EXPECT_EQ(row.winner, winnerOf(*group, row.url)) << row.url;
    }
}

TEST(UrlMatchApi, FindsNothingInAnEmptyGroup) {
    const RuleGroupHandle group = makeUrlGroup({});
    ASSERT_NE(nullptr, group);
    for (const std::string_view url : {"a", "http://a/b", "/x", "[::1]", "https://*/"}) {
        EXPECT_EQ(0, winnerOf(*group, url)) << url;
    }
}

TEST(UrlMatchApi, ChecksItsArguments) {
    const RuleGroupHandle group = makeUrlGroup({{"*"}});
    const RuleGroupHandle otherType = makeIpGroup({{"10.0.0.1"}});
    MatchResult result = UNTOUCHED;
    EXPECT_EQ(RULE_ERR_INVALID_ARG, rs_matchUrlWithRuleGroup(nullptr, "a", 1, &result));
    EXPECT_EQ(RULE_ERR_INVALID_ARG, rs_matchUrlWithRuleGroup(group.get(), nullptr, 1, &result));
    EXPECT_EQ(RULE_ERR_INVALID_ARG, rs_matchUrlWithRuleGroup(group.get(), "a", 0, &result));
    EXPECT_EQ(RULE_ERR_INVALID_ARG, rs_matchUrlWithRuleGroup(group.get(), "a", 1, nullptr));
    EXPECT_EQ(RULE_ERR_INVALID_ARG, rs_matchUrlWithRuleGroup(otherType.get(), "a", 1, &result));
    EXPECT_EQ(UNTOUCHED, result);
}

TEST(UrlMatchApi, RefusesUrlsThatNameNothing) {
    const RuleGroupHandle group = makeUrlGroup({{"*:*"}});
    for (const std::string_view url :
         {"http://", "http:///x", "//", "///x", ":80", ":80/x", "u@"}) {
        MatchResult result = UNTOUCHED;
        EXPECT_EQ(RULE_ERR_BAD_RULE, match(*group, url, result)) << url;
        EXPECT_EQ(UNTOUCHED, result);
    }
    // A colon without a port is no error, be it of a password.
    EXPECT_EQ(1, winnerOf(*group, "http://u:p@h/"));
    EXPECT_EQ(1, winnerOf(*group, "http://h:0/"));
}

TEST(UrlMatchApi, RefusesUrlsWhoseCanonicalFormExceeds4096Bytes) {
    const RuleGroupHandle group = makeUrlGroup({{"*"}});
    MatchResult result = UNTOUCHED;
    EXPECT_EQ(1, winnerOf(*group, "a/" + std::string(4094, 'x')));
    EXPECT_EQ(RULE_ERR_BUFFER_SMALL, match(*group, "a/" + std::string(4095, 'x'), result));
    EXPECT_EQ(UNTOUCHED, result);
    EXPECT_EQ(1, winnerOf(*group, "a/" + repeat("%78", 4094)));
    EXPECT_EQ(RULE_ERR_BUFFER_SMALL, match(*group, std::string(5000, 'a'), result));
}

TEST(UrlMatchApi, FindsLiterals) {
    const RuleGroupHandle group = makeUrlGroup({{"http://[2001:DB8::1]/"}, {"[::ffff:1.2.3.4]"}});
    EXPECT_EQ(1, winnerOf(*group, "http://[2001:db8:0::0:1]/x"));
    EXPECT_EQ(2, winnerOf(*group, "1.2.3.4"));
}

TEST(UrlMatchApi, MatchesListsAndBlocksOfPathsEachInItsWay) {
    for (const uint32_t longPaths : {15U, 16U}) {
        RuleSetHandle set = newRuleSet(RULE_TYPE_URL);
        for (uint32_t i = 0; i < longPaths; ++i) {
            ASSERT_EQ(RULE_OK,
                      addExactRule(*set, "https://a.test:*/path" + std::to_string(10 + i)));
            ASSERT_EQ(RULE_OK, addExactRule(*set, "https://b.test/path" + std::to_string(10 + i)));
        }
        const RuleGroupHandle group = buildRuleGroup(*set);
        const bool isBlock = longPaths == 16;
        EXPECT_EQ(1, winnerOf(*group, "https://a.test/path10/x"));
        EXPECT_EQ(isBlock ? 1 : 0, winnerOf(*group, "https://a.test/path10x"));
        EXPECT_EQ(isBlock ? 0 : 2, winnerOf(*group, "https://b.test/path10"));
        EXPECT_EQ(2, winnerOf(*group, "https://b.test:443/path10"));
    }
}

// ---- Rules.

TEST(UrlRuleApi, AnswersAddingAndValidatingAlike) {
    const struct {
        std::string rule;
        int32_t status;
    } rows[] = {
        {"HTTP://WEB.Example.com/Index.HTML", RULE_OK},
        {"https://example.com", RULE_OK},
        {"//example.com", RULE_OK},
        {"example.com:*/a*b", RULE_OK},
        {"*.example.com:8080/", RULE_OK},
        {"*", RULE_OK},
        {"example.com?q=*", RULE_OK},
        {"http://[2001:db8::1]:8080/x", RULE_OK},
        {" \ta\r\n", RULE_OK},
        {"u:p@h:80", RULE_OK},
        // Schemes.
        {"ftp://a/", RULE_ERR_BAD_SCHEME},
        {"httpx://a/", RULE_ERR_BAD_SCHEME},
        {"://a/", RULE_ERR_BAD_RULE},
        // Ports.
        {"example.com:x", RULE_ERR_BAD_RULE},
        {"example.com:0", RULE_ERR_BAD_RULE},
        {"example.com:08", RULE_ERR_BAD_RULE},
        {"example.com:65535", RULE_OK},
        {"example.com:65536", RULE_ERR_BAD_RULE},
        {"http://u:p@h/", RULE_ERR_BAD_RULE},
        // Hosts.
        {"/a/b*c*", RULE_ERR_BAD_RULE},
        {"http:///x", RULE_ERR_BAD_RULE},
        {"a..b", RULE_ERR_BAD_RULE},
        {"a.*.b", RULE_ERR_BAD_RULE},
        {"[::g]", RULE_ERR_BAD_RULE},
        {repeat("abc.", 63) + "abc/", RULE_OK},
        {repeat("abc.", 63) + "abcd/", RULE_ERR_BAD_RULE},
        // Paths.
        {"a/b*c*", RULE_ERR_BAD_RULE},
        {"a/%2a*", RULE_OK},
        // Lengths.
        {"", RULE_ERR_BAD_RULE},
        {" \t", RULE_ERR_BAD_RULE},
        {"a/" + std::string(4093, 'x'), RULE_OK},
        {"a/" + std::string(4094, 'x'), RULE_ERR_BAD_RULE},
        {std::string(9000, ' ') + "a/" + std::string(4093, 'x'), RULE_OK},
    };
    const RuleSetHandle set = newRuleSet(RULE_TYPE_URL);
    for (const auto& row : rows) {
        EXPECT_EQ(row.status, validate(row.rule)) << row.rule;
        EXPECT_EQ(row.status, addExactRule(*set, row.rule)) << row.rule;
    }
}

TEST(UrlRuleApi, ReportsNoMemoryForAFormThatFitsInNoBuffer) {
    const RuleSetHandle set = newRuleSet(RULE_TYPE_URL);
    // A query without path has a byte more than its text.
    const std::string fits = "a?" + std::string(4092, 'x');
    EXPECT_EQ(RULE_OK, validate(fits));
    EXPECT_EQ(RULE_ERR_NO_MEMORY, validate(fits + 'x'));
    EXPECT_EQ(RULE_OK, addExactRule(*set, fits + 'x'));
    // 8 bytes for each encoded label.
    EXPECT_EQ(RULE_ERR_BAD_RULE, validate(repeat("\xC3\xBC.", 511)));
    EXPECT_EQ(RULE_ERR_NO_MEMORY, validate(repeat("\xC3\xBC.", 512)));
    EXPECT_EQ(RULE_ERR_BAD_RULE, addExactRule(*set, repeat("\xC3\xBC.", 1023)));
    EXPECT_EQ(RULE_ERR_NO_MEMORY, addExactRule(*set, repeat("\xC3\xBC.", 1024)));
}

TEST(UrlRuleApi, ChecksItsArguments) {
    EXPECT_EQ(RULE_ERR_INVALID_ARG, rs_validateRule_URL(nullptr, 1));
    EXPECT_EQ(RULE_ERR_INVALID_ARG, rs_validateRule_URL(nullptr, 0));
    EXPECT_EQ(RULE_ERR_BAD_RULE, rs_validateRule_URL("a", 0));
    const RuleSetHandle set = newRuleSet(RULE_TYPE_URL);
    EXPECT_EQ(RULE_ERR_INVALID_ARG, rs_addRuleToRuleSet(set.get(), nullptr, 1, 0, 1));
    EXPECT_EQ(RULE_ERR_INVALID_ARG, rs_addRuleToRuleSet(set.get(), "a", 1, 0, 0));
    EXPECT_EQ(RULE_ERR_BAD_RULE, rs_addRuleToRuleSet(set.get(), "a", 0, 0, 1));
}

TEST(UrlUserDataApi, ComesBackForEveryRuleWithTheGroup) {
    char userData[3];
    ReleaseRecorder recorder;
    RuleSetHandle set = makeUrlRuleSet(
        {{"a.com", 0, &userData[0]}, {"A.com", 0, &userData[1]}, {"*", 0, &userData[2]}});
    recorder.registerOn(*set);
    RuleGroupHandle group = buildRuleGroup(*set);
    set.reset();
    EXPECT_TRUE(recorder.order().empty());
    group.reset();
    EXPECT_EQ(3, recorder.order().size());
    for (const char& data : userData) {
        EXPECT_EQ(1, recorder.countOf(&data));
    }
}

// ---- The normalizer.

// A record with buffers of exactly their capacities.
class Record {
public:
    explicit Record(uint32_t scheme = 64, uint32_t host = 255, uint32_t path = 4096)
        : scheme_(std::make_unique<char[]>(scheme)),
          host_(std::make_unique<char[]>(host)),
          path_(std::make_unique<char[]>(path)),
          url_{scheme_.get(), scheme, host_.get(), host, path_.get(), path, 77, 0, 0} {}

    int32_t normalize(std::string_view url) {
        const ExactText text(url);
        return rs_normalize_URL(text.data(), text.size(), &url_);
    }

    std::string_view scheme() const { return {url_.scheme, url_.schemeLength}; }
    std::string_view host() const { return {url_.host, url_.hostLength}; }
    std::string_view path() const { return {url_.path, url_.pathLength}; }
    NormalizedUrl& url() { return url_; }

private:
    std::unique_ptr<char[]> scheme_;
    std::unique_ptr<char[]> host_;
    std::unique_ptr<char[]> path_;
    NormalizedUrl url_;
};

TEST(NormalizeUrlApi, WritesTheCanonicalFields) {
    constexpr struct {
        std::string_view text;
        std::string_view scheme;
        std::string_view host;
        uint16_t port;
        std::string_view path;
    } ROWS[] = {
        {"  HTTP://User:Pw@WEB.Example.COM:8080/A%41?X+Y#Z+W  ", "http", "web.example.com", 8080,
         "/aa?x y#z+w"},
        {"example.com", "", "example.com", 0, "/"},
        {"example.com?x", "", "example.com", 0, "/?x"},
        {"http://a:65535/", "http", "a", 65535, "/"},
        {"http://[::FFFF:1.2.3.4]/", "http", "1.2.3.4", 0, "/"},
        {"http://[2001:DB8::1]/", "http", "[2001:db8:0:0:0:0:0:1]", 0, "/"},
        {"//example.com/x", "", "example.com", 0, "/x"},
        {"mailto://", "mailto", "", 0, ""},
        {"file:///etc/x", "file", "", 0, "/etc/x"},
        {"http://h/a/./b/../c", "http", "h", 0, "/a/./b/../c"},
        {"/x", "", "", 0, "/x"},
    };
    for (const auto& row : ROWS) {
        SCOPED_TRACE(row.text);
        Record record;
        EXPECT_EQ(RULE_OK, record.normalize(row.text));
        EXPECT_EQ(row.scheme, record.scheme());
        EXPECT_EQ(row.host, record.host());
        EXPECT_EQ(row.port, record.url().port);
        EXPECT_EQ(row.path, record.path());
    }
}

TEST(NormalizeUrlApi, RefusesBadUrls) {
    for (const std::string_view text :
         {" ", "//", "http:///x", "///x", "http://a:0/", "http://a:08/", "http://a:65536/",
          "http://a:/", "http://u:p@h/", "http://a..b/", "http://[::g]/", "://a", "u@", ":80"}) {
        Record record;
        EXPECT_EQ(RULE_ERR_BAD_RULE, record.normalize(text)) << text;
    }
}

TEST(NormalizeUrlApi, KeepsThePathCaseWhenAsked) {
    Record record;
    record.url().keepPathCase = 1;
    EXPECT_EQ(RULE_OK, record.normalize("HTTP://H/A%41?X+Y"));
    EXPECT_EQ("http", record.scheme());
    EXPECT_EQ("h", record.host());
    EXPECT_EQ("/AA?X Y", record.path());
}

TEST(NormalizeUrlApi, NamesTheFieldThatIsTooSmall) {
    constexpr std::string_view URL = "http://Web.Com/Path";
    EXPECT_EQ(RULE_OK, Record(4, 7, 5).normalize(URL));
    constexpr struct {
        uint32_t scheme;
        uint32_t host;
        uint32_t path;
        uint8_t shortField;
    } ROWS[] = {{3, 7, 5, 1}, {4, 6, 5, 2}, {4, 7, 4, 3}, {0, 0, 0, 1}, {4, 0, 0, 2}, {4, 7, 0, 3}};
    for (const auto& row : ROWS) {
        Record record(row.scheme, row.host, row.path);
        EXPECT_EQ(RULE_ERR_BUFFER_SMALL, record.normalize(URL));
        EXPECT_EQ(row.shortField, record.url().shortField);
    }
}

TEST(NormalizeUrlApi, ChecksItsArguments) {
    NormalizedUrl empty{};
    EXPECT_EQ(RULE_ERR_INVALID_ARG, rs_normalize_URL(nullptr, 1, &empty));
    EXPECT_EQ(RULE_ERR_INVALID_ARG, rs_normalize_URL("a", 0, &empty));
    EXPECT_EQ(RULE_ERR_INVALID_ARG, rs_normalize_URL("a", 1, nullptr));
    for (const size_t missing : {size_t{0}, size_t{1}, size_t{2}}) {
        Record record;
        (missing == 0   ? record.url().scheme
         : missing == 1 ? record.url().host
                        : record.url().path) = nullptr;
        EXPECT_EQ(RULE_ERR_INVALID_ARG, record.normalize("http://a/x")) << missing;
    }
    // What a URL does not have needs no buffer.
    EXPECT_EQ(RULE_ERR_BAD_RULE, rs_normalize_URL(" ", 1, &empty));
}

TEST(NormalizeUrlApi, HasAFixedLayout) {
    static_assert(offsetof(NormalizedUrl, scheme) == 0);
    static_assert(offsetof(NormalizedUrl, schemeLength) == 8);
    static_assert(offsetof(NormalizedUrl, host) == 16);
    static_assert(offsetof(NormalizedUrl, hostLength) == 24);
    static_assert(offsetof(NormalizedUrl, path) == 32);
    static_assert(offsetof(NormalizedUrl, pathLength) == 40);
    static_assert(offsetof(NormalizedUrl, port) == 44);
    static_assert(offsetof(NormalizedUrl, keepPathCase) == 46);
    static_assert(offsetof(NormalizedUrl, shortField) == 47);
    static_assert(sizeof(NormalizedUrl) == 48);
    SUCCEED();
}

}  // namespace

}  // namespace rs::test
