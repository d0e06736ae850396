// Keys to look up in a list: hits lie inside of random rules, misses are next to rules and no rule covers them.
//
// Every key set is in random order. isCovered(key) tells what the list covers; a peer answers it.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "lists.h"
#include "random.h"

namespace bench {

inline Ipv4 randomAddress(const Interval<Ipv4>& range, Random& random) {
    return static_cast<Ipv4>(random.between(range.first, range.last));
}

inline Ipv6 randomAddress(const Interval<Ipv6>& range, Random& random) {
    const Ipv6 address = {
        range.first.high + (range.first.high == range.last.high
                                ? 0
                                : random.between(0, range.last.high - range.first.high)),
        random.next()};
    return range.first == range.last ? range.first : std::clamp(address, range.first, range.last);
}

inline Ipv4 neighbour(Ipv4 last, Random& random) {
    return last + static_cast<Ipv4>(random.between(1, 64));
}

inline Ipv6 neighbour(Ipv6 last, Random& random) {
    Ipv6 address = after(last);
    address.low += random.below(64);
    return address;
}

template <typename Address>
std::vector<Address> addressHits(const Intervals<Address>& rules, size_t count) {
    Random random(rules.size() + 1);
    std::vector<Address> keys(count);
    std::generate(keys.begin(), keys.end(),
                  [&] { return randomAddress(rules[random.below(rules.size())], random); });
    return keys;
}

template <typename Address, typename IsCovered>
std::vector<Address> addressMisses(const Intervals<Address>& rules, size_t count,
                                   const IsCovered& isCovered) {
    Random random(rules.size() + 2);
    std::vector<Address> keys;
    keys.reserve(count);
    while (keys.size() < count) {
        const Address key = neighbour(rules[random.below(rules.size())].last, random);
        if (!isCovered(key)) {
            keys.push_back(key);
        }
    }
    return keys;
}

// Names of rules with a label or two in front.
TextList nameHits(const TextList& rules, size_t count);

// Names of another list with none to two labels in front; benign names when there are some.
TextList nameMissCandidates(const TextList& benignNames, size_t count);

// A scheme, and half of the time more of a path after that of the rule.
TextList urlHits(const TextList& rules, size_t count);

// Three in four with another host, the others with another path.
TextList urlMissCandidates(const TextList& rules, size_t count);

template <typename IsCovered>
TextList withoutCovered(const TextList& candidates, const IsCovered& isCovered) {
    TextList keys;
    for (size_t i = 0; i < candidates.size(); ++i) {
        if (!isCovered(candidates[i])) {
            keys.add(candidates[i]);
        }
    }
    return keys;
}

// As users write them: one name in sixteen begins with a capital.
TextList asWritten(const TextList& names);

// In wire form, with the zero byte at the end.
TextList inWireForm(const TextList& names);

}  // namespace bench
