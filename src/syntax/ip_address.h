// Single IP addresses: the values, and their texts.
#pragma once

#include <array>
#include <compare>
#include <cstdint>

namespace rs {

// An address of 128 bits as four words in host order, the most significant word first, so that the
// built-in comparison orders addresses as numbers.
struct Address128 {
    std::array<uint32_t, 4> words;

    friend constexpr auto operator<=>(const Address128&, const Address128&) noexcept = default;
};

// Word 2 of an IPv4-mapped address ::ffff:a.b.c.d (RFC 4291 section 2.5.5.2); words 0 and 1 are 0.
inline constexpr uint32_t IPV4_MAPPED_WORD = 0x0000FFFF;

constexpr Address128 mappedAddress(uint32_t ipv4) noexcept {
    return {{0, 0, IPV4_MAPPED_WORD, ipv4}};
}

constexpr bool isIpv4Mapped(const Address128& address) noexcept {
    return address.words[0] == 0 && address.words[1] == 0 && address.words[2] == IPV4_MAPPED_WORD;
}

// Reads a dotted quad, four decimal fields from 0 to 255 without leading zeros, into a number in
// host order. RULE_ERR_BAD_RULE for anything else; text must not be null.
int32_t parseIPv4Address(const char* text, uint32_t length, uint32_t* out) noexcept;

inline constexpr uint32_t IPV6_GROUP_COUNT = 8;
using Ipv6Groups = std::array<uint16_t, IPV6_GROUP_COUNT>;

// Reads an IPv6 address in the forms of RFC 4291 section 2.2 into its eight groups, the first
// group first:
//
//     address   8 groups joined by ':', or fewer with one "::" that stands for the zeros left out,
//               where the last two groups may be written as a dotted quad
//     group     1 to 4 hexadecimal digits
//
//     2001:db8::1:10.0.0.1  ->  2001 0db8 0000 0000 0000 0001 0a00 0001
//
// RULE_ERR_FAILED for anything else, brackets and zones included, with *out left alone; text must
// not be null.
int32_t parseIPv6Address(const char* text, uint32_t length, Ipv6Groups* out) noexcept;

}  // namespace rs
