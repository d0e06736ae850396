// The exported validators and the converter through the shared library.
#include <ruleset.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "support/text.h"

namespace rs::test {

namespace {

using std::string_view_literals::operator""sv;

// One text against all validators of address texts: what it is.
enum class Kind { NEITHER, IPV4, IPV6 };

struct AddressRow {
    std::string_view text;
    Kind kind;
};

constexpr AddressRow ADDRESS_ROWS[] = {
    {"10.0.0.1", Kind::IPV4},
    {" 10.0.0.0/8 ", Kind::IPV4},
    {"10.0.0.1-10.0.0.1", Kind::IPV4},
    {"10.0.0.1/32", Kind::IPV4},
    {"10.0.0.1/1", Kind::IPV4},
    // Deliberate: the length of an IPv4 prefix is not checked for digits.
    {"10.0.0.0/1:", Kind::IPV4},
    {"::1", Kind::IPV6},
    {"::", Kind::IPV6},
    {"\t2001:db8::/32\r\n", Kind::IPV6},
    {"::1-::1", Kind::IPV6},
    {"::/128", Kind::IPV6},
    {"::/1", Kind::IPV6},
    {"::/064", Kind::IPV6},
    {"::ffff:10.0.0.1", Kind::IPV6},
    {"::ffff:10.0.0.0/104", Kind::IPV6},
    {"", Kind::NEITHER},
    {"   ", Kind::NEITHER},
    {"10.0.0", Kind::NEITHER},
    {"10.0.0.01", Kind::NEITHER},
    {"10.0.0.5-10.0.0.1", Kind::NEITHER},
    {"10.0.0.1/0", Kind::NEITHER},
    {"10.0.0.1/33", Kind::NEITHER},
    {"10.0.0.1/08", Kind::NEITHER},
    {"10.0.0.1:80", Kind::NEITHER},
    {"10.0.0.1-::1", Kind::NEITHER},
    {"::/0", Kind::NEITHER},
    {"::/129", Kind::NEITHER},
    {"::/1:", Kind::NEITHER},
    {"::2-::1", Kind::NEITHER},
    {"[::1]", Kind::NEITHER},
    {"::1\0"sv, Kind::NEITHER},
    {"10.0.0.1\0"sv, Kind::NEITHER},
};

TEST(AddressValidators, AgreeOnEveryText) {
    for (const AddressRow& row : ADDRESS_ROWS) {
        SCOPED_TRACE(::testing::PrintToString(row.text));
        const ExactText text(row.text);
        EXPECT_EQ(row.kind == Kind::IPV4 ? RULE_OK : RULE_ERR_BAD_RANGE,
                  rs_validate_IPv4Range(text.data(), text.size()));
        EXPECT_EQ(row.kind == Kind::IPV6 ? RULE_OK : RULE_ERR_BAD_RANGE,
                  rs_validate_IPv6Range(text.data(), text.size()));
        EXPECT_EQ(row.kind != Kind::NEITHER ? RULE_OK : RULE_ERR_BAD_RULE,
                  rs_validateRule_IP(text.data(), text.size()));
        ConvertedRange range{};
        EXPECT_EQ(row.kind != Kind::NEITHER ? RULE_OK : RULE_ERR_FAILED,
                  rs_convertRule_IP(text.data(), text.size(), &range));
        EXPECT_EQ(row.kind == Kind::NEITHER ? 0 : (row.kind == Kind::IPV4 ? 4 : 6), range.family);
    }
}

TEST(AddressValidators, FailWithTheirOwnStatusForNull) {
    for (const uint32_t length : {0U, 8U}) {
        EXPECT_EQ(RULE_ERR_BAD_RANGE, rs_validate_IPv4Range(nullptr, length));
        EXPECT_EQ(RULE_ERR_BAD_RANGE, rs_validate_IPv6Range(nullptr, length));
        EXPECT_EQ(RULE_ERR_BAD_RANGE, rs_validate_PortRange(nullptr, length));
        EXPECT_EQ(RULE_ERR_BAD_RULE, rs_validateRule_IP(nullptr, length));
        ConvertedRange range{};
        EXPECT_EQ(RULE_ERR_FAILED, rs_convertRule_IP(nullptr, length, &range));
        EXPECT_EQ(RULE_ERR_FAILED, rs_convertRule_IP(nullptr, length, nullptr));
    }
    EXPECT_EQ(RULE_ERR_FAILED, rs_convertRule_IP("10.0.0.1", 8, nullptr));
}

TEST(PortRangeValidator, TakesOnePortOrTwo) {
    for (const std::string_view row :
         {"1"sv, "65535"sv, "00080"sv, "80-80"sv, "80-90"sv, "1-65535"sv, "00001-00002"sv}) {
        const ExactText text(row);
        EXPECT_EQ(RULE_OK, rs_validate_PortRange(text.data(), text.size())) << row;
    }
}

TEST(PortRangeValidator, RefusesEverythingElse) {
    for (const std::string_view row :
         {""sv, "0"sv, "65536"sv, "100000"sv, "000080"sv, "90-80"sv, "-80"sv, "80-"sv, "-"sv,
          "80-90-100"sv, "*"sv, "80,443"sv, " 80"sv, "80 "sv, "80 - 90"sv, "0-80"sv, "80-65536"sv,
          "http"sv, "80\0"sv}) {
        const ExactText text(row);
        EXPECT_EQ(RULE_ERR_BAD_RANGE, rs_validate_PortRange(text.data(), text.size())) << row;
    }
}

constexpr uint8_t GUARD = 0xEE;

ConvertedRange guardedRange() {
    ConvertedRange range{};
    std::memset(&range, GUARD, sizeof range);
    return range;
}

std::vector<uint8_t> bytesOf(const uint8_t (&address)[16]) {
    return {std::begin(address), std::end(address)};
}

// The bytes given, and the guards behind them.
std::vector<uint8_t> guarded(std::vector<uint8_t> bytes) {
    bytes.resize(16, GUARD);
    return bytes;
}

TEST(IpRuleConverter, WritesFourBytesOfIpv4AddressesOnly) {
    const struct {
        std::string_view text;
        std::vector<uint8_t> start;
        std::vector<uint8_t> end;
    } rows[] = {
        {"1.2.3.4", {1, 2, 3, 4}, {1, 2, 3, 4}},
        {"10.0.0.0/8", {10, 0, 0, 0}, {10, 255, 255, 255}},
        {"192.168.1.77/24", {192, 168, 1, 0}, {192, 168, 1, 255}},
        {"1.2.3.4-250.251.252.253", {1, 2, 3, 4}, {250, 251, 252, 253}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.text);
        const ExactText text(row.text);
        ConvertedRange range = guardedRange();
        ASSERT_EQ(RULE_OK, rs_convertRule_IP(text.data(), text.size(), &range));
        EXPECT_EQ(4, range.family);
        EXPECT_EQ(guarded(row.start), bytesOf(range.startAddress));
        EXPECT_EQ(guarded(row.end), bytesOf(range.endAddress));
    }
}

TEST(IpRuleConverter, WritesSixteenBytesOfIpv6Addresses) {
    ConvertedRange range = guardedRange();
    constexpr std::string_view TEXT = "102:304:506:708:90a:b0c:d0e:f10-fff::1.2.3.4";
    ASSERT_EQ(RULE_OK, rs_convertRule_IP(TEXT.data(), size32(TEXT), &range));
    EXPECT_EQ(6, range.family);
    EXPECT_EQ((std::vector<uint8_t>{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16}),
              bytesOf(range.startAddress));
    EXPECT_EQ((std::vector<uint8_t>{0x0F, 0xFF, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1, 2, 3, 4}),
              bytesOf(range.endAddress));
}

// Deliberate: the characters of an IPv4 length are not checked for digits.
TEST(IpRuleConverter, TakesUpToThreeCharactersOfAnIpv4LengthAsTheyCome) {
    constexpr struct {
        std::string_view text;
        uint8_t start[4];
        uint8_t end[4];
    } ROWS[] = {
        {"10.0.0.0/:", {10, 0, 0, 0}, {10, 63, 255, 255}},    // 10
        {"10.0.0.0/1:", {10, 0, 0, 0}, {10, 0, 15, 255}},     // 20
        {"10.0.0.0/1A", {10, 0, 0, 0}, {10, 0, 0, 31}},       // 27
        {"10.1.2.3/3-", {10, 1, 2, 0}, {10, 1, 2, 31}},       // 27
        {"10.1.2.3/1)0", {10, 1, 2, 0}, {10, 1, 2, 3}},       // 30
        {"10.0.0.0/4\t5", {10, 0, 0, 0}, {10, 1, 255, 255}},  // 15
        {"10.0.0.0/2 !", {10, 0, 0, 0}, {10, 0, 0, 127}},     // 25
    };
    for (const auto& row : ROWS) {
        SCOPED_TRACE(row.text);
        const ExactText text(row.text);
        ConvertedRange range{};
        EXPECT_EQ(RULE_OK, rs_convertRule_IP(text.data(), text.size(), &range));
        EXPECT_EQ(4, range.family);
        EXPECT_EQ(0, std::memcmp(row.start, range.startAddress, 4));
        EXPECT_EQ(0, std::memcmp(row.end, range.endAddress, 4));
    }
    for (const std::string_view text : {"10.0.0.0/ 8", "10.0.0.0/-10", "10.0.0.0/1 2"}) {
        ConvertedRange range{};
        EXPECT_EQ(RULE_ERR_FAILED, rs_convertRule_IP(text.data(), size32(text), &range)) << text;
    }
}

TEST(IpRuleConverter, KeepsTheFamilyOfTheWriting) {
    ConvertedRange range = guardedRange();
    ASSERT_EQ(RULE_OK, rs_convertRule_IP("::ffff:1.2.3.4", 14, &range));
    EXPECT_EQ(6, range.family);
    EXPECT_EQ((std::vector<uint8_t>{0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xFF, 0xFF, 1, 2, 3, 4}),
              bytesOf(range.startAddress));
    EXPECT_EQ(bytesOf(range.startAddress), bytesOf(range.endAddress));
}

TEST(IpRuleConverter, WritesNothingWhenItFails) {
    for (const std::string_view text : {""sv, "bad"sv, "10.0.0.9-10.0.0.1"sv, "::/0"sv}) {
        ConvertedRange range = guardedRange();
        EXPECT_EQ(RULE_ERR_FAILED, rs_convertRule_IP(text.data(), size32(text), &range)) << text;
        EXPECT_EQ(0xEEEEEEEE, range.family);
        EXPECT_EQ(guarded({}), bytesOf(range.startAddress));
        EXPECT_EQ(guarded({}), bytesOf(range.endAddress));
    }
}

}  // namespace

}  // namespace rs::test
