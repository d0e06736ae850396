// The hashes by which addresses choose their bucket in a HashTable. hashAddress is one name for
// addresses of both widths, for templates over the width.
//
//     10.1.2.3     10 * 37 + 1 * 19 + 2 * 17 + 3 * 13 + 736  =  1198
//
// An address and its IPv4-mapped form usually have different hashes. That does no harm: they are
// never in one table.
#pragma once

#include <cstdint>

#include "syntax/address128.h"

namespace rs {

// The hash of an IPv4 address in host order.
constexpr uint32_t hashIPv4(uint32_t address) noexcept {
    return (address & 0xFFU) * 13 + 736 + (address >> 24U) * 37 + ((address >> 16U) & 0xFFU) * 19 +
           ((address >> 8U) & 0xFFU) * 17;
}

// The sum of the four words, which wraps around, hashed like an IPv4 address.
constexpr uint32_t hashIPv6(const Address128& address) noexcept {
    return hashIPv4(address.words[0] + address.words[1] + address.words[2] + address.words[3]);
}

constexpr uint32_t hashAddress(uint32_t address) noexcept {
    return hashIPv4(address);
}

constexpr uint32_t hashAddress(const Address128& address) noexcept {
    return hashIPv6(address);
}

}  // namespace rs
