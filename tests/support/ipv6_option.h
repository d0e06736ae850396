// Rule texts with and without IPv6 addresses.
#pragma once

#include <ruleset_static.h>

namespace rs::test {

// While it lives, rule texts may name IPv6 addresses or not; afterwards they may, as at first.
class Ipv6Option {
public:
    explicit Ipv6Option(bool allowIpv6) { setLibraryOption(RULE_OPTION_IPV6, allowIpv6 ? 1 : 0); }
    ~Ipv6Option() { setLibraryOption(RULE_OPTION_IPV6, 1); }
    Ipv6Option(const Ipv6Option&) = delete;
    Ipv6Option& operator=(const Ipv6Option&) = delete;
};

}  // namespace rs::test
