#include "endpoint/block_index.h"

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

class BlockIndexTest : public ::testing::Test {
protected:
    void TearDown() override {
        const auto freed =
            freeEntriesOf([this](const auto& test) { return scanAllBlocks(index, test); });
        EXPECT_EQ(made, freed.size());
        EXPECT_EQ(made, nodes.count) << "a node for each entry";
        freeBlockIndex(index);
        EXPECT_EQ(nullptr, index);
        freeSlab(nodes);
    }

    Lines lines() const {
        Lines lines;
        addBlockLines(index, plainEntryText, lines);
        return lines;
    }

    void add(uint32_t low, uint32_t high, uint32_t rule) {
        EXPECT_TRUE(insertIntoBlocks(index, nodes, low, high, making(rule)));
        made += (high >> 16U) - (low >> 16U) + 1;
    }

    BlockIndex<PlainEntry>* index = nullptr;
    Slab<BlockSpanNode<PlainEntry>> nodes{};
    size_t made = 0;
};

TEST_F(BlockIndexTest, SplitsARange) {
    add(0x09FFFF01, 0x0A010005, 1);
    EXPECT_THAT(lines(), ElementsAre("blocks4 9.255 ff01-ffff #1", "blocks4 10.0 0-ffff #1",
                                     "blocks4 10.1 0-5 #1"));
    EXPECT_EQ(1, index->count);
    EXPECT_EQ(nullptr, index->slots[8]);
    EXPECT_EQ(nullptr, index->slots[11]);
}

TEST_F(BlockIndexTest, TakesARangeInsideOneBlock) {
    add(0x0A010203, 0x0A010209, 1);
    add(0x0A010000, 0x0A01FFFF, 2);
    EXPECT_THAT(lines(), ElementsAre("blocks4 10.1 203-209 #1", "blocks4 10.1 0-ffff #2"));
    EXPECT_EQ(2, index->count);
}

// Both sides of what the last node of a block covers.
TEST_F(BlockIndexTest, TakesNoSpanThatTheLastNodeCoversForTheSameMaker) {
    add(0x0A000005, 0x0A000009, 1);
    for (const auto& [low, high] : {std::pair(5U, 9U), {6U, 9U}, {5U, 8U}, {7U, 7U}}) {
        EXPECT_TRUE(insertIntoBlocks(index, nodes, 0x0A000000 + low, 0x0A000000 + high, making(1)));
    }
    EXPECT_THAT(lines(), ElementsAre("blocks4 10.0 5-9 #1"));
    EXPECT_EQ(5, index->count) << "of insertions";
    add(0x0A000004, 0x0A000009, 1);
    add(0x0A000004, 0x0A00000A, 1);
    add(0x0A000005, 0x0A000009, 2);
    add(0x0A000005, 0x0A000009, 1);
    EXPECT_THAT(lines(),
                ElementsAre("blocks4 10.0 5-9 #1", "blocks4 10.0 4-9 #1", "blocks4 10.0 4-a #1",
                            "blocks4 10.0 5-9 #2", "blocks4 10.0 5-9 #1"));
}

TEST_F(BlockIndexTest, TakesTheBlocksOfARangeThatAreNotCovered) {
    add(0x0A000005, 0x0A02FFFF, 1);
    EXPECT_TRUE(insertIntoBlocks(index, nodes, 0x0A000004, 0x0A030000, making(1)));
    made += 2;
    EXPECT_THAT(lines(), ElementsAre("blocks4 10.0 5-ffff #1", "blocks4 10.0 4-ffff #1",
                                     "blocks4 10.1 0-ffff #1", "blocks4 10.2 0-ffff #1",
                                     "blocks4 10.3 0 #1"));
}

TEST_F(BlockIndexTest, ReachesTheLastAddress) {
    add(0xFFFE0000, 0xFFFFFFFF, 1);
    add(0, 0, 2);
    EXPECT_THAT(lines(), ElementsAre("blocks4 0.0 0 #2", "blocks4 255.254 0-ffff #1",
                                     "blocks4 255.255 0-ffff #1"));
    EXPECT_EQ(1, scanBlocks(index, 0xFFFFFFFF, takeAny).entry->ruleIndex);
    EXPECT_EQ(2, scanBlocks(index, 0, takeAny).entry->ruleIndex);
    EXPECT_EQ(0, scanBlocks(index, 1, takeAny).status);
}

TEST_F(BlockIndexTest, PassesSpansOverThatDoNotHoldTheAddress) {
    add(0x0A000005, 0x0A000009, 1);
    add(0x0A000000, 0x0A0000FF, 2);
    EXPECT_EQ(1, scanBlocks(index, 0x0A000005, takeAny).entry->ruleIndex);
    EXPECT_EQ(1, scanBlocks(index, 0x0A000009, takeAny).entry->ruleIndex);
    EXPECT_EQ(2, scanBlocks(index, 0x0A000004, takeAny).entry->ruleIndex);
    EXPECT_EQ(2, scanBlocks(index, 0x0A00000A, takeAny).entry->ruleIndex);
    EXPECT_EQ(2, scanBlocks(index, 0x0A000005, taking(2)).entry->ruleIndex);
    EXPECT_EQ(0, scanBlocks(index, 0x0A000100, takeAny).status);
    EXPECT_EQ(0, scanBlocks(index, 0x0A010005, takeAny).status);
    EXPECT_EQ(0, scanBlocks(index, 0x0B000005, takeAny).status);
}

