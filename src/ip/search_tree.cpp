#include "ip/search_tree.h"

#include <utility>

#include "core/reference_count.h"

namespace rs {

namespace {

bool isRed(const TreeNode* node) noexcept {
    return node != nullptr && node->colour == COLOUR_RED;
}

TreeNode* leftmost(TreeNode* node) noexcept {
    while (node->left != nullptr) {
        node = node->left;
    }
    return node;
}

// The pointer that holds node: a child link of its parent, or the root.
TreeNode*& linkTo(SearchTree& tree, const TreeNode* node) noexcept {
    if (node->parent == nullptr) {
        return tree.root;
    }
    return node->parent->left == node ? node->parent->left : node->parent->right;
}

// The two sides of a tree under one name, so that each case below is written once.
using Side = TreeNode* TreeNode::*;

constexpr Side otherSide(Side side) noexcept {
    return side == &TreeNode::left ? &TreeNode::right : &TreeNode::left;
}

Side sideOf(const TreeNode* parent, const TreeNode* child) noexcept {
    return parent->left == child ? &TreeNode::left : &TreeNode::right;
}

// Moves node down to the given side; its child on the other side takes its place:
//
//        node                child
//       /    \      left     /    \           .
//      a    child  ----->  node    c
//           /  \           /  \               .
//          b    c         a    b
void rotate(SearchTree& tree, TreeNode* node, Side side) noexcept {
    const Side opposite = otherSide(side);
    TreeNode* child = node->*opposite;
    node->*opposite = child->*side;
    if (child->*side != nullptr) {
        (child->*side)->parent = node;
    }
    child->parent = node->parent;
    linkTo(tree, node) = child;
    child->*side = node;
    node->parent = child;
}

// Repairs the number of black nodes: the ways through node, which is below parent and may be null,
// have one too few.
void balanceAfterRemoval(SearchTree& tree, TreeNode* node, TreeNode* parent) noexcept {
    while (parent != nullptr && !isRed(node)) {
        const Side side = sideOf(parent, node);
        const Side opposite = otherSide(side);
        TreeNode* sibling = parent->*opposite;  // exists: its way is one black node longer
        if (isRed(sibling)) {
            sibling->colour = COLOUR_BLACK;
            parent->colour = COLOUR_RED;
            rotate(tree, parent, side);
            sibling = parent->*opposite;
        }
        // NOLINTNEXTLINE(clang-analyzer-core.NullDereference): the sibling's way has one more black node
        if (!isRed(sibling->*side) && !isRed(sibling->*opposite)) {
            sibling->colour = COLOUR_RED;
            node = parent;
            parent = node->parent;
            continue;
        }
        if (!isRed(sibling->*opposite)) {
            (sibling->*side)->colour = COLOUR_BLACK;
            sibling->colour = COLOUR_RED;
            rotate(tree, sibling, opposite);
            sibling = parent->*opposite;
        }
        sibling->colour = parent->colour;
        parent->colour = COLOUR_BLACK;
        // NOLINTNEXTLINE(clang-analyzer-core.NullDereference): it is red here, so it is there
        (sibling->*opposite)->colour = COLOUR_BLACK;
        rotate(tree, parent, side);
        return;
    }
    if (node != nullptr) {
        node->colour = COLOUR_BLACK;
    }
}

// Puts replacement, which may be null, in the place of node.
void replaceInParent(SearchTree& tree, const TreeNode* node, TreeNode* replacement) noexcept {
    linkTo(tree, node) = replacement;
    if (replacement != nullptr) {
        replacement->parent = node->parent;
    }
}

// Takes out a node that has one child at most, and balances the tree.
void unlinkTreeNode(SearchTree& tree, const TreeNode* node) noexcept {
    TreeNode* child = node->left != nullptr ? node->left : node->right;
    TreeNode* parent = node->parent;
    replaceInParent(tree, node, child);
    if (node->colour == COLOUR_BLACK) {
        balanceAfterRemoval(tree, child, parent);
    }
}

// Gives node's place and colour to successor, which has been taken out of the tree.
void takePlace(SearchTree& tree, const TreeNode* node, TreeNode* successor) noexcept {
    successor->left = node->left;
    successor->right = node->right;
    successor->colour = node->colour;
    replaceInParent(tree, node, successor);
    for (TreeNode* child : {successor->left, successor->right}) {
        if (child != nullptr) {
            child->parent = successor;
        }
    }
}

void releaseTreeNode(SearchTree& tree, const TreeNode* node) noexcept {
    tree.releaseEntries(tree.releaseInfo, node->key, node->entries);
    decrementCount(tree.nodeCount);
}

// A node without children below node, preferring the left.
TreeNode* anyLeaf(TreeNode* node) noexcept {
    for (;;) {
        if (node->left != nullptr) {
            node = node->left;
        } else if (node->right != nullptr) {
            node = node->right;
        } else {
            return node;
        }
    }
}

}  // namespace

SearchTree* createSearchTree(const ReleaseInfo& info, TreeCompare compare,
                             TreeReleaseEntries releaseEntries) noexcept {
    OwnedMemory<SearchTree> tree(allocateRecord<SearchTree>());
    OwnedMemory<ReleaseInfo> ownInfo(allocateRecord<ReleaseInfo>());
    if (!tree || !ownInfo) {
        return nullptr;
    }
    *ownInfo = info;
    tree->compare = compare;
    tree->releaseEntries = releaseEntries;
    tree->releaseInfo = ownInfo.release();
    return tree.release();
}

void removeTreeNode(SearchTree& tree, TreeNode* node) noexcept {
    if (node->left == nullptr || node->right == nullptr) {
        unlinkTreeNode(tree, node);
    } else {
        TreeNode* successor = leftmost(node->right);
        unlinkTreeNode(tree, successor);
        takePlace(tree, node, successor);
    }
    releaseTreeNode(tree, node);
}

void visitTreeInOrder(SearchTree& tree, void* context, TreeVisit visit) noexcept {
    TreeNode* node = tree.root;
    while (node != nullptr) {
        // The right link of the predecessor is null at the first arrival, which bends it and goes
        // left, and leads back to node at the second, which restores it and visits node.
        TreeNode* predecessor = node->left;
        while (predecessor != nullptr && predecessor->right != nullptr &&
               predecessor->right != node) {
            predecessor = predecessor->right;
        }
        if (predecessor != nullptr && predecessor->right == nullptr) {
            predecessor->right = node;
            node = node->left;
            continue;
        }
        if (predecessor != nullptr) {
            predecessor->right = nullptr;
        }
        visit(context, *node);
        node = node->right;
    }
}

void freeSearchTree(SearchTree* tree) noexcept {
    if (tree == nullptr) {
        return;
    }
    TreeNode* node = tree->root;
    while (node != nullptr) {
        node = anyLeaf(node);
        TreeNode* parent = node->parent;
        linkTo(*tree, node) = nullptr;
        releaseTreeNode(*tree, node);
        node = parent;
    }
    freeMemory(tree->releaseInfo);
    freeMemory(tree);
}

}  // namespace rs
