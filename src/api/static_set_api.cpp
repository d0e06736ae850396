// Moving rules from set to set, for hosts that link statically.
#include <ruleset_static.h>

#include "api/rule_type.h"
#include "core/list.h"
#include "core/rule_set.h"

namespace rs {

int32_t moveRules(RuleSet* from, RuleSet* to) noexcept {
    if (from == nullptr || to == nullptr || from == to || from->type != to->type) {
        return RULE_ERR_INVALID_ARG;
    }
    RuleList* source = ruleListOf(*from);
    RuleList* target = ruleListOf(*to);
    if (source == nullptr || target == nullptr) {
        return RULE_ERR_INVALID_ARG;
    }
    if (source->ruleCount > UINT32_MAX - target->ruleCount) {
        return RULE_ERR_SET_FULL;
    }
    moveList(source->head, target->head);
    target->ruleCount += source->ruleCount;
    source->ruleCount = 0;
    // from keeps its mark, which is never cleared.
    if (from->hasUserData != 0) {
        to->hasUserData = 1;
    }
    return RULE_OK;
}

}  // namespace rs
