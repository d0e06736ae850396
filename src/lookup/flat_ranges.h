// The record of the interval that holds an address, for disjoint intervals of 32-bit or of 128-bit addresses.
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
//     key i    16 bits (32 bits for 128-bit addresses) of the first address of word i; word 0 begins where its node does
//
// A node's header says how many keys it has, at most 31 (15), and how many bits of an address come after theirs. All
// keys are compared at once, and the number of those at or below the address names the word. The keys fill one line of
// 64 bytes, the words of a full node two more (one more), which are asked for at the same time. Up to 9 (7) keys and
// their words are in one line together. A place with more starts is an index of its next bits, or, when these lead to a
// few crowded places only, a node that tells these apart.
//
// Invariants: a node that fits in a line is in one line. A place that has an index has starts in at least 8 of its words.
// Ownership:  freeFlatRanges frees what buildFlatRanges returned. Records are borrowed as numbers.
// Threads:    lookups only read.
// Cost:       a lookup reads the root, which is in a near cache, and as a rule one node for an IPv4 address; among IPv6
//             prefixes it takes a few steps more, of which the first are in a near cache, too. Every step takes at least
//             four bits of the address, or all that tell its starts apart; crowded places take more. No list takes more
//             than MAX_FLAT_RANGE_BYTES a start and 4096 in all; bench/README.md has what lists take. A build is linear
//             times the number of steps.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

#include "core/slab.h"
#include "lookup/key_lanes.h"
#include "lookup/range_starts.h"
#include "syntax/address128.h"

