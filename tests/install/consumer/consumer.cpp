// A C++ host: the same library through owners that free sets and groups.
#include <ruleset.h>

#include <cstdio>
#include <memory>
#include <string_view>

namespace {

struct Deleting {
    void operator()(RuleSet* set) const noexcept { rs_delRuleSet(&set); }
    void operator()(RuleGroup* group) const noexcept { rs_delRuleGroup(&group); }
};

std::unique_ptr<RuleGroup, Deleting> buildGroup(std::string_view rule) {
    RuleSet* set = nullptr;
    RuleGroup* group = nullptr;
    rs_newRuleSet(RULE_TYPE_IP, &set);
    const std::unique_ptr<RuleSet, Deleting> owner(set);
    rs_addRuleToRuleSet(set, rule.data(), static_cast<uint32_t>(rule.size()), 10, 7);
    rs_buildRuleGroup(set, &group);
    return std::unique_ptr<RuleGroup, Deleting>(group);
}

}  // namespace

int main() {
    const auto group = buildGroup("192.0.2.0/24");
    MatchResult hit{};
    if (rs_matchIPRuleGroup(group.get(), 0xC0000201, &hit) != 1 || hit.ruleId != 7) {
        return 1;
    }
    std::printf("192.0.2.1 is covered by rule %u\n", hit.ruleId);
    return 0;
}
