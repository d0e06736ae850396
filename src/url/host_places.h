// The whole names of hosts -> numbers: a hash table that knows the names by one byte each.
//
//     tags     | 5a 17 c0 0 0 0 0 0 | 33 5a 91 ... |     8 in a word, which is compared at once
//     places   |  4  0 71           |  9 12 35 ... |     the number beside each tag
//
// Its user has the names, and says whether a number is that of the name that is asked for. A name that is not there is
// nearly always told by its tag, so that nothing but a word of the tags is read.
//
// Invariants: the slots of a word are filled from the first on. A name is in the word that its hash says, or in one
//             after it when all before are full. A free slot has the tag 0.
// Ownership:  owns its arrays.
// Threads:    one thread adds; then any number of threads may find.
// Cost:       a find reads two words, and one name in 30 that is not there has its number asked for. Memory: 7.6 bytes
//             a name.
// Worst case: hashes have a secret seed, so the lengths of searches cannot be chosen.
#pragma once

#include <bit>
#include <cstdint>

#include "core/slab.h"
#include "lookup/hash_seed.h"
#include "url/text_words.h"

namespace rs {

inline constexpr uint32_t HOST_GROUP = 8;

struct HostPlaces {
    HashSeed seed;
    uint64_t groupCount;  // 0 when there is no name
    uint64_t* tags;       // owned
    uint32_t* places;     // owned
};

// Makes room for as many names; zero-filled is empty. False when memory is out.
[[nodiscard]] bool reserveHostPlaces(HostPlaces& hosts, uint64_t count) noexcept;

// Adds a name that is not there yet, into the room that reserveHostPlaces has made.
void addHostPlace(HostPlaces& hosts, const char* name, uint32_t length, uint32_t place) noexcept;

void freeHostPlaces(HostPlaces& hosts) noexcept;

struct HostProbe {
    uint64_t group;
    uint64_t tag;  // 1 to 255
};

[[nodiscard]] inline HostProbe probeOf(const HostPlaces& hosts, const char* name,
                                       uint32_t length) noexcept {
    __extension__ using Product = unsigned __int128;
    const uint64_t hash = hashText(hosts.seed, name, length);
    const auto group =
        static_cast<uint64_t>((static_cast<Product>(hash) * hosts.groupCount) >> 64U);
    return {group, (hash & 0xFFU) == 0 ? 1 : hash & 0xFFU};
}

// The number of the name for which isName(number) is true; NO_RECORD without one.
template <typename IsName>
[[nodiscard]] uint32_t findHostPlace(const HostPlaces& hosts, const char* name, uint32_t length,
                                     const IsName& isName) noexcept {
    constexpr uint64_t ONES = 0x0101010101010101;
    constexpr uint64_t HIGH_BITS = 0x8080808080808080;
    if (hosts.groupCount == 0) {
        return NO_RECORD;
    }
    const HostProbe probe = probeOf(hosts, name, length);
    __builtin_prefetch(hosts.places + probe.group * HOST_GROUP);
    for (uint64_t group = probe.group;;) {
        const uint64_t tags = hosts.tags[group];
        const uint64_t others = tags ^ (probe.tag * ONES);
        // Where a byte of others is 0, and perhaps above it.
        for (uint64_t same = (others - ONES) & ~others & HIGH_BITS; same != 0; same &= same - 1) {
            const auto slot = static_cast<uint32_t>(std::countr_zero(same)) / 8;
            const uint32_t place = hosts.places[group * HOST_GROUP + slot];
            if (isName(place)) {
                return place;
            }
        }
        if (tags >> (8 * (HOST_GROUP - 1)) == 0) {
            return NO_RECORD;
        }
        group = group + 1 == hosts.groupCount ? 0 : group + 1;
    }
}

}  // namespace rs
