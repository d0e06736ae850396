// IP:Port and packet filter rules: building sets of distinct ranges of first addresses, and looking pairs of endpoints up
// that a rule covers. A row is <step>/<type>/<number of rules>. Equal ranges share an entry, so each rule of a build
// looks for its range among those before it: per_rule must not grow with their number.
#include <ruleset.h>
#include <ruleset_static.h>

#include <cstdint>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include "generate_rules.h"
#include "hosts.h"

namespace {

using bench::Kind;
using bench::RuleSetHandle;

constexpr uint32_t VALUES = 8;

// Disjoint ranges of IPv6 addresses, each as the first address of a rule.
std::vector<std::string> endpointRules(int32_t type, uint32_t count) {
    std::vector<std::string> rules = bench::generateWorkload(Kind::IPV6_RANGES, count).rules;
    const bool isFilter = type == RULE_TYPE_PACKET_FILTER;
    for (std::string& rule : rules) {
        rule.insert(0, isFilter ? "tcp;" : "");
        rule += isFilter ? ";80,443;*;*" : ";80,443;*;*;1";
    }
    return rules;
}

void build(benchmark::State& state, int32_t type) {
    const std::vector<std::string> rules =
        endpointRules(type, static_cast<uint32_t>(state.range(0)));
    bench::measureBuild(state, bench::fillSet(type, rules, VALUES), rules.size());
}

rs::AddressWords wordsOf(const bench::Key& key) {
    rs::AddressWords words{};
    for (uint32_t i = 0; i < 16; ++i) {
        words[i / 4] = words[i / 4] << 8U | key.bytes[i];
    }
    return words;
}

int32_t lookUp(int32_t type, const RuleGroup* group, const rs::AddressWords& first,
               MatchResult& result) {
    constexpr rs::AddressWords SECOND = {0x20010DB8, 0, 0, 1};
    return type == RULE_TYPE_IP_PORT
               ? rs::matchIpPortPair6(group, first, 443, SECOND, 1, 1, &result)
               : rs::matchPacketFilter6(group, first, 443, SECOND, 1, &result);
}

void matchHit(benchmark::State& state, int32_t type) {
    const auto count = static_cast<uint32_t>(state.range(0));
    const bench::RuleGroupHandle group =
        bench::buildGroup(bench::fillSet(type, endpointRules(type, count), VALUES));
    const std::vector<bench::Key> hits = bench::generateWorkload(Kind::IPV6_RANGES, count).hits;
    MatchResult result{};
    size_t i = 0;
    for ([[maybe_unused]] auto unused : state) {
        bench::require(lookUp(type, group.get(), wordsOf(hits[i]), result) == 1,
                       "a key has the wrong answer");
        i = (i + 1) % hits.size();
    }
}

void sizes(benchmark::internal::Benchmark* row) {
    row->Arg(2'000)->Arg(20'000)->Arg(200'000);
}

BENCHMARK_CAPTURE(build, ip_port, RULE_TYPE_IP_PORT)->Apply(sizes)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(build, packet_filter, RULE_TYPE_PACKET_FILTER)
    ->Apply(sizes)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(matchHit, ip_port, RULE_TYPE_IP_PORT)->Arg(2'000);
BENCHMARK_CAPTURE(matchHit, packet_filter, RULE_TYPE_PACKET_FILTER)->Arg(2'000);

}  // namespace
