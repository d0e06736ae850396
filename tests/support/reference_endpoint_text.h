// Texts of IP:Port and packet filter rules, read field by field, sharing no code with the library.
//
//     IP:Port         addresses ; ports ; addresses ; ports ; mask
//     packet filter   tcp ; address ; ports ; address ; ports
//
// A text is tried twice: as one that names IPv4 addresses only, then in the wide form. What is wide
// differs: a wide IP:Port rule may name addresses of both families, a wide packet filter rule names
// IPv6 addresses only.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "support/reference_ip.h"
#include "support/reference_port.h"

namespace rs::test {

// The addresses of an endpoint.
struct EndpointAddresses {
    bool isAny;                       // written as '*'
    std::vector<AddressRange> items;  // the last one of the text first; empty for '*'
};

struct EndpointRuleText {
    EndpointAddresses first;
    std::vector<ReferencePorts> firstPorts;
    EndpointAddresses second;
    std::vector<ReferencePorts> secondPorts;
    uint32_t ruleMask;  // all ones in a packet filter rule, which has none
    bool isWide;
};

// Each reads a whole text; nothing when it is not well formed.
std::optional<EndpointRuleText> readIpPortRule(std::string_view text, bool allowIpv6 = true);
std::optional<EndpointRuleText> readPacketFilterRule(std::string_view text, bool allowIpv6 = true);

}  // namespace rs::test
