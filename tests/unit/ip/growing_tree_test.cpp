#include "ip/growing_tree.h"

#include <cstdint>
#include <vector>

#include <gtest/gtest.h>

#include "ip/ip_index.h"
#include "support/search_tree_check.h"

namespace rs::test {

namespace {

class GrowingTreeTest : public ::testing::Test {
protected:
    ~GrowingTreeTest() override {
        freeSlab(nodes);
        freeSlab(entries);
    }

    // An entry for a rule at a rank, in a new node where there is none.
    void enter(uint32_t rank, uint32_t ruleIndex) {
        ASSERT_NE(nullptr, newRecord(entries));
        const uint32_t number = entries.count - 1;
        recordAt(entries, number).ruleIndex = ruleIndex;
        const uint32_t before = growing.atOrBefore(rank);
        if (before == rank) {
            growing.append(rank, entries, number);
            return;
        }
        ASSERT_NE(nullptr, newRecord(nodes));
        growing.add(rank, before, growing.atOrAfter(rank), number);
    }

    GrowingTree growing;
    Slab<AddressNode> nodes{};
    Slab<AddressEntry> entries{};
};

TEST_F(GrowingTreeTest, LinksItsNodesInKeyOrder) {
    ASSERT_TRUE(growing.reserve(100));
    const std::vector<uint32_t> ranks = {50, 20, 70, 50, 99, 0, 20, 50};
    for (uint32_t i = 0; i < ranks.size(); ++i) {
        enter(ranks[i], i + 1);
    }
    SearchTree tree{};
    tree.compare = compareAddressKey;
    growing.link(tree, nodes, entries, [](AddressNode& record, uint32_t rank) {
        record.key = {{0, 0, 0, rank}};
    });
    EXPECT_TRUE(checkSearchTree(tree));
    EXPECT_EQ(5, tree.nodeCount);
    const std::vector<uint32_t> keys = {0, 20, 50, 70, 99};
    const std::vector<std::vector<uint32_t>> rules = {{6}, {2, 7}, {1, 4, 8}, {3}, {5}};
    const std::vector<const TreeNode*> inOrder = nodesInOrder(&tree);
    ASSERT_EQ(keys.size(), inOrder.size());
    for (uint32_t i = 0; i < keys.size(); ++i) {
        const AddressNode& record = recordAt(nodes, i);
        EXPECT_EQ(inOrder[i], &record.node);
        EXPECT_EQ(keys[i], record.key.words[3]);
        EXPECT_EQ(&recordAt(entries, record.node.entryNumber), record.node.entries);
        std::vector<uint32_t> found;
        for (auto* entry = static_cast<const AddressEntry*>(record.node.entries); entry != nullptr;
             entry = entry->next) {
            found.push_back(entry->ruleIndex);
        }
        EXPECT_EQ(rules[i], found);
    }
}

TEST_F(GrowingTreeTest, LinksAnEmptyTree) {
    ASSERT_TRUE(growing.reserve(1));
    SearchTree tree{};
    growing.link(tree, nodes, entries, [](AddressNode&, uint32_t) { FAIL(); });
    EXPECT_EQ(nullptr, tree.root);
    EXPECT_EQ(0, tree.nodeCount);
}

}  // namespace

}  // namespace rs::test
