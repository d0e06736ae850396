// Whether an entry of a tree node covers an interval already, without a walk over the node's entries.
//
// A node of an interval tree holds an entry for each rule that meets it, and a rule enters none where an
// entry with its ruleValue covers all of its part. Where thousands of rules meet in one node, the walk
// that finds out would make a build cubic. So the entries of crowded nodes are filed here while the
// tree is built, by node and ruleValue:
//
//     node A, value 7   ->   20-29             a treap (binary tree by low, heap by chance) in
//                           /     \            which every interval knows the highest end
//                        10-19   40-90         below it
//     node A, value 8   ->   ...
//
// One descent answers whether an interval with low <= a and high >= b is there.
//
// Ownership:  owns its copies of the intervals; nodes are only compared, never read.
// Threads:    none; lives while one tree is built.
// Cost:       a step for each level of a treap: log2(n) of them for n intervals of one node and value, on average,
//             since chance decides by a secret.
#pragma once

#include <algorithm>
#include <cstdint>

#include "core/growing_array.h"
#include "lookup/hash_seed.h"
#include "lookup/open_table.h"

namespace rs {

template <typename Address>
class CoverIndex {
public:
    // Whether an interval that was added for this node and value holds all of [low, high].
    [[nodiscard]] bool covers(const void* node, uint32_t ruleValue, const Address& low,
                              const Address& high) const noexcept {
        const Slot* slot = findSlot(node, ruleValue);
        for (uint32_t at = slot == nullptr ? NONE : slot->root; at != NONE;) {
            const Interval& interval = intervals_[at];
            if (low < interval.low) {
                at = interval.left;
            } else if (interval.high >= high || reaches(interval.left, high)) {
                return true;
            } else {
                at = interval.right;
            }
        }
        return false;
    }

    // False, with nothing changed, when memory is out.
    [[nodiscard]] bool add(const void* node, uint32_t ruleValue, const Address& low,
                           const Address& high) noexcept {
        if (!slots_.reserveOne() || !intervals_.append({low, high, high, NONE, NONE})) {
            return false;
        }
        Slot* slot = findSlot(node, ruleValue);
        if (slot == nullptr) {
            slot = &slots_.add({hashOf(node, ruleValue), node, ruleValue, NONE});
        }
        insert(slot->root, intervals_.count() - 1);
        return true;
    }

private:
    static constexpr uint32_t NONE = UINT32_MAX;

    struct Slot {
        uint64_t hash;
        const void* node;
        uint32_t ruleValue;
        uint32_t root;

        [[nodiscard]] bool isTaken() const noexcept { return node != nullptr; }
    };

    struct Interval {
        Address low;
        Address high;
        Address highest;  // of this interval and all below it
        uint32_t left;
        uint32_t right;
    };

    [[nodiscard]] uint64_t hashOf(const void* node, uint32_t ruleValue) const noexcept {
        return mixHash(reinterpret_cast<uintptr_t>(node) ^ seed_.left, ruleValue ^ seed_.right);
    }

    [[nodiscard]] Slot* findSlot(const void* node, uint32_t ruleValue) const noexcept {
        return slots_.find(hashOf(node, ruleValue), [&](const Slot& slot) noexcept {
            return slot.node == node && slot.ruleValue == ruleValue;
        });
    }

    [[nodiscard]] bool reaches(uint32_t at, const Address& high) const noexcept {
        return at != NONE && intervals_[at].highest >= high;
    }

    // Where an interval stands in the heap: a number drawn by its place.
    [[nodiscard]] uint64_t rank(uint32_t at) const noexcept {
        return mixHash(at ^ seed_.right, seed_.left | 1U);
    }

    // Puts an interval where the heap order wants it, and what lies below that place on either side.
    void insert(uint32_t& root, uint32_t added) noexcept {
        uint32_t* place = &root;
        Interval& interval = intervals_[added];
        while (*place != NONE && rank(*place) >= rank(added)) {
            Interval& above = intervals_[*place];
            above.highest = std::max(above.highest, interval.high);
            place = above.low <= interval.low ? &above.right : &above.left;
        }
        const uint32_t below = *place;
        *place = added;
        split(below, interval.low, interval.left, interval.right);
        sumUp(interval);
    }

    // Cuts a treap into the intervals that begin at low or before it, and the others.
    void split(uint32_t at, const Address& low, uint32_t& before, uint32_t& after) noexcept {
        if (at == NONE) {
            before = NONE;
            after = NONE;
            return;
        }
        Interval& interval = intervals_[at];
        if (interval.low <= low) {
            before = at;
            split(interval.right, low, interval.right, after);
        } else {
            after = at;
            split(interval.left, low, before, interval.left);
        }
        sumUp(interval);
    }

    void sumUp(Interval& interval) noexcept {
        interval.highest = interval.high;
        for (const uint32_t below : {interval.left, interval.right}) {
            if (below != NONE) {
                interval.highest = std::max(interval.highest, intervals_[below].highest);
            }
        }
    }

    HashSeed seed_ = newHashSeed();
    OpenTable<Slot> slots_;
    GrowingArray<Interval> intervals_;
};

}  // namespace rs
