// Lookups in compiled IP:Port rules: index + endpoints -> MatchResult.
//
//     10.0.0.1 port 80 to 192.168.1.1 port 443, mask 4
//       first address     finds the entries: anyFirst4, exact4, blocks4 or anyFirst6, exact6, ranges6
//       all the rest      is tested against each entry found
//
// Of a port only the low 16 bits count. Both lookups of a pair return 1 with the winning rule in
// result, or 0 with result left alone. RULE_ERR_INVALID_ARG for an index with an entry that misses
// one of its lists; result may then hold what earlier structures answered.
//
// Ownership:  result borrows userData from the index.
// Threads:    lookups only read; any number of threads may look up in one index.
// Cost:       an index of single first addresses and nothing else is mostly asked within the caller, in two
//             cache misses. Otherwise a walk over the entries for every first address; a hash probe and a
//             walk over those for this one; a logarithm of steps in the ranges, and a walk over the entries of those that
//             hold it. Each walk ends at the first entry that covers.
#pragma once

#include <ruleset.h>

#include <bit>
#include <cstdint>

#include "core/port_list.h"
#include "endpoint/exact_table.h"
#include "ipport/ip_port_index.h"
#include "syntax/address128.h"

namespace rs {

// The lookups of any index. Addresses of 128 bits are the words of an Address128.
[[nodiscard]] int32_t matchIpPortPair4InAll(const IpPortIndex& index, uint32_t firstAddress,
                                            uint32_t firstPort, uint32_t secondAddress,
                                            uint32_t secondPort, uint32_t mask,
                                            MatchResult& result) noexcept;
[[nodiscard]] int32_t matchIpPortPair6InAll(const IpPortIndex& index, const Words128& firstAddress,
                                            uint32_t firstPort, const Words128& secondAddress,
                                            uint32_t secondPort, uint32_t mask,
                                            MatchResult& result) noexcept;

[[nodiscard]] inline int32_t matchIpPortPair4(const IpPortIndex& index, uint32_t firstAddress,
                                              uint32_t firstPort, uint32_t secondAddress,
                                              uint32_t secondPort, uint32_t mask,
                                              MatchResult& result) noexcept {
    const auto askAll = [&]() noexcept {
        return matchIpPortPair4InAll(index, firstAddress, firstPort, secondAddress, secondPort,
                                     mask, result);
    };
    if (!index.lookups.hasOnlyExact4) {
        return askAll();
    }
    return askOnlyExact(index.lookups.exact4, firstAddress,
                        {lookupPort(firstPort), lookupPort(secondPort), secondAddress, mask},
                        result, askAll);
}

[[nodiscard]] inline int32_t matchIpPortPair6(const IpPortIndex& index,
                                              const Words128& firstAddress, uint32_t firstPort,
                                              const Words128& secondAddress, uint32_t secondPort,
                                              uint32_t mask, MatchResult& result) noexcept {
    const auto askAll = [&]() noexcept {
        return matchIpPortPair6InAll(index, firstAddress, firstPort, secondAddress, secondPort,
                                     mask, result);
    };
    if (!index.lookups.hasOnlyExact6) {
        return askAll();
    }
    return askOnlyExact(index.lookups.exact6, std::bit_cast<AddressHalves>(firstAddress),
                        {lookupPort(firstPort), lookupPort(secondPort), secondAddress[0], mask},
                        result, askAll);
}

[[nodiscard]] inline int32_t matchIpPortPair6(const IpPortIndex& index,
                                              const Address128& firstAddress, uint32_t firstPort,
                                              const Address128& secondAddress, uint32_t secondPort,
                                              uint32_t mask, MatchResult& result) noexcept {
    return matchIpPortPair6(index, firstAddress.words, firstPort, secondAddress.words, secondPort,
                            mask, result);
}

// Whether the second endpoint of any rule covers an address and port: 1, 0, or RULE_ERR_INVALID_ARG
// as above. A walk over all entries.
[[nodiscard]] int32_t matchSecondEndpoint4(const IpPortIndex& index, uint32_t address,
                                           uint32_t port) noexcept;
[[nodiscard]] int32_t matchSecondEndpoint6(const IpPortIndex& index, const Address128& address,
                                           uint32_t port) noexcept;

}  // namespace rs
