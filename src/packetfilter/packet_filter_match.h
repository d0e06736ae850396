// Lookups in compiled packet filter rules: table + endpoints -> MatchResult.
//
//     10.0.0.1 port 80 to 192.168.1.1 port 443
//       first address     finds the entries, in the three structures of its width
//       all the rest      is tested against each entry found
//
// Of a port only the low 16 bits count; the protocol is not asked for. Return 1 with the winning rule
// in result, or 0 with result left alone. RULE_ERR_INVALID_ARG for a table with an entry that misses
// one of its lists; result may then hold what earlier structures answered.
//
// Ownership:  result borrows userData from the table.
// Threads:    lookups only read; any number of threads may look up in one table.
// Cost:       a table of single first addresses and nothing else is mostly asked within the caller, in two
//             cache misses. Otherwise a walk over the entries for every first address; a hash probe and a
//             walk over those for this one; a logarithm of steps in the ranges, and a walk over the entries of those that
//             hold it. Each walk ends at the first entry that covers.
#pragma once

#include <ruleset.h>

#include <bit>
#include <cstdint>

#include "core/port_list.h"
#include "endpoint/exact_table.h"
#include "packetfilter/packet_filter_index.h"
#include "syntax/address128.h"

namespace rs {

// The lookups of any table. Addresses of 128 bits are the words of an Address128.
[[nodiscard]] int32_t matchPacketFilter4InAll(const PacketFilterTable& table, uint32_t firstAddress,
                                              uint32_t firstPort, uint32_t secondAddress,
                                              uint32_t secondPort, MatchResult& result) noexcept;
[[nodiscard]] int32_t matchPacketFilter6InAll(const PacketFilterTable& table,
                                              const Words128& firstAddress, uint32_t firstPort,
                                              const Words128& secondAddress, uint32_t secondPort,
                                              MatchResult& result) noexcept;

[[nodiscard]] inline int32_t matchPacketFilter4(const PacketFilterTable& table,
                                                uint32_t firstAddress, uint32_t firstPort,
                                                uint32_t secondAddress, uint32_t secondPort,
                                                MatchResult& result) noexcept {
    const auto askAll = [&]() noexcept {
        return matchPacketFilter4InAll(table, firstAddress, firstPort, secondAddress, secondPort,
                                       result);
    };
    if (!table.lookups.hasOnlyExact4) {
        return askAll();
    }
    return askOnlyExact(
        table.lookups.exact4, firstAddress,
        {lookupPort(firstPort), lookupPort(secondPort), secondAddress, ANY_FILTER_MASK}, result,
        askAll);
}

[[nodiscard]] inline int32_t matchPacketFilter6(const PacketFilterTable& table,
                                                const Words128& firstAddress, uint32_t firstPort,
                                                const Words128& secondAddress, uint32_t secondPort,
                                                MatchResult& result) noexcept {
    const auto askAll = [&]() noexcept {
        return matchPacketFilter6InAll(table, firstAddress, firstPort, secondAddress, secondPort,
                                       result);
    };
    if (!table.lookups.hasOnlyExact6) {
        return askAll();
    }
    return askOnlyExact(
        table.lookups.exact6, std::bit_cast<AddressHalves>(firstAddress),
        {lookupPort(firstPort), lookupPort(secondPort), secondAddress[0], ANY_FILTER_MASK}, result,
        askAll);
}

[[nodiscard]] inline int32_t matchPacketFilter6(const PacketFilterTable& table,
                                                const Address128& firstAddress, uint32_t firstPort,
                                                const Address128& secondAddress,
                                                uint32_t secondPort, MatchResult& result) noexcept {
    return matchPacketFilter6(table, firstAddress.words, firstPort, secondAddress.words, secondPort,
                              result);
}

}  // namespace rs
