// Compiled groups of IP rules against the walk over the rules one by one.
#include "ip/ip_match.h"

#include <ruleset.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "core/rule_group.h"
#include "support/comparison_count.h"
#include "support/expected_match.h"
#include "support/match_result.h"
#include "support/random_rules.h"
#include "support/random_source.h"
#include "support/reference_ip.h"
#include "support/release_recorder.h"
#include "support/rule_handles.h"

namespace rs::test {

namespace {

// The same rules in a set of the library and in the reference.
class RulePair {
public:
    explicit RulePair(size_t ruleCount) : set_(newRuleSet(RULE_TYPE_IP)), tokens_(ruleCount) {}

    void add(const std::string& text, uint32_t ruleValue, uint32_t ruleId, bool withUserData) {
        void* userData = withUserData ? &tokens_[texts_.size()] : nullptr;
        texts_.push_back(text);
        ASSERT_EQ(RULE_OK, addRule(*set_, text, ruleValue, ruleId, userData)) << '"' << text << '"';
        ASSERT_TRUE(reference_.add(text, ruleValue, ruleId, userData)) << '"' << text << '"';
    }

    const std::vector<ReferenceRule>& rules() const { return reference_.rules(); }

    // Builds a group, lets useGroup ask it, deletes it, and compares what went back to the host.
    template <typename UseGroup>
    void checkBuild(const UseGroup& useGroup) {
        ReleaseRecorder handedBack;
        ASSERT_EQ(RULE_OK, handedBack.registerOn(*set_));
        RuleGroupHandle group = buildRuleGroup(*set_);
        ASSERT_NE(nullptr, group);
        const HandedBack expected = reference_.build();
        EXPECT_EQ(indicesOf(expected.atBuild), indicesOf(handedBack.order())) << "at build\n"
                                                                              << describe();

        useGroup(*group);

        handedBack.clear();
        group.reset();
        std::vector<size_t> expectedAtDelete = indicesOf(expected.atDelete);
        std::vector<size_t> atDelete = indicesOf(handedBack.order());
        std::sort(expectedAtDelete.begin(), expectedAtDelete.end());
        std::sort(atDelete.begin(), atDelete.end());
        EXPECT_EQ(expectedAtDelete, atDelete) << "at delete\n" << describe();
    }

    // A build without a callback hands nothing back and leaves no trace.
    void buildWithoutCallback() {
        rs_registerRuleCallback(set_.get(), RULE_CALLBACK_RELEASE, nullptr, nullptr);
        EXPECT_NE(nullptr, buildRuleGroup(*set_));
    }

    // All lookups of one address; the one for a ruleValue asks for that.
    void checkLookups(const RuleGroup& group, Number128 address, uint32_t ruleValue) const {
        const AddressBytes bytes = bytesOf(address);
        const ReferenceRule* winner = reference_.findIpv6(address);
        checkHit("rs_matchIPRuleGroupEx, family 6", address, winner, [&](MatchResult* result) {
            return rs_matchIPRuleGroupEx(&group, 6, bytes.data(), result);
        });
        const Address128 words = wordsOf(address);
        winner = reference_.findIpv6(address, ruleValue);
        checkHit("matchIpv6WithValue", address, winner, [&](MatchResult* result) {
            return matchIpv6WithValue(*group.ipTable, words, ruleValue, *result);
        });
        if (!isMappedNumber(address)) {
            return;
        }
        const auto ipv4 = static_cast<uint32_t>(address);
        winner = reference_.findIpv4(ipv4);
        checkHit("rs_matchIPRuleGroup", address, winner,
                 [&](MatchResult* result) { return rs_matchIPRuleGroup(&group, ipv4, result); });
        checkHit("rs_matchIPRuleGroupEx, family 4", address, winner, [&](MatchResult* result) {
            return rs_matchIPRuleGroupEx(&group, 4, bytes.data() + 12, result);
        });
        winner = reference_.findIpv4(ipv4, ruleValue);
        checkHit("matchIpv4WithValue", address, winner, [&](MatchResult* result) {
            return matchIpv4WithValue(*group.ipTable, ipv4, ruleValue, *result);
        });
    }

private:
    template <typename Match>
    void checkHit(const char* lookup, Number128 address, const ReferenceRule* winner,
                  const Match& match) const {
        MatchResult result = UNTOUCHED;
        const int32_t status = match(&result);
        countComparisons(lookup);
        if (isExpectedMatch(winner, status, result)) {
            return;
        }
        const MatchResult expected = expectedResult(winner);
        ADD_FAILURE() << lookup << " of " << ::testing::PrintToString(bytesOf(address))
                      << "\nexpected index " << expected.ruleIndex << " value "
                      << expected.ruleValue << " id " << expected.ruleId << "\nfound status "
                      << status << " index " << result.ruleIndex << " value " << result.ruleValue
                      << " id " << result.ruleId << '\n'
                      << describe();
    }

