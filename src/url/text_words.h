// Short texts, read as words of 8 bytes: without a loop over single bytes, and without a byte beyond their end.
//
//     "example.com"    example. | mple.com        the last word ends with the text
//     "a.b"            a.b 0 0 0 0 0              a shorter text is one word
//
// Most names of hosts have 8 to 32 bytes. They are four words, which overlap in a shorter one, so that no loop depends on
// the length.
//
// Ownership:  borrows the bytes.
// Threads:    none of its own: values in, values out.
// Cost:       a step for each 8 bytes, or four.
#pragma once

#include <algorithm>
#include <cstdint>

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

// Where the words of a text of 8 to 32 bytes begin: the first at its first byte, and these.
//
//     8 bytes     0 0 0 0        20 bytes    0 8 4 12       32 bytes    0 8 16 24
struct WordPlaces {
    uint32_t second;
    uint32_t third;
    uint32_t last;
};

inline constexpr uint32_t FOUR_WORDS = 4 * TEXT_WORD;

[[nodiscard]] constexpr bool hasFourWords(uint32_t length) noexcept {
    return length - TEXT_WORD <= FOUR_WORDS - TEXT_WORD;
}

[[nodiscard]] constexpr WordPlaces wordPlaces(uint32_t length) noexcept {
    return {std::min(TEXT_WORD, length - TEXT_WORD),
            std::max(2 * TEXT_WORD, length) - 2 * TEXT_WORD, length - TEXT_WORD};
}

// The bytes of a word as they are in memory.
[[nodiscard]] inline uint64_t plainWord(const char* text) noexcept {
    return readHostOrder64(reinterpret_cast<const uint8_t*>(text));
}

// Whether two texts are equal whose length hasFourWords.
[[nodiscard]] inline bool isSameInFourWords(const char* left, const char* right,
                                            uint32_t length) noexcept {
    const auto differAt = [left, right](uint32_t place) noexcept {
        return plainWord(left + place) ^ plainWord(right + place);
    };
    const WordPlaces places = wordPlaces(length);
    return (differAt(0) | differAt(places.second) | differAt(places.third) |
            differAt(places.last)) == 0;
}

// Depends on all bytes of a text, on its length and on the seed.
[[nodiscard]] inline uint64_t hashText(const HashSeed& seed, const char* text,
                                       uint32_t length) noexcept {
    // The length comes last: mixed with the bytes, it would be as some bytes are.
    const auto finish = [&seed, length](uint64_t hash) noexcept {
        return mixHash(hash ^ length, seed.left | 1U);
    };
    uint64_t left = seed.left;
    const auto takeTwo = [&](uint32_t first, uint32_t second) noexcept {
        left = mixHash(left ^ plainWord(text + first), seed.right ^ plainWord(text + second));
    };
    if (hasFourWords(length)) [[likely]] {
        const WordPlaces places = wordPlaces(length);
        takeTwo(0, places.second);
        takeTwo(places.third, places.last);
        return finish(left);
    }
    if (length < TEXT_WORD) {
        return finish(mixHash(left ^ firstWord(text, length), seed.right));
    }
    for (uint32_t offset = 0; offset + 2 * TEXT_WORD < length; offset += 2 * TEXT_WORD) {
        takeTwo(offset, offset + TEXT_WORD);
    }
    // The last two words overlap what is hashed already.
    takeTwo(length - 2 * TEXT_WORD, length - TEXT_WORD);
    return finish(left);
}

}  // namespace rs