namespace rs {

// What the two widths do not share.
template <typename Address>
struct FlatRangeTraits;

template <>
struct FlatRangeTraits<uint32_t> {
    using Number = uint32_t;
    using Lane = int16_t;
    static constexpr uint32_t BITS = 32;
    static constexpr uint64_t MAX_BYTES = 64;
    static constexpr Number numberOf(uint32_t address) noexcept { return address; }
};

template <>
struct FlatRangeTraits<Address128> {
    __extension__ using Number = unsigned __int128;
    using Lane = int32_t;
    static constexpr uint32_t BITS = 128;
    static constexpr uint64_t MAX_BYTES = 144;
    static constexpr Number numberOf(const Address128& address) noexcept {
        const uint64_t high = (uint64_t{address.words[0]} << 32U) | address.words[1];
        const uint64_t low = (uint64_t{address.words[2]} << 32U) | address.words[3];
        return (static_cast<Number>(high) << 64U) | low;
    }
};

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

template <typename Address>
struct FlatRanges {
    const uint32_t* words;  // owned, of allocateLines; the root is first
    uint64_t lineCount;
    uint32_t rootBits;
};

using FlatRanges32 = FlatRanges<uint32_t>;
using FlatRanges128 = FlatRanges<Address128>;

// No start takes more, whatever the list. A start alone in its place has a node of 32 bytes for the bits of each key that
// do not tell its whole address, and one of 16 bytes for the last ones: 48 bytes for 32 bits, 112 for 128 bits. Indexes
// add 2 to 8 bytes.
template <typename Address>
inline constexpr uint64_t MAX_FLAT_RANGE_BYTES = FlatRangeTraits<Address>::MAX_BYTES;

// The bits of a node's header, which is its lane 0: 4 - 0 how many keys it has, above them how many bits of an address
// come after those of the keys.
inline constexpr uint32_t NODE_COUNT_BITS = 5;
inline constexpr uint32_t NODE_COUNT_MASK = (uint32_t{1} << NODE_COUNT_BITS) - 1;

// Where the words of a node with so many keys begin.
template <typename Lane>
constexpr uint32_t nodeWordsAt(uint32_t keyCount) noexcept {
    return static_cast<uint32_t>((sizeof(Lane) * (keyCount + 1) + 3) / sizeof(uint32_t));
}

// The lane of the bits of number that a node compares.
template <typename Lane, typename Number>
constexpr Lane laneOf(Number number) noexcept {
    using Bits = std::make_unsigned_t<Lane>;
    constexpr Bits SIGN = static_cast<Bits>(Bits{1} << (8 * sizeof(Lane) - 1));
    return static_cast<Lane>(static_cast<Bits>(static_cast<Bits>(number) ^ SIGN));
}

// Asks for the line after word's node, and where it has three lines for the last one, too.
template <typename Address>
inline void prefetchNode(const FlatRanges<Address>& ranges, uint32_t word) noexcept {
    const uint32_t* node =
        ranges.words + uint64_t{QUARTER_WORDS} * (word & ((uint32_t{1} << FLAT_NODE_SHIFT) - 1));
    const uint32_t moreLines = word >> FLAT_NODE_SHIFT & 3U;
    __builtin_prefetch(node + size_t{LINE_WORDS} * moreLines);
    if constexpr (sizeof(typename FlatRangeTraits<Address>::Lane) == 2) {
        __builtin_prefetch(node + size_t{LINE_WORDS} * (moreLines - (moreLines >> 1U)));
    }
}

// The word that word's place has for an address; left is how many bits of it come after those that led to the place.
template <typename Address>
[[nodiscard]] inline uint32_t followFlatWord(const FlatRanges<Address>& ranges, uint32_t word,
                                             typename FlatRangeTraits<Address>::Number number,
                                             uint32_t& left) noexcept {
    using Lane = typename FlatRangeTraits<Address>::Lane;
    if ((word & FLAT_INDEX) != 0) {
        const uint32_t bits = (word >> FLAT_INDEX_SHIFT & 15U) + LEAST_INDEX_BITS;
        const uint64_t line = word & ((uint32_t{1} << FLAT_INDEX_SHIFT) - 1);
        left -= bits;
        return ranges.words[line * LINE_WORDS +
                            (static_cast<uint32_t>(number >> left) & ((uint32_t{1} << bits) - 1))];
    }
    prefetchNode(ranges, word);
    const uint32_t* node =
        ranges.words + uint64_t{QUARTER_WORDS} * (word & ((uint32_t{1} << FLAT_NODE_SHIFT) - 1));
    Lane header = 0;
    std::memcpy(&header, node, sizeof(Lane));
    const uint32_t count = static_cast<uint32_t>(header) & NODE_COUNT_MASK;
    left = static_cast<uint32_t>(header) >> NODE_COUNT_BITS;
    const uint32_t above = maskAbove(node, laneOf<Lane>(number >> left)) >> 1U;
    const auto place = static_cast<uint32_t>(__builtin_ctz(above | uint32_t{1} << count));
    return node[nodeWordsAt<Lane>(count) + place];
}

// The first half of a lookup reads the root and asks for what the second reads.
template <typename Address>
[[nodiscard]] inline uint32_t prepareFlatRange(const FlatRanges<Address>& ranges,
                                               const Address& address) noexcept {
    using Traits = FlatRangeTraits<Address>;
    const auto number = Traits::numberOf(address);
    return ranges.words[static_cast<uint32_t>(number >> (Traits::BITS - ranges.rootBits))];
}

// The second half: the record of the interval that holds the address of the first half; NO_RECORD without one.
template <typename Address>
[[nodiscard]] inline uint32_t finishFlatRange(const FlatRanges<Address>& ranges,
                                              const Address& address, uint32_t word) noexcept {
    using Traits = FlatRangeTraits<Address>;
    const auto number = Traits::numberOf(address);
    uint32_t left = Traits::BITS - ranges.rootBits;
    while ((word & FLAT_ANSWER) == 0) {
        word = followFlatWord(ranges, word, number, left);
    }
    return word == NO_RECORD ? NO_RECORD : word & ~FLAT_ANSWER;
}

// The record of the interval that holds an address; NO_RECORD without one.
template <typename Address>
[[nodiscard]] inline uint32_t findFlatRange(const FlatRanges<Address>& ranges,
                                            const Address& address) noexcept {
    return finishFlatRange(ranges, address, prepareFlatRange(ranges, address));
}

// The steps of a lookup after the root, each of which reads one place, for tests.
template <typename Address>
[[nodiscard]] uint32_t countFlatRangeSteps(const FlatRanges<Address>& ranges,
                                           const Address& address) noexcept {
    using Traits = FlatRangeTraits<Address>;
    uint32_t left = Traits::BITS - ranges.rootBits;
    uint32_t steps = 0;
    uint32_t word = prepareFlatRange(ranges, address);
    for (; (word & FLAT_ANSWER) == 0; ++steps) {
        word = followFlatWord(ranges, word, Traits::numberOf(address), left);
    }
    return steps;
}

// Builds the flat lookup of starts that are finished; null when memory is out, and when there are more starts or records
// than words can name.
[[nodiscard]] FlatRanges32* buildFlatRanges(const FlatRangeStarts<uint32_t>& starts) noexcept;
[[nodiscard]] FlatRanges128* buildFlatRanges(const FlatRangeStarts<Address128>& starts) noexcept;

// Null is left alone.
void freeFlatRanges(FlatRanges32* ranges) noexcept;
void freeFlatRanges(FlatRanges128* ranges) noexcept;

}  // namespace rs
