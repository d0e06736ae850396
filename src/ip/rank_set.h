// A set of numbers below a limit that knows neighbours: the last number at or before a place, and the next one.
//
//     words of level 1     ...0101                     bit i: word i of level 0 has a number
//                             | |
//     words of level 0  ..00100100  0  ..10000000      bit i: number i is in the set
//
// Ownership:  owns its words.
// Threads:    none; it lives during a build.
// Cost:       a few words for each step, one for each level: three levels hold 262,144 numbers, four 16,777,216. Memory
//             is little more than a bit for each number.
#pragma once

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>

#include "ip/build_array.h"

namespace rs {

// No place of an order: the answer where there is no neighbour.
inline constexpr uint32_t NO_RANK = UINT32_MAX;

class RankSet {
public:
    // An empty set of numbers below count. False when memory is out.
    [[nodiscard]] bool reserve(uint32_t count) noexcept {
        size_t total = 0;
        size_t words = count;
        levelCount_ = 0;
        do {
            words = std::max((words + WORD_BITS - 1) / WORD_BITS, size_t{1});
            levels_[levelCount_++] = {total, words};
            total += words;
        } while (words > 1);
        return words_.reserve(total);
    }

    void add(uint32_t number) noexcept {
        for (uint32_t level = 0; level < levelCount_; ++level, number /= WORD_BITS) {
            uint64_t& word = wordOf(level, number);
            const bool wasEmpty = word == 0;
            word |= bitOf(number);
            if (!wasEmpty) {
                return;
            }
        }
    }

    void remove(uint32_t number) noexcept {
        for (uint32_t level = 0; level < levelCount_; ++level, number /= WORD_BITS) {
            uint64_t& word = wordOf(level, number);
            word &= ~bitOf(number);
            if (word != 0) {
                return;
            }
        }
    }

    // The last number of the set that is not above a number below the limit; NO_RANK without one.
    [[nodiscard]] uint32_t atOrBefore(uint32_t number) const noexcept {
        uint64_t bits = wordOf(0, number) & (bitOf(number) | (bitOf(number) - 1));
        for (uint32_t level = 0;; bits = wordOf(level, number) & (bitOf(number) - 1)) {
            if (bits != 0) {
                return descend(level, number, bits, lastBit);
            }
            number /= WORD_BITS;
            if (++level == levelCount_) {
                return NO_RANK;
            }
        }
    }

    // The first number of the set that is not below a number, which may be the limit; NO_RANK without one.
    [[nodiscard]] uint32_t atOrAfter(uint32_t number) const noexcept {
        if (number / WORD_BITS >= levels_[0].wordCount) {
            return NO_RANK;
        }
        uint64_t bits = wordOf(0, number) & ~(bitOf(number) - 1);
        for (uint32_t level = 0;;
             bits = wordOf(level, number) & ~(bitOf(number) - 1) & ~bitOf(number)) {
            if (bits != 0) {
                return descend(level, number, bits, firstBit);
            }
            number /= WORD_BITS;
            if (++level == levelCount_) {
                return NO_RANK;
            }
        }
    }

private:
    static constexpr uint32_t WORD_BITS = 64;
    static constexpr uint32_t MOST_LEVELS = 6;  // for 2^32 numbers

    struct Level {
        size_t start;
        size_t wordCount;
    };

    static uint64_t bitOf(uint32_t number) noexcept { return uint64_t{1} << (number % WORD_BITS); }

    static uint32_t lastBit(uint64_t bits) noexcept {
        return WORD_BITS - 1 - static_cast<uint32_t>(std::countl_zero(bits));
    }

    static uint32_t firstBit(uint64_t bits) noexcept {
        return static_cast<uint32_t>(std::countr_zero(bits));
    }

    [[nodiscard]] uint64_t& wordOf(uint32_t level, uint32_t number) const noexcept {
        return words_[levels_[level].start + number / WORD_BITS];
    }

    // From the bits of a word, which is that of number on a level, down to a number of the set.
    template <typename ChooseBit>
    [[nodiscard]] uint32_t descend(uint32_t level, uint32_t number, uint64_t bits,
                                   const ChooseBit& chooseBit) const noexcept {
        uint32_t found = number / WORD_BITS * WORD_BITS + chooseBit(bits);
        while (level-- > 0) {
            found = found * WORD_BITS + chooseBit(words_[levels_[level].start + found]);
        }
        return found;
    }

    BuildArray<uint64_t> words_;
    std::array<Level, MOST_LEVELS> levels_{};
    uint32_t levelCount_ = 0;
};

}  // namespace rs
