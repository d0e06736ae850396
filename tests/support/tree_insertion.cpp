#include "support/tree_insertion.h"

#include <utility>

namespace rs::test {

namespace {

bool isRed(const TreeNode* node) {
    return node != nullptr && node->colour == COLOUR_RED;
}

// The pointer that holds node: a child link of its parent, or the root.
TreeNode*& linkTo(SearchTree& tree, const TreeNode* node) {
    if (node->parent == nullptr) {
        return tree.root;
    }
    return node->parent->left == node ? node->parent->left : node->parent->right;
}

// The two sides of a tree under one name, so that each case below is written once.
using Side = TreeNode* TreeNode::*;

constexpr Side otherSide(Side side) {
    return side == &TreeNode::left ? &TreeNode::right : &TreeNode::left;
}

Side sideOf(const TreeNode* parent, const TreeNode* child) {
    return parent->left == child ? &TreeNode::left : &TreeNode::right;
}

// Moves node down to the given side; its child on the other side takes its place:
//
//        node                child
//       /    \      left     /    \           .
//      a    child  ----->  node    c
//           /  \           /  \               .
//          b    c         a    b
void rotate(SearchTree& tree, TreeNode* node, Side side) {
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

// Repairs "no red node has a red child" above a new red node.
void balanceAfterInsertion(SearchTree& tree, TreeNode* node) {
    while (isRed(node->parent)) {
        TreeNode* parent = node->parent;
        TreeNode* grandparent = parent->parent;  // exists: a red node is not the root
        const Side side = sideOf(grandparent, parent);
        TreeNode* uncle = grandparent->*otherSide(side);
        if (isRed(uncle)) {
            parent->colour = COLOUR_BLACK;
            uncle->colour = COLOUR_BLACK;
            grandparent->colour = COLOUR_RED;
            node = grandparent;
            continue;
        }
        if (node == parent->*otherSide(side)) {
            rotate(tree, parent, side);
            std::swap(node, parent);
        }
        parent->colour = COLOUR_BLACK;
        grandparent->colour = COLOUR_RED;
        rotate(tree, grandparent, otherSide(side));
    }
    tree.root->colour = COLOUR_BLACK;
}

}  // namespace

TreePlace findTreePlace(const SearchTree& tree, const void* key) {
    TreePlace place{tree.root, nullptr, KEY_INSIDE};
    while (place.node != nullptr) {
        place.relation = tree.compare(key, place.node);
        if (place.relation != KEY_BELOW && place.relation != KEY_ABOVE) {
            return place;
        }
        place.parent = place.node;
        place.node = place.relation == KEY_BELOW ? place.node->left : place.node->right;
    }
    return place;
}

void insertTreeNode(SearchTree& tree, const TreePlace& place, TreeNode& node) {
    node.parent = place.parent;
    node.colour = COLOUR_RED;
    if (place.parent == nullptr) {
        tree.root = &node;
    } else if (place.relation == KEY_BELOW) {
        place.parent->left = &node;
    } else {
        place.parent->right = &node;
    }
    balanceAfterInsertion(tree, &node);
    ++tree.nodeCount;
}

}  // namespace rs::test
