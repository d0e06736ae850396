// Bucket chains whose nodes can be packed into sorted blocks, so that a crowded bucket is searched
// by bisection.
//
//     as built    head -> node -> node -> node -> ...            blocks of one node each
//     packed      head -> [ node node node ... ] -> [ node node ... ]
//
// The first node of a block says where the next block begins and how many nodes it has; so the head
// is always a block of one. Node has the fields nextCount and next.
#pragma once

#include <algorithm>
#include <cstdint>

#include "core/memory.h"

namespace rs {

// Chains of fewer nodes stay as they are built.
inline constexpr uint32_t CROWDED_CHAIN = 9;

template <typename Node>
struct ChainBlock {
    Node* first;  // null behind the last block
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

// Puts a node in front of a chain.
template <typename Node>
void pushSingleNode(Node*& head, Node& node) noexcept {
    node.next = head;
    node.nextCount = head == nullptr ? 0 : 1;
    head = &node;
}

// The first node of a sorted block that does not stand before the key: order(node) is below 0 for
// nodes before it. Null when there is none.
template <typename Node, typename Order>
Node* lowerBound(const ChainBlock<Node>& block, const Order& order) noexcept {
    Node* end = block.first + block.count;
    Node* found = std::partition_point(
        block.first, end, [&order](const Node& node) noexcept { return order(node) < 0; });
    return found == end ? nullptr : found;
}

// Moves the first count nodes of a chain of single nodes into one block, which is sorted and leads
// on to the rest of the chain; null, with the chain left alone, when memory is out.
template <typename Node, typename Before>
Node* moveIntoBlock(Node* run, uint32_t count, const Before& before) noexcept {
    Node* block = allocateArray<Node>(count);
    if (block == nullptr) {
        return nullptr;
    }
    for (uint32_t i = 0; i < count; ++i) {
        Node* next = run->next;
        block[i] = *run;
        block[i].next = nullptr;
        block[i].nextCount = 0;
        freeMemory(run);
        run = next;
    }
    std::sort(block, block + count, before);
    block->next = run;
    block->nextCount = run == nullptr ? 0 : 1;
    return block;
}

// Packs a chain of single nodes that is crowded: its head stays alone, the others go, in chain
// order, into blocks of at most maxCount nodes, each sorted by before(a, b). A block ends early in
// front of a node that mayJoin(first, node) refuses. When memory runs out, what is left stays as
// single nodes, which are found all the same.
template <typename Node, typename Before, typename MayJoin>
void packChain(Node* head, uint32_t maxCount, const Before& before,
               const MayJoin& mayJoin) noexcept {
    uint32_t length = 0;
    for (const Node* node = head; node != nullptr; node = node->next) {
        ++length;
    }
    if (length < CROWDED_CHAIN) {
        return;
    }
    for (Node* previous = head; previous->next != nullptr;) {
        Node* run = previous->next;
        uint32_t count = 0;
        for (const Node* node = run; node != nullptr && count < maxCount && mayJoin(*run, *node);
             node = node->next) {
            ++count;
        }
        Node* block = moveIntoBlock(run, count, before);
        if (block == nullptr) {
            return;
        }
        previous->next = block;
        previous->nextCount = count;
        previous = block;
    }
}

// Frees a chain, packed or not: freeNode(block, node) lets go of what a node owns, and the blocks
// are freed here.
template <typename Node, typename FreeNode>
void freeBlocks(Node* head, const FreeNode& freeNode) noexcept {
    for (ChainBlock<Node> block = firstBlock(head); block.first != nullptr;) {
        const ChainBlock<Node> next = nextBlock(block);
        for (uint32_t i = 0; i < block.count; ++i) {
            freeNode(block, block.first[i]);
        }
        freeMemory(block.first);
        block = next;
    }
}

}  // namespace rs