    // The positions of the rules, counted from 1, to which the userData belongs.
    std::vector<size_t> indicesOf(const std::vector<void*>& userData) const {
        std::vector<size_t> indices;
        for (const void* token : userData) {
            indices.push_back(
                static_cast<size_t>(static_cast<const char*>(token) - tokens_.data()) + 1);
        }
        return indices;
    }

    std::string describe() const {
        std::ostringstream out;
        const size_t shown = std::min<size_t>(texts_.size(), 40);
        for (size_t i = 0; i < shown; ++i) {
            const ReferenceRule& rule = reference_.rules()[i];
            out << "rule " << rule.ruleIndex << ' ' << ::testing::PrintToString(texts_[i])
                << " value " << rule.ruleValue << (rule.userData == nullptr ? "" : " with userData")
                << '\n';
        }
        return out.str();
    }

    RuleSetHandle set_;
    ReferenceIpRules reference_;
    std::vector<std::string> texts_;
    std::vector<char> tokens_;
};

// A set of random rules, built twice, asked at `keyCount` edges of rules and at as many addresses
// around them.
void checkRandomSet(RandomSource& random, uint64_t ruleCount, uint64_t keyCount) {
    RulePair pair(ruleCount);
    RandomIpRules texts(random);
    const std::vector<uint32_t> valueCounts = {1, 2, 3, 50};
    const uint32_t valueCount = random.pick(valueCounts);
    const bool hasUserData = !random.oneIn(8);
    for (uint64_t i = 0; i < ruleCount; ++i) {
        pair.add(texts.nextText(), random.below32(valueCount), random.bits32() | 1U,
                 hasUserData && !random.oneIn(4));
        if (::testing::Test::HasFailure()) {
            return;
        }
    }
    if (random.oneIn(4)) {
        pair.buildWithoutCallback();
    }
    for (int build = 0; build < 2; ++build) {
        pair.checkBuild([&](const RuleGroup& group) {
            for (uint64_t i = 0; i < keyCount && !::testing::Test::HasFailure(); ++i) {
                const ReferenceRule& rule = random.pick(pair.rules());
                pair.checkLookups(group, random.pick(edgesOf(rule.range)), rule.ruleValue);
                pair.checkLookups(group, texts.nextAddress(), random.below32(valueCount));
            }
        });
    }
}

TEST(IpMatchProperty, SmallSetsAnswerLikeTheWalk) {
    forEachCase(5000, [](RandomSource& random) {
        checkRandomSet(random, random.between(1, random.oneIn(4) ? 60 : 8), 60);
    });
}

TEST(IpMatchProperty, MediumSetsAnswerLikeTheWalk) {
    forEachCase(
        100, [](RandomSource& random) { checkRandomSet(random, random.between(100, 500), 500); });
}

TEST(IpMatchProperty, SetsOfThousandsAnswerLikeTheWalk) {
    forEachCase(
        15, [](RandomSource& random) { checkRandomSet(random, random.between(1000, 5000), 1000); });
}

TEST(IpMatchProperty, EmptySetMatchesNothing) {
    RulePair pair(0);
    pair.checkBuild([&](const RuleGroup& group) {
        for (const Number128 address : {Number128{0}, FIRST_MAPPED, LAST_MAPPED, LAST_ADDRESS}) {
            pair.checkLookups(group, address, 0);
        }
    });
}

// The views of 32 and of 128 bits may differ in what they find superfluous; userData goes back once
// all the same.

TEST(IpMatchProperty, RuleSuperfluousIn128BitsOnlyKeepsItsUserDataUntilDelete) {
    RulePair pair(2);
    pair.add("::/1", 5, 1, false);
    pair.add("10.0.0.0/8", 5, 2, true);
    pair.checkBuild([](const RuleGroup&) {});
}

TEST(IpMatchProperty, RuleSuperfluousIn32BitsOnlyHandsItsUserDataBackAtBuild) {
    RulePair pair(4);
    // Opens one node in 128 bits for what are two nodes in 32 bits.
    pair.add("::fffe:ffff:0-::ffff:0:64", 9, 1, false);
    pair.add("0.0.0.0-0.0.0.9", 5, 2, false);
    pair.add("0.0.0.10-0.0.0.19", 5, 3, false);
    pair.add("0.0.0.5-0.0.0.15", 5, 4, true);
    for (int build = 0; build < 2; ++build) {
        pair.checkBuild([](const RuleGroup&) {});
    }
}

}  // namespace

}  // namespace rs::test
