#include "support/flat_checks_ranges.h"

#include <algorithm>
#include <cstdint>

#include <gtest/gtest.h>

#include "core/slab.h"
#include "ip/ip_match.h"
#include "lookup/flat_range_tree.h"
#include "lookup/flat_ranges.h"
#include "syntax/address128.h"

namespace rs::test {

namespace {

// Of more nodes than this only some are compared.
constexpr uint32_t MOST_COMPARED = 5000;

template <typename Address, typename FindOrdered>
void checkRanges(const FlatRanges<Address>* ranges, const Slab<IntervalNode<Address>>& nodes,
                 const Slab<RangeEntry<Address>>& entries, const FindOrdered& findOrdered) {
    if (ranges == nullptr) {
        return;
    }
    uint64_t failures = 0;
    const auto compare = [&](const Address& address) {
        const uint32_t number = findFlatRange(*ranges, address);
        const RangeEntry<Address>* found =
            number == NO_RECORD ? nullptr : &recordAt(entries, number);
        failures += found == findOrdered(address) ? 0 : 1;
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
    checkRanges<uint32_t>(
        table.flatIpv4Ranges, table.ipv4RangeNodes, table.ipv4RangeEntries,
        [&table](uint32_t address) { return findIpv4IntervalOrdered(table, address); });
    checkRanges<Address128>(
        table.flatIpv6Ranges, table.ipv6RangeNodes, table.ipv6RangeEntries,
        [&table](const Address128& address) { return findIpv6IntervalOrdered(table, address); });
}

}  // namespace rs::test
