// Building and freeing rule groups.
#include <ruleset.h>

#include "api/rule_type.h"
#include "core/memory.h"
#include "core/reference_count.h"
#include "core/rule_group.h"
#include "core/rule_set.h"

extern "C" int32_t rs_buildRuleGroup(RuleSet* set, RuleGroup** out) noexcept {
    if (set == nullptr || out == nullptr) {
        return RULE_ERR_INVALID_ARG;
    }
    rs::OwnedMemory<RuleGroup> group(rs::allocateRecord<RuleGroup>());
    if (!group) {
        return RULE_ERR_NO_MEMORY;
    }
    group->refCount = 1;
    const rs::RuleList* list = rs::ruleListOf(*set);
    if (list == nullptr) {
        return RULE_ERR_BAD_TYPE;
    }
    if (!rs::buildSlot(*set, *group)) {
        return RULE_ERR_NO_MEMORY;  // every slot is null then: the record is all to free
    }
    group->nonEmpty = list->ruleCount != 0 ? 1 : 0;
    // Copied: the set may register another callback, or be freed, before the group is.
    group->releaseCallback = set->releaseCallback;
    group->releaseContext = set->releaseContext;
    *out = group.release();
    return RULE_OK;
}

extern "C" int32_t rs_delRuleGroup(RuleGroup** group) noexcept {
    if (group == nullptr) {
        return RULE_ERR_INVALID_ARG;
    }
    if (*group != nullptr && rs::dropReference((*group)->refCount)) {
        rs::releaseSlots(**group, {(*group)->releaseCallback, (*group)->releaseContext, 0});
        rs::freeMemory(*group);
    }
    *group = nullptr;
    return RULE_OK;
}
