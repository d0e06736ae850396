// The record of the interval that holds an address, for disjoint intervals of 32-bit addresses.
//
//     10.0.0.0 - 10.0.0.255  -> record 7        starts    0.0.0.0 -> none, 10.0.0.0 -> 7, 10.0.1.0 -> none, ...
//
// Only the starts of pieces with one answer are kept. They are in a tree of two kinds of places, in one array of words:
//
//     root     | word | word | word | ...   an index: one word for each value of the leading bits
//                        |
//                        +--> index   | word | word | ...        of the next 4 to 19 bits, where starts are crowded
//                        |
//                        +--> node    | header | key 1 | ... | key n | word 0 | word 1 | ... | word n |
//
//     word     the record of all addresses here; or none; or the place that tells more
//     key i    16 bits of the first address of word i; word 0 begins where its node does
//
// A node's header says how many keys it has, at most 31, and how many bits of an address come after theirs. All keys are
// compared at once, and the number of those at or below the address names the word. The keys fill one line of 64 bytes,
// the words of a full node two more, which are asked for at the same time. Up to 9 keys and their words are in one line
// together. A place with more starts is an index of its next bits, or, when these lead to a few crowded places only, a
// node that tells these apart.
//
// Invariants: a node that fits in a line is in one line. A place that has an index has starts in at least 8 of its words.
// Ownership:  freeFlatRanges frees what buildFlatRanges returned. Records are borrowed as numbers.
// Threads:    lookups only read.
// Cost:       a lookup reads the root, which is in a near cache, and as a rule one node. Every step takes at least four
//             bits of the address, or all that tell its starts apart; crowded places take more. No list takes more than
//             MOST_BYTES_OF_START a start and 4096 in all; bench/README.md has what lists take. A build is linear times
//             the number of steps.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "core/slab.h"
#include "lookup/key_lanes.h"
#include "lookup/range_starts.h"

namespace rs {

// The bits of a word. An answer is NO_RECORD, or a record with its highest bit set.
//
//     31   30       29 - 26     25 - 0
//     1    the record
//     0    1        bits - 4    the line of an index
//     0    0        29 - 28     27 - 0
//                   lines - 1   the quarter line at which a node begins
inline constexpr uint32_t FLAT_ANSWER = uint32_t{1} << 31U;
inline constexpr uint32_t FLAT_INDEX = uint32_t{1} << 30U;
inline constexpr uint32_t FLAT_INDEX_SHIFT = 26;
inline constexpr uint32_t FLAT_NODE_SHIFT = 28;
inline constexpr uint32_t LEAST_INDEX_BITS = 4;
inline constexpr uint32_t MOST_INDEX_BITS = 19;
inline constexpr uint32_t LINE_WORDS = 16;
inline constexpr uint32_t QUARTER_WORDS = 4;

template <>
struct FlatRanges<uint32_t> {
    // No start takes more, whatever the list. One alone in its place has a node of 32 bytes for the bits of each key that
    // do not tell its whole address, and one of 16 bytes for the last ones. Indexes add 2 to 8 bytes.
    static constexpr uint64_t MOST_BYTES_OF_START = 64;

