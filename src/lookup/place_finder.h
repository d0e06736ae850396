// A hash table of places, each of which has a key of its own, for the time in which a structure is
// built from them. A further rule for an equal key finds its place here. Without this, each rule
// would cost a walk through all places of a bucket, or of a list.
//
//     slots    hash 8,  place -> 10.0.0.0 - 10.0.0.255      an open table, see open_table.h
//              hash 16, place -> 10.1.0.0 - 10.1.0.255
//              -
//              hash 3,  place -> ::1 - ::1
//
// The key is what an operation key() of a place returns: an address of either width, or a range.
//
// Ownership:  owns its slots, borrows the places. A place stays where it is while the finder lives.
// Threads:    one thread.
// Cost:       a find reads one slot or two on average, and a place only when its whole hash is that
//             of the key. Hashes depend on a secret of the finder, so that no list can choose them.
#pragma once

#include <cstdint>

#include "lookup/hash_seed.h"
#include "lookup/open_table.h"
#include "syntax/address128.h"

namespace rs {

struct RangeKey {
    Address128 low;
    Address128 high;
    friend constexpr bool operator==(const RangeKey&, const RangeKey&) noexcept = default;
};

// 64 bits that depend on all bits of the key, and on the seed.
constexpr uint64_t hashKey(const HashSeed& seed, uint32_t address) noexcept {
    return mixHash(seed.left ^ address, seed.right);
}

constexpr uint64_t hashKey(const HashSeed& seed, const Address128& address) noexcept {
    const auto pair = [](uint32_t left, uint32_t right) noexcept {
        return (uint64_t{left} << 32U) | right;
    };
    return mixHash(seed.left ^ pair(address.words[0], address.words[1]),
                   seed.right ^ pair(address.words[2], address.words[3]));
}

constexpr uint64_t hashKey(const HashSeed& seed, const RangeKey& range) noexcept {
    return hashKey({hashKey(seed, range.low), seed.right}, range.high);
}

template <typename Place>
class PlaceFinder {
public:
    // The place added for exactly this key; null without one.
    template <typename Key>
    [[nodiscard]] Place* find(const Key& key) const noexcept {
        const Slot* slot = slots_.find(hashKey(seed_, key), [&](const Slot& taken) noexcept {
            return taken.place->key() == key;
        });
        return slot == nullptr ? nullptr : slot->place;
    }

    // Makes room for one more place. False, with nothing changed, when memory is out.
    [[nodiscard]] bool reserveOne() noexcept { return slots_.reserveOne(); }

    // Adds a place whose key is not there yet, into the room that reserveOne has made.
    void add(Place* place) noexcept { slots_.add({hashKey(seed_, place->key()), place}); }

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
