// No function reads or writes a byte outside the text and the buffers that it is given.
#include <ruleset.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "support/guarded_text.h"
#include "support/random_source.h"
#include "support/rule_handles.h"

namespace rs::test {

namespace {

constexpr size_t CAPACITY = 16384;

// Texts that end in the middle of everything that a parser looks ahead for.
const std::vector<std::string>& seeds() {
    static const std::vector<std::string> TEXTS = {
        "1",
        "10.0.0.1",
        "10.0.0.0/8",
        "10.0.0.1-10.0.0.9",
        "2001:db8::1",
        "2001:db8::/32",
        "::ffff:192.0.2.1-::ffff:192.0.2.9",
        "1-65535",
        "*",
        "*.example.com",
        "b\u00FCcher.example",
        "\xF0\x90\x8D\x88.example",
        "%62%C3%BC.example.",
        "under_score.example",
        "https://user@*.example.com:8443/a*b?c#d",
        "http://[2001:db8::1]:80/%41%2f",
        "[::1]/",
        "tcp;10.0.0.1;80,443;192.168.0.0/16;1-65535",
        "tcp;2001:db8::/32;*;*;1",
        "10.0.0.0/8,10.1.0.1;80,443;*;1-65535;0x10",
        "*;*;2001:db8::1;80;1",
        "1-2,5*;*;10.0.0.0/8,2001:db8::1;80-90;0x15;7",
    };
    return TEXTS;
}

// Every beginning of every seed, random bytes of its alphabet, and long texts around the limits.
const std::vector<std::string>& texts() {
    static const std::vector<std::string> TEXTS = [] {
        std::vector<std::string> texts;
        for (const std::string& seed : seeds()) {
            for (size_t length = 1; length <= seed.size(); ++length) {
                texts.push_back(seed.substr(0, length));
            }
        }
        RandomSource random(20261121);
        for (int i = 0; i < 4000; ++i) {
            std::string text = seeds()[random.below(seeds().size())];
            for (uint32_t changes = 1 + random.below32(3); changes > 0; --changes) {
                text[random.below(text.size())] = static_cast<char>(random.below(256));
            }
            texts.push_back(text);
        }
        constexpr size_t LENGTHS[] = {63, 64, 255, 256, 4095, 4096, 8191, 8192, 9000};
        for (const size_t length : LENGTHS) {
            texts.push_back(std::string(length, 'a'));
            texts.push_back("http://example.com/" + std::string(length, 'b'));
            texts.push_back(std::string(length / 2, '.') + std::string(length / 2, '%'));
        }
        return texts;
    }();
    return TEXTS;
}

template <typename Use>
void useEveryText(const Use& use) {
    const GuardedPages pages(CAPACITY);
    for (const std::string& text : texts()) {
        useAtBothBorders(pages, text, use);
    }
}

void expectOkOrRefused(int32_t status) {
    EXPECT_LE(status, RULE_OK);
}

class AddAtPageBorder : public ::testing::TestWithParam<int32_t> {};

TEST_P(AddAtPageBorder, ReadsTheTextOnly) {
    const RuleSetHandle set = newRuleSet(GetParam());
    size_t accepted = 0;
    useEveryText([&](const char* text, uint32_t length) {
        const int32_t status = rs_addRuleToRuleSetEx(set.get(), text, length, 1, 1, nullptr);
        expectOkOrRefused(status);
        EXPECT_EQ(status, rs_addRuleToRuleSet(set.get(), text, length, 1, 1));
        accepted += status == RULE_OK ? 1 : 0;
    });
    EXPECT_GT(accepted, 0U);
    EXPECT_NE(nullptr, buildRuleGroup(*set));
}

INSTANTIATE_TEST_SUITE_P(AllTypes, AddAtPageBorder,
                         ::testing::Values(RULE_TYPE_IP, RULE_TYPE_FQDN, RULE_TYPE_URL,
                                           RULE_TYPE_IP_ALT, RULE_TYPE_PACKET_FILTER,
                                           RULE_TYPE_IP_PORT, RULE_TYPE_COMPOUND));

struct Validator {
    const char* name;
    int32_t (*validate)(const char* text, uint32_t length);
};

void PrintTo(const Validator& validator, std::ostream* out) {
    *out << validator.name;
}

class ValidateAtPageBorder : public ::testing::TestWithParam<Validator> {};

TEST_P(ValidateAtPageBorder, ReadsTheTextOnly) {
    size_t accepted = 0;
    useEveryText([&](const char* text, uint32_t length) {
        const int32_t status = GetParam().validate(text, length);
        expectOkOrRefused(status);
        accepted += status == RULE_OK ? 1 : 0;
    });
    EXPECT_GT(accepted, 0U);
}

INSTANTIATE_TEST_SUITE_P(AllValidators, ValidateAtPageBorder,
                         ::testing::Values(Validator{"IPv4Range", rs_validate_IPv4Range},
                                           Validator{"IPv6Range", rs_validate_IPv6Range},
                                           Validator{"PortRange", rs_validate_PortRange},
                                           Validator{"IP", rs_validateRule_IP},
                                           Validator{"FQDN", rs_validateRule_FQDN},
                                           Validator{"URL", rs_validateRule_URL},
                                           Validator{"IpPort", rs_validateRule_IpPort},
                                           Validator{"PacketFilter", rs_validateRule_PacketFilter}),
                         [](const auto& row) { return std::string(row.param.name); });

TEST(PageBorder, ConvertReadsTheTextAndWritesTheRecordOnly) {
    const GuardedPages record(sizeof(ConvertedRange));
    useEveryText([&](const char* text, uint32_t length) {
        for (char* place : {record.last(sizeof(ConvertedRange)), record.first()}) {
            expectOkOrRefused(
                rs_convertRule_IP(text, length, reinterpret_cast<ConvertedRange*>(place)));
        }
    });
}

TEST(PageBorder, NormalizeUrlStaysInItsThreeBuffers) {
    const GuardedPages scheme(CAPACITY);
    const GuardedPages host(CAPACITY);
    const GuardedPages path(CAPACITY);
    RandomSource random(7);
    useEveryText([&](const char* text, uint32_t length) {
        NormalizedUrl record{};
        record.schemeLength = random.below32(8);
        record.hostLength = random.oneIn(2) ? random.below32(40) : 300;
        record.pathLength = random.oneIn(2) ? random.below32(40) : 10000;
        record.scheme = scheme.last(record.schemeLength);
        record.host = host.last(record.hostLength);
        record.path = path.last(record.pathLength);
        record.keepPathCase = random.oneIn(2) ? 1 : 0;
        expectOkOrRefused(rs_normalize_URL(text, length, &record));
    });
}

TEST(PageBorder, HostNameLookupReadsTheNameOnly) {
    const RuleSetHandle set = newRuleSet(RULE_TYPE_FQDN);
    uint32_t ruleId = 0;
    for (const std::string_view rule : {"example.com", "*.example", "a", "*.a"}) {
        ASSERT_EQ(RULE_OK, addRule(*set, rule, 1, ++ruleId));
    }
    const RuleGroupHandle group = buildRuleGroup(*set);
    size_t found = 0;
    useEveryText([&](const char* name, uint32_t length) {
        MatchResult result{};
        found += rs_matchDomainNameWithRuleGroup(group.get(), name, length, &result) == 1 ? 1 : 0;
    });
    EXPECT_GT(found, 0U);
}

TEST(PageBorder, UrlLookupReadsTheUrlOnly) {
    const RuleSetHandle set = newRuleSet(RULE_TYPE_URL);
    uint32_t ruleId = 0;
    for (const std::string_view rule : {"example.com/b", "*.example:*", "https://*.example.com:*",
                                        "http://[2001:db8::1]/*a", "a"}) {
        ASSERT_EQ(RULE_OK, addRule(*set, rule, 1, ++ruleId));
    }
    const RuleGroupHandle group = buildRuleGroup(*set);
    size_t found = 0;
    useEveryText([&](const char* url, uint32_t length) {
        MatchResult result{};
        found += rs_matchUrlWithRuleGroup(group.get(), url, length, &result) == 1 ? 1 : 0;
    });
    EXPECT_GT(found, 0U);
}

TEST(PageBorder, AddressLookupReadsFourOrSixteenBytes) {
    const RuleSetHandle set = newRuleSet(RULE_TYPE_IP);
    ASSERT_EQ(RULE_OK, addRule(*set, "::/1", 1, 1));
    ASSERT_EQ(RULE_OK, addRule(*set, "0.0.0.0/1", 1, 2));
    const RuleGroupHandle group = buildRuleGroup(*set);
    const GuardedPages pages(64);
    const std::array<char, 16> zero{};
    for (const int32_t family : {4, 6}) {
        const size_t size = family == 4 ? 4 : 16;
        useAtBothBorders(pages, {zero.data(), size}, [&](const char* address, uint32_t) {
            MatchResult result{};
            EXPECT_EQ(1, rs_matchIPRuleGroupEx(group.get(), family, address, &result));
        });
    }
}

}  // namespace

}  // namespace rs::test
