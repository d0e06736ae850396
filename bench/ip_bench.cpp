// IP rules: adding, building, and looking up addresses that a rule covers (matchHit) and that none
// covers (matchMiss). A row is <step>/<kind of rules>/<number of rules>; see README.md for how to
// read the figures.
#include <ruleset.h>

#include <algorithm>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include <benchmark/benchmark.h>

#include "generate_rules.h"
#include "hosts.h"

namespace {

using bench::Key;
using bench::Kind;
using bench::Workload;

using bench::buildGroup;
using bench::require;
using bench::RuleGroupHandle;
using bench::RuleSetHandle;

RuleSetHandle fillSet(const Workload& workload) {
    return bench::fillSet(RULE_TYPE_IP, workload.rules, bench::VALUE_COUNT);
}

// Rules, keys and the group of one kind and size. The benchmark library calls a benchmark several
// times to find out how often to repeat it, so the last one is kept.
struct Scene {
    Workload workload;
    RuleGroupHandle group;
};

const Scene& sceneOf(Kind kind, uint32_t count) {
    static std::map<std::pair<Kind, uint32_t>, Scene> scenes;
    const auto found = scenes.find({kind, count});
    if (found != scenes.end()) {
        return found->second;
    }
    scenes.clear();
    Workload workload = bench::generateWorkload(kind, count);
    RuleGroupHandle group = buildGroup(fillSet(workload));
    return scenes.emplace(std::pair{kind, count}, Scene{std::move(workload), std::move(group)})
        .first->second;
}

void add(benchmark::State& state, Kind kind) {
    const Workload workload = bench::generateWorkload(kind, static_cast<uint32_t>(state.range(0)));
    for ([[maybe_unused]] auto unused : state) {
        RuleSetHandle set = fillSet(workload);
        benchmark::DoNotOptimize(set.get());
        state.PauseTiming();
        set.reset();
        state.ResumeTiming();
    }
    bench::countRules(state, workload.rules.size());
}

void build(benchmark::State& state, Kind kind) {
    const Workload workload = bench::generateWorkload(kind, static_cast<uint32_t>(state.range(0)));
    bench::measureBuild(state, fillSet(workload), workload.rules.size());
}

int32_t lookUp(const RuleGroup* group, const Key& key, MatchResult& result) {
    return rs_matchIPRuleGroupEx(group, key.family, key.bytes.data(), &result);
}

void match(benchmark::State& state, const RuleGroup* group, const std::vector<Key>& keys,
           int32_t answer) {
    MatchResult result{};
    for (const Key& key : keys) {
        require(lookUp(group, key, result) == answer, "a key has the wrong answer");
    }
    size_t i = 0;
    for ([[maybe_unused]] auto unused : state) {
        benchmark::DoNotOptimize(lookUp(group, keys[i], result));
        benchmark::DoNotOptimize(result);
        i = (i + 1) % bench::KEY_COUNT;
    }
}

void matchHit(benchmark::State& state, Kind kind) {
    const Scene& scene = sceneOf(kind, static_cast<uint32_t>(state.range(0)));
    match(state, scene.group.get(), scene.workload.hits, 1);
}

void matchMiss(benchmark::State& state, Kind kind) {
    const Scene& scene = sceneOf(kind, static_cast<uint32_t>(state.range(0)));
    match(state, scene.group.get(), scene.workload.misses, 0);
}

// The yardstick: a binary search in an array of as many sorted ranges, which is about the least that
// a search among them costs on the machine at hand.
void binarySearch(benchmark::State& state) {
    const auto count = static_cast<uint32_t>(state.range(0));
    bench::Random random(count);
    const std::vector<bench::Bounds> bounds = bench::generateBounds(false, count, random);
    std::vector<uint32_t> lows(count);
    std::transform(bounds.begin(), bounds.end(), lows.begin(),
                   [](const bench::Bounds& range) { return static_cast<uint32_t>(range.low); });
    std::vector<uint32_t> keys(bench::KEY_COUNT);
    for (uint32_t& key : keys) {
        key = static_cast<uint32_t>(random.next());
    }
    size_t i = 0;
    for ([[maybe_unused]] auto unused : state) {
        const auto after = std::upper_bound(lows.begin(), lows.end(), keys[i]);
        const auto place = static_cast<size_t>(after - lows.begin()) - 1;
        benchmark::DoNotOptimize(keys[i] <= bounds[place].high);
        i = (i + 1) % bench::KEY_COUNT;
    }
}

void toHundredThousand(benchmark::internal::Benchmark* rows) {
    rows->RangeMultiplier(10)->Range(1'000, 100'000);
}

void toMillion(benchmark::internal::Benchmark* rows) {
    rows->RangeMultiplier(10)->Range(1'000, 1'000'000);
}

BENCHMARK(binarySearch)->Apply(toMillion);

// A million single IPv4 addresses would take minutes: see README.md.
BENCHMARK_CAPTURE(add, ipv4_hosts, Kind::IPV4_HOSTS)
    ->Apply(toHundredThousand)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(add, ipv6_hosts, Kind::IPV6_HOSTS)
    ->Apply(toMillion)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(add, ipv4_ranges, Kind::IPV4_RANGES)
    ->Apply(toMillion)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(add, ipv6_ranges, Kind::IPV6_RANGES)
    ->Apply(toMillion)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(add, ipv4_overlapping, Kind::IPV4_OVERLAPPING)
    ->Apply(toHundredThousand)
    ->Unit(benchmark::kMillisecond);

BENCHMARK_CAPTURE(build, ipv4_hosts, Kind::IPV4_HOSTS)
    ->Apply(toHundredThousand)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(build, ipv6_hosts, Kind::IPV6_HOSTS)
    ->Apply(toMillion)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(build, ipv4_ranges, Kind::IPV4_RANGES)
    ->Apply(toMillion)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(build, ipv6_ranges, Kind::IPV6_RANGES)
    ->Apply(toMillion)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(build, ipv4_overlapping, Kind::IPV4_OVERLAPPING)
    ->Apply(toHundredThousand)
    ->Unit(benchmark::kMillisecond);

BENCHMARK_CAPTURE(matchHit, ipv4_hosts, Kind::IPV4_HOSTS)->Apply(toHundredThousand);
BENCHMARK_CAPTURE(matchHit, ipv6_hosts, Kind::IPV6_HOSTS)->Apply(toMillion);
BENCHMARK_CAPTURE(matchHit, ipv4_ranges, Kind::IPV4_RANGES)->Apply(toMillion);
BENCHMARK_CAPTURE(matchHit, ipv6_ranges, Kind::IPV6_RANGES)->Apply(toMillion);
BENCHMARK_CAPTURE(matchHit, ipv4_overlapping, Kind::IPV4_OVERLAPPING)->Apply(toHundredThousand);

BENCHMARK_CAPTURE(matchMiss, ipv4_hosts, Kind::IPV4_HOSTS)->Apply(toHundredThousand);
BENCHMARK_CAPTURE(matchMiss, ipv6_hosts, Kind::IPV6_HOSTS)->Apply(toMillion);
BENCHMARK_CAPTURE(matchMiss, ipv4_ranges, Kind::IPV4_RANGES)->Apply(toMillion);
BENCHMARK_CAPTURE(matchMiss, ipv6_ranges, Kind::IPV6_RANGES)->Apply(toMillion);

}  // namespace
