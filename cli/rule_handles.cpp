#include "rule_handles.h"

#include <new>

namespace cli {

RuleSetHandle newRuleSet(int32_t type) {
    RuleSet* set = nullptr;
    if (rs_newRuleSet(type, &set) != RULE_OK) {
        throw std::bad_alloc();
    }
    return RuleSetHandle(set);
}

RuleGroupHandle buildRuleGroup(RuleSet& set) {
    RuleGroup* group = nullptr;
    if (rs_buildRuleGroup(&set, &group) != RULE_OK) {
        throw std::bad_alloc();
    }
    return RuleGroupHandle(group);
}

}  // namespace cli
