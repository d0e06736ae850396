#include "url/path_key.h"

#include <cstdint>
#include <string_view>

#include <gtest/gtest.h>

#include "support/text.h"

namespace rs::test {

namespace {

UrlMatchKey keyOf(std::string_view scheme, std::string_view path = "", uint16_t port = 0) {
    UrlMatchKey key{};
    key.scheme = {scheme.data(), size32(scheme)};
    key.path = {path.data(), size32(path)};
    key.port = port;
    return key;
}

TEST(AdmitsScheme, OfANodeForHttpsAndOfOneWithout) {
    constexpr struct {
        std::string_view scheme;
        bool https;
        bool none;
    } ROWS[] = {
        {"", false, true},          {"http://", false, true},   {"ftp://", false, true},
        {"https://", true, false},  {"ldaps://", false, false}, {"https:/x", true, false},
        {"https://x", false, true},
    };
    for (const auto& row : ROWS) {
        EXPECT_EQ(row.https, admitsScheme(5, keyOf(row.scheme))) << row.scheme;
        EXPECT_EQ(row.none, admitsScheme(0, keyOf(row.scheme))) << row.scheme;
    }
}

TEST(PathKey, HasItsPortOrThatOfTheScheme) {
    EXPECT_EQ(80, listKeyOf(keyOf("")).port);
    EXPECT_EQ(443, listKeyOf(keyOf("https://")).port);
    EXPECT_EQ(80, listKeyOf(keyOf("ldaps://")).port);
    EXPECT_EQ(80, blockKeyOf(keyOf("https://")).port);
    EXPECT_EQ(8, listKeyOf(keyOf("https://", "", 8)).port);
    EXPECT_EQ(8, blockKeyOf(keyOf("", "", 8)).port);
}

TEST(PathKey, OfAnEmptyPathIsASlash) {
    const PathKey key = listKeyOf(keyOf(""));
    EXPECT_EQ("/", std::string_view(key.path, key.length));
    EXPECT_EQ(4U, listKeyOf(keyOf("", "/abc")).length);
}

TEST(EndsSegment, AtTheEndAndBeforeASeparator) {
    for (const std::string_view path : {"/a", "/a/", "/a?", "/a#b"}) {
        const ExactText text(path);
        EXPECT_TRUE(endsSegment(2, {text.data(), text.size(), 80})) << path;
    }
    for (const std::string_view path : {"/ab", "/a.", "/a*"}) {
        const ExactText text(path);
        EXPECT_FALSE(endsSegment(2, {text.data(), text.size(), 80})) << path;
        EXPECT_TRUE(endsSegment(3, {text.data(), text.size(), 80})) << path;
    }
}

TEST(FindSubstring, FindsTheFirstOccurrence) {
    constexpr std::string_view TEXT = "abcabcd";
    constexpr struct {
        std::string_view pattern;
        int32_t position;
    } ROWS[] = {
        {"", 0},        {"a", 0},  {"abc", 0},       {"abcd", 3}, {"d", 6},
        {"abcabcd", 0}, {"x", -1}, {"abcabcde", -1}, {"ba", -1},
    };
    for (const auto& row : ROWS) {
        SCOPED_TRACE(row.pattern);
        const char* found =
            findSubstring(TEXT.data(), size32(TEXT), row.pattern.data(), size32(row.pattern));
        EXPECT_EQ(row.position, found == nullptr ? -1 : static_cast<int32_t>(found - TEXT.data()));
    }
}

TEST(FindSubstring, FindsNothingButTheEmptyPatternInAnEmptyText) {
    const char text = 'a';
    EXPECT_EQ(&text, findSubstring(&text, 0, "", 0));
    EXPECT_EQ(nullptr, findSubstring(&text, 0, "a", 1));
}

TEST(FindSubstring, TakesANulForAnyOtherByte) {
    constexpr std::string_view TEXT("a\0b\0\0c", 6);
    constexpr std::string_view TWO("\0\0", 2);
    constexpr std::string_view AFTER("\0c", 2);
    EXPECT_EQ(TEXT.data() + 3, findSubstring(TEXT.data(), 6, TWO.data(), 2));
    EXPECT_EQ(TEXT.data() + 4, findSubstring(TEXT.data(), 6, AFTER.data(), 2));
    EXPECT_EQ(TEXT.data() + 1, findSubstring(TEXT.data(), 6, TWO.data(), 1));
}

}  // namespace

}  // namespace rs::test
