// Prefixes, as address trees take them, and lists of nested ones.
//
//   ipv4_routes   10.16.0.0/22     lengths as in a routing table: most are /24, few are shorter than /16
//   ipv6_routes   2a03:1:20::/48   likewise, under a smaller number of /32
//
// The longest prefixes are the first rules: so the first rule that covers an address is the longest prefix, and a library
// that takes the first rule answers as those that take the longest prefix.
#pragma once

#include <bit>
#include <cstdint>
#include <string>
#include <vector>

#include "lists.h"

namespace bench {

RuleList makeIpv4Routes(uint32_t count, const std::string& directory);
RuleList makeIpv6Routes(uint32_t count, const std::string& directory);

inline constexpr uint32_t addressBits(Ipv4 /*family*/) {
    return 32;
}
inline constexpr uint32_t addressBits(const Ipv6& /*family*/) {
    return 128;
}

// The length of the prefix that an interval is.
inline uint32_t prefixLength(const Interval<Ipv4>& prefix) {
    return static_cast<uint32_t>(std::countl_zero(prefix.first ^ prefix.last));
}
inline uint32_t prefixLength(const Interval<Ipv6>& prefix) {
    const uint64_t high = prefix.first.high ^ prefix.last.high;
    const uint64_t low = prefix.first.low ^ prefix.last.low;
    return static_cast<uint32_t>(high != 0 ? std::countl_zero(high) : 64 + std::countl_zero(low));
}

// Bit i of an address, the most significant first.
inline bool bitOf(Ipv4 address, uint32_t i) {
    return (address >> (31 - i) & 1U) != 0;
}
inline bool bitOf(const Ipv6& address, uint32_t i) {
    return ((i < 64 ? address.high >> (63 - i) : address.low >> (127 - i)) & 1U) != 0;
}

// The first bits of an address, 1 to all of them.
inline Ipv4 firstBits(Ipv4 address, uint32_t count) {
    return address >> (32 - count) << (32 - count);
}
inline Ipv6 firstBits(const Ipv6& address, uint32_t count) {
    return {address.high & (count >= 64 ? UINT64_MAX : ~(UINT64_MAX >> count)),
            count <= 64 ? 0 : address.low >> (128 - count) << (128 - count)};
}

}  // namespace bench
