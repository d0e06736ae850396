// Creating, filling and freeing rule sets.
#include <ruleset.h>

#include "api/rule_type.h"
#include "core/list.h"
#include "core/memory.h"
#include "core/rule_set.h"

using rs::RuleList;

extern "C" int32_t rs_newRuleSet(int32_t type, RuleSet** out) noexcept {
    if (out == nullptr || type < int32_t{rs::FIRST_RULE_TYPE} ||
        type > int32_t{rs::LAST_RULE_TYPE}) {
        return RULE_ERR_INVALID_ARG;
    }
    auto* set = rs::allocateRecord<RuleSet>();
    if (set == nullptr) {
        return RULE_ERR_NO_MEMORY;
    }
    set->type = static_cast<uint32_t>(type);
    rs::resetLists(*set);
    *out = set;
    return RULE_OK;
}

extern "C" int32_t rs_addRuleToRuleSet(RuleSet* set, const char* text, uint32_t length,
                                       uint32_t ruleValue, uint32_t ruleId) noexcept {
    return rs_addRuleToRuleSetEx(set, text, length, ruleValue, ruleId, nullptr);
}

extern "C" int32_t rs_addRuleToRuleSetEx(RuleSet* set, const char* text, uint32_t length,
                                         uint32_t ruleValue, uint32_t ruleId,
                                         void* userData) noexcept {
    // ruleset.h promises the order of these checks.
    if (set == nullptr || ruleId == 0) {
        return RULE_ERR_INVALID_ARG;
    }
    RuleList* list = rs::ruleListOf(*set);
    if (list == nullptr) {
        return RULE_ERR_BAD_TYPE;
    }
    if (list->ruleCount == UINT32_MAX) {
        return RULE_ERR_SET_FULL;
    }
    if (text == nullptr) {
        return RULE_ERR_INVALID_ARG;
    }
    rs::ListLink* record = nullptr;
    const int32_t status =
        rs::parseRule(*set, text, length, {ruleValue, ruleId, userData}, &record);
    if (status != RULE_OK) {
        return status;
    }
    ++list->ruleCount;
    rs::appendToList(list->head, *record);
    if (userData != nullptr) {
        set->hasUserData = 1;
    }
    return RULE_OK;
}

extern "C" int32_t rs_registerRuleCallback(RuleSet* set, int32_t kind, RuleReleaseCallback callback,
                                           void* context) noexcept {
    if (set == nullptr) {
        return RULE_ERR_INVALID_ARG;
    }
    if (kind != RULE_CALLBACK_RELEASE) {
        return RULE_ERR_FAILED;
    }
    set->releaseCallback = callback;
    set->releaseContext = context;
    return RULE_OK;
}

extern "C" int32_t rs_delRuleSet(RuleSet** set) noexcept {
    if (set == nullptr) {
        return RULE_ERR_INVALID_ARG;
    }
    if (*set != nullptr) {
        rs::freeRules(**set);
        rs::freeMemory(*set);
        *set = nullptr;
    }
    return RULE_OK;
}
