// Random IP:Port and packet filter rules, and endpoints to look up: all from a few address ranges
// and ports, so that the rules of a set overlap densely, name equal ranges and repeat each other.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "support/random_source.h"
#include "support/reference_endpoint.h"
#include "support/reference_ip.h"

namespace rs::test {

class RandomEndpoints {
public:
    // Rules with about rangeCount different ranges, of one family or of both.
    RandomEndpoints(int32_t ruleType, uint64_t rangeCount, RandomSource& random);

    // The text of a rule; now and then one that is refused or was there before.
    std::string nextRule();

    // The same of a rule that names the same few ranges again and again, and ranges inside them and
    // across their ends, as its first address; of IP:Port rules only, as others name one range.
    std::string nextRepeatingRule();

    // Endpoints near the edges of the ranges, with 128-bit addresses.
    EndpointKey nextKey();

    // The same with IPv4-mapped addresses.
    EndpointKey nextMappedKey();

private:
    AddressRange nextRange();
    AddressRange nextLargeRange(Number128 address);
    Number128 nextCentre();
    Number128 nextAddress();
    Number128 nextKeyAddress();
    std::string nextItem(bool asIpv6);
    std::string nextAddresses(bool asIpv6);
    std::string nextRepeatedAddresses(bool asIpv6);
    std::string nextPorts();
    std::string nextText();
    uint32_t nextPort();

    RandomSource& random_;
    int32_t ruleType_;
    uint64_t ipv4Share_;  // of 4 ranges
    uint32_t spreadBits_;
    std::vector<Number128> centres_;
    std::vector<AddressRange> ranges_;
    std::vector<std::string> earlier_;
};

// text with a few bytes changed, to those that rules have or that a prefix reads as digits.
std::string mutateEndpointRule(const std::string& text, RandomSource& random);

// A rule that is well formed but for its length, of about that many bytes.
std::string longEndpointRule(int32_t ruleType, uint64_t length, RandomSource& random);

}  // namespace rs::test
