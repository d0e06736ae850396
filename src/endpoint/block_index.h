// The entries of rules whose first endpoint is a range of IPv4 addresses. A lookup finds them by
// the /16 block, the upper 16 bits, of its first address.
//
//     BlockIndex  slots[10] -> [0]   span 0-ffff #1 -> span 5-9 #3        10.0.0.0-10.1.0.5 is rule 1,
//                              [1]   span 0-5 #1                          10.0.0.5-10.0.0.9 rule 3
//                              [2]   empty
//                 slots[11] null
//
// Addresses are in host order; a range includes both ends, and low <= high. endpoint/insertion.h
// says what makeEntry answers, and endpoint/entry_walk.h what test does.
//
// Invariants: a range has one node in each block that it touches, with the low 16 bits of what it
//             has there and an entry of its own; none where the last node of the block covers as
//             much and has an entry of the same makeEntry. The nodes of a block are in rule order,
//             because rules are inserted in that order.
// Ownership:  the index owns its slots. Nodes and entries are records of the compiled structure.
// Threads:    one thread builds; then any number of threads may look up.
// Cost:       a range makes a node and an entry for each block that it touches: 256 for a /8, 65536
//             at most. All ranges of one makeEntry together make as many, and two more for each
//             range. A first octet in use takes 4096 bytes more. A lookup walks the nodes of one
//             block up to the first that covers, in a crowded block by a FlatOrder; scanAllBlocks walks
//             all.
#pragma once

#include <cstdint>

#include "core/chain.h"
#include "core/memory.h"
#include "core/reference_count.h"
#include "core/slab.h"
#include "endpoint/entry_walk.h"
#include "endpoint/insertion.h"
#include "lookup/flat_order.h"
#include "lookup/flat_policy.h"

