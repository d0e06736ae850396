// The counter-examples that failing properties print.
#include "support/shrink.h"

#include <algorithm>
#include <numeric>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace rs::test {

namespace {

TEST(Shrink, LeavesWhatIsNeededInItsOrder) {
    std::vector<int> numbers(1000);
    std::iota(numbers.begin(), numbers.end(), 0);
    const auto needs = [](const std::vector<int>& rest) {
        return std::count(rest.begin(), rest.end(), 7) +
                   std::count(rest.begin(), rest.end(), 998) ==
               2;
    };
    EXPECT_EQ((std::vector<int>{7, 998}), shrink(numbers, needs));
}

TEST(Shrink, LeavesNothingWhenAnythingFails) {
    EXPECT_EQ("", shrink(std::string("abc"), [](const std::string&) { return true; }));
}

TEST(Shrink, LeavesEverythingWhenAllOfItIsNeeded) {
    EXPECT_EQ("abc",
              shrink(std::string("abc"), [](const std::string& rest) { return rest == "abc"; }));
}

}  // namespace

}  // namespace rs::test
