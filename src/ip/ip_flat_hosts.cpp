#include "ip/ip_flat_hosts.h"

#include "core/lines.h"
#include "core/list.h"
#include "core/slab.h"
#include "lookup/address_hash.h"
#include "lookup/flat_hosts.h"
#include "lookup/flat_policy.h"

namespace rs {

namespace {

OwnedFlatHosts<uint32_t> buildIpv4Lookup(const Slab<HostEntry>& entries) noexcept {
    return OwnedFlatHosts<uint32_t>(
        buildFlatHosts<uint32_t>(entries.count, [&entries](const auto& add) noexcept {
            for (uint32_t i = 0; i < entries.count; ++i) {
                add(recordAt(entries, i).address, i);
            }
        }));
}

// Moves an entry and leaves the way to its new place in its links. Those of an entry that has not moved are not null.
void moveHostEntry(HostEntry& from, HostEntry& to) noexcept {
    to = from;
    from.links = {&to.links, nullptr};
}

// The entries of a slab are in rule order, which is the order of each bucket.
void moveHostEntries(IpRuleTable& table, const FlatHosts<uint32_t>& hosts,
                     HostEntry* ranked) noexcept {
    Slab<HostEntry>& entries = table.hostEntries;
    for (uint32_t rank = 0; rank < hosts.count; ++rank) {
        moveHostEntry(recordAt(entries, hosts.numbers[rank]), ranked[rank]);
    }
    forEachBucket(table.hostTable, [](HashBucket& bucket) noexcept { resetList(bucket.list); });
    HostEntry* nextOther = ranked + hosts.count;
    for (uint32_t i = 0; i < entries.count; ++i) {
        HostEntry& entry = recordAt(entries, i);
        if (entry.links.prev != nullptr) {
            moveHostEntry(entry, *nextOther++);
        }
        const uint32_t bucket = hashBucketIndex(table.hostTable, hashIPv4(entry.address));
        appendToList(table.hostTable->buckets[bucket].list, *entry.links.next);
    }
}

void buildIpv4(IpRuleTable& table) noexcept {
    OwnedFlatHosts<uint32_t> hosts = buildIpv4Lookup(table.hostEntries);
    OwnedLines<HostEntry> ranked(allocateLines<HostEntry>(table.hostEntries.count));
    if (!hosts || !ranked) {
        return;
    }
    moveHostEntries(table, *hosts, ranked.get());
    freeSlab(table.hostEntries);
    dropHostKeys(*hosts);
    dropHostNumbers(*hosts);
    table.rankedHostEntries = ranked.release();
    table.flatIpv4Hosts = hosts.release();
}

// Calls visit(node, number) for each node of an address that is IPv4-mapped, or for each other one.
template <typename Visit>
void forEachAddressNode(const Slab<AddressNode>& nodes, bool isMapped,
                        const Visit& visit) noexcept {
    for (uint32_t i = 0; i < nodes.count; ++i) {
        AddressNode& node = recordAt(nodes, i);
        if (isIpv4Mapped(node.key) == isMapped) {
            visit(node, i);
        }
    }
}

OwnedFlatHosts<Address128> buildIpv6Lookup(const Slab<AddressNode>& nodes) noexcept {
    uint32_t count = 0;
    forEachAddressNode(nodes, false, [&count](AddressNode&, uint32_t) noexcept { ++count; });
    return OwnedFlatHosts<Address128>(
        buildFlatHosts<Address128>(count, [&nodes](const auto& add) noexcept {
            forEachAddressNode(nodes, false, [&add](AddressNode& node, uint32_t number) noexcept {
                add(node.key, number);
            });
        }));
}

// Moves the entries of a node, the first to a place of its own and the others to the next places. Returns the place
// after these.
AddressEntry* moveChain(TreeNode& node, AddressEntry& first, AddressEntry* nextOther) noexcept {
    first = *static_cast<const AddressEntry*>(node.entries);
    AddressEntry* last = &first;
    while (last->next != nullptr) {
        *nextOther = *last->next;
        last->next = nextOther;
        last = nextOther++;
    }
    node.entries = &first;
    return nextOther;
}

void moveAddressEntries(IpRuleTable& table, const FlatHosts<Address128>& hosts,
                        AddressEntry* ranked) noexcept {
    AddressEntry* nextOther = ranked + hosts.count;
    const auto move = [&](TreeNode& node, uint32_t position) noexcept {
        nextOther = moveChain(node, ranked[position], nextOther);
        node.entryNumber = position;
    };
    for (uint32_t rank = 0; rank < hosts.count; ++rank) {
        move(recordAt(table.ipv6HostNodes, hosts.numbers[rank]).node, rank);
    }
    forEachAddressNode(table.ipv6HostNodes, true, [&](AddressNode& node, uint32_t) noexcept {
        const auto position = static_cast<uint32_t>(nextOther++ - ranked);
        move(node.node, position);
    });
}

void buildIpv6(IpRuleTable& table) noexcept {
    OwnedFlatHosts<Address128> hosts = buildIpv6Lookup(table.ipv6HostNodes);
    OwnedLines<AddressEntry> ranked(allocateLines<AddressEntry>(table.addressEntries.count));
    if (!hosts || !ranked) {
        return;
    }
    moveAddressEntries(table, *hosts, ranked.get());
    freeSlab(table.addressEntries);
    dropHostNumbers(*hosts);
    table.rankedAddressEntries = ranked.release();
    table.flatIpv6Hosts = hosts.release();
}

}  // namespace

void buildFlatIpHosts(IpRuleTable& table) noexcept {
    if (wantsFlat(table.hostEntries.count, FLAT_IPV4_HOSTS)) {
        buildIpv4(table);
    }
    if (wantsFlat(table.addressEntries.count, FLAT_IPV6_HOSTS)) {
        buildIpv6(table);
    }
}

}  // namespace rs
