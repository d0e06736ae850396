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

TEST_F(TextRuleTest, GivesACanonicalTextTheRoomThatItAsksFor) {
    int userData = 0;
    std::vector<uint32_t> rooms;
    const OwnedRule rule(makeCanonicalRule<Rule, freeRule>(
        3, {5, 6, &userData}, &status, [&](Rule& record, char* out, uint32_t* inOutCapacity) {
            rooms.push_back(*inOutCapacity);
            if (rooms.size() < 3) {
                return RULE_ERR_BUFFER_SMALL;
            }
            std::memcpy(out, "canonical", 10);
            record.parsed = 7;
            return RULE_OK;
        }));
    ASSERT_NE(nullptr, rule);
    EXPECT_EQ(RULE_OK, status);
    EXPECT_EQ((std::vector<uint32_t>{19, 35, 51}), rooms);
    EXPECT_STREQ("canonical", rule->text);
    EXPECT_EQ(7, rule->parsed);
    EXPECT_EQ(5, rule->ruleValue);
    EXPECT_EQ(6, rule->ruleId);
    EXPECT_EQ(&userData, rule->userData);
}

TEST_F(TextRuleTest, HasNoCanonicalTextWhenTheParserFails) {
    EXPECT_EQ(nullptr, (makeCanonicalRule<Rule, freeRule>(
                           3, {}, &status, [](Rule& /*record*/, char* /*out*/, uint32_t* /*room*/) {
                               return RULE_ERR_BAD_RULE;
                           })));
    EXPECT_EQ(RULE_ERR_BAD_RULE, status);
    EXPECT_EQ(nullptr, (makeCanonicalRule<Rule, freeRule>(
                           3, {}, &status, [](Rule& /*record*/, char* /*out*/, uint32_t* /*room*/) {
                               return RULE_ERR_BUFFER_SMALL;
                           })));
    EXPECT_EQ(RULE_ERR_NO_MEMORY, status) << "no room was enough";
    EXPECT_EQ(2, freedRules);
}

}  // namespace

}  // namespace rs::test
