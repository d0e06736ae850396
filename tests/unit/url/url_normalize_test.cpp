#include "url/url_normalize.h"

#include <ruleset.h>
#include <ruleset_static.h>

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "support/text.h"

namespace rs::test {

namespace {

constexpr uint32_t ROOMY = 512;
constexpr uint8_t NO_FIELD = 77;  // what shortField is before

struct Capacities {
    uint32_t scheme = ROOMY;
    uint32_t host = ROOMY;
    uint32_t path = ROOMY;
};

// A status, and the fields of RULE_OK.
struct Normalized {
    int32_t status = 0;
    std::string scheme;
    std::string host;
    std::string path;
    uint16_t port = 0;
    uint8_t shortField = NO_FIELD;
};

// All texts stand in blocks of exactly their sizes.
Normalized normalize(std::string_view url, uint8_t keepPathCase = 0, Capacities capacities = {}) {
    const ExactText text(url);
    const auto scheme = std::make_unique<char[]>(capacities.scheme);
    const auto host = std::make_unique<char[]>(capacities.host);
    const auto path = std::make_unique<char[]>(capacities.path);
    NormalizedUrl record{};
    record.scheme = scheme.get();
    record.schemeLength = capacities.scheme;
    record.host = host.get();
    record.hostLength = capacities.host;
    record.path = path.get();
    record.pathLength = capacities.path;
    record.port = 77;
    record.shortField = NO_FIELD;
    record.keepPathCase = keepPathCase;
    Normalized result;
    result.status = normalizeUrl(text.data(), text.size(), &record);
    result.shortField = record.shortField;
    if (result.status == RULE_OK) {
        result.scheme.assign(scheme.get(), record.schemeLength);
        result.host.assign(host.get(), record.hostLength);
        result.path.assign(path.get(), record.pathLength);
        result.port = record.port;
    }
    return result;
}

struct Expected {
    std::string_view url;
    std::string_view scheme;
    std::string_view host;
    uint16_t port;
    std::string_view path;
};

void expectFields(const Expected& expected) {
    SCOPED_TRACE(expected.url);
    const Normalized normalized = normalize(expected.url);
    EXPECT_EQ(RULE_OK, normalized.status);
    EXPECT_EQ(expected.scheme, normalized.scheme);
    EXPECT_EQ(expected.host, normalized.host);
    EXPECT_EQ(expected.port, normalized.port);
    EXPECT_EQ(expected.path, normalized.path);
}

// Restores the option that some of these tests change.
class UrlNormalize : public testing::Test {
protected:
    void TearDown() override { setLibraryOption(RULE_OPTION_IPV6, 1); }
};

TEST_F(UrlNormalize, FillsEveryField) {
    expectFields({"  HTTP://User:Pw@WEB.Example.COM:8080/A%41?X+Y#Z+W  ", "http", "web.example.com",
                  8080, "/aa?x y#z+w"});
}

TEST_F(UrlNormalize, TakesATextWithoutSchemeForAHost) {
    expectFields({"example.com", "", "example.com", 0, "/"});
    expectFields({"example.com?x", "", "example.com", 0, "/?x"});
    expectFields({"example.com#x", "", "example.com", 0, "/#x"});
    expectFields({"Example.com:81/X", "", "example.com", 81, "/x"});
    expectFields({"u@example.com", "", "example.com", 0, "/"});
}

TEST_F(UrlNormalize, TakesTwoSlashesForAnEmptyScheme) {
    expectFields({"//example.com/x", "", "example.com", 0, "/x"});
    expectFields({"//example.com", "", "example.com", 0, "/"});
}

TEST_F(UrlNormalize, TakesAnySchemeName) {
    expectFields({"FTP://a", "ftp", "a", 0, "/"});
    expectFields({"a:B://c/", "a:b", "c", 0, "/"});
    expectFields({"x y://c/", "x y", "c", 0, "/"});
    expectFields({"mailto://", "mailto", "", 0, ""});
    EXPECT_EQ(RULE_ERR_BAD_RULE, normalize("://a").status);
    EXPECT_EQ(RULE_ERR_BAD_RULE, normalize("://").status);
    EXPECT_EQ(RULE_ERR_BAD_RULE, normalize(":///x").status);
}

TEST_F(UrlNormalize, TakesAPathAlone) {
    expectFields({"/Etc/x", "", "", 0, "/etc/x"});
    expectFields({"?q", "", "", 0, "/?q"});
    expectFields({"#f", "", "", 0, "/#f"});
    expectFields({"u@/x", "", "", 0, "/x"});
    // The port of an absent host is none.
    expectFields({":80/x", "", "", 0, "/x"});
}

TEST_F(UrlNormalize, TakesAPathWithoutHostUnderTheSchemeFileOnly) {
    expectFields({"file:///etc/x", "file", "", 0, "/etc/x"});
    expectFields({"FILE:///etc/x", "file", "", 0, "/etc/x"});
    expectFields({"file://?q", "file", "", 0, "/?q"});
    expectFields({"file://", "file", "", 0, ""});
    expectFields({"file://:80/x", "file", "", 0, "/x"});
    for (const std::string_view url :
         {"http:///x", "///x", "files:///x", "fil:///x", "http://?x", "//#x", "http://u@/x"}) {
        EXPECT_EQ(RULE_ERR_BAD_RULE, normalize(url).status) << url;
    }
}

TEST_F(UrlNormalize, RefusesAnEmptyUrl) {
    for (const std::string_view url : {" ", "\t\r\n", "//", "u@", "//u@", ":80", "//:80"}) {
        EXPECT_EQ(RULE_ERR_BAD_RULE, normalize(url).status) << url;
    }
}

TEST_F(UrlNormalize, RefusesAColonWithoutValidPort) {
    for (const std::string_view url :
         {"http://a:0/", "http://a:08/", "http://a:65536/", "http://a:/", "a:", "a:x", "a:80x/",
          "a:*/", "http://a:80:/", "http:a", "http:/a", ":", "http://a:1]/"}) {
        EXPECT_EQ(RULE_ERR_BAD_RULE, normalize(url).status) << url;
    }
    expectFields({"http://a:65535/", "http", "a", 65535, "/"});
    expectFields({"http://a:1/", "http", "a", 1, "/"});
}

// Deliberate: an '@' does not make the splitter forget the colon of a password.
TEST_F(UrlNormalize, RefusesAPasswordWithoutPort) {
    EXPECT_EQ(RULE_ERR_BAD_RULE, normalize("http://u:p@h/").status);
    EXPECT_EQ(RULE_ERR_BAD_RULE, normalize("u:80@h").status);
    expectFields({"http://u:p@h:80/", "http", "h", 80, "/"});
    expectFields({"http://u:p@[::1]/", "http", "[0:0:0:0:0:0:0:1]", 0, "/"});
    // It does not matter where there is no host.
    expectFields({"u:p@/x", "", "", 0, "/x"});
}

TEST_F(UrlNormalize, ReadsBracketedLiterals) {
    expectFields({"http://[::FFFF:1.2.3.4]/", "http", "1.2.3.4", 0, "/"});
    expectFields({"http://[2001:DB8::1]/", "http", "[2001:db8:0:0:0:0:0:1]", 0, "/"});
    expectFields({"[::1]:8080", "", "[0:0:0:0:0:0:0:1]", 8080, "/"});
    // What is no address may be a host all the same, unless it holds a ':'.
    expectFields({"http://[A]/", "http", "[a]", 0, "/"});
    EXPECT_EQ(RULE_ERR_BAD_RULE, normalize("http://[::g]/").status);
    EXPECT_EQ(RULE_ERR_BAD_RULE, normalize("http://x[::1]/").status);
}

TEST_F(UrlNormalize, RefusesLiteralsWhileIpv6IsOff) {
    setLibraryOption(RULE_OPTION_IPV6, 0);
    for (const std::string_view url :
         {"http://[::FFFF:1.2.3.4]/", "http://[2001:DB8::1]/", "[::1]", "//[::1]:80/x"}) {
        EXPECT_EQ(RULE_ERR_BAD_RULE, normalize(url).status) << url;
    }
    expectFields({"http://1.2.3.4/", "http", "1.2.3.4", 0, "/"});
    expectFields({"http://[a]/", "http", "[a]", 0, "/"});
    setLibraryOption(RULE_OPTION_IPV6, 1);
    expectFields({"http://[::1]/", "http", "[0:0:0:0:0:0:0:1]", 0, "/"});
}

TEST_F(UrlNormalize, NormalizesTheHostAsRulesDo) {
    expectFields(
        {"http://B\xC3\x9C"
         "CHER.example./",
         "http", "xn--bcher-kva.example", 0, "/"});
    expectFields({"http://My_Host/", "http", "my_host", 0, "/"});
    expectFields({"http://*.A/", "http", "*.a", 0, "/"});
    expectFields({"http://u@v@h/", "http", "v@h", 0, "/"});
    expectFields({"a b", "", "a b", 0, "/"});
    for (const std::string_view url : {"http://a..b/", "http://./", "http://.a", "http://%2e/"}) {
        EXPECT_EQ(RULE_ERR_BAD_RULE, normalize(url).status) << url;
    }
}

TEST_F(UrlNormalize, HasHostsOf255BytesAtMost) {
    const std::string host = repeat("abc.", 63) + "abc";
    ASSERT_EQ(255, host.size());
    EXPECT_EQ(host, normalize("http://" + host + "/").host);
    EXPECT_EQ(host, normalize("http://" + host + "./").host);
    EXPECT_EQ(RULE_ERR_BAD_RULE, normalize("http://" + host + "d/").status);
}

TEST_F(UrlNormalize, KeepsDotSegments) {
    EXPECT_EQ("/a/./b/../c", normalize("http://h/a/./b/../c").path);
    EXPECT_EQ("//a", normalize("http://h//a").path);
}

TEST_F(UrlNormalize, KeepsThePathCaseWhenBitZeroAsksForIt) {
    constexpr std::string_view URL = "HTTP://H/A%41?B+C#D";
    for (const uint8_t flag : {uint8_t{0}, uint8_t{2}, uint8_t{0xFE}}) {
        EXPECT_EQ("/aa?b c#d", normalize(URL, flag).path);
    }
    for (const uint8_t flag : {uint8_t{1}, uint8_t{3}, uint8_t{0xFF}}) {
        EXPECT_EQ("/AA?B C#D", normalize(URL, flag).path);
        EXPECT_EQ("h", normalize(URL, flag).host);
        EXPECT_EQ("http", normalize(URL, flag).scheme);
    }
}

TEST_F(UrlNormalize, NamesTheFieldThatIsTooSmall) {
    constexpr std::string_view URL = "HTTP://Web.Com:8/Path";
    constexpr struct {
        Capacities capacities;
        int32_t status;
        uint8_t shortField;
    } ROWS[] = {
        {{4, 7, 5}, RULE_OK, NO_FIELD},        {{3, 7, 5}, RULE_ERR_BUFFER_SMALL, 1},
        {{0, 0, 0}, RULE_ERR_BUFFER_SMALL, 1}, {{4, 6, 5}, RULE_ERR_BUFFER_SMALL, 2},
        {{4, 0, 0}, RULE_ERR_BUFFER_SMALL, 2}, {{4, 7, 4}, RULE_ERR_BUFFER_SMALL, 3},
        {{4, 7, 0}, RULE_ERR_BUFFER_SMALL, 3},
    };
    for (const auto& row : ROWS) {
        const Normalized normalized = normalize(URL, 0, row.capacities);
        EXPECT_EQ(row.status, normalized.status);
        EXPECT_EQ(row.shortField, normalized.shortField);
    }
}

TEST_F(UrlNormalize, NamesNoFieldUnlessOneIsTooSmall) {
    constexpr struct {
        std::string_view url;
        int32_t status;
    } ROWS[] = {
        {"HTTP://Web.Com:8/Path", RULE_OK},
        {"a", RULE_OK},
        {"/x", RULE_OK},
        {"mailto://", RULE_OK},
        {"[::1]", RULE_OK},
        {"://a", RULE_ERR_BAD_RULE},
        {"a..b", RULE_ERR_BAD_RULE},
        {"a:0", RULE_ERR_BAD_RULE},
        {"http:///x", RULE_ERR_BAD_RULE},
    };
    for (const auto& row : ROWS) {
        SCOPED_TRACE(row.url);
        const Normalized normalized = normalize(row.url);
        EXPECT_EQ(row.status, normalized.status);
        EXPECT_EQ(NO_FIELD, normalized.shortField);
    }
}

TEST_F(UrlNormalize, NeedsRoomForTheSlashOfAnAbsentPath) {
    for (const std::string_view url : {"a", "http://a", "a?", "a#"}) {
        EXPECT_EQ(RULE_OK, normalize(url, 0, {ROOMY, ROOMY, 2}).status);
        const Normalized normalized = normalize(url, 0, {ROOMY, ROOMY, 0});
        EXPECT_EQ(RULE_ERR_BUFFER_SMALL, normalized.status);
        EXPECT_EQ(3, normalized.shortField);
    }
    EXPECT_EQ(RULE_OK, normalize("a", 0, {ROOMY, ROOMY, 1}).status);
    // No path, no room.
    EXPECT_EQ(RULE_OK, normalize("mailto://", 0, {6, 0, 0}).status);
}

TEST_F(UrlNormalize, NamesTheHostForALiteralThatDoesNotFit) {
    EXPECT_EQ(RULE_OK, normalize("[::1]", 0, {0, 17, 1}).status);
    const Normalized normalized = normalize("[::1]", 0, {0, 16, 1});
    EXPECT_EQ(RULE_ERR_BUFFER_SMALL, normalized.status);
    EXPECT_EQ(2, normalized.shortField);
}

TEST_F(UrlNormalize, ReportsAnEncodedHostThatDoesNotFit) {
    EXPECT_EQ(RULE_OK, normalize("\xC3\xBC", 0, {0, 7, 1}).status);
    const Normalized normalized = normalize("\xC3\xBC", 0, {0, 6, 1});
    EXPECT_EQ(RULE_ERR_BUFFER_SMALL, normalized.status);
    EXPECT_EQ(2, normalized.shortField);
    // The dot that is dropped needs its room.
    EXPECT_EQ(RULE_ERR_BUFFER_SMALL, normalize("a.", 0, {0, 1, 1}).status);
    EXPECT_EQ(RULE_OK, normalize("a.", 0, {0, 2, 1}).status);
}

TEST_F(UrlNormalize, NeedsTheBuffersOfTheFieldsThatAUrlHas) {
    char buffer[64];
    const struct {
        std::string_view url;
        bool hasScheme;
        bool hasHost;
        bool hasPath;
        int32_t status;
    } rows[] = {
        {"http://a/", true, true, true, RULE_OK},
        {"http://a/", false, true, true, RULE_ERR_INVALID_ARG},
        {"http://a/", true, false, true, RULE_ERR_INVALID_ARG},
        {"http://a/", true, true, false, RULE_ERR_INVALID_ARG},
        {"http://a", true, true, false, RULE_ERR_INVALID_ARG},
        {"//a/", false, true, true, RULE_OK},
        {"a", false, true, true, RULE_OK},
        {"/x", false, false, true, RULE_OK},
        {"file:///x", true, false, true, RULE_OK},
        {"mailto://", true, false, false, RULE_OK},
        // A bad URL is refused at its scheme before the buffers are asked for.
        {"://a", false, false, false, RULE_ERR_BAD_RULE},
        {"a:0", false, false, false, RULE_ERR_BAD_RULE},
        {"///x", false, false, false, RULE_ERR_BAD_RULE},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.url);
        NormalizedUrl record{};
        record.scheme = row.hasScheme ? buffer : nullptr;
        record.schemeLength = 20;
        record.host = row.hasHost ? buffer + 20 : nullptr;
        record.hostLength = 20;
        record.path = row.hasPath ? buffer + 40 : nullptr;
        record.pathLength = 20;
        EXPECT_EQ(row.status, normalizeUrl(row.url.data(), size32(row.url), &record));
    }
}

TEST_F(UrlNormalize, RefusesNullAndEmptyArguments) {
    NormalizedUrl record{};
    EXPECT_EQ(RULE_ERR_INVALID_ARG, normalizeUrl(nullptr, 1, &record));
    EXPECT_EQ(RULE_ERR_INVALID_ARG, normalizeUrl("a", 0, &record));
    EXPECT_EQ(RULE_ERR_INVALID_ARG, normalizeUrl("a", 1, nullptr));
}

}  // namespace

}  // namespace rs::test
