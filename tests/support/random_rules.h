// Random rule texts: clustered, so that they overlap; repeated, so that duplicates are frequent; in
// every form in which an address can be written.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "support/random_source.h"
#include "support/reference_ip.h"

namespace rs::test {

std::string writeIpv4Address(uint32_t address);

// One of the many texts of the address: with digits of either case, leading zeros, a gap in place of
// zero groups, a dotted quad at the end.
std::string writeIpv6Address(Number128 address, RandomSource& random);

// A text that reads as these addresses. IPv4 form is chosen only where it can name them.
std::string writeRange(const AddressRange& range, RandomSource& random);

class RandomIpRules {
public:
    explicit RandomIpRules(RandomSource& random);

    // The text of a rule like those before.
    std::string nextText();

    // An address where the rules are.
    Number128 nextAddress();

private:
    struct Cluster {
        Number128 centre;
        uint32_t spreadBits;
    };

    AddressRange nextRange();

    RandomSource& random_;
    std::vector<Cluster> clusters_;
    std::vector<AddressRange> earlier_;
};

// The addresses at which the answer may change: before, at and after both ends, wrapping around.
std::vector<Number128> edgesOf(const AddressRange& range);

// A port field: well formed, or nearly.
std::string randomPortText(RandomSource& random);

// text with a few bytes changed, which mostly leaves it not well formed.
std::string mutate(std::string_view text, RandomSource& random);

}  // namespace rs::test
