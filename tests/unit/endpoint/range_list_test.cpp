#include "endpoint/range_list.h"

#include <cstdint>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/endpoint_text.h"
#include "support/plain_entry.h"
#include "support/scoped_flat_use.h"

namespace rs::test {

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr Address128 address(uint32_t last) {
    return {{0x20010db8, 0, 0, last}};
}

class RangeListTest : public ::testing::Test {
protected:
    void TearDown() override { EXPECT_EQ(made, freeAll().size()); }

    // The rules of the entries in the order in which they are walked.
    std::vector<uint32_t> freeAll() {
        if (list != nullptr) {
            freed = freeEntriesOf([this](const auto& test) { return scanAllRanges(list, test); });
        }
        freeMemory(std::exchange(list, nullptr));
        freeSlab(nodes);
        return freed;
    }

    Lines lines() const {
        Lines lines;
        addRangeLines(list, plainEntryText, lines);
        return lines;
    }

    void add(const Address128& low, const Address128& high, uint32_t rule) {
        EXPECT_TRUE(insertIntoRanges(list, nodes, finder, low, high, making(rule)));
        ++made;
    }

    RangeList<PlainEntry>* list = nullptr;
    Slab<RangeBucket<PlainEntry>> nodes{};
    PlaceFinder<RangeBucket<PlainEntry>> finder;
    size_t made = 0;
    std::vector<uint32_t> freed;
};

TEST_F(RangeListTest, KeepsRangesInOrderOfTheirFirstUse) {
    add(address(0), address(9), 1);
    add(address(0), address(5), 2);
    add(address(0), address(9), 3);
    add(address(1), address(9), 4);
    EXPECT_THAT(lines(), ElementsAre("ranges6 20010db8:0:0:0-20010db8:0:0:9 #1",
                                     "ranges6 20010db8:0:0:0-20010db8:0:0:9 #3",
                                     "ranges6 20010db8:0:0:0-20010db8:0:0:5 #2",
                                     "ranges6 20010db8:0:0:1-20010db8:0:0:9 #4"));
    EXPECT_EQ(4, list->count);
    EXPECT_EQ(3, nodes.count);
    EXPECT_THAT(freeAll(), ElementsAre(1, 3, 2, 4));
}

TEST_F(RangeListTest, HasOneEntryOfAMakerForARange) {
    add(address(0), address(9), 1);
    add(address(0), address(8), 1);
    EXPECT_TRUE(insertIntoRanges(list, nodes, finder, address(0), address(9), making(1)));
    add(address(0), address(9), 2);
    EXPECT_EQ(4, list->count) << "of insertions";
    EXPECT_THAT(freeAll(), ElementsAre(1, 2, 1));
}

TEST_F(RangeListTest, LetsTheFirstRangeThatAnswersWin) {
    add(address(0), address(9), 1);
    add(address(0), address(5), 2);
    add(address(0), address(9), 3);
    const auto takeLater = [](const PlainEntry& entry) { return entry.ruleIndex >= 2 ? 1 : 0; };
    EXPECT_EQ(3, scanRanges(list, address(4), takeLater).entry->ruleIndex);
    EXPECT_EQ(2, scanRanges(list, address(4), taking(2)).entry->ruleIndex);
    EXPECT_EQ(0, scanRanges(list, address(6), taking(2)).status);
    EXPECT_EQ(1, scanRanges(list, address(0), takeAny).entry->ruleIndex);
    EXPECT_EQ(1, scanRanges(list, address(9), takeAny).entry->ruleIndex);
    EXPECT_EQ(0, scanRanges(list, address(10), takeAny).status);
    EXPECT_EQ(0, scanRanges(list, {{0x20010db7, ~0U, ~0U, ~0U}}, takeAny).status);
}

TEST_F(RangeListTest, IsWalkedRangeByRangeUpToTheFirstStatusButZero) {
    add(address(0), address(9), 1);
    add(address(0), address(5), 2);
    add(address(0), address(9), 3);
    EXPECT_EQ(1, scanAllRanges(list, taking(3)));
    EXPECT_EQ(0, scanAllRanges(list, taking(4)));
    EXPECT_EQ(1, scanAllRanges(list, failingAt(2))) << "rule 3 comes first";
    EXPECT_EQ(RULE_ERR_FAILED, scanAllRanges(list, failingAt(1)));
}

TEST_F(RangeListTest, HasNoAnswerWhileItIsMissing) {
    EXPECT_EQ(0, scanRanges(list, address(1), takeAny).status);
    EXPECT_EQ(0, scanAllRanges(list, takeAny));
    EXPECT_THAT(lines(), IsEmpty());
}

TEST_F(RangeListTest, HasAFlatLookupThatFindsTheSame) {
    const ScopedFlatUse always(FlatUse::ALWAYS);
    EXPECT_EQ(nullptr, buildRangeOrder(nodes)) << "without a range";
    // The later a range, the narrower; every second one at the other end.
    for (uint32_t rule = 1; rule <= 100; ++rule) {
        const bool isLow = rule % 2 == 0;
        add(address(isLow ? 0 : rule), address(isLow ? 500 - rule : 500), rule);
    }
    const OwnedFlatOrder<Address128> order(buildRangeOrder(nodes));
    ASSERT_TRUE(order);
    for (uint32_t key = 0; key <= 501; ++key) {
        for (const uint32_t rule : {1U, 2U, 50U, 99U, 100U}) {
            const auto check = [&](const auto& test) {
                const auto expected = scanRanges(list, address(key), test);
                const auto answer = findInRanges(list, nodes, order.get(), address(key), test);
                EXPECT_EQ(expected.status, answer.status) << key;
                EXPECT_EQ(expected.entry, answer.entry) << key;
            };
            check(taking(rule));
            check(failingAt(rule));
        }
    }
    EXPECT_EQ(1, findInRanges(list, nodes, order.get(), address(1), takeAny).entry->ruleIndex);
    EXPECT_EQ(1, findInRanges(list, nodes, {}, address(1), takeAny).entry->ruleIndex);
}

TEST_F(RangeListTest, HasNoFlatLookupWhileItIsShort) {
    const ScopedFlatUse bySize(FlatUse::BY_SIZE);
    for (uint32_t rule = 1; rule < ORDERED_RANGES; ++rule) {
        add(address(rule), address(rule + 1), rule);
    }
    EXPECT_EQ(nullptr, buildRangeOrder(nodes));
    add(address(0), address(1), ORDERED_RANGES);
    EXPECT_TRUE(OwnedFlatOrder<Address128>(buildRangeOrder(nodes)));
}

// What is there stays when no entry can be made.
TEST_F(RangeListTest, EntersNothingWithoutAnEntry) {
    add(address(0), address(1), 4);
    EXPECT_FALSE(insertIntoRanges(list, nodes, finder, address(0), address(1), MAKES_NOTHING));
    EXPECT_FALSE(insertIntoRanges(list, nodes, finder, address(2), address(3), MAKES_NOTHING));
    EXPECT_THAT(lines(), ElementsAre("ranges6 20010db8:0:0:0-20010db8:0:0:1 #4"));
    EXPECT_EQ(1, list->count);
    EXPECT_EQ(1, nodes.count);
}

}  // namespace

}  // namespace rs::test
