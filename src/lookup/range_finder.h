// A hash table of ranges of 128-bit addresses, for the time in which a structure is built from
// them. The structure has one place for each different range. A further rule for an equal range
// finds that place here. Without this, each rule would cost a walk through all ranges before it.
//
//     slots    0: hash 8,  place -> 10.0.0.0 - 10.0.0.255      of 8 slots, the low 3 bits choose one
//              1: hash 16, place -> 10.1.0.0 - 10.1.0.255      slot 0 was taken: the next free one
//              2: -
//              3: hash 3,  place -> ::1 - ::1
//              ...
//
// Invariants: the number of slots is 0 or a power of two; at most half of them are taken, so every
//             search ends at a free slot. No place is removed.
// Ownership:  owns its slots, borrows the places. A place stays where it is while the finder lives.
// Threads:    one thread.
// Cost:       a find reads one slot or two on average, and a place only when its whole hash is that
//             of the range. Growing reads no place.
#pragma once

#include <cstdint>
#include <utility>

#include "core/memory.h"
#include "syntax/address128.h"

namespace rs {

// 64 bits that depend on all bits of both ends.
constexpr uint64_t hashRange(const Address128& low, const Address128& high) noexcept {
    constexpr uint64_t FACTOR = 0x9E3779B97F4A7C15;  // odd, without pattern: 2^64 / golden ratio
    uint64_t hash = 0;
    for (const Address128& address : {low, high}) {
        for (const uint32_t word : address.words) {
            hash = (hash ^ word) * FACTOR;
            hash ^= hash >> 32U;
        }
    }
    return hash;
}

// Place has the fields low and high.
template <typename Place>
class RangeFinder {
public:
    // The place added for exactly this range; null without one.
    [[nodiscard]] Place* find(const Address128& low, const Address128& high) const noexcept {
        if (slotCount_ == 0) {
            return nullptr;
        }
        const uint64_t hash = hashRange(low, high);
        uint64_t i = firstSlot(hash);
        while (slots_[i].place != nullptr) {
            Place* place = slots_[i].place;
            if (slots_[i].hash == hash && place->low == low && place->high == high) {
                return place;
            }
            i = nextSlot(i);
        }
        return nullptr;
    }

    // Makes room for one more place. False, with nothing changed, when memory is out.
    [[nodiscard]] bool reserveOne() noexcept {
        if (2 * (placeCount_ + 1) <= slotCount_) {
            return true;
        }
        const uint64_t newCount = slotCount_ == 0 ? FIRST_SLOT_COUNT : 2 * slotCount_;
        OwnedMemory<Slot[]> newSlots(allocateArray<Slot>(newCount));
        if (!newSlots) {
            return false;
        }
        const OwnedMemory<Slot[]> oldSlots = std::exchange(slots_, std::move(newSlots));
        const uint64_t oldCount = std::exchange(slotCount_, newCount);
        for (uint64_t i = 0; i < oldCount; ++i) {
            if (oldSlots[i].place != nullptr) {
                put(oldSlots[i]);
            }
        }
        return true;
    }

    // Adds a place whose range is not there yet, into the room that reserveOne has made.
    void add(Place* place) noexcept {
        put({hashRange(place->low, place->high), place});
        ++placeCount_;
    }

private:
    struct Slot {
        uint64_t hash;
        Place* place;  // borrowed; null in a free slot
    };

    static constexpr uint64_t FIRST_SLOT_COUNT = 64;

    [[nodiscard]] uint64_t firstSlot(uint64_t hash) const noexcept {
        return hash & (slotCount_ - 1);
    }
    [[nodiscard]] uint64_t nextSlot(uint64_t i) const noexcept {
        return (i + 1) & (slotCount_ - 1);
    }

    void put(const Slot& slot) noexcept {
        uint64_t i = firstSlot(slot.hash);
        while (slots_[i].place != nullptr) {
            i = nextSlot(i);
        }
        slots_[i] = slot;
    }

    OwnedMemory<Slot[]> slots_;
    uint64_t slotCount_ = 0;  // a power of two, or 0
    uint64_t placeCount_ = 0;
};

}  // namespace rs
