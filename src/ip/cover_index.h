// Which intervals are covered already for a ruleValue, while an interval tree is built.
//
// A rule enters nothing where an earlier rule with its ruleValue covers all of the part. A walk over the entries of a
// node finds that out. Where thousands of rules meet, such walks would make a build cubic. This index answers the same
// from the rules themselves: a part of a node is covered by an entry of the node exactly when one earlier rule with the
// ruleValue holds the part.
//
//     value 7   |---|                  each rule has a place in the order of ruleValue and low. Those that no other
//                  |------|            rule of the value holds are in a set. Both ends of these ascend, so the last
//                      |----|          one that begins at or before a part is the one that reaches furthest.
//     value 8   ...
//
// An honest list needs none of this, so the index is made only when walks have become long.
//
// Ownership:  owns its order, borrows the places of the ranges.
// Threads:    none; lives while one tree is built.
// Cost:       16 bytes a rule. An answer is one bisection. Each rule enters the set once and leaves it once.
#pragma once

#include <cstdint>

#include "ip/build_array.h"
#include "ip/rank_set.h"
#include "ip/rule_places.h"

namespace rs {

class CoverIndex {
public:
    // An empty index for these ranges. False when memory is out.
    [[nodiscard]] bool reserve(const RangePlaces& ranges) noexcept;

    // Adds the range of a position.
    void add(uint32_t position) noexcept;

    // The highest end of the ranges with a ruleValue that were added and begin at a rank or before it; 0 without one.
    [[nodiscard]] uint32_t reach(uint32_t ruleValue, uint32_t rank) const noexcept;

private:
    // A ruleValue and the low rank of a range, as one number.
    static uint64_t keyOf(uint32_t ruleValue, uint32_t low) noexcept {
        return (uint64_t{ruleValue} << 32U) | low;
    }

    [[nodiscard]] bool isOfValue(uint32_t place, uint32_t ruleValue) const noexcept {
        return place != NO_RANK && keys_[place] >> 32U == ruleValue;
    }

    [[nodiscard]] uint32_t endAt(uint32_t place) const noexcept {
        return ranges_->ranges[positions_[place]].end;
    }

    const RangePlaces* ranges_ = nullptr;
    BuildArray<uint64_t> keys_;       // by place, ascending
    BuildArray<uint32_t> positions_;  // by place
    BuildArray<uint32_t> places_;     // by position
    RankSet held_;                    // places
};

}  // namespace rs
