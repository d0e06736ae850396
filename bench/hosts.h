// Sets and groups for the benchmarks, which end the program when something fails: a wrong figure is worse than none.
#pragma once

#include <ruleset.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include "support/rule_handles.h"

namespace bench {

using rs::test::RuleGroupHandle;
using rs::test::RuleSetHandle;

inline void require(bool condition, const char* what) {
    if (!condition) {
        std::fprintf(stderr, "benchmark: %s\n", what);
        std::abort();
    }
}

// The rule at position n, counted from 1, has the ruleId n and one of valueCount values in turn.
inline RuleSetHandle fillSet(int32_t type, const std::vector<std::string>& rules,
                             uint32_t valueCount) {
    RuleSetHandle set = rs::test::newRuleSet(type);
    require(set != nullptr, "no rule set");
    uint32_t id = 0;
    for (const std::string& rule : rules) {
        const uint32_t value = id++ % valueCount;
        require(rs_addRuleToRuleSet(set.get(), rule.data(), static_cast<uint32_t>(rule.size()),
                                    value, id) == RULE_OK,
                "a rule was refused");
    }
    return set;
}

inline RuleGroupHandle buildGroup(const RuleSetHandle& set) {
    RuleGroupHandle group = rs::test::buildRuleGroup(*set);
    require(group != nullptr, "the build failed");
    return group;
}

// The time of an iteration divided by the number of rules.
inline void countRules(benchmark::State& state, size_t count) {
    state.counters["per_rule"] = benchmark::Counter(
        static_cast<double>(count),
        benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

// Measures builds of a set; taking the group down again is not measured.
inline void measureBuild(benchmark::State& state, const RuleSetHandle& set, size_t count) {
    for ([[maybe_unused]] auto unused : state) {
        RuleGroupHandle group = buildGroup(set);
        benchmark::DoNotOptimize(group.get());
        state.PauseTiming();
        group.reset();
        state.ResumeTiming();
    }
    countRules(state, count);
}

}  // namespace bench