    const uint32_t* words;  // owned, of allocateLines; the root is first
    uint64_t byteCount;
    uint32_t rootBits;
};

using FlatRanges32 = FlatRanges<uint32_t>;

// The bits of a node's header, which is its lane 0: 4 - 0 how many keys it has, above them how many bits of an address
// come after those of the keys.
inline constexpr uint32_t NODE_COUNT_BITS = 5;
inline constexpr uint32_t NODE_COUNT_MASK = (uint32_t{1} << NODE_COUNT_BITS) - 1;

// Where the words of a node with so many keys begin.
constexpr uint32_t nodeWordsAt(uint32_t keyCount) noexcept {
    return (keyCount + 2) / 2;
}

// The lane of the bits of an address that a node compares.
constexpr int16_t laneOf(uint32_t bits) noexcept {
    return static_cast<int16_t>(static_cast<uint16_t>(bits ^ 0x8000U));
}

// Asks for the line after word's node, and where it has three lines for the last one, too.
inline void prefetchNode(const FlatRanges32& ranges, uint32_t word) noexcept {
    const uint32_t* node =
        ranges.words + uint64_t{QUARTER_WORDS} * (word & ((uint32_t{1} << FLAT_NODE_SHIFT) - 1));
    const uint32_t moreLines = word >> FLAT_NODE_SHIFT & 3U;
    __builtin_prefetch(node + size_t{LINE_WORDS} * moreLines);
    __builtin_prefetch(node + size_t{LINE_WORDS} * (moreLines - (moreLines >> 1U)));
}

// The word that word's place has for an address; left is how many bits of it come after those that led to the place.
[[nodiscard]] inline uint32_t followFlatWord(const FlatRanges32& ranges, uint32_t word,
                                             uint32_t address, uint32_t& left) noexcept {
    if ((word & FLAT_INDEX) != 0) {
        const uint32_t bits = (word >> FLAT_INDEX_SHIFT & 15U) + LEAST_INDEX_BITS;
        const uint64_t line = word & ((uint32_t{1} << FLAT_INDEX_SHIFT) - 1);
        left -= bits;
        return ranges.words[line * LINE_WORDS + (address >> left & ((uint32_t{1} << bits) - 1))];
    }
    prefetchNode(ranges, word);
    const uint32_t* node =
        ranges.words + uint64_t{QUARTER_WORDS} * (word & ((uint32_t{1} << FLAT_NODE_SHIFT) - 1));
    uint16_t header = 0;
    std::memcpy(&header, node, sizeof(header));
    const uint32_t count = header & NODE_COUNT_MASK;
    left = header >> NODE_COUNT_BITS;
    const uint32_t above = maskAbove(node, laneOf(address >> left)) >> 1U;
    const auto place = static_cast<uint32_t>(__builtin_ctz(above | uint32_t{1} << count));
    return node[nodeWordsAt(count) + place];
}

// The record of the interval that holds an address; NO_RECORD without one.
[[nodiscard]] inline uint32_t findFlatRange(const FlatRanges32& ranges, uint32_t address) noexcept {
    uint32_t left = 32 - ranges.rootBits;
    uint32_t word = ranges.words[address >> left];
    while ((word & FLAT_ANSWER) == 0) {
        word = followFlatWord(ranges, word, address, left);
    }
    return word == NO_RECORD ? NO_RECORD : word & ~FLAT_ANSWER;
}

// What a lookup reads first, and what the root names after that: a user with many addresses asks for both before it looks
// up the first one.
inline void prefetchFlatRoot(const FlatRanges32& ranges, uint32_t address) noexcept {
    __builtin_prefetch(ranges.words + (address >> (32 - ranges.rootBits)));
}

inline void prefetchAfterFlatRoot(const FlatRanges32& ranges, uint32_t address) noexcept {
    const uint32_t left = 32 - ranges.rootBits;
    const uint32_t word = ranges.words[address >> left];
    if ((word & FLAT_ANSWER) != 0) {
        return;
    }
    if ((word & FLAT_INDEX) != 0) {
        const uint32_t bits = (word >> FLAT_INDEX_SHIFT & 15U) + LEAST_INDEX_BITS;
        const uint64_t line = word & ((uint32_t{1} << FLAT_INDEX_SHIFT) - 1);
        __builtin_prefetch(ranges.words + line * LINE_WORDS +
                           (address >> (left - bits) & ((uint32_t{1} << bits) - 1)));
        return;
    }
    __builtin_prefetch(ranges.words +
                       uint64_t{QUARTER_WORDS} * (word & ((uint32_t{1} << FLAT_NODE_SHIFT) - 1)));
    prefetchNode(ranges, word);
}

// Builds the flat lookup of starts that are finished; null when memory is out, and when there are more starts or records
// than words can name.
[[nodiscard]] FlatRanges32* buildFlatRanges(const FlatRangeStarts<uint32_t>& starts) noexcept;

// Null is left alone.
void freeFlatRanges(FlatRanges32* ranges) noexcept;

}  // namespace rs
