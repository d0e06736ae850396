#include "core/release.h"

#include <cstdint>

#include <gtest/gtest.h>

namespace rs::test {

namespace {

struct Call {
    void* userData = nullptr;
    int count = 0;
};

void recordCall(void* userData, void* context) {
    auto* call = static_cast<Call*>(context);
    call->userData = userData;
    ++call->count;
}

TEST(ReleaseCallback, IsCalledOnlyForOwnedUserData) {
    int userData = 0;
    Call call;
    callReleaseCallback(recordCall, &call, &userData, 0);
    callReleaseCallback(recordCall, &call, &userData, ~ENTRY_RELEASES_USER_DATA);
    callReleaseCallback(recordCall, &call, nullptr, ENTRY_RELEASES_USER_DATA);
    callReleaseCallback(nullptr, &call, &userData, ENTRY_RELEASES_USER_DATA);
    EXPECT_EQ(0, call.count);

    callReleaseCallback(recordCall, &call, &userData, ENTRY_RELEASES_USER_DATA);
    EXPECT_EQ(1, call.count);
    EXPECT_EQ(&userData, call.userData);
    callReleaseCallback(recordCall, &call, &userData, 0xFFFFFFFF);
    EXPECT_EQ(2, call.count);
}

TEST(UserDataClaim, IsTakenByTheFirstEntryOnly) {
    int userData = 0;
    uint8_t claims[3] = {0, 0, 0};
    uint32_t firstFlags = 0x10;
    uint32_t secondFlags = 0x20;
    markRuleReleased(claims, &userData, 1, &firstFlags);
    markRuleReleased(claims, &userData, 1, &secondFlags);
    EXPECT_EQ(0x10 | ENTRY_RELEASES_USER_DATA, firstFlags);
    EXPECT_EQ(0x20, secondFlags);
    EXPECT_EQ(0, claims[0]);
    EXPECT_EQ(1, claims[1]);
    EXPECT_EQ(0, claims[2]);
}

TEST(UserDataClaim, IsNotTakenWithoutUserData) {
    uint8_t claims[1] = {0};
    uint32_t flags = 0;
    markRuleReleased(claims, nullptr, 0, &flags);
    EXPECT_EQ(0, flags);
    EXPECT_EQ(0, claims[0]);
    // A set in which no rule has userData has no claims.
    markRuleReleased(nullptr, nullptr, 5, &flags);
    EXPECT_EQ(0, flags);
}

}  // namespace

}  // namespace rs::test
