#include "endpoint/endpoint_structures.h"

#include <cstdint>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/endpoint_text.h"
#include "support/match_result.h"

namespace rs::test {

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

// The least that the structures and lookups ask of an entry.
struct Entry {
    uint32_t ruleIndex;
    uint32_t ruleValue;
    uint32_t ruleId;
    void* userData;
    Entry* next;
};

std::string entryText(const Entry& entry) {
    return ruleText(entry.ruleIndex, 0);
}

Entry* makeEntry(uint32_t ruleIndex) {
    auto* entry = allocateRecord<Entry>();
    *entry = {ruleIndex, 10 * ruleIndex, 100 * ruleIndex, nullptr, nullptr};
    return entry;
}

// The maker of an insertion: entries of one rule, or none at all.
auto making(uint32_t ruleIndex) {
    return [ruleIndex]() { return makeEntry(ruleIndex); };
}

Entry* makeNothing() {
    return nullptr;
}

// Takes every entry, whatever its rule.
int32_t takeAny(const Entry& /*entry*/) {
    return 1;
}

// Takes the entries of one rule.
auto taking(uint32_t ruleIndex) {
    return [ruleIndex](const Entry& entry) { return entry.ruleIndex == ruleIndex ? 1 : 0; };
}

class EndpointStructuresTest : public ::testing::Test {
protected:
    void TearDown() override { EXPECT_EQ(made, freeAll().size()); }

    // The rules of the entries in the order in which they are freed.
    std::vector<uint32_t> freeAll() {
        const auto freeEntry = [this](Entry* entry) {
            freed.push_back(entry->ruleIndex);
            freeMemory(entry);
        };
        freeEntryList(any, freeEntry);
        freeExactTable<Entry, uint32_t>(exact4, freeEntry);
        freeBlockIndex(blocks, freeEntry);
        freeExactTable<Entry, Address128>(exact6, freeEntry);
        freeRanges(ranges, freeEntry);
        return freed;
    }

    Lines lines() const {
        const EndpointStructures<Entry> structures{any, exact4, blocks, nullptr, exact6, ranges};
        return linesOf(structures, entryText);
    }

    void addAny(uint32_t rule) {
        EXPECT_TRUE(insertIntoList(any, making(rule)));
        ++made;
    }
    template <typename Address>
    void addExact(HashTable*& table, const Address& address, uint32_t rule) {
        EXPECT_TRUE(insertExact<Entry>(table, address, making(rule)));
        ++made;
    }
    void addBlocks(uint32_t low, uint32_t high, uint32_t rule) {
        EXPECT_TRUE(insertIntoBlocks(blocks, low, high, making(rule)));
        made += (high >> 16U) - (low >> 16U) + 1;
    }
    void addRange(const Address128& low, const Address128& high, uint32_t rule) {
        EXPECT_TRUE(insertIntoRanges(ranges, finder, low, high, making(rule)));
        ++made;
    }

