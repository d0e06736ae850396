#include "compound/compound_match.h"

#include <arpa/inet.h>
#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "core/rule_group.h"
#include "support/rule_builder.h"
#include "support/rule_handles.h"

namespace rs::test {

namespace {

AddressWords ipv4(uint32_t address) {
    // Only the first word counts.
    return {htonl(address), 0xFFFFFFFF, 0x12345678, 0xFFFFFFFF};
}

AddressWords ipv6(uint32_t word0, uint32_t word1, uint32_t word2, uint32_t word3) {
    return {htonl(word0), htonl(word1), htonl(word2), htonl(word3)};
}

constexpr std::string_view RULE = "7,20-30;3,100-200;10.0.0.0/8,2001:db8::5-2001:db8:1::7;80;2;9";

// A flow that meets each condition of RULE with its first value.
CompoundFlow coveredFlow(int32_t family) {
    CompoundFlow flow{};
    flow.firstValue16 = 80;
    flow.secondValue16 = 1;
    flow.value32 = 7;
    flow.family = family;
    flow.firstAddress = family == 4 ? ipv4(0x0A000001) : ipv6(0x20010DB8, 0, 0, 6);
    flow.secondAddress = family == 4 ? ipv4(0x01010101) : ipv6(0, 0, 0, 1);
    flow.listValue16 = 3;
    flow.listValue12 = 1;
    flow.outNumber = 77;
    flow.outListValue = 78;
    flow.outMark = 79;
    return flow;
}

bool isSame(const CompoundFlow& left, const CompoundFlow& right) {
    return left.firstValue16 == right.firstValue16 && left.secondValue16 == right.secondValue16 &&
           left.value32 == right.value32 && left.family == right.family &&
           left.firstAddress == right.firstAddress && left.secondAddress == right.secondAddress &&
           left.listValue16 == right.listValue16 && left.listValue12 == right.listValue12 &&
           left.outNumber == right.outNumber && left.outListValue == right.outListValue &&
           left.outMark == right.outMark;
}

// Tests the one entry of the rule. A flow that is not covered stays as it is.
bool covers(std::string_view rule, CompoundFlow& flow, bool wantsListValue = true) {
    const RuleGroupHandle group = makeCompoundGroup({{rule}});
    const CompoundFlow before = flow;
    const int32_t status = testCompoundEntry(*group->compoundTable->entries, flow, wantsListValue);
    EXPECT_TRUE(status == RULE_OK || status == RULE_ERR_FAILED) << status;
    EXPECT_TRUE(status == RULE_OK || isSame(before, flow));
    return status == RULE_OK;
}

bool coversCopy(std::string_view rule, CompoundFlow flow) {
    return covers(rule, flow);
}

class CompoundEntryTest : public ::testing::TestWithParam<int32_t> {
protected:
    CompoundFlow flow = coveredFlow(GetParam());
};

INSTANTIATE_TEST_SUITE_P(Families, CompoundEntryTest, ::testing::Values(4, 6));

TEST_P(CompoundEntryTest, CoversAFlowThatMeetsEveryCondition) {
    EXPECT_TRUE(coversCopy(RULE, flow));
}

TEST_P(CompoundEntryTest, NeedsOneOfTheValuesOfSixteenBits) {
    std::swap(flow.firstValue16, flow.secondValue16);
    EXPECT_TRUE(coversCopy(RULE, flow));
    for (const uint16_t other : std::initializer_list<uint16_t>{79, 81, 0, 65535}) {
        flow.secondValue16 = other;
        EXPECT_FALSE(coversCopy(RULE, flow)) << other;
    }
    flow.firstValue16 = 80;
    EXPECT_TRUE(coversCopy(RULE, flow));
}

TEST_P(CompoundEntryTest, NeedsTheValueOfThirtyTwoBits) {
    const std::pair<uint32_t, bool> rows[] = {{6, false},  {7, true},   {8, false},
                                              {19, false}, {20, true},  {25, true},
                                              {30, true},  {31, false}, {UINT32_MAX, false}};
    for (const auto& [value, isCovered] : rows) {
        flow.value32 = value;
        EXPECT_EQ(isCovered, coversCopy(RULE, flow)) << value;
    }
}

TEST_P(CompoundEntryTest, NeedsOneOfTheAddresses) {
    const AddressWords other = flow.secondAddress;
    std::swap(flow.firstAddress, flow.secondAddress);
    EXPECT_TRUE(coversCopy(RULE, flow));
    flow.secondAddress = other;
    EXPECT_FALSE(coversCopy(RULE, flow));
}

TEST_P(CompoundEntryTest, NeedsAValueOfTheListWhenAsked) {
    flow.listValue16 = 4;
    EXPECT_FALSE(coversCopy(RULE, flow));
    // The second value passes as well as the first.
    flow.listValue12 = 3;
    EXPECT_TRUE(coversCopy(RULE, flow));
    flow.listValue12 = 201;
    EXPECT_FALSE(coversCopy(RULE, flow));
    flow.listValue16 = 200;
    EXPECT_TRUE(coversCopy(RULE, flow));
}

TEST_P(CompoundEntryTest, AsksForTheListByBitOneOnly) {
    flow.listValue16 = 4;
    for (uint32_t numberA = 0; numberA < 16; ++numberA) {
        const std::string rule = "7;3;*;80;" + std::to_string(numberA) + ";9";
        EXPECT_EQ((numberA & 2U) == 0, coversCopy(rule, flow)) << numberA;
    }
    EXPECT_TRUE(coversCopy("7;3;*;80;4294967293;9", flow));
    EXPECT_FALSE(coversCopy("7;3;*;80;4294967295;9", flow));
}

TEST_P(CompoundEntryTest, NeverCoversASecondListValueAboveTwelveBits) {
    constexpr std::string_view HIGH = "7;4095-65535;*;80;2;9";
    flow.listValue16 = 4;
    const std::pair<uint16_t, bool> rows[] = {
        {4094, false}, {4095, true}, {4096, false}, {4097, false}, {65535, false}};
    for (const auto& [value, isCovered] : rows) {
        flow.listValue12 = value;
        EXPECT_EQ(isCovered, coversCopy(HIGH, flow)) << value;
    }
    // The first value may be as large as it likes.
    flow.listValue16 = 4096;
    EXPECT_TRUE(coversCopy(HIGH, flow));
}

TEST_P(CompoundEntryTest, AsksRulesThatMatchAllForFieldFour) {
    const RuleGroupHandle group = makeCompoundGroup({{"*;*;*;81;0;0"}});
    EXPECT_EQ(1, group->compoundTable->entries->matchesAll);
    EXPECT_FALSE(coversCopy("*;*;*;81;0;0", flow));
    EXPECT_TRUE(coversCopy("*;*;*;80;0;0", flow));
    // The walk takes no short cut either.
    MatchResult result{};
    EXPECT_EQ(0, matchCompound(group.get(), &flow, true, &result));
    flow.secondValue16 = 81;
    EXPECT_EQ(1, matchCompound(group.get(), &flow, true, &result));
}

// Deliberate: a rule that matches all is tested like any other, so it covers no unknown family.
TEST(CompoundEntryFamily, IsFourOrSix) {
    for (const int32_t family : {0, 1, 2, 3, 5, 7, 10, -4, -6, 0x104}) {
        CompoundFlow flow = coveredFlow(4);
        flow.family = family;
        EXPECT_FALSE(coversCopy("*;*;*;*;0;0", flow)) << family;
    }
}

TEST(CompoundEntryFamily, FourIsComparedInMappedForm) {
    constexpr struct {
        std::string_view addresses;
        uint32_t address;
        bool isCovered;
    } ROWS[] = {
        {"10.0.0.0/8", 0x0A000000, true},
        {"10.0.0.0/8", 0x0AFFFFFF, true},
        {"10.0.0.0/8", 0x09FFFFFF, false},
        {"10.0.0.0/8", 0x0B000000, false},
        {"1.1.1.1,10.0.0.5-10.0.0.7", 0x0A000007, true},
        {"1.1.1.1,10.0.0.5-10.0.0.7", 0x0A000008, false},
        {"::ffff:10.0.0.0/104", 0x0A010203, true},
        {"::/1", 0x0A000001, true},
        {"::a00:1", 0x0A000001, false},
        {"a00:1::", 0x0A000001, false},
        {"0.0.0.0-255.255.255.255", 0xFFFFFFFF, true},
        {"*", 0, true},
    };
    for (const auto& row : ROWS) {
        CompoundFlow flow = coveredFlow(4);
        flow.firstAddress = ipv4(row.address);
        flow.secondAddress = ipv4(0xC0000201);
        const std::string rule = "*;*;" + std::string(row.addresses) + ";*;0;0";
        EXPECT_EQ(row.isCovered, coversCopy(rule, flow)) << rule;
    }
}

TEST(CompoundEntryFamily, SixIsComparedWordByWord) {
    constexpr std::string_view RANGE = "*;*;1:2:3:4:5:6:7:8-1:2:3:4:5:9:7:4;*;0;0";
    const struct {
        AddressWords address;
        bool isCovered;
    } rows[] = {
        {ipv6(0x00010002, 0x00030004, 0x00050006, 0x00070008), true},
        {ipv6(0x00010002, 0x00030004, 0x00050006, 0x00070007), false},
        {ipv6(0x00010002, 0x00030004, 0x00050009, 0x00070004), true},
        {ipv6(0x00010002, 0x00030004, 0x00050009, 0x00070005), false},
        // Between the ends an earlier word decides.
        {ipv6(0x00010002, 0x00030004, 0x00050007, 0), true},
        {ipv6(0x00010002, 0x00030004, 0x00050008, 0xFFFFFFFF), true},
        {ipv6(0x00010002, 0x00030004, 0x0005000A, 0), false},
        {ipv6(0x00010002, 0x00030003, 0x00050007, 0x00070008), false},
        {ipv6(0x00010002, 0x00030005, 0x00050007, 0x00070008), false},
        {ipv6(0x00010001, 0x00030004, 0x00050007, 0x00070008), false},
        {ipv6(0x00010003, 0x00030004, 0x00050007, 0x00070008), false},
    };
    for (const auto& row : rows) {
        CompoundFlow flow = coveredFlow(6);
        flow.firstAddress = row.address;
        EXPECT_EQ(row.isCovered, coversCopy(RANGE, flow)) << ntohl(row.address[3]);
    }
}

TEST(CompoundEntryFamily, SixMeetsIpv4RulesInMappedForm) {
    CompoundFlow flow = coveredFlow(6);
    flow.firstAddress = ipv6(0, 0, 0xFFFF, 0x0A000001);
    EXPECT_TRUE(coversCopy("*;*;10.0.0.0/8;*;0;0", flow));
    flow.firstAddress = ipv6(0, 0, 0, 0x0A000001);
    EXPECT_FALSE(coversCopy("*;*;10.0.0.0/8;*;0;0", flow));
    flow.firstAddress = ipv6(0x0A000001, 0, 0xFFFF, 0);
    EXPECT_FALSE(coversCopy("*;*;10.0.0.0/8;*;0;0", flow));
}

TEST_P(CompoundEntryTest, WritesTheNumberOfFieldSix) {
    EXPECT_TRUE(covers(RULE, flow));
    CompoundFlow expected = coveredFlow(GetParam());
    expected.outNumber = 9;
    EXPECT_TRUE(isSame(expected, flow));
    EXPECT_TRUE(covers("*;*;*;*;0;4294967295", flow, false));
    EXPECT_EQ(UINT32_MAX, flow.outNumber);
}

TEST_P(CompoundEntryTest, WritesTheMarkByBitTwoOnly) {
    for (uint32_t numberA = 0; numberA < 16; ++numberA) {
        for (const bool wantsListValue : {false, true}) {
            flow.outMark = 79;
            const std::string rule = "*;*;*;*;" + std::to_string(numberA) + ";0";
            EXPECT_TRUE(covers(rule, flow, wantsListValue));
            EXPECT_EQ((numberA & 4U) != 0 ? 1 : 79, flow.outMark) << numberA;
        }
    }
}

TEST_P(CompoundEntryTest, WritesTheListValueThatItShould) {
    constexpr uint32_t KEPT = UINT32_MAX;
    constexpr struct {
        std::string_view numberA;
        uint16_t listValue16;
        uint16_t listValue12;
        uint32_t before;
        uint32_t after;  // KEPT for what was before
    } ROWS[] = {
        // The value passed and is the one that stands there.
        {"3", 3, 12, 3, 12},
        {"3", 150, 0, 150, 0},
        {"7", 3, 4095, 3, 4095},
        {"3", 3, 5000, 3, 5000},
        {"3", 3, 3, 3, 3},
        // The value passed, but another stands there.
        {"3", 3, 12, 4, KEPT},
        {"3", 3, 12, 12, KEPT},
        {"3", 3, 12, 0x10003, KEPT},
        // Only the second value passed.
        {"3", 4, 100, 4, KEPT},
        {"3", 4, 3, 3, KEPT},
        // Field 2 was not asked for.
        {"1", 3, 12, 3, KEPT},
        {"5", 3, 12, 3, KEPT},
        // "None" is written whatever passed and stands there.
        {"1", 4, 4096, 78, 4095},
        {"1", 3, 4096, 3, 4095},
        {"3", 3, 4096, 78, 4095},
        {"3", 3, 4096, 3, 4095},
        {"5", 4, 4096, 78, 4095},
        // Without bit 0 nothing is written.
        {"0", 3, 4096, 3, KEPT},
        {"2", 3, 12, 3, KEPT},
        {"6", 3, 4096, 3, KEPT},
        {"4294967294", 3, 12, 3, KEPT},
    };
    for (const auto& row : ROWS) {
        const std::string rule = "7;3,100-200;*;80;" + std::string(row.numberA) + ";9";
        SCOPED_TRACE(::testing::Message() << rule << ' ' << row.listValue16 << ' '
                                          << row.listValue12 << ' ' << row.before);
        flow.listValue16 = row.listValue16;
        flow.listValue12 = row.listValue12;
        flow.outListValue = row.before;
        // Nobody wants it.
        EXPECT_TRUE(covers(rule, flow, false));
        EXPECT_EQ(row.before, flow.outListValue);
        EXPECT_TRUE(covers(rule, flow, true));
        EXPECT_EQ(row.after == KEPT ? row.before : row.after, flow.outListValue);
    }
}

TEST(CompoundLookup, ReportsTheFirstRuleThatCovers) {
    int data = 0;
    const RuleGroupHandle group = makeCompoundGroup({{"8;*;*;*;4;50", 10},
                                                     {"7;*;*;*;0;51", 11, &data},
                                                     {"*;*;*;*;4;52", 12},
                                                     {"7;*;*;*;4;53", 13}});
    CompoundFlow flow = coveredFlow(4);
    MatchResult hit{};
    EXPECT_EQ(1, matchCompound(group.get(), &flow, true, &hit));
    EXPECT_EQ(2, hit.ruleIndex);
    EXPECT_EQ(11, hit.ruleValue);
    EXPECT_EQ(ruleIdAt(2), hit.ruleId);
    EXPECT_EQ(&data, hit.userData);
    // Only that rule writes.
    EXPECT_EQ(51, flow.outNumber);
    EXPECT_EQ(79, flow.outMark);
    flow.value32 = 9;
    EXPECT_EQ(1, matchCompound(group.get(), &flow, true, &hit));
    EXPECT_EQ(3, hit.ruleIndex);
    EXPECT_EQ(nullptr, hit.userData);
    EXPECT_EQ(52, flow.outNumber);
    EXPECT_EQ(1, flow.outMark);
}

TEST(CompoundLookup, LeavesFlowAndResultAloneWithoutARule) {
    for (const RuleGroupHandle& group :
         {makeCompoundGroup({}), makeCompoundGroup({{"8;*;*;*;7;50"}, {"7;*;*;81;7;50"}})}) {
        CompoundFlow flow = coveredFlow(6);
        flow.listValue12 = 4096;
        const CompoundFlow before = flow;
        MatchResult result{1, 2, 3, &flow};
        EXPECT_EQ(0, matchCompound(group.get(), &flow, true, &result));
        EXPECT_TRUE(isSame(before, flow));
        EXPECT_EQ(1, result.ruleIndex);
        EXPECT_EQ(2, result.ruleValue);
        EXPECT_EQ(3, result.ruleId);
        EXPECT_EQ(&flow, result.userData);
    }
}

TEST(CompoundLookup, HandsTheWishForAListValueOn) {
    const RuleGroupHandle group = makeCompoundGroup({{"*;*;*;*;1;0"}});
    CompoundFlow flow = coveredFlow(4);
    flow.listValue12 = 4096;
    MatchResult hit{};
    EXPECT_EQ(1, matchCompound(group.get(), &flow, false, &hit));
    EXPECT_EQ(78, flow.outListValue);
    EXPECT_EQ(1, matchCompound(group.get(), &flow, true, &hit));
    EXPECT_EQ(4095, flow.outListValue);
}

}  // namespace

}  // namespace rs::test
