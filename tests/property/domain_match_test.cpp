// Compiled groups of domain rules against the walk over the rules one by one.
#include <ruleset.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "support/random_names.h"
#include "support/random_source.h"
#include "support/reference_domain.h"
#include "support/rule_pair.h"
#include "support/text.h"

namespace rs::test {

namespace {

using Rules = RulePair<ReferenceDomainRules, RULE_TYPE_FQDN>;

constexpr CountedLookup LOOKUP = {"rs_matchDomainNameWithRuleGroup",
                                  rs_matchDomainNameWithRuleGroup};

void checkKey(const RuleGroup& group, const std::string& key, const Rules& pair) {
    checkByWalk(LOOKUP, group, key, pair);
}

// A name where the rules are: of a rule, or below one.
std::string keyNear(const std::vector<std::string>& texts, RandomSource& random) {
    if (texts.empty() || random.oneIn(4)) {
        return randomHost(random);
    }
    std::string name(trimBlanks(random.pick(texts)));
    if (name.substr(0, 2) == "*.") {
        name.erase(0, random.oneIn(8) ? 0 : 2);
    }
    if (random.oneIn(2)) {
        name.insert(0, randomLabel(random) + ".");
    }
    return random.oneIn(2) ? disguise(name, random) : name;
}

// Names enough for crowded buckets, though of few different suffixes.
std::string largeSetName(RandomSource& random) {
    static const std::vector<std::string> TOPS{"com", "test", "example", "a"};
    std::string name = random.pick(TOPS);
    for (uint64_t count = random.between(1, 2); count > 0; --count) {
        std::string label(1, static_cast<char>('a' + random.below(26)));
        label += static_cast<char>('a' + random.below(26));
        label += std::to_string(random.below(40));
        name.insert(0, label + ".");
    }
    return name;
}

std::string largeSetRule(RandomSource& random) {
    std::string name = largeSetName(random);
    if (random.oneIn(40)) {
        name = disguise(name, random);
    }
    return (random.oneIn(2) ? "*." : "") + name;
}

// Dots do not count for the hash of a name: all these names stand in one bucket.
std::string sameHashName(RandomSource& random) {
    std::string name;
    for (const char letter : std::string_view("abcdefghijk")) {
        name += letter;
        name += random.oneIn(3) && letter != 'k' ? "." : "";
    }
    return name;
}

std::string largeSetKey(const std::vector<std::string>& texts, RandomSource& random) {
    const std::string name = random.oneIn(3) ? largeSetName(random) : keyNear(texts, random);
    return random.oneIn(20) ? mutateText(name, random) : name;
}

}  // namespace

TEST(DomainMatchProperty, OfSmallSetsAgreesWithReference) {
    forEachCase(4000, [](RandomSource& random) {
        const size_t count = static_cast<size_t>(random.between(1, random.oneIn(10) ? 60 : 12));
        Rules pair(2 * count + 2);
        for (size_t i = 0; i < count; ++i) {
            const std::string text = randomDomainRule(random);
            pair.add(text, random);
            if (random.oneIn(3)) {
                pair.add(mutateText(text, random), random);
            }
        }
        pair.checkBuild([&](const RuleGroup& group) {
            for (int i = 0; i < 20; ++i) {
                const std::string name = keyNear(pair.texts(), random);
                checkKey(group, name, pair);
                checkKey(group, mutateText(name, random), pair);
            }
        });
    });
}

TEST(DomainMatchProperty, OfOneCrowdedBucketAgreesWithReference) {
    forEachCase(300, [](RandomSource& random) {
        const size_t count = static_cast<size_t>(random.between(1, random.oneIn(2) ? 30 : 300));
        Rules pair(count);
        for (size_t i = 0; i < count; ++i) {
            pair.add((random.oneIn(3) ? "*." : "") + sameHashName(random), random);
        }
        pair.checkBuild([&](const RuleGroup& group) {
            for (int i = 0; i < 100; ++i) {
                checkKey(group, (random.oneIn(2) ? "x." : "") + sameHashName(random), pair);
            }
        });
    });
}

TEST(DomainMatchProperty, OfSetsOfEverySizeAgreesWithReference) {
    forEachCase(1, [](RandomSource& random) {
        for (const uint64_t size : {100ULL, 1000ULL, 10000ULL, 50000ULL, 100000ULL}) {
            const auto count = static_cast<size_t>(propertySize(size));
            checkLargeSet<Rules>(LOOKUP, count, 2 * count, random, largeSetRule, largeSetKey);
        }
    });
}

// Names of thousands of bytes, in a literal copy or as too long an internationalized name.
TEST(DomainMatchProperty, OfLongTextsAgreesWithReference) {
    forEachCase(60, [](RandomSource& random) {
        static const std::vector<std::string> LABELS{"a.",        "\xC3\xBC.", "ab_.",
                                                     "abcdefgh.", "%41.",      "\xF0\x9F\x98\x80."};
        static const std::vector<uint64_t> SIZES{250, 255, 260, 900, 2000, 4090, 8160, 8180, 9000};
        const std::string label = random.pick(LABELS);
        const uint64_t size = random.pick(SIZES) + random.below(20);
        std::string name;
        while (name.size() < size) {
            name += label;
        }
        name += random.oneIn(2) ? "com" : "com.";
        Rules pair(4);
        pair.add("*.com", random);
        pair.add(name, random);
        pair.add("*." + name, random);
        const ExactText text(name);
        EXPECT_EQ(statusOfValidating(readDomainRule(name).outcome.statusAt(4095)),
                  rs_validateRule_FQDN(text.data(), text.size()))
            << name.size() << " bytes of " << ::testing::PrintToString(label);
        pair.checkBuild([&](const RuleGroup& group) { checkKey(group, name, pair); });
    });
}

}  // namespace rs::test
