// Rules and keys for the benchmarks: the same ones on every machine and in every run.
//
//   hosts        10.1.2.3                  scattered over the whole family, no two alike
//   ranges       10.0.16.0-10.0.16.201     disjoint, one in the lower half of each of count cells;
//                                          what misses lies in an upper half, so that it is searched
//                                          for as deeply as what hits
//   overlapping  10.16.0.0/13              prefixes of /12 to /24 anywhere in the IPv4 space; later
//                                          ones are cut along the edges of earlier ones
//
// Rules come in random order and carry the values 0 to 7 in turn, like the categories of a list.
#pragma once

#include <algorithm>
#include <arpa/inet.h>
#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace bench {

enum class Kind { IPV4_HOSTS, IPV6_HOSTS, IPV4_RANGES, IPV6_RANGES, IPV4_OVERLAPPING };

// An address in network byte order, as lookups take it.
struct Key {
    int32_t family;  // 4 or 6
    std::array<uint8_t, 16> bytes;
};

struct Workload {
    std::vector<std::string> rules;
    std::vector<Key> hits;    // KEY_COUNT keys, each covered by a rule
    std::vector<Key> misses;  // likewise, covered by none; empty for overlapping rules
};

inline constexpr uint32_t KEY_COUNT = 1U << 16U;
inline constexpr uint32_t VALUE_COUNT = 8;

// The first 64 bits of IPv6 addresses are drawn from 2000::/3, where global addresses lie.
inline constexpr uint64_t IPV6_FIRST = uint64_t{1} << 61U;

// splitmix64: small, fast, and the same with every compiler, which the standard distributions are
// not.
class Random {
public:
    explicit Random(uint64_t seed) noexcept : state_(seed) {}

    uint64_t next() noexcept {
        state_ += 0x9E3779B97F4A7C15;
        uint64_t word = state_;
        word = (word ^ (word >> 30U)) * 0xBF58476D1CE4E5B9;
        word = (word ^ (word >> 27U)) * 0x94D049BB133111EB;
        return word ^ (word >> 31U);
    }

    // A number below limit. The modulo favours small numbers by less than one in 2^16 for the
    // limits used here.
    uint64_t below(uint64_t limit) noexcept { return next() % limit; }

private:
    uint64_t state_;
};

// A permutation of the 32-bit numbers: the first n results are n different addresses, and the next
// ones are none of them. Each step can be undone, so no two numbers meet.
constexpr uint32_t scatter(uint32_t number) noexcept {
    number ^= number >> 16U;
    number *= 0x7FEB352DU;
    number ^= number >> 15U;
    number *= 0x846CA68BU;
    number ^= number >> 16U;
    return number;
}

inline Key ipv4Key(uint32_t address) noexcept {
    Key key{4, {}};
    for (uint32_t i = 0; i < 4; ++i) {
        key.bytes[i] = static_cast<uint8_t>(address >> (24 - 8 * i));
    }
    return key;
}

inline Key ipv6Key(uint64_t prefix, uint64_t host) noexcept {
    Key key{6, {}};
    for (uint32_t i = 0; i < 8; ++i) {
        key.bytes[i] = static_cast<uint8_t>(prefix >> (56 - 8 * i));
        key.bytes[8 + i] = static_cast<uint8_t>(host >> (56 - 8 * i));
    }
    return key;
}

inline std::string textOf(const Key& key) {
    std::array<char, INET6_ADDRSTRLEN> text{};
    inet_ntop(key.family == 4 ? AF_INET : AF_INET6, key.bytes.data(), text.data(), text.size());
    return text.data();
}

template <typename Item>
void shuffle(std::vector<Item>& items, Random& random) {
    for (size_t i = items.size(); i > 1; --i) {
        std::swap(items[i - 1], items[random.below(i)]);
    }
}

