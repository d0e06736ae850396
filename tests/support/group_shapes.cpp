#include "support/group_shapes.h"

#include <algorithm>
#include <string_view>
#include <utility>

#include <gtest/gtest.h>

#include "core/byte_order.h"
#include "support/text.h"

namespace rs::test {

namespace {

using std::to_string;
using Texts = std::vector<std::string>;

// So many that each structure has its flat lookups, its blocks, or both.
constexpr uint32_t MANY = 1500;

void append(Texts& texts, const Texts& more) {
    texts.insert(texts.end(), more.begin(), more.end());
}

// 10.0.0.0 and the addresses after it.
std::string ipv4Text(uint32_t number) {
    return "10." + to_string(number >> 16U) + '.' + to_string(number >> 8U & 0xFFU) + '.' +
           to_string(number & 0xFFU);
}

constexpr uint32_t ipv4(uint32_t number) {
    return 0x0A000000 + number;
}

std::string ipv6Text(uint32_t number) {
    return "2001:db8::" + to_string(number / 1000) + ':' + to_string(number % 1000);
}

// The decimal digits of ipv6Text read as hexadecimal ones.
AddressWords ipv6(uint32_t number) {
    const auto group = [](uint32_t decimal) {
        return decimal / 100 << 8U | decimal / 10 % 10 << 4U | decimal % 10;
    };
    return {0x20010DB8, 0, 0, group(number / 1000) << 16U | group(number % 1000)};
}

// Keys of IP rules near the first ones, in the middle, and beside all.
LookupKeys addressKeys() {
    LookupKeys keys;
    keys.addresses = {ipv4(0),       ipv4(1),    ipv4(2),    ipv4(3),       ipv4(9),
                      ipv4(700),     ipv4(701),  ipv4(702),  ipv4(0x10080), ipv4(0x20000),
                      ipv4(0x300FF), 0xC0000201, 0xC000020A, 0xAC100001,    0,
                      0xFFFFFFFF};
    keys.addresses6 = {ipv6(0),
                       ipv6(1),
                       ipv6(2),
                       ipv6(700),
                       ipv6(701),
                       {0x20010DB8, 5, 0, 1},
                       {0x20010DB8, 0xFFFFFFFF, 1, 1},
                       {0x20010DB9, 0, 0, 0},
                       {},
                       {UINT32_MAX, UINT32_MAX, UINT32_MAX, UINT32_MAX}};
    keys.ruleValues = {0, 1, 2, 99};
    return keys;
}

Texts manyHosts(const auto& textOf) {
    Texts rules;
    for (uint32_t i = 0; i < MANY; ++i) {
        rules.push_back(textOf(2 * i));
    }
    return rules;
}

// Ranges beside each other, ranges that overlap those, and prefixes around all.
Texts overlappingRanges() {
    Texts rules;
    for (uint32_t i = 0; i < MANY; ++i) {
        const uint32_t first = 300 * i;
        rules.push_back(ipv4Text(first) + '-' + ipv4Text(first + 199));
        rules.push_back(ipv4Text(first + 100) + '-' + ipv4Text(first + 350));
        rules.push_back(ipv6Text(10 * i) + '-' + ipv6Text(10 * i + 7));
    }
    append(rules, {"10.3.0.0/16", "10.0.0.0/12", "2001:db8::/96", "2001:db8::/32",
                   "::ffff:172.16.0.0/108", "10.0.0.9", "2001:db8::1"});
    return rules;
}

// The same few addresses again and again, under every ruleValue.
Texts crowdedHosts() {
    Texts rules;
    for (uint32_t i = 0; i < MANY; ++i) {
        rules.push_back(ipv4Text(i % 40));
        rules.push_back(ipv6Text(i % 40));
        rules.push_back(ipv4Text(i % 20) + "/30");
    }
    return rules;
}

std::vector<GroupShape> ipShapes() {
    const LookupKeys keys = addressKeys();
    const Texts few = {"10.0.0.1",      "10.0.0.0/24",           "192.0.2.0-192.0.2.9",
                       "2001:db8::1",   "::ffff:172.16.0.0/108", "2001:db8:0:5::/64",
                       "2001:db8::/120"};
    Texts hosts = manyHosts(ipv4Text);
    append(hosts, manyHosts(ipv6Text));
    return {{"IpFew", RULE_TYPE_IP, few, keys},
            {"IpManyHosts", RULE_TYPE_IP, hosts, keys},
            {"IpOverlappingRanges", RULE_TYPE_IP_ALT, overlappingRanges(), keys},
            {"IpCrowdedHosts", RULE_TYPE_IP, crowdedHosts(), keys}};
}

LookupKeys nameKeys() {
    LookupKeys keys;
    keys.names = {"www.example.com",
                  "WWW.Example.COM.",
                  "a.b.example.com",
                  "example.com",
                  "b\u00FCcher.example",
                  "B%C3%9CCHER.example",
                  "xn--bcher-kva.example",
                  "%77ww.example.com",
                  "_dmarc.zone7.example.com",
                  "host700.zone7.example.com",
                  "x.host700.zone7.example.com",
                  "l9.l8.l7.l6.l5.l4.l3.l2.l1.nested",
                  "other.test",
                  "nested",
                  "a..b",
                  repeat(std::string(63, 'x') + '.', 3) + std::string(51, 'y') + ".example.com"};
    for (const std::string_view name :
         {"www.example.com", "WWW.Example.com", "a.host700.zone7.example.com", "l2.l1.nested",
          "other.test", "xn--bcher-kva.example"}) {
        keys.wireNames.push_back(wireNameOf(name));
    }
    return keys;
}

std::vector<GroupShape> domainShapes() {
    const LookupKeys keys = nameKeys();
    const Texts few = {"www.example.com", "*.example.com", "b\u00FCcher.example", "*.l1.nested"};
    Texts many = few;
    Texts nested = few;
    std::string suffix = "nested";
    for (uint32_t i = 0; i < MANY; ++i) {
        const std::string host = "host" + to_string(i) + ".zone" + to_string(i % 100);
        many.push_back(host + ".example.com");
        many.push_back("*." + host + ".example.com");
        if (i < 60) {
            std::string deeper = 'l' + to_string(i) + '.';
            deeper += suffix;
            suffix = std::move(deeper);
            nested.push_back("*." + suffix);
            nested.push_back(suffix);
        }
    }
    return {{"DomainFew", RULE_TYPE_FQDN, few, keys},
            {"DomainMany", RULE_TYPE_FQDN, many, keys},
            {"DomainNested", RULE_TYPE_FQDN, nested, keys}};
}

LookupKeys urlKeys() {
    LookupKeys keys;
    keys.urls = {"http://www.example.com/a",
                 "https://WWW.Example.com:443/%61/b?q+r#f",
                 "user:pw@www.example.com:8080/a",
                 "host700.example.com/path7/x",
                 "http://deep.host700.example.com/path7",
                 "crowded.example.com/path700/file",
                 "crowded.example.com/path700/begin-middle-end",
                 "crowded.example.com/none",
                 "http://[2001:db8::1]/c",
                 "http://[::ffff:10.0.0.1]:81/",
                 "a.b.c.d.nested.example/x",
                 "b\u00FCcher.example/",
                 "http://other.test/a",
                 "/path/alone",
                 "http://",
                 "www.example.com/" + std::string(1000, 'p')};
    return keys;
}

std::vector<GroupShape> urlShapes() {
    const LookupKeys keys = urlKeys();
    const Texts few = {"www.example.com/a*",   "https://*.example.com:*/",
                       "[2001:db8::1]/c",      "http://*.nested.example/x",
                       "b\u00FCcher.example/", "www.example.com:8080/"};
    Texts manyHosts = few;
    Texts crowded = few;
    Texts nested = few;
    std::string suffix = "nested.example";
    for (uint32_t i = 0; i < MANY; ++i) {
        const std::string number = to_string(i);
        manyHosts.push_back("host" + number + ".example.com/path" + to_string(i % 9));
        manyHosts.push_back("*.host" + number + ".example.com/");
        crowded.push_back("crowded.example.com/path" + number + "/file");
        crowded.push_back("crowded.example.com/path" + number + "/begin*end");
        if (i < 20) {
            std::string deeper(1, static_cast<char>('a' + i));
            deeper += '.' + suffix;
            suffix = std::move(deeper);
            nested.push_back("*." + suffix + "/x");
        }
    }
    return {{"UrlFew", RULE_TYPE_URL, few, keys},
            {"UrlManyHosts", RULE_TYPE_URL, manyHosts, keys},
            {"UrlCrowdedHost", RULE_TYPE_URL, crowded, keys},
            {"UrlNestedHosts", RULE_TYPE_URL, nested, keys}};
}

LookupKeys endpointKeys() {
    LookupKeys keys;
    keys.addresses = {ipv4(1), ipv4(2), ipv4(700), ipv4(701), ipv4(0x10080), 0xC0A80001, 0};
    keys.addresses6 = {ipv6(1), ipv6(2), ipv6(700), {0x20010DB8, 7, 0, 1}, {}};
    keys.ports = {80, 443, 5000};
    return keys;
}

// A rule of either type, with the same addresses for both endpoints.
std::string endpointRule(int32_t type, const std::string& first, const std::string& second,
                         const std::string& secondPorts) {
    return type == RULE_TYPE_PACKET_FILTER ? "tcp;" + first + ";*;" + second + ';' + secondPorts
                                           : first + ";*;" + second + ';' + secondPorts + ";1";
}

std::vector<GroupShape> endpointShapesOf(int32_t type, const std::string& prefix) {
    const LookupKeys keys = endpointKeys();
    const Texts few = {endpointRule(type, "10.0.0.1", "10.0.0.2", "80"),
                       endpointRule(type, "10.0.0.0/8", "192.168.0.1", "80,443"),
                       endpointRule(type, "2001:db8::/32", "*", "5000"),
                       endpointRule(type, "*", "10.0.0.0/16", "443")};
    Texts hosts = few;
    Texts ranges = few;
    for (uint32_t i = 0; i < MANY; ++i) {
        hosts.push_back(endpointRule(type, ipv4Text(i), "10.0.0.0/15", "80"));
        hosts.push_back(endpointRule(type, ipv6Text(i), ipv6Text(i + 1), "80"));
        if (i < MANY / 3) {
            ranges.push_back(endpointRule(type, ipv4Text(7 * i) + '-' + ipv4Text(7 * i + 20),
                                          "10.0.0.0/15", "80"));
            ranges.push_back(endpointRule(type, ipv6Text(7 * i) + '-' + ipv6Text(7 * i + 20),
                                          "2001:db8::/64", "80"));
        }
    }
    return {{prefix + "Few", type, few, keys},
            {prefix + "ManyHosts", type, hosts, keys},
            {prefix + "OverlappingRanges", type, ranges, keys}};
}

std::vector<GroupShape> compoundShapes() {
    LookupKeys keys;
    for (const uint32_t value : {1U, 7U, 700U, 100000U}) {
        for (const uint32_t address : {ipv4(1), 0xC0A80001U}) {
            CompoundFlow flow{};
            flow.firstValue16 = 80;
            flow.value32 = value;
            flow.family = 4;
            writeBigEndian32(reinterpret_cast<uint8_t*>(flow.firstAddress.data()), address);
            flow.listValue16 = 5;
            flow.listValue12 = 4096;
            keys.flows.push_back(flow);
        }
    }
    const Texts few = {"1;*;10.0.0.1;80;7;1", "7;5;*;*;7;2"};
    Texts many = few;
    for (uint32_t i = 0; i < MANY; ++i) {
        const std::string number = to_string(i);
        many.push_back(number + ',' + to_string(i + 5) + ";*;10.0.0.0/8;80-90;5;" + number);
    }
    return {{"CompoundFew", RULE_TYPE_COMPOUND, few, keys},
            {"CompoundMany", RULE_TYPE_COMPOUND, many, keys}};
}

std::vector<GroupShape> makeShapes() {
    std::vector<GroupShape> shapes;
    for (const auto& more : {ipShapes(), domainShapes(), urlShapes(),
                             endpointShapesOf(RULE_TYPE_PACKET_FILTER, "PacketFilter"),
                             endpointShapesOf(RULE_TYPE_IP_PORT, "IpPort"), compoundShapes()}) {
        shapes.insert(shapes.end(), more.begin(), more.end());
    }
    return shapes;
}

}  // namespace

void PrintTo(const GroupShape& shape, std::ostream* out) {
    *out << shape.name;
}

const std::vector<GroupShape>& groupShapes() {
    static const std::vector<GroupShape> SHAPES = makeShapes();
    return SHAPES;
}

RuleSetHandle makeSetOf(const GroupShape& shape) {
    RuleSetHandle set = newRuleSet(shape.type);
    uint32_t position = 0;
    for (const std::string& rule : shape.rules) {
        EXPECT_EQ(RULE_OK, addRule(*set, rule, position % RULE_VALUE_COUNT, position + 1)) << rule;
        ++position;
    }
    return set;
}

std::string wireNameOf(std::string_view name) {
    std::string wire;
    while (!name.empty()) {
        const std::string_view label = name.substr(0, name.find('.'));
        wire += static_cast<char>(label.size());
        wire += label;
        name.remove_prefix(std::min(name.size(), label.size() + 1));
    }
    return wire;
}

}  // namespace rs::test
