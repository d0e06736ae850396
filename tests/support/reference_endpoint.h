// IP:Port and packet filter rules done the slow way: what the library must answer, written for
// clarity and sharing no code with it.
//
//     rule texts --add--> a vector of rules --find--> the first rule that covers both endpoints
//
// In lookups of IPv4 addresses the earliest rule wins, always. In those of 128-bit addresses a rule
// is in places, by what it says of the first address:
//
//     anywhere   every first address
//     exact      a single one
//     range      a range of them; rules with equal ranges share it, and the ranges are asked in the
//                order in which they were first named, up to the first that answers
//
// and the earliest of the answers from the three wins, so that a rule hidden by an earlier range
// does not.
#pragma once

#include <ruleset.h>

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "support/reference_endpoint_text.h"
#include "support/reference_ip.h"

namespace rs::test {

// What a lookup is asked. The mask is for IP:Port rules only.
struct EndpointKey {
    Number128 firstAddress;
    uint32_t firstPort;  // of which the low 16 bits count
    Number128 secondAddress;
    uint32_t secondPort;
    uint32_t mask;
};

struct ReferenceEndpointRule {
    EndpointRuleText text;
    MatchResult result;  // what a lookup reports for it
};

class ReferenceEndpointRules {
public:
    // Of RULE_TYPE_IP_PORT or RULE_TYPE_PACKET_FILTER.
    explicit ReferenceEndpointRules(int32_t ruleType) : ruleType_(ruleType) {}

    // RULE_OK, or RULE_ERR_BAD_RULE with nothing added.
    int32_t add(std::string_view text, uint32_t ruleValue, uint32_t ruleId, void* userData,
                bool allowIpv6 = true);

    // The rule that wins; null when none covers both endpoints. The addresses given to findPair4
    // are IPv4-mapped.
    const ReferenceEndpointRule* findPair4(const EndpointKey& key) const;
    const ReferenceEndpointRule* findPair6(const EndpointKey& key) const;

    // Whether the second endpoint of any rule covers the address and port. Rules that no lookup of
    // the family can find do not count.
    bool coversSecond4(Number128 address, uint32_t port) const;
    bool coversSecond6(Number128 address, uint32_t port) const;

    // What the deletion of a group gives back: each once, in whatever order.
    std::vector<void*> handedBackAtDelete() const;

    const std::vector<ReferenceEndpointRule>& rules() const { return rules_; }

    // Whether a range that answers first keeps the earliest rule from winning in findPair6.
    bool isWinnerHidden(const EndpointKey& key) const;

private:
    // A rule in one of its places.
    struct Entry {
        size_t rule;
        std::vector<AddressRange> seconds;
    };

    // A rule as lookups of IPv4 addresses see it; without firsts or seconds they never find it.
    struct Ipv4Entry {
        std::vector<AddressRange> firsts;
        Entry entry;
    };

    struct ExactPlace {
        Number128 address;
        Entry entry;
    };

    struct RangePlace {
        AddressRange range;
        std::vector<Entry> entries;
    };

    void enterIpPort(const EndpointRuleText& rule, size_t position);
    void enterPacketFilter(const EndpointRuleText& rule, size_t position);
    void enterItem(const AddressRange& item, const Entry& entry);
    void enterRange(const AddressRange& range, const Entry& entry);
    bool passes(const Entry& entry, const EndpointKey& key) const;
    const ReferenceEndpointRule* earlier(const ReferenceEndpointRule* held,
                                         const Entry& entry) const;
    const ReferenceEndpointRule* findOutsideRanges(const EndpointKey& key) const;

    int32_t ruleType_;
    std::vector<ReferenceEndpointRule> rules_;
    std::vector<Ipv4Entry> ipv4_;  // one for each rule
    std::vector<Entry> anywhere_;
    std::vector<ExactPlace> exact_;
    std::vector<RangePlace> ranges_;
};

}  // namespace rs::test
