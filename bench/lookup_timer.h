// Times of lookups by several candidates, interleaved, so that what disturbs the machine disturbs all of them.
//
//     pass 1   loop:   ours  peer  ...     chain:   ours  peer  ...
//     pass 2   loop:   ours  peer  ...     chain:   ours  peer  ...       the medians are printed
//
//     loop     independent calls: the processor starts on the next key before it is done with this one
//     chain    the next key depends on the answer before, so that calls wait for each other
//
// Before anything is timed, the answers of all candidates to every key of the run are compared, and one that differs
// ends the program.
#pragma once

#include <ruleset.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <vector>

#include "handles.h"
#include "session.h"

namespace bench {

// ask(i, result) looks key i up: 1 with *result filled, or 0.
template <typename Ask>
struct Candidate {
    const char* name;
    bool hasWholeResult;  // false when it reports the ruleIndex alone
    Ask ask;
};
template <typename Ask>
Candidate(const char*, bool, Ask) -> Candidate<Ask>;

// Which keys of a set a pass looks up: all, or fewer when a lookup takes long.
struct KeyWindow {
    size_t first;
    size_t count;
};

inline void keep(const MatchResult& result) {
    asm volatile("" : : "r"(&result) : "memory");
}

inline double nanosecondsSince(std::chrono::steady_clock::time_point start) {
    return std::chrono::duration<double, std::nano>(std::chrono::steady_clock::now() - start)
        .count();
}

template <typename Ask>
double timeLoop(const Ask& ask, KeyWindow window) {
    MatchResult result{};
    const auto start = std::chrono::steady_clock::now();
    for (size_t i = window.first; i < window.first + window.count; ++i) {
        int32_t answer = ask(i, result);
        asm volatile("" : "+r"(answer));
        keep(result);
    }
    return nanosecondsSince(start) / static_cast<double>(window.count);
}

template <typename Ask>
double timeChain(const Ask& ask, KeyWindow window) {
    MatchResult result{};
    size_t nothing = 0;
    asm volatile("" : "+r"(nothing));  // which the compiler does not know any more
    const auto start = std::chrono::steady_clock::now();
    for (size_t i = window.first; i < window.first + window.count;) {
        const int32_t answer = ask(i, result);
        keep(result);
        i += 1 + ((result.ruleIndex + static_cast<size_t>(answer)) & nothing);
    }
    return nanosecondsSince(start) / static_cast<double>(window.count);
}

template <typename... Asks>
class LookupTimer {
public:
    LookupTimer(const Options& options, size_t keyCount, const Candidate<Asks>&... candidates)
        : options_(options), keyCount_(keyCount), candidates_(candidates...) {}

    // Prints a line for the loop and one for the chain.
    void measure(const char* name, size_t rules, const char* keys, int32_t answer) {
        std::apply([&](const auto&... each) { windowCount_ = std::min({affordable(each.ask)...}); },
                   candidates_);
        for (uint32_t pass = 0; pass < options_.passes; ++pass) {
            std::apply(
                [&](const auto& first, const auto&... others) {
                    (compare(name, first, others, window(pass), answer), ...);
                },
                candidates_);
        }
        std::array<std::vector<double>, sizeof...(Asks)> loops;
        std::array<std::vector<double>, sizeof...(Asks)> chains;
        for (uint32_t pass = 0; pass < options_.passes; ++pass) {
            std::apply(
                [&](const auto&... each) {
                    size_t i = 0;
                    (loops[i++].push_back(timeLoop(each.ask, window(pass))), ...);
                    i = 0;
                    (chains[i++].push_back(timeChain(each.ask, window(pass))), ...);
                },
                candidates_);
        }
        print(name, rules, keys, "loop", loops);
        print(name, rules, keys, "chain", chains);
    }

private:
    static constexpr double MOST_NANOSECONDS = 6e8;  // of a pass
    static constexpr size_t FEWEST_KEYS = 1U << 12U;

    template <typename Ask>
    size_t affordable(const Ask& ask) const {
        const size_t sample = std::min(FEWEST_KEYS, keyCount_);
        const double each = timeLoop(ask, {keyCount_ - sample, sample});
        const auto most = static_cast<size_t>(MOST_NANOSECONDS / each);
        return std::clamp(most, sample, keyCount_);
    }

    KeyWindow window(uint32_t pass) const {
        const size_t places = std::max<size_t>(keyCount_ / std::max<size_t>(windowCount_, 1), 1);
        return {pass % places * windowCount_, windowCount_};
    }

    template <typename Ours, typename Other>
    static void compare(const char* name, const Ours& ours, const Other& other, KeyWindow window,
                        int32_t answer) {
        for (size_t i = window.first; i < window.first + window.count; ++i) {
            MatchResult left{};
            MatchResult right{};
            const int32_t found = ours.ask(i, left);
            const bool isSame = found == answer && other.ask(i, right) == answer &&
                                (found == 0 || isSameRule(left, right, other.hasWholeResult));
            if (!isSame) {
                std::fprintf(stderr, "%s: key %zu: %s finds rule %u, %s rule %u\n", name, i,
                             ours.name, left.ruleIndex, other.name, right.ruleIndex);
            }
            require(isSame, "the answers differ");
        }
    }

    static bool isSameRule(const MatchResult& left, const MatchResult& right, bool whole) {
        return left.ruleIndex == right.ruleIndex &&
               (!whole || (left.ruleValue == right.ruleValue && left.ruleId == right.ruleId));
    }

    void print(const char* name, size_t rules, const char* keys, const char* call,
               const std::array<std::vector<double>, sizeof...(Asks)>& times) const {
        JsonLine line;
        line.add("bench", "lookup").add("case", name).add("rules", uint64_t{rules});
        line.add("keys", keys).add("call", call).add("looked_up", uint64_t{windowCount_});
        std::apply(
            [&](const auto&... each) {
                size_t i = 0;
                (line.add(each.name, median(times[i++])), ...);
            },
            candidates_);
    }

    const Options& options_;
    size_t keyCount_;
    size_t windowCount_ = 0;
    std::tuple<const Candidate<Asks>&...> candidates_;
};

}  // namespace bench
