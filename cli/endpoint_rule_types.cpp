// Rules with two endpoints: IP:Port and packet filter rules. A key is two endpoints with blanks
// between them, with brackets around an IPv6 address:
//
//     10.0.0.1:80 [2001:db8::1]:443
#include <ruleset_static.h>

#include "address_text.h"
#include "rule_type.h"
#include "text_input.h"

namespace cli {

namespace {

struct Endpoint {
    ParsedAddress address;
    uint16_t port;
};

struct EndpointPair {
    Endpoint first;
    Endpoint second;
    bool isIpv4;
};

bool parseEndpoint(std::string_view text, Endpoint& out) {
    const size_t colon = text.rfind(':');
    if (colon == std::string_view::npos || !parseNumber(text.substr(colon + 1), out.port)) {
        return false;
    }
    std::string_view address = text.substr(0, colon);
    const bool hasBrackets = address.starts_with('[') && address.ends_with(']');
    if (hasBrackets) {
        address = address.substr(1, address.size() - 2);
    }
    return parseAddress(address, out.address) && out.address.isIpv4 != hasBrackets;
}

bool parsePair(std::string_view key, EndpointPair& out) {
    key = trimmed(key);
    const size_t gap = key.find_first_of(" \t");
    if (gap == std::string_view::npos || !parseEndpoint(key.substr(0, gap), out.first) ||
        !parseEndpoint(trimmed(key.substr(gap)), out.second)) {
        return false;
    }
    out.isIpv4 = out.first.address.isIpv4 && out.second.address.isIpv4;
    return true;
}

int32_t matchIpPort(const RuleGroup* group, std::string_view key, const LookupOptions& options,
                    MatchResult* result) {
    EndpointPair pair{};
    if (!parsePair(key, pair)) {
        return RULE_ERR_BAD_RULE;
    }
    const auto& [first, second, isIpv4] = pair;
    return isIpv4 ? rs::matchIpPortPair4(group, first.address.ipv4, first.port, second.address.ipv4,
                                         second.port, options.mask, result)
                  : rs::matchIpPortPair6(group, first.address.address.words, first.port,
                                         second.address.address.words, second.port, options.mask,
                                         result);
}

int32_t matchPacketFilter(const RuleGroup* group, std::string_view key,
                          const LookupOptions& /*options*/, MatchResult* result) {
    EndpointPair pair{};
    if (!parsePair(key, pair)) {
        return RULE_ERR_BAD_RULE;
    }
    const auto& [first, second, isIpv4] = pair;
    return isIpv4 ? rs::matchPacketFilter4(group, first.address.ipv4, first.port,
                                           second.address.ipv4, second.port, result)
                  : rs::matchPacketFilter6(group, first.address.address.words, first.port,
                                           second.address.address.words, second.port, result);
}

std::string whyBadPair(std::string_view /*key*/, int32_t /*status*/) {
    return "not \"address:port address:port\", with an IPv6 address in brackets";
}

std::string whyWrongFields(std::string_view rule, const char* fields) {
    return std::string(trimmed(rule).empty() ? "empty rule: " : "") + fields;
}

size_t fieldCount(std::string_view rule) {
    size_t count = 1;
    for (const char byte : rule) {
        count += byte == ';' ? 1 : 0;
    }
    return count;
}

std::string whyBadIpPortRule(std::string_view rule, int32_t /*status*/) {
    constexpr const char* FIELDS = "five fields are needed: addresses;ports;addresses;ports;mask";
    if (fieldCount(rule) != 5) {
        return whyWrongFields(rule, FIELDS);
    }
    return trimmed(rule).find_first_of(" \t\r\n") != std::string_view::npos
               ? "blank inside a rule"
               : "a bad address, port (1 to 65535) or mask (1 to 4294967295)";
}

std::string whyBadFilterRule(std::string_view rule, int32_t /*status*/) {
    constexpr const char* FIELDS = "five fields are needed: tcp;address;ports;address;ports";
    if (fieldCount(rule) != 5) {
        return whyWrongFields(rule, FIELDS);
    }
    const std::string protocol(trimmed(rule).substr(0, 4));
    return protocol.size() == 4 && (protocol[0] | 0x20) == 't' && (protocol[1] | 0x20) == 'c' &&
                   (protocol[2] | 0x20) == 'p' && protocol[3] == ';'
               ? "a bad address, addresses of two families, or a bad port (1 to 65535)"
               : "a protocol other than tcp";
}

}  // namespace

const RuleType IP_PORT_TYPE{
    "ipport",         RULE_TYPE_IP_PORT, matchIpPort, matchEach<matchIpPort>,
    whyBadIpPortRule, whyBadPair,        asWritten};

const RuleType PACKET_FILTER_TYPE{"packetfilter",    RULE_TYPE_PACKET_FILTER,
                                  matchPacketFilter, matchEach<matchPacketFilter>,
                                  whyBadFilterRule,  whyBadPair,
                                  asWritten};

}  // namespace cli
