// The chain of one bucket of a hash table. Once the chain is complete it can be packed into sorted
// blocks, so that a crowded bucket is searched by bisection.
//
//     as built    node -> node -> node -> node -> node -> ...
//     packed      node -> [ node node node ... node ] -> [ node node ]
//                 head      sorted                         sorted
//
// A chain is a sequence of blocks; as built, each block is one node. A block's first node stores
// the address and length of the next block, in next and nextCount. Nothing stores the head's
// length, so the head is always one node.
//
// Node is a plain record with these two fields, which may be moved by copying it. Its user decides
// whether a chain may have equal nodes. These may be side by side in one block, and in several
// blocks: a search then asks every block.
//
// Invariants: next and nextCount are read in the first node of a block only. They are 0 in the
//             other nodes of a packed block, and in the first node of the last block.
// Ownership:  nodes are their user's, and those of a block are neighbours in a slab. Packing copies nodes, so pointers
//             to them end with it.
// Threads:    a chain is built and packed by one thread; then any number of threads may search it.
// Cost:       a search walks the blocks and bisects each: of n nodes in blocks of m, n/m * log2(m).
//             Packing sorts each block once.
#pragma once

#include <algorithm>
#include <cstdint>

#include "core/slab.h"

namespace rs {

// A chain of fewer nodes stays as it is built: to walk it is as fast.
inline constexpr uint32_t CROWDED_CHAIN = 9;

template <typename Node>
struct ChainBlock {
    Node* first;  // borrowed from the chain; null after the last block
    uint32_t count;
};

template <typename Node>
ChainBlock<Node> firstBlock(Node* head) noexcept {
    return {head, head == nullptr ? 0U : 1U};
}

template <typename Node>
ChainBlock<Node> nextBlock(const ChainBlock<Node>& block) noexcept {
    return {block.first->next, block.first->nextCount};
}

// Puts a node, as a block of its own, before a chain that is not packed. So a chain runs from the
// newest node to the oldest.
template <typename Node>
void pushSingleNode(Node*& head, Node& node) noexcept {
    node.next = head;
    node.nextCount = head == nullptr ? 0 : 1;
    head = &node;
}

// The first node of a sorted block that does not come before the key; null when there is none.
// order(node) is below 0 for the nodes that come before the key. The node found may be greater than
// the key: the caller compares. Further equal nodes come right after it.
template <typename Node, typename Order>
Node* lowerBound(const ChainBlock<Node>& block, const Order& order) noexcept {
    Node* end = block.first + block.count;
    Node* found = std::partition_point(
        block.first, end, [&order](const Node& node) noexcept { return order(node) < 0; });
    return found == end ? nullptr : found;
}

// Whether a chain of single nodes is packed.
template <typename Node>
[[nodiscard]] bool isCrowded(const Node* head) noexcept {
    uint32_t length = 0;
    for (const Node* node = head; node != nullptr && length < CROWDED_CHAIN; node = node->next) {
        ++length;
    }
    return length == CROWDED_CHAIN;
}

// Copies the first count nodes of a chain of single nodes into a block of a slab, sorts it, and links the rest of the
// chain after it. Null when memory is out.
template <typename Node, typename Before>
Node* copyIntoBlock(Slab<Node>& slab, const Node* run, uint32_t count,
                    const Before& before) noexcept {
    Node* block = newRecords(slab, count);
    if (block == nullptr) {
        return nullptr;
    }
    Node* next = nullptr;
    for (uint32_t i = 0; i < count; ++i) {
        next = run->next;
        block[i] = *run;
        block[i].next = nullptr;
        block[i].nextCount = 0;
        run = next;
    }
    std::sort(block, block + count, before);
    block->next = next;
    block->nextCount = next == nullptr ? 0 : 1;
    return block;
}

// Copies a chain of single nodes into another slab, whose chunks have room for maxCount nodes, and lets head point to
// it. A crowded chain is packed: the head stays alone, and the other nodes go, in chain order, into blocks of at most
// maxCount nodes, each sorted by before(left, right). A node that mayJoin(first, node) refuses begins a new block; first
// is the block's first node before sorting, which may always join itself. False when memory runs out: the nodes that were
// not copied stay where they are, single nodes that are linked to the others.
template <typename Node, typename Before, typename MayJoin>
[[nodiscard]] bool packChainInto(Slab<Node>& slab, Node*& head, uint32_t maxCount,
                                 const Before& before, const MayJoin& mayJoin) noexcept {
    const uint32_t laterCount = isCrowded(head) ? maxCount : 1;
    Node* previous = nullptr;
    for (const Node* run = head; run != nullptr;) {
        const uint32_t largest = previous == nullptr ? 1 : laterCount;
        uint32_t count = 0;
        for (const Node* node = run; node != nullptr && count < largest && mayJoin(*run, *node);
             node = node->next) {
            ++count;
        }
        Node* block = copyIntoBlock(slab, run, count, before);
        if (block == nullptr) {
            return false;
        }
        if (previous == nullptr) {
            head = block;
        } else {
            previous->next = block;
            previous->nextCount = count;
        }
        previous = block;
        run = block->next;
    }
    return true;
}

// Visits the blocks of a chain, packed or not: visit(block).
template <typename Node, typename Visit>
void forEachBlock(Node* head, const Visit& visit) noexcept {
    for (ChainBlock<Node> block = firstBlock(head); block.first != nullptr;
         block = nextBlock(block)) {
        visit(block);
    }
}

}  // namespace rs
