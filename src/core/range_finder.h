// Finds, while a structure is built, the place that an equal range has there already, so that
// building stays linear in the number of ranges.
//
//     RangeFinder   hash of (low, high) -> (low, high, place) -> ...      chains, doubled in number
//                                                                         as they fill up
// Ownership:  owns its own nodes; places are borrowed.
// Threads:    none.
// Cost:       one hash and a short chain; a chain has one node on average.
#pragma once

#include <cstdint>

#include "core/memory.h"
#include "syntax/ip_address.h"

namespace rs {

class RangeFinder {
public:
    RangeFinder() noexcept = default;
    RangeFinder(const RangeFinder&) = delete;
    RangeFinder& operator=(const RangeFinder&) = delete;
    ~RangeFinder();

    // The place added for exactly this range; null without one.
    [[nodiscard]] void* find(const Address128& low, const Address128& high) const noexcept;

    // Adds a range that is not there yet. False, with nothing added, when memory is out.
    [[nodiscard]] bool add(const Address128& low, const Address128& high, void* place) noexcept;

private:
    struct Node {
        Address128 low;
        Address128 high;
        void* place;  // borrowed
        Node* next;   // owned
        uint64_t hash;
    };

    [[nodiscard]] bool grow() noexcept;

    OwnedMemory<Node*[]> chains_;
    uint64_t chainCount_ = 0;  // a power of two, or 0
    uint64_t nodeCount_ = 0;
};

}  // namespace rs
