// The readers of URLs and URL rules against the plain ones of the reference, with every room that
// they may be given.
#include <ruleset.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "core/library_option.h"
#include "support/random_names.h"
#include "support/random_source.h"
#include "support/reference_domain.h"
#include "support/reference_url_text.h"
#include "support/text.h"
#include "support/url_piece_text.h"
#include "url/ip_literal_host.h"
#include "url/url_match_key.h"
#include "url/url_path.h"
#include "url/url_rule.h"
#include "url/url_split.h"

namespace rs::test {

namespace {

void checkSplit(std::string_view url) {
    const ExactText text(url);
    const SplitUrl expected = splitUrlText(url);
    const UrlParts parts = splitUrl({text.data(), text.size()});
    EXPECT_EQ(expected.scheme, textOf(parts.scheme));
    EXPECT_EQ(expected.userInfo, textOf(parts.userInfo));
    EXPECT_EQ(expected.host, textOf(parts.host));
    EXPECT_EQ(expected.portText, textOf(parts.portText));
    EXPECT_EQ(expected.port, parts.port);
    EXPECT_EQ(expected.rest, textOf(parts.rest));
    EXPECT_EQ(expected.portColon ? text.data() + *expected.portColon : nullptr, parts.portColon);
}

template <typename Operation>
void checkOutcome(const Outcome& expected, const Operation& operation) {
    for (size_t capacity = 0; capacity <= expected.room + 2; ++capacity) {
        const std::unique_ptr<char[]> out = std::make_unique<char[]>(capacity);
        auto length = static_cast<uint32_t>(capacity);
        ASSERT_EQ(expected.statusAt(capacity), operation(out.get(), &length)) << capacity;
        if (capacity >= expected.room && expected.status == RULE_OK) {
            ASSERT_EQ(expected.text, std::string(out.get(), length)) << capacity;
        }
    }
}

void checkPath(std::string_view rest) {
    const ExactText text(rest);
    for (const bool keepCase : {false, true}) {
        checkOutcome(urlPath(rest, keepCase), [&](char* out, uint32_t* inOutCapacity) {
            return normalizeUrlPath(text.data(), text.size(), out, inOutCapacity, keepCase);
        });
    }
}

void checkLiteral(const std::string& host) {
    const ExactText text(host);
    checkOutcome(ipLiteralHost(host), [&](char* out, uint32_t* inOutCapacity) {
        return normalizeIpLiteralHost(text.data(), text.size(), out, inOutCapacity);
    });
}

void expectRule(const UrlRuleForm& expected, const ExactText& text, size_t capacity) {
    const std::unique_ptr<char[]> out = std::make_unique<char[]>(capacity);
    auto length = static_cast<uint32_t>(capacity);
    UrlRuleText record{};
    const int32_t status = parseUrlRule(text.data(), text.size(), out.get(), &length, &record);
    ASSERT_EQ(expected.status, status) << "capacity " << capacity;
    if (status != RULE_OK) {
        return;
    }
    ASSERT_EQ(expected.stored(), std::string(out.get(), length));
    ASSERT_EQ(expected.scheme, bytesOf(record.scheme));
    ASSERT_EQ(expected.host, std::string(record.host.text, record.host.length));
    ASSERT_EQ(expected.isWildcardHost ? DOMAIN_RULE_WILDCARD : 0U, record.host.flags);
    ASSERT_EQ(expected.path, bytesOf(record.path));
    ASSERT_EQ(0U, record.extra.length);
    ASSERT_EQ(expected.wildcardOffset, record.wildcardOffset);
    ASSERT_EQ(expected.portLow, record.portLow);
    ASSERT_EQ(expected.portHigh, record.portHigh);
}

void checkRule(std::string_view rule) {
    const ExactText text(rule);
    const size_t most = rule.size() + 40;
    for (size_t capacity = 0; capacity <= most && !::testing::Test::HasFailure(); ++capacity) {
        expectRule(readUrlRule(rule, capacity), text, capacity);
    }
    EXPECT_EQ(statusOfValidating(readUrlRule(rule, 4095).status),
              rs_validateRule_URL(text.data(), text.size()));
}

void expectKey(const UrlKey& expected, const ExactText& text, size_t capacity) {
    const std::unique_ptr<char[]> scratch = std::make_unique<char[]>(capacity);
    auto length = static_cast<uint32_t>(capacity);
    UrlMatchKey key{};
    ASSERT_EQ(expected.status,
              parseUrlForMatch(text.data(), text.size(), scratch.get(), &length, &key))
        << "capacity " << capacity;
    if (expected.status != RULE_OK) {
        return;
    }
    ASSERT_EQ(expected.scheme, bytesOf(key.scheme));
    ASSERT_EQ(expected.userInfo, bytesOf(key.userInfo));
    ASSERT_EQ(expected.host, bytesOf(key.host)) << "capacity " << capacity;
    ASSERT_EQ(expected.portText, key.port == 0 ? "" : ":" + std::to_string(key.port));
    ASSERT_EQ(expected.path, bytesOf(key.path));
}

void checkKey(std::string_view url) {
    if (url.empty()) {
        return;
    }
    const ExactText text(url);
    const size_t most = url.size() + 40;
    for (size_t capacity = 0; capacity <= most && !::testing::Test::HasFailure(); ++capacity) {
        expectKey(readUrlKey(url, capacity), text, capacity);
    }
}

void expectNormalized(std::string_view url, bool keepCase, const UrlCapacities& capacities) {
    const ExactText text(url);
    const NormalizedFields expected = normalizeUrlText(url, keepCase, capacities, ipv6Enabled != 0);
    const std::unique_ptr<char[]> scheme = std::make_unique<char[]>(capacities.scheme);
    const std::unique_ptr<char[]> host = std::make_unique<char[]>(capacities.host);
    const std::unique_ptr<char[]> path = std::make_unique<char[]>(capacities.path);
    NormalizedUrl record{};
    record.scheme = scheme.get();
    record.host = host.get();
    record.path = path.get();
    record.schemeLength = static_cast<uint32_t>(capacities.scheme);
    record.hostLength = static_cast<uint32_t>(capacities.host);
    record.pathLength = static_cast<uint32_t>(capacities.path);
    // Only bit 0 counts.
    record.keepPathCase = keepCase ? 0xFF : 0xFE;
    record.port = 7;
    ASSERT_EQ(expected.status, rs_normalize_URL(text.data(), text.size(), &record))
        << capacities.scheme << ' ' << capacities.host << ' ' << capacities.path;
    if (expected.status == RULE_ERR_BUFFER_SMALL) {
        ASSERT_EQ(expected.shortField, record.shortField);
    }
    if (expected.status == RULE_OK) {
        ASSERT_EQ(expected.scheme, std::string(record.scheme, record.schemeLength));
        ASSERT_EQ(expected.host, std::string(record.host, record.hostLength));
        ASSERT_EQ(expected.path, std::string(record.path, record.pathLength));
        ASSERT_EQ(expected.port, record.port);
    }
}

// Each of the three buffers at every capacity while the others have room.
void checkNormalized(std::string_view url) {
    constexpr size_t ROOM = 1000;
    const NormalizedFields form = normalizeUrlText(url, false, {ROOM, ROOM, ROOM});
    const bool keepCase = url.size() % 2 == 0;
    for (size_t capacity = 0; capacity <= form.scheme.size() + 1; ++capacity) {
        expectNormalized(url, keepCase, {capacity, ROOM, ROOM});
    }
    for (size_t capacity = 0; capacity <= form.host.size() + 2; ++capacity) {
        expectNormalized(url, keepCase, {ROOM, capacity, ROOM});
    }
    for (size_t capacity = 0; capacity <= form.path.size() + 1; ++capacity) {
        expectNormalized(url, keepCase, {ROOM, ROOM, capacity});
    }
}

template <typename Check>
void checkBoth(const std::string& text, RandomSource& random, const Check& check) {
    for (const std::string& each : {text, mutateText(text, random)}) {
        SCOPED_TRACE(::testing::PrintToString(each));
        check(each);
    }
}

class Ipv6Off {
public:
    Ipv6Off() { ipv6Enabled = 0; }
    ~Ipv6Off() { ipv6Enabled = 1; }
    Ipv6Off(const Ipv6Off&) = delete;
    Ipv6Off& operator=(const Ipv6Off&) = delete;
};

}  // namespace

TEST(UrlSplitProperty, AgreesWithReference) {
    forEachCase(100000, [](RandomSource& random) {
        checkBoth(random.oneIn(2) ? randomUrl(random) : randomUrlRule(random), random, checkSplit);
    });
}

// The bytes that mean something to the splitter, in every order.
TEST(UrlSplitProperty, OfEveryShortTextAgreesWithReference) {
    constexpr std::string_view BYTES = "a1/:@[]?0";
    constexpr uint32_t LENGTH = 6;
    uint64_t texts = 1;
    for (uint32_t i = 0; i < LENGTH; ++i) {
        texts *= BYTES.size();
    }
    // A step without a common factor with their number visits other texts in a shorter run.
    const uint64_t step = std::max<uint64_t>(1, texts / propertyCases(texts));
    for (uint64_t number = 0; number < texts && !HasFailure(); number += step) {
        std::string text;
        for (uint64_t digits = number; digits != 0; digits /= BYTES.size()) {
            text += BYTES[static_cast<size_t>(digits % BYTES.size())];
        }
        SCOPED_TRACE(text);
        checkSplit(text);
    }
}

TEST(UrlPathProperty, AgreesWithReferenceAtEveryCapacity) {
    forEachCase(50000,
                [](RandomSource& random) { checkBoth(randomRest(random, 3), random, checkPath); });
}

TEST(IpLiteralHostProperty, AgreesWithReferenceAtEveryCapacity) {
    forEachCase(50000, [](RandomSource& random) {
        checkBoth(randomIpLiteral(random), random, checkLiteral);
    });
}

TEST(UrlRuleProperty, AgreesWithReferenceAtEveryCapacity) {
    forEachCase(20000,
                [](RandomSource& random) { checkBoth(randomUrlRule(random), random, checkRule); });
}

TEST(UrlRuleProperty, WithoutIpv6AgreesWithReference) {
    const Ipv6Off off;
    forEachCase(10000, [](RandomSource& random) {
        checkBoth("http://" + randomIpLiteral(random) + ":*/", random, [](std::string_view rule) {
            const ExactText text(rule);
            expectRule(readUrlRule(rule, 100, false), text, 100);
            expectNormalized(rule, false, {100, 100, 100});
        });
    });
}

TEST(UrlKeyProperty, AgreesWithReferenceAtEveryCapacity) {
    forEachCase(20000,
                [](RandomSource& random) { checkBoth(randomUrl(random), random, checkKey); });
}

TEST(NormalizeUrlProperty, AgreesWithReferenceAtEveryCapacity) {
    forEachCase(20000, [](RandomSource& random) {
        checkBoth(random.oneIn(4) ? randomUrlRule(random) : randomUrl(random), random,
                  checkNormalized);
    });
}

// Texts around the limits of 1024, 4095, 4096 and 8191 bytes.
TEST(LongUrlProperty, AgreesWithReference) {
    forEachCase(200, [](RandomSource& random) {
        static const std::vector<uint64_t> SIZES{1018, 4080, 4090, 8160, 8180, 12000};
        static const std::vector<std::string> FILLERS{"a", "%41", "%", "a.", "\xC3\xBC.", "ab/"};
        std::string url = random.oneIn(2) ? "https://" : "";
        const std::string filler = random.pick(FILLERS);
        const uint64_t size = random.pick(SIZES) + random.below(24);
        const uint64_t place = random.below(4);
        url += place == 0 ? "" : "a.com/";
        while (url.size() < size) {
            url += filler;
        }
        url += place == 1 ? "*x" : "";
        url += place == 2 ? "   " : "";
        SCOPED_TRACE(::testing::Message()
                     << url.size() << " bytes of " << filler << ", place " << place);
        const ExactText text(url);
        const size_t scratch = url.size() <= 1024 ? 4 * url.size() : 4096;
        expectKey(readUrlKey(url, scratch), text, scratch);
        EXPECT_EQ(statusOfValidating(readUrlRule(url, 4095).status),
                  rs_validateRule_URL(text.data(), text.size()));
        expectNormalized(url, false, {100, 300, 4100});
    });
}

}  // namespace rs::test
