#include "core/text_rule.h"

#include <cstdint>
#include <cstring>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "support/text.h"

namespace rs::test {

namespace {

struct Rule {
    char* text;
    uint32_t parsed;
    uint32_t ruleValue;
    uint32_t ruleId;
    void* userData;
};

uint32_t freedRules = 0;

void freeRule(Rule* rule) noexcept {
    ++freedRules;
    freeMemory(rule->text);
    freeMemory(rule);
}

using OwnedRule = Owned<Rule, freeRule>;

class TextRuleTest : public ::testing::Test {
protected:
    void SetUp() override { freedRules = 0; }

    int32_t status = RULE_ERR_FAILED;
};

TEST(RuleTextCopy, HasThePaddingBehindIt) {
    const ExactText text("abc");
    const OwnedMemory<char> copy(copyRuleText(text.data(), text.size(), 2));
    ASSERT_NE(nullptr, copy);
    EXPECT_EQ(0, std::memcmp(copy.get(), "abc\0", 5));
    EXPECT_NE(text.data(), copy.get());
}

TEST(RuleTextCopy, KeepsZeroBytes) {
    const OwnedMemory<char> copy(copyRuleText("a\0b", 3, 0));
    EXPECT_EQ(0, std::memcmp(copy.get(), "a\0b", 3));
}

TEST_F(TextRuleTest, KeepsTheTextAsGiven) {
    const ExactText text(" 1.2.3.4 ");
    const OwnedRule rule(
        makeTextRule<Rule, freeRule>(text.data(), text.size(), 1, &status, [](Rule& record) {
            EXPECT_EQ(nullptr, record.text);
            EXPECT_EQ(0, record.parsed) << "zero-filled";
            record.parsed = 7;
            return RULE_OK;
        }));
    ASSERT_NE(nullptr, rule);
    EXPECT_EQ(RULE_OK, status);
    EXPECT_EQ(7, rule->parsed);
    EXPECT_STREQ(" 1.2.3.4 ", rule->text);
}

TEST_F(TextRuleTest, CallsEveryFailureOfAParserABadRule) {
    for (const int32_t failure : {RULE_ERR_BAD_RULE, RULE_ERR_INVALID_ARG, RULE_ERR_FAILED, 1}) {
        status = RULE_OK;
        EXPECT_EQ(nullptr,
                  (makeTextRule<Rule, freeRule>("x", 1, 0, &status, [failure](Rule& record) {
                      record.parsed = 7;
                      return failure;
                  })));
        EXPECT_EQ(RULE_ERR_BAD_RULE, status) << failure;
    }
    EXPECT_EQ(4, freedRules) << "a record whose parser failed is freed";
}

TEST_F(TextRuleTest, PassesTheStatusOfAFillerOn) {
    EXPECT_EQ(nullptr, (makeRuleRecord<Rule, freeRule>(
                           &status, [](Rule& /*record*/) { return RULE_ERR_NO_MEMORY; })));
    EXPECT_EQ(RULE_ERR_NO_MEMORY, status);
    EXPECT_EQ(1, freedRules);
    const OwnedRule rule(
        makeRuleRecord<Rule, freeRule>(&status, [](Rule& /*record*/) { return RULE_OK; }));
    EXPECT_NE(nullptr, rule);
    EXPECT_EQ(RULE_OK, status);
    EXPECT_EQ(1, freedRules);
}

TEST_F(TextRuleTest, ParsesACanonicalTextOnceInTheLargestBuffer) {
    int userData = 0;
    std::vector<uint32_t> rooms;
    const char* parsedInto = nullptr;
    const OwnedRule rule(makeCanonicalRule<Rule, freeRule>(
        3, {5, 6, &userData}, &status,
        [&](Rule& record, char* out, uint32_t* inOutCapacity) {
            rooms.push_back(*inOutCapacity);
            std::memset(out, 'x', *inOutCapacity);  // all of it is the parser's to write
            std::string_view("canonical").copy(out, 9);
            *inOutCapacity = 9;
            record.parsed = 7;
            parsedInto = out;
            return RULE_OK;
        },
        [&](Rule& record, const char* buffer) {
            EXPECT_EQ(parsedInto, buffer);
            EXPECT_NE(buffer, record.text);
            EXPECT_EQ("canonical", std::string_view(record.text, 9)) << "copied before";
            EXPECT_EQ(7, record.parsed);
            record.parsed = 8;
        }));
    ASSERT_NE(nullptr, rule);
    EXPECT_EQ(RULE_OK, status);
    EXPECT_EQ(std::vector<uint32_t>{8179}, rooms);
    EXPECT_EQ("canonical", std::string_view(rule->text, 9));
    EXPECT_EQ(8, rule->parsed);
    EXPECT_EQ(5, rule->ruleValue);
    EXPECT_EQ(6, rule->ruleId);
    EXPECT_EQ(&userData, rule->userData);
}

// The status of a rule whose parser gives an answer, and how often the parser ran.
int32_t statusOfAnswer(uint32_t length, int32_t answer, uint32_t& runs) {
    int32_t status = RULE_OK;
    const OwnedRule rule(makeCanonicalRule<Rule, freeRule>(
        length, {}, &status,
        [&](Rule& /*record*/, char* /*out*/, uint32_t* /*inOutCapacity*/) {
            ++runs;
            return answer;
        },
        [](Rule& /*record*/, const char* /*buffer*/) { ADD_FAILURE() << "there is no text"; }));
    EXPECT_EQ(nullptr, rule);
    return status;
}

TEST_F(TextRuleTest, HasNoCanonicalTextWhenTheParserFails) {
    uint32_t runs = 0;
    for (const uint32_t length : {0U, 3U, 8175U, 8176U, 100000U}) {
        EXPECT_EQ(RULE_ERR_BAD_RULE, statusOfAnswer(length, RULE_ERR_BAD_RULE, runs));
        EXPECT_EQ(RULE_ERR_BAD_SCHEME, statusOfAnswer(length, RULE_ERR_BAD_SCHEME, runs));
        EXPECT_EQ(RULE_ERR_NO_MEMORY, statusOfAnswer(length, RULE_ERR_BUFFER_SMALL, runs))
            << "no room was enough";
    }
    EXPECT_EQ(15, runs);
    EXPECT_EQ(15, freedRules);
}

TEST_F(TextRuleTest, RefusesAnInputWhoseBufferWouldBeTooLong) {
    uint32_t runs = 0;
    EXPECT_EQ(RULE_ERR_NO_MEMORY, statusOfAnswer(UINT32_MAX, RULE_OK, runs));
    EXPECT_EQ(RULE_ERR_NO_MEMORY, statusOfAnswer(UINT32_MAX - 15, RULE_OK, runs));
    EXPECT_EQ(0, runs);
}

}  // namespace

}  // namespace rs::test
