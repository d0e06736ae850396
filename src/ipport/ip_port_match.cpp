// Compiled IP:Port rules + endpoints -> MatchResult.
#include <ruleset_static.h>

#include "core/rule_group.h"
#include "endpoint/endpoint_structures.h"
#include "ipport/ip_port_index.h"

namespace rs {

namespace {

// What an entry is tested against, beside the first address.
struct PairTest {
    uint16_t firstPort;
    Address128 secondAddress;  // in the form that the lists of the view have
    uint16_t secondPort;
    uint32_t mask;

    int32_t operator()(const CompiledIpPortRule& entry) const noexcept {
        if (entry.firstPorts == nullptr || entry.secondAddresses == nullptr ||
            entry.secondPorts == nullptr) {
            return RULE_ERR_INVALID_ARG;
        }
        const bool passes = holds(entry.firstPorts, firstPort) &&
                            holds(entry.secondAddresses, secondAddress) &&
                            holds(entry.secondPorts, secondPort) && (entry.ruleMask & mask) != 0;
        return passes ? 1 : 0;
    }
};

struct SecondEndpointTest {
    Address128 address;  // as in PairTest
    uint16_t port;

    int32_t operator()(const CompiledIpPortRule& entry) const noexcept {
        if (entry.secondAddresses == nullptr || entry.secondPorts == nullptr) {
            return RULE_ERR_INVALID_ARG;
        }
        return holds(entry.secondAddresses, address) && holds(entry.secondPorts, port) ? 1 : 0;
    }
};

bool canMatch(const RuleGroup* group) noexcept {
    return group != nullptr && group->ipPortIndex != nullptr;
}

// The first answer but 0 over the entries of all nodes of an exact table.
template <typename Address>
int32_t scanWholeTable(HashTable* table, const SecondEndpointTest& test) noexcept {
    const auto scanBucket = [](HashBucket* bucket, void* argument,
                               uint32_t* /*elementCount*/) noexcept -> int32_t {
        const auto& testEntry = *static_cast<const SecondEndpointTest*>(argument);
        for (ListLink* link = bucket->list.next; link != &bucket->list; link = link->next) {
            const auto* node = exactNodeOf<CompiledIpPortRule, Address>(link);
            const int32_t status = scanEntries(node->entries.first, testEntry).status;
            if (status != 0) {
                return status;
            }
        }
        return 0;
    };
    SecondEndpointTest argument = test;
    return table == nullptr ? 0 : hashVisitAll(table, &argument, scanBucket);
}

template <typename Test>
int32_t scanAllBlocks(const BlockIndex<CompiledIpPortRule>* index, const Test& test) noexcept {
    for (uint32_t block = 0; index != nullptr && block < OCTET_VALUES * OCTET_VALUES; ++block) {
        const auto* slots = index->slots[block >> 8U];
        if (slots == nullptr) {
            block |= 0xFFU;  // on to the next first octet
            continue;
        }
        for (const auto* node = slots[block & 0xFFU].first; node != nullptr; node = node->next) {
            const int32_t status = scanEntries<CompiledIpPortRule>(node->entry, test).status;
            if (status != 0) {
                return status;
            }
        }
    }
    return 0;
}

template <typename Test>
int32_t scanAllRanges(const RangeList<CompiledIpPortRule>* list, const Test& test) noexcept {
    const auto* bucket = list == nullptr ? nullptr : list->buckets.first;
    for (; bucket != nullptr; bucket = bucket->next) {
        const int32_t status = scanEntries(bucket->entries.first, test).status;
        if (status != 0) {
            return status;
        }
    }
    return 0;
}

}  // namespace

int32_t matchIpPortPair4(const RuleGroup* group, uint32_t firstAddress, uint32_t firstPort,
                         uint32_t secondAddress, uint32_t secondPort, uint32_t mask,
                         MatchResult* result) noexcept {
    if (!canMatch(group) || result == nullptr) {
        return RULE_ERR_INVALID_ARG;
    }
    const IpPortIndex& index = *group->ipPortIndex;
    const PairTest test{lookupPort(firstPort), ipv4Form(secondAddress), lookupPort(secondPort),
                        mask};
    return combineAnswers(
        *result, [&]() noexcept { return scanList(index.anyFirst4, test); },
        [&]() noexcept { return scanExact<CompiledIpPortRule>(index.exact4, firstAddress, test); },
        [&]() noexcept { return scanBlocks(index.blocks4, firstAddress, test); });
}

int32_t matchIpPortPair6(const RuleGroup* group, const AddressWords& firstAddress,
                         uint32_t firstPort, const AddressWords& secondAddress, uint32_t secondPort,
                         uint32_t mask, MatchResult* result) noexcept {
    if (!canMatch(group) || result == nullptr) {
        return RULE_ERR_INVALID_ARG;
    }
    const IpPortIndex& index = *group->ipPortIndex;
    const Address128 first{firstAddress};
    const PairTest test{lookupPort(firstPort), {secondAddress}, lookupPort(secondPort), mask};
    return combineAnswers(
        *result, [&]() noexcept { return scanList(index.anyFirst6, test); },
        [&]() noexcept { return scanExact<CompiledIpPortRule>(index.exact6, first, test); },
        [&]() noexcept { return scanRanges(index.ranges6, first, test); });
}

int32_t matchSecondEndpoint4(const RuleGroup* group, uint32_t address, uint32_t port) noexcept {
    if (!canMatch(group)) {
        return RULE_ERR_INVALID_ARG;
    }
    const IpPortIndex& index = *group->ipPortIndex;
    const SecondEndpointTest test{ipv4Form(address), lookupPort(port)};
    int32_t status = scanList(index.anyFirst4, test).status;
    if (status == 0) {
        status = scanWholeTable<uint32_t>(index.exact4, test);
    }
    return status == 0 ? scanAllBlocks(index.blocks4, test) : status;
}

int32_t matchSecondEndpoint6(const RuleGroup* group, const AddressWords& address,
                             uint32_t port) noexcept {
    if (!canMatch(group)) {
        return RULE_ERR_INVALID_ARG;
    }
    const IpPortIndex& index = *group->ipPortIndex;
    const SecondEndpointTest test{{address}, lookupPort(port)};
    int32_t status = scanList(index.anyFirst6, test).status;
    if (status == 0) {
        status = scanWholeTable<Address128>(index.exact6, test);
    }
    return status == 0 ? scanAllRanges(index.ranges6, test) : status;
}

}  // namespace rs
