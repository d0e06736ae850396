#include "prefixes.h"

#include <ruleset.h>

#include <absl/container/flat_hash_set.h>
#include <algorithm>
#include <utility>

#include "random.h"

namespace bench {
namespace {

// One in five thousand is shorter than /16, so that most of the addresses have no rule.
uint32_t ipv4Length(Random& random) {
    const uint64_t dice = random.below(5'000);
    if (dice == 0) {
        return static_cast<uint32_t>(random.between(8, 15));
    }
    if (dice < 150) {
        return static_cast<uint32_t>(random.between(16, 19));
    }
    if (dice < 1'250) {
        return static_cast<uint32_t>(random.between(20, 23));
    }
    return dice < 4'750 ? 24 : static_cast<uint32_t>(random.between(25, 32));
}

uint32_t ipv6Length(Random& random) {
    const uint64_t dice = random.below(100);
    if (dice < 3) {
        return 32;
    }
    if (dice < 20) {
        return static_cast<uint32_t>(random.between(33, 40));
    }
    if (dice < 40) {
        return static_cast<uint32_t>(random.between(41, 47));
    }
    return dice < 90 ? 48 : static_cast<uint32_t>(random.between(49, 64));
}

Ipv4 anyAddress(uint32_t /*count*/, Random& random, Ipv4 /*family*/) {
    return static_cast<Ipv4>(random.next());
}

// Eight prefixes share a /32 on average.
Ipv6 anyAddress(uint32_t count, Random& random, const Ipv6& /*family*/) {
    const uint64_t site =
        mix(random.below(count / 8 + 1)) >> 35U;  // 29 bits, after those of 2000::/3
    return {uint64_t{1} << 61U | site << 32U | random.next() >> 32U, random.next()};
}

Interval<Ipv4> intervalOf(Ipv4 first, uint32_t length) {
    return {first, first | (length == 32 ? 0 : UINT32_MAX >> length)};
}
Interval<Ipv6> intervalOf(const Ipv6& first, uint32_t length) {
    return {first, {first.high | (length == 64 ? 0 : UINT64_MAX >> length), UINT64_MAX}};
}

template <typename Address>
Intervals<Address> makeRoutes(uint32_t count, uint32_t (*lengthOf)(Random& random)) {
    Random random(count);
    absl::flat_hash_set<std::pair<Address, uint32_t>> known;
    Intervals<Address> routes;
    while (routes.size() < count) {
        const uint32_t length = lengthOf(random);
        const Address first = firstBits(anyAddress(count, random, Address{}), length);
        if (known.emplace(first, length).second) {
            routes.push_back(intervalOf(first, length));
        }
    }
    std::stable_sort(routes.begin(), routes.end(), [](const auto& left, const auto& right) {
        return prefixLength(left) > prefixLength(right);
    });
    return routes;
}

template <typename Address>
TextList textsOf(const Intervals<Address>& routes) {
    TextList texts;
    for (const Interval<Address>& route : routes) {
        texts.add(textOf(route.first) + "/" + std::to_string(prefixLength(route)));
    }
    return texts;
}

}  // namespace

RuleList makeIpv4Routes(uint32_t count, const std::string& /*directory*/) {
    Intervals<Ipv4> routes = makeRoutes<Ipv4>(count, ipv4Length);
    TextList texts = textsOf(routes);
    return {RULE_TYPE_IP, std::move(texts), std::move(routes), {}};
}

RuleList makeIpv6Routes(uint32_t count, const std::string& /*directory*/) {
    Intervals<Ipv6> routes = makeRoutes<Ipv6>(count, ipv6Length);
    TextList texts = textsOf(routes);
    return {RULE_TYPE_IP, std::move(texts), {}, std::move(routes)};
}

}  // namespace bench
