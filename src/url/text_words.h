// Short texts, read as words of 8 bytes: without a loop over single bytes, and without a byte beyond their end.
//
//     "example.com"    example. | mple.com        the last word ends with the text
//     "a.b"            a.b 0 0 0 0 0              a shorter text is one word
//
// Ownership:  borrows the bytes.
// Threads:    none of its own: values in, values out.
// Cost:       a step for each 8 bytes.
#pragma once

#include <cstdint>
#include <cstring>

#include "core/byte_order.h"
#include "lookup/hash_seed.h"

namespace rs {

inline constexpr uint32_t TEXT_WORD = sizeof(uint64_t);

[[nodiscard]] inline uint64_t orderedWord(const char* text) noexcept {
    return readBigEndian64(reinterpret_cast<const uint8_t*>(text));
}

// The first 8 bytes of a text as a number that orders as they do; 0 bytes follow a shorter text.
[[nodiscard]] inline uint64_t firstWord(const char* text, uint32_t length) noexcept {
    if (length >= TEXT_WORD) {
        return orderedWord(text);
    }
    const auto* bytes = reinterpret_cast<const uint8_t*>(text);
    if (length >= 4) {
        // The two halves overlap.
        return uint64_t{readBigEndian32(bytes)} << 32U |
               uint64_t{readBigEndian32(bytes + length - 4)} << (8 * (TEXT_WORD - length));
    }
    uint64_t word = 0;
    for (uint32_t i = 0; i < length; ++i) {
        word |= uint64_t{bytes[i]} << (8 * (TEXT_WORD - 1 - i));
    }
    return word;
}

// The same of the bytes from an offset on, of which there may be none.
[[nodiscard]] inline uint64_t wordFrom(const char* text, uint32_t length,
                                       uint32_t offset) noexcept {
    return length <= offset ? 0 : firstWord(text + offset, length - offset);
}

// Depends on all bytes of a text, on its length and on the seed.
[[nodiscard]] inline uint64_t hashText(const HashSeed& seed, const char* text,
                                       uint32_t length) noexcept {
    const auto wordAt = [text](uint32_t offset) noexcept {
        return readHostOrder64(reinterpret_cast<const uint8_t*>(text + offset));
    };
    // The length comes last: mixed with the bytes, it would be as some bytes are.
    const auto finish = [&seed, length](uint64_t hash) noexcept {
        return mixHash(hash ^ length, seed.left | 1U);
    };
    uint64_t left = seed.left;
    if (length < TEXT_WORD) {
        return finish(mixHash(left ^ firstWord(text, length), seed.right));
    }
    uint32_t offset = 0;
    for (; offset + 2 * TEXT_WORD < length; offset += 2 * TEXT_WORD) {
        left = mixHash(left ^ wordAt(offset), seed.right ^ wordAt(offset + TEXT_WORD));
    }
    // The last two words overlap what is hashed already, or one another.
    const uint32_t beforeLast = length < 2 * TEXT_WORD ? 0 : length - 2 * TEXT_WORD;
    return finish(mixHash(left ^ wordAt(beforeLast), seed.right ^ wordAt(length - TEXT_WORD)));
}

}  // namespace rs
