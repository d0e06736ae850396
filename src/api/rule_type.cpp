#include "api/rule_type.h"

#include "core/memory.h"
#include "core/reference_count.h"
#include "ip/ip_compile.h"
#include "ip/ip_rule.h"

namespace rs {

namespace {

int32_t parseIpRecord(const char* text, uint32_t length, const RuleValues& values,
                      ListLink** out) noexcept {
    int32_t status = RULE_OK;
    OwnedMemory<IpRule> rule = makeIpRule(text, length, values, &status);
    if (rule) {
        *out = &rule.release()->links;
    }
    return status;
}

void freePlainRecords(RuleList& list) noexcept {
    freeList(list.head, freeMemory<ListLink>);
    list.ruleCount = 0;
}

}  // namespace

RuleList* ruleListOf(RuleSet& set) noexcept {
    switch (set.type) {
        case RULE_TYPE_IP:
        case RULE_TYPE_IP_ALT:
            return &set.ipRules;
        case RULE_TYPE_FQDN:
            return &set.domainRules;
        case RULE_TYPE_URL:
            return &set.urlRules;
        case RULE_TYPE_PACKET_FILTER:
            return &set.packetFilterRules;
        case RULE_TYPE_IP_PORT:
            return &set.ipPortRules;
        case RULE_TYPE_COMPOUND:
            return &set.compoundRules;
        default:
            return nullptr;
    }
}

int32_t parseRule(const RuleSet& set, const char* text, uint32_t length, const RuleValues& values,
                  ListLink** out) noexcept {
    switch (set.type) {
        case RULE_TYPE_IP:
        case RULE_TYPE_IP_ALT:
            return parseIpRecord(text, length, values, out);
        default:
            return RULE_ERR_BAD_TYPE;
    }
}

bool buildSlot(RuleSet& set, RuleGroup& group) noexcept {
    switch (set.type) {
        case RULE_TYPE_IP:
        case RULE_TYPE_IP_ALT:
            return buildIpRuleTable(&set, &group) != nullptr;
        default:
            return true;  // parseRule takes no rules of these types: there is nothing to compile
    }
}

void retainSlots(const RuleGroup& group, RuleGroup& copy) noexcept {
    if (group.ipTable != nullptr) {
        retainReference(group.ipTable->refCount);
        copy.ipTable = group.ipTable;
    }
}

void releaseSlots(RuleGroup& group, const ReleaseInfo& info) noexcept {
    releaseIpRuleTable(&group.ipTable, &info);
}

void freeRules(RuleSet& set) noexcept {
    freePlainRecords(set.ipRules);
}

}  // namespace rs
