// The flat lookups of an IpRuleTable's single addresses, and what they report.
//
//     flatIpv4Hosts   bucket -> rank
//     ipv4Answers     | 10.0.0.7  rule 4 | 10.0.0.1  rule 9 | ...       the first rule of each address, by rank
//
//     flatIpv6Hosts, ipv6Answers     the same of 128-bit addresses
//
// An answer is all that a lookup reads after a bucket: 24 or 40 bytes at one place. An entry is longer, by the links of its
// bucket or chain, and has its address elsewhere in the case of 128 bits. Entries stay where they are: they own userData,
// and lookups for one ruleValue ask for those after the first.
//
// IPv4-mapped addresses are not in flatIpv6Hosts: the same rules are in flatIpv4Hosts.
//
// Invariants: an address of hostTable is in flatIpv4Hosts, if there is one; an address of ipv6HostTree is in
//             flatIpv6Hosts, if there is one, or is IPv4-mapped. The answer of a rank says what the first entry of its
//             address says.
// Ownership:  all is the table's; userData is that of the entries.
// Threads:    none while building; read-only afterwards.
// Cost:       a build reads each entry three times, in its order or in that of the ranks. An IPv4 address takes 24 bytes
//             for its answer, another one 40. When memory is out for a lookup, the table goes without it.
#pragma once

#include <cstdint>

#include "ip/ip_index.h"

namespace rs {

// From how many entries on an ordered structure has a flat lookup beside it. In one run on a busy machine, random hits
// and misses cost 48 to 58 ns by the chain and 77 to 90 by the tree with 8 and 15 entries. The flat way cost 3 to 16 and
// 16 to 31 with 16 and 32. Such figures change by half from run to run, so the threshold could as well be 8.
inline constexpr uint32_t FLAT_IPV4_HOSTS = 16;
inline constexpr uint32_t FLAT_IPV6_HOSTS = 16;

// Builds the flat lookups that the policy wants, for a table that has none and whose ordered structures are complete.
void buildFlatIpHosts(IpRuleTable& table) noexcept;

}  // namespace rs
