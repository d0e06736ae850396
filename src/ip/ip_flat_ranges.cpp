#include "ip/ip_flat_ranges.h"

#include "core/slab.h"
#include "lookup/flat_policy.h"
#include "lookup/flat_range_tree.h"
#include "lookup/flat_ranges.h"
#include "lookup/range_starts.h"

namespace rs {

namespace {

template <typename Address>
FlatRanges<Address>* buildRanges(const Slab<IntervalNode<Address>>& nodes) noexcept {
    FlatRangeStarts<Address> starts;
    if (!starts.reserve(nodes.count)) {
        return nullptr;
    }
    for (uint32_t i = 0; i < nodes.count; ++i) {
        const IntervalNode<Address>& record = recordAt(nodes, i);
        starts.add(record.key.low, record.key.high, record.node.entryNumber);
    }
    starts.finish();
    return buildFlatRanges(starts);
}

}  // namespace

void buildFlatIpRanges(IpRuleTable& table) noexcept {
    if (wantsFlat(table.ipv4RangeNodes.count, FLAT_IPV4_RANGES)) {
        table.flatIpv4Ranges = buildRanges(table.ipv4RangeNodes);
    }
    if (wantsFlat(table.ipv6RangeNodes.count, FLAT_IPV6_RANGES) && !hasMirroredRanges(table)) {
        table.flatIpv6Ranges = buildRanges(table.ipv6RangeNodes);
    }
    table.onlyIpv4Ranges = table.hostTable == nullptr ? table.flatIpv4Ranges : nullptr;
    table.onlyIpv6Ranges = table.ipv6HostTree == nullptr ? table.flatIpv6Ranges : nullptr;
}

}  // namespace rs
