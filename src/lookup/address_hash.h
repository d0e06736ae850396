// The hashes by which addresses choose their bucket in a HashTable: one name for both widths.
#pragma once

#include <cstdint>

#include "syntax/address128.h"

namespace rs {

// The bucket hash of an IPv4 address in host order, in wrapping 32-bit arithmetic: each byte times
// a small factor, plus 736.
constexpr uint32_t hashIPv4(uint32_t address) noexcept {
    return (address & 0xFFU) * 13 + 736 + (address >> 24U) * 37 + ((address >> 16U) & 0xFFU) * 19 +
           ((address >> 8U) & 0xFFU) * 17;
}

// The wrapping sum of the four words, hashed like an IPv4 address.
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
