// Several programs that answer the same question, timed in turn on the same keys, and what each of them took to build.
//
//     Contest<Keys> contest(options, "ipv4_hosts", rules);
//     auto map = contest.build("absl::flat_hash_map", [&] { return std::make_shared<...>(...); });
//     contest.add("absl::flat_hash_map", oneByOne<Keys>([map](const Keys& keys, size_t i) { ... }));
//     contest.measure("hit", keys);
//
// A contender answers a block of keys at a time with a number for each: that of the rule, counted from 1, or 0. So bulk
// calls and single ones meet in one loop, and the answers stay in the nearest cache.
//
// Before anything is timed, the answers to every key that a contender is timed with are compared with those of the
// first contender. A difference ends the program. A contender that takes long is timed with fewer keys.
//
// Times are processor time of the thread: what else runs on the machine takes cache, but no time of ours.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <functional>
#include <string>
#include <string_view>
#include <time.h>
#include <vector>

#include "handles.h"
#include "peer_memory.h"
#include "session.h"

namespace bench {

inline constexpr size_t BLOCK_KEYS = 256;

template <typename Keys>
using Answer = std::function<void(const Keys& keys, size_t first, size_t count, uint32_t* answers)>;

// Of a call that takes one key: ask(keys, i) is the number of the rule.
template <typename Keys, typename Ask>
Answer<Keys> oneByOne(Ask ask) {
    return [ask](const Keys& keys, size_t first, size_t count, uint32_t* answers) {
        for (size_t i = 0; i < count; ++i) {
            answers[i] = ask(keys, first + i);
        }
    };
}

// Of a call find(key, result) of the peers in peers.h.
template <typename Find>
uint32_t ruleFound(const Find& find) {
    MatchResult result{};
    return find(result) == 1 ? result.ruleIndex : 0;
}

inline double threadNanoseconds() {
    timespec now{};
    require(clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now) == 0, "no clock");
    return static_cast<double>(now.tv_sec) * 1e9 + static_cast<double>(now.tv_nsec);
}

template <typename Keys>
class Contest {
public:
    Contest(const Options& options, const char* question, size_t rules)
        : options_(options), question_(question), rules_(rules) {}

    // Makes what a contender asks, and prints how long that took and the memory that it holds.
    template <typename Make>
    auto build(const char* contender, const Make& make) {
        const uint64_t before = memoryInUse();
        const double start = threadNanoseconds();
        auto made = make();
        const double microseconds = (threadNanoseconds() - start) / 1e3;
        JsonLine line;
        begin(line, "peer_build", contender);
        line.add("build_us", microseconds).add("bytes", memoryInUse() - before);
        return made;
    }

    // Says that a contender would take too much memory with so many rules.
    void leaveOut(const char* contender, uint64_t bytes) {
        JsonLine line;
        begin(line, "peer_left_out", contender);
        line.add("bytes", bytes);
    }

    void add(const char* contender, Answer<Keys> answer) {
        contenders_.push_back({contender, std::move(answer), 0, {}});
    }

    // Keys that a rule covers are "hit"; that none covers, "miss"; with another word, the answers say.
    void measure(const char* which, const Keys& keys) {
        for (Contender& each : contenders_) {
            each.times.clear();
            each.count = affordable(each, keys);
        }
        for (uint32_t pass = 0; pass < options_.passes; ++pass) {
            for (const Contender& each : contenders_) {
                compare(each, which, keys, window(each, keys, pass));
            }
        }
        for (uint32_t pass = 0; pass < options_.passes; ++pass) {
            for (Contender& each : contenders_) {
                each.times.push_back(timeOf(each, keys, window(each, keys, pass)));
            }
        }
        for (const Contender& each : contenders_) {
            JsonLine line;
            begin(line, "peer_lookup", each.name.c_str());
            line.add("keys", which).add("looked_up", uint64_t{each.count});
            line.add("ns", median(each.times));
        }
    }

private:
    static constexpr double MOST_NANOSECONDS = 1.5e8;  // of a pass
    static constexpr size_t SAMPLE_KEYS = 1U << 12U;

    struct Contender {
        std::string name;
        Answer<Keys> answer;
        size_t count;  // of keys in a pass: all, or fewer when a lookup takes long
        std::vector<double> times;
    };
    struct Window {
        size_t first;
        size_t count;
    };
    using Block = std::array<uint32_t, BLOCK_KEYS>;

    void begin(JsonLine& line, const char* bench, const char* contender) const {
        line.add("bench", bench).add("question", question_).add("rules", uint64_t{rules_});
        line.add("contender", contender);
    }

    // Calls take(first, count) for each block of a window.
    template <typename Take>
    static void forEachBlock(Window window, const Take& take) {
        const size_t end = window.first + window.count;
        for (size_t i = window.first; i < end; i += BLOCK_KEYS) {
            take(i, std::min(BLOCK_KEYS, end - i));
        }
    }

    static double timeOf(const Contender& contender, const Keys& keys, Window window) {
        Block answers;
        const double start = threadNanoseconds();
        forEachBlock(window, [&](size_t i, size_t size) {
            contender.answer(keys, i, size, answers.data());
            asm volatile("" : : "r"(answers.data()) : "memory");
        });
        return (threadNanoseconds() - start) / static_cast<double>(window.count);
    }

    static size_t affordable(const Contender& contender, const Keys& keys) {
        const size_t sample = std::min(SAMPLE_KEYS, keys.size());
        const double each = std::max(timeOf(contender, keys, {keys.size() - sample, sample}), 1.0);
        return std::clamp(static_cast<size_t>(MOST_NANOSECONDS / each), sample, keys.size());
    }

    static Window window(const Contender& contender, const Keys& keys, uint32_t pass) {
        const size_t places = std::max<size_t>(keys.size() / contender.count, 1);
        return {pass % places * contender.count, contender.count};
    }

    void compare(const Contender& contender, std::string_view which, const Keys& keys,
                 Window window) const {
        const Contender& judge = contenders_.front();
        Block expected{};
        Block answers{};
        forEachBlock(window, [&](size_t i, size_t size) {
            judge.answer(keys, i, size, expected.data());
            contender.answer(keys, i, size, answers.data());
            for (size_t k = 0; k < size; ++k) {
                const bool isExpected =
                    (which != "hit" || expected[k] != 0) && (which != "miss" || expected[k] == 0);
                if (!isExpected || answers[k] != expected[k]) {
                    std::fprintf(stderr, "%s, %zu rules, key %zu: %s says %u, %s %u\n", question_,
                                 rules_, i + k, judge.name.c_str(), expected[k],
                                 contender.name.c_str(), answers[k]);
                }
                require(isExpected && answers[k] == expected[k], "the answers differ");
            }
        });
    }

    const Options& options_;
    const char* question_;
    size_t rules_;
    std::vector<Contender> contenders_;
};

}  // namespace bench
