#include "packetfilter/packet_filter_index.h"

#include <ruleset.h>

#include <cstdint>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "core/release.h"
#include "core/rule_group.h"
#include "packetfilter/packet_filter_compile.h"
#include "support/release_recorder.h"
#include "support/rule_builder.h"

namespace rs::test {

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;

TEST(PacketFilterRelease, HandsEveryUserDataBackOnce) {
    int data[5] = {};
    ReleaseRecorder recorder;
    const RuleSetHandle set = makePacketFilterRuleSet({{"tcp;*;*;*;*", 0, &data[0]},
                                                       {"tcp;10.0.0.0/8;*;*;*", 0, &data[1]},
                                                       {"tcp;10.0.0.1;*;*;*", 0, &data[2]},
                                                       {"tcp;10.0.0.1;*;*;*"},
                                                       {"tcp;2001:db8::/32;*;*;*", 0, &data[3]},
                                                       {"tcp;2001:db8::1;*;*;*", 0, &data[4]}});
    ASSERT_EQ(RULE_OK, recorder.registerOn(*set));
    RuleGroupHandle group = buildRuleGroup(*set);
    EXPECT_THAT(recorder.order(), IsEmpty());
    group.reset();
    EXPECT_THAT(recorder.order(),
                UnorderedElementsAre(&data[0], &data[1], &data[2], &data[3], &data[4]));
}

TEST(PacketFilterRelease, WaitsForTheLastReference) {
    int userData = 0;
    ReleaseRecorder recorder;
    const RuleSetHandle set = makePacketFilterRuleSet({{"tcp;*;*;*;*", 0, &userData}});
    ASSERT_EQ(RULE_OK, recorder.registerOn(*set));
    const RuleGroupHandle group = buildRuleGroup(*set);
    const ReleaseInfo info{ReleaseRecorder::record, &recorder, 0};
    PacketFilterTable* other = group->packetFilterTable;
    ++other->refCount;
    releasePacketFilterTable(&group->packetFilterTable, &info);
    EXPECT_EQ(nullptr, group->packetFilterTable);
    EXPECT_EQ(1, other->refCount);
    EXPECT_THAT(recorder.order(), IsEmpty());
    releasePacketFilterTable(&other, &info);
    EXPECT_EQ(nullptr, other);
    EXPECT_THAT(recorder.order(), ElementsAre(&userData));
    releasePacketFilterTable(&other, &info);
    releasePacketFilterTable(nullptr, &info);
    EXPECT_EQ(1, recorder.order().size());
}

TEST(PacketFilterRelease, NeedsACallback) {
    int userData = 0;
    const RuleSetHandle set = makePacketFilterRuleSet({{"tcp;*;*;*;*", 0, &userData}});
    RuleGroup group{};
    ASSERT_NE(nullptr, buildPacketFilterTable(set.get(), &group));
    const ReleaseInfo info{};
    releasePacketFilterTable(&group.packetFilterTable, &info);
    EXPECT_EQ(nullptr, group.packetFilterTable);
}

// What is freed first: single first addresses, then ranges, then every one, IPv4 before 128 bits.
TEST(PacketFilterRelease, GoesStructureByStructure) {
    int data[6] = {};
    ReleaseRecorder recorder;
    const RuleSetHandle set = makePacketFilterRuleSet({{"tcp;*;1;2001:db8::9;1", 0, &data[5]},
                                                       {"tcp;2001:db8::/32;1;*;1", 0, &data[4]},
                                                       {"tcp;2001:db8::1;1;*;1", 0, &data[3]},
                                                       {"tcp;*;1;1.1.1.1;1", 0, &data[2]},
                                                       {"tcp;1.0.0.0/8;1;*;1", 0, &data[1]},
                                                       {"tcp;1.1.1.1;1;*;1", 0, &data[0]}});
    ASSERT_EQ(RULE_OK, recorder.registerOn(*set));
    buildRuleGroup(*set).reset();
    EXPECT_THAT(recorder.order(),
                ElementsAre(&data[0], &data[1], &data[2], &data[3], &data[4], &data[5]));
}

TEST(PacketFilterHulls, HaveTheLastWordsInTheIpv4View) {
    PortRange ports{80, 90, nullptr};
    PortRange morePorts{5, 5, &ports};
    FilterEntry entry{};
    entry.secondAddressStart = {{0, 0, 0, 7}};
    entry.secondAddressEnd = {{2, UINT32_MAX, UINT32_MAX, 9}};
    EXPECT_FALSE(hullsOf(entry, true).isKnown);
    entry.firstPorts = &ports;
    EXPECT_FALSE(hullsOf(entry, true).isKnown);
    entry.secondPorts = &ports;
    EXPECT_TRUE(hullsOf(entry, true).isKnown);
    EXPECT_TRUE(hullsOf(entry, true).isExact);
    EXPECT_EQ(7, hullsOf(entry, true).hull.second.low);
    EXPECT_EQ(9, hullsOf(entry, true).hull.second.high);
    EXPECT_FALSE(hullsOf(entry, false).isExact);
    EXPECT_EQ(0, hullsOf(entry, false).hull.second.low);
    EXPECT_EQ(2, hullsOf(entry, false).hull.second.high);
    entry.secondAddressStart = FIRST_ADDRESS;
    entry.secondAddressEnd = LAST_ADDRESS;
    EXPECT_TRUE(hullsOf(entry, false).isExact);
    entry.secondPorts = &morePorts;
    EXPECT_FALSE(hullsOf(entry, false).isExact);
}

}  // namespace

}  // namespace rs::test
