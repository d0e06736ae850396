#include "packetfilter/packet_filter_match.h"

#include "core/port_list.h"
#include "endpoint/entry_walk.h"
#include "endpoint/exact_table.h"

namespace rs {

namespace {

// Only the last words of the bounds count in the IPv4 view.
bool coversSecond(const FilterEntry& entry, uint32_t address) noexcept {
    return entry.secondAddressStart.words[3] <= address &&
           address <= entry.secondAddressEnd.words[3];
}

uint32_t firstWordOf(uint32_t address) noexcept {
    return address;
}

uint32_t firstWordOf(const Address128& address) noexcept {
    return address.words[0];
}

bool coversSecond(const FilterEntry& entry, const Address128& address) noexcept {
    return compareIPv6(address, entry.secondAddressStart) >= 0 &&
           compareIPv6(entry.secondAddressEnd, address) >= 0;
}

// What an entry is tested against, beside the first address.
template <typename Address>
struct FilterTest {
    uint16_t firstPort;
    Address secondAddress;
    uint16_t secondPort;

    [[nodiscard]] EndpointQuestion question() const noexcept {
        return {firstPort, secondPort, firstWordOf(secondAddress), ANY_FILTER_MASK};
    }

    int32_t operator()(const FilterEntry& entry) const noexcept {
        if (entry.firstPorts == nullptr) {
            return RULE_ERR_INVALID_ARG;
        }
        if (!holds(entry.firstPorts, firstPort) || !coversSecond(entry, secondAddress)) {
            return 0;
        }
        if (entry.secondPorts == nullptr) {
            return RULE_ERR_INVALID_ARG;
        }
        return holds(entry.secondPorts, secondPort) ? 1 : 0;
    }
};

}  // namespace

int32_t matchPacketFilter4InAll(const PacketFilterTable& table, uint32_t firstAddress,
                                uint32_t firstPort, uint32_t secondAddress, uint32_t secondPort,
                                MatchResult& result) noexcept {
    const FilterTest<uint32_t> test{lookupPort(firstPort), secondAddress, lookupPort(secondPort)};
    return combineAnswers(
        result, [&]() noexcept { return scanList(table.ipv4AnyList, test); },
        [&]() noexcept {
            return findAskedInExact(table.ipv4HostTable, table.records.nodes4, table.lookups.exact4,
                                    firstAddress, test);
        },
        [&]() noexcept {
            return findInBlocks(table.ipv4BlockIndex, table.records.spans, table.lookups.blocks4,
                                firstAddress, test);
        });
}

int32_t matchPacketFilter6InAll(const PacketFilterTable& table, const Words128& firstWords,
                                uint32_t firstPort, const Words128& secondWords,
                                uint32_t secondPort, MatchResult& result) noexcept {
    const Address128 firstAddress{firstWords};
    const FilterTest<Address128> test{lookupPort(firstPort), Address128{secondWords},
                                      lookupPort(secondPort)};
    return combineAnswers(
        result, [&]() noexcept { return scanList(table.ipv6AnyList, test); },
        [&]() noexcept {
            return findAskedInExact(table.ipv6HostTable, table.records.nodes6, table.lookups.exact6,
                                    firstAddress, test);
        },
        [&]() noexcept {
            return findInRanges(table.ipv6RangeList, table.records.buckets, table.lookups.ranges6,
                                firstAddress, test);
        });
}

}  // namespace rs
