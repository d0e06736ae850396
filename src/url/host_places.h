// The whole names of hosts -> ranks, by which their user lays out what it has of each host.
//
//     names     a.com  b.com  c.com  d.com        number 0, 1, 2, 3 of the user
//     buckets   | 5a 17 0 ... | 0 | 33 5a 0 ... | 2 |
//     numbers       2  0                1  3      in the order of the ranks, until they are dropped
//
// That is lookup/flat_hosts.h, with the hashes of names for addresses. The user has the names in the order of the ranks,
// so that a hit reads no more than a bucket and what the user has there. A name that is not there is nearly always told
// by its tag, so that nothing but a bucket is read.
//
// Invariants: no two names have the same hash: a seed for which two have it is not used.
// Ownership:  owns the buckets, and the numbers until they are dropped.
// Threads:    one thread builds; then any number of threads may find.
// Cost:       a find hashes the name and reads a bucket, and one name in 40 that is not there is compared. Memory: 2.7
//             bytes a name; while building, 28 more.
// Worst case: that of lookup/flat_hosts.h.
#pragma once

#include <cstdint>

#include "core/memory.h"
#include "core/slab.h"
#include "lookup/flat_hosts.h"
#include "lookup/hash_seed.h"
#include "url/text_words.h"

namespace rs {

// Zero-filled has no name, and is not asked.
struct HostPlaces {
    HashSeed seed;
    FlatHosts<NameHash>* hosts;  // owned; null when there is no name
};

// Ranks count different names, one at least. visit(add) adds them: add(name, length, number) for each. False when
// memory is out.
template <typename Visit>
[[nodiscard]] bool buildHostPlaces(HostPlaces& places, uint32_t count,
                                   const Visit& visit) noexcept {
    struct Host {
        NameHash hash;
        uint32_t number;
    };
    constexpr uint32_t ATTEMPTS =
        2;  // two names of ten million have one hash in one of 300,000 builds
    const OwnedMemory<Host[]> hosts(allocateArray<Host>(count));
    for (uint32_t attempt = 0; hosts && attempt < ATTEMPTS; ++attempt) {
        places.seed = newHashSeed();
        Host* end = hosts.get();
        visit([&](const char* name, uint32_t length, uint32_t number) noexcept {
            *end++ = {{hashText(places.seed, name, length)}, number};
        });
        OwnedFlatHosts<NameHash> ranked(
            buildFlatHosts<NameHash>(count, [&](const auto& add) noexcept {
                for (const Host* host = hosts.get(); host != end; ++host) {
                    add(host->hash, host->number);
                }
            }));
        if (!ranked) {
            return false;
        }
        if (ranked->count == count) {
            dropHostKeys(*ranked);
            places.hosts = ranked.release();
            return true;
        }
    }
    return false;
}

// The number of the name of a rank, until numbers are dropped.
[[nodiscard]] inline uint32_t numberOfRank(const HostPlaces& places, uint32_t rank) noexcept {
    return places.hosts->numbers[rank];
}

[[nodiscard]] inline uint32_t countHosts(const HostPlaces& places) noexcept {
    return places.hosts == nullptr ? 0 : places.hosts->count;
}

inline void dropNumbers(HostPlaces& places) noexcept {
    if (places.hosts != nullptr) {
        dropHostNumbers(*places.hosts);
    }
}

inline void freeHostPlaces(HostPlaces& places) noexcept {
    freeFlatHosts(places.hosts);
    places = {};
}

// Where the lookup of a name begins. There is a name.
[[nodiscard]] inline HostProbe probeOf(const HostPlaces& places, const char* name,
                                       uint32_t length) noexcept {
    return prepareFlatHost(*places.hosts, NameHash{hashText(places.seed, name, length)});
}

// The rank of the name for which isName(rank) is true; NO_RECORD without one.
template <typename IsName>
[[nodiscard]] uint32_t findHostRank(const HostPlaces& places, const char* name, uint32_t length,
                                    const IsName& isName) noexcept {
    return places.hosts == nullptr ? NO_RECORD
                                   : searchFlatHost(probeOf(places, name, length), isName).rank;
}

}  // namespace rs
