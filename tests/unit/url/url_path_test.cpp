#include "url/url_path.h"

#include <ruleset.h>

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "support/text.h"

namespace rs::test {

namespace {

constexpr bool KEEP_CASE = true;

struct Normalized {
    int32_t status;
    std::string text;
};

// Input and output stand in blocks of exactly their sizes.
Normalized normalize(std::string_view rest, bool keepCase = false, uint32_t capacity = 256) {
    const ExactText text(rest);
    const auto out = std::make_unique<char[]>(capacity);
    uint32_t length = capacity;
    const int32_t status = normalizeUrlPath(text.data(), text.size(), out.get(), &length, keepCase);
    return {status, status == RULE_OK ? std::string(out.get(), length) : std::string()};
}

TEST(UrlPath, IsLoweredAndDecoded) {
    constexpr struct {
        std::string_view rest;
        std::string_view lowered;
        std::string_view kept;
    } ROWS[] = {
        {"/", "/", "/"},
        {"/A%41?X+Y#Z+W", "/aa?x y#z+w", "/AA?X Y#Z+W"},
        {"/Index.HTML", "/index.html", "/Index.HTML"},
        {"/%c3%9C\xC3\x9C", "/\xC3\x9C\xC3\x9C", "/\xC3\x9C\xC3\x9C"},
        {"/%00", {"/\0", 2}, {"/\0", 2}},
        // What is no escape stays.
        {"/%", "/%", "/%"},
        {"/%4", "/%4", "/%4"},
        {"/%4G", "/%4g", "/%4G"},
        {"/%%41", "/%a", "/%A"},
        {"/a b\t", "/a b\t", "/a b\t"},
    };
    for (const auto& row : ROWS) {
        SCOPED_TRACE(row.rest);
        const Normalized lowered = normalize(row.rest);
        EXPECT_EQ(RULE_OK, lowered.status);
        EXPECT_EQ(row.lowered, lowered.text);
        const Normalized kept = normalize(row.rest, KEEP_CASE);
        EXPECT_EQ(RULE_OK, kept.status);
        EXPECT_EQ(row.kept, kept.text);
    }
}

TEST(UrlPath, BeginsWithASlash) {
    EXPECT_EQ("/?q", normalize("?q").text);
    EXPECT_EQ("/?", normalize("?").text);
    EXPECT_EQ("/#f", normalize("#f").text);
    EXPECT_EQ("/#", normalize("#").text);
    EXPECT_EQ("//", normalize("//").text);
    for (const std::string_view rest : {"a", "a/b", "*", "%2f", "\\", " /"}) {
        EXPECT_EQ(RULE_ERR_BAD_RULE, normalize(rest).status) << rest;
    }
}

TEST(UrlPath, HasSpacesForPlusInTheQueryOnly) {
    constexpr struct {
        std::string_view rest;
        std::string_view text;
    } ROWS[] = {
        {"/a+b", "/a+b"},
        {"/a+b?c+d", "/a+b?c d"},
        {"/a?b+c#d+e", "/a?b c#d+e"},
        {"/a#b+c?d+e", "/a#b+c?d+e"},
        {"/a?b?c+d", "/a?b?c d"},
        {"/a?b#c?d+e", "/a?b#c?d+e"},
        {"?+", "/? "},
        {"#+", "/#+"},
        {"/?+#+?+", "/? #+?+"},
        // A decoded plus is none.
        {"?%2B+", "/?+ "},
    };
    for (const auto& row : ROWS) {
        SCOPED_TRACE(row.rest);
        EXPECT_EQ(row.text, normalize(row.rest).text);
        EXPECT_EQ(row.text, normalize(row.rest, KEEP_CASE).text);
    }
}

TEST(UrlPath, DoesNotReinterpretDecodedBytes) {
    EXPECT_EQ("/a/b", normalize("/a%2Fb").text);
    EXPECT_EQ("/a?b+c", normalize("/a%3Fb+c").text);
    EXPECT_EQ("/a#b?c d", normalize("/a%23b?c+d").text);
    EXPECT_EQ("/?a#b c", normalize("?a%23b+c").text);
    EXPECT_EQ("/%41", normalize("/%2541").text);
    EXPECT_EQ("/%4a1", normalize("/%4%411").text);
    EXPECT_EQ("/*", normalize("/%2A").text);
}

TEST(UrlPath, KeepsDotSegmentsAndRepeatedSlashes) {
    for (const std::string_view rest : {"/a/./b/../c", "//a///b", "/..", "/.", "/a/"}) {
        EXPECT_EQ(rest, normalize(rest).text);
    }
}

TEST(UrlPath, FillsItsRoomButNotMore) {
    constexpr struct {
        std::string_view rest;
        uint32_t needed;
    } ROWS[] = {{"/", 1}, {"/abc", 4}, {"?q", 3}, {"#", 2}, {"/%41%4", 4}, {"/%41%42", 3}};
    for (const auto& row : ROWS) {
        for (uint32_t capacity = 0; capacity < row.needed + 3; ++capacity) {
            SCOPED_TRACE(testing::Message() << row.rest << " into " << capacity);
            const Normalized normalized = normalize(row.rest, false, capacity);
            EXPECT_EQ(capacity < row.needed ? RULE_ERR_BUFFER_SMALL : RULE_OK, normalized.status);
            EXPECT_EQ(capacity < row.needed ? 0 : row.needed, normalized.text.size());
        }
    }
    EXPECT_EQ(RULE_ERR_BAD_RULE, normalize("a", false, 0).status);
}

TEST(UrlPath, RefusesNullAndEmptyArguments) {
    char out[16];
    uint32_t length = sizeof out;
    EXPECT_EQ(RULE_ERR_INVALID_ARG, normalizeUrlPath(nullptr, 1, out, &length, false));
    EXPECT_EQ(RULE_ERR_INVALID_ARG, normalizeUrlPath("/", 0, out, &length, false));
    EXPECT_EQ(RULE_ERR_INVALID_ARG, normalizeUrlPath("/", 1, nullptr, &length, false));
    EXPECT_EQ(RULE_ERR_INVALID_ARG, normalizeUrlPath("/", 1, out, nullptr, false));
    EXPECT_EQ(16, length);
}

TEST(UrlPathCopier, GoesOnInTheStateOfThePieceBefore) {
    constexpr struct {
        std::string_view first;
        std::string_view second;
        std::string_view text;
    } ROWS[] = {
        {"/a+", "*+", "/a+*+"},
        {"?a+", "*+", "/?a * "},
        {"#a+", "*?+", "/#a+*?+"},
        {"/a?", "*+#+", "/a?* #+"},
        {"/a", "*?+", "/a*? "},
        // An escape does not reach over the seam.
        {"/%4", "1", "/%41"},
    };
    for (const auto& row : ROWS) {
        SCOPED_TRACE(row.text);
        char out[64];
        TextWriter writer(out, sizeof out);
        UrlPathCopier copier(writer, false);
        EXPECT_EQ(RULE_OK, copier.begin({row.first.data(), size32(row.first)}));
        EXPECT_EQ(RULE_OK, copier.append({row.second.data(), size32(row.second)}));
        EXPECT_EQ(row.text, std::string_view(out, writer.length()));
    }
}

TEST(UrlPathCopier, SharesItsRoomBetweenThePieces) {
    char out[4];
    TextWriter writer(out, sizeof out);
    UrlPathCopier copier(writer, false);
    EXPECT_EQ(RULE_OK, copier.begin({"/a", 2}));
    EXPECT_EQ(RULE_OK, copier.append({"bc", 2}));
    EXPECT_EQ(4, writer.length());
    EXPECT_EQ(RULE_ERR_BUFFER_SMALL, copier.append({"d", 1}));
}

TEST(UrlPath, MayBeNormalizedWhereItIs) {
    for (const std::string_view rest : {"/%41%42%43abc%44DEFGHIJKLMNOPQRSTUVWXYZ%45abc", "/A",
                                        "?Q+%2B+ABCDEFGHIJKLMNOPQRSTUVW"}) {
        // The text begins a byte after the buffer, for the '/' that may come before it.
        std::string buffer = '.' + std::string(rest) + std::string(64, '.');
        uint32_t length = size32(buffer);
        ASSERT_EQ(RULE_OK,
                  normalizeUrlPath(&buffer[1], size32(rest), buffer.data(), &length, false));
        EXPECT_EQ(normalize(rest).text, buffer.substr(0, length));
    }
}

}  // namespace

}  // namespace rs::test
