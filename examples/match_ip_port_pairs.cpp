// Looks pairs of an address and a port up in rules with two endpoints and a mask.
//
//     rule 4 is refused: 10.0.0.1;0;*;*;1
//     10.1.2.3:443 -> 192.168.1.5:9, mask 0x10     rule 1, value 1
//     10.1.2.3:443 -> 192.168.1.5:9, mask 0x1      rule 3, value 3
//     8.8.8.8:443 -> 192.168.1.5:9, mask 0x1       no rule
//     2001:db8::7:5353 -> ::2:53, mask 0x3         rule 2, value 2
//     192.168.1.5:9 is a second endpoint
//     192.168.1.5:0 is none
//
// Lookups of this type are not exported by the shared library: they need the static archive.
// Build it with: c++ -std=c++20 match_ip_port_pairs.cpp $(pkg-config --cflags --libs ruleset_static)
#include <ruleset_static.h>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string_view>

namespace {

struct DeletingRuleGroup {
    void operator()(RuleGroup* group) const { rs_delRuleGroup(&group); }
};
using RuleGroupHandle = std::unique_ptr<RuleGroup, DeletingRuleGroup>;

// First addresses and ports, second addresses and ports, and a mask.
constexpr std::string_view RULES[] = {
    "10.0.0.0/8;80,443;192.168.1.1-192.168.1.9;1-65535;0x10", "2001:db8::/32;*;::1,::2;53;2",
    "10.0.0.0/8,172.16.0.0/12;*;*;*;0xFFFFFFFF",
    "10.0.0.1;0;*;*;1",  // refused: there is no port 0
};

// Compiles RULES, each with its number as its value; null when that fails.
RuleGroupHandle compileRules() {
    RuleSet* set = nullptr;
    RuleGroup* group = nullptr;
    int32_t status = rs_newRuleSet(RULE_TYPE_IP_PORT, &set);
    uint32_t number = 0;
    for (const std::string_view rule : RULES) {
        ++number;
        if (rs_validateRule_IpPort(rule.data(), static_cast<uint32_t>(rule.size())) != RULE_OK) {
            std::printf("rule %u is refused: %.*s\n", number, static_cast<int>(rule.size()),
                        rule.data());
        } else if (status == RULE_OK) {
            status = rs_addRuleToRuleSet(set, rule.data(), static_cast<uint32_t>(rule.size()),
                                         number, number);
        }
    }
    if (status == RULE_OK) {
        status = rs_buildRuleGroup(set, &group);
    }
    rs_delRuleSet(&set);
    return RuleGroupHandle(status == RULE_OK ? group : nullptr);
}

// status is that of a lookup.
void printAnswer(const char* pair, int32_t status, const MatchResult& hit) {
    if (status == 1) {
        std::printf("%-44s rule %u, value %u\n", pair, hit.ruleIndex, hit.ruleValue);
    } else {
        std::printf("%-44s %s\n", pair, status == 0 ? "no rule" : "failed");
    }
}

void printSecondEndpoint(const char* endpoint, int32_t status) {
    std::printf("%s is %s\n", endpoint, status == 1 ? "a second endpoint" : "none");
}

}  // namespace

int main() {
    const RuleGroupHandle group = compileRules();
    if (group == nullptr) {
        return EXIT_FAILURE;
    }
    // IPv4 addresses are numbers, others four words; all in the byte order of this machine.
    constexpr uint32_t OFFICE = 0x0A010203;   // 10.1.2.3
    constexpr uint32_t OUTSIDE = 0x08080808;  // 8.8.8.8
    constexpr uint32_t SERVER = 0xC0A80105;   // 192.168.1.5
    constexpr rs::AddressWords LABORATORY = {0x20010DB8, 0, 0, 7};
    constexpr rs::AddressWords RESOLVER = {0, 0, 0, 2};

    // A rule is asked only when its mask and that of the lookup have a bit in common.
    MatchResult hit{};
    int32_t status = rs::matchIpPortPair4(group.get(), OFFICE, 443, SERVER, 9, 0x10, &hit);
    printAnswer("10.1.2.3:443 -> 192.168.1.5:9, mask 0x10", status, hit);
    status = rs::matchIpPortPair4(group.get(), OFFICE, 443, SERVER, 9, 0x1, &hit);
    printAnswer("10.1.2.3:443 -> 192.168.1.5:9, mask 0x1", status, hit);
    status = rs::matchIpPortPair4(group.get(), OUTSIDE, 443, SERVER, 9, 0x1, &hit);
    printAnswer("8.8.8.8:443 -> 192.168.1.5:9, mask 0x1", status, hit);
    status = rs::matchIpPortPair6(group.get(), LABORATORY, 5353, RESOLVER, 53, 0x3, &hit);
    printAnswer("2001:db8::7:5353 -> ::2:53, mask 0x3", status, hit);

    // Whether any rule at all leads to an endpoint.
    printSecondEndpoint("192.168.1.5:9", rs::matchSecondEndpoint4(group.get(), SERVER, 9));
    printSecondEndpoint("192.168.1.5:0", rs::matchSecondEndpoint4(group.get(), SERVER, 0));
    return EXIT_SUCCESS;
}
