#include "core/rule_set.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "compound/compound_rule.h"
#include "domain/domain_rule.h"
#include "ip/ip_rule.h"
#include "ipport/ip_port_rule.h"
#include "packetfilter/packet_filter_rule.h"
#include "support/rule_builder.h"
#include "url/url_rule.h"

namespace rs::test {

namespace {

// A record is found by its link, whatever its type.
static_assert(offsetof(IpRule, links) == 0);
static_assert(offsetof(DomainRule, links) == 0);
static_assert(offsetof(UrlRule, links) == 0);
static_assert(offsetof(PacketFilterRule, links) == 0);
static_assert(offsetof(IpPortRule, links) == 0);
static_assert(offsetof(CompoundRuleRecord, links) == 0);

struct TypedRules {
    int32_t type;
    RuleList RuleSet::*list;
    std::string_view rule;
};

constexpr TypedRules TYPED_RULES[] = {
    {RULE_TYPE_IP, &RuleSet::ipRules, "10.0.0.1"},
    {RULE_TYPE_IP_ALT, &RuleSet::ipRules, "10.0.0.1"},
    {RULE_TYPE_FQDN, &RuleSet::domainRules, "example.com"},
    {RULE_TYPE_URL, &RuleSet::urlRules, "http://example.com/a"},
    {RULE_TYPE_PACKET_FILTER, &RuleSet::packetFilterRules, "tcp;*;*;*;*"},
    {RULE_TYPE_IP_PORT, &RuleSet::ipPortRules, "*;*;*;*;1"},
};

constexpr std::array<RuleList RuleSet::*, 6> LISTS = {
    &RuleSet::ipRules,           &RuleSet::domainRules, &RuleSet::urlRules,
    &RuleSet::packetFilterRules, &RuleSet::ipPortRules, &RuleSet::compoundRules};

uint32_t valueOf(const RuleSet& set, const ListLink* link) {
    switch (set.type) {
        case RULE_TYPE_FQDN:
            return reinterpret_cast<const DomainRule*>(link)->ruleValue;
        case RULE_TYPE_URL:
            return reinterpret_cast<const UrlRule*>(link)->ruleValue;
        case RULE_TYPE_PACKET_FILTER:
            return reinterpret_cast<const PacketFilterRule*>(link)->ruleValue;
        case RULE_TYPE_IP_PORT:
            return reinterpret_cast<const IpPortRule*>(link)->ruleValue;
        default:
            return reinterpret_cast<const IpRule*>(link)->ruleValue;
    }
}

std::vector<uint32_t> valuesOf(const RuleSet& set, const RuleList& list) {
    std::vector<uint32_t> values;
    for (const ListLink* link = list.head.next; link != &list.head; link = link->next) {
        EXPECT_EQ(link, link->next->prev);
        values.push_back(valueOf(set, link));
    }
    return values;
}

TEST(RuleSet, FillsTheListOfItsTypeOnly) {
    for (const TypedRules& typed : TYPED_RULES) {
        SCOPED_TRACE(typed.type);
        const RuleSetHandle set = newRuleSet(typed.type);
        for (const uint32_t value : {30U, 10U, 20U}) {
            ASSERT_EQ(RULE_OK, addRule(*set, typed.rule, value, 1));
        }
        for (RuleList RuleSet::*const list : LISTS) {
            const RuleList& rules = (*set).*list;
            EXPECT_EQ(list == typed.list ? 3 : 0, rules.ruleCount);
            EXPECT_EQ(list != typed.list, isListEmpty(rules.head));
        }
        EXPECT_EQ((std::vector<uint32_t>{30, 10, 20}), valuesOf(*set, (*set).*typed.list))
            << "in the order of their addition";
    }
}

TEST(RuleSet, KeepsNothingOfABadRule) {
    for (const TypedRules& typed : TYPED_RULES) {
        SCOPED_TRACE(typed.type);
        int userData = 0;
        const RuleSetHandle set = newRuleSet(typed.type);
        EXPECT_NE(RULE_OK, addRule(*set, " ", 1, 2, &userData));
        EXPECT_EQ(0, ((*set).*typed.list).ruleCount);
        EXPECT_TRUE(isListEmpty(((*set).*typed.list).head));
        EXPECT_EQ(0, set->hasUserData);
    }
}

}  // namespace

}  // namespace rs::test
