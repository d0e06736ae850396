// A hash table of small slots in one array, for what a build has to find again.
//
//     slots   | hash, ... | - | hash, ... | hash, ... |     a power of two of them, at most half of them taken
//
//     A slot lies where its hash says, or in the next free place after it.
//
// Slot has the fields hash and whatever its user needs, and an operation isTaken(); zero-filled is a
// free one.
//
// Ownership:  owns its slots; what they point to is its user's.
// Threads:    none.
// Cost:       a find looks at one slot or two on average, as long as hashes cannot be chosen: see
//             lookup/hash_seed.h. Growing moves every slot once more, and reads nothing else.
#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>

#include "core/memory.h"

namespace rs {

template <typename Slot>
class OpenTable {
public:
    // The slot with this hash that isSame(slot) takes; null without one.
    template <typename IsSame>
    [[nodiscard]] Slot* find(uint64_t hash, const IsSame& isSame) const noexcept {
        if (slotCount_ == 0) {
            return nullptr;
        }
        for (uint64_t i = hash & (slotCount_ - 1); slots_[i].isTaken(); i = next(i)) {
            if (slots_[i].hash == hash && isSame(slots_[i])) {
                return &slots_[i];
            }
        }
        return nullptr;
    }

    // Makes room for one more slot. False, with nothing changed, when memory is out.
    [[nodiscard]] bool reserveOne() noexcept {
        return 2 * (takenCount_ + 1) <= slotCount_ || grow();
    }

    // Adds a slot, into the room that reserveOne has made. Slots that find returned may move with
    // the next reserveOne.
    Slot& add(const Slot& slot) noexcept {
        ++takenCount_;
        return put(slot);
    }

private:
    static constexpr uint64_t FIRST_SLOT_COUNT = 64;

    [[nodiscard]] uint64_t next(uint64_t i) const noexcept { return (i + 1) & (slotCount_ - 1); }

    bool grow() noexcept {
        const uint64_t newCount = slotCount_ == 0 ? FIRST_SLOT_COUNT : 2 * slotCount_;
        OwnedMemory<Slot[]> newSlots(allocateArray<Slot>(newCount));
        if (!newSlots) {
            return false;
        }
        const OwnedMemory<Slot[]> oldSlots = std::exchange(slots_, std::move(newSlots));
        const uint64_t oldCount = std::exchange(slotCount_, newCount);
        for (uint64_t i = 0; i < oldCount; ++i) {
            if (oldSlots[i].isTaken()) {
                put(oldSlots[i]);
            }
        }
        return true;
    }

    Slot& put(const Slot& slot) noexcept {
        uint64_t i = slot.hash & (slotCount_ - 1);
        while (slots_[i].isTaken()) {
            i = next(i);
        }
        return slots_[i] = slot;
    }

    OwnedMemory<Slot[]> slots_;
    uint64_t slotCount_ = 0;  // a power of two, or 0
    uint64_t takenCount_ = 0;
};

}  // namespace rs
