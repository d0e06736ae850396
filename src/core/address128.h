// Arithmetic and hashes of addresses, the same words for both widths.
#pragma once

#include <cstdint>

#include "syntax/ip_address.h"

namespace rs {

// 1 when left is above right, -1 when below, 0 when equal.
constexpr int32_t compareU32(uint32_t left, uint32_t right) noexcept {
    return left > right ? 1 : (left < right ? -1 : 0);
}

// The same for addresses of 128 bits: the first words that differ decide.
constexpr int32_t compareIPv6(const Address128& left, const Address128& right) noexcept {
    for (uint32_t i = 0; i < left.words.size(); ++i) {
        const int32_t order = compareU32(left.words[i], right.words[i]);
        if (order != 0) {
            return order;
        }
    }
    return 0;
}

// The next address; the last one wraps to the first.
constexpr uint32_t nextAddress(uint32_t address) noexcept {
    return address + 1;
}

constexpr Address128 nextAddress(Address128 address) noexcept {
    for (uint32_t i = 4; i > 0; --i) {
        if (++address.words[i - 1] != 0) {
            break;  // no carry into the word before
        }
    }
    return address;
}

// The address before; the first one wraps to the last.
constexpr uint32_t previousAddress(uint32_t address) noexcept {
    return address - 1;
}

constexpr Address128 previousAddress(Address128 address) noexcept {
    for (uint32_t i = 4; i > 0; --i) {
        if (address.words[i - 1]-- != 0) {
            break;  // no borrow from the word before
        }
    }
    return address;
}

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

}  // namespace rs
