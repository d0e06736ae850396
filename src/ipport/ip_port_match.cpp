#include "ipport/ip_port_match.h"

#include "core/port_list.h"
#include "core/range_node.h"
#include "endpoint/entry_walk.h"
#include "endpoint/exact_table.h"
#include "ipport/address_list.h"

namespace rs {

namespace {

// What an entry is tested against, beside the first address.
struct PairTest {
    uint16_t firstPort;
    Address128 secondAddress;  // in the form that the lists of the view have
    uint16_t secondPort;
    uint32_t mask;

    [[nodiscard]] EndpointQuestion question() const noexcept {
        return {firstPort, secondPort, secondAddress.words[0], mask};
    }

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

}  // namespace

int32_t matchIpPortPair4InAll(const IpPortIndex& index, uint32_t firstAddress, uint32_t firstPort,
                              uint32_t secondAddress, uint32_t secondPort, uint32_t mask,
                              MatchResult& result) noexcept {
    const PairTest test{lookupPort(firstPort), ipv4Form(secondAddress), lookupPort(secondPort),
                        mask};
    return combineAnswers(
        result, [&]() noexcept { return scanList(index.anyFirst4, test); },
        [&]() noexcept {
            return findAskedInExact(index.exact4, index.records.nodes4, index.lookups.exact4,
                                    firstAddress, test);
        },
        [&]() noexcept {
            return findInBlocks(index.blocks4, index.records.spans, index.lookups.blocks4,
                                firstAddress, test);
        });
}

int32_t matchIpPortPair6InAll(const IpPortIndex& index, const Words128& firstWords,
                              uint32_t firstPort, const Words128& secondWords, uint32_t secondPort,
                              uint32_t mask, MatchResult& result) noexcept {
    const Address128 firstAddress{firstWords};
    const PairTest test{lookupPort(firstPort), Address128{secondWords}, lookupPort(secondPort),
                        mask};
    return combineAnswers(
        result, [&]() noexcept { return scanList(index.anyFirst6, test); },
        [&]() noexcept {
            return findAskedInExact(index.exact6, index.records.nodes6, index.lookups.exact6,
                                    firstAddress, test);
        },
        [&]() noexcept {
            return findInRanges(index.ranges6, index.records.buckets, index.lookups.ranges6,
                                firstAddress, test);
        });
}

int32_t matchSecondEndpoint4(const IpPortIndex& index, uint32_t address, uint32_t port) noexcept {
    const SecondEndpointTest test{ipv4Form(address), lookupPort(port)};
    return firstStatus(
        [&]() noexcept { return scanList(index.anyFirst4, test).status; },
        [&]() noexcept { return scanAllExact<CompiledIpPortRule, uint32_t>(index.exact4, test); },
        [&]() noexcept { return scanAllBlocks(index.blocks4, test); });
}

int32_t matchSecondEndpoint6(const IpPortIndex& index, const Address128& address,
                             uint32_t port) noexcept {
    const SecondEndpointTest test{address, lookupPort(port)};
    return firstStatus(
        [&]() noexcept { return scanList(index.anyFirst6, test).status; },
        [&]() noexcept { return scanAllExact<CompiledIpPortRule, Address128>(index.exact6, test); },
        [&]() noexcept { return scanAllRanges(index.ranges6, test); });
}

}  // namespace rs
