// Compiled IP:Port rules + endpoints -> MatchResult.
#include <ruleset_static.h>

#include "core/rule_group.h"
#include "endpoint/endpoint_structures.h"
#include "ipport/ip_port_index.h"

namespace rs {

namespace {

// Addresses of an IPv4 view stand in word 0.
bool holdsAddress(const AddressRangeNode* node, uint32_t address) noexcept {
    while (node != nullptr && (address < node->low.words[0] || address > node->high.words[0])) {
        node = node->next;
    }
    return node != nullptr;
}

bool holdsAddress(const AddressRangeNode* node, const Address128& address) noexcept {
    while (node != nullptr &&
           (compareIPv6(node->low, address) > 0 || compareIPv6(node->high, address) < 0)) {
        node = node->next;
    }
    return node != nullptr;
}

// What an entry is tested against, beside the first address.
template <typename Address>
struct PairTest {
    uint16_t firstPort;
    Address secondAddress;
    uint16_t secondPort;
    uint32_t mask;

    int32_t operator()(const CompiledIpPortRule& entry) const noexcept {
        if (entry.firstPorts == nullptr || entry.secondAddresses == nullptr ||
            entry.secondPorts == nullptr) {
            return RULE_ERR_INVALID_ARG;
        }
        const bool passes = holdsPort(entry.firstPorts, firstPort) &&
                            holdsAddress(entry.secondAddresses, secondAddress) &&
                            holdsPort(entry.secondPorts, secondPort) &&
                            (entry.ruleMask & mask) != 0;
        return passes ? 1 : 0;
    }
};

template <typename Address>
struct SecondEndpointTest {
    Address address;
    uint16_t port;

    int32_t operator()(const CompiledIpPortRule& entry) const noexcept {
        if (entry.secondAddresses == nullptr || entry.secondPorts == nullptr) {
            return RULE_ERR_INVALID_ARG;
        }
        return holdsAddress(entry.secondAddresses, address) && holdsPort(entry.secondPorts, port)
                   ? 1
                   : 0;
    }
};

bool canMatch(const RuleGroup* group) noexcept {
    return group != nullptr && group->ipPortIndex != nullptr;
}

// The first answer but 0 over the entries of all nodes of an exact table.
template <typename Address>
int32_t scanWholeTable(HashTable* table, const SecondEndpointTest<Address>& test) noexcept {
    const auto scanBucket = [](HashBucket* bucket, void* argument,
                               uint32_t* /*elementCount*/) noexcept -> int32_t {
        const auto& testEntry = *static_cast<const SecondEndpointTest<Address>*>(argument);
        for (ListLink* link = bucket->list.next; link != &bucket->list; link = link->next) {
            const auto* node = exactNodeOf<CompiledIpPortRule, Address>(link);
            const int32_t status = scanEntries(node->entries.first, testEntry).status;
            if (status != 0) {
                return status;
            }
        }
        return 0;
    };
    SecondEndpointTest<Address> argument = test;
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
    const PairTest<uint32_t> test{lookupPort(firstPort), secondAddress, lookupPort(secondPort),
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
    const PairTest<Address128> test{
        lookupPort(firstPort), {secondAddress}, lookupPort(secondPort), mask};
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
    const SecondEndpointTest<uint32_t> test{address, lookupPort(port)};
    int32_t status = scanList(index.anyFirst4, test).status;
    if (status == 0) {
        status = scanWholeTable(index.exact4, test);
    }
    return status == 0 ? scanAllBlocks(index.blocks4, test) : status;
}

int32_t matchSecondEndpoint6(const RuleGroup* group, const AddressWords& address,
                             uint32_t port) noexcept {
    if (!canMatch(group)) {
        return RULE_ERR_INVALID_ARG;
    }
    const IpPortIndex& index = *group->ipPortIndex;
    const SecondEndpointTest<Address128> test{{address}, lookupPort(port)};
    int32_t status = scanList(index.anyFirst6, test).status;
    if (status == 0) {
        status = scanWholeTable(index.exact6, test);
    }
    return status == 0 ? scanAllRanges(index.ranges6, test) : status;
}

}  // namespace rs