TEST_F(BlockIndexTest, IsWalkedInOrderOfAddressUpToTheFirstStatusButZero) {
    add(0xFFFF0000, 0xFFFFFFFF, 1);
    add(0x0AFF0000, 0x0B000000, 2);
    EXPECT_EQ(1, scanAllBlocks(index, taking(1)));
    EXPECT_EQ(1, scanAllBlocks(index, taking(2)));
    EXPECT_EQ(0, scanAllBlocks(index, taking(3)));
    EXPECT_EQ(1, scanAllBlocks(index, failingAt(1))) << "rule 2 comes first";
    EXPECT_EQ(RULE_ERR_FAILED, scanAllBlocks(index, failingAt(2)));
}

TEST_F(BlockIndexTest, HasNoAnswerWhileItIsMissing) {
    EXPECT_EQ(0, scanBlocks(index, 1, takeAny).status);
    EXPECT_EQ(0, scanAllBlocks(index, takeAny));
    EXPECT_THAT(lines(), IsEmpty());
}

// Block 10.0 is crowded, 10.1 has one node less, and a range reaches over both.
class BlockOrderTest : public BlockIndexTest {
protected:
    void SetUp() override {
        add(0x0A00FF00, 0x0A01FF00, 1);
        for (uint32_t rule = 2; rule <= CROWDED_BLOCK; ++rule) {
            add(0x0A000000 + rule, 0x0A000080 - rule, rule);
            if (rule < CROWDED_BLOCK) {
                add(0x0A010000 + rule, 0x0A010080 - rule, rule);
            }
        }
    }

    void TearDown() override {
        freeBlockOrder(order);
        BlockIndexTest::TearDown();
    }

    void checkAgainstWalk() const {
        for (const uint32_t block : {0x09FF0000U, 0x0A000000U, 0x0A010000U, 0x0A020000U}) {
            for (uint32_t low16 = 0; low16 <= 0xFFFF; low16 += low16 < 0x90 ? 1 : 0x6F) {
                for (const uint32_t rule : {1U, 2U, CROWDED_BLOCK - 1, CROWDED_BLOCK}) {
                    checkKey(block | low16, taking(rule));
                    checkKey(block | low16, failingAt(rule));
                }
            }
        }
    }

    template <typename Test>
    void checkKey(uint32_t key, const Test& test) const {
        const auto expected = scanBlocks(index, key, test);
        const auto answer = findInBlocks(index, nodes, order, key, test);
        EXPECT_EQ(expected.status, answer.status) << key;
        EXPECT_EQ(expected.entry, answer.entry) << key;
    }

    BlockOrder order{};
};

TEST_F(BlockOrderTest, HasTheNodesOfCrowdedBlocks) {
    const ScopedFlatUse bySize(FlatUse::BY_SIZE);
    order = buildBlockOrder(nodes);
    ASSERT_NE(nullptr, order.order);
    EXPECT_EQ(CROWDED_BLOCK - 1, order.walked);
    EXPECT_EQ(0, placeInOrder(*order.order, 0x0A000001U));
    EXPECT_EQ(order.order->boundCount, placeInOrder(*order.order, 0x0A010001U));
    checkAgainstWalk();
}

TEST_F(BlockOrderTest, HasAllNodesWhenItIsForced) {
    const ScopedFlatUse always(FlatUse::ALWAYS);
    order = buildBlockOrder(nodes);
    ASSERT_NE(nullptr, order.order);
    EXPECT_EQ(0, order.walked);
    EXPECT_LT(placeInOrder(*order.order, 0x0A010001U), order.order->boundCount);
    checkAgainstWalk();
}

TEST_F(BlockOrderTest, IsMissingWhereItIsNotWanted) {
    const ScopedFlatUse never(FlatUse::NEVER);
    order = buildBlockOrder(nodes);
    EXPECT_EQ(nullptr, order.order);
    checkAgainstWalk();
}

// What is there stays when no entry can be made.
TEST_F(BlockIndexTest, EntersNothingWithoutAnEntry) {
    add(0x0A000000, 0x0A000001, 3);
    EXPECT_FALSE(insertIntoBlocks(index, nodes, 0x0A000000, 0x0A000001, MAKES_NOTHING));
    EXPECT_THAT(lines(), ElementsAre("blocks4 10.0 0-1 #3"));
    EXPECT_EQ(1, index->count);
}

TEST_F(BlockIndexTest, KeepsTheBlocksThatWereEnteredBeforeAFailure) {
    EXPECT_FALSE(insertIntoBlocks(index, nodes, 0x0A000000, 0x0A030000, PlainMaker(7, 2)));
    made = 2;
    EXPECT_THAT(lines(), ElementsAre("blocks4 10.0 0-ffff #7", "blocks4 10.1 0-ffff #7"));
    EXPECT_EQ(0, index->count);
}

}  // namespace

}  // namespace rs::test