namespace rs {

inline constexpr uint32_t OCTET_VALUES = 256;

template <typename Entry>
struct BlockSpanNode {
    Entry* entry;  // its next is null
    BlockSpanNode* next;
    uint16_t spanLow;  // low 16 bits of the addresses covered in the block
    uint16_t spanHigh;
    uint16_t block;  // their upper 16 bits
};

template <typename Entry>
struct BlockIndex {
    using Slot = Chain<BlockSpanNode<Entry>>;
    Slot* slots[OCTET_VALUES];  // by the first octet: owned, null or OCTET_VALUES by the second
    uint32_t count;             // of ranges inserted, not of nodes
};

// Whether a node has an entry of makeEntry for all of a span. Then a node for that span would change
// no answer: insertion.h says why.
template <typename Entry, typename MakeEntry>
[[nodiscard]] bool coversSpan(const BlockSpanNode<Entry>* node, uint16_t spanLow, uint16_t spanHigh,
                              const MakeEntry& makeEntry) noexcept {
    return node != nullptr && node->spanLow <= spanLow && spanHigh <= node->spanHigh &&
           makeEntry.made(*node->entry);
}

// Enters one node for the addresses that [low, high] has in a /16 block.
template <typename Entry, typename MakeEntry>
[[nodiscard]] bool insertBlockSpan(BlockIndex<Entry>& index, Slab<BlockSpanNode<Entry>>& nodes,
                                   uint32_t block, uint32_t low, uint32_t high,
                                   const MakeEntry& makeEntry) noexcept {
    using Slot = typename BlockIndex<Entry>::Slot;
    Slot*& slots = index.slots[block >> 8U];
    if (slots == nullptr) {
        slots = allocateArray<Slot>(OCTET_VALUES);
    }
    if (slots == nullptr) {
        return false;
    }
    const auto spanLow = static_cast<uint16_t>(block == low >> 16U ? low & 0xFFFFU : 0);
    const auto spanHigh = static_cast<uint16_t>(block == high >> 16U ? high & 0xFFFFU : 0xFFFF);
    Slot& slot = slots[block & 0xFFU];
    if (coversSpan(slot.last, spanLow, spanHigh, makeEntry)) {
        return true;
    }
    BlockSpanNode<Entry>* node = newRecord(nodes);
    if (node == nullptr) {
        return false;
    }
    node->entry = makeEntry();
    if (node->entry == nullptr) {
        takeBackRecord(nodes);
        return false;
    }
    node->spanLow = spanLow;
    node->spanHigh = spanHigh;
    node->block = static_cast<uint16_t>(block);
    slot.append(node);
    return true;
}

// Enters a range, with one call of makeEntry at most for each block. False when memory is out or
// makeEntry failed; what the blocks before have got stays in the index.
template <typename Entry, typename MakeEntry>
[[nodiscard]] bool insertIntoBlocks(BlockIndex<Entry>*& index, Slab<BlockSpanNode<Entry>>& nodes,
                                    uint32_t low, uint32_t high,
                                    const MakeEntry& makeEntry) noexcept {
    if (!createStructure(index)) {
        return false;
    }
    for (uint32_t block = low >> 16U; block <= high >> 16U; ++block) {
        if (!insertBlockSpan(*index, nodes, block, low, high, makeEntry)) {
            return false;
        }
    }
    incrementCount(index->count);
    return true;
}

// From how many nodes on a block is crowded. At 12 nodes a walk finds an answer as soon as a
// FlatOrder; at 16 it takes a third longer, at 64 twice as long.
inline constexpr uint32_t CROWDED_BLOCK = 16;

// The flat lookup of the nodes in crowded blocks.
struct BlockOrder {
    FlatOrder<uint32_t>* order;  // owned; null when no block is crowded
    uint32_t walked;             // how many nodes of a block are walked before order is asked
};

// The flat lookup of an index whose nodes are these records, with a null order when memory is out.
template <typename Entry>
[[nodiscard]] BlockOrder buildBlockOrder(const Slab<BlockSpanNode<Entry>>& nodes) noexcept {
    constexpr uint32_t BLOCKS = OCTET_VALUES * OCTET_VALUES;
    if (!wantsFlat(nodes.count, CROWDED_BLOCK)) {
        return {nullptr, 0};
    }
    const OwnedMemory<uint32_t[]> countOf(allocateArray<uint32_t>(BLOCKS));
    for (uint32_t i = 0; countOf && i < nodes.count; ++i) {
        ++countOf[recordAt(nodes, i).block];
    }
    uint32_t crowdedCount = 0;
    for (uint32_t block = 0; countOf && block < BLOCKS; ++block) {
        crowdedCount += wantsFlat(countOf[block], CROWDED_BLOCK) ? countOf[block] : 0;
    }
    const OwnedMemory<OrderedRange<uint32_t>[]> ranges(
        allocateArray<OrderedRange<uint32_t>>(crowdedCount));
    if (!ranges) {
        return {nullptr, 0};
    }
    uint32_t count = 0;
    for (uint32_t i = 0; i < nodes.count; ++i) {
        const BlockSpanNode<Entry>& node = recordAt(nodes, i);
        if (wantsFlat(countOf[node.block], CROWDED_BLOCK)) {
            const uint32_t first = uint32_t{node.block} << 16U;
            ranges[count++] = {first | node.spanLow, first | node.spanHigh, i};
        }
    }
    return {buildFlatOrder(ranges.get(), count),
            wantsFlat(1, CROWDED_BLOCK) ? 0 : CROWDED_BLOCK - 1};
}

inline void freeBlockOrder(BlockOrder& order) noexcept {
    freeFlatOrder(order.order);
    order = {};
}

// The chain of nodes of an address's block; null for a null index and for a block without.
template <typename Entry>
[[nodiscard]] const BlockSpanNode<Entry>* blockOf(const BlockIndex<Entry>* index,
                                                  uint32_t address) noexcept {
    const auto* slots = index == nullptr ? nullptr : index->slots[address >> 24U];
    return slots == nullptr ? nullptr : slots[(address >> 16U) & 0xFFU].first;
}

// What the entry of a node answers, when the node's span holds the address.
template <typename Entry, typename Test>
[[nodiscard]] EntryAnswer<Entry> testSpan(const BlockSpanNode<Entry>& node, uint32_t address,
                                          const Test& test) noexcept {
    const uint32_t low16 = address & 0xFFFFU;
    if (low16 < node.spanLow || low16 > node.spanHigh) {
        return {0, nullptr};
    }
    return scanEntries<Entry>(node.entry, test);
}

// The first entry that covers, of those whose range holds the address. A null index has none.
template <typename Entry, typename Test>
[[nodiscard]] EntryAnswer<Entry> scanBlocks(const BlockIndex<Entry>* index, uint32_t address,
                                            const Test& test) noexcept {
    for (const auto* node = blockOf(index, address); node != nullptr; node = node->next) {
        const EntryAnswer<Entry> answer = testSpan(*node, address, test);
        if (answer.status != 0) {
            return answer;
        }
    }
    return {0, nullptr};
}

// The same by the flat lookup of the index. A walk that gets beyond order.walked nodes is in a
// crowded block, and goes on there from the start: what it has tested answers 0 again.
template <typename Entry, typename Test>
[[nodiscard]] EntryAnswer<Entry> findInBlocks(const BlockIndex<Entry>* index,
                                              const Slab<BlockSpanNode<Entry>>& nodes,
                                              const BlockOrder& order, uint32_t address,
                                              const Test& test) noexcept {
    if (order.order == nullptr) {
        return scanBlocks(index, address, test);
    }
    uint32_t walked = 0;
    const auto* node = blockOf(index, address);
    for (; node != nullptr && walked < order.walked; node = node->next, ++walked) {
        const EntryAnswer<Entry> answer = testSpan(*node, address, test);
        if (answer.status != 0) {
            return answer;
        }
    }
    EntryAnswer<Entry> answer{0, nullptr};
    if (node != nullptr) {
        static_cast<void>(askInOrder(*order.order, address, [&](uint32_t number) noexcept {
            answer = scanEntries<Entry>(recordAt(nodes, number).entry, test);
            return answer.status;
        }));
    }
    return answer;
}

// The first status but 0 that test answers for any entry, in order of address; 0 without one, and
// for a null index.
template <typename Entry, typename Test>
[[nodiscard]] int32_t scanAllBlocks(const BlockIndex<Entry>* index, const Test& test) noexcept {
    for (uint32_t block = 0; index != nullptr && block < OCTET_VALUES * OCTET_VALUES; ++block) {
        const auto* slots = index->slots[block >> 8U];
        if (slots == nullptr) {
            block |= 0xFFU;  // on to the next first octet
            continue;
        }
        for (const auto* node = slots[block & 0xFFU].first; node != nullptr; node = node->next) {
            const int32_t status = scanEntries<Entry>(node->entry, test).status;
            if (status != 0) {
                return status;
            }
        }
    }
    return 0;
}

// Frees the index, but no nodes and entries, and sets it to null.
template <typename Entry>
void freeBlockIndex(BlockIndex<Entry>*& index) noexcept {
    if (index != nullptr) {
        for (auto* slots : index->slots) {
            freeMemory(slots);
        }
        freeMemory(index);
        index = nullptr;
    }
}

}  // namespace rs
