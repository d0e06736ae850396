#include "domain/domain_rule.h"

#include <ruleset.h>

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "support/host_names.h"
#include "support/text.h"

namespace rs::test {

namespace {

constexpr uint32_t ROOMY = 1024;

// A status, and the canonical text and flags of RULE_OK.
struct ParsedRule {
    int32_t status;
    std::string text;
    uint32_t flags;
};

// Input and output stand in blocks of exactly their sizes.
ParsedRule parse(std::string_view rule, uint32_t capacity = ROOMY) {
    const ExactText text(rule);
    const auto out = std::make_unique<char[]>(capacity);
    uint32_t length = capacity;
    DomainRuleText record{"stale", 5, 7};
    const int32_t status = parseDomainRule(text.data(), text.size(), out.get(), &length, &record);
    if (status != RULE_OK) {
        EXPECT_EQ(nullptr, record.text);
        EXPECT_EQ(0, record.length);
        EXPECT_EQ(0, record.flags);
        return {status, {}, 0};
    }
    EXPECT_EQ(out.get(), record.text);
    EXPECT_EQ(length, record.length);
    return {status, std::string(record.text, record.length), record.flags};
}

void expectRule(std::string_view text, uint32_t flags, std::string_view rule) {
    SCOPED_TRACE(rule);
    const ParsedRule parsed = parse(rule);
    EXPECT_EQ(RULE_OK, parsed.status);
    EXPECT_EQ(text, parsed.text);
    EXPECT_EQ(flags, parsed.flags);
}

TEST(DomainRule, TrimsBlanksAndNormalizes) {
    expectRule("example.com", 0, "  Example.COM\r\n");
    expectRule("example.com", 0, "\t \r\nexample.com.\t");
    expectRule("xn--bcher-kva.example", 0,
               " B\xC3\x9C"
               "CHER.example ");
    expectRule("a", 0, "a");
    expectRule("1.2.3.4", 0, "1.2.3.4");
    expectRule("my_host.com", 0, "my_host.com");
}

TEST(DomainRule, TrimsNothingElse) {
    expectRule(
        "\v"
        "a",
        0,
        "\v"
        "a");
    expectRule("a b", 0, "a b");
    expectRule(std::string_view("a\0", 2), 0, std::string_view("a\0", 2));
}

TEST(DomainRule, ReadsTheMatchAllWildcard) {
    expectRule("*", DOMAIN_RULE_WILDCARD, "*");
    expectRule("*", DOMAIN_RULE_WILDCARD, " *\r\n");
}

TEST(DomainRule, ReadsAWildcardInFrontOfAHost) {
    expectRule("*.example.com", DOMAIN_RULE_WILDCARD, "*.Example.com.");
    expectRule("*.a", DOMAIN_RULE_WILDCARD, "*.a");
    expectRule("*.xn--tda", DOMAIN_RULE_WILDCARD, "*.\xC3\x9C");
    expectRule("*.my_host.com", DOMAIN_RULE_WILDCARD, "*.my_host.com");
}

TEST(DomainRule, RefusesOtherWildcards) {
    for (const std::string_view rule :
         {"*example.com", "a.*.com", "**", "*.*.com", "*x", "*.", "a*", "a.*", "*..", "*.a..b",
          "*.*", "*.host:8080", "*.a/b", "*-a", "*.a.*", "*a.b", "*a.", "**.com"}) {
        EXPECT_EQ(RULE_ERR_BAD_RULE, parse(rule).status) << rule;
    }
}

TEST(DomainRule, RefusesEmptyTexts) {
    for (const std::string_view rule : {"", " ", "\t\r\n ", "\n"}) {
        EXPECT_EQ(RULE_ERR_BAD_RULE, parse(rule).status);
    }
}

TEST(DomainRule, RefusesBadHosts) {
    for (const std::string_view rule :
         {".", "..", "a..b", ".a", "host:80", "a/b", "a#b", "a?b", "http://a"}) {
        EXPECT_EQ(RULE_ERR_BAD_RULE, parse(rule).status) << rule;
    }
}

// Deliberate: an escape is decoded after the '*' of the text are counted.
TEST(DomainRule, TakesAnEscapedStarForNoWildcard) {
    expectRule("*.com", 0, "%2a.com");
    expectRule("*", 0, "%2A");
    expectRule("a*", 0, "a%2a");
    expectRule("*.*.com", DOMAIN_RULE_WILDCARD, "*.%2a.com");
    EXPECT_EQ(RULE_ERR_BAD_RULE, parse("%2a.*.com").status);
}

TEST(DomainRule, MayLeaveNothingBehindItsWildcard) {
    // The host of "%2e" is a '.', which is dropped.
    expectRule("*.", DOMAIN_RULE_WILDCARD, "*.%2e");
    EXPECT_EQ(RULE_ERR_BAD_RULE, parse("%2e").status);
}

TEST(DomainRule, HasAtMost255BytesInAll) {
    expectRule(nameOfLength(255), 0, nameOfLength(255));
    EXPECT_EQ(RULE_ERR_BAD_RULE, parse(nameOfLength(256)).status);
    expectRule("*." + nameOfLength(253), DOMAIN_RULE_WILDCARD, "*." + nameOfLength(253));
    for (const size_t length : {254U, 255U, 256U}) {
        EXPECT_EQ(RULE_ERR_BAD_RULE, parse("*." + nameOfLength(length)).status) << length;
    }
}

TEST(DomainRule, FillsItsRoomButNotMore) {
    constexpr struct {
        std::string_view rule;
        uint32_t needed;
    } ROWS[] = {
        {"*", 1}, {"a", 1}, {"*.a", 3}, {"*.ab", 4}, {"  a.b ", 3}, {"*.a.", 4}, {"\xC3\xBC", 7},
    };
    for (const auto& row : ROWS) {
        for (uint32_t capacity = 0; capacity < row.needed + 3; ++capacity) {
            SCOPED_TRACE(testing::Message() << row.rule << " into " << capacity);
            EXPECT_EQ(capacity < row.needed ? RULE_ERR_BUFFER_SMALL : RULE_OK,
                      parse(row.rule, capacity).status);
        }
    }
}

TEST(DomainRule, NeedsThreeBytesBeforeItLooksAtTheHostBehindAWildcard) {
    EXPECT_EQ(RULE_ERR_BUFFER_SMALL, parse("*.:", 2).status);
    EXPECT_EQ(RULE_ERR_BAD_RULE, parse("*.:", 3).status);
    EXPECT_EQ(RULE_ERR_BUFFER_SMALL, parse("*.%2e", 2).status);
    EXPECT_EQ(RULE_OK, parse("*.%2e", 3).status);
}

TEST(DomainRule, RefusesNullArguments) {
    char out[16];
    uint32_t length = sizeof out;
    DomainRuleText record{"stale", 5, 7};
    EXPECT_EQ(RULE_ERR_INVALID_ARG, parseDomainRule(nullptr, 1, out, &length, &record));
    EXPECT_EQ(RULE_ERR_INVALID_ARG, parseDomainRule("a", 1, nullptr, &length, &record));
    EXPECT_EQ(RULE_ERR_INVALID_ARG, parseDomainRule("a", 1, out, nullptr, &record));
    EXPECT_EQ(RULE_ERR_INVALID_ARG, parseDomainRule("a", 1, out, &length, nullptr));
    EXPECT_EQ(16, length);
    EXPECT_EQ(RULE_ERR_BAD_RULE, parseDomainRule("a", 0, out, &length, &record));
}

// Whatever a text needs, the check makes its own room; running out of that is a matter of memory.
TEST(DomainRuleCheck, NeverAsksForRoom) {
    bool hasRunOut = false;
    for (size_t labels = 1; labels < 1100; ++labels) {
        for (const std::string_view wildcard : {"", "*."}) {
            const std::string rule = std::string(wildcard) + repeat("\xC3\xBC.", labels);
            const int32_t status = rs_validateRule_FQDN(rule.data(), size32(rule));
            EXPECT_NE(RULE_ERR_BUFFER_SMALL, status) << labels;
            hasRunOut = hasRunOut || status == RULE_ERR_NO_MEMORY;
        }
    }
    EXPECT_TRUE(hasRunOut);
    EXPECT_EQ(RULE_OK, rs_validateRule_FQDN("*.my_host.com", 13));
    EXPECT_EQ(RULE_ERR_BAD_RULE, rs_validateRule_FQDN("*.host:8080", 11));
    EXPECT_EQ(RULE_ERR_INVALID_ARG, rs_validateRule_FQDN(nullptr, 1));
}

// ---- Records.

using OwnedDomainRule = Owned<DomainRule, freeDomainRule>;

OwnedDomainRule make(std::string_view rule, int32_t& status, void* userData = nullptr) {
    const ExactText text(rule);
    return OwnedDomainRule(makeDomainRule(text.data(), text.size(), {4, 5, userData}, &status));
}

TEST(MakeDomainRule, KeepsTheCanonicalTextAndWhatTheHostAttached) {
    int userData = 0;
    int32_t status = 77;
    const OwnedDomainRule rule = make(" *.Example.com. ", status, &userData);
    EXPECT_EQ(RULE_OK, status);
    ASSERT_NE(nullptr, rule);
    EXPECT_EQ(rule->text, rule->rule.text);
    EXPECT_EQ("*.example.com", std::string_view(rule->rule.text, rule->rule.length));
    EXPECT_EQ(DOMAIN_RULE_WILDCARD, rule->rule.flags);
    EXPECT_EQ(4, rule->ruleValue);
    EXPECT_EQ(5, rule->ruleId);
    EXPECT_EQ(&userData, rule->userData);
}

TEST(MakeDomainRule, GrowsItsBufferForEncodedNames) {
    int32_t status = 77;
    const OwnedDomainRule rule = make(repeat("\xC3\xBC.", 32), status);
    EXPECT_EQ(RULE_OK, status);
    ASSERT_NE(nullptr, rule);
    EXPECT_EQ(255, rule->rule.length);
}

// A name of n labels of one letter needs 8n bytes; with 1024 of them that is more than the largest
// buffer, and no syntax error is found on the way.
TEST(MakeDomainRule, RunsOutOfBuffersBelow8192Bytes) {
    int32_t status = 77;
    EXPECT_EQ(nullptr, make(repeat("\xC3\xBC.", 1023), status));
    EXPECT_EQ(RULE_ERR_BAD_RULE, status);
    EXPECT_EQ(nullptr, make(repeat("\xC3\xBC.", 1024), status));
    EXPECT_EQ(RULE_ERR_NO_MEMORY, status);
}

TEST(MakeDomainRule, MakesItsFirstBufferWhateverItsSize) {
    int32_t status = 77;
    EXPECT_NE(nullptr, make(std::string(20000, ' ') + "a.com", status));
    EXPECT_EQ(RULE_OK, status);
    EXPECT_EQ(nullptr, make(std::string(20000, 'a'), status));
    EXPECT_EQ(RULE_ERR_BAD_RULE, status);
}

TEST(MakeDomainRule, ReportsBadTexts) {
    int32_t status = 77;
    EXPECT_EQ(nullptr, make("a:b", status));
    EXPECT_EQ(RULE_ERR_BAD_RULE, status);
    EXPECT_EQ(nullptr, make("", status));
    EXPECT_EQ(RULE_ERR_BAD_RULE, status);
}

TEST(MakeDomainRule, FreesNothingForNull) {
    freeDomainRule(nullptr);
}

}  // namespace

}  // namespace rs::test
