// The structures of an IP group, made by plain insertion: each rule on a way down from the root of a tree, and with walks
// over entries and buckets to find duplicates. A build must make the very same ones.
#pragma once

#include <ruleset.h>

#include <string>
#include <vector>

#include "ip/ip_index.h"

namespace rs::test {

// What a table holds, a line for each node and each host entry, and what was given back meanwhile. A line of a node
// has its place in the tree (L and R from the root), colour, key and entries.
struct IpTableContent {
    std::vector<std::string> hosts;  // in the order of buckets
    std::vector<std::string> ipv4Ranges;
    std::vector<std::string> ipv6Hosts;
    std::vector<std::string> ipv6Ranges;
    std::vector<void*> givenBack;
    bool operator==(const IpTableContent&) const = default;
};

IpTableContent contentOf(const IpRuleTable& table, const std::vector<void*>& givenBack);

// What a first build of the set must hold and give back. The set has a callback.
IpTableContent plainContentOf(RuleSet& set);

}  // namespace rs::test
