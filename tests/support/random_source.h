// Random numbers for property tests: the same ones in every run and on every machine, until asked
// otherwise.
//
//     RULESET_PROPERTY_SEED=77      other random cases; a failing case prints the seed that makes it
//                                   the first case of its test
//     RULESET_PROPERTY_CASES=10     ten times as many cases; 0.1 for a tenth
//     RULESET_FLAT=always           see internal/flat_modes.cpp; half as many cases, as the same run without as well
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <random>
#include <vector>

#include <gtest/gtest.h>

// Instrumented code is many times slower, so it gets fewer cases.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define RULESET_TESTS_SANITIZED 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer) || \
    __has_feature(memory_sanitizer)
#define RULESET_TESTS_SANITIZED 1
#endif
#endif
#if !defined(RULESET_TESTS_SANITIZED)
#define RULESET_TESTS_SANITIZED 0
#endif

namespace rs::test {

class RandomSource {
public:
    explicit RandomSource(uint64_t seed) : engine_(seed) {}

    uint64_t bits() { return engine_(); }
    uint32_t bits32() { return static_cast<uint32_t>(engine_() >> 32U); }

    // A number from 0 to limit - 1. The standard distributions may differ between libraries, and a
    // slight preference for small numbers does no harm here.
    uint64_t below(uint64_t limit) { return engine_() % limit; }
    uint32_t below32(uint32_t limit) { return static_cast<uint32_t>(below(limit)); }

    // A number from low to high, both included.
    uint64_t between(uint64_t low, uint64_t high) { return low + below(high - low + 1); }

    bool oneIn(uint64_t count) { return below(count) == 0; }

    template <typename T>
    const T& pick(const std::vector<T>& choices) {
        return choices[static_cast<size_t>(below(choices.size()))];
    }

private:
    std::mt19937_64 engine_;
};

inline uint64_t propertySeed() {
    const char* text = std::getenv("RULESET_PROPERTY_SEED");
    return text == nullptr ? 20240229 : std::strtoull(text, nullptr, 0);
}

// How many cases a test runs that runs usual ones by default; at least one.
inline uint64_t propertyCases(uint64_t usual) {
    const char* text = std::getenv("RULESET_PROPERTY_CASES");
    double factor = text == nullptr ? 1.0 : std::strtod(text, nullptr);
    if (RULESET_TESTS_SANITIZED != 0) {
        factor /= 10;
    }
    if (std::getenv("RULESET_FLAT") != nullptr) {
        factor /= 2;
    }
    const double cases = static_cast<double>(usual) * factor;
    return cases < 1 ? 1 : static_cast<uint64_t>(cases);
}

// How large a set is that has usual rules by default. A larger number of cases brings more sets, not larger ones.
inline uint64_t propertySize(uint64_t usual) {
    return std::min(usual, propertyCases(usual));
}

// Runs check(random) for each case, with a seed of its own, up to the first case that fails.
template <typename Check>
void forEachCase(uint64_t usual, const Check& check) {
    const uint64_t firstSeed = propertySeed();
    const uint64_t cases = propertyCases(usual);
    for (uint64_t i = 0; i < cases && !::testing::Test::HasFailure(); ++i) {
        SCOPED_TRACE(::testing::Message() << "RULESET_PROPERTY_SEED=" << firstSeed + i);
        RandomSource random(firstSeed + i);
        check(random);
    }
}

}  // namespace rs::test
