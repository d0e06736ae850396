// Shared groups of rules with two endpoints: the structure goes with the last reference, through the
// callback of the record that holds it, if that has one.
#include <ruleset.h>
#include <ruleset_static.h>

#include <cstdint>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "core/rule_group.h"
#include "ipport/ip_port_index.h"
#include "packetfilter/packet_filter_index.h"
#include "support/release_recorder.h"
#include "support/rule_builder.h"

namespace rs::test {

namespace {

using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;

class RetainedEndpointGroup : public ::testing::TestWithParam<int32_t> {
protected:
    static bool isIpPort() { return GetParam() == RULE_TYPE_IP_PORT; }

    static std::string ruleText(const std::string& firstAddress) {
        return isIpPort() ? firstAddress + ";*;*;*;1" : "tcp;" + firstAddress + ";*;*;*";
    }

    void SetUp() override {
        RuleSetHandle set = newRuleSet(GetParam());
        ASSERT_EQ(RULE_OK, addRule(*set, ruleText("10.0.0.1"), 1, 2, &single));
        ASSERT_EQ(RULE_OK, addRule(*set, ruleText("11.0.0.0/8"), 3, 4, &range));
        ASSERT_EQ(RULE_OK, addRule(*set, ruleText("*"), 5, 6, &any));
        ASSERT_EQ(RULE_OK, addRule(*set, ruleText("2001:db8::/32"), 7, 8, &wide));
        ASSERT_EQ(RULE_OK, recorder.registerOn(*set));
        original = buildRuleGroup(*set);
        ASSERT_NE(nullptr, original);
        copy.reset(retainRuleGroup(original.get()));
        ASSERT_NE(nullptr, copy);
    }

    static uint32_t referencesOf(const RuleGroup& group) {
        return isIpPort() ? group.ipPortIndex->refCount : group.packetFilterTable->refCount;
    }

    static int32_t match(const RuleGroup& group, uint32_t firstAddress, MatchResult& result) {
        return isIpPort() ? matchIpPortPair4(&group, firstAddress, 1, 2, 3, 1, &result)
                          : matchPacketFilter4(&group, firstAddress, 1, 2, 3, &result);
    }

    void expectEverythingBackOnce() {
        EXPECT_THAT(recorder.order(), UnorderedElementsAre(&single, &range, &any, &wide));
    }

    int single = 0;
    int range = 0;
    int any = 0;
    int wide = 0;
    ReleaseRecorder recorder;
    RuleGroupHandle original;
    RuleGroupHandle copy;
};

INSTANTIATE_TEST_SUITE_P(Types, RetainedEndpointGroup,
                         ::testing::Values(RULE_TYPE_PACKET_FILTER, RULE_TYPE_IP_PORT));

TEST_P(RetainedEndpointGroup, SharesTheStructureButNotTheCallback) {
    EXPECT_NE(original, copy);
    EXPECT_EQ(original->ipPortIndex, copy->ipPortIndex);
    EXPECT_EQ(original->packetFilterTable, copy->packetFilterTable);
    EXPECT_EQ(2, referencesOf(*copy));
    EXPECT_EQ(1, copy->refCount);
    EXPECT_EQ(1, copy->nonEmpty);
    EXPECT_EQ(nullptr, copy->releaseCallback);
    EXPECT_EQ(nullptr, copy->releaseContext);
}

TEST_P(RetainedEndpointGroup, AnswersLikeTheOriginalAndOutlivesIt) {
    original.reset();
    EXPECT_EQ(1, referencesOf(*copy));
    MatchResult result{};
    EXPECT_EQ(1, match(*copy, 0x0A000001, result));
    EXPECT_EQ(&single, result.userData);
    EXPECT_EQ(1, match(*copy, 0x0B000001, result));
    EXPECT_EQ(&range, result.userData);
    EXPECT_EQ(1, match(*copy, 0x0C000001, result));
    EXPECT_EQ(&any, result.userData);
}

TEST_P(RetainedEndpointGroup, HandsEverythingBackWhenTheOriginalGoesLast) {
    copy.reset();
    EXPECT_EQ(1, referencesOf(*original));
    EXPECT_THAT(recorder.order(), IsEmpty());
    original.reset();
    expectEverythingBackOnce();
}

TEST_P(RetainedEndpointGroup, HandsNothingBackWhenTheCopyGoesLast) {
    original.reset();
    copy.reset();
    EXPECT_THAT(recorder.order(), IsEmpty());
}

TEST_P(RetainedEndpointGroup, WaitsForAllCopies) {
    RuleGroupHandle copyOfCopy(retainRuleGroup(copy.get()));
    EXPECT_EQ(3, referencesOf(*original));
    copy.reset();
    EXPECT_EQ(2, referencesOf(*original));
    copyOfCopy.reset();
    EXPECT_THAT(recorder.order(), IsEmpty());
    original.reset();
    expectEverythingBackOnce();
}

}  // namespace

}  // namespace rs::test
