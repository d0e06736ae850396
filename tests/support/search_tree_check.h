// Whether a search tree is one.
#pragma once

#include <vector>

#include <gtest/gtest.h>

#include "ip/search_tree.h"

namespace rs::test {

// The nodes of a tree in key order; empty for a null tree. It recurses and trusts the child links.
std::vector<const TreeNode*> nodesInOrder(const SearchTree* tree);

// True when the keys are in order and disjoint, as compare tells; parent links answer child links;
// the root is black, no red node has a red child, and every way down passes the same number of
// black nodes; and nodeCount is the number of nodes. Otherwise says what is wrong first.
::testing::AssertionResult checkSearchTree(const SearchTree& tree);

}  // namespace rs::test
