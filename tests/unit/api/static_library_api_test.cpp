#include <ruleset_static.h>

#include <cstdint>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "core/library_option.h"

namespace rs::test {

namespace {

using ::testing::ContainsRegex;
using ::testing::HasSubstr;

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

TEST(LibraryVersion, NamesVersionPlatformAndBuildDate) {
    const std::string version = getLibraryVersion();
    EXPECT_THAT(version, HasSubstr("5.200.1021"));
    EXPECT_THAT(version, HasSubstr("linux-"));
    EXPECT_THAT(version, ContainsRegex("[0-9][0-9][0-9][0-9]-[0-9][0-9]-[0-9][0-9]"));
    EXPECT_EQ(std::string::npos, version.find('\n'));
}

TEST(LibraryVersion, IsOneConstantText) {
    EXPECT_EQ(getLibraryVersion(), getLibraryVersion());
}

}  // namespace

}  // namespace rs::test
