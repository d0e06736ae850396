#include "support/comparison_count.h"

#include <cstdio>
#include <cstdlib>
#include <map>
#include <string_view>

#include <gtest/gtest.h>

namespace rs::test {

namespace {

using Counts = std::map<std::string_view, uint64_t>;

Counts& counts() {
    static Counts made;
    return made;
}

class ComparisonReport : public ::testing::Environment {
public:
    void TearDown() override {
        if (std::getenv("RULESET_PROPERTY_CASES") == nullptr) {
            return;
        }
        uint64_t all = 0;
        for (const auto& [operation, count] : counts()) {
            print(operation, count);
            all += count;
        }
        print("all", all);
    }

private:
    static void print(std::string_view operation, uint64_t count) {
        std::printf("%14llu comparisons: %.*s\n", static_cast<unsigned long long>(count),
                    static_cast<int>(operation.size()), operation.data());
    }
};

// GoogleTest owns it.
[[maybe_unused]] const ::testing::Environment* const REPORT =
    ::testing::AddGlobalTestEnvironment(new ComparisonReport);

}  // namespace

void countComparisons(const char* operation, uint64_t count) {
    counts()[operation] += count;
}

}  // namespace rs::test
