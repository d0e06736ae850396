// The flat lookups of an IpRuleTable's single addresses, and its entries in the order that these want.
//
//     ipv4    flatIpv4Hosts   bucket -> rank        rankedHostEntries      | first entry of each address | the others |
//     ipv6    flatIpv6Hosts   bucket -> rank, key   rankedAddressEntries   | first entry of each address | the others |
//
// An address's first entry is at its rank, so that a lookup goes from a bucket to the entry. Entries are moved there
// from their slab when the ordered structures are complete. These then lead to the moved entries, in the same order.
//
// IPv4-mapped addresses are not in flatIpv6Hosts: the same rules are in flatIpv4Hosts.
//
// Invariants: an address of hostTable is in flatIpv4Hosts, if there is one; an address of ipv6HostTree is in
//             flatIpv6Hosts, if there is one, or is IPv4-mapped.
// Ownership:  all is the table's.
// Threads:    none while building; read-only afterwards.
// Cost:       a build reads each entry three times, in its order or in that of the ranks. Meanwhile it has the moved
//             entries twice. When memory is out for a lookup, the table goes without it.
#pragma once

#include <cstdint>

#include "ip/ip_index.h"

namespace rs {

// From how many entries on an ordered structure has a flat lookup beside it. Both ways cost 6 to 10 ns with 8 entries. With
// 16 the flat way costs 3 to 6, the chain 10 to 16 and the tree 10; with 1,024 the tree costs 23.
inline constexpr uint32_t FLAT_IPV4_HOSTS = 16;
inline constexpr uint32_t FLAT_IPV6_HOSTS = 16;

// Builds the flat lookups that the policy wants, for a table that has none and whose ordered structures are complete.
void buildFlatIpHosts(IpRuleTable& table) noexcept;

}  // namespace rs
