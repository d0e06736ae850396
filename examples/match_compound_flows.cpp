// Looks flows up in compound rules: here of a host that numbers its tenants and tags its flows.
//
//     tenant 12 to 10.1.2.3, port 443, tag 3       rule 1, value 1, number 7, marked
//     tenant 12 to 10.1.2.3, port 443, tag 9       rule 3, value 3, number 9
//     tenant 12 to 10.1.2.3, port 22, tag 3        no rule
//     tenant 99 to 2001:db8::5, port 8080, tag 0   rule 2, value 2, number 8
//
// What the fields stand for is the host's business; here they are
//
//     tenants ; tags ; addresses ; ports ; options ; number
//
// Lookups of this type are not exported by the shared library: they need the static archive.
// Build it with: c++ -std=c++20 match_compound_flows.cpp $(pkg-config --cflags --libs ruleset_static)
#include <ruleset_static.h>

#include <arpa/inet.h>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string_view>

namespace {

struct DeletingRuleGroup {
    void operator()(RuleGroup* group) const { rs_delRuleGroup(&group); }
};
using RuleGroupHandle = std::unique_ptr<RuleGroup, DeletingRuleGroup>;

// Of the options, bit 1 makes a rule ask for the tag, and bit 2 makes it mark the flow.
constexpr std::string_view RULES[] = {
    "10-19;1-5;10.0.0.0/8;443;6;7",
    "*;*;2001:db8::/32;8000*;0;8",  // "8000*" is 8000 and all above
    "10-19,30;*;*;80,443;0;9",
};

// Compiles RULES, each with its number as its value; null when that fails.
RuleGroupHandle compileRules() {
    RuleSet* set = nullptr;
    RuleGroup* group = nullptr;
    int32_t status = rs_newRuleSet(RULE_TYPE_COMPOUND, &set);
    uint32_t number = 0;
    for (const std::string_view rule : RULES) {
        ++number;
        if (status == RULE_OK) {
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

// A flow of one tenant to an address, written as text, and a port. False for a text that is none.
bool makeFlow(uint32_t tenant, const char* address, uint16_t port, uint16_t tag,
              rs::CompoundFlow& out) {
    out = {};
    out.value32 = tenant;
    out.firstValue16 = port;  // a rule covers the flow for either of two ports;
    out.secondValue16 = port;
    out.listValue16 = tag;
    out.listValue12 = 4096;  // no second tag
    // Addresses stay in network byte order, as sockets have them.
    const bool isIpv4 = inet_pton(AF_INET, address, out.firstAddress.data()) == 1;
    out.family = isIpv4 ? 4 : 6;
    if (!isIpv4 && inet_pton(AF_INET6, address, out.firstAddress.data()) != 1) {
        return false;
    }
    out.secondAddress = out.firstAddress;  // ... and for either of two addresses
    return true;
}

// 1 or 0 as the lookup answers, negative when it fails.
int32_t answer(const RuleGroup& group, uint32_t tenant, const char* address, uint16_t port,
               uint16_t tag) {
    rs::CompoundFlow flow{};
    if (!makeFlow(tenant, address, port, tag, flow)) {
        return RULE_ERR_FAILED;
    }
    MatchResult hit{};
    const int32_t status = rs::matchCompound(&group, &flow, false, &hit);
    char text[64];
    std::snprintf(text, sizeof text, "tenant %u to %s, port %u, tag %u", tenant, address,
                  unsigned{port}, unsigned{tag});
    if (status == 1) {
        std::printf("%-44s rule %u, value %u, number %u%s\n", text, hit.ruleIndex, hit.ruleValue,
                    flow.outNumber, flow.outMark == 1 ? ", marked" : "");
    } else if (status == 0) {
        std::printf("%-44s no rule\n", text);
    }
    return status;
}

}  // namespace

int main() {
    const RuleGroupHandle group = compileRules();
    if (group == nullptr) {
        return EXIT_FAILURE;
    }
    const bool succeeded = answer(*group, 12, "10.1.2.3", 443, 3) >= 0 &&
                           answer(*group, 12, "10.1.2.3", 443, 9) >= 0 &&
                           answer(*group, 12, "10.1.2.3", 22, 3) >= 0 &&
                           answer(*group, 99, "2001:db8::5", 8080, 0) >= 0;
    return succeeded ? EXIT_SUCCESS : EXIT_FAILURE;
}
