#include "core/library_option.h"

#include <ruleset_static.h>

#include <cstdint>

#include <gtest/gtest.h>

namespace rs::test {

namespace {

class LibraryOption : public ::testing::Test {
protected:
    // The option belongs to the whole process.
    void TearDown() override { setLibraryOption(RULE_OPTION_IPV6, 1); }
};

TEST_F(LibraryOption, HasIpv6EnabledAtFirst) {
    EXPECT_EQ(1, ipv6Enabled);
}

TEST_F(LibraryOption, KeepsExactlyZeroOrOne) {
    constexpr struct {
        int32_t value;
        uint32_t enabled;
    } ROWS[] = {{7, 1}, {0, 0}, {1, 1}, {0, 0}, {-1, 1}, {INT32_MIN, 1}, {0, 0}, {256, 1}};
    for (const auto& row : ROWS) {
        EXPECT_EQ(RULE_OK, setLibraryOption(RULE_OPTION_IPV6, row.value)) << row.value;
        EXPECT_EQ(row.enabled, ipv6Enabled) << row.value;
    }
}

TEST_F(LibraryOption, RefusesOtherOptionsAndChangesNothing) {
    for (const int32_t option : {2, 0, -1, INT32_MAX, INT32_MIN}) {
        EXPECT_EQ(RULE_ERR_INVALID_ARG, setLibraryOption(option, 0)) << option;
        EXPECT_EQ(1, ipv6Enabled) << option;
    }
    setLibraryOption(RULE_OPTION_IPV6, 0);
    EXPECT_EQ(RULE_ERR_INVALID_ARG, setLibraryOption(2, 1));
    EXPECT_EQ(0, ipv6Enabled);
}

}  // namespace

}  // namespace rs::test
