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

// A chain that frees its nodes, and every node once.
class Chain {
public:
    Chain() = default;
    Chain(const Chain&) = delete;
    Chain& operator=(const Chain&) = delete;

    ~Chain() {
        uint32_t freed = 0;
        freeBlocks(head_, [&](const ChainBlock<Node>&, Node&) { ++freed; });
        EXPECT_EQ(count_, freed);
    }

    void push(uint32_t key, uint32_t kind = 0) {
        Node* node = allocateRecord<Node>();
        node->key = key;
        node->kind = kind;
        pushSingleNode(head_, *node);
        ++count_;
    }

    // Both ways of packing make the same blocks.
    void pack(uint32_t maxCount) {
        const std::vector<std::vector<uint32_t>> inSlab = blocksInSlab(maxCount);
        packChain(head_, maxCount, comesBefore, mayJoin);
        EXPECT_EQ(inSlab, blocks());
    }

    // The keys, block by block.
    std::vector<std::vector<uint32_t>> blocks() const { return blocksOf(head_); }

    std::vector<uint32_t> blockSizes() const {
        std::vector<uint32_t> sizes;
        for (const auto& block : blocks()) {
            sizes.push_back(static_cast<uint32_t>(block.size()));
        }
        return sizes;
    }

    const Node* head() const { return head_; }

private:
    static bool comesBefore(const Node& left, const Node& right) { return left.key < right.key; }
    static bool mayJoin(const Node& first, const Node& node) { return first.kind == node.kind; }

    static std::vector<std::vector<uint32_t>> blocksOf(const Node* head) {
        std::vector<std::vector<uint32_t>> result;
        forEachBlock(head, [&result](const ChainBlock<const Node>& block) {
            std::vector<uint32_t>& keys = result.emplace_back();
            for (uint32_t i = 0; i < block.count; ++i) {
                keys.push_back(block.first[i].key);
            }
        });
        return result;
    }

    // The keys after packing into a slab; the chain stays as it is.
    std::vector<std::vector<uint32_t>> blocksInSlab(uint32_t maxCount) const {
        Slab<Node> slab{};
        sizeSlab(slab, count_, maxCount);
        Node* head = head_;
        EXPECT_TRUE(packChainInto(slab, head, maxCount, comesBefore, mayJoin));
        const std::vector<std::vector<uint32_t>> result = blocksOf(head);
        freeSlab(slab);
        return result;
    }

    Node* head_ = nullptr;
    uint32_t count_ = 0;
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
    const auto pack = [&] {
        return packChainInto(
            slab, head, 5, [](const Node& left, const Node& right) { return left.key < right.key; },
            [](const Node&, const Node&) { return true; });
    };
    EXPECT_FALSE(pack()) << "a chunk has four nodes";
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

TEST(FreeChain, TellsTheFirstNodeOfEachBlock) {
    Node* head = nullptr;
    for (uint32_t key = 0; key < 20; ++key) {
        Node* node = allocateRecord<Node>();
        node->key = key;
        pushSingleNode(head, *node);
    }
    packChain(
        head, 12, [](const Node& left, const Node& right) { return left.key < right.key; },
        [](const Node&, const Node&) { return true; });
    std::vector<uint32_t> firstKeys;
    std::vector<uint32_t> keys;
    freeBlocks(head, [&](const ChainBlock<Node>& block, Node& node) {
        keys.push_back(node.key);
        if (&node == block.first) {
            firstKeys.push_back(node.key);
        }
    });
    EXPECT_EQ((std::vector<uint32_t>{19, 7, 0}), firstKeys);
    EXPECT_EQ(20, keys.size());
}

}  // namespace

}  // namespace rs::test
