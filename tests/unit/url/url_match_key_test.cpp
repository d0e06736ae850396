#include "url/url_match_key.h"

#include <ruleset.h>
#include <ruleset_static.h>

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "support/text.h"
#include "support/url_piece_text.h"

namespace rs::test {

namespace {

constexpr uint32_t ROOMY = 4096;

// A status, and the pieces of RULE_OK.
struct Key {
    int32_t status = 0;
    std::string scheme;
    std::string userInfo;
    std::string host;
    uint32_t port = 0;
    std::string path;
};

// The scratch bytes of ':' and digits.
size_t portRoom(uint32_t port) {
    return port == 0 ? 0 : 1 + std::to_string(port).size();
}

// Input and scratch stand in blocks of exactly their sizes.
Key parse(std::string_view url, uint32_t capacity = ROOMY) {
    const ExactText text(url);
    const auto scratch = std::make_unique<char[]>(capacity);
    uint32_t used = capacity;
    UrlMatchKey key{};
    Key result;
    result.status = parseUrlForMatch(text.data(), text.size(), scratch.get(), &used, &key);
    if (result.status == RULE_OK) {
        result.scheme = bytesOf(key.scheme);
        result.userInfo = bytesOf(key.userInfo);
        result.host = bytesOf(key.host);
        result.port = key.port;
        result.path = bytesOf(key.path);
        EXPECT_EQ(used, result.scheme.size() + result.userInfo.size() + result.host.size() +
                            portRoom(key.port) + result.path.size());
    }
    return result;
}

struct Expected {
    std::string_view url;
    std::string_view scheme;
    std::string_view userInfo;
    std::string_view host;
    uint32_t port;
    std::string_view path;
};

void expectKey(const Expected& expected) {
    SCOPED_TRACE(expected.url);
    const Key key = parse(expected.url);
    EXPECT_EQ(RULE_OK, key.status);
    EXPECT_EQ(expected.scheme, key.scheme);
    EXPECT_EQ(expected.userInfo, key.userInfo);
    EXPECT_EQ(expected.host, key.host);
    EXPECT_EQ(expected.port, key.port);
    EXPECT_EQ(expected.path, key.path);
}

TEST(UrlMatchKey, HoldsTheCanonicalPieces) {
    expectKey({"HTTPS://User:Pw@WEB.Example.COM:8080/A%41?X+Y#Z+W", "https://", "User:Pw@",
               "web.example.com", 8080, "/aa?x y#z+w"});
    expectKey({"a.test", "", "", "a.test", 0, ""});
    expectKey({"a.test?q", "", "", "a.test", 0, "/?q"});
    expectKey({"FTP://A:21#F", "ftp://", "", "a", 21, "/#f"});
}

TEST(UrlMatchKey, HasNoSchemeForTwoSlashes) {
    expectKey({"//a.test/x", "", "", "a.test", 0, "/x"});
    expectKey({"://a.test/x", "://", "", "a.test", 0, "/x"});
}

TEST(UrlMatchKey, TrimsNoBlanks) {
    expectKey({" A.test/x ", "", "", " a.test", 0, "/x "});
    expectKey({" HTTP://a ", " http://", "", "a ", 0, ""});
}

TEST(UrlMatchKey, HoldsAPathAlone) {
    expectKey({"/X", "", "", "", 0, "/x"});
    expectKey({"?X", "", "", "", 0, "/?x"});
    expectKey({"#X", "", "", "", 0, "/#x"});
    expectKey({"u@/x", "", "u@", "", 0, "/x"});
}

TEST(UrlMatchKey, NeedsAHostForASchemeOrAPort) {
    for (const std::string_view url :
         {"http://", "http:///x", "file:///x", "//", "///x", "//?x", ":80", ":80/x", "http://:80/x",
          "//:80", "http://u@", "u@", "@", "u@:80/x", "://", "mailto://"}) {
        EXPECT_EQ(RULE_ERR_BAD_RULE, parse(url).status) << url;
    }
}

// Deliberate: what follows the colon belongs to the host then.
TEST(UrlMatchKey, HasNoPortBehindAColonWithoutValidPort) {
    expectKey({"http://a:0/", "http://", "", "a:0", 0, "/"});
    expectKey({"http://a:08/", "http://", "", "a:08", 0, "/"});
    expectKey({"http://a:65536/", "http://", "", "a:65536", 0, "/"});
    expectKey({"http://a:/", "http://", "", "a:", 0, "/"});
    expectKey({"A:X", "", "", "a:x", 0, ""});
    expectKey({"http:/a", "", "", "http:", 0, "/a"});
    expectKey({":", "", "", ":", 0, ""});
    expectKey({"http://a:65535/", "http://", "", "a", 65535, "/"});
}

// Deliberate: the colon of a password is no error here.
TEST(UrlMatchKey, TakesAPasswordWithoutPort) {
    expectKey({"http://u:p@H/", "http://", "u:p@", "h", 0, "/"});
    expectKey({"u:80@H/x", "", "u:80@", "h", 0, "/x"});
    expectKey({"http://U:P@h:80/", "http://", "U:P@", "h", 80, "/"});
    expectKey({"u@v@h", "", "u@", "v@h", 0, ""});
}

TEST(UrlMatchKey, HoldsBracketedLiteralsInTheirOneForm) {
    expectKey({"http://[2001:DB8::1]:8/x", "http://", "", "[2001:db8:0:0:0:0:0:1]", 8, "/x"});
    expectKey({"http://[::FFFF:1.2.3.4]", "http://", "", "1.2.3.4", 0, ""});
    expectKey({"[A]", "", "", "[a]", 0, ""});
    expectKey({"[::G]", "", "", "[::g]", 0, ""});
}

TEST(UrlMatchKey, TakesLiteralsWhileIpv6IsOff) {
    setLibraryOption(RULE_OPTION_IPV6, 0);
    expectKey({"http://[2001:DB8::1]:8/x", "http://", "", "[2001:db8:0:0:0:0:0:1]", 8, "/x"});
    setLibraryOption(RULE_OPTION_IPV6, 1);
}

// Deliberate: a literal without room is copied as a name would be.
TEST(UrlMatchKey, CopiesALiteralThatDoesNotFit) {
    EXPECT_EQ("[0:0:0:0:0:0:0:0]", parse("[::]", 17).host);
    EXPECT_EQ("[::]", parse("[::]", 16).host);
    EXPECT_EQ("[::a]", parse("[::A]", 5).host);
    EXPECT_EQ(RULE_ERR_BUFFER_SMALL, parse("[::A]", 4).status);
}

TEST(UrlMatchKey, HoldsTheHostAsNamesAreMatched) {
    expectKey(
        {"http://B\xC3\x9C"
         "CHER.example./",
         "http://", "", "xn--bcher-kva.example", 0, "/"});
    expectKey({"http://My_Host./", "http://", "", "my_host", 0, "/"});
    expectKey({"http://a..B/", "http://", "", "a..b", 0, "/"});
    expectKey({"http://./x", "http://", "", "", 0, "/x"});
    expectKey({"%2E", "", "", "", 0, ""});
    const std::string longHost(300, 'a');
    EXPECT_EQ(longHost, parse("http://" + longHost).host);
}

TEST(UrlMatchKey, FillsItsRoomButNotMore) {
    constexpr struct {
        std::string_view url;
        uint32_t needed;
    } ROWS[] = {
        {"a", 1},
        {"http://a", 8},
        {"http://u@a", 10},
        {"http://u@a:8", 12},
        {"http://u@a:8/b", 14},
        {"a?b", 4},
        {"//a", 1},
        {"/%41", 2},
        {"\xC3\xBC", 7},
        {"a./b", 3},
    };
    for (const auto& row : ROWS) {
        for (uint32_t capacity = 0; capacity < row.needed + 3; ++capacity) {
            SCOPED_TRACE(testing::Message() << row.url << " into " << capacity);
            EXPECT_EQ(capacity < row.needed ? RULE_ERR_BUFFER_SMALL : RULE_OK,
                      parse(row.url, capacity).status);
        }
    }
}

TEST(UrlMatchKey, RefusesNullAndEmptyArguments) {
    char scratch[16];
    uint32_t capacity = sizeof scratch;
    UrlMatchKey key{};
    EXPECT_EQ(RULE_ERR_INVALID_ARG, parseUrlForMatch(nullptr, 1, scratch, &capacity, &key));
    EXPECT_EQ(RULE_ERR_INVALID_ARG, parseUrlForMatch("a", 1, nullptr, &capacity, &key));
    EXPECT_EQ(RULE_ERR_INVALID_ARG, parseUrlForMatch("a", 1, scratch, nullptr, &key));
    EXPECT_EQ(RULE_ERR_INVALID_ARG, parseUrlForMatch("a", 1, scratch, &capacity, nullptr));
    EXPECT_EQ(RULE_ERR_INVALID_ARG, parseUrlForMatch("a", 0, scratch, &capacity, &key));
}

TEST(UrlMatchKey, ForgetsThePiecesOfAnEarlierUrl) {
    char scratch[64];
    uint32_t capacity = sizeof scratch;
    UrlMatchKey key{};
    key.scheme = {"stale", 5};
    key.port = 7;
    key.path = {"stale", 5};
    ASSERT_EQ(RULE_OK, parseUrlForMatch("a", 1, scratch, &capacity, &key));
    EXPECT_EQ(0, key.scheme.length);
    EXPECT_EQ(0, key.userInfo.length);
    EXPECT_EQ(0, key.port);
    EXPECT_EQ(0, key.path.length);
}

TEST(UrlScratch, HasFourBytesForEachUpTo1024) {
    static_assert(urlScratchSize(1) == 4);
    static_assert(urlScratchSize(100) == 400);
    static_assert(urlScratchSize(1023) == 4092);
    static_assert(urlScratchSize(1024) == 4096);
    static_assert(urlScratchSize(1025) == 4096);
    static_assert(urlScratchSize(2000) == 4096);
    static_assert(urlScratchSize(0xFFFFFFFF) == 4096);
    SUCCEED();
}

TEST(UrlScratch, IsEnoughForEncodedHosts) {
    // 8 bytes for the 3 of every label; it is the text of the URL that counts.
    for (const size_t labels : {1U, 31U, 32U, 341U}) {
        const std::string url = repeat("\xC3\xBC.", labels) + "/x";
        EXPECT_EQ(RULE_OK, parse(url, urlScratchSize(size32(url))).status) << labels;
    }
}

}  // namespace

}  // namespace rs::test
