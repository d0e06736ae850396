// Compiled IP rules + address -> MatchResult.
//
// Each lookup asks two structures and reports the rule added earlier. It returns 1 with result
// filled, or 0 with result left alone.
//
// Threads:    lookups only read; any number of threads may look up in one table.
// Cost:       a crowded table has flat lookups: a few cache misses. Otherwise one hash probe and one descent (IPv4), two
//             descents (IPv6). Lookups for one ruleValue walk the entries of what they find, unless the first entry
//             decides. Nothing is allocated.
#pragma once

#include <ruleset.h>

#include <cstdint>

#include "ip/ip_index.h"
#include "syntax/address128.h"

namespace rs {

// An address in host order; asks hostTable and ipv4RangeTree.
[[nodiscard]] int32_t matchIpv4(const IpRuleTable& table, uint32_t address,
                                MatchResult& result) noexcept;

// Asks ipv6HostTree and ipv6RangeTree, which hold IPv4 rules in mapped form.
[[nodiscard]] int32_t matchIpv6(const IpRuleTable& table, const Address128& address,
                                MatchResult& result) noexcept;

// The same among the rules with one ruleValue only.
[[nodiscard]] int32_t matchIpv4WithValue(const IpRuleTable& table, uint32_t address,
                                         uint32_t ruleValue, MatchResult& result) noexcept;
[[nodiscard]] int32_t matchIpv6WithValue(const IpRuleTable& table, const Address128& address,
                                         uint32_t ruleValue, MatchResult& result) noexcept;

// The same four by the ordered structures alone, which decide what is right.
[[nodiscard]] int32_t matchIpv4Ordered(const IpRuleTable& table, uint32_t address,
                                       MatchResult& result) noexcept;
[[nodiscard]] int32_t matchIpv6Ordered(const IpRuleTable& table, const Address128& address,
                                       MatchResult& result) noexcept;
[[nodiscard]] int32_t matchIpv4WithValueOrdered(const IpRuleTable& table, uint32_t address,
                                                uint32_t ruleValue, MatchResult& result) noexcept;
[[nodiscard]] int32_t matchIpv6WithValueOrdered(const IpRuleTable& table, const Address128& address,
                                                uint32_t ruleValue, MatchResult& result) noexcept;

// The entries of the node of ipv4RangeTree or ipv6RangeTree that holds an address, by a way down the tree, whatever flat
// lookups there are; null without one. Tests compare the flat lookups with these.
[[nodiscard]] const RangeEntry<uint32_t>* findIpv4IntervalOrdered(const IpRuleTable& table,
                                                                  uint32_t address) noexcept;
[[nodiscard]] const RangeEntry<Address128>* findIpv6IntervalOrdered(
    const IpRuleTable& table, const Address128& address) noexcept;

}  // namespace rs
