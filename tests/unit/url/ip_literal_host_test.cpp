#include "url/ip_literal_host.h"

#include <ruleset.h>

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "support/text.h"

namespace rs::test {

namespace {

struct Normalized {
    int32_t status;
    std::string text;
};

// Input and output stand in blocks of exactly their sizes.
Normalized normalize(std::string_view host, uint32_t capacity = 64) {
    const ExactText text(host);
    const auto out = std::make_unique<char[]>(capacity);
    uint32_t length = capacity;
    const int32_t status = normalizeIpLiteralHost(text.data(), text.size(), out.get(), &length);
    return {status, status == RULE_OK ? std::string(out.get(), length) : std::string()};
}

TEST(IpLiteralHost, IsWrittenWithAllEightGroups) {
    constexpr struct {
        std::string_view host;
        std::string_view text;
    } ROWS[] = {
        {"[2001:DB8::1]", "[2001:db8:0:0:0:0:0:1]"},
        {"[::]", "[0:0:0:0:0:0:0:0]"},
        {"[::1]", "[0:0:0:0:0:0:0:1]"},
        {"[1::]", "[1:0:0:0:0:0:0:0]"},
        {"[1:2:3:4:5:6:7:8]", "[1:2:3:4:5:6:7:8]"},
        {"[0001:0020:0300:4000:ABCD:EF01:00ff:0]", "[1:20:300:4000:abcd:ef01:ff:0]"},
        {"[FFFF:FFFF:FFFF:FFFF:FFFF:FFFF:FFFF:FFFF]", "[ffff:ffff:ffff:ffff:ffff:ffff:ffff:ffff]"},
        {"[1:2:3::6:7:8]", "[1:2:3:0:0:6:7:8]"},
        {"[1:2:3:4:5:6:7::]", "[1:2:3:4:5:6:7:0]"},
        {"[::2:3:4:5:6:7:8]", "[0:2:3:4:5:6:7:8]"},
        // A dotted quad at the end.
        {"[1:2:3:4:5:6:1.2.3.4]", "[1:2:3:4:5:6:102:304]"},
        {"[::1.2.3.4]", "[0:0:0:0:0:0:102:304]"},
        {"[64:ff9b::255.255.255.255]", "[64:ff9b:0:0:0:0:ffff:ffff]"},
    };
    for (const auto& row : ROWS) {
        SCOPED_TRACE(row.host);
        const Normalized normalized = normalize(row.host);
        EXPECT_EQ(RULE_OK, normalized.status);
        EXPECT_EQ(row.text, normalized.text);
    }
}

TEST(IpLiteralHost, OfAMappedAddressIsADottedQuad) {
    constexpr struct {
        std::string_view host;
        std::string_view text;
    } ROWS[] = {
        {"[::FFFF:1.2.3.4]", "1.2.3.4"},
        {"[::ffff:102:304]", "1.2.3.4"},
        {"[0:0:0:0:0:ffff:0:0]", "0.0.0.0"},
        {"[::ffff:255.255.255.255]", "255.255.255.255"},
        {"[0:0:0:0:0:ffff:ffff:ffff]", "255.255.255.255"},
        {"[::ffff:a09:64ff]", "10.9.100.255"},
        // Close to the prefix, but not it.
        {"[::1:ffff:1.2.3.4]", "[0:0:0:0:1:ffff:102:304]"},
        {"[1::ffff:1.2.3.4]", "[1:0:0:0:0:ffff:102:304]"},
        {"[::fffe:1.2.3.4]", "[0:0:0:0:0:fffe:102:304]"},
        {"[::ffff:0:1.2.3.4]", "[0:0:0:0:ffff:0:102:304]"},
    };
    for (const auto& row : ROWS) {
        SCOPED_TRACE(row.host);
        const Normalized normalized = normalize(row.host);
        EXPECT_EQ(RULE_OK, normalized.status);
        EXPECT_EQ(row.text, normalized.text);
    }
}

TEST(IpLiteralHost, NeedsItsBrackets) {
    for (const std::string_view host :
         {"[", "]", "[]", "::1", "[::1", "::1]", "x[::1]", "[::1]x", "[::1]:80", "[::1] ", "a",
          "1.2.3.4", "][", "[[::1]]", "[ ::1]", "[::1 ]"}) {
        EXPECT_EQ(RULE_ERR_BAD_RULE, normalize(host).status) << host;
    }
}

TEST(IpLiteralHost, RefusesBadAddresses) {
    for (const std::string_view host : {"[1]",
                                        "[:]",
                                        "[:::]",
                                        "[1:2:3:4:5:6:7]",
                                        "[1:2:3:4:5:6:7:8:9]",
                                        "[1:2:3:4:5:6:7:8::]",
                                        "[::1:2:3:4:5:6:7:8]",
                                        "[1:2:3:4::5:6:7:8]",
                                        "[1::2::3]",
                                        "[::1::]",
                                        "[12345::]",
                                        "[::12345]",
                                        "[::g]",
                                        "[1:]",
                                        "[:1]",
                                        "[::1:]",
                                        "[:1::]",
                                        "[1:2:3:4:5:6:7:]",
                                        "[1.2.3.4]",
                                        "[1:2:3:4:5:6:7:1.2.3.4]",
                                        "[1:2:3:4:5:1.2.3.4]",
                                        "[::1.2.3]",
                                        "[::1.2.3.4.5]",
                                        "[::1.2.3.256]",
                                        "[::01.2.3.4]",
                                        "[::1.2.3.4:1]",
                                        "[1.2.3.4::]",
                                        "[::1%25eth0]",
                                        "[::1%eth0]",
                                        "[v1.a]",
                                        "[::/64]"}) {
        EXPECT_EQ(RULE_ERR_BAD_RULE, normalize(host).status) << host;
    }
}

TEST(IpLiteralHost, FillsItsRoomButNotMore) {
    constexpr struct {
        std::string_view host;
        uint32_t needed;
    } ROWS[] = {
        {"[::]", 17},
        {"[::ffff:1.2.3.4]", 7},
        {"[ffff:ffff:ffff:ffff:ffff:ffff:ffff:ffff]", 41},
    };
    for (const auto& row : ROWS) {
        for (uint32_t capacity = 0; capacity < row.needed + 3; ++capacity) {
            SCOPED_TRACE(testing::Message() << row.host << " into " << capacity);
            const Normalized normalized = normalize(row.host, capacity);
            EXPECT_EQ(capacity < row.needed ? RULE_ERR_BUFFER_SMALL : RULE_OK, normalized.status);
            EXPECT_EQ(capacity < row.needed ? 0 : row.needed, normalized.text.size());
        }
    }
}

TEST(IpLiteralHost, RefusesNullAndEmptyArguments) {
    char out[64];
    uint32_t length = sizeof out;
    EXPECT_EQ(RULE_ERR_INVALID_ARG, normalizeIpLiteralHost(nullptr, 5, out, &length));
    EXPECT_EQ(RULE_ERR_INVALID_ARG, normalizeIpLiteralHost("[::1]", 0, out, &length));
    EXPECT_EQ(RULE_ERR_INVALID_ARG, normalizeIpLiteralHost("[::1]", 5, nullptr, &length));
    EXPECT_EQ(RULE_ERR_INVALID_ARG, normalizeIpLiteralHost("[::1]", 5, out, nullptr));
    EXPECT_EQ(64, length);
}

}  // namespace

}  // namespace rs::test
