// The flat lookup of exact addresses, of 32 or of 128 bits: the number of an address's record. The hash of a name may be
// such an address, for a user who compares the names.
//
//     hash of address   | bucket, by its upper bits ......... | ... | tag |
//
//     buckets   | 9 7 3 0 0 0 0 0 0 0 0 0 | 0 |      12 tags, 0 for a free place, and the rank of the first
//               | 5 7 0 0 0 0 0 0 0 0 0 0 | 3 |
//     ranks     |  0 |  1 |  2 |  3 |  4 | ...
//     keys      |  a |  b |  c |  d |  e | ...       the addresses in the order of their buckets
//     numbers   | 17 |  4 |  0 | 12 |  9 | ...       the record of each
//
// A lookup compares the 12 tags of a bucket at once. The places of the tags that fit, from the bucket's first rank on,
// are the ranks of the addresses that may be it. A bucket is a quarter of a cache line and has six addresses on average,
// so the buckets of a million are in a near cache, and an address that is missing ends there.
//
// The user may lay its records out in the order of the ranks. Then the rank is the record's number, the address may be
// in the record itself, and a hit reads no more than a bucket and a record. Such a user drops keys or numbers.
//
// When several records have one address, the first that was added is found, and the bucket is marked.
//
// Invariants: tags are side by side from a bucket's first place on. An address that finds its bucket full is in the
//             next one with room, and all buckets on its way have HOST_OVERFLOW. No more than MAX_HOST_STEPS have it
//             one after the other.
// Ownership:  owns its arrays and no record.
// Threads:    read-only once built.
// Cost:       a hit reads a bucket, a key and a number, a miss a bucket; one miss in forty reads the key of another
//             address. An address takes 2.7 bytes beside its key and its number. A build counts the addresses of each
//             bucket and puts them into their order: it is linear.
// Worst case: hashes are seeded, so that nobody can choose addresses that meet. A build that would put an address too
//             far away begins again with another seed and more buckets. After a few attempts there is no flat lookup.
#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <tuple>

#include "core/lines.h"
#include "core/memory.h"
#include "core/slab.h"
#include "lookup/hash_seed.h"
#include "lookup/lanes.h"
#include "syntax/address128.h"

