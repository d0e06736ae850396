// Texts of single IP addresses -> their values.
#pragma once

#include <array>
#include <cstdint>

#include "syntax/text.h"

namespace rs {

// Reads a dotted quad, four decimal fields from 0 to 255 without leading zeros, into a number in
// host order. RULE_ERR_BAD_RULE for anything else, with *out left alone.
[[nodiscard]] int32_t parseIPv4Address(Text text, uint32_t* out) noexcept;

inline constexpr uint32_t IPV6_GROUP_COUNT = 8;
using Ipv6Groups = std::array<uint16_t, IPV6_GROUP_COUNT>;

// Reads an IPv6 address in the forms of RFC 4291 section 2.2 into its eight groups, the first
// group first:
//
//     address   8 groups joined by ':', or fewer with one "::" in place of the zeros left out,
//               where the last two groups may be written as a dotted quad
//     group     1 to 4 hexadecimal digits
//
//     2001:db8::1:10.0.0.1  ->  2001 0db8 0000 0000 0000 0001 0a00 0001
//
// RULE_ERR_FAILED for anything else, brackets and zones included, with *out left alone.
[[nodiscard]] int32_t parseIPv6Address(Text text, Ipv6Groups* out) noexcept;

}  // namespace rs
