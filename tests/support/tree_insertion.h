// Inserting into a search tree by a way down from its root: what the library's builds must do as well without one.
//
// Ownership:  the nodes, keys and entries are the caller's.
#pragma once

#include <cstdint>

#include "ip/search_tree.h"

namespace rs::test {

// Where a way down ended: at a node, or at an empty place below a parent.
struct TreePlace {
    TreeNode* node;    // null at an empty place
    TreeNode* parent;  // null at the root
    int32_t relation;  // what compare said of node; at an empty place, of parent: the side of it
};

TreePlace findTreePlace(const SearchTree& tree, const void* key);

// Links a node, whose key and entries are set, at an empty place that findTreePlace has found for its key.
void insertTreeNode(SearchTree& tree, const TreePlace& place, TreeNode& node);

}  // namespace rs::test
