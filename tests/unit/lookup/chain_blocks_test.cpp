#include "lookup/chain_blocks.h"

#include <cstdint>
#include <iterator>
#include <vector>

#include <gtest/gtest.h>

namespace rs::test {

namespace {

// A node of the chains of these tests. kind is what a block may not mix.
struct Node {
    uint32_t key;
    uint32_t kind;
    uint32_t nextCount;
    Node* next;
};

bool comesBefore(const Node& left, const Node& right) {
    return left.key < right.key;
}

bool mayJoin(const Node& first, const Node& node) {
    return first.kind == node.kind;
}

// A chain with the slabs of its nodes.
class Chain {
public:
    Chain() { sizeSlab(single_, 64); }
    Chain(const Chain&) = delete;
    Chain& operator=(const Chain&) = delete;

    ~Chain() {
        freeSlab(single_);
        freeSlab(packed_);
    }

    void push(uint32_t key, uint32_t kind = 0) {
        Node* node = newRecord(single_);
        node->key = key;
        node->kind = kind;
        pushSingleNode(head_, *node);
    }

    void pack(uint32_t maxCount) {
        sizeSlab(packed_, single_.count, maxCount);
        EXPECT_TRUE(packChainInto(packed_, head_, maxCount, comesBefore, mayJoin));
        freeSlab(single_);
    }

    // The keys, block by block.
    std::vector<std::vector<uint32_t>> blocks() const {
        std::vector<std::vector<uint32_t>> result;
        forEachBlock(head_, [&result](const ChainBlock<Node>& block) {
            std::vector<uint32_t>& keys = result.emplace_back();
            for (uint32_t i = 0; i < block.count; ++i) {
                keys.push_back(block.first[i].key);
            }
        });
        return result;
    }

    std::vector<uint32_t> blockSizes() const {
        std::vector<uint32_t> sizes;
        for (const auto& block : blocks()) {
            sizes.push_back(static_cast<uint32_t>(block.size()));
        }
        return sizes;
    }