namespace rs {

struct alignas(TAG_LANES) HostBucket {
    std::array<uint8_t, 12> tags;
    uint32_t firstRank;  // and the two bits below
};

static_assert(sizeof(HostBucket) == TAG_LANES);

// Some addresses of the bucket, or of those before it, are in the next one.
inline constexpr uint32_t HOST_OVERFLOW = uint32_t{1} << 31U;
// Some address of the bucket has more than one record.
inline constexpr uint32_t HOST_HAS_MORE = uint32_t{1} << 30U;
inline constexpr uint32_t HOST_RANK = HOST_HAS_MORE - 1;

// The most buckets that overflow one after the other. Among random addresses three are rare.
inline constexpr uint32_t MAX_HOST_STEPS = 8;

template <typename Address>
struct FlatHosts {
    HostBucket* buckets;  // owned
    HashSeed seed;
    uint64_t bucketCount;  // without the last MAX_HOST_STEPS, to which no hash leads
    uint32_t count;        // addresses
    Address* keys;         // owned; null when the user has dropped them
    uint32_t* numbers;     // owned; null when the user has dropped them
};

// A hash of 64 bits with a secret seed of its own.
struct NameHash {
    uint64_t hash;
};

constexpr uint64_t hashHost(const HashSeed& /*seed*/, NameHash name) noexcept {
    return name.hash;
}

constexpr bool isSameHost(NameHash left, NameHash right) noexcept {
    return left.hash == right.hash;
}

constexpr uint64_t hashHost(const HashSeed& seed, uint32_t address) noexcept {
    return mixHash(address ^ seed.left, seed.right);
}

// An Address128 as it is in memory, in two words. A function that takes these has them in registers, where the four
// words of an address would be put together in memory first.
struct AddressHalves {
    uint64_t first;
    uint64_t second;
};

constexpr AddressHalves halvesOf(const Address128& address) noexcept {
    return std::bit_cast<AddressHalves>(address);
}

constexpr uint64_t hashHost(const HashSeed& seed, AddressHalves address) noexcept {
    return mixHash(address.first ^ seed.left, address.second ^ seed.right);
}

constexpr uint64_t hashHost(const HashSeed& seed, const Address128& address) noexcept {
    return hashHost(seed, halvesOf(address));
}

constexpr bool isSameHost(uint32_t left, uint32_t right) noexcept {
    return left == right;
}

// An address is compared with one that has its tag, so that both branches go the same way.
constexpr bool isSameHost(AddressHalves left, AddressHalves right) noexcept {
    return left.first == right.first && left.second == right.second;
}

constexpr bool isSameHost(const Address128& left, const Address128& right) noexcept {
    return isSameHost(halvesOf(left), halvesOf(right));
}

constexpr bool isSameHost(const Address128& left, AddressHalves right) noexcept {
    return isSameHost(halvesOf(left), right);
}

constexpr uint64_t hostBucketOf(uint64_t hash, uint64_t bucketCount) noexcept {
    __extension__ using Product = unsigned __int128;
    return static_cast<uint64_t>(static_cast<Product>(hash) * bucketCount >> 64U);
}

constexpr uint8_t hostTagOf(uint64_t hash) noexcept {
    const auto byte = static_cast<uint8_t>(hash);
    return static_cast<uint8_t>(byte + (byte < 1 ? 1 : 0));
}

// Where the lookup of an address begins. Finding it reads no memory but the head of the flat lookup, so a user with many
// addresses prepares some, asks for their buckets, and then looks into the first.
struct HostProbe {
    const HostBucket* bucket;
    uint8_t tag;
};

// The address may be in halves.
template <typename Address, typename Key>
[[nodiscard]] inline HostProbe prepareFlatHost(const FlatHosts<Address>& hosts,
                                               const Key& address) noexcept {
    const uint64_t hash = hashHost(hosts.seed, address);
    return {hosts.buckets + hostBucketOf(hash, hosts.bucketCount), hostTagOf(hash)};
}

inline void prefetchHostBucket(HostProbe probe) noexcept {
    __builtin_prefetch(probe.bucket);
}

// The places of a bucket that have a tag, as bits.
[[nodiscard]] inline uint32_t hostCandidates(const HostBucket& bucket, uint8_t tag) noexcept {
    constexpr size_t PLACES = std::tuple_size_v<decltype(HostBucket::tags)>;
    constexpr uint32_t TAGS_ONLY = (uint32_t{1} << PLACES) - 1;
    return matchTags(reinterpret_cast<const uint8_t*>(&bucket), tag) & TAGS_ONLY;
}

[[nodiscard]] inline size_t firstHostCandidate(uint32_t word, uint32_t candidates) noexcept {
    return size_t{word & HOST_RANK} + static_cast<size_t>(std::countr_zero(candidates));
}

struct HostPlace {
    uint32_t rank;  // NO_RECORD for an address that is not there
    bool hasMore;   // whether the address may have other records; false when it surely has not
};

// The place of an address: isKey(rank) says whether it is the address of a rank.
template <typename IsKey>
[[nodiscard]] HostPlace searchFlatHost(HostProbe probe, const IsKey& isKey) noexcept {
    for (const HostBucket* bucket = probe.bucket;; ++bucket) {
        const uint32_t word = bucket->firstRank;
        for (uint32_t left = hostCandidates(*bucket, probe.tag); left != 0; left &= left - 1) {
            const size_t rank = firstHostCandidate(word, left);
            if (isKey(rank)) {
                return {static_cast<uint32_t>(rank), (word & HOST_HAS_MORE) != 0};
            }
        }
        if ((word & HOST_OVERFLOW) == 0) {
            return {NO_RECORD, false};
        }
    }
}

// The quick way, which ends the lookups of all but two addresses in a hundred. Returns hit(rank) when the first address
// with the tag is the one, miss() when a bucket without the tag does not overflow, and otherwise search(), which calls
// searchFlatHost. A user returns the answer as its own, and has search() call what is not inline. Then all three are
// jumps, and the quick way saves no register.
template <typename IsKey, typename Hit, typename Miss, typename Search>
[[nodiscard]] inline auto tryFlatHost(HostProbe probe, const IsKey& isKey, const Hit& hit,
                                      const Miss& miss, const Search& search) noexcept {
    const uint32_t word = probe.bucket->firstRank;
    const uint32_t candidates = hostCandidates(*probe.bucket, probe.tag);
    if (candidates == 0) {
        if ((word & HOST_OVERFLOW) == 0) [[likely]] {
            return miss();
        }
        return search();
    }
    const size_t rank = firstHostCandidate(word, candidates);
    if (isKey(rank)) [[likely]] {
        return hit(rank);
    }
    return search();
}

// The place of an address in a lookup that has its keys.
template <typename Address>
[[nodiscard]] HostPlace findHostPlace(const FlatHosts<Address>& hosts,
                                      const Address& address) noexcept;

// The number of the first record of an address, NO_RECORD without one, in a lookup that has its keys and numbers.
template <typename Address>
[[nodiscard]] inline uint32_t findFlatHost(const FlatHosts<Address>& hosts,
                                           const Address& address) noexcept {
    return tryFlatHost(
        prepareFlatHost(hosts, address),
        [&](size_t rank) noexcept { return isSameHost(hosts.keys[rank], address); },
        [&](size_t rank) noexcept { return hosts.numbers[rank]; },
        []() noexcept { return NO_RECORD; },
        [&]() noexcept {
            const uint32_t rank = findHostPlace(hosts, address).rank;
            return rank == NO_RECORD ? NO_RECORD : hosts.numbers[rank];
        });
}

// Frees the keys, for a user whose records have them in the order of the ranks.
template <typename Address>
void dropHostKeys(FlatHosts<Address>& hosts) noexcept;

// Frees the numbers, for a user whose records are in the order of the ranks.
template <typename Address>
void dropHostNumbers(FlatHosts<Address>& hosts) noexcept;

// Frees a flat lookup; null is left alone.
template <typename Address>
void freeFlatHosts(FlatHosts<Address>* hosts) noexcept;

template <typename Address>
using OwnedFlatHosts = Owned<FlatHosts<Address>, freeFlatHosts<Address>>;

// The steps of one attempt: make room, count all addresses, add them in any order, finish.
template <typename Address>
class FlatHostsBuild {
public:
    // Makes room for count addresses. Each attempt after attempt 0 has more buckets. False when memory is out, and
    // for 2^30 addresses or more.
    [[nodiscard]] bool start(uint64_t count, uint32_t attempt, const HashSeed& seed) noexcept;

