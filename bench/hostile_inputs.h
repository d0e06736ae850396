// Inputs that somebody made to be slow or large, by family and size, each beside random input of the same size.
//
//   group "IP rules"      random          167.22.4.9, 10.3.0.0/17 ...      what the others are compared with
//                         nested_values   ::6fff-::7001, ::6ffe-::7002 ...
//   group "host names"    random          ...
//
// The size is that of the rule texts with a line end each, or, in the groups of single rules and keys, that of the one
// text. Only the public headers are used, so that the same inputs measure any version of the library.
#pragma once

#include <ruleset_static.h>

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace bench {

struct HostileRule {
    std::string text;
    uint32_t value;
};

struct HostileEndpoint {
    rs::AddressWords address;  // host byte order; IPv4 has word 0 only
    uint32_t port;
};

// What a lookup asks for: a text for names and URLs, endpoints for all others.
struct HostileKey {
    std::string text;
    int32_t family;  // 4 or 6
    HostileEndpoint first;
    HostileEndpoint second;
};

// Rules while they are being made, and the keys to look up, in turn.
class HostileInput {
public:
    explicit HostileInput(size_t limit) : limit_(limit) {}

    // False, with nothing added, when the rule does not fit into the size any more.
    bool add(std::string text, uint32_t value = 1);

    // The same rule as often as it fits.
    void repeat(const std::string& text);

    void addTextKey(std::string text);
    void addIpv4Key(uint32_t first, uint32_t firstPort = 1, uint32_t second = 0,
                    uint32_t secondPort = 1);
    void addIpv6Key(const rs::AddressWords& first, uint32_t firstPort = 1,
                    const rs::AddressWords& second = {}, uint32_t secondPort = 1);

    const std::vector<HostileRule>& rules() const { return rules_; }
    const std::vector<HostileKey>& keys() const { return keys_; }
    size_t limit() const { return limit_; }
    bool isHalfFull() const { return bytes_ >= limit_ / 2; }

private:
    size_t limit_;
    size_t bytes_ = 0;
    std::vector<HostileRule> rules_;
    std::vector<HostileKey> keys_;
};

struct HostileFamily {
    const char* name;
    const char* how;  // how it is made, in Markdown
    const char* why;  // what makes it dear, and what bounds that
    void (*make)(HostileInput& input);
};

struct HostileGroup {
    const char* name;
    int32_t type;                             // RULE_TYPE_
    std::span<const HostileFamily> families;  // the first is random
};

std::span<const HostileGroup> hostileGroups();

}  // namespace bench
