#include "rule_handles.h"

#include <ruleset_static.h>

#include <new>
#include <stdexcept>
#include <string>

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
    RuleGroupHandle handle(group);
    if (const uint32_t leftOut = rs::rulesLeftOut(group); leftOut != 0) {
        throw std::runtime_error(std::to_string(leftOut) + " rules were left out: out of memory");
    }
    return handle;
}

}  // namespace cli
