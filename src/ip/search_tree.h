// A red-black tree of nodes with a key and a list of entries.
//
//                     [10.0.0.0 - 10.0.0.255]                 key; entries: rule 2, rule 7
//                    /                       \                                               .
//     [1.0.0.0 - 1.0.0.9]             [172.16.0.0 - 172.31.255.255]
//
// The tree knows neither its keys nor its entries: compare orders them, and releaseEntries gives back what they own.
// Nodes, keys and entries are records in slabs of the tree's user. A node and its key are one record, so that each
// level of a way down reads neighbouring memory.
//
// Invariants: keys are in order, and no two are equal or overlap as far as compare can tell. No red
//             node has a red child. Every way down passes the same number of black nodes.
// Ownership:  the tree owns its releaseInfo. The memory of nodes, keys and entries is that of its user's slabs, which
//             are freed after the tree.
// Threads:    lookups only read. Everything else needs the tree for itself; nodeCount is changed
//             atomically.
// Cost:       a lookup is one way down, at most 2 log2(n + 1) nodes.
#pragma once

#include <cstdint>

#include "core/memory.h"
#include "core/release.h"

namespace rs {

inline constexpr uint32_t COLOUR_RED = 0;
inline constexpr uint32_t COLOUR_BLACK = 1;

struct TreeNode {
    TreeNode* parent;  // borrowed
    TreeNode* left;    // borrowed, like all that follows
    TreeNode* right;
    void* key;
    void* entries;  // the first one
    uint32_t colour;
    uint32_t entryNumber;  // of the first entry, in its slab
};

// What compare says of a key against a node. A way down goes left after -1 and right after 1; any
// other answer ends it at the node.
inline constexpr int32_t KEY_BELOW = -1;
inline constexpr int32_t KEY_INSIDE = 0;  // equal, or wholly covered by the node's key
inline constexpr int32_t KEY_ABOVE = 1;
inline constexpr int32_t KEY_STICKS_OUT_BELOW = -2;
inline constexpr int32_t KEY_STICKS_OUT_ABOVE = 2;
inline constexpr int32_t KEY_STICKS_OUT_BOTH = 3;

using TreeCompare = int32_t (*)(const void* key, const TreeNode* node) noexcept;

// Gives the userData that the entries own back through info, from the first entry on.
using TreeReleaseEntries = void (*)(const ReleaseInfo* info, void* key, void* firstEntry) noexcept;

struct SearchTree {
    TreeNode* root;  // borrowed
    uint32_t nodeCount;
    TreeCompare compare;
    TreeReleaseEntries releaseEntries;
    ReleaseInfo* releaseInfo;  // owned
};

// An empty tree; null when memory is out. The caller frees it with freeSearchTree.
[[nodiscard]] SearchTree* createSearchTree(const ReleaseInfo& info, TreeCompare compare,
                                           TreeReleaseEntries releaseEntries) noexcept;

// Takes node out of the tree and gives back what its entries own.
void removeTreeNode(SearchTree& tree, TreeNode* node) noexcept;

using TreeVisit = void (*)(void* context, const TreeNode& node) noexcept;

// Visits all nodes in key order. The walk needs no stack: while it is in a left subtree, the
// rightmost node there points at the node above. Afterwards the tree is as before; meanwhile nobody
// may read it.
void visitTreeInOrder(SearchTree& tree, void* context, TreeVisit visit) noexcept;

// Gives back what all entries own, from the leaves of the tree up, and frees the tree; null is left alone.
void freeSearchTree(SearchTree* tree) noexcept;

using OwnedSearchTree = Owned<SearchTree, freeSearchTree>;

}  // namespace rs
