#include "api/rule_type.h"

#include "compound/compound_compile.h"
#include "compound/compound_rule.h"
#include "core/reference_count.h"
#include "domain/domain_index.h"
#include "domain/domain_rule.h"
#include "ip/ip_compile.h"
#include "ip/ip_rule.h"
#include "ipport/ip_port_index.h"
#include "ipport/ip_port_rule.h"
#include "packetfilter/packet_filter_index.h"
#include "packetfilter/packet_filter_rule.h"
#include "url/url_index.h"
#include "url/url_rule.h"

namespace rs {

namespace {

// The new record of make as the link that a set keeps it by.
template <auto make>
int32_t parseRecord(const char* text, uint32_t length, const RuleValues& values,
                    ListLink** out) noexcept {
    int32_t status = RULE_OK;
    auto* rule = make(text, length, values, &status);
    if (rule != nullptr) {
        *out = &rule->links;
    }
    return status;
}

// Every record begins with its links.
template <typename Rule, auto freeRule>
void freeRecords(RuleList& list) noexcept {
    freeList(list.head,
             [](ListLink* record) noexcept { freeRule(reinterpret_cast<Rule*>(record)); });
    list.ruleCount = 0;
}

template <typename Structure>
void retainStructure(Structure* structure, Structure*& copy) noexcept {
    if (structure != nullptr) {
        retainReference(structure->refCount);
        copy = structure;
    }
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
            return parseRecord<makeIpRule>(text, length, values, out);
        case RULE_TYPE_FQDN:
            return parseRecord<makeDomainRule>(text, length, values, out);
        case RULE_TYPE_URL:
            return parseRecord<makeUrlRule>(text, length, values, out);
        case RULE_TYPE_PACKET_FILTER:
            return parseRecord<makePacketFilterRule>(text, length, values, out);
        case RULE_TYPE_IP_PORT:
            return parseRecord<makeIpPortRule>(text, length, values, out);
        case RULE_TYPE_COMPOUND:
            return parseRecord<makeCompoundRule>(text, length, values, out);
        default:
            return RULE_ERR_BAD_TYPE;
    }
}

bool buildSlot(RuleSet& set, RuleGroup& group) noexcept {
    switch (set.type) {
        case RULE_TYPE_IP:
        case RULE_TYPE_IP_ALT:
            return buildIpRuleTable(&set, &group) != nullptr;
        case RULE_TYPE_FQDN:
            return compileDomainRules(&set, &group) != nullptr;
        case RULE_TYPE_URL:
            return compileUrlRules(&set, &group) != nullptr;
        case RULE_TYPE_PACKET_FILTER:
            return buildPacketFilterTable(&set, &group) != nullptr;
        case RULE_TYPE_IP_PORT:
            return buildIpPortIndex(&set, &group) != nullptr;
        case RULE_TYPE_COMPOUND:
            return buildCompoundTable(&set, &group) != nullptr;
        default:
            return false;
    }
}

void retainSlots(const RuleGroup& group, RuleGroup& copy) noexcept {
    retainStructure(group.ipTable, copy.ipTable);
    retainStructure(group.urlIndex, copy.urlIndex);
    retainStructure(group.domainIndex, copy.domainIndex);
    retainStructure(group.packetFilterTable, copy.packetFilterTable);
    retainStructure(group.ipPortIndex, copy.ipPortIndex);
    retainStructure(group.compoundTable, copy.compoundTable);
}

void releaseSlots(RuleGroup& group, const ReleaseInfo& info) noexcept {
    releaseIpRuleTable(&group.ipTable, &info);
    releaseUrlIndex(&group.urlIndex, &info);
    releaseDomainIndex(&group.domainIndex, &info);
    releasePacketFilterTable(&group.packetFilterTable, &info);
    destroyIpPortIndex(&group.ipPortIndex, &info);
    releaseCompoundTable(&group.compoundTable, &info);
}

void freeRules(RuleSet& set) noexcept {
    freeRecords<IpRule, freeIpRule>(set.ipRules);
    freeRecords<DomainRule, freeDomainRule>(set.domainRules);
    freeRecords<UrlRule, freeUrlRule>(set.urlRules);
    freeRecords<PacketFilterRule, freePacketFilterRule>(set.packetFilterRules);
    freeRecords<IpPortRule, freeIpPortRule>(set.ipPortRules);
    freeRecords<CompoundRuleRecord, freeCompoundRecord>(set.compoundRules);
}

}  // namespace rs
