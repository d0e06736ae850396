#include "support/search_tree_check.h"

#include <cstddef>
#include <cstdint>

namespace rs::test {

namespace {

using ::testing::AssertionFailure;
using ::testing::AssertionResult;
using ::testing::AssertionSuccess;

void collectNodes(const TreeNode* node, std::vector<const TreeNode*>& out) {
    if (node == nullptr) {
        return;
    }
    collectNodes(node->left, out);
    out.push_back(node);
    collectNodes(node->right, out);
}

// The keys of neighbours decide: order is transitive.
AssertionResult checkOrder(const SearchTree& tree, const std::vector<const TreeNode*>& nodes) {
    for (size_t i = 0; i < nodes.size(); ++i) {
        if (tree.compare(nodes[i]->key, nodes[i]) != KEY_INSIDE) {
            return AssertionFailure() << "the key of node " << i << " is not inside itself";
        }
        if (i > 0 && (tree.compare(nodes[i - 1]->key, nodes[i]) != KEY_BELOW ||
                      tree.compare(nodes[i]->key, nodes[i - 1]) != KEY_ABOVE)) {
            return AssertionFailure() << "node " << i - 1 << " is not below node " << i;
        }
    }
    return AssertionSuccess();
}

AssertionResult checkLinks(const std::vector<const TreeNode*>& nodes) {
    for (size_t i = 0; i < nodes.size(); ++i) {
        for (const TreeNode* child : {nodes[i]->left, nodes[i]->right}) {
            if (child != nullptr && child->parent != nodes[i]) {
                return AssertionFailure() << "a child of node " << i << " has another parent";
            }
        }
    }
    return AssertionSuccess();
}

// Counts the black nodes on every way down from node and finds them equal.
AssertionResult checkColours(const TreeNode* node, bool parentIsRed, uint32_t& blackCount) {
    blackCount = 0;
    if (node == nullptr) {
        return AssertionSuccess();
    }
    if (node->colour != COLOUR_RED && node->colour != COLOUR_BLACK) {
        return AssertionFailure() << "a node has the colour " << node->colour;
    }
    const bool isRed = node->colour == COLOUR_RED;
    if (isRed && parentIsRed) {
        return AssertionFailure() << "a red node has a red child";
    }
    uint32_t leftCount = 0;
    uint32_t rightCount = 0;
    AssertionResult result = checkColours(node->left, isRed, leftCount);
    if (result) {
        result = checkColours(node->right, isRed, rightCount);
    }
    if (result && leftCount != rightCount) {
        return AssertionFailure() << "ways down pass " << leftCount << " and " << rightCount
                                  << " black nodes";
    }
    blackCount = leftCount + (isRed ? 0 : 1);
    return result;
}

}  // namespace

std::vector<const TreeNode*> nodesInOrder(const SearchTree* tree) {
    std::vector<const TreeNode*> nodes;
    if (tree != nullptr) {
        collectNodes(tree->root, nodes);
    }
    return nodes;
}

AssertionResult checkSearchTree(const SearchTree& tree) {
    const std::vector<const TreeNode*> nodes = nodesInOrder(&tree);
    if (tree.nodeCount != nodes.size()) {
        return AssertionFailure() << "nodeCount is " << tree.nodeCount << " with " << nodes.size()
                                  << " nodes";
    }
    if (tree.root != nullptr && tree.root->parent != nullptr) {
        return AssertionFailure() << "the root has a parent";
    }
    if (tree.root != nullptr && tree.root->colour != COLOUR_BLACK) {
        return AssertionFailure() << "the root is not black";
    }
    AssertionResult result = checkLinks(nodes);
    if (result) {
        result = checkOrder(tree, nodes);
    }
    uint32_t blackCount = 0;
    return result ? checkColours(tree.root, false, blackCount) : result;
}

}  // namespace rs::test
