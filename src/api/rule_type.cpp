#include "api/rule_type.h"

#include <cstddef>
#include <iterator>
#include <type_traits>

#include "compound/compound_compile.h"
#include "compound/compound_rule.h"
#include "core/structure.h"
#include "domain/domain_compile.h"
#include "domain/domain_index.h"
#include "domain/domain_rule.h"
#include "ip/ip_compile.h"
#include "ip/ip_rule.h"
#include "ipport/ip_port_compile.h"
#include "ipport/ip_port_rule.h"
#include "packetfilter/packet_filter_compile.h"
#include "packetfilter/packet_filter_rule.h"
#include "url/url_compile.h"
#include "url/url_index.h"
#include "url/url_rule.h"

namespace rs {

namespace {

// A row: a type of rules, under one number or two.
struct RuleType {
    uint32_t numbers;  // bit n for the number n
    RuleList RuleSet::*list;
    int32_t (*parse)(const char* text, uint32_t length, const RuleValues& values,
                     ListLink** out) noexcept;
    void (*freeRule)(ListLink* link) noexcept;
    bool (*build)(RuleSet& set, RuleGroup& group) noexcept;
    void (*retain)(const RuleGroup& group, RuleGroup& copy) noexcept;
    void (*release)(RuleGroup& group, const ReleaseInfo& info) noexcept;
};

// The new record of makeRule as the link that a set keeps it by.
template <auto makeRule>
int32_t parseRecord(const char* text, uint32_t length, const RuleValues& values,
                    ListLink** out) noexcept {
    int32_t status = RULE_OK;
    auto* rule = makeRule(text, length, values, &status);
    if (rule != nullptr) {
        *out = &rule->links;
    }
    return status;
}

template <typename Rule, auto freeRule>
void freeRecord(ListLink* link) noexcept {
    freeRule(&ruleOf<Rule>(*link));
}

template <auto slot, auto build>
bool buildStructure(RuleSet& set, RuleGroup& group) noexcept {
    static_assert(std::is_same_v<decltype(build(&set, &group)),
                                 std::remove_reference_t<decltype(group.*slot)>>,
                  "build is for the slot of another type");
    return build(&set, &group) != nullptr;
}

template <auto slot>
void retainStructure(const RuleGroup& group, RuleGroup& copy) noexcept {
    shareStructure(group.*slot, copy.*slot);
}

template <auto slot, auto releaseStructure>
void releaseSlot(RuleGroup& group, const ReleaseInfo& info) noexcept {
    releaseStructure(&(group.*slot), &info);
}

template <typename Rule, auto makeRule, auto freeRule, auto slot, auto build, auto release>
constexpr RuleType makeRow(uint32_t numbers, RuleList RuleSet::*list) noexcept {
    return {numbers,
            list,
            parseRecord<makeRule>,
            freeRecord<Rule, freeRule>,
            buildStructure<slot, build>,
            retainStructure<slot>,
            releaseSlot<slot, release>};
}

constexpr uint32_t bit(uint32_t number) noexcept {
    return uint32_t{1} << number;
}

// Structures are released in the order of the rows.
constexpr RuleType RULE_TYPES[] = {
    makeRow<IpRule, makeIpRule, freeIpRule, &RuleGroup::ipTable, buildIpRuleTable,
            releaseIpRuleTable>(bit(RULE_TYPE_IP) | bit(RULE_TYPE_IP_ALT), &RuleSet::ipRules),
    makeRow<UrlRule, makeUrlRule, freeUrlRule, &RuleGroup::urlIndex, buildUrlIndex,
            releaseUrlIndex>(bit(RULE_TYPE_URL), &RuleSet::urlRules),
    makeRow<DomainRule, makeDomainRule, freeDomainRule, &RuleGroup::domainIndex, buildDomainIndex,
            releaseDomainIndex>(bit(RULE_TYPE_FQDN), &RuleSet::domainRules),
    makeRow<PacketFilterRule, makePacketFilterRule, freePacketFilterRule,
            &RuleGroup::packetFilterTable, buildPacketFilterTable, releasePacketFilterTable>(
        bit(RULE_TYPE_PACKET_FILTER), &RuleSet::packetFilterRules),
    makeRow<IpPortRule, makeIpPortRule, freeIpPortRule, &RuleGroup::ipPortIndex, buildIpPortIndex,
            releaseIpPortIndex>(bit(RULE_TYPE_IP_PORT), &RuleSet::ipPortRules),
    makeRow<CompoundRuleRecord, makeCompoundRule, freeCompoundRecord, &RuleGroup::compoundTable,
            buildCompoundTable, releaseCompoundTable>(bit(RULE_TYPE_COMPOUND),
                                                      &RuleSet::compoundRules),
};

constexpr const RuleType* findRuleType(uint32_t number) noexcept {
    for (const RuleType& type : RULE_TYPES) {
        if (number <= LAST_RULE_TYPE && (type.numbers & bit(number)) != 0) {
            return &type;
        }
    }
    return nullptr;
}

constexpr bool hasEachTypeOneRow() noexcept {
    uint32_t seen = 0;
    for (const RuleType& type : RULE_TYPES) {
        if ((seen & type.numbers) != 0) {
            return false;
        }
        seen |= type.numbers;
    }
    return seen == bit(LAST_RULE_TYPE + 1) - bit(FIRST_RULE_TYPE);
}

constexpr bool isAnyListOfTwoRows() noexcept {
    for (const RuleType& type : RULE_TYPES) {
        for (const RuleType& other : RULE_TYPES) {
            if (&type != &other && type.list == other.list) {
                return true;
            }
        }
    }
    return false;
}

static_assert(hasEachTypeOneRow());
static_assert(!isAnyListOfTwoRows());
static_assert(offsetof(RuleSet, hasUserData) - offsetof(RuleSet, ipRules) ==
                  std::size(RULE_TYPES) * sizeof(RuleList),
              "a list of RuleSet has no row");
static_assert(offsetof(RuleGroup, releaseCallback) - offsetof(RuleGroup, ipTable) ==
                  std::size(RULE_TYPES) * sizeof(void*),
              "a slot of RuleGroup has no row");

}  // namespace

void resetLists(RuleSet& set) noexcept {
    for (const RuleType& type : RULE_TYPES) {
        resetList((set.*type.list).head);
    }
}

RuleList* ruleListOf(RuleSet& set) noexcept {
    const RuleType* type = findRuleType(set.type);
    return type == nullptr ? nullptr : &(set.*type->list);
}

int32_t parseRule(const RuleSet& set, const char* text, uint32_t length, const RuleValues& values,
                  ListLink** out) noexcept {
    const RuleType* type = findRuleType(set.type);
    return type == nullptr ? RULE_ERR_BAD_TYPE : type->parse(text, length, values, out);
}

void freeRules(RuleSet& set) noexcept {
    for (const RuleType& type : RULE_TYPES) {
        RuleList& list = set.*type.list;
        freeList(list.head, type.freeRule);
        list.ruleCount = 0;
    }
}

bool buildSlot(RuleSet& set, RuleGroup& group) noexcept {
    const RuleType* type = findRuleType(set.type);
    return type != nullptr && type->build(set, group);
}

void retainSlots(const RuleGroup& group, RuleGroup& copy) noexcept {
    for (const RuleType& type : RULE_TYPES) {
        type.retain(group, copy);
    }
}

void releaseSlots(RuleGroup& group, const ReleaseInfo& info) noexcept {
    for (const RuleType& type : RULE_TYPES) {
        type.release(group, info);
    }
}

}  // namespace rs
