// The shape of a red-black tree while it grows, apart from its nodes.
//
//     rank      0    1    2    3    4         places in the order of the keys
//     links     -    *    -    *    *         parent, left, right and colour of the nodes that are there
//
// A build knows the order of all keys before it enters the first, so it finds the place of a new node from its
// neighbours, and needs no way down from the root. The shape is exactly the one that ways down would have made. It is
// kept by rank, in 16 bytes a place: neighbours in the tree are mostly neighbours in memory.
//
// Ownership:  owns its links.
// Threads:    none; it lives during a build.
// Cost:       an insertion changes the links of a few nodes, on average.
#pragma once

#include <cstdint>

#include "ip/build_array.h"
#include "ip/rank_set.h"

namespace rs {

// A node of a shape: ranks of others, or NO_RANK.
struct ShapeNode {
    uint32_t parent;
    uint32_t left;
    uint32_t right;
    uint32_t colour;  // as that of a TreeNode
};

class TreeShape {
public:
    // An empty tree for ranks below count. False when memory is out.
    [[nodiscard]] bool reserve(uint32_t count) noexcept;

    [[nodiscard]] uint32_t root() const noexcept { return root_; }
    [[nodiscard]] const ShapeNode& operator[](uint32_t rank) const noexcept { return nodes_[rank]; }

    // Adds a node between its neighbours in the tree; NO_RANK for one that is missing.
    void insert(uint32_t rank, uint32_t before, uint32_t after) noexcept;

private:
    using Side = uint32_t ShapeNode::*;

    [[nodiscard]] bool isRed(uint32_t node) const noexcept;
    [[nodiscard]] uint32_t& linkTo(uint32_t node) noexcept;
    void rotate(uint32_t node, Side side) noexcept;
    void balance(uint32_t node) noexcept;

    BuildArray<ShapeNode> nodes_;
    uint32_t root_ = NO_RANK;
};

}  // namespace rs
