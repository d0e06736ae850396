#include "url/url_split.h"

#include <cstdint>
#include <string_view>

#include <gtest/gtest.h>

#include "support/text.h"

namespace rs::test {

namespace {

// What a text is split into; an absent piece is empty here.
struct Expected {
    std::string_view text;
    std::string_view scheme;
    std::string_view userInfo;
    std::string_view host;
    std::string_view portText;
    uint32_t port;
    std::string_view rest;
    int32_t portColon;  // its position, or NO_COLON
};

constexpr int32_t NO_COLON = -1;

// A piece must be null when it is absent, and a part of the text otherwise.
std::string_view textOf(Text piece, const ExactText& text) {
    EXPECT_EQ(piece.length == 0, piece.text == nullptr);
    if (piece.length == 0) {
        return {};
    }
    EXPECT_LE(text.data(), piece.text);
    EXPECT_GE(text.data() + text.size(), piece.text + piece.length);
    return {piece.text, piece.length};
}

void expectSplit(const Expected& expected) {
    SCOPED_TRACE(expected.text);
    const ExactText text(expected.text);
    const UrlParts parts = splitUrl({text.data(), text.size()});
    EXPECT_EQ(expected.scheme, textOf(parts.scheme, text));
    EXPECT_EQ(expected.userInfo, textOf(parts.userInfo, text));
    EXPECT_EQ(expected.host, textOf(parts.host, text));
    EXPECT_EQ(expected.portText, textOf(parts.portText, text));
    EXPECT_EQ(expected.port, parts.port);
    EXPECT_EQ(expected.rest, textOf(parts.rest, text));
    EXPECT_EQ(expected.portColon, parts.portColon == nullptr
                                      ? NO_COLON
                                      : static_cast<int32_t>(parts.portColon - text.data()));
}

TEST(UrlSplit, FindsEveryPiece) {
    expectSplit({"HTTP://user:pw@web.example.com:8080/a?b#c", "HTTP://", "user:pw@",
                 "web.example.com", ":8080", 8080, "/a?b#c", 30});
}

TEST(UrlSplit, TakesATextWithoutSchemeForAHost) {
    constexpr Expected ROWS[] = {
        {"example.com", "", "", "example.com", "", 0, "", NO_COLON},
        {"example.com/x", "", "", "example.com", "", 0, "/x", NO_COLON},
        {"example.com?x", "", "", "example.com", "", 0, "?x", NO_COLON},
        {"example.com#x", "", "", "example.com", "", 0, "#x", NO_COLON},
        {"example.com:80", "", "", "example.com", ":80", 80, "", 11},
        {"example.com:80/x", "", "", "example.com", ":80", 80, "/x", 11},
        {"example.com:80?x", "", "", "example.com", ":80", 80, "?x", 11},
        {"example.com:80#x", "", "", "example.com", ":80", 80, "#x", 11},
        {"u@example.com", "", "u@", "example.com", "", 0, "", NO_COLON},
        {"u:p@h:1/x", "", "u:p@", "h", ":1", 1, "/x", 5},
        {"a b", "", "", "a b", "", 0, "", NO_COLON},
        {"a//b", "", "", "a", "", 0, "//b", NO_COLON},
        {"\\", "", "", "\\", "", 0, "", NO_COLON},
    };
    for (const Expected& row : ROWS) {
        expectSplit(row);
    }
}

TEST(UrlSplit, TakesASlashInFrontForAPath) {
    constexpr Expected ROWS[] = {
        {"/", "", "", "", "", 0, "/", NO_COLON},
        {"/a:80@b", "", "", "", "", 0, "/a:80@b", NO_COLON},
        {"/http://a", "", "", "", "", 0, "/http://a", NO_COLON},
        {"?a:80", "", "", "", "", 0, "?a:80", NO_COLON},
        {"#a", "", "", "", "", 0, "#a", NO_COLON},
    };
    for (const Expected& row : ROWS) {
        expectSplit(row);
    }
}

TEST(UrlSplit, TakesTwoSlashesInFrontForAnEmptyScheme) {
    constexpr Expected ROWS[] = {
        {"//", "//", "", "", "", 0, "", NO_COLON},
        {"//example.com", "//", "", "example.com", "", 0, "", NO_COLON},
        {"//example.com/x", "//", "", "example.com", "", 0, "/x", NO_COLON},
        {"//u@example.com:8/x", "//", "u@", "example.com", ":8", 8, "/x", 15},
        {"///x", "//", "", "", "", 0, "/x", NO_COLON},
        {"//?x", "//", "", "", "", 0, "?x", NO_COLON},
        {"//#x", "//", "", "", "", 0, "#x", NO_COLON},
        {"////", "//", "", "", "", 0, "//", NO_COLON},
        {"//[::1]:9", "//", "", "[::1]", ":9", 9, "", 7},
    };
    for (const Expected& row : ROWS) {
        expectSplit(row);
    }
}

TEST(UrlSplit, EndsASchemeBehindColonAndTwoSlashes) {
    constexpr Expected ROWS[] = {
        {"http://a", "http://", "", "a", "", 0, "", NO_COLON},
        {"ftp://a/b", "ftp://", "", "a", "", 0, "/b", NO_COLON},
        {"x1+y.z-w://a", "x1+y.z-w://", "", "a", "", 0, "", NO_COLON},
        {"://a", "://", "", "a", "", 0, "", NO_COLON},
        {"://", "://", "", "", "", 0, "", NO_COLON},
        {"a:b://c", "a:b://", "", "c", "", 0, "", NO_COLON},
        {"::://c", "::://", "", "c", "", 0, "", NO_COLON},
        // No scheme: a slash alone, or none before it.
        {"http:/a", "", "", "http:", "", 0, "/a", 4},
        {"http:/", "", "", "http:", "", 0, "/", 4},
        {"http:a//b", "", "", "http:a", "", 0, "//b", 4},
        {"http//a", "", "", "http", "", 0, "//a", NO_COLON},
        // A second one belongs to the path.
        {"http://http://a", "http://", "", "http:", "", 0, "//a", 11},
        // Behind user information there is none either.
        {"u@http://a", "", "u@", "http:", "", 0, "//a", 6},
        {"http?://a", "", "", "http", "", 0, "?://a", NO_COLON},
    };
    for (const Expected& row : ROWS) {
        expectSplit(row);
    }
}

TEST(UrlSplit, HasAnEmptyHostForAnAbsentOne) {
    constexpr Expected ROWS[] = {
        {"http://", "http://", "", "", "", 0, "", NO_COLON},
        {"http:///x", "http://", "", "", "", 0, "/x", NO_COLON},
        {"http://?x", "http://", "", "", "", 0, "?x", NO_COLON},
        {"http://#x", "http://", "", "", "", 0, "#x", NO_COLON},
        {"http://:80/x", "http://", "", "", ":80", 80, "/x", 7},
        {":80", "", "", "", ":80", 80, "", 0},
        {":80/x", "", "", "", ":80", 80, "/x", 0},
        {"u@", "", "u@", "", "", 0, "", NO_COLON},
        {"@", "", "@", "", "", 0, "", NO_COLON},
        {"u@/x", "", "u@", "", "", 0, "/x", NO_COLON},
        {"http://u@", "http://", "u@", "", "", 0, "", NO_COLON},
        {"http://u@:80", "http://", "u@", "", ":80", 80, "", 9},
        // A colon alone is a host, as no port is split off it.
        {":", "", "", ":", "", 0, "", 0},
        {"http://:/x", "http://", "", ":", "", 0, "/x", 7},
    };
    for (const Expected& row : ROWS) {
        expectSplit(row);
    }
}

TEST(UrlSplit, EndsUserInfoAtTheFirstAt) {
    constexpr Expected ROWS[] = {
        {"http://u@h/", "http://", "u@", "h", "", 0, "/", NO_COLON},
        {"http://u@v@h/", "http://", "u@", "v@h", "", 0, "/", NO_COLON},
        {"u@v@h", "", "u@", "v@h", "", 0, "", NO_COLON},
        {"@@h", "", "@", "@h", "", 0, "", NO_COLON},
        // One behind the authority belongs to the rest.
        {"http://h/@x", "http://", "", "h", "", 0, "/@x", NO_COLON},
        {"http://h?u@x", "http://", "", "h", "", 0, "?u@x", NO_COLON},
        {"h/u:1@x", "", "", "h", "", 0, "/u:1@x", NO_COLON},
        {"h#@", "", "", "h", "", 0, "#@", NO_COLON},
        // One behind a '[' belongs to the host.
        {"[u@h", "", "", "[u@h", "", 0, "", NO_COLON},
        {"http://a[u@h", "http://", "", "a[u@h", "", 0, "", NO_COLON},
    };
    for (const Expected& row : ROWS) {
        expectSplit(row);
    }
}

TEST(UrlSplit, RemembersAColonOfTheUserInfo) {
    constexpr Expected ROWS[] = {
        {"http://u:p@h/", "http://", "u:p@", "h", "", 0, "/", 8},
        {"u:p@h", "", "u:p@", "h", "", 0, "", 1},
        {"u:80@h", "", "u:80@", "h", "", 0, "", 1},
        {"u:@", "", "u:@", "", "", 0, "", 1},
        // A later colon takes its place; a bracket makes it forgotten.
        {"http://u:p@h:80/", "http://", "u:p@", "h", ":80", 80, "/", 12},
        {"http://u:p@[::1]/", "http://", "u:p@", "[::1]", "", 0, "/", NO_COLON},
        {"u:p@h]", "", "u:p@", "h]", "", 0, "", NO_COLON},
    };
    for (const Expected& row : ROWS) {
        expectSplit(row);
    }
}

TEST(UrlSplit, TakesNoColonInsideBracketsForThePortColon) {
    constexpr Expected ROWS[] = {
        {"[::1]", "", "", "[::1]", "", 0, "", NO_COLON},
        {"[::1]/x", "", "", "[::1]", "", 0, "/x", NO_COLON},
        {"[::1]:80", "", "", "[::1]", ":80", 80, "", 5},
        {"[::1]:80?x", "", "", "[::1]", ":80", 80, "?x", 5},
        {"http://[::1]:80/", "http://", "", "[::1]", ":80", 80, "/", 12},
        {"http://[::1]", "http://", "", "[::1]", "", 0, "", NO_COLON},
        {"[::1", "", "", "[:", ":1", 1, "", 2},
        {"[", "", "", "[", "", 0, "", NO_COLON},
        {"[/x", "", "", "[", "", 0, "/x", NO_COLON},
        {"a:1[b]", "", "", "a:1[b]", "", 0, "", NO_COLON},
        {"a]:1", "", "", "a]", ":1", 1, "", 2},
        {"u@a:1]", "", "u@", "a:1]", "", 0, "", NO_COLON},
        // Before a '[' or an '@' nobody looks for a ']'.
        {"a:1]", "", "", "a:1]", "", 0, "", 1},
        {"http://a:1]", "http://", "", "a:1]", "", 0, "", 8},
    };
    for (const Expected& row : ROWS) {
        expectSplit(row);
    }
}

TEST(UrlSplit, FindsABracketBeforeAScheme) {
    // Behind a '[' the authority goes on, so that "://" ends it.
    expectSplit({"[http://a", "", "", "[http:", "", 0, "//a", 5});
    expectSplit({"ht[tp://a", "", "", "ht[tp:", "", 0, "//a", 5});
    expectSplit({"a:[b", "", "", "a:[b", "", 0, "", 1});
}

TEST(UrlSplit, TakesTheLastColonForThePortColon) {
    expectSplit({"a:1:2", "", "", "a:1", ":2", 2, "", 3});
    expectSplit({"a:1:", "", "", "a:1:", "", 0, "", 3});
    expectSplit({"a::80", "", "", "a:", ":80", 80, "", 2});
    expectSplit({"http://a:b:9/", "http://", "", "a:b", ":9", 9, "/", 10});
    expectSplit({"http://[::1]:7:8", "http://", "", "[::1]:7", ":8", 8, "", 14});
}

TEST(UrlSplit, ReadsPortsFrom1To65535) {
    constexpr struct {
        std::string_view text;
        uint32_t port;
    } ROWS[] = {
        {"a:1", 1},
        {"a:9", 9},
        {"a:10", 10},
        {"a:100", 100},
        {"a:8080", 8080},
        {"a:65535", 65535},
        {"a:65536", 0},
        {"a:65540", 0},
        {"a:99999", 0},
        {"a:655350", 0},
        {"a:100000", 0},
        {"a:4294967297", 0},
        {"a:18446744073709551617", 0},
        {"a:0", 0},
        {"a:00", 0},
        {"a:08", 0},
        {"a:080", 0},
        {"a:", 0},
        {"a:x", 0},
        {"a:80x", 0},
        {"a:x80", 0},
        {"a: 80", 0},
        {"a:80 ", 0},
        {"a:+80", 0},
        {"a:-1", 0},
        {"a:*", 0},
        {"a:8%30", 0},
        {"a:0x50", 0},
        {"a:/0", 0},
    };
    for (const auto& row : ROWS) {
        SCOPED_TRACE(row.text);
        const ExactText text(row.text);
        const UrlParts parts = splitUrl({text.data(), text.size()});
        EXPECT_EQ(row.port, parts.port);
        // The colon is reported all the same.
        EXPECT_EQ(text.data() + 1, parts.portColon);
        const bool hasPort = row.port != 0;
        EXPECT_EQ(hasPort, parts.portText.text != nullptr);
        EXPECT_EQ(hasPort ? row.text.size() - 1 : 0, parts.portText.length);
        if (hasPort) {
            EXPECT_EQ(1, parts.host.length);
        }
    }
}

TEST(UrlSplit, LeavesAnInvalidPortInTheHost) {
    expectSplit({"a:0", "", "", "a:0", "", 0, "", 1});
    expectSplit({"http://a:08/", "http://", "", "a:08", "", 0, "/", 8});
    expectSplit({"a:*/x", "", "", "a:*", "", 0, "/x", 1});
    expectSplit({"a:", "", "", "a:", "", 0, "", 1});
}

TEST(UrlSplit, FindsNothingInAnEmptyText) {
    expectSplit({"", "", "", "", "", 0, "", NO_COLON});
    EXPECT_EQ(nullptr, splitUrl({nullptr, 0}).host.text);
    EXPECT_EQ(nullptr, splitUrl({"a", 0}).host.text);
}

}  // namespace

}  // namespace rs::test
