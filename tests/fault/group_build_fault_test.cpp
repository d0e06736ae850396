// Groups of rules with endpoints and of compound rules when memory runs out while they are built, and
// what is the same in every type.
#include <ruleset.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "core/structure.h"
#include "lookup/flat_policy.h"
#include "packetfilter/packet_filter_rule.h"
#include "support/failing_allocator.h"
#include "support/fault_build.h"
#include "support/fault_host.h"
#include "support/rule_builder.h"
#include "syntax/address128.h"

namespace rs::test {

namespace {

constexpr struct {
    int32_t type;
    std::string_view name;
} EMPTY_SETS[] = {
    {RULE_TYPE_FQDN, "an empty set of domain rules"},
    {RULE_TYPE_URL, "an empty set of URL rules"},
    {RULE_TYPE_PACKET_FILTER, "an empty set of packet filter rules"},
    {RULE_TYPE_IP_PORT, "an empty set of IP:Port rules"},
    {RULE_TYPE_COMPOUND, "an empty set of compound rules"},
};

TEST(GroupBuildFault, EmptySets) {
    for (const auto& row : EMPTY_SETS) {
        BuildPlan plan;
        plan.rules.type = row.type;
        plan.rules.keys = {"www.example.com"};
        const FaultTotals totals = failBuild(row.name, plan);
        EXPECT_EQ(2U, totals.allocations);
        EXPECT_EQ(2U, totals.failedBuilds);
    }
}

// The types with endpoints: the same rules, written for either.

struct EndpointRule {
    std::string first;
    std::string firstPorts;
    std::string second;
    std::string secondPorts;
    bool hasUserData = true;
};

std::string textOf(const EndpointRule& rule, int32_t type) {
    const std::string fields =
        rule.first + ';' + rule.firstPorts + ';' + rule.second + ';' + rule.secondPorts;
    return type == RULE_TYPE_IP_PORT ? fields + ";1" : "tcp;" + fields;
}

BuildPlan endpointPlan(int32_t type, const std::vector<EndpointRule>& rules, Positions later) {
    BuildPlan plan{{type, {}, {}}, std::move(later), {}, {}};
    for (const EndpointRule& rule : rules) {
        plan.rules.rules.push_back({textOf(rule, type), rule.hasUserData});
    }
    return plan;
}

constexpr struct {
    int32_t type;
    std::string_view name;
} ENDPOINT_TYPES[] = {
    {RULE_TYPE_PACKET_FILTER, "packet filter rules"},
    {RULE_TYPE_IP_PORT, "IP:Port rules"},
};

TEST(GroupBuildFault, EndpointRules) {
    // One of each kind of first and second address; the fifth and sixth have no IPv4 form.
    const std::vector<EndpointRule> rules = {
        {"10.0.0.1", "80", "10.0.0.1", "80"},
        {"10.0.0.0/24", "80,443,90-95", "192.168.0.0/16", "*", false},
        {"*", "*", "10.0.0.1", "443"},
        {"10.0.0.1", "443", "*", "80"},
        {"2001:db8::1", "80", "2001:db8::/32", "*"},
        {"2001:db8::/64", "*", "2001:db8::1", "443,80"},
        {"::ffff:10.1.2.3", "80", "::ffff:192.168.0.1", "80"},
        {"::ffff:10.3.0.0/112", "80", "*", "80"},
        {"10.0.0.1", "80", "10.0.0.1", "80"},
        {"::-ffff:ffff:ffff:ffff:ffff:ffff:ffff:ffff", "5000", "*", "443"},
        {"0.0.0.0-255.255.255.255", "443", "192.168.0.1", "5000"},
        {"*", "5000", "*", "5000"},
    };
    for (const auto& row : ENDPOINT_TYPES) {
        expectBuildsFail(row.name, endpointPlan(row.type, rules, {5, 6, 10}));
    }
}

TEST(GroupBuildFault, EndpointRulesInManyBlocks) {
    // 18 blocks of 65536 addresses, chains of several rules in two of them.
    const std::vector<EndpointRule> rules = {
        {"9.250.0.0-10.2.255.255", "1-65535", "10.0.0.0/8", "80"},
        {"10.0.0.0-10.1.255.255", "80", "*", "*"},
        {"10.1.2.0/24", "443", "192.168.0.1", "80"},
        {"10.0.0.0-10.0.0.255", "*", "*", "80", false},
    };
    for (const auto& row : ENDPOINT_TYPES) {
        expectBuildsFail(std::string(row.name) + " in many blocks",
                         endpointPlan(row.type, rules, {}));
    }
}

TEST(GroupBuildFault, EndpointRulesInChains) {
    std::vector<EndpointRule> rules;
    for (uint32_t i = 0; i < 20; ++i) {
        const std::string port = std::to_string(i % 2 == 0 ? 80 + i : 5000 - i);
        rules.push_back({"10.0.0.1", port, "10.0.0.1", "80"});
        rules.push_back({"10.0.0.0/30", "80", "10.0.0.1", port, i % 3 != 0});
    }
    for (const auto& row : ENDPOINT_TYPES) {
        expectBuildsFail(std::string(row.name) + " in chains", endpointPlan(row.type, rules, {}));
    }
}

TEST(GroupBuildFault, EndpointRulesOfManyRanges) {
    // More ranges than the finder of equal ones has room for at first, some of them twice.
    std::vector<EndpointRule> rules;
    Positions later;
    for (uint32_t i = 0; i < 72; ++i) {
        const std::string group = std::to_string(i % 66);
        rules.push_back({"2001:db8:" + group + "::/48", "80", "2001:db8::1", "80"});
        later.push_back(i + 1);
    }
    rules.push_back({"2001:db8::-2001:db8::ffff", "*", "*", "*"});
    later.push_back(73);
    for (const auto& row : ENDPOINT_TYPES) {
        expectBuildsFail(std::string(row.name) + " of many ranges",
                         endpointPlan(row.type, rules, later));
    }
}

TEST(GroupBuildFault, EndpointRulesInACrowdedBlock) {
    // Enough for flat lookups of the block and of the ranges, which a build may do without.
    std::vector<EndpointRule> rules;
    for (uint32_t i = 0; i < 40; ++i) {
        const std::string low = "10.0.0." + std::to_string(i);
        rules.push_back({low + "-10.0.1." + std::to_string(200 - i), "80", "10.0.0.1", "80"});
    }
    for (const auto& row : ENDPOINT_TYPES) {
        const std::string name = std::string(row.name) + " in a crowded block";
        const FaultTotals totals = failBuild(name, endpointPlan(row.type, rules, {}));
        EXPECT_EQ(totals.failures, totals.failedBuilds + totals.complete);
        EXPECT_EQ(flatUse != FlatUse::NEVER, totals.complete > 10);
    }
}

TEST(GroupBuildFault, IpPortRulesOfManyItems) {
    const BuildPlan plan{
        {RULE_TYPE_IP_PORT,
         {{"10.0.0.1,10.0.0.200,10.1.0.0-10.3.0.5;80,443;10.0.0.1,192.168.0.1;80,443;1"},
          // An item of each family: the rule enters in both halves and is handed back once.
          {"2001:db8::1,10.0.0.1,fe80::/10;80;2001:db8::1,192.168.0.1;*;1"},
          {"2001:db8::1,fe80::1;5000;10.0.0.1;80;1"},
          {"*;80;2001:db8::/32,10.0.0.1;80;0x1", false},
          {"10.0.0.1,10.0.0.1;*;*;5000;1"}},
         {}},
        {3},
        {},
        {}};
    expectBuildsFail("IP:Port rules of many items", plan);
}

TEST(GroupBuildFault, ThousandsOfEndpointRules) {
    std::vector<EndpointRule> rules;
    for (uint32_t i = 0; i < 2000; ++i) {
        const std::string address =
            "10." + std::to_string(i / 250) + '.' + std::to_string(i % 250) + ".1";
        rules.push_back({address, "80", i % 2 == 0 ? "10.0.0.1" : "*", "80"});
    }
    for (const auto& row : ENDPOINT_TYPES) {
        BuildPlan plan = endpointPlan(row.type, rules, {});
        plan.isLarge = true;
        const FaultTotals totals = failBuild("2000 " + std::string(row.name), plan);
        EXPECT_EQ(totals.failures, totals.failedBuilds + totals.complete);
        EXPECT_EQ(0U, totals.leftOut);
        EXPECT_EQ(flatUse != FlatUse::NEVER, totals.complete > 0) << "without a flat lookup";
    }
}

// The tests above see that the next build answers alike.
TEST(GroupBuildFault, FailedPacketFilterBuildMayHaveRewrittenRecords) {
    uint32_t rewritten = 0;
    failEachAllocation([&](uint64_t number) {
        const RuleSetHandle set = makePacketFilterRuleSet({{"tcp;10.0.0.0/8;22;*;*"}});
        const auto& rule = ruleOf<PacketFilterRule>(*set->packetFilterRules.head.next);
        EXPECT_FALSE(isIpv4Mapped(rule.fields.secondAddressStart));
        const AllocationWatch watch(number);
        RuleGroup* group = nullptr;
        rs_buildRuleGroup(set.get(), &group);
        rewritten += group == nullptr && isIpv4Mapped(rule.fields.secondAddressStart) ? 1 : 0;
        rs_delRuleGroup(&group);
        return watch.hasFailed();
    });
    EXPECT_LT(0U, rewritten);
}

// Compound rules.

TEST(GroupBuildFault, CompoundRules) {
    const BuildPlan plan{{RULE_TYPE_COMPOUND,
                          {{"1;1;10.0.0.1;80;0;1"},
                           {"1-10,70*,100;5*;10.0.0.0/8,::1,*;80,443-444;0x7;7"},
                           {"*;*;*;443;0;0", false},
                           {"1;1;10.0.0.1;80;0;1"},
                           {"5;5;2001:db8::1-2001:db8::9,192.168.0.1;*;2;1"}},
                          {}},
                         {},
                         {},
                         {}};
    expectBuildsFail("compound rules", plan);
}

TEST(GroupBuildFault, ManyCompoundRules) {
    BuildPlan plan{{RULE_TYPE_COMPOUND, {}, {}}, {}, {}, {}};
    for (uint32_t i = 0; i < 60; ++i) {
        plan.rules.rules.push_back({std::to_string(i) + ",70;*;10.0.0.1,192.168.0.0/16;" +
                                        std::to_string(60 + i) + ",443;0;" + std::to_string(i),
                                    i % 4 != 0});
    }
    expectBuildsFail("60 compound rules", plan);
}

// Sets without userData keep no account of it, and sets without callback do not hand it back.

const std::vector<FaultRules>& smallSets() {
    static const std::vector<FaultRules> SETS = {
        {RULE_TYPE_FQDN, {{"a.test"}, {"*.a.test"}, {"a.test"}, {"*"}}, {"a.test", "b.a.test"}},
        {RULE_TYPE_URL, {{"a.test/x"}, {"https://*.a.test"}, {"a.test/x"}, {"*"}}, {"a.test/x"}},
        {RULE_TYPE_PACKET_FILTER, {{"tcp;10.0.0.1;80;*;*"}, {"tcp;::/1;80;*;*"}}, {}},
        {RULE_TYPE_IP_PORT, {{"10.0.0.1;80;*;*;1"}, {"::/1,10.0.0.0/24;80;*;*;1"}}, {}},
        {RULE_TYPE_COMPOUND, {{"1;1;10.0.0.1;80;0;1"}, {"*;*;*;*;0;0"}}, {}},
    };
    return SETS;
}

TEST(GroupBuildFault, RulesWithoutUserData) {
    for (const FaultRules& rules : smallSets()) {
        BuildPlan plan{rules, {}, {}, {}};
        for (FaultRule& rule : plan.rules.rules) {
            rule.hasUserData = false;
        }
        failBuild("rules without userData of type " + std::to_string(rules.type), plan);
    }
}

TEST(GroupBuildFault, FailedBuildWithoutCallbackHandsNothingBack) {
    uint64_t failures = 0;
    for (const FaultRules& rules : smallSets()) {
        SCOPED_TRACE(rules.type);
        failures += failEachAllocation([&](uint64_t number) {
            FaultHost host(rules);
            rs_registerRuleCallback(&host.set(), RULE_CALLBACK_RELEASE, nullptr, nullptr);
            const AllocationWatch watch(number);
            RuleGroup* group = nullptr;
            rs_buildRuleGroup(&host.set(), &group);
            rs_delRuleGroup(&group);
            EXPECT_EQ(Positions(), host.takeHandedBack());
            EXPECT_EQ(0U, watch.liveBlockCount());
            return watch.hasFailed();
        });
    }
    reportFailures("building without callback", failures);
}

}  // namespace

}  // namespace rs::test
