// The host name normalizers against the plain ones of the reference, with every room that they may
// be given.
#include "domain/host_name.h"

#include <ruleset.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "domain/punycode.h"
#include "domain/unicode_lower.h"
#include "domain/utf8.h"
#include "support/random_names.h"
#include "support/random_source.h"
#include "support/reference_host.h"
#include "support/text.h"

namespace rs::test {

namespace {

using Normalizer = int32_t (*)(const char*, uint32_t, char*, uint32_t*) noexcept;

void expectOutcome(const Outcome& expected, Normalizer normalize, const ExactText& text,
                   size_t capacity) {
    // The block has no byte more than the operation may write.
    const std::unique_ptr<char[]> out = std::make_unique<char[]>(capacity);
    auto length = static_cast<uint32_t>(capacity);
    const int32_t status = normalize(text.data(), text.size(), out.get(), &length);
    ASSERT_EQ(expected.statusAt(capacity), status) << "capacity " << capacity;
    if (status == RULE_OK) {
        ASSERT_EQ(expected.text, std::string(out.get(), length)) << "capacity " << capacity;
    }
}

void checkNormalizer(const char* which, const Outcome& expected, Normalizer normalize,
                     const ExactText& text) {
    SCOPED_TRACE(which);
    for (size_t capacity = 0; capacity <= expected.room + 2; ++capacity) {
        expectOutcome(expected, normalize, text, capacity);
        if (::testing::Test::HasFatalFailure()) {
            return;
        }
    }
    expectOutcome(expected, normalize, text, 8191);
}

void checkName(std::string_view name) {
    SCOPED_TRACE(::testing::PrintToString(std::string(name)));
    const ExactText text(name);
    checkNormalizer("strict", strictHost(name), normalizeHostName, text);
    checkNormalizer("for rules", ruleHost(name), normalizeRuleHost, text);
    checkNormalizer("for names", matchHost(name), normalizeMatchHost, text);
}

}  // namespace

TEST(HostNameProperty, AgreesWithReferenceAtEveryCapacity) {
    forEachCase(12000, [](RandomSource& random) {
        const std::string host = randomHost(random);
        checkName(host);
        checkName(mutateText(host, random));
    });
}

TEST(HostNameProperty, OfAnyShortBytesAgreesWithReference) {
    forEachCase(20000, [](RandomSource& random) {
        std::string name;
        for (uint64_t count = random.between(1, 6); count > 0; --count) {
            name += static_cast<char>(random.below(256));
        }
        checkName(name);
    });
}

TEST(HostNameProperty, OfEveryTwoBytesAgreesWithReference) {
    for (uint32_t pair = 0; pair < 0x10000 && !HasFailure(); ++pair) {
        const std::string name{static_cast<char>(pair >> 8U), static_cast<char>(pair & 0xFFU)};
        checkName(name);
    }
}

TEST(HostNameProperty, IsItsOwnCanonicalForm) {
    forEachCase(20000, [](RandomSource& random) {
        const std::string host = randomHost(random);
        const Outcome first = strictHost(host);
        // An escape may stand for a byte that is refused or means something else by itself.
        if (first.status != RULE_OK || host.find('%') != std::string::npos) {
            return;
        }
        checkName(first.text);
        EXPECT_EQ(first.text, strictHost(first.text).text) << host;
    });
}

TEST(PunycodeProperty, AgreesWithReferenceAtEveryCapacity) {
    forEachCase(20000, [](RandomSource& random) {
        static const std::vector<uint64_t> LIMITS{0x7F, 0xFF, 0x600, 0x10000, 0x1FFFFF};
        std::vector<uint32_t> codePoints;
        const uint64_t limit = random.pick(LIMITS);
        for (uint64_t count = random.between(1, random.oneIn(4) ? 63 : 8); count > 0; --count) {
            const uint64_t most = random.oneIn(3) ? 0x7F : limit;
            codePoints.push_back(static_cast<uint32_t>(random.between(0x20, most)));
        }
        SCOPED_TRACE(::testing::PrintToString(codePoints));
        const std::string label = encodePunycode(codePoints);
        if (label.substr(0, 4) == "xn--" && label.size() > codePoints.size()) {
            EXPECT_EQ(codePoints, decodePunycode(label));
        }
        const Outcome expected{label.size() > 63 ? RULE_ERR_BAD_RULE : RULE_OK, label,
                               label.size()};
        for (size_t capacity = 0; capacity <= label.size() + 1; ++capacity) {
            const std::unique_ptr<char[]> out = std::make_unique<char[]>(capacity);
            auto length = static_cast<uint32_t>(capacity);
            const auto count = static_cast<uint32_t>(codePoints.size());
            const int32_t status =
                punycodeEncode(codePoints.data(), count, out.get(), &length, true, false);
            ASSERT_EQ(expected.statusAt(capacity), status) << "capacity " << capacity;
            if (status == RULE_OK) {
                ASSERT_EQ(label, std::string(out.get(), length));
            }
        }
    });
}

TEST(UnicodeLowerProperty, OfEveryCodePointAgreesWithReference) {
    for (uint32_t codePoint = 0; codePoint <= 0x1FFFFF && !HasFailure(); ++codePoint) {
        ASSERT_EQ(lowerCodePointByTable(codePoint), lowerCodePoint(codePoint)) << codePoint;
    }
}

TEST(Utf8Property, AgreesWithReference) {
    forEachCase(100000, [](RandomSource& random) {
        static const std::vector<std::string> PIECES{
            "a",    "Z",    "\xC3", "\x9C", "\xE2", "\x82\xAC", "\xF0\x9F", "\x98\x80",
            "\x80", "\xBF", "\xF7", "\xF8", "\xC0", "\xEF\xBC", "\xA1",     "\xFF"};
        std::string bytes;
        for (uint64_t count = random.between(1, 6); count > 0; --count) {
            bytes += random.pick(PIECES);
        }
        SCOPED_TRACE(::testing::PrintToString(bytes));
        const bool lowerCase = random.oneIn(2);
        const auto expected = readCodePoints(bytes, lowerCase);
        // The zero behind the bytes continues no sequence.
        bytes += '\0';
        const ExactText text(bytes);
        std::vector<uint32_t> codePoints(bytes.size());
        auto count = size32(bytes);
        const int32_t status =
            utf8ToCodePoints(text.data(), text.size() - 1, codePoints.data(), &count, lowerCase);
        ASSERT_EQ(expected ? RULE_OK : RULE_ERR_INVALID_ARG, status);
        if (expected) {
            codePoints.resize(count);
            EXPECT_EQ(*expected, codePoints);
        }
    });
}

}  // namespace rs::test