inline Workload generateHosts(bool ipv6, uint32_t count, Random& random) {
    const auto host = [ipv6](uint64_t number) {
        const uint32_t address = scatter(static_cast<uint32_t>(number));
        return ipv6 ? ipv6Key(IPV6_FIRST | (uint64_t{address} << 16U), address) : ipv4Key(address);
    };
    Workload workload;
    for (uint32_t i = 0; i < count; ++i) {
        workload.rules.push_back(textOf(host(i)));
    }
    for (uint32_t i = 0; i < KEY_COUNT; ++i) {
        workload.hits.push_back(host(random.below(count)));
        workload.misses.push_back(host(uint64_t{count} + i));
    }
    return workload;
}

// The bounds of disjoint ranges in their order, in units of addresses (IPv4) or of /64 blocks
// (IPv6).
struct Bounds {
    uint64_t low;
    uint64_t high;  // inclusive
};

inline uint64_t cellSize(bool ipv6, uint32_t count) noexcept {
    return (ipv6 ? uint64_t{1} << 61U : uint64_t{1} << 32U) / count;
}

inline std::vector<Bounds> generateBounds(bool ipv6, uint32_t count, Random& random) {
    const uint64_t cell = cellSize(ipv6, count);
    std::vector<Bounds> bounds;
    for (uint32_t i = 0; i < count; ++i) {
        const uint64_t low = (ipv6 ? IPV6_FIRST : 0) + i * cell;
        bounds.push_back({low, low + 1 + random.below(cell / 2 - 1)});
    }
    return bounds;
}

inline Workload generateRanges(bool ipv6, uint32_t count, Random& random) {
    const std::vector<Bounds> bounds = generateBounds(ipv6, count, random);
    const uint64_t cell = cellSize(ipv6, count);
    const auto key = [ipv6](uint64_t place, uint64_t host) {
        return ipv6 ? ipv6Key(place, host) : ipv4Key(static_cast<uint32_t>(place));
    };
    Workload workload;
    for (const Bounds& range : bounds) {
        workload.rules.push_back(textOf(key(range.low, 0)) + "-" +
                                 textOf(key(range.high, UINT64_MAX)));
    }
    shuffle(workload.rules, random);
    for (uint32_t i = 0; i < KEY_COUNT; ++i) {
        const Bounds& range = bounds[random.below(count)];
        const uint64_t inside = range.low + random.below(range.high - range.low + 1);
        const uint64_t outside = range.low + cell / 2 + 1 + random.below(cell / 2 - 1);
        workload.hits.push_back(key(inside, random.next()));
        workload.misses.push_back(key(outside, random.next()));
    }
    return workload;
}

inline Workload generateOverlapping(uint32_t count, Random& random) {
    Workload workload;
    std::vector<Bounds> blocks;
    for (uint32_t i = 0; i < count; ++i) {
        const auto length = static_cast<uint32_t>(12 + random.below(13));
        const uint64_t size = uint64_t{1} << (32 - length);
        const uint64_t low = random.below(uint64_t{1} << length) * size;
        blocks.push_back({low, low + size - 1});
        workload.rules.push_back(textOf(ipv4Key(static_cast<uint32_t>(low))) + "/" +
                                 std::to_string(length));
    }
    for (uint32_t i = 0; i < KEY_COUNT; ++i) {
        const Bounds& block = blocks[random.below(count)];
        const uint64_t address = block.low + random.below(block.high - block.low + 1);
        workload.hits.push_back(ipv4Key(static_cast<uint32_t>(address)));
    }
    return workload;
}

inline Workload generateWorkload(Kind kind, uint32_t count) {
    Random random(count);
    switch (kind) {
        case Kind::IPV4_HOSTS:
        case Kind::IPV6_HOSTS:
            return generateHosts(kind == Kind::IPV6_HOSTS, count, random);
        case Kind::IPV4_RANGES:
        case Kind::IPV6_RANGES:
            return generateRanges(kind == Kind::IPV6_RANGES, count, random);
        case Kind::IPV4_OVERLAPPING:
            return generateOverlapping(count, random);
    }
    return {};
}

}  // namespace bench