    void countOne(const Address& address) noexcept { ++bucketOf(address).firstRank; }

    void endCounting() noexcept;

    void add(const Address& address, uint32_t number) noexcept {
        const uint32_t position = bucketOf(address).firstRank++;
        hosts_->keys[position] = address;
        hosts_->numbers[position] = number;
    }

    // The flat lookup; null when an address would be too far from its bucket.
    [[nodiscard]] FlatHosts<Address>* finish() noexcept;

private:
    HostBucket& bucketOf(const Address& address) const noexcept {
        return hosts_->buckets[hostBucketOf(hashHost(hosts_->seed, address), hosts_->bucketCount)];
    }

    bool keepFirstOfEqual(uint32_t begin, uint32_t end) noexcept;
    uint32_t fillBucket(HostBucket& bucket, uint32_t firstRank) noexcept;

    OwnedFlatHosts<Address> hosts_;
};

inline constexpr uint32_t FLAT_HOST_ATTEMPTS = 4;

// The flat lookup of count addresses, some of which may be equal. visit(add) adds them: add(address, number) for each, in
// any order. It is called twice for each attempt and does the same each time. Null when memory is out and when
// no attempt succeeds. Without an address it finds none.
template <typename Address, typename Visit>
[[nodiscard]] FlatHosts<Address>* buildFlatHosts(uint64_t count, const Visit& visit) noexcept {
    for (uint32_t attempt = 0; attempt < FLAT_HOST_ATTEMPTS; ++attempt) {
        FlatHostsBuild<Address> build;
        if (!build.start(count, attempt, newHashSeed())) {
            return nullptr;
        }
        visit(
            [&](const Address& address, uint32_t /*number*/) noexcept { build.countOne(address); });
        build.endCounting();
        visit(
            [&](const Address& address, uint32_t number) noexcept { build.add(address, number); });
        FlatHosts<Address>* hosts = build.finish();
        if (hosts != nullptr) {
            return hosts;
        }
    }
    return nullptr;
}

}  // namespace rs
