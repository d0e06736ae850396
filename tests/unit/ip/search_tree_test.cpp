#include "ip/search_tree.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <random>
#include <set>
#include <vector>

#include <gtest/gtest.h>

#include "support/search_tree_check.h"
#include "support/tree_insertion.h"
#include "syntax/address128.h"

namespace rs::test {

namespace {

// Keys are uint32_t. The context of a tree's ReleaseInfo is a Released.
struct Released {
    std::vector<uint32_t> keys;
    size_t entries = 0;
    uint32_t flags = 1;
};

int32_t compareNumbers(const void* key, const TreeNode* node) noexcept {
    return compareU32(*static_cast<const uint32_t*>(key), *static_cast<const uint32_t*>(node->key));
}

void releaseNumber(const ReleaseInfo* info, void* key, void* firstEntry) noexcept {
    auto* released = static_cast<Released*>(info->releaseContext);
    released->keys.push_back(*static_cast<uint32_t*>(key));
    released->entries += firstEntry != nullptr ? 1 : 0;
    released->flags = info->flags;
}

class NumberTree {
public:
    NumberTree()
        : tree_(createSearchTree({nullptr, &released_, 0}, compareNumbers, releaseNumber)) {}

    SearchTree& tree() { return *tree_; }
    const Released& released() const { return released_; }
    void clear() { tree_.reset(); }

    // False when the number is there already.
    bool insert(uint32_t number) {
        const TreePlace place = findTreePlace(*tree_, &number);
        if (place.node != nullptr) {
            return false;
        }
        NumberNode& made = nodes_.emplace_back(NumberNode{{}, number});
        made.node.key = &made.number;
        made.node.entries = &made.number;
        insertTreeNode(*tree_, place, made.node);
        return true;
    }

    bool remove(uint32_t number) {
        const TreePlace place = findTreePlace(*tree_, &number);
        if (place.node == nullptr) {
            return false;
        }
        removeTreeNode(*tree_, place.node);
        return true;
    }

    std::vector<uint32_t> numbers() const {
        std::vector<uint32_t> numbers;
        for (const TreeNode* node : nodesInOrder(tree_.get())) {
            numbers.push_back(*static_cast<const uint32_t*>(node->key));
        }
        return numbers;
    }

private:
    struct NumberNode {
        TreeNode node;
        uint32_t number;
    };

