#include <ruleset_static.h>

#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace rs::test {

namespace {

using ::testing::ContainsRegex;
using ::testing::HasSubstr;

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
