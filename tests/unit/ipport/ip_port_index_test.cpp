#include "ipport/ip_port_index.h"

#include <ruleset.h>

#include <cstdint>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "core/release.h"
#include "core/rule_group.h"
#include "ipport/ip_port_compile.h"
#include "support/release_recorder.h"
#include "support/rule_builder.h"

namespace rs::test {

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;

TEST(IpPortRelease, HandsEveryUserDataBackOnce) {
    int data[4] = {};
    ReleaseRecorder recorder;
    const RuleSetHandle set =
        makeIpPortRuleSet({{"*;*;*;*;1", 0, &data[0]},
                           {"1.1.1.1,::1;*;*;*;1", 0, &data[1]},
                           {"1.0.0.0/8;*;*;*;1", 0, &data[2]},
                           {"1.0.0.0/8;*;*;*;1"},
                           {"2001:db8::/32,2001:db9::/32;*;*;*;1", 0, &data[3]}});
    ASSERT_EQ(RULE_OK, recorder.registerOn(*set));
    RuleGroupHandle group = buildRuleGroup(*set);
    EXPECT_THAT(recorder.order(), IsEmpty());
    group.reset();
    EXPECT_THAT(recorder.order(), UnorderedElementsAre(&data[0], &data[1], &data[2], &data[3]));
}

// What is freed first: every first address, then single ones, then ranges, IPv4 before 128 bits.
TEST(IpPortRelease, GoesStructureByStructure) {
    int data[6] = {};
    ReleaseRecorder recorder;
    const RuleSetHandle set =
        makeIpPortRuleSet({{"2001:db8::/32;1;*;1;1", 0, &data[5]},
                           {"2001:db8::1;1;*;1;1", 0, &data[4]},
                           {"::-ffff:ffff:ffff:ffff:ffff:ffff:ffff:ffff;1;*;1;1", 0, &data[3]},
                           {"1.0.0.0/8;1;*;1;1", 0, &data[2]},
                           {"1.1.1.1;1;*;1;1", 0, &data[1]},
                           {"*;1;*;1;1", 0, &data[0]}});
    ASSERT_EQ(RULE_OK, recorder.registerOn(*set));
    buildRuleGroup(*set).reset();
    EXPECT_THAT(recorder.order(),
                ElementsAre(&data[0], &data[1], &data[2], &data[3], &data[4], &data[5]));
}

TEST(IpPortRelease, WaitsForTheLastReference) {
    int userData = 0;
    ReleaseRecorder recorder;
    const RuleSetHandle set = makeIpPortRuleSet({{"*;*;*;*;1", 0, &userData}});
    ASSERT_EQ(RULE_OK, recorder.registerOn(*set));
    const RuleGroupHandle group = buildRuleGroup(*set);
    const ReleaseInfo info{ReleaseRecorder::record, &recorder, 0};
    IpPortIndex* other = group->ipPortIndex;
    ++other->refCount;
    releaseIpPortIndex(&group->ipPortIndex, &info);
    EXPECT_EQ(nullptr, group->ipPortIndex);
    EXPECT_EQ(1, other->refCount);
    EXPECT_THAT(recorder.order(), IsEmpty());
    releaseIpPortIndex(&other, &info);
    EXPECT_EQ(nullptr, other);
    EXPECT_THAT(recorder.order(), ElementsAre(&userData));
    releaseIpPortIndex(&other, &info);
    releaseIpPortIndex(nullptr, &info);
    EXPECT_EQ(1, recorder.order().size());
}

TEST(IpPortRelease, NeedsACallback) {
    int userData = 0;
    const RuleSetHandle set = makeIpPortRuleSet({{"*;*;*;*;1", 0, &userData}});
    RuleGroup group{};
    ASSERT_NE(nullptr, buildIpPortIndex(set.get(), &group));
    const ReleaseInfo info{};
    releaseIpPortIndex(&group.ipPortIndex, &info);
    EXPECT_EQ(nullptr, group.ipPortIndex);
}

TEST(IpPortHulls, AreExactForOneRangeOfEach) {
    PortRange ports{80, 90, nullptr};
    PortRange morePorts{5, 5, &ports};
    AddressRange second{{{7, 0, 0, 0}}, {{9, 0, 0, 0}}, nullptr};
    CompiledIpPortRule entry{};
    EXPECT_FALSE(hullsOf(entry, true).isKnown);
    entry.firstPorts = &ports;
    entry.secondAddresses = &second;
    EXPECT_FALSE(hullsOf(entry, true).isKnown);
    entry.secondPorts = &ports;
    entry.ruleMask = 6;
    EXPECT_TRUE(hullsOf(entry, true).isKnown);
    EXPECT_TRUE(hullsOf(entry, true).isExact);
    EXPECT_TRUE(hullsOf(entry, false).isKnown);
    EXPECT_FALSE(hullsOf(entry, false).isExact) << "the upper end is not all of its first word";
    EXPECT_EQ(7, hullsOf(entry, true).hull.second.low);
    EXPECT_EQ(9, hullsOf(entry, true).hull.second.high);
    EXPECT_EQ(6, hullsOf(entry, true).hull.mask);
    entry.firstPorts = &morePorts;
    EXPECT_FALSE(hullsOf(entry, true).isExact);
    EXPECT_EQ(5, hullsOf(entry, true).hull.firstPorts.low);
    EXPECT_EQ(90, hullsOf(entry, true).hull.firstPorts.high);
}

}  // namespace

}  // namespace rs::test
