#include "ip/tree_shape.h"

#include <utility>

#include "ip/search_tree.h"

namespace rs {

bool TreeShape::reserve(uint32_t count) noexcept {
    root_ = NO_RANK;
    return nodes_.reserve(count);
}

void TreeShape::insert(uint32_t rank, uint32_t before, uint32_t after) noexcept {
    // Of two neighbours one is above the other. The lower one has no child on the side of the new node.
    const bool isRightChild = before != NO_RANK && nodes_[before].right == NO_RANK;
    const uint32_t parent = isRightChild ? before : after;
    nodes_[rank] = {parent, NO_RANK, NO_RANK, COLOUR_RED};
    if (parent == NO_RANK) {
        root_ = rank;
    } else {
        (isRightChild ? nodes_[parent].right : nodes_[parent].left) = rank;
    }
    balance(rank);
}

bool TreeShape::isRed(uint32_t node) const noexcept {
    return node != NO_RANK && nodes_[node].colour == COLOUR_RED;
}

// The rank that names node: a child link of its parent, or the root.
uint32_t& TreeShape::linkTo(uint32_t node) noexcept {
    const uint32_t parent = nodes_[node].parent;
    if (parent == NO_RANK) {
        return root_;
    }
    return nodes_[parent].left == node ? nodes_[parent].left : nodes_[parent].right;
}

// Moves node down to the given side; its child on the other side takes its place:
//
//        node                child
//       /    \      left     /    \           .
//      a    child  ----->  node    c
//           /  \           /  \               .
//          b    c         a    b
void TreeShape::rotate(uint32_t node, Side side) noexcept {
    const Side opposite = side == &ShapeNode::left ? &ShapeNode::right : &ShapeNode::left;
    const uint32_t child = nodes_[node].*opposite;
    const uint32_t inner = nodes_[child].*side;
    nodes_[node].*opposite = inner;
    if (inner != NO_RANK) {
        nodes_[inner].parent = node;
    }
    nodes_[child].parent = nodes_[node].parent;
    linkTo(node) = child;
    nodes_[child].*side = node;
    nodes_[node].parent = child;
}

// Repairs "no red node has a red child" above a new red node.
void TreeShape::balance(uint32_t node) noexcept {
    while (isRed(nodes_[node].parent)) {
        uint32_t parent = nodes_[node].parent;
        const uint32_t grandparent = nodes_[parent].parent;  // exists: a red node is not the root
        const bool isLeft = nodes_[grandparent].left == parent;
        const Side side = isLeft ? &ShapeNode::left : &ShapeNode::right;
        const Side opposite = isLeft ? &ShapeNode::right : &ShapeNode::left;
        const uint32_t uncle = nodes_[grandparent].*opposite;
        if (isRed(uncle)) {
            nodes_[parent].colour = COLOUR_BLACK;
            nodes_[uncle].colour = COLOUR_BLACK;
            nodes_[grandparent].colour = COLOUR_RED;
            node = grandparent;
            continue;
        }
        if (node == nodes_[parent].*opposite) {
            rotate(parent, side);
            std::swap(node, parent);
        }
        nodes_[parent].colour = COLOUR_BLACK;
        nodes_[grandparent].colour = COLOUR_RED;
        rotate(grandparent, opposite);
    }
    nodes_[root_].colour = COLOUR_BLACK;
}

}  // namespace rs
