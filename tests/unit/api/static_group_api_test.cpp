#include <ruleset.h>
#include <ruleset_static.h>

#include <array>
#include <atomic>
#include <cstdint>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "core/rule_group.h"
#include "domain/domain_index.h"
#include "ip/ip_index.h"
#include "ipport/ip_port_index.h"
#include "packetfilter/packet_filter_index.h"
#include "support/release_recorder.h"
#include "support/rule_builder.h"
#include "url/url_index.h"

namespace rs::test {

namespace {

using Pointers = std::vector<void*>;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;

// A group with userData in a host entry and in a tree, and the recorder that it hands back to.
class RetainedGroup : public ::testing::Test {
protected:
    void SetUp() override {
        RuleSetHandle set = makeIpRuleSet({{"10.0.0.1", 1, &host}, {"10.0.0.0/8", 1, &range}});
        recorder.registerOn(*set);
        original = buildRuleGroup(*set);
        ASSERT_NE(nullptr, original);
    }

    RuleGroupHandle retain() { return RuleGroupHandle(retainRuleGroup(original.get())); }

    int host = 0;
    int range = 0;
    ReleaseRecorder recorder;
    RuleGroupHandle original;
};

TEST_F(RetainedGroup, SharesTheStructureButNotTheCallback) {
    original->reservedWords[0] = 11;
    original->reservedWords[1] = 12;
    original->reserved = 13;
    const RuleGroupHandle copy = retain();
    ASSERT_NE(nullptr, copy);
    EXPECT_NE(original, copy);
    EXPECT_EQ(1, copy->refCount);
    EXPECT_EQ(1, original->refCount);
    EXPECT_EQ(original->ipTable, copy->ipTable);
    EXPECT_EQ(2, copy->ipTable->refCount);
    EXPECT_EQ(nullptr, copy->urlIndex);
    EXPECT_EQ(nullptr, copy->domainIndex);
    EXPECT_EQ(nullptr, copy->packetFilterTable);
    EXPECT_EQ(nullptr, copy->ipPortIndex);
    EXPECT_EQ(nullptr, copy->compoundTable);
    EXPECT_EQ(11, copy->reservedWords[0]);
    EXPECT_EQ(12, copy->reservedWords[1]);
    EXPECT_EQ(0, copy->reserved);
    EXPECT_EQ(1, copy->nonEmpty);
    EXPECT_EQ(nullptr, copy->releaseCallback);
    EXPECT_EQ(nullptr, copy->releaseContext);
}

TEST_F(RetainedGroup, AnswersLikeTheOriginalAndOutlivesIt) {
    const RuleGroupHandle copy = retain();
    original.reset();
    MatchResult result{};
    EXPECT_EQ(1, rs_matchIPRuleGroup(copy.get(), 0x0A000001, &result));
    EXPECT_EQ(&host, result.userData);
    EXPECT_EQ(1, rs_matchIPRuleGroup(copy.get(), 0x0A000002, &result));
    EXPECT_EQ(&range, result.userData);
}

TEST_F(RetainedGroup, HandsEverythingBackWhenTheOriginalGoesLast) {
    RuleGroupHandle copy = retain();
    copy.reset();
    EXPECT_TRUE(recorder.order().empty());
    original.reset();
    EXPECT_EQ((Pointers{&host, &range}), recorder.order());
}

// Deliberate: the copy holds no callback, so the userData of single IPv4 addresses is lost to the
// host. The trees keep the callback that they were built with.
TEST_F(RetainedGroup, HandsBackWhatTreesOwnWhenTheCopyGoesLast) {
    RuleGroupHandle copy = retain();
    original.reset();
    EXPECT_TRUE(recorder.order().empty());
    copy.reset();
    EXPECT_EQ(Pointers{&range}, recorder.order());
}

TEST_F(RetainedGroup, CanBeRetainedAgain) {
    RuleGroupHandle copy = retain();
    RuleGroupHandle copyOfCopy(retainRuleGroup(copy.get()));
    ASSERT_NE(nullptr, copyOfCopy);
    EXPECT_EQ(3, original->ipTable->refCount);
    copy.reset();
    EXPECT_EQ(2, original->ipTable->refCount);
    copyOfCopy.reset();
    EXPECT_EQ(1, original->ipTable->refCount);
}

// Groups of rules with two endpoints: the structure goes with the last reference, through the callback
// of the record that holds it, if that has one.
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

TEST(RetainRuleGroup, GivesNullForNull) {
    EXPECT_EQ(nullptr, retainRuleGroup(nullptr));
}

TEST(RetainRuleGroup, CopiesAnEmptyGroupOfEveryType) {
    for (int32_t type = RULE_TYPE_IP; type <= RULE_TYPE_COMPOUND; ++type) {
        const RuleGroupHandle group = buildRuleGroup(*newRuleSet(type));
        const RuleGroupHandle copy(retainRuleGroup(group.get()));
        ASSERT_NE(nullptr, copy) << type;
        EXPECT_EQ(0, copy->nonEmpty) << type;
        EXPECT_EQ(group->ipTable, copy->ipTable) << type;
    }
}

// Threads that match in a group while others retain and drop it; the original goes first, so that
// some other thread drops the last reference.
TEST(RetainRuleGroup, LetsThreadsMatchRetainAndDropAtOnce) {
    constexpr uint32_t THREAD_COUNT = 8;
    constexpr uint32_t ROUNDS = 500;
    int range = 0;
    ReleaseRecorder recorder;
    const RuleSetHandle set = makeIpRuleSet({{"10.0.0.0/8", 1, &range}, {"2001:db8::/32"}});
    recorder.registerOn(*set);
    RuleGroupHandle original = buildRuleGroup(*set);
    ASSERT_NE(nullptr, original);

    std::array<RuleGroupHandle, THREAD_COUNT> copies;
    for (RuleGroupHandle& copy : copies) {
        copy.reset(retainRuleGroup(original.get()));
        ASSERT_NE(nullptr, copy);
    }
    std::atomic<uint32_t> wrongAnswers{0};
    std::array<std::thread, THREAD_COUNT> threads;
    for (uint32_t i = 0; i < THREAD_COUNT; ++i) {
        threads[i] = std::thread([&copy = copies[i], &wrongAnswers] {
            for (uint32_t round = 0; round < ROUNDS; ++round) {
                const RuleGroupHandle own(retainRuleGroup(copy.get()));
                MatchResult result{};
                if (rs_matchIPRuleGroup(own.get(), 0x0A000000 + round, &result) != 1 ||
                    result.ruleIndex != 1 ||
                    rs_matchIPRuleGroup(own.get(), 0x0B000000 + round, &result) != 0) {
                    ++wrongAnswers;
                }
            }
            copy.reset();
        });
    }
    original.reset();
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(0, wrongAnswers);
    EXPECT_EQ(Pointers{&range}, recorder.order());
}

TEST(RulesLeftOut, IsZeroForNullAndForGroupsThatHaveAllRules) {
    EXPECT_EQ(0, rulesLeftOut(nullptr));
    for (int32_t type = RULE_TYPE_IP; type <= RULE_TYPE_COMPOUND; ++type) {
        EXPECT_EQ(0, rulesLeftOut(buildRuleGroup(*newRuleSet(type)).get())) << type;
    }
    // Superfluous rules are not left out for want of memory, nor is a rule that covers no name.
    EXPECT_EQ(0, rulesLeftOut(makeDomainGroup({{"a.b"}, {"a.b"}, {"*"}, {"*"}}).get()));
    EXPECT_EQ(0, rulesLeftOut(makeUrlGroup({{"a.b/c"}, {"a.b/c"}, {"*"}, {"*/c"}}).get()));
    EXPECT_EQ(0, rulesLeftOut(makeIpGroup({{"10.0.0.1"}, {"10.0.0.1"}}).get()));
}

TEST(RulesLeftOut, IsWhatTheStructureCounted) {
    const RuleGroupHandle ip = makeIpGroup({{"10.0.0.1"}});
    const RuleGroupHandle domain = makeDomainGroup({{"a.b"}});
    const RuleGroupHandle url = makeUrlGroup({{"a.b"}});
    ip->ipTable->leftOut = 3;
    domain->domainIndex->leftOut = 4;
    url->urlIndex->leftOut = 5;
    EXPECT_EQ(3, rulesLeftOut(ip.get()));
    EXPECT_EQ(4, rulesLeftOut(domain.get()));
    EXPECT_EQ(5, rulesLeftOut(url.get()));
    const RuleGroupHandle copy(retainRuleGroup(url.get()));
    EXPECT_EQ(5, rulesLeftOut(copy.get()));
}

}  // namespace

}  // namespace rs::test
