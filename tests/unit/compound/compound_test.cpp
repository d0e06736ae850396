// Compound rules from text to lookup.
#include <ruleset_static.h>

#include <arpa/inet.h>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "compound/compound_index.h"
#include "compound/compound_rule.h"
#include "core/rule_group.h"
#include "support/release_recorder.h"
#include "support/rule_builder.h"
#include "support/rule_handles.h"
#include "support/text.h"

namespace rs::test {

namespace {

RuleSetHandle makeSet(std::initializer_list<RuleLine> rules) {
    return makeRuleSet(RULE_TYPE_COMPOUND, rules);
}

int32_t addStatus(std::string_view rule) {
    const RuleSetHandle set = newRuleSet(RULE_TYPE_COMPOUND);
    const ExactText text(rule);
    return rs_addRuleToRuleSet(set.get(), text.data(), text.size(), 0, 1);
}

TEST(CompoundNumber, ReadsAsItAlwaysDid) {
    constexpr struct {
        std::string_view text;
        int32_t status;
        uint32_t value;
    } ROWS[] = {
        {"0", RULE_OK, 0},
        {" 12 ", RULE_OK, 12},
        {"4294967295", RULE_OK, 4294967295},
        {"0x10", RULE_OK, 16},
        {"0X1f", RULE_OK, 21},
        // Deliberate: letters count 0 to 5.
        {"0xA", RULE_OK, 0},
        // Deliberate: only a value that gets smaller is an overflow.
        {"4294967296", RULE_ERR_FAILED, 0},
        {"9999999999", RULE_OK, 1410065407},
        {"0x", RULE_ERR_FAILED, 0},
        {"00x1", RULE_ERR_FAILED, 0},
        {"12abc", RULE_ERR_FAILED, 0},
        {"1 2", RULE_ERR_FAILED, 0},
        {"", RULE_ERR_FAILED, 0},
        {" \t", RULE_ERR_FAILED, 0},
        {"-1", RULE_ERR_FAILED, 0},
    };
    for (const auto& row : ROWS) {
        SCOPED_TRACE(row.text);
        uint32_t value = 0;
        EXPECT_EQ(row.status, parseCompoundNumber(row.text.data(), size32(row.text), &value));
        EXPECT_EQ(row.value, value);
        EXPECT_EQ(row.status, parseCompoundNumber(row.text.data(), size32(row.text), nullptr));
    }
}

TEST(CompoundRule, AcceptsAndRefuses) {
    constexpr struct {
        std::string_view text;
        int32_t status;
    } ROWS[] = {
        {"*;*;*;*;0;0", RULE_OK},
        {" 1-10 , 20;5*;10.0.0.0/8, ::1, * ;80;0;7 ", RULE_OK},
        {"*-5;*;*;*;0;0", RULE_OK},
        {"*;*;*;65535;0;0", RULE_OK},
        {"*;*;*;70000;0;0", RULE_ERR_BAD_RULE},
        {"20-10;*;*;*;0;0", RULE_ERR_BAD_RULE},
        {"1 -2;*;*;*;0;0", RULE_ERR_BAD_RULE},
        {"1,,2;*;*;*;0;0", RULE_ERR_BAD_RULE},
        {"1,;*;*;*;0;0", RULE_ERR_BAD_RULE},
        {"*;*;*;*;0", RULE_ERR_BAD_RULE},
        {"*;*;*;*;0;", RULE_ERR_BAD_RULE},
        {"*;;*;*;0;0", RULE_ERR_BAD_RULE},
        {"*;*;*;*;0;0 x", RULE_ERR_BAD_RULE},
        {"*;*;1.2.3;*;0;0", RULE_ERR_BAD_RULE},
        {"", RULE_ERR_BAD_RULE},
    };
    for (const auto& row : ROWS) {
        EXPECT_EQ(row.status, addStatus(row.text)) << row.text;
    }
}

TEST(CompoundRule, TakesTextsUpToTheLongest) {
    std::string rule = "1";
    while (rule.size() < 4095 - 12) {
        rule += ",1";
    }
    rule += ";*;*;*;0;";
    rule += std::string(4095 - rule.size(), '0');
    ASSERT_EQ(4095, rule.size());
    EXPECT_EQ(RULE_OK, addStatus(" " + rule + "\n"));
    EXPECT_EQ(RULE_ERR_BAD_RULE, addStatus(rule + "0"));
}

TEST(CompoundRule, KeepsListsInTextOrder) {
    const RuleSetHandle set = makeSet({{"10-20,30;*;*;*;0;0"}});
    const RuleGroupHandle group = buildRuleGroup(*set);
    const U32Range* range = group->compoundTable->entries->rangeListA;
    EXPECT_EQ(10, range->low);
    EXPECT_EQ(20, range->high);
    EXPECT_EQ(30, range->next->low);
    EXPECT_EQ(30, range->next->high);
    EXPECT_EQ(nullptr, range->next->next);
}

TEST(CompoundTable, SumsTheValuesOfFieldOneUp) {
    const auto maskOf = [](std::initializer_list<RuleLine> rules) {
        return buildRuleGroup(*makeSet(rules))->compoundTable->valueMask;
    };
    EXPECT_EQ(0, maskOf({}));
    EXPECT_EQ(0, maskOf({{"*;*;*;*;0;0"}, {"*;*;*;5;0;0"}}));
    EXPECT_EQ((uint64_t{1} << 63U) | (uint64_t{1} << 5U),
              maskOf({{"5;*;*;*;0;0"}, {"70;*;*;*;0;0"}}));
    EXPECT_EQ(uint64_t{1} << 62U, maskOf({{"62;*;*;*;0;0"}}));
    EXPECT_EQ(uint64_t{1} << 63U, maskOf({{"63;*;*;*;0;0"}}));
    EXPECT_EQ(UINT64_MAX, maskOf({{"1-2;*;*;*;0;0"}}));
    EXPECT_EQ(UINT64_MAX, maskOf({{"1,2;*;*;*;0;0"}}));
    EXPECT_EQ(UINT64_MAX, maskOf({{"*;*;*;*;1;0"}}));
}

TEST(CompoundTable, HandsEveryUserDataBack) {
    int data[3] = {};
    ReleaseRecorder recorder;
    const RuleSetHandle set = makeSet(
        {{"*;*;*;*;0;0", 0, &data[0]}, {"*;*;*;*;0;0", 0, &data[1]}, {"1;*;*;*;0;0", 0, &data[2]}});
    ASSERT_EQ(RULE_OK, recorder.registerOn(*set));
    buildRuleGroup(*set).reset();
    EXPECT_EQ((std::vector<void*>{&data[0], &data[1], &data[2]}), recorder.order());
}

// A flow that the rule "7;3;10.0.0.0/8;80;<numberA>;9" covers in every way.
CompoundFlow coveredFlow() {
    CompoundFlow flow{};
    flow.firstValue16 = 80;
    flow.secondValue16 = 1;
    flow.value32 = 7;
    flow.family = 4;
    flow.firstAddress[0] = htonl(0x0A000001);
    flow.secondAddress[0] = htonl(0x01010101);
    flow.listValue16 = 3;
    flow.listValue12 = 3;
    return flow;
}

class CompoundMatch : public ::testing::Test {
protected:
    int32_t match(std::string_view numberA, CompoundFlow& flow, bool wantsListValue = true) {
        const std::string rule = "7;3;10.0.0.0/8;80;" + std::string(numberA) + ";9";
        group = buildRuleGroup(*makeSet({{rule}}));
        return matchCompound(group.get(), &flow, wantsListValue, &hit);
    }

