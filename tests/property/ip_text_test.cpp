// The readers of address texts against the plain ones of the reference, on good texts and bad.
#include <ruleset.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <optional>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "ip/ip_rule.h"
#include "support/expected_match.h"
#include "support/random_rules.h"
#include "support/random_source.h"
#include "support/reference_ip.h"
#include "support/text.h"

namespace rs::test {

namespace {

constexpr uint8_t UNTOUCHED_BYTE = 0xA5;

ConvertedRange untouchedRange() {
    ConvertedRange range;
    range.family = UNTOUCHED_BYTE;
    std::fill(std::begin(range.startAddress), std::end(range.startAddress), UNTOUCHED_BYTE);
    std::fill(std::begin(range.endAddress), std::end(range.endAddress), UNTOUCHED_BYTE);
    return range;
}

// What a conversion must leave in its output.
ConvertedRange convertedRange(const std::optional<AddressRange>& range) {
    ConvertedRange converted = untouchedRange();
    if (!range) {
        return converted;
    }
    const AddressBytes low = bytesOf(range->low);
    const AddressBytes high = bytesOf(range->high);
    // An IPv4 address is the last four bytes of the mapped one, and fills only as many.
    const std::ptrdiff_t skipped = range->writtenAsIpv6 ? 0 : 12;
    converted.family = range->writtenAsIpv6 ? 6 : 4;
    std::copy(low.begin() + skipped, low.end(), converted.startAddress);
    std::copy(high.begin() + skipped, high.end(), converted.endAddress);
    return converted;
}

void expectSame(const ConvertedRange& expected, const ConvertedRange& found) {
    EXPECT_EQ(expected.family, found.family);
    EXPECT_TRUE(std::equal(std::begin(expected.startAddress), std::end(expected.startAddress),
                           std::begin(found.startAddress)));
    EXPECT_TRUE(std::equal(std::begin(expected.endAddress), std::end(expected.endAddress),
                           std::begin(found.endAddress)));
}

void checkText(std::string_view content) {
    SCOPED_TRACE(::testing::PrintToString(std::string(content)));
    const ExactText text(content);
    const bool isIpv4 = readIpv4Range(content).has_value();
    const bool isIpv6 = readIpv6Range(content).has_value();
    EXPECT_EQ(isIpv4 ? RULE_OK : RULE_ERR_BAD_RANGE,
              rs_validate_IPv4Range(text.data(), text.size()));
    EXPECT_EQ(isIpv6 ? RULE_OK : RULE_ERR_BAD_RANGE,
              rs_validate_IPv6Range(text.data(), text.size()));

    const std::optional<AddressRange> range = readIpRule(content);
    EXPECT_EQ(range ? RULE_OK : RULE_ERR_BAD_RULE, rs_validateRule_IP(text.data(), text.size()));
    ConvertedRange converted = untouchedRange();
    EXPECT_EQ(range ? RULE_OK : RULE_ERR_FAILED,
              rs_convertRule_IP(text.data(), text.size(), &converted));
    expectSame(convertedRange(range), converted);

    AddressSpec record{};
    const int32_t status = parseIpRule({text.data(), text.size()}, &record);
    EXPECT_EQ(range ? RULE_OK : RULE_ERR_BAD_RULE, status);
    if (range) {
        const uint32_t flags = (range->writtenAsIpv6 ? ADDRESS_FLAG_IPV6 : 0U) |
                               (range->isSingle() ? ADDRESS_FLAG_SINGLE : 0U);
        EXPECT_EQ(flags, record.addressFlags);
        EXPECT_TRUE(wordsOf(range->low) == record.startAddress);
        EXPECT_TRUE(wordsOf(range->high) == record.endAddress);
    }
}

// A well formed address text, to be bent.
std::string randomAddressText(RandomSource& random) {
    RandomIpRules rules(random);
    const Number128 address =
        random.oneIn(3) ? makeNumber(random.bits(), random.bits()) : rules.nextAddress();
    // Zero groups in random places give the gap something to stand for.
    Number128 mask = LAST_ADDRESS;
    for (uint32_t i = 0; i < 8; ++i) {
        if (random.oneIn(2)) {
            mask &= ~(Number128{0xFFFF} << (16 * i));
        }
    }
    return writeIpv6Address(random.oneIn(2) ? address & mask : address, random);
}

TEST(IpTextProperty, ReferenceReadsWhatWasWritten) {
    forEachCase(20000, [](RandomSource& random) {
        const uint32_t ipv4 = random.bits32() & random.bits32();
        EXPECT_EQ(ipv4, readIpv4Address(writeIpv4Address(ipv4)));
        const uint64_t upper = random.bits() & random.bits();
        const Number128 low = makeNumber(random.oneIn(4) ? 0 : upper, random.bits());
        const std::string text = writeIpv6Address(low, random);
        EXPECT_TRUE(readIpv6Address(text) == low) << text;

        const Number128 high = low + random.below(1U << 10U);
        const AddressRange range{std::min(low, high), std::max(low, high), true};
        const std::string rangeText = writeRange(range, random);
        const std::optional<AddressRange> read = readIpRule(rangeText);
        EXPECT_TRUE(read && read->low == range.low && read->high == range.high) << rangeText;
    });
}

TEST(IpTextProperty, GoodRulesReadAlike) {
    forEachCase(2000, [](RandomSource& random) {
        RandomIpRules rules(random);
        for (int i = 0; i < 50; ++i) {
            const std::string text = rules.nextText();
            EXPECT_TRUE(readIpRule(text)) << text;
            checkText(text);
        }
    });
}

TEST(IpTextProperty, BentRulesReadAlike) {
    forEachCase(2000, [](RandomSource& random) {
        RandomIpRules rules(random);
        for (int i = 0; i < 100; ++i) {
            checkText(mutate(rules.nextText(), random));
        }
    });
}

TEST(IpTextProperty, BentAddressesReadAlike) {
    forEachCase(50000, [](RandomSource& random) {
        const std::string text = randomAddressText(random);
        checkText(text);
        checkText(mutate(text, random));
    });
}

// Short texts of the few characters that matter come close to every branch of the readers.
TEST(IpTextProperty, TextsOfFewCharactersReadAlike) {
    forEachCase(200000, [](RandomSource& random) {
        constexpr std::string_view CHARACTERS = "::::11.../-0fg 2";
        std::string text;
        const uint64_t length = random.below(20);
        for (uint64_t i = 0; i < length; ++i) {
            text += CHARACTERS[random.below(CHARACTERS.size())];
        }
        checkText(text);
    });
}

// Every sequence of groups and colons of up to ten pieces.
TEST(IpTextProperty, AllShapesOfAddressesReadAlike) {
    constexpr uint32_t LONGEST = 10;
    for (uint32_t length = 0; length <= LONGEST; ++length) {
        for (uint32_t shape = 0; shape < 1U << length; ++shape) {
            std::string text;
            for (uint32_t i = 0; i < length; ++i) {
                text += (shape >> i & 1U) != 0 ? ":" : "a:";
            }
            checkText(text);
            checkText(text + "1");
            checkText(text + "1.2.3.4");
            checkText(text + ":");
        }
    }
}

// The length of an IPv4 prefix is not checked for digits, so every pair of characters is tried.
TEST(IpTextProperty, AllShortPrefixLengthsReadAlike) {
    for (uint32_t first = 0; first < 256; ++first) {
        for (uint32_t second = 0; second < 256; ++second) {
            std::string text = "10.1.2.3/";
            text += static_cast<char>(first);
            checkText(text);
            text += static_cast<char>(second);
            checkText(text);
        }
    }
}

TEST(IpTextProperty, RandomPrefixLengthsReadAlike) {
    forEachCase(100000, [](RandomSource& random) {
        std::string text = random.oneIn(4) ? "2001:db8::/" : "10.1.2.3/";
        const uint64_t length = random.between(1, 4);
        for (uint64_t i = 0; i < length; ++i) {
            // Near the digits, where the sum can be a good length.
            text += static_cast<char>(random.between('-' - 4, '9' + 8));
        }
        checkText(text);
    });
}

// Blanks do not count towards the longest item.
TEST(IpTextProperty, LongTextsReadAlike) {
    for (size_t length = 4085; length <= 4105; ++length) {
        checkText(std::string(length, ' ') + "::1");
        checkText("::1" + std::string(length, '\n'));
        checkText(std::string(length, '1'));
        checkText(std::string(length, ':'));
        checkText("::1/" + std::string(length, '0'));
    }
}

}  // namespace

}  // namespace rs::test
