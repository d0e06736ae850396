// Addresses as numbers, the intervals that rules cover, and their texts.
#pragma once

#include <arpa/inet.h>
#include <array>
#include <compare>
#include <cstdint>
#include <cstring>
#include <endian.h>
#include <string>
#include <utility>
#include <vector>

namespace bench {

using Ipv4 = uint32_t;  // host byte order: 10.0.0.1 is 0x0A000001

struct Ipv6 {
    uint64_t high;
    uint64_t low;

    auto operator<=>(const Ipv6&) const = default;

    // What absl's containers call.
    template <typename Hash>
    friend Hash AbslHashValue(Hash hash, const Ipv6& address) {
        return Hash::combine(std::move(hash), address.high, address.low);
    }
};

// An address in network byte order, as lookups take it.
using Ipv6Bytes = std::array<uint8_t, 16>;

// What a rule covers, both ends included.
template <typename Address>
struct Interval {
    Address first;
    Address last;
};

template <typename Address>
using Intervals = std::vector<Interval<Address>>;

inline Ipv4 lastAddress(Ipv4 /*family*/) {
    return UINT32_MAX;
}
inline Ipv6 lastAddress(Ipv6 /*family*/) {
    return {UINT64_MAX, UINT64_MAX};
}

// Only of addresses that are not the last.
inline Ipv4 after(Ipv4 address) {
    return address + 1;
}
inline Ipv6 after(Ipv6 address) {
    return {address.high + (address.low == UINT64_MAX ? 1 : 0), address.low + 1};
}

inline Ipv6Bytes bytesOf(Ipv6 address) {
    Ipv6Bytes bytes{};
    for (uint32_t i = 0; i < 8; ++i) {
        bytes[i] = static_cast<uint8_t>(address.high >> (56 - 8 * i));
        bytes[8 + i] = static_cast<uint8_t>(address.low >> (56 - 8 * i));
    }
    return bytes;
}

inline Ipv6 addressOf(const Ipv6Bytes& bytes) {
    std::array<uint64_t, 2> words{};
    std::memcpy(words.data(), bytes.data(), sizeof(words));
    return {be64toh(words[0]), be64toh(words[1])};
}

inline std::string textOf(Ipv4 address) {
    const uint32_t bytes = htonl(address);
    std::array<char, INET_ADDRSTRLEN> text{};
    inet_ntop(AF_INET, &bytes, text.data(), text.size());
    return text.data();
}

inline std::string textOf(Ipv6 address) {
    const Ipv6Bytes bytes = bytesOf(address);
    std::array<char, INET6_ADDRSTRLEN> text{};
    inet_ntop(AF_INET6, bytes.data(), text.data(), text.size());
    return text.data();
}

}  // namespace bench
