#include "ip/ip_flat_hosts.h"

#include <algorithm>

#include "core/entry.h"
#include "core/lines.h"
#include "core/slab.h"
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

const AddressEntry& firstEntryOf(const Slab<AddressNode>& nodes, uint32_t number) noexcept {
    return *static_cast<const AddressEntry*>(recordAt(nodes, number).node.entries);
}

// Calls visit(key, number) for the node of each address that is not IPv4-mapped. A node with several entries is
// visited twice, so that the flat lookup knows that there are more.
template <typename Visit>
void forEachIpv6Node(const Slab<AddressNode>& nodes, const Visit& visit) noexcept {
    for (uint32_t i = 0; i < nodes.count; ++i) {
        const Address128& address = recordAt(nodes, i).key;
        if (isIpv4Mapped(address)) {
            continue;
        }
        const Address128 key = hostKeyOf(address);
        visit(key, i);
        if (firstEntryOf(nodes, i).next != nullptr) {
            visit(key, i);
        }
    }
}

OwnedFlatHosts<Address128> buildIpv6Lookup(const Slab<AddressNode>& nodes) noexcept {
    uint32_t count = 0;
    forEachIpv6Node(nodes, [&count](const Address128&, uint32_t) noexcept { ++count; });
    return OwnedFlatHosts<Address128>(buildFlatHosts<Address128>(
        count, [&nodes](const auto& add) noexcept { forEachIpv6Node(nodes, add); }));
}

// The answers of all ranks; null when memory is out. entryOf(number) is the first entry of an address.
template <typename Address, typename EntryOf>
OwnedLines<HostAnswer<Address>> makeAnswers(const FlatHosts<Address>& hosts,
                                            const EntryOf& entryOf) noexcept {
    OwnedLines<HostAnswer<Address>> answers(
        allocateLines<HostAnswer<Address>>(std::max(hosts.count, uint32_t{1})));
    if (answers) {
        for (uint32_t rank = 0; rank < hosts.count; ++rank) {
            HostAnswer<Address>& answer = answers.get()[rank];
            const auto& entry = entryOf(hosts.numbers[rank]);
            answer.key = hosts.keys[rank];
            fillEntry(entry, entry.ruleIndex, answer);
        }
    }
    return answers;
}

template <typename Address, typename EntryOf>
void buildAnswers(OwnedFlatHosts<Address> hosts, const EntryOf& entryOf,
                  FlatHosts<Address>*& hostsSlot, HostAnswer<Address>*& answersSlot) noexcept {
    if (!hosts) {
        return;
    }
    OwnedLines<HostAnswer<Address>> answers = makeAnswers(*hosts, entryOf);
    if (!answers) {
        return;
    }
    dropHostKeys(*hosts);  // answers have them
    dropHostNumbers(*hosts);
    hostsSlot = hosts.release();
    answersSlot = answers.release();
}

}  // namespace

void buildFlatIpHosts(IpRuleTable& table) noexcept {
    if (wantsFlat(table.hostEntries.count, FLAT_IPV4_HOSTS)) {
        buildAnswers(
            buildIpv4Lookup(table.hostEntries),
            [&table](uint32_t number) noexcept -> const HostEntry& {
                return recordAt(table.hostEntries, number);
            },
            table.flatIpv4Hosts, table.ipv4Answers);
    }
    if (wantsFlat(table.addressEntries.count, FLAT_IPV6_HOSTS)) {
        buildAnswers(
            buildIpv6Lookup(table.ipv6HostNodes),
            [&table](uint32_t number) noexcept -> const AddressEntry& {
                return firstEntryOf(table.ipv6HostNodes, number);
            },
            table.flatIpv6Hosts, table.ipv6Answers);
    }
    table.onlyIpv4Hosts = table.ipv4RangeTree == nullptr ? table.flatIpv4Hosts : nullptr;
    table.onlyIpv6Hosts = table.ipv6RangeTree == nullptr ? table.flatIpv6Hosts : nullptr;
}

}  // namespace rs
