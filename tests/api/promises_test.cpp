// Sentences of the public header and of the documents that surprise, each seen to hold through the
// shared library.
#include <ruleset.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "support/release_recorder.h"
#include "support/rule_builder.h"
#include "support/text.h"

namespace rs::test {

namespace {

int32_t addTo(int32_t type, std::string_view rule) {
    return addExactRule(*newRuleSet(type), rule);
}

using Validate = int32_t (*)(const char* text, uint32_t length);

int32_t validateBy(Validate validate, std::string_view rule) {
    const ExactText text(rule);
    return validate(text.data(), text.size());
}

// ---- Adding and validating.

TEST(PromisedAdding, AnswersBadSchemeForUrlRulesOnly) {
    EXPECT_EQ(RULE_ERR_BAD_SCHEME, addTo(RULE_TYPE_URL, "ftp://a.test/"));
    for (const int32_t type : {RULE_TYPE_IP, RULE_TYPE_FQDN, RULE_TYPE_IP_ALT, RULE_TYPE_IP_PORT,
                               RULE_TYPE_PACKET_FILTER, RULE_TYPE_COMPOUND}) {
        EXPECT_EQ(RULE_ERR_BAD_RULE, addTo(type, "ftp://a.test/")) << type;
    }
}

// An encoded label "xn--tda." has 8 bytes. Where the limit lies depends on the length of the text.
TEST(PromisedAdding, HasRoomForTheLargestBufferBelow8192Bytes) {
    // 3,060 bytes of labels make 8,160, the rest is taken as it is written.
    const struct {
        uint32_t rest;
        int32_t status;
    } rows[] = {
        {11, RULE_ERR_BAD_RULE},   // 3,071 and 8,171 bytes: 8,191 are the largest
        {12, RULE_ERR_BAD_RULE},   // 3,072 and 8,172: 8,176
        {27, RULE_ERR_BAD_RULE},   // 3,087 and 8,187: 8,191
        {28, RULE_ERR_NO_MEMORY},  // 3,088 and 8,188: 8,176
    };
    for (const auto& row : rows) {
        const std::string name = repeat("\xC3\xBC.", 1020) + std::string(row.rest, 'a');
        EXPECT_EQ(row.status, addTo(RULE_TYPE_FQDN, name)) << row.rest;
    }
    // A longer text has room for as much as it has.
    EXPECT_EQ(RULE_ERR_BAD_RULE, addTo(RULE_TYPE_FQDN, repeat("a.", 9000)));
    EXPECT_EQ(RULE_ERR_NO_MEMORY, addTo(RULE_TYPE_FQDN, repeat("\xC3\xBC.", 3000)));
}

TEST(PromisedValidators, HaveRoomFor4095Bytes) {
    const std::string name = repeat("\xC3\xBC.", 1000);
    EXPECT_EQ(RULE_ERR_NO_MEMORY, validateBy(rs_validateRule_FQDN, name));
    EXPECT_EQ(RULE_ERR_BAD_RULE, addTo(RULE_TYPE_FQDN, name));
    EXPECT_EQ(RULE_ERR_NO_MEMORY, validateBy(rs_validateRule_URL, name));
    EXPECT_EQ(RULE_ERR_BAD_RULE, addTo(RULE_TYPE_URL, name));
    // The canonical form of the literal has 12 bytes more than the text.
    const std::string url = "[::1]/" + std::string(4077, 'p');
    EXPECT_EQ(RULE_OK, validateBy(rs_validateRule_URL, url));
    EXPECT_EQ(RULE_ERR_NO_MEMORY, validateBy(rs_validateRule_URL, url + 'p'));
    EXPECT_EQ(RULE_OK, addTo(RULE_TYPE_URL, url + 'p'));
}

// ---- Building and deleting.

// A callback that throws would have to pass these.
static_assert(noexcept(rs_buildRuleGroup(nullptr, nullptr)));
static_assert(noexcept(rs_delRuleGroup(nullptr)));

TEST(PromisedBuild, HandsASuperfluousDomainRuleBackEachTimeAndAStarNever) {
    int userData[5] = {};
    ReleaseRecorder recorder;
    const RuleSetHandle set = makeDomainRuleSet({{"*", 0, &userData[0]},
                                                 {"a.test", 0, &userData[1]},
                                                 {"A.test.", 0, &userData[2]},
                                                 {"*", 0, &userData[3]},
                                                 {"b.test", 0, &userData[4]}});
    recorder.registerOn(*set);
    for (size_t build = 1; build <= 3; ++build) {
        RuleGroupHandle group = buildRuleGroup(*set);
        EXPECT_EQ(build, recorder.countOf(&userData[2]));
        group.reset();
        EXPECT_EQ(build, recorder.countOf(&userData[1]));
        EXPECT_EQ(build, recorder.countOf(&userData[4]));
    }
    EXPECT_EQ(0U, recorder.countOf(&userData[0]));
    EXPECT_EQ(0U, recorder.countOf(&userData[3]));
}

// The statuses by which parts of a build tell each other of equal rules and elements.
TEST(PromisedBuild, NeverReturnsTheInternalStatuses) {
    constexpr struct {
        int32_t type;
        std::string_view rule;
    } ROWS[] = {
        {RULE_TYPE_IP, "10.0.0.1"},
        {RULE_TYPE_IP, "10.0.0.0/8"},
        {RULE_TYPE_IP_ALT, "2001:db8::1"},
        {RULE_TYPE_IP_ALT, "2001:db8::/32"},
        {RULE_TYPE_FQDN, "a.test"},
        {RULE_TYPE_FQDN, "*.a.test"},
        {RULE_TYPE_FQDN, "*"},
        {RULE_TYPE_URL, "a.test/x"},
        {RULE_TYPE_URL, "*"},
        {RULE_TYPE_PACKET_FILTER, "tcp;10.0.0.1;80;10.0.0.1;80"},
        {RULE_TYPE_IP_PORT, "10.0.0.1;80;10.0.0.1;80;1"},
        {RULE_TYPE_COMPOUND, "1;1;10.0.0.1;80;0;0"},
    };
    for (const auto& row : ROWS) {
        SCOPED_TRACE(row.rule);
        const RuleSetHandle set = makeRuleSet(row.type, {{row.rule}, {row.rule}, {row.rule}});
        for (int build = 0; build < 2; ++build) {
            RuleGroup* group = nullptr;
            EXPECT_EQ(RULE_OK, rs_buildRuleGroup(set.get(), &group));
            EXPECT_EQ(RULE_OK, rs_delRuleGroup(&group));
        }
    }
}

// ---- Names and URLs to be looked up.

int32_t statusOfName(const RuleGroup& group, std::string_view name) {
    const ExactText text(name);
    MatchResult result{};
    return rs_matchDomainNameWithRuleGroup(&group, text.data(), text.size(), &result);
}

int32_t statusOfUrl(const RuleGroup& group, std::string_view url) {
    const ExactText text(url);
    MatchResult result{};
    return rs_matchUrlWithRuleGroup(&group, text.data(), text.size(), &result);
}

TEST(PromisedLookup, OfANameHasRoomForTheLargestBufferBelow8192Bytes) {
    const RuleGroupHandle group = makeDomainGroup({{"*"}});
    // As in PromisedAdding: 8,160 bytes and the rest.
    for (const uint32_t rest : {11U, 12U, 27U}) {
        EXPECT_EQ(1, statusOfName(*group, repeat("\xC3\xBC.", 1020) + std::string(rest, 'a')));
    }
    EXPECT_EQ(RULE_ERR_BUFFER_SMALL,
              statusOfName(*group, repeat("\xC3\xBC.", 1020) + std::string(28, 'a')));
    // A longer name has room for 16 bytes more than it has.
    const std::string longName = repeat("a.", 9000);
    EXPECT_EQ(1, statusOfName(*group, longName + repeat("\xC3\xBC.", 3) + 'a'));
    EXPECT_EQ(RULE_ERR_BUFFER_SMALL, statusOfName(*group, longName + repeat("\xC3\xBC.", 4) + 'a'));
}

TEST(PromisedLookup, OfAUrlHasRoomFor4096BytesWithItsUserInformation) {
    const RuleGroupHandle group = makeUrlGroup({{"*:*"}});
    const std::string user = std::string(3000, 'u') + '@';
    EXPECT_EQ(1, statusOfUrl(*group, "http://" + user + "a.test:81/" + std::string(1078, 'p')));
    EXPECT_EQ(RULE_ERR_BUFFER_SMALL,
              statusOfUrl(*group, "http://" + user + "a.test:81/" + std::string(1079, 'p')));
}

// The canonical form of the literal has 17 bytes, which go after scheme and user information.
TEST(PromisedLookup, OfALiteralWithoutRoomMissesWithoutAStatus) {
    const RuleGroupHandle group = makeUrlGroup({{"[::1]"}, {"[::]"}});
    const auto userOf = [](size_t length) { return std::string(length - 1, 'u') + '@'; };
    constexpr std::string_view LITERAL = "[::1]";
    const struct {
        std::string url;
        int32_t status;
    } rows[] = {
        {userOf(4079).append(LITERAL), 1},
        {userOf(4080).append(LITERAL), 0},
        {userOf(4088).append(LITERAL), 0},
        {userOf(4091).append(LITERAL), 0},
        {userOf(4092).append(LITERAL), RULE_ERR_BUFFER_SMALL},
        {("http://" + userOf(4072)).append(LITERAL), 1},
        {("http://" + userOf(4073)).append(LITERAL), 0},
        // No URL of 4,083 bytes or less is missed, but for the shortest of all.
        {userOf(4079).append("[::]"), 1},
        {userOf(4080).append("[::]"), 0},
        {"[::]", 0},
        {"[::1]", 1},
        {"//[::]", 1},
        {"[::]/", 1},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(row.status, statusOfUrl(*group, row.url)) << row.url.size();
    }
    // The longest canonical form that is longer than what is written has 38 bytes.
    constexpr std::string_view LONGEST = "[1111:2222:3333:4444:5555:6666::8888]";
    const RuleGroupHandle longest = makeUrlGroup({{LONGEST}});
    EXPECT_EQ(1, statusOfUrl(*longest, userOf(4058).append(LONGEST)));
    EXPECT_EQ(0, statusOfUrl(*longest, userOf(4059).append(LONGEST)));
}

// ---- User information and blanks in URLs.

struct Normalized {
    int32_t status;
    std::string host;
};

Normalized normalize(std::string_view url) {
    char scheme[16];
    char host[255];
    char path[64];
    NormalizedUrl record{scheme, sizeof scheme, host, sizeof host, path, sizeof path, 0, 0, 0};
    const ExactText text(url);
    const int32_t status = rs_normalize_URL(text.data(), text.size(), &record);
    return {status, status == RULE_OK ? std::string(record.host, record.hostLength) : ""};
}

TEST(PromisedUserInformation, MayHoldAColonIfAPortOrALiteralFollows) {
    constexpr struct {
        std::string_view url;
        int32_t ruleStatus;
        int32_t normalizeStatus;
    } ROWS[] = {
        {"u@a.test/x", RULE_OK, RULE_OK},
        {"http://u@a.test", RULE_OK, RULE_OK},
        {"u:p@a.test/x", RULE_ERR_BAD_RULE, RULE_ERR_BAD_RULE},
        {"u:80@a.test/x", RULE_ERR_BAD_RULE, RULE_ERR_BAD_RULE},
        {"u:@a.test/x", RULE_ERR_BAD_RULE, RULE_ERR_BAD_RULE},
        {"//u:p@a.test", RULE_ERR_BAD_RULE, RULE_ERR_BAD_RULE},
        {"http://u:p@a.test/", RULE_ERR_BAD_RULE, RULE_ERR_BAD_RULE},
        {"u:p@a.test:80/x", RULE_OK, RULE_OK},
        {"http://u:p@a.test:80", RULE_OK, RULE_OK},
        {"u:p@[::1]/x", RULE_OK, RULE_OK},
        {"http://u:p@[::1]:80/", RULE_OK, RULE_OK},
        // ":*" is for rules.
        {"u:p@a.test:*", RULE_OK, RULE_ERR_BAD_RULE},
        {"http://a.test:*", RULE_OK, RULE_ERR_BAD_RULE},
    };
    for (const auto& row : ROWS) {
        SCOPED_TRACE(row.url);
        EXPECT_EQ(row.ruleStatus, validateBy(rs_validateRule_URL, row.url));
        EXPECT_EQ(row.ruleStatus, addTo(RULE_TYPE_URL, row.url));
        EXPECT_EQ(row.normalizeStatus, normalize(row.url).status);
    }
    // A lookup takes each of them.
    const RuleGroupHandle group = makeUrlGroup({{"a.test"}});
    for (const std::string_view url : {"u@a.test", "u:p@a.test/x", "//u:80@a.test", "u:@a.test"}) {
        EXPECT_EQ(1, statusOfUrl(*group, url)) << url;
    }
}

TEST(PromisedBlanks, AroundAHostAreDroppedByRulesOnly) {
    for (const std::string_view rule :
         {"a.test /x", "http:// a.test/x", "http://\ta.test /x", "a.test :80/x"}) {
        SCOPED_TRACE(rule);
        const RuleGroupHandle group = makeUrlGroup({{rule}});
        EXPECT_EQ(1, statusOfUrl(*group, "a.test/x"));
        EXPECT_EQ(0, statusOfUrl(*group, rule));
    }
    EXPECT_EQ("a.test ", normalize("a.test /x").host);
    EXPECT_EQ(" a.test", normalize("http:// a.test/x").host);
    EXPECT_EQ("a.test", normalize(" a.test/x ").host);
}

TEST(PromisedNormalizing, MayWriteOutputsBeforeItFails) {
    char scheme[16];
    char host[255];
    NormalizedUrl record{scheme, sizeof scheme, host, sizeof host, nullptr, 0, 77, 0, 0};
    EXPECT_EQ(RULE_ERR_BAD_RULE, rs_normalize_URL("HTTP://a..b:80/", 15, &record));
    EXPECT_EQ("http", std::string_view(scheme, record.schemeLength));
    EXPECT_EQ(80, record.port);
    record.schemeLength = sizeof scheme;
    EXPECT_EQ(RULE_ERR_INVALID_ARG, rs_normalize_URL("HTTP://A/", 9, &record));
    EXPECT_EQ("a", std::string_view(host, record.hostLength));
}

// ---- Rules that cover more or less than they seem to.

TEST(PromisedHosts, HaveRoomFor255BytesWithTheirWildcard) {
    const std::string name = repeat("abc.", 63) + "abc";
    ASSERT_EQ(255U, name.size());
    for (const int32_t type : {RULE_TYPE_FQDN, RULE_TYPE_URL}) {
        EXPECT_EQ(RULE_OK, addTo(type, name));
        EXPECT_EQ(RULE_OK, addTo(type, "*." + name.substr(2)));
        EXPECT_EQ(RULE_ERR_BAD_RULE, addTo(type, "*." + name.substr(1)));
    }
}

TEST(PromisedHosts, MayHaveNoNameThatMatches) {
    int userData = 0;
    ReleaseRecorder recorder;
    for (const std::string_view rule : {"a%2e%2eb", "%2ea", "*.%2e", "*.a%2e%2eb"}) {
        SCOPED_TRACE(rule);
        EXPECT_EQ(RULE_OK, validateBy(rs_validateRule_FQDN, rule));
        const RuleSetHandle set = makeDomainRuleSet({{rule, 0, &userData}});
        recorder.registerOn(*set);
        const RuleGroupHandle group = buildRuleGroup(*set);
        for (const std::string_view name : {"a.b", "a", "ab", "x.a", "x.a.b"}) {
            EXPECT_EQ(0, statusOfName(*group, name)) << name;
        }
        for (const std::string_view name : {"a..b", "a%2e%2eb", ".a", "x..", "x.%2e", "x.a..b"}) {
            EXPECT_EQ(RULE_ERR_INVALID_ARG, statusOfName(*group, name)) << name;
        }
    }
    const RuleSetHandle urlSet = makeUrlRuleSet({{"*.%2e", 0, &userData}});
    recorder.registerOn(*urlSet);
    RuleGroupHandle urls = buildRuleGroup(*urlSet);
    for (const std::string_view url : {"http://a/", "http://a./", "http://a../", "http://./"}) {
        EXPECT_EQ(0, statusOfUrl(*urls, url)) << url;
    }
    urls.reset();
    EXPECT_TRUE(recorder.order().empty()) << "what was left out stays the caller's";
    EXPECT_EQ(1, statusOfUrl(*makeUrlGroup({{"a%2e%2eb"}}), "http://a..b/"));
}

TEST(PromisedUrlRules, ForEveryHostHaveASchemeForItsPortOnly) {
    const RuleGroupHandle anyPort = makeUrlGroup({{"https://*:*/x"}});
    for (const std::string_view url :
         {"http://a/x", "a/x", "https://a/x", "https://a:8443/x", "ftp://a/x"}) {
        EXPECT_EQ(1, statusOfUrl(*anyPort, url)) << url;
    }
    const RuleGroupHandle https = makeUrlGroup({{"https://*/x"}});
    EXPECT_EQ(1, statusOfUrl(*https, "https://a/x"));
    EXPECT_EQ(1, statusOfUrl(*https, "http://a:443/x"));
    EXPECT_EQ(0, statusOfUrl(*https, "http://a/x"));
}

// From 16 long paths of a host on.
TEST(PromisedUrlRules, OfACrowdedHostMissHttpsWithoutAPort) {
    const RuleSetHandle set = newRuleSet(RULE_TYPE_URL);
    for (uint32_t i = 10; i < 26; ++i) {
        EXPECT_EQ(RULE_OK, addExactRule(*set, "https://h.test/page" + std::to_string(i)));
        EXPECT_EQ(RULE_OK, addExactRule(*set, "https://any.test:*/page" + std::to_string(i)));
    }
    const RuleGroupHandle group = buildRuleGroup(*set);
    EXPECT_EQ(0, statusOfUrl(*group, "https://h.test/page10"));
    EXPECT_EQ(1, statusOfUrl(*group, "https://h.test:443/page10"));
    EXPECT_EQ(1, statusOfUrl(*group, "https://any.test/page10"));
    // A plain path is a plain prefix there.
    EXPECT_EQ(1, statusOfUrl(*group, "https://any.test/page10b"));
}

TEST(PromisedLength, OfARuleIs4095BytesInFourTypes) {
    const auto filled = [](std::string_view before, std::string_view filling,
                           std::string_view after, size_t length) {
        std::string rule(before);
        rule += repeat(filling, (length - before.size() - after.size()) / filling.size());
        rule += after;
        return rule;
    };
    const struct {
        int32_t type;
        std::string_view before;
        std::string_view filling;
        std::string_view after;
    } rows[] = {
        {RULE_TYPE_URL, "a.test/", "p", ""},
        {RULE_TYPE_PACKET_FILTER, "tcp;10.0.0.1;80;10.0.0.1;", "8,", "80"},
        {RULE_TYPE_IP_PORT, "10.0.0.1;8;10.0.0.1;", "8,", "8;1"},
        {RULE_TYPE_COMPOUND, "", "0", "1;1;*;1;0;0"},
    };
    for (const auto& row : rows) {
        const std::string rule = filled(row.before, row.filling, row.after, 4095);
        EXPECT_EQ(4095U, rule.size()) << row.type;
        EXPECT_EQ(RULE_OK, addTo(row.type, ' ' + rule + '\n')) << row.type;
        const std::string longer = filled(row.before, row.filling, row.after, 4097);
        EXPECT_EQ(RULE_ERR_BAD_RULE, addTo(row.type, longer)) << row.type;
    }
    EXPECT_EQ(RULE_OK, addTo(RULE_TYPE_FQDN, repeat("%61", 60) + std::string(5000, ' ')));
}

}  // namespace

}  // namespace rs::test
