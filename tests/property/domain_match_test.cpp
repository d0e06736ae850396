// Compiled groups of domain rules against the walk over the rules one by one.
#include <ruleset.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <set>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "domain/domain_index.h"
#include "support/random_names.h"
#include "support/random_source.h"
#include "support/reference_domain.h"
#include "support/release_recorder.h"
#include "support/rule_handles.h"
#include "support/text.h"

namespace rs::test {

namespace {

// The same rules in a set of the library and in the reference.
class RulePair {
public:
    explicit RulePair(size_t mostRules) : set_(newRuleSet(RULE_TYPE_FQDN)), tokens_(mostRules) {}

    // Some texts are refused, by both.
    void add(const std::string& text, RandomSource& random) {
        const auto position = static_cast<uint32_t>(texts_.size() + 1);
        void* userData = random.oneIn(8) ? nullptr : &tokens_[position - 1];
        const uint32_t ruleValue = random.bits32();
        const ExactText exact(text);
        const int32_t expected = reference_.add(text, ruleValue, 1000 + position, userData);
        ASSERT_EQ(expected, rs_addRuleToRuleSetEx(set_.get(), exact.data(), exact.size(), ruleValue,
                                                  1000 + position, userData))
            << ::testing::PrintToString(text);
        if (expected == RULE_OK) {
            texts_.push_back(text);
        }
    }

    // Builds a group, lets useGroup ask it, deletes it, and compares what went back to the host.
    template <typename UseGroup>
    void checkBuild(const UseGroup& useGroup) {
        ReleaseRecorder recorder;
        ASSERT_EQ(RULE_OK, recorder.registerOn(*set_));
        RuleGroupHandle group = buildRuleGroup(*set_);
        ASSERT_NE(nullptr, group);
        EXPECT_EQ(reference_.handedBackAtBuild(), recorder.order()) << describe();
        recorder.clear();
        useGroup(*group);
        group.reset();
        const std::vector<void*> expected = reference_.handedBackAtDelete();
        EXPECT_EQ(std::multiset<void*>(expected.begin(), expected.end()),
                  std::multiset<void*>(recorder.order().begin(), recorder.order().end()))
            << describe();
    }

    const ReferenceDomainRules& reference() const { return reference_; }
    const std::vector<std::string>& texts() const { return texts_; }

    std::string describe() const {
        std::ostringstream text;
        text << texts_.size() << " rules";
        for (size_t i = 0; i < texts_.size() && i < 40; ++i) {
            text << '\n' << i + 1 << ' ' << ::testing::PrintToString(texts_[i]);
        }
        return text.str();
    }

private:
    RuleSetHandle set_;
    ReferenceDomainRules reference_;
    std::vector<std::string> texts_;
    std::vector<char> tokens_;
};

void expectAnswer(const DomainAnswer& expected, const RuleGroup& group, std::string_view name,
                  const RulePair& pair) {
    const ExactText text(name);
    MatchResult result{77, 77, 77, nullptr};
    const int32_t status =
        rs_matchDomainNameWithRuleGroup(&group, text.data(), text.size(), &result);
    bool isSame = status == expected.status;
    if (isSame && status == 1) {
        isSame = result.ruleIndex == expected.winner->ruleIndex &&
                 result.ruleValue == expected.winner->ruleValue &&
                 result.ruleId == expected.winner->ruleId &&
                 result.userData == expected.winner->userData;
    } else if (isSame && status == 0) {
        isSame = result.ruleIndex == 0;
    }
    ASSERT_TRUE(isSame) << ::testing::PrintToString(std::string(name)) << ": status " << status
                        << " and not " << expected.status << ", rule " << result.ruleIndex
                        << " and not "
                        << (expected.winner == nullptr ? 0 : expected.winner->ruleIndex) << "; "
                        << pair.describe();
}

void checkKey(const RuleGroup& group, const std::string& name, const RulePair& pair) {
    const DomainAnswer expected = pair.reference().find(name);
    expectAnswer(expected, group, name, pair);
    const DomainAnswer indexed = pair.reference().findByIndex(name);
    EXPECT_EQ(expected.winner, indexed.winner) << ::testing::PrintToString(name);
    EXPECT_EQ(expected.status, indexed.status) << ::testing::PrintToString(name);
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

}  // namespace

TEST(DomainMatchProperty, OfSmallSetsAgreesWithReference) {
    forEachCase(4000, [](RandomSource& random) {
        const size_t count = static_cast<size_t>(random.between(1, random.oneIn(10) ? 60 : 12));
        RulePair pair(2 * count + 2);
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
        RulePair pair(count);
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
    for (const uint64_t size : {100ULL, 1000ULL, 10000ULL, 50000ULL, 100000ULL}) {
        RandomSource random(propertySeed() + size);
        SCOPED_TRACE(::testing::Message() << "RULESET_PROPERTY_SEED=" << propertySeed());
        const auto count = static_cast<size_t>(propertyCases(size));
        RulePair pair(count);
        for (size_t i = 0; i < count && !HasFatalFailure(); ++i) {
            pair.add(largeSetRule(random), random);
        }
        pair.checkBuild([&](const RuleGroup& group) {
            for (size_t i = 0; i < 2 * count && !HasFatalFailure(); ++i) {
                std::string name =
                    random.oneIn(3) ? largeSetName(random) : keyNear(pair.texts(), random);
                if (random.oneIn(20)) {
                    name = mutateText(name, random);
                }
                if (i < 200) {
                    checkKey(group, name, pair);
                } else {
                    expectAnswer(pair.reference().findByIndex(name), group, name, pair);
                }
            }
        });
    }
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
        RulePair pair(4);
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