    EntryList<Entry>* any = nullptr;
    HashTable* exact4 = nullptr;
    BlockIndex<Entry>* blocks = nullptr;
    HashTable* exact6 = nullptr;
    RangeList<Entry>* ranges = nullptr;
    RangeFinder<RangeBucket<Entry>> finder;
    size_t made = 0;
    std::vector<uint32_t> freed;
};

constexpr Address128 address(uint32_t last) {
    return {{0x20010db8, 0, 0, last}};
}

TEST_F(EndpointStructuresTest, ListsAppendAndCount) {
    addAny(1);
    addAny(2);
    addAny(3);
    EXPECT_THAT(lines(), ElementsAre("any4 #1", "any4 #2", "any4 #3"));
    EXPECT_EQ(3, any->count);
    EXPECT_THAT(freeAll(), ElementsAre(1, 2, 3));
    EXPECT_EQ(nullptr, any);
}

TEST_F(EndpointStructuresTest, ExactTablesShareTheNodeOfAnAddress) {
    addExact(exact4, 0x0A000001U, 1);
    addExact(exact4, 0x0A000001U, 2);
    addExact(exact4, 0x0A000002U, 3);
    addExact(exact6, address(1), 4);
    addExact(exact6, address(1), 5);
    EXPECT_EQ(4095, exact4->bucketCount);
    EXPECT_EQ(4095, exact6->bucketCount);
    EXPECT_EQ(2, exact4->elementCount);
    EXPECT_EQ(1, exact6->elementCount);
    EXPECT_EQ(1, scanExact<Entry>(exact4, 0x0A000001U, takeAny).entry->ruleIndex);
    EXPECT_EQ(2, scanExact<Entry>(exact4, 0x0A000001U, taking(2)).entry->ruleIndex);
    EXPECT_EQ(0, scanExact<Entry>(exact4, 0x0A000001U, taking(3)).status);
    EXPECT_EQ(3, scanExact<Entry>(exact4, 0x0A000002U, takeAny).entry->ruleIndex);
    EXPECT_EQ(0, scanExact<Entry>(exact4, 0x0A000003U, takeAny).status);
    EXPECT_EQ(4, scanExact<Entry>(exact6, address(1), takeAny).entry->ruleIndex);
    EXPECT_EQ(0, scanExact<Entry>(exact6, address(2), takeAny).status);
}

// Two addresses in one bucket are told apart by the whole key.
TEST_F(EndpointStructuresTest, ExactTablesTellNeighboursInABucketApart) {
    constexpr uint32_t FIRST = 0x0A000001;
    uint32_t second = FIRST + 1;
    while (hashIPv4(second) % 4095 != hashIPv4(FIRST) % 4095) {
        ++second;
    }
    addExact(exact4, FIRST, 1);
    addExact(exact4, second, 2);
    EXPECT_EQ(2, exact4->elementCount);
    EXPECT_EQ(1, scanExact<Entry>(exact4, FIRST, takeAny).entry->ruleIndex);
    EXPECT_EQ(2, scanExact<Entry>(exact4, second, takeAny).entry->ruleIndex);
}

TEST_F(EndpointStructuresTest, ExactTablesFreeNodesAndEntries) {
    for (uint32_t rule = 1; rule <= 20; ++rule) {
        addExact(exact4, rule % 7, rule);
    }
    EXPECT_EQ(7, exact4->elementCount);
    EXPECT_EQ(20, freeAll().size());
    EXPECT_EQ(nullptr, exact4);
}

TEST_F(EndpointStructuresTest, BlocksSplitARange) {
    addBlocks(0x09FFFF01, 0x0A010005, 1);
    EXPECT_THAT(lines(), ElementsAre("blocks4 9.255 ff01-ffff #1", "blocks4 10.0 0-ffff #1",
                                     "blocks4 10.1 0-5 #1"));
    EXPECT_EQ(1, blocks->count);
    EXPECT_EQ(nullptr, blocks->slots[8]);
    EXPECT_EQ(nullptr, blocks->slots[11]);
}

TEST_F(EndpointStructuresTest, BlocksTakeARangeInsideOne) {
    addBlocks(0x0A010203, 0x0A010209, 1);
    addBlocks(0x0A010000, 0x0A01FFFF, 2);
    EXPECT_THAT(lines(), ElementsAre("blocks4 10.1 203-209 #1", "blocks4 10.1 0-ffff #2"));
    EXPECT_EQ(2, blocks->count);
}

TEST_F(EndpointStructuresTest, BlocksReachTheLastAddress) {
    addBlocks(0xFFFE0000, 0xFFFFFFFF, 1);
    addBlocks(0, 0, 2);
    EXPECT_THAT(lines(), ElementsAre("blocks4 0.0 0 #2", "blocks4 255.254 0-ffff #1",
                                     "blocks4 255.255 0-ffff #1"));
    EXPECT_EQ(1, scanBlocks<Entry>(blocks, 0xFFFFFFFF, takeAny).entry->ruleIndex);
    EXPECT_EQ(2, scanBlocks<Entry>(blocks, 0, takeAny).entry->ruleIndex);
    EXPECT_EQ(0, scanBlocks<Entry>(blocks, 1, takeAny).status);
}

TEST_F(EndpointStructuresTest, BlocksPassSpansOverThatDoNotHoldTheAddress) {
    addBlocks(0x0A000005, 0x0A000009, 1);
    addBlocks(0x0A000000, 0x0A0000FF, 2);
    EXPECT_EQ(1, scanBlocks<Entry>(blocks, 0x0A000005, takeAny).entry->ruleIndex);
    EXPECT_EQ(1, scanBlocks<Entry>(blocks, 0x0A000009, takeAny).entry->ruleIndex);
    EXPECT_EQ(2, scanBlocks<Entry>(blocks, 0x0A000004, takeAny).entry->ruleIndex);
    EXPECT_EQ(2, scanBlocks<Entry>(blocks, 0x0A00000A, takeAny).entry->ruleIndex);
    EXPECT_EQ(2, scanBlocks<Entry>(blocks, 0x0A000005, taking(2)).entry->ruleIndex);
    EXPECT_EQ(0, scanBlocks<Entry>(blocks, 0x0A000100, takeAny).status);
    EXPECT_EQ(0, scanBlocks<Entry>(blocks, 0x0A010005, takeAny).status);
    EXPECT_EQ(0, scanBlocks<Entry>(blocks, 0x0B000005, takeAny).status);
}

TEST_F(EndpointStructuresTest, RangesStandInOrderOfTheirFirstUse) {
    addRange(address(0), address(9), 1);
    addRange(address(0), address(5), 2);
    addRange(address(0), address(9), 3);
    addRange(address(1), address(9), 4);
    EXPECT_THAT(lines(), ElementsAre("ranges6 20010db8:0:0:0-20010db8:0:0:9 #1",
                                     "ranges6 20010db8:0:0:0-20010db8:0:0:9 #3",
                                     "ranges6 20010db8:0:0:0-20010db8:0:0:5 #2",
                                     "ranges6 20010db8:0:0:1-20010db8:0:0:9 #4"));
    EXPECT_EQ(4, ranges->count);
    EXPECT_THAT(freeAll(), ElementsAre(1, 3, 2, 4));
}

TEST_F(EndpointStructuresTest, TheFirstRangeThatAnswersWins) {
    addRange(address(0), address(9), 1);
    addRange(address(0), address(5), 2);
    addRange(address(0), address(9), 3);
    const auto takeLater = [](const Entry& entry) { return entry.ruleIndex >= 2 ? 1 : 0; };
    EXPECT_EQ(3, scanRanges<Entry>(ranges, address(4), takeLater).entry->ruleIndex);
    EXPECT_EQ(2, scanRanges<Entry>(ranges, address(4), taking(2)).entry->ruleIndex);
    EXPECT_EQ(0, scanRanges<Entry>(ranges, address(6), taking(2)).status);
    EXPECT_EQ(1, scanRanges<Entry>(ranges, address(0), takeAny).entry->ruleIndex);
    EXPECT_EQ(1, scanRanges<Entry>(ranges, address(9), takeAny).entry->ruleIndex);
    EXPECT_EQ(0, scanRanges<Entry>(ranges, address(10), takeAny).status);
    EXPECT_EQ(0, scanRanges<Entry>(ranges, {{0x20010db7, ~0U, ~0U, ~0U}}, takeAny).status);
}

TEST_F(EndpointStructuresTest, HaveNoAnswerWhileTheyAreMissing) {
    EXPECT_EQ(0, scanList<Entry>(any, takeAny).status);
    EXPECT_EQ(0, scanExact<Entry>(exact4, 1U, takeAny).status);
    EXPECT_EQ(0, scanExact<Entry>(exact6, address(1), takeAny).status);
    EXPECT_EQ(0, scanBlocks<Entry>(blocks, 1, takeAny).status);
    EXPECT_EQ(0, scanRanges<Entry>(ranges, address(1), takeAny).status);
    EXPECT_THAT(lines(), IsEmpty());
}

// What is there stays when no entry can be made.
TEST_F(EndpointStructuresTest, EnterNothingWithoutAnEntry) {
    addAny(1);
    addExact(exact4, 5U, 2);
    addBlocks(0x0A000000, 0x0A000001, 3);
    addRange(address(0), address(1), 4);
    const Lines before = lines();
    EXPECT_FALSE(insertIntoList(any, makeNothing));
    EXPECT_FALSE(insertExact<Entry>(exact4, 5U, makeNothing));
    EXPECT_FALSE(insertExact<Entry>(exact4, 6U, makeNothing));
    EXPECT_FALSE(insertExact<Entry>(exact6, address(1), makeNothing));
    EXPECT_FALSE(insertIntoBlocks(blocks, 0x0A000000, 0x0A000001, makeNothing));
    EXPECT_FALSE(insertIntoRanges(ranges, finder, address(0), address(1), makeNothing));
    EXPECT_FALSE(insertIntoRanges(ranges, finder, address(2), address(3), makeNothing));
    EXPECT_EQ(before, lines());
    EXPECT_EQ(1, any->count);
    EXPECT_EQ(1, exact4->elementCount);
    EXPECT_EQ(1, blocks->count);
    EXPECT_EQ(1, ranges->count);
}

TEST_F(EndpointStructuresTest, KeepTheBlocksThatWereEnteredBeforeAFailure) {
    uint32_t calls = 0;
    const auto makeTwo = [&calls]() { return ++calls <= 2 ? makeEntry(7) : nullptr; };
    EXPECT_FALSE(insertIntoBlocks(blocks, 0x0A000000, 0x0A030000, makeTwo));
    made = 2;
    EXPECT_THAT(lines(), ElementsAre("blocks4 10.0 0-ffff #7", "blocks4 10.1 0-ffff #7"));
    EXPECT_EQ(0, blocks->count);
}

TEST(EntryScan, EndsAtTheFirstStatusButZero) {
    Entry third{3, 0, 0, nullptr, nullptr};
    Entry second{2, 0, 0, nullptr, &third};
    const Entry first{1, 0, 0, nullptr, &second};
    std::vector<uint32_t> seen;
    const auto scan = [&](uint32_t endIndex, int32_t status) {
        seen.clear();
        return scanEntries(&first, [&](const Entry& entry) {
            seen.push_back(entry.ruleIndex);
            return entry.ruleIndex == endIndex ? status : 0;
        });
    };
    EXPECT_EQ(&second, scan(2, 1).entry);
    EXPECT_THAT(seen, ElementsAre(1, 2));
    EXPECT_EQ(RULE_ERR_INVALID_ARG, scan(2, RULE_ERR_INVALID_ARG).status);
    EXPECT_EQ(nullptr, scan(2, RULE_ERR_INVALID_ARG).entry);
    EXPECT_THAT(seen, ElementsAre(1, 2));
    EXPECT_EQ(0, scan(4, 1).status);
    EXPECT_THAT(seen, ElementsAre(1, 2, 3));
    EXPECT_EQ(0, scanEntries<Entry>(nullptr, takeAny).status);
}

// One structure's answer: an entry, nothing, or a failure.
auto answering(const Entry& entry) {
    return [&entry]() { return EntryAnswer<Entry>{1, &entry}; };
}
auto answering(int32_t status) {
    return [status]() { return EntryAnswer<Entry>{status, nullptr}; };
}

TEST(CombinedAnswer, IsOfTheSmallestRule) {
    int userData = 0;
    const Entry second{2, 20, 200, &userData, nullptr};
    const Entry third{3, 30, 300, nullptr, nullptr};
    const Entry fourth{4, 40, 400, nullptr, nullptr};
    MatchResult result{};
    EXPECT_EQ(1, combineAnswers(result, answering(third), answering(second), answering(fourth)));
    EXPECT_EQ(2, result.ruleIndex);
    EXPECT_EQ(20, result.ruleValue);
    EXPECT_EQ(200, result.ruleId);
    EXPECT_EQ(&userData, result.userData);
    EXPECT_EQ(1, combineAnswers(result, answering(0), answering(0), answering(fourth)));
    EXPECT_EQ(4, result.ruleIndex);
}

TEST(CombinedAnswer, OfTheSameRuleIsTheLaterOne) {
    const Entry earlier{2, 20, 0, nullptr, nullptr};
    const Entry later{2, 21, 0, nullptr, nullptr};
    MatchResult result{};
    EXPECT_EQ(1, combineAnswers(result, answering(earlier), answering(0), answering(later)));
    EXPECT_EQ(21, result.ruleValue);
}

// What the result held before a lookup counts for nothing, however small its rule.
TEST(CombinedAnswer, ReplacesWhatTheResultHeldBefore) {
    const Entry third{3, 30, 0, nullptr, nullptr};
    MatchResult result{1, 10, 0, nullptr};
    EXPECT_EQ(1, combineAnswers(result, answering(third), answering(0), answering(0)));
    EXPECT_EQ(3, result.ruleIndex);
}

TEST(CombinedAnswer, OfNothingLeavesTheResultAlone) {
    MatchResult result = UNTOUCHED;
    EXPECT_EQ(0, combineAnswers(result, answering(0), answering(0), answering(0)));
    EXPECT_EQ(UNTOUCHED, result);
}

TEST(CombinedAnswer, IsTheFirstFailureWithWhatWasFoundBefore) {
    const Entry third{3, 30, 0, nullptr, nullptr};
    const Entry first{1, 10, 0, nullptr, nullptr};
    MatchResult result = UNTOUCHED;
    EXPECT_EQ(RULE_ERR_INVALID_ARG,
              combineAnswers(result, answering(third), answering(RULE_ERR_INVALID_ARG),
                             answering(first)));
    EXPECT_EQ(3, result.ruleIndex) << "structures behind the failure are not asked";
    result = UNTOUCHED;
    EXPECT_EQ(RULE_ERR_FAILED, combineAnswers(result, answering(RULE_ERR_FAILED), answering(first),
                                              answering(first)));
    EXPECT_EQ(UNTOUCHED, result);
}

}  // namespace

}  // namespace rs::test
