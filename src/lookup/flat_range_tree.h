// The record of the interval that holds an address, for disjoint intervals of 128-bit addresses.
//
//     2001:db8:0:7::/64 -> record 7     starts   :: -> none, 2001:db8:0:7:: -> 7, 2001:db8:0:8:: -> none
//
// The upper halves of the starts are in a static search tree of lines of 64 bytes. All ways from the root to a leaf have
// the same number of lines:
//
//     root      | first child | keys |                  key i: where the addresses of way i begin; way 0 has no key
//                   |    way 0, way 1, ... way 7
//     inner     | first child | keys |  | first child | keys |  ...          children are side by side
//                   |
//     leaves    | start 0 | keys |  | start 0 | keys |  ...                  the starts, in order
//     words     | word 0 | word 1 | ... |  | word 0 | ...                    what addresses have from a start on
//
// The seven keys of a line are a binary search tree themselves, so that a step is a comparison and an addition, without a
// branch:
//
//     place     0   1   2   3   4   5   6         the children of place p are 2p + 1 and 2p + 2;
//     key       4   2   6   1   3   5   7         3 steps from place 0 end at 7 + the way
//
// A half that has starts of other lower halves than 0 has a tree of these. Its word leads there, and what the last of them
// says is the word of the next half:
//
//     2001:db8:0:7::8/125 -> record 7     upper tree       2001:db8:0:7 -> lower tree, 2001:db8:0:8 -> none
//                                         lower tree       0 -> none, 8 -> 7, 16 -> none
//
// Invariants: a key is one less than the first address of its way, so that the greatest key, which unused places
//             have, is below no address. The leaves of all trees are before all inner lines.
// Ownership:  freeFlatRanges frees what buildFlatRanges returned. Records are borrowed as numbers.
// Threads:    lookups only read.
// Cost:       a lookup reads a line for each level, of which 8 times as many starts take one more, and a word, which is
//             asked for together with the leaf. As a rule all lines but the leaf are in a near cache. A second tree is
//             the only branch that depends on list or address. A start takes 13.2 bytes, and MOST_BYTES_OF_START at
//             most. A build is linear.
#pragma once

#include <cstddef>
#include <cstdint>

#include "core/slab.h"
#include "lookup/range_starts.h"
#include "syntax/address128.h"

namespace rs {

[[nodiscard]] constexpr uint64_t upperKey(const Address128& address) noexcept {
    return (uint64_t{address.words[0]} << 32U) | address.words[1];
}
[[nodiscard]] constexpr uint64_t lowerKey(const Address128& address) noexcept {
    return (uint64_t{address.words[2]} << 32U) | address.words[3];
}

// The bits of a word that is not NO_RECORD:
//
//     31   30 - 27       26 - 0
//     0    the record
//     1    levels - 1    the root of the tree of lower halves
inline constexpr uint32_t FLAT_SUBTREE = uint32_t{1} << 31U;
inline constexpr uint32_t SUBTREE_LEVELS_SHIFT = 27;
inline constexpr uint32_t SUBTREE_ROOT_MASK = (uint32_t{1} << SUBTREE_LEVELS_SHIFT) - 1;

inline constexpr uint32_t LINE_WAYS = 8;

template <>
struct FlatRanges<Address128> {
    // No start takes more, whatever the list. One that is alone in its upper half has two starts of the upper tree, which
    // take up to 13.4 bytes each, and a line and its words.
    static constexpr uint64_t MOST_BYTES_OF_START = 144;

    const uint64_t* lines;  // owned, of allocateLines
    const uint32_t* words;  // owned, the same; LINE_WAYS for each leaf
    uint64_t byteCount;
    uint32_t root;    // its line
    uint32_t levels;  // at least 1
};

using FlatRanges128 = FlatRanges<Address128>;

// The way of a key through a line, and LINE_WAYS - 1 more.
[[nodiscard]] inline size_t placeInLine(const uint64_t* line, uint64_t key) noexcept {
    size_t place = 0;
    for (uint32_t ways = 1; ways < LINE_WAYS; ways *= 2) {
        place = 2 * place + 1 + (line[1 + place] < key ? 1 : 0);
    }
    return place;
}

// The leaf for a key, in the tree of one root.
[[nodiscard]] inline size_t findLeaf(const FlatRanges128& ranges, size_t root, uint32_t levels,
                                     uint64_t key) noexcept {
    size_t number = root;
    for (; levels > 1; --levels) {
        const uint64_t* line = ranges.lines + number * LINE_WAYS;
        number = line[0] + placeInLine(line, key) - (LINE_WAYS - 1);
    }
    return number;
}

// The word of the start at or below a key, which is in a leaf.
[[nodiscard]] inline uint32_t wordInLeaf(const FlatRanges128& ranges, size_t leaf,
                                         uint64_t key) noexcept {
    const uint32_t* words = ranges.words + leaf * LINE_WAYS;
    __builtin_prefetch(words);
    return words[placeInLine(ranges.lines + leaf * LINE_WAYS, key) - (LINE_WAYS - 1)];
}

// A lookup in two steps, for a user with many addresses. The first finds the leaf of the upper half and asks for it.
[[nodiscard]] inline uint32_t prefetchFlatLeaf(const FlatRanges128& ranges,
                                               uint64_t upper) noexcept {
    const size_t leaf = findLeaf(ranges, ranges.root, ranges.levels, upper);
    __builtin_prefetch(ranges.lines + leaf * LINE_WAYS);
    __builtin_prefetch(ranges.words + leaf * LINE_WAYS);
    return static_cast<uint32_t>(leaf);
}

[[nodiscard]] inline uint32_t finishFlatRange(const FlatRanges128& ranges, size_t leaf,
                                              uint64_t upper, uint64_t lower) noexcept {
    const uint32_t word = wordInLeaf(ranges, leaf, upper);
    if (word < FLAT_SUBTREE || word == NO_RECORD) [[likely]] {
        return word;
    }
    const uint32_t levels = ((word & ~FLAT_SUBTREE) >> SUBTREE_LEVELS_SHIFT) + 1;
    return wordInLeaf(ranges, findLeaf(ranges, word & SUBTREE_ROOT_MASK, levels, lower), lower);
}

// The record of the interval that holds an address of two halves; NO_RECORD without one.
[[nodiscard]] inline uint32_t findFlatRange(const FlatRanges128& ranges, uint64_t upper,
                                            uint64_t lower) noexcept {
    return finishFlatRange(ranges, findLeaf(ranges, ranges.root, ranges.levels, upper), upper,
                           lower);
}

[[nodiscard]] inline uint32_t findFlatRange(const FlatRanges128& ranges,
                                            const Address128& address) noexcept {
    return findFlatRange(ranges, upperKey(address), lowerKey(address));
}

// Builds the flat lookup of starts that are finished; null when memory is out, and when there are more starts or records
// than words can name.
[[nodiscard]] FlatRanges128* buildFlatRanges(const FlatRangeStarts<Address128>& starts) noexcept;

// Null is left alone.
void freeFlatRanges(FlatRanges128* ranges) noexcept;

}  // namespace rs
