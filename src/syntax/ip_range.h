// Address items of rule texts: one address, a range or a prefix, read into one form for both
// families.
//
//     item      address | address '-' address | address '/' length, with blanks around the whole
//
//     10.0.0.0/8        ->  0, 0, ffff, 0a000000  to  0, 0, ffff, 0affffff
//     2001:db8::/32     ->  20010db8, 0, 0, 0     to  20010db8, ffffffff, ffffffff, ffffffff
#pragma once

#include <cstdint>

#include "syntax/address128.h"
#include "syntax/text.h"

namespace rs {

inline constexpr uint32_t ADDRESS_FLAG_IPV6 = 1;     // written in IPv6 form
inline constexpr uint32_t ADDRESS_FLAG_SINGLE = 16;  // startAddress equals endAddress

// The longest IPv6 item, and the longest rule text of several types, blanks around it not counted.
inline constexpr uint32_t MAX_ITEM_LENGTH = 4095;

// An inclusive range of addresses. IPv4 addresses are in IPv4-mapped form.
struct AddressSpec {
    Address128 startAddress;
    Address128 endAddress;  // never below startAddress
    uint32_t addressFlags;
};

// Reads an IPv4 item; the length of a prefix is 1 to 32, and address bits below it are cleared.
// Sets ADDRESS_FLAG_SINGLE where it applies and leaves the other flags alone: the caller clears
// them first. RULE_ERR_INVALID_ARG for a null text or out, RULE_ERR_BAD_RULE for a bad text, both with
// *out left alone.
//
// Deliberate: the length of a prefix is not checked for digits ("10.0.0.0/1:" has length 20).
[[nodiscard]] int32_t parseIPv4Range(Text text, AddressSpec* out) noexcept;

// Reads an IPv6 item; the length of a prefix is 1 to 128 in one to three digits, leading zeros
// allowed. Writes addressFlags whole. Statuses as for parseIPv4Range.
[[nodiscard]] int32_t parseIPv6Range(Text text, AddressSpec* out) noexcept;

}  // namespace rs
