#include "ip/tree_shape.h"

#include <algorithm>
#include <cstdint>
#include <deque>
#include <numeric>
#include <random>
#include <set>
#include <vector>

#include <gtest/gtest.h>

#include "ip/search_tree.h"
#include "support/tree_insertion.h"
#include "syntax/address128.h"

namespace rs::test {

namespace {

struct NumberNode {
    TreeNode node;
    uint32_t number;
};

int32_t compareNumbers(const void* key, const TreeNode* node) noexcept {
    return compareU32(*static_cast<const uint32_t*>(key), *static_cast<const uint32_t*>(node->key));
}

uint32_t numberOf(const TreeNode* node) {
    return node == nullptr ? NO_RANK : *static_cast<const uint32_t*>(node->key);
}

// A shape, and beside it a tree that is entered by ways down.
class Twins {
public:
    explicit Twins(uint32_t count) {
        EXPECT_TRUE(shape_.reserve(count));
        tree_.compare = compareNumbers;
    }

    void insert(uint32_t number) {
        const auto after = numbers_.upper_bound(number);
        shape_.insert(number, after == numbers_.begin() ? NO_RANK : *std::prev(after),
                      after == numbers_.end() ? NO_RANK : *after);
        numbers_.insert(number);
        NumberNode& made = nodes_.emplace_back(NumberNode{{}, number});
        made.node.key = &made.number;
        insertTreeNode(tree_, findTreePlace(tree_, &number), made.node);
    }

    void expectEqual() const {
        ASSERT_EQ(numberOf(tree_.root), shape_.root());
        for (const NumberNode& made : nodes_) {
            const ShapeNode& links = shape_[made.number];
            ASSERT_EQ(numberOf(made.node.parent), links.parent);
            ASSERT_EQ(numberOf(made.node.left), links.left);
            ASSERT_EQ(numberOf(made.node.right), links.right);
            ASSERT_EQ(made.node.colour, links.colour);
        }
    }

private:
    TreeShape shape_;
    SearchTree tree_{};
    std::deque<NumberNode> nodes_;
    std::set<uint32_t> numbers_;
};

TEST(TreeShape, IsEmptyAtFirst) {
    TreeShape shape;
    ASSERT_TRUE(shape.reserve(3));
    EXPECT_EQ(NO_RANK, shape.root());
}

TEST(TreeShape, IsThatOfWaysDownInEveryOrderOfSevenKeys) {
    std::vector<uint32_t> order(7);
    std::iota(order.begin(), order.end(), 0);
    do {
        Twins twins(7);
        for (const uint32_t number : order) {
            twins.insert(number);
        }
        ASSERT_NO_FATAL_FAILURE(twins.expectEqual());
    } while (std::next_permutation(order.begin(), order.end()));
}

TEST(TreeShape, IsThatOfWaysDownInLongOrders) {
    constexpr uint32_t COUNT = 3000;
    std::vector<uint32_t> order(COUNT);
    std::iota(order.begin(), order.end(), 0);
    std::vector<uint32_t> shuffled = order;
    std::shuffle(shuffled.begin(), shuffled.end(), std::mt19937(20240301));
    const std::vector<uint32_t> descending(order.rbegin(), order.rend());
    for (const auto& numbers : {order, descending, shuffled}) {
        Twins twins(COUNT);
        for (const uint32_t number : numbers) {
            twins.insert(number);
        }
        ASSERT_NO_FATAL_FAILURE(twins.expectEqual());
    }
}

}  // namespace

}  // namespace rs::test
