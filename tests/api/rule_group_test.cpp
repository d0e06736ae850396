// Building and deleting rule groups through the shared library, and who gets userData back.
#include <ruleset.h>

#include <cstdint>
#include <vector>

#include <gtest/gtest.h>

#include "support/release_recorder.h"
#include "support/rule_builder.h"

namespace rs::test {

namespace {

using Pointers = std::vector<void*>;

bool matches(const RuleGroup& group, uint32_t address) {
    MatchResult result{};
    return rs_matchIPRuleGroup(&group, address, &result) == 1;
}

TEST(RuleGroup, IsBuiltFromAnEmptySetOfEveryType) {
    for (int32_t type = RULE_TYPE_IP; type <= RULE_TYPE_COMPOUND; ++type) {
        const RuleSetHandle set = newRuleSet(type);
        RuleGroup* group = nullptr;
        EXPECT_EQ(RULE_OK, rs_buildRuleGroup(set.get(), &group)) << type;
        EXPECT_NE(nullptr, group) << type;
        EXPECT_EQ(RULE_OK, rs_delRuleGroup(&group)) << type;
        EXPECT_EQ(nullptr, group) << type;
    }
}

TEST(RuleGroup, NeedsASetAndAnOutput) {
    const RuleSetHandle set = makeIpRuleSet({{"10.0.0.1"}});
    const RuleGroupHandle other = buildRuleGroup(*set);
    RuleGroup* group = other.get();
    EXPECT_EQ(RULE_ERR_INVALID_ARG, rs_buildRuleGroup(nullptr, &group));
    EXPECT_EQ(other.get(), group);
    EXPECT_EQ(RULE_ERR_INVALID_ARG, rs_buildRuleGroup(set.get(), nullptr));
    EXPECT_EQ(RULE_ERR_INVALID_ARG, rs_buildRuleGroup(nullptr, nullptr));
}

TEST(RuleGroup, LeavesANullPointerWhenItIsDeleted) {
    RuleGroup* group = nullptr;
    EXPECT_EQ(RULE_OK, rs_delRuleGroup(&group));
    EXPECT_EQ(nullptr, group);
    EXPECT_EQ(RULE_ERR_INVALID_ARG, rs_delRuleGroup(nullptr));
    ASSERT_EQ(RULE_OK, rs_buildRuleGroup(makeIpRuleSet({{"10.0.0.1"}}).get(), &group));
    EXPECT_EQ(RULE_OK, rs_delRuleGroup(&group));
    EXPECT_EQ(nullptr, group);
    EXPECT_EQ(RULE_OK, rs_delRuleGroup(&group));
}

TEST(RuleGroup, DoesNotReferToItsSet) {
    RuleSetHandle set = makeIpRuleSet({{"10.0.0.1"}});
    const RuleGroupHandle first = buildRuleGroup(*set);
    ASSERT_EQ(RULE_OK, addRule(*set, "10.0.0.2", 1, 1));
    const RuleGroupHandle second = buildRuleGroup(*set);
    set.reset();
    EXPECT_TRUE(matches(*first, 0x0A000001));
    EXPECT_FALSE(matches(*first, 0x0A000002));
    EXPECT_TRUE(matches(*second, 0x0A000001));
    EXPECT_TRUE(matches(*second, 0x0A000002));
}

// Who gets userData back.

TEST(GroupUserData, IsHandedBackOncePerRuleWhenTheGroupIsDeleted) {
    int userData[6] = {};
    ReleaseRecorder recorder;
    const RuleSetHandle set = makeIpRuleSet({{"10.0.0.1", 1, &userData[0]},
                                             {"10.0.0.0/24", 1, &userData[1]},
                                             // Spread over several places.
                                             {"9.0.0.0-11.0.0.0", 2, &userData[2]},
                                             {"::ffff:10.0.0.9", 1, &userData[3]},
                                             {"2001:db8::1", 1, &userData[4]},
                                             {"::-ffff::", 1, &userData[5]}});
    recorder.registerOn(*set);
    RuleGroupHandle group = buildRuleGroup(*set);
    EXPECT_TRUE(recorder.order().empty());
    group.reset();
    EXPECT_EQ(6, recorder.order().size());
    for (const int& pointee : userData) {
        EXPECT_EQ(1, recorder.countOf(&pointee)) << &pointee - userData;
    }
}

TEST(GroupUserData, OfADuplicateIsHandedBackByTheBuild) {
    int first = 0;
    int second = 0;
    ReleaseRecorder recorder;
    const RuleSetHandle set = makeIpRuleSet({{"10.0.0.1", 5, &first}, {"10.0.0.1", 5, &second}});
    recorder.registerOn(*set);
    RuleGroupHandle group = buildRuleGroup(*set);
    EXPECT_EQ(Pointers{&second}, recorder.order());
    MatchResult result{};
    ASSERT_EQ(1, rs_matchIPRuleGroup(group.get(), 0x0A000001, &result));
    EXPECT_EQ(1, result.ruleIndex);
    EXPECT_EQ(&first, result.userData);
    group.reset();
    EXPECT_EQ((Pointers{&second, &first}), recorder.order());
}

TEST(GroupUserData, OfADuplicateIsHandedBackByTheFirstBuildOnly) {
    int first = 0;
    int second = 0;
    ReleaseRecorder recorder;
    const RuleSetHandle set =
        makeIpRuleSet({{"10.0.0.0/8", 5, &first}, {"10.1.0.0/16", 5, &second}});
    recorder.registerOn(*set);
    for (int build = 0; build < 3; ++build) {
        buildRuleGroup(*set);
    }
    EXPECT_EQ(1, recorder.countOf(&second));
    EXPECT_EQ(3, recorder.countOf(&first));
}

TEST(GroupUserData, OfRulesWithOtherValuesStaysInTheGroup) {
    int userData[3] = {};
    ReleaseRecorder recorder;
    const RuleSetHandle set = makeIpRuleSet({{"10.0.0.1", 5, &userData[0]},
                                             {"10.0.0.1", 6, &userData[1]},
                                             {"10.0.0.1", 7, &userData[2]}});
    recorder.registerOn(*set);
    RuleGroupHandle group = buildRuleGroup(*set);
    EXPECT_TRUE(recorder.order().empty());
    group.reset();
    EXPECT_EQ((Pointers{&userData[0], &userData[1], &userData[2]}), recorder.order());
}

TEST(GroupUserData, IsNotTheSets) {
    int userData = 0;
    ReleaseRecorder recorder;
    RuleSetHandle set = makeIpRuleSet({{"10.0.0.1", 5, &userData}, {"10.0.0.1", 5, &userData}});
    recorder.registerOn(*set);
    set.reset();
    EXPECT_TRUE(recorder.order().empty());
}

TEST(GroupUserData, IsHandedBackThroughTheCallbackOfTheBuild) {
    int userData = 0;
    ReleaseRecorder before;
    ReleaseRecorder after;
    RuleSetHandle set = makeIpRuleSet({{"10.0.0.1", 5, &userData}, {"10.0.0.0/8", 5, &userData}});
    RuleGroupHandle silent = buildRuleGroup(*set);
    before.registerOn(*set);
    RuleGroupHandle first = buildRuleGroup(*set);
    after.registerOn(*set);
    RuleGroupHandle second = buildRuleGroup(*set);
    rs_registerRuleCallback(set.get(), RULE_CALLBACK_RELEASE, nullptr, &after);
    RuleGroupHandle silentAgain = buildRuleGroup(*set);
    set.reset();

    silent.reset();
    silentAgain.reset();
    EXPECT_TRUE(before.order().empty());
    EXPECT_TRUE(after.order().empty());
    first.reset();
    EXPECT_EQ(2, before.order().size());
    EXPECT_TRUE(after.order().empty());
    second.reset();
    EXPECT_EQ(2, before.order().size());
    EXPECT_EQ(2, after.order().size());
}

TEST(GroupUserData, GoesToTheEarlierCallbackWhenARegistrationFails) {
    int userData = 0;
    ReleaseRecorder recorder;
    ReleaseRecorder other;
    const RuleSetHandle set = makeIpRuleSet({{"10.0.0.1", 5, &userData}});
    recorder.registerOn(*set);
    EXPECT_EQ(RULE_ERR_FAILED,
              rs_registerRuleCallback(set.get(), 2, ReleaseRecorder::record, &other));
    buildRuleGroup(*set);
    EXPECT_EQ(Pointers{&userData}, recorder.order());
    EXPECT_TRUE(other.order().empty());
}

TEST(GroupUserData, OfADuplicateWithoutACallbackIsHandedBackByALaterBuild) {
    int userData = 0;
    ReleaseRecorder recorder;
    const RuleSetHandle set = makeIpRuleSet({{"10.0.0.1"}, {"10.0.0.1", 0, &userData}});
    buildRuleGroup(*set);
    recorder.registerOn(*set);
    RuleGroupHandle group = buildRuleGroup(*set);
    EXPECT_EQ(Pointers{&userData}, recorder.order());
    group.reset();
    EXPECT_EQ(Pointers{&userData}, recorder.order());
}

TEST(GroupUserData, IsNeverNull) {
    ReleaseRecorder recorder;
    const RuleSetHandle set = makeIpRuleSet({{"10.0.0.1"}, {"10.0.0.1"}, {"10.0.0.0/8"}, {"::1"}});
    recorder.registerOn(*set);
    buildRuleGroup(*set);
    EXPECT_TRUE(recorder.order().empty());
}

TEST(GroupUserData, ComesWithTheContextOfTheRegistration) {
    struct Context {
        int calls;
    };
    Context context{};
    int userData = 0;
    const RuleSetHandle set = makeIpRuleSet({{"10.0.0.1", 0, &userData}});
    rs_registerRuleCallback(
        set.get(), RULE_CALLBACK_RELEASE,
        [](void* /*userData*/, void* releaseContext) {
            ++static_cast<Context*>(releaseContext)->calls;
        },
        &context);
    buildRuleGroup(*set);
    EXPECT_EQ(1, context.calls);
    // A null context is handed on like any other.
    rs_registerRuleCallback(
        set.get(), RULE_CALLBACK_RELEASE,
        [](void* pointer, void* releaseContext) {
            *static_cast<int*>(pointer) += releaseContext == nullptr ? 1 : 100;
        },
        nullptr);
    buildRuleGroup(*set);
    EXPECT_EQ(1, userData);
    EXPECT_EQ(1, context.calls);
}

// A range of IPv6 addresses around the IPv4-mapped ones covers them in family 6 only, so that the
// same rule can be superfluous there and needed in family 4, and the other way round.
TEST(GroupUserData, OfARuleThatOneFamilyRefusesIsHandedBackOnce) {
    int neededInFamily4 = 0;
    int neededInFamily6 = 0;
    ReleaseRecorder recorder;
    const RuleSetHandle set = makeIpRuleSet({{"::/1", 5},
                                             {"10.0.0.0/24", 5, &neededInFamily4},
                                             {"20.0.0.0-20.0.0.9", 6},
                                             {"20.0.0.10-20.0.0.19", 6},
                                             {"20.0.0.5-20.0.0.14", 6, &neededInFamily6}});
    recorder.registerOn(*set);
    RuleGroupHandle group = buildRuleGroup(*set);
    EXPECT_EQ(Pointers{&neededInFamily6}, recorder.order());
    group.reset();
    EXPECT_EQ((Pointers{&neededInFamily6, &neededInFamily4}), recorder.order());
}

}  // namespace

}  // namespace rs::test
