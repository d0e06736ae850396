// Host names that need little: letters, digits, '-' and '.', at most 63 bytes. Nearly all names are. One pass checks a
// name, brings it into lower case and knows where its dots are; sixteen bytes at a time.
//
//     WEB.Example.COM.        lower      web.example.com          as the strict normalizer gives it
//                             wire       3 web 7 example 3 com 0
//
// What is not plain is left to the general way of host_name.h: escapes, bytes from 0x80 on, longer names, empty labels.
// A plain name has the same form there.
//
// Invariants: a plain name has no label over 63 bytes, as it has not more itself.
// Ownership:  the caller owns both buffers.
// Threads:    none of its own: bytes in, bytes out.
// Cost:       a few instructions for 16 bytes, and for each label of a wire form.
#pragma once

#include <algorithm>
#include <bit>
#include <cstdint>

#include "syntax/byte_block.h"

namespace rs {

inline constexpr uint32_t LONGEST_PLAIN_NAME = 63;

// The bytes that a lower form may overwrite. A wire form has two more, one before and one after the name.
constexpr uint32_t plainNameRoom(uint32_t length) noexcept {
    return std::max(length, BLOCK_BYTES);
}

// Whether names may have '_', which the strict normalizer refuses and the tolerant ones copy.
enum class Underscores : uint32_t { REFUSED, ALLOWED };

// A name in lower case. Bit i of dots is set for a dot at byte i; none is first or last, and no two are neighbours.
struct PlainName {
    uint32_t length;  // without a dot at the end; 0 for a name that is not plain
    uint64_t dots;
};

// Of the bytes of a block: bit i for byte i.
struct HostBits {
    uint32_t dots;
    uint32_t plain;
};

// Stores a block in lower case.
template <Underscores underscores, typename Block>
[[nodiscard]] inline HostBits lowerHostBlock(Block block, char* out) noexcept {
    const Block lower = block.lowered();
    const Block dots = lower.equalTo('.');
    Block plain = lower.between('a', 'z') | lower.between('0', '9') | lower.equalTo('-') | dots;
    if constexpr (underscores == Underscores::ALLOWED) {
        plain = plain | lower.equalTo('_');
    }
    lower.store(out);
    return {dots.bits(), plain.bits()};
}

// Writes the lower form of a name of at least one byte into out, which has plainNameRoom(length) bytes. out is
// unspecified after a name that is not plain.
template <Underscores underscores, typename Block = ByteBlock>
[[nodiscard]] inline PlainName lowerPlainName(const char* name, uint32_t length,
                                              char* out) noexcept {
    constexpr PlainName NOT_PLAIN{0, 0};
    if (length > LONGEST_PLAIN_NAME) {
        return NOT_PLAIN;
    }
    uint64_t dots = 0;
    uint32_t plain = 0;
    if (length < BLOCK_BYTES) {
        // The bytes after the text are zeros.
        const HostBits bits =
            lowerHostBlock<underscores>(Block::of(ShortText::of(name, length)), out);
        dots = bits.dots;
        plain = bits.plain | ~firstBits(length);
    } else {
        plain = UINT32_MAX;
        // The last block ends with the text, and overlaps the one before.
        for (uint32_t start = 0; start < length; start += BLOCK_BYTES) {
            const uint32_t at = std::min(start, length - BLOCK_BYTES);
            const HostBits bits = lowerHostBlock<underscores>(Block::load(name + at), out + at);
            dots |= uint64_t{bits.dots} << at;
            plain &= bits.plain | ~firstBits(BLOCK_BYTES);
        }
    }
    const bool hasEmptyLabel = (dots & (dots << 1U | 1U)) != 0;
    if (plain != UINT32_MAX || hasEmptyLabel) {
        return NOT_PLAIN;
    }
    const auto lastDot = static_cast<uint32_t>(dots >> (length - 1));
    return {length - lastDot, dots & ~(uint64_t{lastDot} << (length - 1))};
}

// Writes the wire form of a name of at least one byte into out, which has two bytes more than plainNameRoom(length).
// Returns its length without the final zero byte, or 0 with out unspecified for a name that is not plain.
template <typename Block = ByteBlock>
[[nodiscard]] inline uint32_t writePlainWireName(const char* name, uint32_t length,
                                                 char* out) noexcept {
    const PlainName plain = lowerPlainName<Underscores::ALLOWED, Block>(name, length, out + 1);
    if (plain.length == 0) {
        return 0;
    }
    char* label = out;
    for (uint64_t dots = plain.dots; dots != 0; dots &= dots - 1) {
        char* next = out + 1 + std::countr_zero(dots);
        *label = static_cast<char>(next - label - 1);
        label = next;
    }
    char* end = out + 1 + plain.length;
    *label = static_cast<char>(end - label - 1);
    *end = 0;
    return plain.length + 1;
}

}  // namespace rs
