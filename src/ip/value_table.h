// Which ruleValues the entries of crowded tree nodes have, while a tree of single addresses is built.
//
// An address enters a tree once for each ruleValue. The walk over the entries of its node tells
// whether a value is there; the values of a node with many entries are filed here instead.
//
//     node A, value 7
//     node A, value 8
//     node B, value 7
//
// Ownership:  nodes are only compared, never read.
// Threads:    none; lives while one tree is built.
// Cost:       a probe of an open table.
#pragma once

#include <cstdint>

#include "lookup/hash_seed.h"
#include "lookup/open_table.h"

namespace rs {

class ValueTable {
public:
    [[nodiscard]] bool contains(const void* node, uint32_t ruleValue) const noexcept {
        return slots_.find(hashOf(node, ruleValue), [&](const Slot& slot) noexcept {
            return slot.node == node && slot.ruleValue == ruleValue;
        }) != nullptr;
    }

    // Adds a value that the node does not have yet. False, with nothing changed, when memory is out.
    [[nodiscard]] bool add(const void* node, uint32_t ruleValue) noexcept {
        if (!slots_.reserveOne()) {
            return false;
        }
        slots_.add({hashOf(node, ruleValue), node, ruleValue});
        return true;
    }

private:
    struct Slot {
        uint64_t hash;
        const void* node;  // null in a free slot
        uint32_t ruleValue;

        [[nodiscard]] bool isTaken() const noexcept { return node != nullptr; }
    };

    [[nodiscard]] uint64_t hashOf(const void* node, uint32_t ruleValue) const noexcept {
        return mixHash(reinterpret_cast<uintptr_t>(node) ^ seed_.left, ruleValue ^ seed_.right);
    }

    HashSeed seed_ = newHashSeed();
    OpenTable<Slot> slots_;
};

}  // namespace rs
