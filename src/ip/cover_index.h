// Which intervals are covered already for a ruleValue, while an interval tree is built.
//
// A rule enters nothing where an earlier rule with its ruleValue covers all of the part. A walk over
// the entries of a node finds that out, and over all nodes below the rule. Where thousands of rules
// meet, such walks would make a build cubic. This index answers the same from the rules themselves:
// a part of a node is covered by an entry of the node exactly when one earlier rule holds the part.
//
//     value 7   ->   20-29             a treap (a binary tree by low, a heap by chance), in
//                   /     \            which every interval knows the highest end below it
//                10-19   40-90
//     value 8   ->   ...
//
// An honest list needs none of this, so the index sleeps at first: it only keeps the intervals.
//
// Ownership:  owns its copies of the intervals.
// Threads:    none; lives while one tree is built.
// Cost:       asleep, 28 bytes an interval (60 with 128-bit addresses) and no time. Awake, a step for
//             each level of a treap: log2(n) of them for n intervals of a value, on average, since
//             chance decides by a secret.
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
    [[nodiscard]] uint32_t count() const noexcept { return intervals_.count(); }

    // Makes room for one more interval. False when memory is out.
    [[nodiscard]] bool reserveOne() noexcept {
        return intervals_.reserveOne() && (!isAwake_ || slots_.reserveOne());
    }

    // Adds an interval, into the room that reserveOne has made.
    void add(uint32_t ruleValue, const Address& low, const Address& high) noexcept {
        intervals_.append({low, high, high, ruleValue, NONE, NONE});
        if (isAwake_) {
            link(intervals_.count() - 1);
        }
    }

    [[nodiscard]] bool isAwake() const noexcept { return isAwake_; }

    // Files all intervals so that covers can be asked. When memory is out the index sleeps on.
    void wake() noexcept {
        for (uint32_t i = 0; i < intervals_.count(); ++i) {
            if (!slots_.reserveOne()) {
                slots_ = {};
                return;
            }
            link(i);
        }
        isAwake_ = true;
    }

    // Whether one interval that was added for this value holds all of [low, high]. The index is awake.
    [[nodiscard]] bool covers(uint32_t ruleValue, const Address& low,
                              const Address& high) const noexcept {
        const Slot* slot = findSlot(ruleValue);
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

private:
    static constexpr uint32_t NONE = UINT32_MAX;

    struct Slot {
        uint64_t hash;
        uint32_t ruleValue;
        uint32_t root;
        bool isUsed;

        [[nodiscard]] bool isTaken() const noexcept { return isUsed; }
    };

    struct Interval {
        Address low;
        Address high;
        Address highest;  // of this interval and all below it
        uint32_t ruleValue;
        uint32_t left;
        uint32_t right;
    };

    [[nodiscard]] uint64_t hashOf(uint32_t ruleValue) const noexcept {
        return mixHash(ruleValue ^ seed_.left, seed_.right);
    }

    [[nodiscard]] Slot* findSlot(uint32_t ruleValue) const noexcept {
        return slots_.find(hashOf(ruleValue), [ruleValue](const Slot& slot) noexcept {
            return slot.ruleValue == ruleValue;
        });
    }

    [[nodiscard]] bool reaches(uint32_t at, const Address& high) const noexcept {
        return at != NONE && intervals_[at].highest >= high;
    }

    // The place of an interval in the heap order: a number drawn by its position.
    [[nodiscard]] uint64_t rank(uint32_t at) const noexcept {
        return mixHash(at ^ seed_.right, seed_.left | 1U);
    }

    void link(uint32_t added) noexcept {
        Interval& interval = intervals_[added];
        interval.highest = interval.high;
        Slot* slot = findSlot(interval.ruleValue);
        if (slot == nullptr) {
            slot = &slots_.add({hashOf(interval.ruleValue), interval.ruleValue, NONE, true});
        }
        insert(slot->root, added);
    }

    // Puts an interval where the heap order wants it, and what was below that place on either side.
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
    bool isAwake_ = false;
    OpenTable<Slot> slots_;
    GrowingArray<Interval> intervals_;
};

}  // namespace rs
