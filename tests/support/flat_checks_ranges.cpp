#include "support/flat_checks_ranges.h"

#include <algorithm>
#include <cstdint>

#include <gtest/gtest.h>

#include "core/slab.h"
#include "ip/ip_flat_ranges.h"
#include "ip/ip_match.h"
#include "syntax/address128.h"

namespace rs::test {

namespace {

// Of more nodes than this only some are compared.
constexpr uint32_t MOST_COMPARED = 5000;

// Both ways give the entry of an address.
template <typename Address, typename FindEntry, typename FindOrdered>
void checkRanges(const Slab<IntervalNode<Address>>& nodes, const FindEntry& findEntry,
                 const FindOrdered& findOrdered) {
    uint64_t failures = 0;
    const auto compare = [&](const Address& address) {
        failures += findEntry(address) == findOrdered(address) ? 0 : 1;
    };
    compare(Address{});
    compare(previousAddress(Address{}));
    const uint32_t step = std::max(uint32_t{1}, nodes.count / MOST_COMPARED);
    for (uint32_t i = 0; i < nodes.count; i += step) {
        for (const Address& end : {recordAt(nodes, i).key.low, recordAt(nodes, i).key.high}) {
            compare(previousAddress(end));
            compare(end);
            compare(nextAddress(end));
        }
    }
    EXPECT_EQ(0U, failures);
}

}  // namespace

void checkFlatIpRanges(const IpRuleTable& table) {
    if (table.flatIpv4Ranges != nullptr) {
        checkRanges<uint32_t>(
            table.ipv4RangeNodes,
            [&table](uint32_t address) { return findIpv4Interval(table, address); },
            [&table](uint32_t address) { return findIpv4IntervalOrdered(table, address); });
    }
    if (table.flatIpv6Ranges != nullptr || hasMirroredRanges(table)) {
        checkRanges<Address128>(
            table.ipv6RangeNodes,
            [&table](const Address128& address) { return findIpv6Interval(table, address); },
            [&table](const Address128& address) {
                return findIpv6IntervalOrdered(table, address);
            });
    }
}

}  // namespace rs::test
