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

#include <bit>
#include <cstddef>
#include <cstdint>

#include "core/entry.h"
#include "core/slab.h"
#include "ip/ip_index.h"
#include "lookup/flat_hosts.h"
#include "lookup/flat_range_tree.h"
#include "lookup/flat_ranges.h"
#include "syntax/address128.h"

namespace rs {

// The lookups of a table of ranges only, which are those of any table, too.
[[nodiscard]] int32_t matchIpv4InRanges(const IpRuleTable& table, uint32_t address,
                                        MatchResult& result) noexcept;
[[nodiscard]] int32_t matchIpv6InRanges(const IpRuleTable& table, AddressHalves key,
                                        MatchResult& result) noexcept;

// The lookups of any table.
[[nodiscard]] int32_t matchIpv4InBoth(const IpRuleTable& table, uint32_t address,
                                      MatchResult& result) noexcept;
[[nodiscard]] int32_t matchIpv6InBoth(const IpRuleTable& table, AddressHalves key,
                                      MatchResult& result) noexcept;

// The record of flatIpv6Ranges for an address, the halves of whose key stay in registers: an address in memory that is
// written in other parts than it is read in waits for all lookups before.
[[nodiscard]] inline uint32_t findIpv6Range(const FlatRanges128& ranges, uint64_t first,
                                            uint64_t second) noexcept {
    if constexpr (std::endian::native == std::endian::little) {
        return findFlatRange(ranges, __builtin_bswap64(first), __builtin_bswap64(second));
    }
    return findFlatRange(ranges, first, second);
}

// Reports the first entry of an interval by its number.
template <typename Address>
[[nodiscard]] int32_t reportRange(const Slab<RangeEntry<Address>>& entries, uint32_t number,
                                  MatchResult& result) noexcept {
    return number == NO_RECORD ? 0 : reportEntry(&recordAt(entries, number), result);
}

// An address in host order; asks hostTable and ipv4RangeTree.
//
// A table of many single addresses and nothing else is looked up here, within the caller: all ends of that way are
// jumps, and it needs no stack.
[[nodiscard]] inline int32_t matchIpv4(const IpRuleTable& table, uint32_t address,
                                       MatchResult& result) noexcept {
    if (table.onlyIpv4Hosts == nullptr) {
        return matchIpv4InRanges(table, address, result);
    }
    const HostAnswer<uint32_t>* answers = table.ipv4Answers;
    return tryFlatHost(
        prepareFlatHost(*table.onlyIpv4Hosts, address),
        [&](size_t rank) noexcept { return isSameHost(answers[rank].key, address); },
        [&](size_t rank) noexcept { return reportEntry(&answers[rank], result); },
        []() noexcept { return int32_t{0}; },
        [&]() noexcept { return matchIpv4InBoth(table, address, result); });
}

// Whether a key is that of an IPv4-mapped address.
[[nodiscard]] constexpr bool isIpv4Mapped(AddressHalves key) noexcept {
    constexpr AddressHalves MAPPED = halvesOf(hostKeyOf(mappedAddress(0)));
    constexpr AddressHalves WORD_3 = halvesOf({{0, 0, 0, UINT32_MAX}});
    return key.first == MAPPED.first && (key.second & ~WORD_3.second) == MAPPED.second;
}

// An address as its hostKeyOf; asks ipv6HostTree and ipv6RangeTree, which hold IPv4 rules in mapped form. The flat lookup
// has no mapped address, so what it finds is right, and only one that it lacks may be mapped.
[[nodiscard]] inline int32_t matchIpv6(const IpRuleTable& table, AddressHalves key,
                                       MatchResult& result) noexcept {
    if (table.onlyIpv6Hosts == nullptr) {
        return matchIpv6InRanges(table, key, result);
    }
    const HostAnswer<Address128>* answers = table.ipv6Answers;
    return tryFlatHost(
        prepareFlatHost(*table.onlyIpv6Hosts, key),
        [&](size_t rank) noexcept { return isSameHost(answers[rank].key, key); },
        [&](size_t rank) noexcept { return reportEntry(&answers[rank], result); },
        [&]() noexcept { return isIpv4Mapped(key) ? matchIpv6InBoth(table, key, result) : 0; },
        [&]() noexcept { return matchIpv6InBoth(table, key, result); });
}

[[nodiscard]] inline int32_t matchIpv6(const IpRuleTable& table, const Address128& address,
                                       MatchResult& result) noexcept {
    return matchIpv6(table, halvesOf(hostKeyOf(address)), result);
}

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

// The entries of the node of ipv4RangeTree or ipv6RangeTree that holds an address; null without one.
[[nodiscard]] const RangeEntry<uint32_t>* findIpv4Interval(const IpRuleTable& table,
                                                           uint32_t address) noexcept;
[[nodiscard]] const RangeEntry<Address128>* findIpv6Interval(const IpRuleTable& table,
                                                             const Address128& address) noexcept;

// The same by a way down the tree, whatever flat lookups there are. Tests compare the flat lookups with these.
[[nodiscard]] const RangeEntry<uint32_t>* findIpv4IntervalOrdered(const IpRuleTable& table,
                                                                  uint32_t address) noexcept;
[[nodiscard]] const RangeEntry<Address128>* findIpv6IntervalOrdered(
    const IpRuleTable& table, const Address128& address) noexcept;

}  // namespace rs
