// A hash table of ranges of 128-bit addresses, for the time in which a structure is built from
// them. The structure has one place for each different range. A further rule for an equal range
// finds that place here. Without this, each rule would cost a walk through all ranges before it.
//
//     slots    hash 8,  place -> 10.0.0.0 - 10.0.0.255      an open table, see open_table.h
//              hash 16, place -> 10.1.0.0 - 10.1.0.255
//              -
//              hash 3,  place -> ::1 - ::1
//
// Ownership:  owns its slots, borrows the places. A place stays where it is while the finder lives.
// Threads:    one thread.
// Cost:       a find reads one slot or two on average, and a place only when its whole hash is that
//             of the range. Hashes depend on a secret of the finder, so that no list can choose them.
#pragma once

#include <cstdint>

#include "lookup/hash_seed.h"
#include "lookup/open_table.h"
#include "syntax/address128.h"

namespace rs {

// 64 bits that depend on all bits of both ends, and on the seed.
constexpr uint64_t hashRange(const HashSeed& seed, const Address128& low,
                             const Address128& high) noexcept {
    const auto pair = [](uint32_t left, uint32_t right) noexcept {
        return (uint64_t{left} << 32U) | right;
    };
    uint64_t hash = seed.left;
    for (const Address128& address : {low, high}) {
        hash = mixHash(hash ^ pair(address.words[0], address.words[1]),
                       seed.right ^ pair(address.words[2], address.words[3]));
    }
    return hash;
}

// Place has the fields low and high.
template <typename Place>
class RangeFinder {
public:
    // The place added for exactly this range; null without one.
    [[nodiscard]] Place* find(const Address128& low, const Address128& high) const noexcept {
        const Slot* slot =
            slots_.find(hashRange(seed_, low, high), [&](const Slot& taken) noexcept {
                return taken.place->low == low && taken.place->high == high;
            });
        return slot == nullptr ? nullptr : slot->place;
    }

    // Makes room for one more place. False, with nothing changed, when memory is out.
    [[nodiscard]] bool reserveOne() noexcept { return slots_.reserveOne(); }

    // Adds a place whose range is not there yet, into the room that reserveOne has made.
    void add(Place* place) noexcept {
        slots_.add({hashRange(seed_, place->low, place->high), place});
    }

private:
    struct Slot {
        uint64_t hash;
        Place* place;  // borrowed; null in a free slot

        [[nodiscard]] bool isTaken() const noexcept { return place != nullptr; }
    };

    HashSeed seed_ = newHashSeed();
    OpenTable<Slot> slots_;
};

}  // namespace rs
