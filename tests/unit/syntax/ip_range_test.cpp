#include "syntax/ip_range.h"

#include <ruleset.h>

#include <cstdint>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "support/text.h"

namespace rs::test {

namespace {

using std::string_view_literals::operator""sv;

constexpr uint32_t FLAGS_IPV6_SINGLE = ADDRESS_FLAG_IPV6 | ADDRESS_FLAG_SINGLE;
constexpr uint32_t ONES = 0xFFFFFFFF;

TEST(IPv4Range, ReadsAddressesRangesAndPrefixes) {
    constexpr struct {
        std::string_view text;
        uint32_t start;
        uint32_t end;
        uint32_t flags;
    } ROWS[] = {
        {"10.0.0.1", 0x0A000001, 0x0A000001, ADDRESS_FLAG_SINGLE},
        {" \t10.0.0.1\r\n", 0x0A000001, 0x0A000001, ADDRESS_FLAG_SINGLE},
        {"0.0.0.0", 0, 0, ADDRESS_FLAG_SINGLE},
        {"10.0.0.1-10.0.0.5", 0x0A000001, 0x0A000005, 0},
        {"10.0.0.1-10.0.0.1", 0x0A000001, 0x0A000001, ADDRESS_FLAG_SINGLE},
        {"0.0.0.0-255.255.255.255", 0, ONES, 0},
        {"127.255.255.255-128.0.0.0", 0x7FFFFFFF, 0x80000000, 0},
        {"10.0.0.0/8", 0x0A000000, 0x0AFFFFFF, 0},
        {"192.168.1.0/24", 0xC0A80100, 0xC0A801FF, 0},
        // Bits below the prefix are cleared.
        {"192.168.1.77/24", 0xC0A80100, 0xC0A801FF, 0},
        {"1.2.3.4/1", 0, 0x7FFFFFFF, 0},
        {"255.2.3.4/1", 0x80000000, ONES, 0},
        {"1.2.3.5/31", 0x01020304, 0x01020305, 0},
        {"10.0.0.1/32", 0x0A000001, 0x0A000001, ADDRESS_FLAG_SINGLE},
        {"255.255.255.255/32", ONES, ONES, ADDRESS_FLAG_SINGLE},
    };
    for (const auto& row : ROWS) {
        SCOPED_TRACE(row.text);
        const ExactText text(row.text);
        AddressSpec spec{};
        ASSERT_EQ(RULE_OK, parseIPv4Range({text.data(), text.size()}, &spec));
        EXPECT_EQ(mappedAddress(row.start), spec.startAddress);
        EXPECT_EQ(mappedAddress(row.end), spec.endAddress);
        EXPECT_EQ(row.flags, spec.addressFlags);
    }
}

TEST(IPv4Range, RefusesBadTexts) {
    constexpr std::string_view ROWS[] = {
        "",
        "   ",
        "/",
        "-",
        "/8",
        "-10.0.0.1",
        "10.0.0.1-",
        "10.0.0.1/",
        "10.0.0.5-10.0.0.1",
        "10.0.0.1-10.0.0.0",
        "128.0.0.0-127.255.255.255",
        "10.0.0.1 - 10.0.0.5",
        "10.0.0.1- 10.0.0.5",
        "10.0.0.1-10.0.0.5-10.0.0.9",
        "10.0.0.1--10.0.0.5",
        "10.0.0.1-10.0.0.5/24",
        "10.0.0.0/8-10.0.0.9",
        // Prefixes outside 1 to 32, with leading zeros or too long.
        "1.2.3.4/0",
        "1.2.3.4/33",
        "1.2.3.4/08",
        "1.2.3.4/00",
        "1.2.3.4/032",
        "1.2.3.4/1000",
        "1.2.3.4/256",
        "10.0.0.0/255.0.0.0",
        "10.0.0.0/8/8",
        // Bad addresses.
        "01.2.3.4",
        "1.2.3",
        "1.2.3.4.5",
        "256.0.0.0/8",
        "1.2.3.4:80",
        "::1",
        "::ffff:1.2.3.4",
        "1.2.3.4\0"sv,
    };
    for (const std::string_view row : ROWS) {
        SCOPED_TRACE(::testing::PrintToString(row));
        const ExactText text(row);
        AddressSpec spec{};
        EXPECT_EQ(RULE_ERR_BAD_RULE, parseIPv4Range({text.data(), text.size()}, &spec));
        EXPECT_EQ(Address128{}, spec.startAddress);
        EXPECT_EQ(Address128{}, spec.endAddress);
    }
}

// Deliberate: the length of a prefix is one to three characters of any kind, each counted as its
// unsigned code minus 48 in arithmetic that wraps.
TEST(IPv4Range, ReadsPrefixLengthsThatAreNoDigits) {
    constexpr struct {
        std::string_view text;
        uint32_t prefix;  // 0 where the text is refused
    } ROWS[] = {
        {"255.255.255.255/1:", 20},     {"255.255.255.255/:", 10},
        {"255.255.255.255/@", 16},      {"255.255.255.255/P", 32},
        {"255.255.255.255/Q", 0},       {"255.255.255.255/1/", 9},
        {"255.255.255.255/1-", 7},      {"255.255.255.255/3-", 27},
        {"255.255.255.255/1(0", 20},    {"255.255.255.255///\x9F", 1},
        {"255.255.255.255///\xBE", 32}, {"255.255.255.255///\xBF", 0},
        {"255.255.255.255///\x9E", 0},  {"255.255.255.255//", 0},
        {"255.255.255.255/\xFF", 0},    {"255.255.255.255/1\xFF", 0},
        {"255.255.255.255/0:", 0},      {"255.255.255.255/ 8", 0},
        {"255.255.255.255/-\xA7", 0},   {"255.255.255.255//\xA0", 0},
        {"255.255.255.255//:", 0},      {"255.255.255.255//;", 1},
        {"255.255.255.255//Z", 32},     {"255.255.255.255//[", 0},
    };
    for (const auto& row : ROWS) {
        SCOPED_TRACE(::testing::PrintToString(row.text));
        const ExactText text(row.text);
        AddressSpec spec{};
        const int32_t status = parseIPv4Range({text.data(), text.size()}, &spec);
        if (row.prefix == 0) {
            EXPECT_EQ(RULE_ERR_BAD_RULE, status);
            continue;
        }
        EXPECT_EQ(RULE_OK, status);
        EXPECT_EQ(mappedAddress(ONES << (32 - row.prefix)), spec.startAddress);
        EXPECT_EQ(mappedAddress(ONES), spec.endAddress);
        EXPECT_EQ(row.prefix == 32 ? ADDRESS_FLAG_SINGLE : 0, spec.addressFlags);
    }
}

TEST(IPv4Range, CoversTwoToThePowerOfTheRemainingBits) {
    for (uint32_t prefix = 1; prefix <= 32; ++prefix) {
        const std::string text = "165.165.165.165/" + std::to_string(prefix);
        SCOPED_TRACE(text);
        AddressSpec spec{};
        ASSERT_EQ(RULE_OK, parseIPv4Range({text.data(), size32(text)}, &spec));
        const uint64_t size = uint64_t{1} << (32 - prefix);
        const uint32_t start = spec.startAddress.words[3];
        EXPECT_EQ(0, start % size);
        EXPECT_EQ(start + size - 1, spec.endAddress.words[3]);
        EXPECT_LE(start, 0xA5A5A5A5);
        EXPECT_GE(spec.endAddress.words[3], 0xA5A5A5A5);
    }
}

TEST(IPv4Range, OnlyRaisesTheSingleFlag) {
    AddressSpec spec{};
    spec.addressFlags = 0x80000001;
    ASSERT_EQ(RULE_OK, parseIPv4Range({"1.2.3.4", 7}, &spec));
    EXPECT_EQ(0x80000001 | ADDRESS_FLAG_SINGLE, spec.addressFlags);

    spec.addressFlags = ADDRESS_FLAG_SINGLE;
    ASSERT_EQ(RULE_OK, parseIPv4Range({"1.2.3.0/24", 10}, &spec));
    EXPECT_EQ(ADDRESS_FLAG_SINGLE, spec.addressFlags);
}

TEST(IPv4Range, RefusesNullArguments) {
    AddressSpec spec{};
    EXPECT_EQ(RULE_ERR_INVALID_ARG, parseIPv4Range({nullptr, 0}, &spec));
    EXPECT_EQ(RULE_ERR_INVALID_ARG, parseIPv4Range({nullptr, 7}, &spec));
    EXPECT_EQ(RULE_ERR_INVALID_ARG, parseIPv4Range({"1.2.3.4", 7}, nullptr));
    EXPECT_EQ(RULE_ERR_INVALID_ARG, parseIPv4Range({"bad", 3}, nullptr));
}

TEST(IPv6Range, ReadsAddressesRangesAndPrefixes) {
    constexpr struct {
        std::string_view text;
        Address128 start;
        Address128 end;
        uint32_t flags;
    } ROWS[] = {
        {"::", {}, {}, FLAGS_IPV6_SINGLE},
        {" ::\t", {}, {}, FLAGS_IPV6_SINGLE},
        {"2001:db8:1:2:3:4:5:6",
         {{0x20010DB8, 0x00010002, 0x00030004, 0x00050006}},
         {{0x20010DB8, 0x00010002, 0x00030004, 0x00050006}},
         FLAGS_IPV6_SINGLE},
        {"::ffff:1.2.3.4",
         {{0, 0, 0xFFFF, 0x01020304}},
         {{0, 0, 0xFFFF, 0x01020304}},
         FLAGS_IPV6_SINGLE},
        {"::1-::2", {{0, 0, 0, 1}}, {{0, 0, 0, 2}}, ADDRESS_FLAG_IPV6},
        {"::1-::1", {{0, 0, 0, 1}}, {{0, 0, 0, 1}}, FLAGS_IPV6_SINGLE},
        {"::1-0:0::0.0.0.1", {{0, 0, 0, 1}}, {{0, 0, 0, 1}}, FLAGS_IPV6_SINGLE},
        {"::-ffff:ffff:ffff:ffff:ffff:ffff:ffff:ffff", {}, {{ONES, ONES, ONES, ONES}}, 1},
        // The first groups that differ decide.
        {"1::ffff-2::", {{0x10000, 0, 0, 0xFFFF}}, {{0x20000, 0, 0, 0}}, ADDRESS_FLAG_IPV6},
        {"7fff::-8000::", {{0x7FFF0000, 0, 0, 0}}, {{0x80000000, 0, 0, 0}}, ADDRESS_FLAG_IPV6},
        {"2001:db8::/32", {{0x20010DB8, 0, 0, 0}}, {{0x20010DB8, ONES, ONES, ONES}}, 1},
        {"2001:db8::1/128", {{0x20010DB8, 0, 0, 1}}, {{0x20010DB8, 0, 0, 1}}, FLAGS_IPV6_SINGLE},
        {"::/1", {}, {{0x7FFFFFFF, ONES, ONES, ONES}}, ADDRESS_FLAG_IPV6},
        {"ffff::/1", {{0x80000000, 0, 0, 0}}, {{ONES, ONES, ONES, ONES}}, ADDRESS_FLAG_IPV6},
        {"::ffff:0:0/96", {{0, 0, 0xFFFF, 0}}, {{0, 0, 0xFFFF, ONES}}, ADDRESS_FLAG_IPV6},
        {"::ffff:1.2.3.4/127",
         {{0, 0, 0xFFFF, 0x01020304}},
         {{0, 0, 0xFFFF, 0x01020305}},
         ADDRESS_FLAG_IPV6},
        // Leading zeros are allowed here, within three digits.
        {"::/064", {}, {{0, 0, ONES, ONES}}, ADDRESS_FLAG_IPV6},
        {"::/01", {}, {{0x7FFFFFFF, ONES, ONES, ONES}}, ADDRESS_FLAG_IPV6},
        {"::/001", {}, {{0x7FFFFFFF, ONES, ONES, ONES}}, ADDRESS_FLAG_IPV6},
    };
    for (const auto& row : ROWS) {
        SCOPED_TRACE(row.text);
        const ExactText text(row.text);
        AddressSpec spec{};
        spec.addressFlags = 0xFFFFFFFF;  // written whole
        ASSERT_EQ(RULE_OK, parseIPv6Range({text.data(), text.size()}, &spec));
        EXPECT_EQ(row.start, spec.startAddress);
        EXPECT_EQ(row.end, spec.endAddress);
        EXPECT_EQ(row.flags, spec.addressFlags);
    }
}

TEST(IPv6Range, RefusesBadTexts) {
    constexpr std::string_view ROWS[] = {
        "",
        "  \t",
        "1.2.3.4",
        "1.2.3.4/8",
        "/",
        "-",
        "/64",
        "-::1",
        "::1-",
        "::2-::1",
        "2::-1::ffff",
        "8000::-7fff::",
        "::1 - ::2",
        "::1-::2-::3",
        "::1-::2/64",
        "::1-1.2.3.4",
        // Prefixes: one to three digits, 1 to 128.
        "::/",
        "::/0",
        "::/00",
        "::/000",
        "::/129",
        "::/999",
        "::/0064",
        "::/1:",
        "::/P",
        "::/-1",
        "::/+1",
        "::/ 64",
        "::/64/",
        "::/6 4",
        "::/1\0"sv,
        "1::2::3",
        "[::1]",
        "::1%1",
        "::1:80:",
    };
    for (const std::string_view row : ROWS) {
        SCOPED_TRACE(::testing::PrintToString(row));
        const ExactText text(row);
        AddressSpec spec{{{1, 2, 3, 4}}, {{5, 6, 7, 8}}, 0x55};
        EXPECT_EQ(RULE_ERR_BAD_RULE, parseIPv6Range({text.data(), text.size()}, &spec));
        EXPECT_EQ((Address128{{1, 2, 3, 4}}), spec.startAddress);
        EXPECT_EQ((Address128{{5, 6, 7, 8}}), spec.endAddress);
        EXPECT_EQ(0x55, spec.addressFlags);
    }
}

TEST(IPv6Range, LimitsTheItemButNotTheBlanksAroundIt) {
    AddressSpec spec{};
    const std::string blanks = std::string(5000, ' ') + "::1" + std::string(5000, '\n');
    EXPECT_EQ(RULE_OK, parseIPv6Range({blanks.data(), size32(blanks)}, &spec));
    for (const size_t length : {MAX_ITEM_LENGTH, MAX_ITEM_LENGTH + 1}) {
        const std::string text = "::1/" + std::string(length - 4, '0');
        EXPECT_EQ(RULE_ERR_BAD_RULE, parseIPv6Range({text.data(), size32(text)}, &spec)) << length;
    }
}

TEST(IPv6Range, MasksEveryPrefixLength) {
    for (uint32_t prefix = 1; prefix <= 128; ++prefix) {
        const std::string text =
            "a5a5:a5a5:a5a5:a5a5:a5a5:a5a5:a5a5:a5a5/" + std::to_string(prefix);
        SCOPED_TRACE(text);
        AddressSpec spec{};
        ASSERT_EQ(RULE_OK, parseIPv6Range({text.data(), size32(text)}, &spec));
        for (uint32_t bit = 0; bit < 128; ++bit) {
            const uint32_t mask = 0x80000000U >> (bit % 32);
            const bool written = (0xA5A5A5A5U & mask) != 0;
            const bool kept = bit < prefix;
            ASSERT_EQ(kept && written, (spec.startAddress.words[bit / 32] & mask) != 0) << bit;
            ASSERT_EQ(!kept || written, (spec.endAddress.words[bit / 32] & mask) != 0) << bit;
        }
        EXPECT_EQ(prefix == 128 ? FLAGS_IPV6_SINGLE : ADDRESS_FLAG_IPV6, spec.addressFlags);
    }
}

TEST(IPv6Range, RefusesNullArguments) {
    AddressSpec spec{};
    EXPECT_EQ(RULE_ERR_INVALID_ARG, parseIPv6Range({nullptr, 0}, &spec));
    EXPECT_EQ(RULE_ERR_INVALID_ARG, parseIPv6Range({nullptr, 3}, &spec));
    EXPECT_EQ(RULE_ERR_INVALID_ARG, parseIPv6Range({"::1", 3}, nullptr));
}

}  // namespace

}  // namespace rs::test
