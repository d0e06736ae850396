// Looks TCP connections up in packet filter rules.
//
//     rule 2 is refused: udp;*;*;*;53
//     10.1.2.3:50000 -> 192.168.0.1:22               rule 1, value 7
//     10.1.2.3:50000 -> 192.168.0.1:23               no rule
//     ::ffff:10.1.2.3:50000 -> ::ffff:192.168.0.1:22 rule 1, value 7
//     2001:db8::1:50000 -> 2001:db8::2:443           rule 2, value 9
//     an IP group is refused
//
// Lookups of this type are not exported by the shared library: they need the static archive.
// Build it with: c++ -std=c++20 match_packet_filter.cpp $(pkg-config --cflags --libs ruleset_static)
#include <ruleset_static.h>

#include <cstdio>
#include <cstdlib>
#include <initializer_list>
#include <memory>
#include <string_view>

namespace {

struct DeletingRuleGroup {
    void operator()(RuleGroup* group) const { rs_delRuleGroup(&group); }
};
using RuleGroupHandle = std::unique_ptr<RuleGroup, DeletingRuleGroup>;

struct Rule {
    std::string_view text;
    uint32_t value;
};

// Compiles rules of a type; a bad one is named and left out. Null when that fails.
RuleGroupHandle compileRules(int32_t type, std::initializer_list<Rule> rules) {
    RuleSet* set = nullptr;
    RuleGroup* group = nullptr;
    int32_t status = rs_newRuleSet(type, &set);
    uint32_t number = 0;
    for (const Rule& rule : rules) {
        ++number;
        if (status != RULE_OK) {
            break;
        }
        status = rs_addRuleToRuleSet(set, rule.text.data(), static_cast<uint32_t>(rule.text.size()),
                                     rule.value, number);
        if (status == RULE_ERR_BAD_RULE) {
            std::printf("rule %u is refused: %.*s\n", number, static_cast<int>(rule.text.size()),
                        rule.text.data());
            status = RULE_OK;  // the set is as it was
        }
    }
    if (status == RULE_OK) {
        status = rs_buildRuleGroup(set, &group);
    }
    rs_delRuleSet(&set);
    return RuleGroupHandle(status == RULE_OK ? group : nullptr);
}

// status is that of a lookup.
void printAnswer(const char* connection, int32_t status, const MatchResult& hit) {
    if (status == 1) {
        std::printf("%-46s rule %u, value %u\n", connection, hit.ruleIndex, hit.ruleValue);
    } else {
        std::printf("%-46s %s\n", connection, status == 0 ? "no rule" : "failed");
    }
}

}  // namespace

int main() {
    // Address and ports of the client, address and ports of the server; both addresses of one
    // family.
    const RuleGroupHandle group =
        compileRules(RULE_TYPE_PACKET_FILTER, {{"tcp;10.0.0.0/8;1024-65535;192.168.0.0/16;22", 7},
                                               {"udp;*;*;*;53", 8},
                                               {"tcp;2001:db8::/32;*;*;80,443", 9}});
    const RuleGroupHandle other = compileRules(RULE_TYPE_IP, {{"10.0.0.0/8", 1}});
    if (group == nullptr || other == nullptr) {
        return EXIT_FAILURE;
    }
    constexpr uint32_t CLIENT = 0x0A010203;  // 10.1.2.3
    constexpr uint32_t SERVER = 0xC0A80001;  // 192.168.0.1

    MatchResult hit{};
    int32_t status = rs::matchPacketFilter4(group.get(), CLIENT, 50000, SERVER, 22, &hit);
    printAnswer("10.1.2.3:50000 -> 192.168.0.1:22", status, hit);
    status = rs::matchPacketFilter4(group.get(), CLIENT, 50000, SERVER, 23, &hit);
    printAnswer("10.1.2.3:50000 -> 192.168.0.1:23", status, hit);

    // A host with sockets for both families asks for IPv4 addresses in mapped form.
    status = rs::matchPacketFilter6(group.get(), {0, 0, 0xFFFF, CLIENT}, 50000,
                                    {0, 0, 0xFFFF, SERVER}, 22, &hit);
    printAnswer("::ffff:10.1.2.3:50000 -> ::ffff:192.168.0.1:22", status, hit);
    status = rs::matchPacketFilter6(group.get(), {0x20010DB8, 0, 0, 1}, 50000,
                                    {0x20010DB8, 0, 0, 2}, 443, &hit);
    printAnswer("2001:db8::1:50000 -> 2001:db8::2:443", status, hit);

    status = rs::matchPacketFilter4(other.get(), CLIENT, 50000, SERVER, 22, &hit);
    if (status == RULE_ERR_INVALID_ARG) {
        std::printf("an IP group is refused\n");
    }
    return EXIT_SUCCESS;
}
