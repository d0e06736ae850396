#include "lookup/flat_policy.h"

#include <utility>

#include <gtest/gtest.h>

#include "support/scoped_flat_use.h"

namespace rs::test {

namespace {

// Tests may set flatUse, which is as before after each.
class FlatPolicy : public ::testing::Test {
    ScopedFlatUse before_{flatUse};
};

TEST_F(FlatPolicy, AsksForTheThreshold) {
    flatUse = FlatUse::BY_SIZE;
    EXPECT_FALSE(wantsFlat(0, 5));
    EXPECT_FALSE(wantsFlat(4, 5));
    EXPECT_TRUE(wantsFlat(5, 5));
}

TEST_F(FlatPolicy, CanBeForcedEitherWay) {
    flatUse = FlatUse::ALWAYS;
    EXPECT_TRUE(wantsFlat(1, 5));
    EXPECT_FALSE(wantsFlat(0, 5));  // nothing to find
    flatUse = FlatUse::NEVER;
    EXPECT_FALSE(wantsFlat(1000, 5));
}

}  // namespace

}  // namespace rs::test
