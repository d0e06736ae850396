// Addresses of 128 bits, and the questions that are asked of addresses of both widths. These have
// one name for both, so that one template serves 32 and 128 bits.
//
//     2001:db8::1    ->  20010db8 00000000 00000000 00000001
//     10.0.0.1       ->  00000000 00000000 0000ffff 0a000001     IPv4-mapped (RFC 4291 section 2.5.5.2)
#pragma once

#include <array>
#include <compare>
#include <cstdint>

namespace rs {

using Words128 = std::array<uint32_t, 4>;

// Four words in host order, the most significant word first, so that the built-in comparison orders
// addresses as numbers.
struct Address128 {
    Words128 words;
    friend constexpr auto operator<=>(const Address128&, const Address128&) noexcept = default;
};

inline constexpr Address128 FIRST_ADDRESS{{0, 0, 0, 0}};
inline constexpr Address128 LAST_ADDRESS{{UINT32_MAX, UINT32_MAX, UINT32_MAX, UINT32_MAX}};

// Word 2 of an IPv4-mapped address; words 0 and 1 are 0.
inline constexpr uint32_t IPV4_MAPPED_WORD = 0x0000FFFF;

constexpr Address128 mappedAddress(uint32_t ipv4) noexcept {
    return {{0, 0, IPV4_MAPPED_WORD, ipv4}};
}

[[nodiscard]] constexpr bool isIpv4Mapped(const Address128& address) noexcept {
    return address.words[0] == 0 && address.words[1] == 0 && address.words[2] == IPV4_MAPPED_WORD;
}

// 1 when left is above right, -1 when below, 0 when equal.
[[nodiscard]] constexpr int32_t compareU32(uint32_t left, uint32_t right) noexcept {
    return left > right ? 1 : (left < right ? -1 : 0);
}

// The same for addresses of 128 bits: the first words that differ decide.
[[nodiscard]] constexpr int32_t compareIPv6(const Address128& left,
                                            const Address128& right) noexcept {
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

// The address before it; the first one wraps to the last.
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

}  // namespace rs
