#include "compound/compound_rule.h"

#include <ruleset.h>
#include <ruleset_static.h>

#include <cstdint>
#include <malloc.h>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "core/memory.h"
#include "support/rule_handles.h"
#include "support/text.h"

namespace rs::test {

namespace {

int32_t addStatus(std::string_view rule) {
    const RuleSetHandle set = newRuleSet(RULE_TYPE_COMPOUND);
    const ExactText text(rule);
    return rs_addRuleToRuleSet(set.get(), text.data(), text.size(), 0, 1);
}

// A rule parsed into a record of its own, whose lists are freed here, also after a failure.
class ParsedRule {
public:
    explicit ParsedRule(std::string_view rule) {
        const ExactText text(rule);
        status = parseCompoundRule(text.data(), text.size(), &record);
    }
    ~ParsedRule() {
        freeRangeList(&record.rangeListA);
        freeRangeList(&record.rangeList16);
        freeRangeList(&record.addressList);
        freeRangeList(&record.rangeListB);
    }
    ParsedRule(const ParsedRule&) = delete;
    ParsedRule& operator=(const ParsedRule&) = delete;

    int32_t status;
    CompoundRule record{};
};

using Pairs = std::vector<std::pair<uint32_t, uint32_t>>;

template <typename Range>
Pairs pairsOf(const Range* list) {
    Pairs pairs;
    for (; list != nullptr; list = list->next) {
        pairs.emplace_back(list->low, list->high);
    }
    return pairs;
}

struct RangeRow {
    std::string_view item;
    Pairs ranges;  // empty when the item is refused
};

// Reads each item as the whole of fields 1 and 2, or of field 4.
void expectRanges(const std::vector<RangeRow>& rows, bool isField4) {
    for (const RangeRow& row : rows) {
        SCOPED_TRACE(row.item);
        const std::string item(row.item);
        const ParsedRule rule(isField4 ? "*;*;*;" + item + ";0;0" : item + ";" + item + ";*;*;0;0");
        EXPECT_EQ(row.ranges.empty() ? RULE_ERR_FAILED : RULE_OK, rule.status);
        if (isField4) {
            EXPECT_EQ(row.ranges, pairsOf(rule.record.rangeList16));
        } else {
            EXPECT_EQ(row.ranges, pairsOf(rule.record.rangeListA));
            // Field 2 is not reached when field 1 is bad.
            EXPECT_EQ(row.ranges, pairsOf(rule.record.rangeListB));
        }
    }
}

constexpr uint32_t LARGEST = UINT32_MAX;
constexpr uint32_t LARGEST_16 = UINT16_MAX;

struct NumberRow {
    std::string_view text;
    int32_t status;
    uint32_t value;
};

void expectNumbers(const std::vector<NumberRow>& rows) {
    for (const NumberRow& row : rows) {
        SCOPED_TRACE(row.text);
        const ExactText text(row.text);
        uint32_t value = 77;
        EXPECT_EQ(row.status, parseCompoundNumber({text.data(), text.size()}, &value));
        EXPECT_EQ(row.status == RULE_OK ? row.value : 77, value);
        EXPECT_EQ(row.status, parseCompoundNumber({text.data(), text.size()}, nullptr));
    }
}

TEST(CompoundNumber, IsDecimalOrHexadecimal) {
    expectNumbers({
        {"0", RULE_OK, 0},
        {"007", RULE_OK, 7},
        {"4294967295", RULE_OK, LARGEST},
        {"0x10", RULE_OK, 16},
        {"0X10", RULE_OK, 16},
        {"0x0000000000010", RULE_OK, 16},
        {"0x", RULE_ERR_FAILED, 0},
        {"0xg", RULE_ERR_FAILED, 0},
        {"0x1g", RULE_ERR_FAILED, 0},
        {"0x 1", RULE_ERR_FAILED, 0},
        {"0x0x1", RULE_ERR_FAILED, 0},
        // Only a single 0 stands before the x.
        {"00x1", RULE_ERR_FAILED, 0},
        {"1x1", RULE_ERR_FAILED, 0},
        {"x1", RULE_ERR_FAILED, 0},
        {"a", RULE_ERR_FAILED, 0},
        {"12abc", RULE_ERR_FAILED, 0},
        {"-1", RULE_ERR_FAILED, 0},
        {"+1", RULE_ERR_FAILED, 0},
    });
}

TEST(CompoundNumber, CountsHexadecimalLettersFromZeroToFive) {
    expectNumbers({
        {"0xA", RULE_OK, 0},
        {"0xa", RULE_OK, 0},
        {"0xabcdef", RULE_OK, 0x012345},
        {"0xABCDEF", RULE_OK, 0x012345},
        {"0x1f", RULE_OK, 0x15},
        {"0xFfFfFfFf", RULE_OK, 0x55555555},
    });
}

TEST(CompoundNumber, OverflowsOnlyWhereADigitMakesItSmaller) {
    expectNumbers({
        {"4294967296", RULE_ERR_FAILED, 0},
        {"9999999999", RULE_OK, 1410065407},
        // 1410065407 is followed by 1215752191, which is smaller.
        {"99999999999", RULE_ERR_FAILED, 0},
        {"0x99999999", RULE_OK, 0x99999999},
        {"0x123456789", RULE_OK, 0x23456789},
        {"0x100000000", RULE_ERR_FAILED, 0},
        // Equal is not smaller.
        {"0x555555555", RULE_OK, 0x55555555},
        {"0xffffffffffff", RULE_OK, 0x55555555},
        {"0x0000000000000000", RULE_OK, 0},
    });
}

TEST(CompoundNumber, HasBlanksOnlyAround) {
    expectNumbers({
        {" 12 ", RULE_OK, 12},
        {"\t\r\n 0x12\t\r\n ", RULE_OK, 0x12},
        {"1 2", RULE_ERR_FAILED, 0},
        {"0 x1", RULE_ERR_FAILED, 0},
        {"", RULE_ERR_FAILED, 0},
        {" \t\r\n", RULE_ERR_FAILED, 0},
        // Other control characters are no blanks.
        {"12\v", RULE_ERR_FAILED, 0},
        {"\f12", RULE_ERR_FAILED, 0},
        {std::string_view("12\0", 3), RULE_ERR_FAILED, 0},
    });
}

TEST(CompoundRange, OfThirtyTwoBitsReadsEveryForm) {
    expectRanges(
        {
            {"5", {{5, 5}}},
            {"5-9", {{5, 9}}},
            {"5-5", {{5, 5}}},
            {"20-10", {}},
            {"*", {{0, LARGEST}}},
            {"**", {{0, LARGEST}}},
            // A number and what is above it.
            {"5*", {{5, LARGEST}}},
            {"4294967295*", {{LARGEST, LARGEST}}},
            // What is below a number.
            {"*-5", {{0, 5}}},
            {"*-0", {{0, 0}}},
            {"007-0009", {{7, 9}}},
            {"5-", {}},
            {"-5", {}},
            {"*-", {}},
            {"*-*", {}},
            {"5-*", {}},
            {"5*-9", {}},
            {"***", {}},
            {"*5", {}},
            {"5-9*", {}},
            {"5-9-11", {}},
            {"0x5", {}},
            {"5x", {}},
        },
        false);
}

TEST(CompoundRange, OfThirtyTwoBitsOverflowsOnlyWhereADigitMakesItSmaller) {
    expectRanges(
        {
            {"4294967295", {{LARGEST, LARGEST}}},
            {"4294967296", {}},
            {"9999999999", {{1410065407, 1410065407}}},
            {"7-9999999999", {{7, 1410065407}}},
            {"2000000000-9999999999", {}},
            {"7-4294967296", {}},
        },
        false);
}

TEST(CompoundRange, OfSixteenBitsReadsEveryForm) {
    expectRanges(
        {
            {"*", {{0, LARGEST_16}}},
            {"**", {{0, LARGEST_16}}},
            {"5*", {{5, LARGEST_16}}},
            {"*-5", {{0, 5}}},
            {"0", {{0, 0}}},
            {"65535", {{LARGEST_16, LARGEST_16}}},
            {"80,443,1000-2000,80", {{80, 80}, {443, 443}, {1000, 2000}, {80, 80}}},
            {"20-10", {}},
            {"5-*", {}},
            {"*-*", {}},
        },
        true);
}

TEST(CompoundRange, OfSixteenBitsOverflowsOnlyWhereADigitMakesItSmaller) {
    expectRanges(
        {
            {"65536", {}},
            {"70000", {}},
            {"99999", {{34463, 34463}}},
            {"5-99999", {{5, 34463}}},
            {"40000-99999", {}},
            {"5-70000", {}},
            // 34463 is followed by 16959, which is smaller.
            {"999999", {}},
            {"99999*", {{34463, LARGEST_16}}},
            {"0000065535", {{LARGEST_16, LARGEST_16}}},
        },
        true);
}

TEST(CompoundRange, HasBlanksOnlyAround) {
    for (const bool isField4 : {false, true}) {
        const uint32_t largest = isField4 ? LARGEST_16 : LARGEST;
        expectRanges(
            {
                {" 5", {{5, 5}}},
                {"5\t", {{5, 5}}},
                {"\r\n5-9\r\n,\t*\t", {{5, 9}, {0, largest}}},
                {" 5* , 6 ", {{5, largest}, {6, 6}}},
                {"5 -9", {}},
                {"5- 9", {}},
                {"5 *", {}},
                {"* -9", {}},
                {"5 9", {}},
                {"5\v", {}},
            },
            isField4);
    }
}

TEST(CompoundRange, IsNoEmptyItem) {
    for (const bool isField4 : {false, true}) {
        SCOPED_TRACE(isField4);
        for (const std::string item : {" ", ",", "1,", ",1", "1,,1", "1, ", " ,1"}) {
            const ParsedRule rule(isField4 ? "*;*;*;" + item + ";0;0" : "*;" + item + ";*;*;0;0");
            EXPECT_EQ(RULE_ERR_FAILED, rule.status) << item;
        }
    }
}

TEST(CompoundRule, KeepsListsInTextOrder) {
    const ParsedRule rule("10-20,30;7,6,5;10.0.0.9,10.0.0.1-10.0.0.2,*;443,80;0x12;0x34");
    ASSERT_EQ(RULE_OK, rule.status);
    EXPECT_EQ((Pairs{{10, 20}, {30, 30}}), pairsOf(rule.record.rangeListA));
    EXPECT_EQ((Pairs{{7, 7}, {6, 6}, {5, 5}}), pairsOf(rule.record.rangeListB));
    EXPECT_EQ((Pairs{{443, 443}, {80, 80}}), pairsOf(rule.record.rangeList16));
    EXPECT_EQ(0x12, rule.record.numberA);
    EXPECT_EQ(0x34, rule.record.numberB);
    std::vector<std::pair<Address128, Address128>> addresses;
    for (const auto* at = rule.record.addressList; at != nullptr; at = at->next) {
        addresses.emplace_back(at->low, at->high);
    }
    const std::vector<std::pair<Address128, Address128>> expected{
        {mappedAddress(0x0A000009), mappedAddress(0x0A000009)},
        {mappedAddress(0x0A000001), mappedAddress(0x0A000002)},
        {{{0, 0, 0, 0}}, {{LARGEST, LARGEST, LARGEST, LARGEST}}}};
    EXPECT_TRUE(expected == addresses);
}

TEST(CompoundRule, ReadsAddressesAsIpRulesDo) {
    constexpr struct {
        std::string_view field;
        int32_t status;
    } ROWS[] = {
        {"10.0.0.0/8,::1,2001:db8::/32,10.0.0.1-10.0.0.9", RULE_OK},
        {" 10.0.0.1 , * ,\t::1\r\n", RULE_OK},
        {"**", RULE_ERR_BAD_RULE},
        {"*-10.0.0.1", RULE_ERR_BAD_RULE},
        {"1.2.3", RULE_ERR_BAD_RULE},
        {"10.0.0.9-10.0.0.1", RULE_ERR_BAD_RULE},
        {"10.0.0.1/0", RULE_ERR_BAD_RULE},
        {" ", RULE_ERR_BAD_RULE},
        {"10.0.0.1, ", RULE_ERR_BAD_RULE},
        // The list, not the address, is at fault.
        {"10.0.0.1,", RULE_ERR_FAILED},
        {",10.0.0.1", RULE_ERR_FAILED},
        {"10.0.0.1,,*", RULE_ERR_FAILED},
    };
    for (const auto& row : ROWS) {
        const ParsedRule rule("*;*;" + std::string(row.field) + ";*;0;0");
        EXPECT_EQ(row.status, rule.status) << row.field;
    }
}

TEST(CompoundRule, NamesIpv6AddressesOnlyWhileTheOptionAllows) {
    setLibraryOption(RULE_OPTION_IPV6, 0);
    EXPECT_EQ(RULE_ERR_BAD_RULE, ParsedRule("*;*;::1;*;0;0").status);
    EXPECT_EQ(RULE_OK, ParsedRule("*;*;10.0.0.1,*;*;0;0").status);
    setLibraryOption(RULE_OPTION_IPV6, 1);
    EXPECT_EQ(RULE_OK, ParsedRule("*;*;::1;*;0;0").status);
}

TEST(CompoundRule, HasSixFieldsNoneOfThemEmpty) {
    constexpr struct {
        std::string_view text;
        int32_t status;
    } ROWS[] = {
        {"*;*;*;*;0;0", RULE_OK},
        {"\r\n\t *;*;*;*;0;0 \t\r\n", RULE_OK},
        {" 1-10 , 20;5*;10.0.0.0/8, ::1, * ;80; 0 ; 7 ", RULE_OK},
        {"*;*;*;*;0", RULE_ERR_BAD_RULE},
        {";*;*;*;0;0", RULE_ERR_BAD_RULE},
        {"*;;*;*;0;0", RULE_ERR_BAD_RULE},
        {"*;*;;*;0;0", RULE_ERR_BAD_RULE},
        {"*;*;*;;0;0", RULE_ERR_BAD_RULE},
        {"*;*;*;*;;0", RULE_ERR_BAD_RULE},
        {"*;*;*;*;0;", RULE_ERR_BAD_RULE},
        // The blank goes with those around the rule.
        {"*;*;*;*;0; ", RULE_ERR_BAD_RULE},
        {";;;;;", RULE_ERR_BAD_RULE},
        {"", RULE_ERR_BAD_RULE},
        {" ", RULE_ERR_BAD_RULE},
        // A blank is a field, but no number and no range.
        {"*;*;*;*; ;0", RULE_ERR_FAILED},
        {" ;*;*;*;0;0", RULE_ERR_BAD_RULE},
        {"*; ;*;*;0;0", RULE_ERR_FAILED},
        // What follows the fifth semicolon is all one number.
        {"*;*;*;*;0;0;", RULE_ERR_FAILED},
        {"*;*;*;*;0;0;0", RULE_ERR_FAILED},
        {"*;*;*;*;0;0 x", RULE_ERR_FAILED},
    };
    for (const auto& row : ROWS) {
        EXPECT_EQ(row.status, ParsedRule(row.text).status) << row.text;
    }
}

TEST(CompoundRule, IsABadRuleToTheHostWhateverIsWrong) {
    for (const std::string_view text :
         {"*;*;*;70000;0;0", "20-10;*;*;*;0;0", "1 -2;*;*;*;0;0", "1,,2;*;*;*;0;0", "1,;*;*;*;0;0",
          "*;*;*;*;0", "*;*;*;*;x;0", "*;*;*;*;0;0 x", "*;*;1.2.3;*;0;0", ""}) {
        EXPECT_EQ(RULE_ERR_BAD_RULE, addStatus(text)) << text;
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
    EXPECT_EQ(RULE_ERR_BAD_RULE, ParsedRule(rule + "0").status);
}

TEST(CompoundRule, MatchesAllWhenOnlyFieldFourAsks) {
    constexpr struct {
        std::string_view text;
        uint32_t matchesAll;
    } ROWS[] = {
        {"*;*;*;*;0;0", 1},
        // Field 4 does not count.
        {"*;*;*;80;0;0", 1},
        {"*;*;*;80,443;0;0", 1},
        // However it is written.
        {"0-4294967295;0*;::-ffff:ffff:ffff:ffff:ffff:ffff:ffff:ffff;*;0x0;0xA", 1},
        {"1*;*;*;*;0;0", 0},
        {"*-4294967294;*;*;*;0;0", 0},
        {"*,*;*;*;*;0;0", 0},
        {"*;1*;*;*;0;0", 0},
        {"*;*-4294967294;*;*;0;0", 0},
        {"*;*,*;*;*;0;0", 0},
        {"*;*;*,*;*;0;0", 0},
        {"*;*;0.0.0.0-255.255.255.255;*;0;0", 0},
        {"*;*;::1-ffff:ffff:ffff:ffff:ffff:ffff:ffff:ffff;*;0;0", 0},
        {"*;*;::-ffff:ffff:ffff:ffff:ffff:ffff:ffff:fffe;*;0;0", 0},
        {"*;*;*;*;1;0", 0},
        {"*;*;*;*;0;1", 0},
    };
    for (const auto& row : ROWS) {
        const ParsedRule rule(row.text);
        EXPECT_EQ(RULE_OK, rule.status) << row.text;
        EXPECT_EQ(row.matchesAll, rule.record.matchesAll) << row.text;
    }
}

TEST(CompoundRule, LeavesTheListsToTheCallerWhenItFails) {
    const ParsedRule rule("1,2;3;10.0.0.1,10.0.0.2;80,81,x;0;0");
    EXPECT_EQ(RULE_ERR_FAILED, rule.status);
    EXPECT_EQ((Pairs{{1, 1}, {2, 2}}), pairsOf(rule.record.rangeListA));
    EXPECT_EQ((Pairs{{3, 3}}), pairsOf(rule.record.rangeListB));
    EXPECT_EQ((Pairs{{80, 80}, {81, 81}}), pairsOf(rule.record.rangeList16));
    ASSERT_NE(nullptr, rule.record.addressList);
    EXPECT_NE(nullptr, rule.record.addressList->next);
}

TEST(CompoundRecord, KeepsTheTextAsGivenWithANul) {
    constexpr std::string_view TEXT = " 5;*;*;*;1;2\n";
    const ExactText text(TEXT);
    int data = 0;
    int32_t status = RULE_ERR_FAILED;
    const Owned<CompoundRuleRecord, freeCompoundRecord> record(
        makeCompoundRule(text.data(), text.size(), {11, 12, &data}, &status));
    ASSERT_NE(nullptr, record);
    EXPECT_EQ(RULE_OK, status);
    EXPECT_STREQ(std::string(TEXT).c_str(), record->text);
    EXPECT_EQ(11, record->rule.ruleValue);
    EXPECT_EQ(12, record->rule.ruleId);
    EXPECT_EQ(&data, record->rule.userData);
}

// The allocator rounds sizes up: of texts whose lengths follow each other, one fills its block.
TEST(CompoundRecord, HasRoomForTheNul) {
    for (size_t blanks = 0; blanks < 64; ++blanks) {
        const std::string text = std::string(blanks, ' ') + "5;*;*;*;1;2";
        int32_t status = RULE_ERR_FAILED;
        const Owned<CompoundRuleRecord, freeCompoundRecord> record(
            makeCompoundRule(text.data(), size32(text), {}, &status));
        ASSERT_NE(nullptr, record);
        ASSERT_LT(text.size(), malloc_usable_size(record->text));
        EXPECT_STREQ(text.c_str(), record->text);
    }
}

TEST(CompoundRecord, IsFreedWithTheListsThatItHas) {
    // The address sanitizer counts what is left.
    freeCompoundRecord(nullptr);
    freeCompoundRecord(allocateRecord<CompoundRuleRecord>());
    constexpr std::string_view FAILING[] = {"1,2,x;*;*;*;0;0", "1,2;3,x;*;*;0;0",
                                            "1;2;::1,x;*;0;0", "1;2;::1;80,x;0;0",
                                            "1;2;::1;80;x;0",  "1;2;::1;80;0;x"};
    for (const std::string_view rule : FAILING) {
        const ExactText text(rule);
        int32_t status = RULE_OK;
        EXPECT_EQ(nullptr, makeCompoundRule(text.data(), text.size(), {0, 1, nullptr}, &status));
        EXPECT_EQ(RULE_ERR_BAD_RULE, status) << rule;
    }
}

}  // namespace

}  // namespace rs::test