    RuleGroupHandle group;
    MatchResult hit{};
};

TEST_F(CompoundMatch, NeedsEveryCondition) {
    CompoundFlow flow = coveredFlow();
    EXPECT_EQ(1, match("2", flow));
    EXPECT_EQ(1, hit.ruleIndex);
    EXPECT_EQ(9, flow.outNumber);

    flow = coveredFlow();
    std::swap(flow.firstValue16, flow.secondValue16);
    EXPECT_EQ(1, match("2", flow));
    flow.secondValue16 = 81;
    EXPECT_EQ(0, match("2", flow));

    flow = coveredFlow();
    flow.value32 = 8;
    EXPECT_EQ(0, match("2", flow));

    flow = coveredFlow();
    std::swap(flow.firstAddress, flow.secondAddress);
    EXPECT_EQ(1, match("2", flow));
    flow.secondAddress[0] = htonl(0x0B000001);
    EXPECT_EQ(0, match("2", flow));

    flow = coveredFlow();
    flow.listValue16 = 4;
    EXPECT_EQ(1, match("2", flow));
    flow.listValue12 = 4;
    EXPECT_EQ(0, match("2", flow));
    // Without bit 1 nobody asks for field 2.
    EXPECT_EQ(1, match("0", flow));
}

TEST_F(CompoundMatch, ReadsAddressesOfBothFamilies) {
    CompoundFlow flow = coveredFlow();
    flow.family = 6;
    flow.firstAddress = {0, 0, htonl(0xFFFF), htonl(0x0A000001)};
    EXPECT_EQ(1, match("0", flow));
    flow.firstAddress = {0, 0, 0, htonl(0x0A000001)};
    EXPECT_EQ(0, match("0", flow));
    flow = coveredFlow();
    flow.family = 5;
    EXPECT_EQ(0, match("0", flow));
}

TEST_F(CompoundMatch, WritesWhatNumberAAsksFor) {
    CompoundFlow flow = coveredFlow();
    flow.outListValue = 3;
    flow.listValue12 = 12;
    EXPECT_EQ(1, match("3", flow));
    EXPECT_EQ(12, flow.outListValue);
    EXPECT_EQ(0, flow.outMark);

    flow.outListValue = 5;  // not the value that passed
    EXPECT_EQ(1, match("3", flow));
    EXPECT_EQ(5, flow.outListValue);

    flow.outListValue = 3;  // passed, but field 2 was not asked for
    EXPECT_EQ(1, match("1", flow));
    EXPECT_EQ(3, flow.outListValue);

    flow.listValue12 = 4096;
    EXPECT_EQ(1, match("1", flow, false));
    EXPECT_EQ(3, flow.outListValue);
    EXPECT_EQ(1, match("1", flow));
    EXPECT_EQ(4095, flow.outListValue);

    EXPECT_EQ(1, match("4", flow));
    EXPECT_EQ(1, flow.outMark);
}

TEST(CompoundLookup, ReportsTheFirstRuleThatCovers) {
    CompoundFlow flow = coveredFlow();
    MatchResult hit{};
    const RuleGroupHandle group =
        buildRuleGroup(*makeSet({{"8;*;*;*;0;0"}, {"7;*;*;*;0;0"}, {"*;*;*;*;0;0"}}));
    EXPECT_EQ(1, matchCompound(group.get(), &flow, true, &hit));
    EXPECT_EQ(2, hit.ruleIndex);
    flow.value32 = 9;
    EXPECT_EQ(1, matchCompound(group.get(), &flow, true, &hit));
    EXPECT_EQ(3, hit.ruleIndex);
    EXPECT_EQ(RULE_ERR_INVALID_ARG, matchCompound(nullptr, &flow, true, &hit));
    EXPECT_EQ(RULE_ERR_INVALID_ARG, matchCompound(group.get(), nullptr, true, &hit));
    EXPECT_EQ(RULE_ERR_INVALID_ARG, matchCompound(group.get(), &flow, true, nullptr));
}

TEST(CompoundLookup, TestsRulesThatLetEverythingThroughToo) {
    // matchesAll does not ask for field 4.
    CompoundFlow flow = coveredFlow();
    MatchResult hit{};
    const RuleGroupHandle group = buildRuleGroup(*makeSet({{"*;*;*;81;0;0"}}));
    EXPECT_EQ(1, group->compoundTable->entries->matchesAll);
    EXPECT_EQ(0, matchCompound(group.get(), &flow, true, &hit));
}

}  // namespace

}  // namespace rs::test
