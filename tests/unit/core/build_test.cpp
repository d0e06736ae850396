#include "core/build.h"

#include <cstdint>

#include <gtest/gtest.h>

namespace rs::test {

namespace {

void handBack(void* /*userData*/, void* /*context*/) {}

TEST(BuildReleaseInfo, IsThatOfTheSet) {
    int context = 0;
    RuleSet set{};
    set.releaseCallback = handBack;
    set.releaseContext = &context;
    const ReleaseInfo info = releaseInfoOf(set);
    EXPECT_EQ(&handBack, info.releaseCallback);
    EXPECT_EQ(&context, info.releaseContext);
    EXPECT_EQ(0, info.flags);
    EXPECT_EQ(nullptr, releaseInfoOf(RuleSet{}).releaseCallback);
}

TEST(BuildClaims, HaveOneByteForEachRule) {
    constexpr uint32_t COUNT = 1000;
    RuleSet set{};
    set.hasUserData = 1;
    set.urlRules.ruleCount = COUNT;
    OwnedMemory<uint8_t> claims;
    ASSERT_TRUE(allocateClaims(set, set.urlRules, claims));
    ASSERT_NE(nullptr, claims);
    for (uint32_t i = 0; i < COUNT; ++i) {
        EXPECT_EQ(0, claims.get()[i]) << i;
        claims.get()[i] = 1;
    }
}

TEST(BuildClaims, AreNotNeededWithoutUserDataOrRules) {
    RuleSet set{};
    set.ipPortRules.ruleCount = 5;
    OwnedMemory<uint8_t> claims;
    EXPECT_TRUE(allocateClaims(set, set.ipPortRules, claims));
    EXPECT_EQ(nullptr, claims);
    set.hasUserData = 1;
    EXPECT_TRUE(allocateClaims(set, set.domainRules, claims)) << "the count is that of the list";
    EXPECT_EQ(nullptr, claims);
}

}  // namespace

}  // namespace rs::test
