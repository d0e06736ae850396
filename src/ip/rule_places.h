// Where the rules of a list are in the order of all their addresses. Rules are compared by these places afterwards,
// which are numbers of 32 bits for addresses of both widths.
//
//     rules    10.0.0.1-10.0.0.4    10.0.0.9    10.0.0.3-10.0.0.8    10.0.0.2    10.0.0.9
//
//     ranges   rank      0         1         2         3              a range ends before its end rank
//              address   10.0.0.1  10.0.0.3  10.0.0.5  10.0.0.9
//              places    0 to 2 |  1 to 3
//
//     hosts    rank      0         1
//              address   10.0.0.2  10.0.0.9
//              places    1 | 0 | -                                    the last one is a duplicate
//
// A position is that of a rule among the rules of its kind, hosts or ranges, counted from 0 in rule order.
//
// Invariants: the IPv4 rules among the hosts, and among the ranges, are in the same order in both views.
// Threads:    none; it lives during a build.
// Cost:       linear, apart from addresses that are equal in many bytes. 4 bytes a host and up to 20 for its address;
//             12 a range and up to 40 for its ends. Twice as much while addresses are sorted.
#pragma once

#include <cstdint>

#include "core/rule_set.h"
#include "ip/address_order.h"
#include "ip/build_array.h"
#include "ip/ip_rule.h"

namespace rs {

[[nodiscard]] bool isSingle(const IpRule& rule) noexcept;

// Whether a rule is in the 32-bit structures: one of IPv4, or one whose addresses are IPv4-mapped.
[[nodiscard]] bool hasIpv4View(const IpRule& rule) noexcept;

// The place of a host whose address and ruleValue are those of an earlier rule.
inline constexpr uint32_t DUPLICATE_HOST = UINT32_MAX;

struct HostPlaces {
    uint32_t count;
    uint32_t ipv4Count;  // of those in the 32-bit structures
    BuildArray<uint32_t> ranks;
    AddressTable addresses;
};

struct RangePlace {
    uint32_t low;
    uint32_t end;  // the rank of the first address after the range, or the number of addresses
};

struct RangePlaces {
    uint32_t count;
    uint32_t ipv4Count;
    BuildArray<RangePlace> ranges;
    BuildArray<uint32_t> values;  // the ruleValues
    AddressTable addresses;
};

struct RulePlaces {
    HostPlaces hosts;
    RangePlaces ranges;
};

// Fills zero-filled places. False when memory is out.
[[nodiscard]] bool placeRules(RuleList& rules, RulePlaces& places) noexcept;

}  // namespace rs
