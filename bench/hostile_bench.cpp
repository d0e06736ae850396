// Rules that somebody chose to make lookups slow: what they cost, at two sizes each. A row is <step>/<kind>/<rules>.
//
//   names      host names of one hash             a.bcd..., ab.cd...: the hash passes over dots
//   hosts      URL hosts of one bucket
//   addresses  single IPv4 addresses of one bucket
//   paths      paths of one host                  /aaaaa000000*, half of them with a '*' of their own
//   nested     ranges of IPv4 addresses, each inside the one before, the widest first
//   wide       IP:Port rules whose first address spans all /16 blocks
//
// and one IP:Port rule, of 63, 630 and 4,000 bytes or so. A row is <step>/<kind>/<first addresses>:
//
//   repeated   0.0.0.0/1 again and again, with as many bytes of ports
//   ends       ranges of all /16 blocks, each with ends of its own, with as many bytes of ports
//   every      :: again and again, with as many bytes of ports
//
// A key of match is one that has to be compared with as many rules as possible.
#include <ruleset.h>
#include <ruleset_static.h>

#include <cstdint>
#include <malloc.h>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include "generate_rules.h"
#include "hosts.h"
#include "lookup/address_hash.h"
#include "url/url_index.h"

namespace {

enum class Hostile { NAMES, HOSTS, ADDRESSES, PATHS, NESTED, WIDE, REPEATED, ENDS, EVERY };

struct Attack {
    int32_t type;
    std::vector<std::string> rules;
    std::string key;  // for names and URLs
    uint32_t address = 0x7FFFFFFF;
};

constexpr uint32_t BUCKETS = 4096;
constexpr uint32_t IPV4_BUCKETS = 4095;

std::string addressText(uint32_t address) {
    return bench::textOf(bench::ipv4Key(address));
}

// Letters with dots between some of them, chosen by the bits of number.
std::string dottedName(uint32_t number) {
    std::string name;
    for (char letter = 'a'; letter <= 't'; ++letter) {
        name += letter;
        if ((number & 1U) != 0 && letter != 't') {
            name += '.';
        }
        number >>= 1U;
    }
    return name;
}

Attack namesOfOneHash(uint32_t count) {
    Attack attack{RULE_TYPE_FQDN, {}, dottedName(count)};
    for (uint32_t i = 0; i < count; ++i) {
        attack.rules.push_back(dottedName(i));
    }
    return attack;
}

Attack hostsOfOneBucket(uint32_t count) {
    Attack attack{RULE_TYPE_URL, {}, ""};
    bench::Random random(count);
    std::string host = "aaaaaaaaaa.example";
    const auto bucketOf = [&host] {
        return rs::urlHostHash(host.data(), static_cast<uint32_t>(host.size())) % BUCKETS;
    };
    const uint32_t bucket = bucketOf();
    while (attack.rules.size() <= count) {
        for (size_t i = 0; i < 10; ++i) {
            host[i] = static_cast<char>('a' + random.below(26));
        }
        if (bucketOf() == bucket) {
            attack.rules.push_back(host);
        }
    }
    attack.key = attack.rules.back();  // in the bucket, but no rule
    attack.rules.pop_back();
    return attack;
}

Attack addressesOfOneBucket(uint32_t count) {
    Attack attack{RULE_TYPE_IP, {}, ""};
    uint32_t address = 0;
    for (; attack.rules.size() <= count; ++address) {
        if (rs::hashIPv4(address) % IPV4_BUCKETS == rs::hashIPv4(0) % IPV4_BUCKETS) {
            attack.rules.push_back(addressText(address));
        }
    }
    attack.address = address - 1;  // in the bucket, but no rule
    attack.rules.pop_back();
    return attack;
}

Attack pathsOfOneHost(uint32_t count) {
    Attack attack{RULE_TYPE_URL, {}, "http://example.com/aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaa"};
    for (uint32_t i = 0; i < count; ++i) {
        const std::string number = std::to_string(i);
        attack.rules.push_back("example.com/aaaaa" +
                               (i % 2 == 0 ? "*z" : std::string(1 + i % 30, 'a')) + number);
    }
    return attack;
}

Attack nestedRanges(uint32_t count) {
    Attack attack{RULE_TYPE_IP, {}, ""};
    for (uint32_t i = 0; i < count; ++i) {
        attack.rules.push_back(addressText(i) + "-" + addressText(UINT32_MAX - i));
    }
    return attack;
}

Attack rulesForAllBlocks(uint32_t count) {
    Attack attack{RULE_TYPE_IP_PORT, {}, ""};
    for (uint32_t i = 0; i < count; ++i) {
        attack.rules.push_back(addressText(i + 1) + "-255.255.255.254;80;10.0.0.1;80;1");
    }
    return attack;
}

// One rule with count first addresses, and ports that take as many bytes.
template <typename ItemAt>
Attack ruleOfItems(uint32_t count, const ItemAt& itemAt) {
    std::string first = itemAt(0U);
    for (uint32_t i = 1; i < count; ++i) {
        first += ',' + itemAt(i);
    }
    std::string ports = "1";
    while (ports.size() + 2 <= first.size()) {
        ports += ",1";
    }
    return {RULE_TYPE_IP_PORT, {first + ';' + ports + ";10.0.0.1;80;1"}, ""};
}

Attack ruleOfOneRange(uint32_t count) {
    return ruleOfItems(count, [](uint32_t /*number*/) -> std::string { return "0.0.0.0/1"; });
}

Attack ruleOfManyEnds(uint32_t count) {
    Attack attack = ruleOfItems(count, [](uint32_t number) {
        return "0.0.0." + std::to_string(number) + "-255.255.9." + std::to_string(number);
    });
    attack.address = 0xFFFF;  // in the block of all first ends
    return attack;
}

Attack ruleOfOneAddress(uint32_t count) {
    return ruleOfItems(count, [](uint32_t /*number*/) -> std::string { return "::"; });
}

Attack attackOf(Hostile kind, uint32_t count) {
    switch (kind) {
        case Hostile::NAMES:
            return namesOfOneHash(count);
        case Hostile::HOSTS:
            return hostsOfOneBucket(count);
        case Hostile::ADDRESSES:
            return addressesOfOneBucket(count);
        case Hostile::PATHS:
            return pathsOfOneHost(count);
        case Hostile::NESTED:
            return nestedRanges(count);
        case Hostile::WIDE:
            return rulesForAllBlocks(count);
        case Hostile::REPEATED:
            return ruleOfOneRange(count);
        case Hostile::ENDS:
            return ruleOfManyEnds(count);
        case Hostile::EVERY:
            return ruleOfOneAddress(count);
    }
    return {};
}

size_t bytesInUse() {
    const auto info = mallinfo2();
    return info.uordblks + info.hblkhd;
}

void build(benchmark::State& state, Hostile kind) {
    const Attack attack = attackOf(kind, static_cast<uint32_t>(state.range(0)));
    const bench::RuleSetHandle set = bench::fillSet(attack.type, attack.rules, UINT32_MAX);
    const size_t before = bytesInUse();
    bench::RuleGroupHandle group = bench::buildGroup(set);
    const double bytes = static_cast<double>(bytesInUse() - before);
    group.reset();
    bench::measureBuild(state, set, attack.rules.size());
    state.counters["bytes_per_rule"] = bytes / static_cast<double>(attack.rules.size());
}

int32_t lookUp(Hostile kind, const RuleGroup* group, const Attack& attack, MatchResult& result) {
    const std::string& key = attack.key;
    const auto length = static_cast<uint32_t>(key.size());
    switch (kind) {
        case Hostile::NAMES:
            return rs_matchDomainNameWithRuleGroup(group, key.data(), length, &result);
        case Hostile::HOSTS:
        case Hostile::PATHS:
            return rs_matchUrlWithRuleGroup(group, key.data(), length, &result);
        case Hostile::ADDRESSES:
        case Hostile::NESTED:
            return rs_matchIPRuleGroup(group, attack.address, &result);
        case Hostile::WIDE:
        case Hostile::REPEATED:
        case Hostile::ENDS:
            return rs::matchIpPortPair4(group, attack.address, 81, 0x0A000001, 80, 1, &result);
        case Hostile::EVERY:
            return rs::matchIpPortPair6(group, {}, 81, {0, 0, 0xFFFF, 0x0A000001}, 80, 1, &result);
    }
    return 0;
}

void match(benchmark::State& state, Hostile kind) {
    const Attack attack = attackOf(kind, static_cast<uint32_t>(state.range(0)));
    const bench::RuleGroupHandle group =
        bench::buildGroup(bench::fillSet(attack.type, attack.rules, UINT32_MAX));
    MatchResult result{};
    for ([[maybe_unused]] auto unused : state) {
        benchmark::DoNotOptimize(lookUp(kind, group.get(), attack, result));
    }
}

void twoSizes(benchmark::internal::Benchmark* row) {
    row->Arg(1'000)->Arg(10'000)->Unit(benchmark::kMicrosecond);
}
void fewRules(benchmark::internal::Benchmark* row) {
    row->Arg(5)->Arg(50)->Unit(benchmark::kMicrosecond);
}
void manyRules(benchmark::internal::Benchmark* row) {
    row->Arg(10'000)->Arg(100'000)->Unit(benchmark::kMicrosecond);
}

void shortItems(benchmark::internal::Benchmark* row) {
    row->Arg(3)->Arg(30)->Arg(200)->Unit(benchmark::kMicrosecond);
}
void longItems(benchmark::internal::Benchmark* row) {
    row->Arg(1)->Arg(10)->Arg(80)->Unit(benchmark::kMicrosecond);
}
void shortestItems(benchmark::internal::Benchmark* row) {
    row->Arg(8)->Arg(100)->Arg(680)->Unit(benchmark::kMicrosecond);
}

BENCHMARK_CAPTURE(build, names, Hostile::NAMES)->Apply(twoSizes);
BENCHMARK_CAPTURE(build, hosts, Hostile::HOSTS)->Apply(twoSizes);
BENCHMARK_CAPTURE(build, addresses, Hostile::ADDRESSES)->Apply(twoSizes);
BENCHMARK_CAPTURE(build, paths, Hostile::PATHS)->Apply(manyRules);
BENCHMARK_CAPTURE(build, nested, Hostile::NESTED)->Apply(twoSizes);
BENCHMARK_CAPTURE(build, wide, Hostile::WIDE)->Apply(fewRules);
BENCHMARK_CAPTURE(build, repeated, Hostile::REPEATED)->Apply(shortItems);
BENCHMARK_CAPTURE(build, ends, Hostile::ENDS)->Apply(longItems);
BENCHMARK_CAPTURE(build, every, Hostile::EVERY)->Apply(shortestItems);

BENCHMARK_CAPTURE(match, names, Hostile::NAMES)->Apply(twoSizes);
BENCHMARK_CAPTURE(match, hosts, Hostile::HOSTS)->Apply(twoSizes);
BENCHMARK_CAPTURE(match, addresses, Hostile::ADDRESSES)->Apply(twoSizes);
BENCHMARK_CAPTURE(match, paths, Hostile::PATHS)->Apply(manyRules);
BENCHMARK_CAPTURE(match, nested, Hostile::NESTED)->Apply(twoSizes);
BENCHMARK_CAPTURE(match, wide, Hostile::WIDE)->Apply(fewRules);
BENCHMARK_CAPTURE(match, repeated, Hostile::REPEATED)->Apply(shortItems);
BENCHMARK_CAPTURE(match, ends, Hostile::ENDS)->Apply(longItems);
BENCHMARK_CAPTURE(match, every, Hostile::EVERY)->Apply(shortestItems);

}  // namespace
