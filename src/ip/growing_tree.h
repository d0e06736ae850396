// A search tree that grows, whose keys are known by their ranks. Its nodes get their records in key order once all are
// there.
//
//     rank     0        1        2        3
//     shape    -        *        *        *                  tree_shape.h
//     entries  -        5, 9     2, 2     7, 7               numbers of the first and of the last entry
//
//     slab     |  node of rank 1  |  node of rank 2  |  node of rank 3  |     after link()
//
// Nodes reserve their records when they are added, so that linking cannot fail. So a build that fails half-way has a
// proper tree, too, which gives its userData back in the order of trees.
//
// Ownership:  owns what it knows of the nodes; the records are in the slabs of a table.
// Threads:    none; it lives during a build.
// Cost:       24 bytes a rank and a bit. Linking is one pass in key order.
#pragma once

#include <algorithm>
#include <cstdint>

#include "core/lines.h"
#include "core/slab.h"
#include "ip/build_array.h"
#include "ip/rank_set.h"
#include "ip/search_tree.h"
#include "ip/tree_shape.h"

namespace rs {

class GrowingTree {
public:
    // An empty tree for ranks below count. False when memory is out.
    [[nodiscard]] bool reserve(uint32_t count) noexcept {
        lastRank_ = count == 0 ? 0 : count - 1;
        return entries_.reserve(count) && ranks_.reserve(count) && shape_.reserve(count);
    }

    [[nodiscard]] uint32_t root() const noexcept { return shape_.root(); }
    [[nodiscard]] const ShapeNode& linksOf(uint32_t rank) const noexcept { return shape_[rank]; }

    // The last node at or before a rank, and the first one at or after it; NO_RANK without one.
    [[nodiscard]] uint32_t atOrBefore(uint32_t rank) const noexcept {
        return ranks_.atOrBefore(rank);
    }
    [[nodiscard]] uint32_t atOrAfter(uint32_t rank) const noexcept {
        return ranks_.atOrAfter(rank);
    }

    // Adds a node at a rank that has none, with its first entry. The caller has made both records.
    void add(uint32_t rank, uint32_t before, uint32_t after, uint32_t entryNumber) noexcept {
        shape_.insert(rank, before, after);
        ranks_.add(rank);
        entries_[rank] = {entryNumber, entryNumber};
    }

    // The numbers of a node's first and last entry.
    [[nodiscard]] uint32_t firstEntryOf(uint32_t rank) const noexcept {
        return entries_[rank].first;
    }
    [[nodiscard]] uint32_t lastEntryOf(uint32_t rank) const noexcept { return entries_[rank].last; }

    // Puts an entry, which is in the slab already, after the last one of a node.
    template <typename Entry>
    void append(uint32_t rank, const Slab<Entry>& entries, uint32_t entryNumber) noexcept {
        uint32_t& last = entries_[rank].last;
        recordAt(entries, last).next = &recordAt(entries, entryNumber);
        last = entryNumber;
    }

    // Fetches what a step at this rank will read: nodes that are near in the tree are mostly near in memory.
    void prefetch(uint32_t rank) const noexcept {
        constexpr uint32_t LINE_NODES = CACHE_LINE / sizeof(ShapeNode);
        __builtin_prefetch(&shape_[rank]);
        __builtin_prefetch(&shape_[std::max(rank, LINE_NODES) - LINE_NODES]);
        __builtin_prefetch(&shape_[std::min(rank + LINE_NODES, lastRank_)]);
        __builtin_prefetch(&entries_[rank]);
    }

    // Fills the reserved records in key order: setKey(record, rank) writes the key. No entry may be appended
    // afterwards. Records of other slabs, with the same numbers, may be linked in the same way.
    template <typename Node, typename Entry, typename SetKey>
    void link(SearchTree& tree, const Slab<Node>& nodes, const Slab<Entry>& entries,
              const SetKey& setKey) noexcept {
        uint32_t count = 0;
        forEachRank([&](uint32_t rank) noexcept { entries_[rank].last = count++; });
        const auto nodeAt = [&](uint32_t rank) noexcept {
            return rank == NO_RANK ? nullptr : &recordAt(nodes, entries_[rank].last).node;
        };
        forEachRank([&](uint32_t rank) noexcept {
            Node& record = recordAt(nodes, entries_[rank].last);
            const ShapeNode& links = shape_[rank];
            const uint32_t first = entries_[rank].first;
            setKey(record, rank);
            record.node = {nodeAt(links.parent),
                           nodeAt(links.left),
                           nodeAt(links.right),
                           &record.key,
                           &recordAt(entries, first),
                           links.colour,
                           first};
        });
        tree.root = nodeAt(shape_.root());
        tree.nodeCount = count;
    }

private:
    // Numbers of entries. While the tree is linked, last is the number of the node's record.
    struct NodeEntries {
        uint32_t first;
        uint32_t last;
    };

    template <typename Visit>
    void forEachRank(const Visit& visit) const noexcept {
        for (uint32_t rank = ranks_.atOrAfter(0); rank != NO_RANK;
             rank = ranks_.atOrAfter(rank + 1)) {
            visit(rank);
        }
    }

    BuildArray<NodeEntries> entries_;
    RankSet ranks_;
    TreeShape shape_;
    uint32_t lastRank_ = 0;
};

}  // namespace rs
