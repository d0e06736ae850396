// Asks for the memory that a lookup in flat names will read, for a user with many names.
//
//     step 1    the hashes of all suffixes     the words of the filter
//     step 2    which suffixes pass it         the line of the longest one
//     step 3    its slot there                 the text of that, and its number for the user
//
// What is asked for is a guess: the lookup after that reads it again and decides.
//
// Threads:    any: flat names are only read.
// Cost:       about half the instructions of a lookup, none of its waits.
#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>

#include "core/slab.h"
#include "lookup/cut_name.h"
#include "lookup/flat_names.h"
#include "lookup/slot_keys.h"

namespace rs {

// A name of the wire form between the steps. Of names with more suffixes the last ones are not asked for.
class NameAhead {
public:
    // Step 1, for a name of a length that isUsualWireName takes.
    void prefetchFilter(const FlatNames& names, const char* name, uint32_t length) noexcept {
        const SuffixHashes hashes(name, length, names.seed);
        count_ = 0;
        for (uint32_t start = 0; start < length && count_ < MOST_ASKED;
             start += static_cast<uint8_t>(name[start]) + 1U) {
            const uint64_t hash = hashes.of(start);
            __builtin_prefetch(&nameFilterWordOf(names, nameLineOf(names, hash)));
            asked_[count_++] = {hash, length - start};
        }
    }

    // Leaves step 2 and 3 without anything to do.
    void skip() noexcept { count_ = 0; }

    // Step 2.
    void prefetchLine(const FlatNames& names) noexcept {
        chosen_ = count_;
        for (uint32_t i = 0; i < count_ && chosen_ == count_; ++i) {
            chosen_ = mayHaveName(names, asked_[i].hash) != 0 ? i : chosen_;
        }
    }

    // Step 3: prefetchNumber(number) asks for what the user has under a number, if any.
    template <typename PrefetchNumber>
    void prefetchText(const FlatNames& names, const PrefetchNumber& prefetchNumber) const noexcept {
        if (chosen_ == count_) {
            return;
        }
        const Asked& asked = asked_[chosen_];
        const NameLine& line = names.lines[nameLineOf(names, asked.hash)];
        const uint32_t same = matchKeys(line.keys, nameKeyOf(asked.hash, asked.length));
        if (same == 0) {
            return;
        }
        const auto slot = static_cast<uint32_t>(std::countr_zero(same));
        __builtin_prefetch(&recordAt(names.texts, line.texts[slot]));
        const uint32_t number = line.numbers[chosen_ == 0 ? 1 : 0][slot];
        if (number != NO_RECORD) {
            prefetchNumber(number);
        }
    }

private:
    static constexpr uint32_t MOST_ASKED = 8;

    struct Asked {
        uint64_t hash;
        uint32_t length;
    };

    uint32_t count_;
    uint32_t chosen_;  // the longest suffix that passes the filter; count_ without one
    std::array<Asked, MOST_ASKED> asked_;
};

}  // namespace rs
