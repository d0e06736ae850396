// The chains of a hash table, block by block.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "lookup/chain_blocks.h"
#include "lookup/hash_table.h"

namespace rs::test {

// The blocks of the bucket of a hash, each as its nodes.
template <typename Node>
std::vector<std::vector<const Node*>> blocksOf(const HashTable* table, uint32_t hash) {
    std::vector<std::vector<const Node*>> blocks;
    auto* head = static_cast<Node*>(table->buckets[hash % table->bucketCount].chain);
    for (auto block = firstBlock(head); block.first != nullptr; block = nextBlock(block)) {
        std::vector<const Node*>& nodes = blocks.emplace_back();
        for (uint32_t i = 0; i < block.count; ++i) {
            nodes.push_back(block.first + i);
        }
    }
    return blocks;
}

template <typename Node>
std::vector<size_t> blockSizesOf(const HashTable* table, uint32_t hash) {
    std::vector<size_t> sizes;
    for (const auto& block : blocksOf<Node>(table, hash)) {
        sizes.push_back(block.size());
    }
    return sizes;
}

}  // namespace rs::test
