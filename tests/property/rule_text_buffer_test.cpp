// Rules of domain and URL sets, which are parsed once in the largest buffer, against the same
// parsers in a buffer that grows: at every length, short and long, and at the limit of 8191 bytes.
#include <ruleset.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "domain/domain_rule.h"
#include "support/growing_text.h"
#include "support/random_names.h"
#include "support/random_source.h"
#include "support/text.h"
#include "url/url_rule.h"

namespace rs::test {

namespace {

const RuleValues VALUES{1, 2, nullptr};

struct Seen {
    uint32_t accepted = 0;
    uint32_t refused = 0;
    uint32_t tooLong = 0;
};
Seen seen;

void count(int32_t status) {
    ++(status == RULE_OK              ? seen.accepted
       : status == RULE_ERR_NO_MEMORY ? seen.tooLong
                                      : seen.refused);
}

// A piece lies in the rule's own text where it lies in the text of a growing buffer.
void expectPiece(Text expected, const char* buffer, Text piece, const char* text) {
    ASSERT_EQ(expected.length, piece.length);
    ASSERT_EQ(expected.text == nullptr, piece.text == nullptr);
    if (piece.text != nullptr) {
        ASSERT_EQ(expected.text - buffer, piece.text - text);
    }
}

Text hostOf(const DomainRuleText& rule) {
    return {rule.text, rule.length};
}

void checkDomainRule(const ExactText& text) {
    DomainRuleText expected{};
    const GrowingRun run =
        parseIntoGrowingText(text.size(), [&](char* buffer, uint32_t* inOutLength) {
            return parseDomainRule(text.data(), text.size(), buffer, inOutLength, &expected);
        });
    int32_t status = RULE_ERR_FAILED;
    const Owned<DomainRule, freeDomainRule> rule(
        makeDomainRule(text.data(), text.size(), VALUES, &status));
    ASSERT_EQ(run.status, status);
    ASSERT_EQ(status == RULE_OK, rule != nullptr);
    count(status);
    if (rule != nullptr) {
        ASSERT_EQ(run.text, std::string_view(rule->text, run.text.size()));
        ASSERT_EQ(expected.flags, rule->rule.flags);
        expectPiece(hostOf(expected), run.buffer.data(), hostOf(rule->rule), rule->text);
    }
}

void checkUrlRule(const ExactText& text) {
    UrlRuleText expected{};
    const GrowingRun run =
        parseIntoGrowingText(text.size(), [&](char* buffer, uint32_t* inOutLength) {
            return parseUrlRule(text.data(), text.size(), buffer, inOutLength, &expected);
        });
    int32_t status = RULE_ERR_FAILED;
    const Owned<UrlRule, freeUrlRule> rule(makeUrlRule(text.data(), text.size(), VALUES, &status));
    ASSERT_EQ(run.status, status);
    ASSERT_EQ(status == RULE_OK, rule != nullptr);
    count(status);
    if (rule != nullptr) {
        ASSERT_EQ(run.text, std::string_view(rule->text, run.text.size()));
        ASSERT_EQ(expected.wildcardOffset, rule->rule.wildcardOffset);
        ASSERT_EQ(expected.portLow, rule->rule.portLow);
        ASSERT_EQ(expected.portHigh, rule->rule.portHigh);
        ASSERT_EQ(expected.host.flags, rule->rule.host.flags);
        expectPiece(hostOf(expected.host), run.buffer.data(), hostOf(rule->rule.host), rule->text);
        expectPiece(expected.scheme, run.buffer.data(), rule->rule.scheme, rule->text);
        expectPiece(expected.path, run.buffer.data(), rule->rule.path, rule->text);
    }
}

void check(const std::string& text) {
    SCOPED_TRACE(::testing::PrintToString(text.substr(0, 200)) + " of " +
                 std::to_string(text.size()) + " bytes");
    const ExactText exact(text);
    checkDomainRule(exact);
    if (!::testing::Test::HasFatalFailure()) {
        checkUrlRule(exact);
    }
}

// Labels that grow, by 1 to 5 bytes each, around bytes that no host has.
std::string growingText(RandomSource& random) {
    const std::vector<std::string> labels = {
        "\u00fc.", "a\u00e4.",         "\u4e2d\u6587.", "a.",   "%C3%BC.",
        "x_y.",    "abcdefghi\u00fc.", "\u00fc\u00e9.", "%00.", "#."};
    std::string text = random.oneIn(4) ? "*." : "";
    const bool isMixed = random.oneIn(2);
    const std::string& label = random.pick(labels);
    for (uint64_t i = random.between(1, random.oneIn(2) ? 60 : 1300); i != 0; --i) {
        text += isMixed && random.oneIn(100) ? random.pick(labels) : label;
    }
    text += random.oneIn(2) ? "a" : "";
    text += random.oneIn(3) ? "/x*y" : "";
    return random.oneIn(3) ? "https://" + text : text;
}

// Labels of 63 bytes.
std::string plainLabels(uint32_t length) {
    std::string text(length, 'a');
    for (uint32_t dot = 63; dot < length; dot += 64) {
        text[dot] = '.';
    }
    return text;
}

}  // namespace

TEST(RuleTextBufferProperty, AnswersForRandomRulesLikeAGrowingBuffer) {
    seen = {};
    forEachCase(4000, [](RandomSource& random) {
        check(randomDomainRule(random));
        check(mutateText(randomUrlRule(random), random));
        check(std::string(random.below(8300), ' ') + randomUrlRule(random));
    });
    EXPECT_LT(0U, seen.accepted);
    EXPECT_LT(0U, seen.refused);
}

TEST(RuleTextBufferProperty, AnswersForGrowingTextsLikeAGrowingBuffer) {
    seen = {};
    forEachCase(200, [](RandomSource& random) { check(growingText(random)); });
    EXPECT_LT(0U, seen.refused);
}

// Names whose canonical form, before its length is judged, just fits or is one byte too long.
TEST(RuleTextBufferProperty, AnswersAtTheLimitLikeAGrowingBuffer) {
    seen = {};
    for (const uint32_t more : {0U, 7U, 15U}) {
        // Labels of 3 bytes become 8 bytes each: 3,136 bytes get 8,176 and need them.
        check(repeat("\u00fc.", 1008) + plainLabels(112 + more));
        EXPECT_EQ(0U, seen.tooLong);
    }
    for (const uint32_t more : {0U, 7U, 15U}) {
        // 3,152 bytes get 8,176 and need 8,177.
        check(repeat("\u00fc.", 1005) + plainLabels(137 + more));
    }
    EXPECT_EQ(6U, seen.tooLong);
    // The first buffer is at the limit or above.
    for (uint32_t length = 8160; length <= 8200; ++length) {
        check(std::string(length - 1, 'a') + '.');
        check("\u00fc." + std::string(length - 3, 'a'));
        check(std::string(length - 11, ' ') + "example.com");
        check(std::string(length - 4, '\t') + "\u00fc.a");
    }
    EXPECT_LT(0U, seen.accepted);
    EXPECT_LT(0U, seen.refused);
}

}  // namespace rs::test
