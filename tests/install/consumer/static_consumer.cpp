// A C++ host that links the archive: what that offers beside the shared library.
#include <ruleset_static.h>

#include <cstdio>
#include <string_view>

int main() {
    constexpr std::string_view RULE = "10.0.0.0/8;80,443;*;*;1";
    RuleSet* set = nullptr;
    RuleGroup* group = nullptr;
    MatchResult hit{};
    rs_newRuleSet(RULE_TYPE_IP_PORT, &set);
    rs_addRuleToRuleSet(set, RULE.data(), static_cast<uint32_t>(RULE.size()), 10, 7);
    rs_buildRuleGroup(set, &group);
    rs_delRuleSet(&set);
    RuleGroup* shared = rs::retainRuleGroup(group);
    rs_delRuleGroup(&group);
    const int32_t status = rs::matchIpPortPair4(shared, 0x0A010203, 443, 1, 1, 1, &hit);
    rs_delRuleGroup(&shared);
    if (status != 1 || hit.ruleId != 7) {
        return 1;
    }
    std::printf("rule %u, by %s\n", hit.ruleId, rs::getLibraryVersion());
    return 0;
}
