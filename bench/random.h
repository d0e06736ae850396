// Random numbers that are the same on every machine and in every run, which those of the standard distributions are not.
#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

namespace bench {

// splitmix64: a permutation of the 64-bit numbers, so that different numbers give different results.
constexpr uint64_t mix(uint64_t word) noexcept {
    word = (word ^ (word >> 30U)) * 0xBF58476D1CE4E5B9;
    word = (word ^ (word >> 27U)) * 0x94D049BB133111EB;
    return word ^ (word >> 31U);
}

class Random {
public:
    explicit Random(uint64_t seed) noexcept : state_(seed) {}

    uint64_t next() noexcept {
        state_ += 0x9E3779B97F4A7C15;
        return mix(state_);
    }

    // A number below limit. The modulo favours small numbers by less than one in 2^16 for the
    // limits used here.
    uint64_t below(uint64_t limit) noexcept { return next() % limit; }

    // A number from least to most.
    uint64_t between(uint64_t least, uint64_t most) noexcept {
        return least + below(most - least + 1);
    }

private:
    uint64_t state_;
};

// A permutation of the 32-bit numbers: the first n results are n different addresses, and the next
// ones are none of them. Each step can be undone, so no two numbers meet.
constexpr uint32_t scatter(uint32_t number) noexcept {
    number ^= number >> 16U;
    number *= 0x7FEB352DU;
    number ^= number >> 15U;
    number *= 0x846CA68BU;
    number ^= number >> 16U;
    return number;
}

template <typename Item>
void shuffle(std::vector<Item>& items, Random& random) {
    for (size_t i = items.size(); i > 1; --i) {
        std::swap(items[i - 1], items[random.below(i)]);
    }
}

}  // namespace bench
