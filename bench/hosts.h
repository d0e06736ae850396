// Sets and groups for the benchmarks, which end the program when something fails: a wrong figure is worse than none.
#pragma once

#include <ruleset.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

namespace bench {

struct SetDeleting {
    void operator()(RuleSet* set) const noexcept { rs_delRuleSet(&set); }
};
using OwnedSet = std::unique_ptr<RuleSet, SetDeleting>;

struct GroupDeleting {
    void operator()(RuleGroup* group) const noexcept { rs_delRuleGroup(&group); }
};
using OwnedGroup = std::unique_ptr<RuleGroup, GroupDeleting>;

inline void require(bool condition, const char* what) {
    if (!condition) {
        std::fprintf(stderr, "benchmark: %s\n", what);
        std::abort();
    }
}

// The rule at position n, counted from 1, has the ruleId n and one of valueCount values in turn.
inline OwnedSet fillSet(int32_t type, const std::vector<std::string>& rules, uint32_t valueCount) {
    RuleSet* set = nullptr;
    require(rs_newRuleSet(type, &set) == RULE_OK, "no rule set");
    uint32_t id = 0;
    for (const std::string& rule : rules) {
        const uint32_t value = id++ % valueCount;
        require(rs_addRuleToRuleSet(set, rule.data(), static_cast<uint32_t>(rule.size()), value,
                                    id) == RULE_OK,
                "a rule was refused");
    }
    return OwnedSet(set);
}

inline OwnedGroup buildGroup(const OwnedSet& set) {
    RuleGroup* group = nullptr;
    require(rs_buildRuleGroup(set.get(), &group) == RULE_OK, "the build failed");
    return OwnedGroup(group);
}

// The time of an iteration divided by the number of rules.
inline void countRules(benchmark::State& state, size_t count) {
    state.counters["per_rule"] = benchmark::Counter(
        static_cast<double>(count),
        benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

// Measures builds of a set; taking the group down again is not measured.
inline void measureBuild(benchmark::State& state, const OwnedSet& set, size_t count) {
    for ([[maybe_unused]] auto unused : state) {
        OwnedGroup group = buildGroup(set);
        benchmark::DoNotOptimize(group.get());
        state.PauseTiming();
        group.reset();
        state.ResumeTiming();
    }
    countRules(state, count);
}

}  // namespace bench
