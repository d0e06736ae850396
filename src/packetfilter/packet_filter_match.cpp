// Compiled packet filter rules + endpoints -> MatchResult.
#include <ruleset_static.h>

#include "core/rule_group.h"
#include "endpoint/entry_walk.h"
#include "packetfilter/packet_filter_index.h"

namespace rs {

namespace {

// Only the last words of the bounds count in the IPv4 view.
bool coversSecond(const FilterEntry& entry, uint32_t address) noexcept {
    return entry.secondAddressStart.words[3] <= address &&
           address <= entry.secondAddressEnd.words[3];
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

bool canMatch(const RuleGroup* group, const MatchResult* result) noexcept {
    return group != nullptr && result != nullptr && group->packetFilterTable != nullptr;
}

}  // namespace

int32_t matchPacketFilter4(const RuleGroup* group, uint32_t firstAddress, uint32_t firstPort,
                           uint32_t secondAddress, uint32_t secondPort,
                           MatchResult* result) noexcept {
    if (!canMatch(group, result)) {
        return RULE_ERR_INVALID_ARG;
    }
    const PacketFilterTable& table = *group->packetFilterTable;
    const FilterTest<uint32_t> test{lookupPort(firstPort), secondAddress, lookupPort(secondPort)};
    return combineAnswers(
        *result, [&]() noexcept { return scanList(table.ipv4AnyList, test); },
        [&]() noexcept { return scanExact<FilterEntry>(table.ipv4HostTable, firstAddress, test); },
        [&]() noexcept { return scanBlocks(table.ipv4BlockIndex, firstAddress, test); });
}

int32_t matchPacketFilter6(const RuleGroup* group, const AddressWords& firstAddress,
                           uint32_t firstPort, const AddressWords& secondAddress,
                           uint32_t secondPort, MatchResult* result) noexcept {
    if (!canMatch(group, result)) {
        return RULE_ERR_INVALID_ARG;
    }
    const PacketFilterTable& table = *group->packetFilterTable;
    const Address128 first{firstAddress};
    const FilterTest<Address128> test{
        lookupPort(firstPort), {secondAddress}, lookupPort(secondPort)};
    return combineAnswers(
        *result, [&]() noexcept { return scanList(table.ipv6AnyList, test); },
        [&]() noexcept { return scanExact<FilterEntry>(table.ipv6HostTable, first, test); },
        [&]() noexcept { return scanRanges(table.ipv6RangeList, first, test); });
}

}  // namespace rs