    const Node* head() const { return head_; }

private:
    Slab<Node> single_{};
    Slab<Node> packed_{};
    Node* head_ = nullptr;
};

// A slab without room for the second block.
TEST(ChainBlocks, ThatFindNoRoomInASlabStaySingleAfterTheOthers) {
    Slab<Node> slab{};
    sizeSlab(slab, 1, 4);
    Node nodes[20] = {};
    Node* head = nullptr;
    for (uint32_t i = 0; i < 20; ++i) {
        nodes[i].key = i;
        pushSingleNode(head, nodes[i]);
    }
    EXPECT_FALSE(packChainInto(slab, head, 5, comesBefore, mayJoin)) << "a chunk has four nodes";
    EXPECT_EQ(19U, head->key);
    EXPECT_NE(&nodes[19], head);
    EXPECT_EQ(&nodes[18], head->next);
    EXPECT_EQ(1U, head->nextCount);
    freeSlab(slab);
}

using Sizes = std::vector<uint32_t>;

TEST(ChainBlocks, OfAnEmptyChainAreNone) {
    Chain chain;
    chain.pack(72);
    EXPECT_TRUE(chain.blocks().empty());
    EXPECT_EQ(nullptr, firstBlock(static_cast<Node*>(nullptr)).first);
    EXPECT_EQ(0, firstBlock(static_cast<Node*>(nullptr)).count);
}

TEST(ChainBlocks, AsBuiltHoldOneNodeEachAndTheLastOnePushedStandsFirst) {
    Chain chain;
    for (const uint32_t key : {3U, 1U, 2U}) {
        chain.push(key);
    }
    EXPECT_EQ((std::vector<std::vector<uint32_t>>{{2}, {1}, {3}}), chain.blocks());
    EXPECT_EQ(1, chain.head()->nextCount);
    EXPECT_EQ(0, chain.head()->next->next->nextCount);
}

TEST(ChainBlocks, StaySingleUpToEightNodes) {
    Chain chain;
    for (uint32_t key = 0; key < 8; ++key) {
        chain.push(key);
    }
    chain.pack(72);
    EXPECT_EQ((std::vector<std::vector<uint32_t>>{{7}, {6}, {5}, {4}, {3}, {2}, {1}, {0}}),
              chain.blocks());
}

TEST(ChainBlocks, FromNineNodesOnAreSortedBehindTheHead) {
    Chain chain;
    for (uint32_t key = 0; key < 9; ++key) {
        chain.push(key);
    }
    chain.pack(72);
    EXPECT_EQ((std::vector<std::vector<uint32_t>>{{8}, {0, 1, 2, 3, 4, 5, 6, 7}}), chain.blocks());
}

TEST(ChainBlocks, HoldAtMostTheirMaximum) {
    const struct {
        uint32_t nodes;
        uint32_t maximum;
        Sizes sizes;
    } rows[] = {
        {72, 72, {1, 71}},      {73, 72, {1, 72}},         {74, 72, {1, 72, 1}},
        {145, 72, {1, 72, 72}}, {146, 72, {1, 72, 72, 1}}, {63, 63, {1, 62}},
        {64, 63, {1, 63}},      {65, 63, {1, 63, 1}},      {200, 63, {1, 63, 63, 63, 10}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message() << row.nodes << " in blocks of " << row.maximum);
        Chain chain;
        for (uint32_t key = 0; key < row.nodes; ++key) {
            chain.push(key);
        }
        chain.pack(row.maximum);
        EXPECT_EQ(row.sizes, chain.blockSizes());
    }
}

TEST(ChainBlocks, TakeTheirNodesInChainOrder) {
    Chain chain;
    for (uint32_t key = 0; key < 10; ++key) {
        chain.push(key);
    }
    chain.pack(4);
    EXPECT_EQ((std::vector<std::vector<uint32_t>>{{9}, {5, 6, 7, 8}, {1, 2, 3, 4}, {0}}),
              chain.blocks());
}

TEST(ChainBlocks, EndInFrontOfANodeThatMayNotJoin) {
    Chain chain;
    // In chain order, the head first: 0 | 0 0 0 1 1 0 1 1 1
    constexpr uint32_t KINDS[] = {1, 1, 1, 0, 1, 1, 0, 0, 0, 0};
    for (uint32_t i = 0; i < std::size(KINDS); ++i) {
        chain.push(i, KINDS[i]);
    }
    chain.pack(63);
    EXPECT_EQ((std::vector<std::vector<uint32_t>>{{9}, {6, 7, 8}, {4, 5}, {3}, {0, 1, 2}}),
              chain.blocks());
}

TEST(ChainBlocks, MayEachHoldOneNodeOfAPackedChain) {
    Chain chain;
    for (uint32_t i = 0; i < 20; ++i) {
        chain.push(i, i % 2);
    }
    chain.pack(63);
    EXPECT_EQ(Sizes(20, 1), chain.blockSizes());
}

TEST(ChainBlocks, KnowOfTheNextBlockInTheirFirstNodeOnly) {
    Chain chain;
    for (uint32_t key = 0; key < 20; ++key) {
        chain.push(key);
    }
    chain.pack(12);
    ASSERT_EQ((Sizes{1, 12, 7}), chain.blockSizes());
    const Node* block = chain.head()->next;
    EXPECT_EQ(12, chain.head()->nextCount);
    EXPECT_EQ(7, block->nextCount);
    for (uint32_t i = 1; i < 12; ++i) {
        EXPECT_EQ(nullptr, block[i].next);
        EXPECT_EQ(0, block[i].nextCount);
    }
    EXPECT_EQ(nullptr, block->next->next);
    EXPECT_EQ(0, block->next->nextCount);
}

TEST(LowerBound, FindsTheFirstNodeThatDoesNotStandBefore) {
    Node nodes[] = {{2, 0, 0, nullptr}, {4, 0, 0, nullptr}, {4, 1, 0, nullptr}, {6, 0, 0, nullptr}};
    const ChainBlock<Node> block{nodes, 4};
    const struct {
        uint32_t key;
        const Node* found;
    } rows[] = {
        {1, &nodes[0]}, {2, &nodes[0]}, {3, &nodes[1]}, {4, &nodes[1]},
        {5, &nodes[3]}, {6, &nodes[3]}, {7, nullptr},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.key);
        EXPECT_EQ(row.found, lowerBound(block, [&](const Node& node) {
                      return static_cast<int32_t>(node.key) - static_cast<int32_t>(row.key);
                  }));
    }
}

}  // namespace

}  // namespace rs::test