    Released released_;
    std::deque<NumberNode> nodes_;
    OwnedSearchTree tree_;
};

std::vector<uint32_t> upTo(uint32_t count) {
    std::vector<uint32_t> numbers;
    for (uint32_t i = 0; i < count; ++i) {
        numbers.push_back(i);
    }
    return numbers;
}

uint32_t heightOf(const TreeNode* node) {
    return node == nullptr ? 0 : 1 + std::max(heightOf(node->left), heightOf(node->right));
}

TEST(SearchTree, IsEmptyAtFirst) {
    NumberTree numbers;
    EXPECT_EQ(nullptr, numbers.tree().root);
    EXPECT_EQ(0, numbers.tree().nodeCount);
    EXPECT_TRUE(checkSearchTree(numbers.tree()));
    const uint32_t key = 1;
    const TreePlace place = findTreePlace(numbers.tree(), &key);
    EXPECT_EQ(nullptr, place.node);
    EXPECT_EQ(nullptr, place.parent);
}

TEST(SearchTree, KeepsACopyOfTheReleaseInfo) {
    Released released;
    ReleaseInfo info{nullptr, &released, 0};
    const OwnedSearchTree tree(createSearchTree(info, compareNumbers, releaseNumber));
    ASSERT_NE(nullptr, tree);
    EXPECT_NE(&info, tree->releaseInfo);
    EXPECT_EQ(&released, tree->releaseInfo->releaseContext);
    EXPECT_EQ(compareNumbers, tree->compare);
    EXPECT_EQ(releaseNumber, tree->releaseEntries);
}

TEST(SearchTree, MakesTheFirstNodeItsBlackRoot) {
    NumberTree numbers;
    numbers.insert(5);
    const TreeNode* root = numbers.tree().root;
    ASSERT_NE(nullptr, root);
    EXPECT_EQ(COLOUR_BLACK, root->colour);
    EXPECT_EQ(nullptr, root->parent);
    EXPECT_EQ(nullptr, root->left);
    EXPECT_EQ(nullptr, root->right);
    numbers.insert(7);
    EXPECT_EQ(COLOUR_RED, root->right->colour);
}

TEST(SearchTree, FindsNodesAndEmptyPlaces) {
    NumberTree numbers;
    for (const uint32_t number : {20U, 10U, 30U}) {
        numbers.insert(number);
    }
    const SearchTree& tree = numbers.tree();
    constexpr struct {
        uint32_t key;
        uint32_t place;  // the node found, or the parent of the empty place
        int32_t relation;
    } ROWS[] = {
        {20, 20, KEY_INSIDE}, {10, 10, KEY_INSIDE}, {30, 30, KEY_INSIDE}, {5, 10, KEY_BELOW},
        {15, 10, KEY_ABOVE},  {25, 30, KEY_BELOW},  {35, 30, KEY_ABOVE},
    };
    for (const auto& row : ROWS) {
        SCOPED_TRACE(row.key);
        const TreePlace place = findTreePlace(tree, &row.key);
        EXPECT_EQ(row.relation, place.relation);
        EXPECT_EQ(row.relation == KEY_INSIDE, place.node != nullptr);
        const TreeNode* node = place.node != nullptr ? place.node : place.parent;
        ASSERT_NE(nullptr, node);
        EXPECT_EQ(row.place, *static_cast<const uint32_t*>(node->key));
    }
}

TEST(SearchTree, StaysBalancedWhenKeysComeInOrder) {
    constexpr uint32_t COUNT = 1000;
    for (const bool ascending : {true, false}) {
        NumberTree numbers;
        for (uint32_t i = 0; i < COUNT; ++i) {
            numbers.insert(ascending ? i : COUNT - 1 - i);
            ASSERT_TRUE(checkSearchTree(numbers.tree())) << i;
        }
        EXPECT_EQ(upTo(COUNT), numbers.numbers());
        EXPECT_LE(heightOf(numbers.tree().root), 20);  // 2 log2(1001)
    }
}

TEST(SearchTree, StaysBalancedInEveryOrderOfSevenKeys) {
    std::vector<uint32_t> order = upTo(7);
    do {
        NumberTree numbers;
        for (const uint32_t number : order) {
            numbers.insert(number);
            ASSERT_TRUE(checkSearchTree(numbers.tree())) << ::testing::PrintToString(order);
        }
        ASSERT_EQ(upTo(7), numbers.numbers());
    } while (std::next_permutation(order.begin(), order.end()));
}

TEST(SearchTree, StaysBalancedWhenAnyNodeIsRemoved) {
    constexpr uint32_t COUNT = 40;
    for (uint32_t first = 0; first < COUNT; ++first) {
        for (const uint32_t step : {1U, 3U, 7U, 39U}) {
            NumberTree numbers;
            std::set<uint32_t> left;
            for (uint32_t i = 0; i < COUNT; ++i) {
                numbers.insert(i * 7 % COUNT);
                left.insert(i);
            }
            for (uint32_t i = 0; i < COUNT; ++i) {
                const uint32_t number = (first + i * step) % COUNT;
                if (left.erase(number) == 0) {
                    continue;
                }
                ASSERT_TRUE(numbers.remove(number));
                ASSERT_EQ(number, numbers.released().keys.back());
                ASSERT_TRUE(checkSearchTree(numbers.tree()))
                    << "without " << number << ", from " << first << " by " << step;
                ASSERT_EQ(std::vector<uint32_t>(left.begin(), left.end()), numbers.numbers());
            }
        }
    }
}

TEST(SearchTree, StaysBalancedUnderRandomInsertionsAndRemovals) {
    constexpr uint32_t SEED = 20240229;
    std::mt19937 random(SEED);
    NumberTree numbers;
    std::set<uint32_t> expected;
    for (uint32_t i = 0; i < 20000; ++i) {
        const uint32_t number = static_cast<uint32_t>(random()) % 300;
        // Grows for a while, then shrinks.
        if (random() % 100 < (i % 4000 < 2000 ? 70U : 30U)) {
            ASSERT_EQ(expected.insert(number).second, numbers.insert(number));
        } else {
            ASSERT_EQ(expected.erase(number) == 1, numbers.remove(number));
        }
        ASSERT_TRUE(checkSearchTree(numbers.tree())) << "step " << i << " of seed " << SEED;
        ASSERT_EQ(expected.size(), numbers.tree().nodeCount);
    }
    EXPECT_EQ(std::vector<uint32_t>(expected.begin(), expected.end()), numbers.numbers());
}

TEST(SearchTree, ReleasesARemovedNodeOnce) {
    NumberTree numbers;
    for (const uint32_t number : upTo(5)) {
        numbers.insert(number);
    }
    ASSERT_TRUE(numbers.remove(1));
    EXPECT_EQ(std::vector<uint32_t>{1}, numbers.released().keys);
    EXPECT_EQ(1, numbers.released().entries);
    EXPECT_EQ(0, numbers.released().flags);
    EXPECT_EQ(4, numbers.tree().nodeCount);
    EXPECT_FALSE(numbers.remove(1));
}

struct VisitedNumbers {
    std::vector<uint32_t> numbers;
};

void visitNumber(void* context, const TreeNode& node) noexcept {
    static_cast<VisitedNumbers*>(context)->numbers.push_back(
        *static_cast<const uint32_t*>(node.key));
}

TEST(SearchTree, IsVisitedInOrderAndLeftAsItWas) {
    for (const uint32_t count : {0U, 1U, 2U, 3U, 8U, 100U}) {
        NumberTree numbers;
        for (uint32_t i = 0; i < count; ++i) {
            numbers.insert(i * 37 % 101);
        }
        const std::vector<uint32_t> before = numbers.numbers();
        for (int round = 0; round < 2; ++round) {
            VisitedNumbers visited;
            visitTreeInOrder(numbers.tree(), &visited, visitNumber);
            EXPECT_EQ(before, visited.numbers);
            ASSERT_TRUE(checkSearchTree(numbers.tree()));
            EXPECT_EQ(before, numbers.numbers());
        }
    }
}

TEST(SearchTree, ReleasesEveryNodeWhenItIsFreed) {
    NumberTree numbers;
    constexpr uint32_t COUNT = 1000;
    for (uint32_t i = 0; i < COUNT; ++i) {
        numbers.insert(i * 7 % COUNT);
    }
    numbers.clear();
    std::vector<uint32_t> released = numbers.released().keys;
    std::sort(released.begin(), released.end());
    EXPECT_EQ(upTo(COUNT), released);
    EXPECT_EQ(COUNT, numbers.released().entries);
}

TEST(SearchTree, ReleasesLeavesFirstAndTheLeftOnesBeforeTheRight) {
    NumberTree numbers;
    for (const uint32_t number : {4U, 2U, 6U, 1U, 3U, 5U, 7U}) {
        numbers.insert(number);
    }
    numbers.clear();
    EXPECT_EQ((std::vector<uint32_t>{1, 3, 2, 5, 7, 6, 4}), numbers.released().keys);
}

TEST(SearchTree, IsFreedWhenItIsNullOrEmpty) {
    freeSearchTree(nullptr);
    NumberTree numbers;
    numbers.clear();
    EXPECT_TRUE(numbers.released().keys.empty());
}

TEST(SearchTreeCheck, SeesWhatIsWrong) {
    NumberTree numbers;
    for (const uint32_t number : upTo(7)) {
        numbers.insert(number);
    }
    SearchTree& tree = numbers.tree();
    ASSERT_TRUE(checkSearchTree(tree));

    ++tree.nodeCount;
    EXPECT_FALSE(checkSearchTree(tree));
    --tree.nodeCount;

    tree.root->colour = COLOUR_RED;
    EXPECT_FALSE(checkSearchTree(tree));
    tree.root->colour = COLOUR_BLACK;

    TreeNode* left = tree.root->left;
    left->colour = left->colour == COLOUR_RED ? COLOUR_BLACK : COLOUR_RED;
    EXPECT_FALSE(checkSearchTree(tree));
    left->colour = left->colour == COLOUR_RED ? COLOUR_BLACK : COLOUR_RED;

    left->parent = nullptr;
    EXPECT_FALSE(checkSearchTree(tree));
    left->parent = tree.root;

    std::swap(left->key, tree.root->key);
    EXPECT_FALSE(checkSearchTree(tree));
    std::swap(left->key, tree.root->key);

    auto* key = static_cast<uint32_t*>(left->key);
    const uint32_t before = *key;
    *key = *static_cast<uint32_t*>(tree.root->key);
    EXPECT_FALSE(checkSearchTree(tree));
    *key = before;
    EXPECT_TRUE(checkSearchTree(tree));
}

}  // namespace

}  // namespace rs::test
