// The same rules in a set of the library and in a reference.
#pragma once

#include <ruleset.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "support/comparison_count.h"
#include "support/match_result.h"
#include "support/random_source.h"
#include "support/release_recorder.h"
#include "support/rule_handles.h"
#include "support/shrink.h"
#include "support/text.h"
#include "support/winner.h"

namespace rs::test {

// Reference has add(text, ruleValue, ruleId, userData), which answers with a status, handedBackAtBuild() and
// handedBackAtDelete().
template <typename Reference, int32_t TYPE>
class RulePair {
public:
    explicit RulePair(size_t mostRules) : set_(newRuleSet(TYPE)), tokens_(mostRules) {}

    // Some texts are refused, by both.
    void add(const std::string& text, RandomSource& random) {
        void* userData = random.oneIn(8) ? nullptr : &tokens_[texts_.size()];
        add(text, random.bits32(), userData);
    }

    // Builds a group, lets useGroup ask it, deletes it, and compares what went back to the host.
    template <typename UseGroup>
    void checkBuild(const UseGroup& useGroup) {
        ReleaseRecorder recorder;
        ASSERT_EQ(RULE_OK, recorder.registerOn(*set_));
        RuleGroupHandle group = buildRuleGroup(*set_);
        ASSERT_NE(nullptr, group);
        EXPECT_EQ(reference_.handedBackAtBuild(), recorder.order()) << describe(texts_);
        recorder.clear();
        useGroup(*group);
        group.reset();
        std::vector<void*> expected = reference_.handedBackAtDelete();
        std::vector<void*> actual = recorder.order();
        std::sort(expected.begin(), expected.end());
        std::sort(actual.begin(), actual.end());
        EXPECT_EQ(expected, actual) << describe(texts_);
    }

    const Reference& reference() const { return reference_; }
    const std::vector<std::string>& texts() const { return texts_; }

    // As few of the rules as still make differs(group, reference) true.
    template <typename Differs>
    std::string describeFewest(const Differs& differs) const {
        const auto stillDiffer = [&differs](const std::vector<std::string>& texts) {
            RulePair fewer(texts.size());
            for (const std::string& text : texts) {
                fewer.add(text, 0, &fewer.tokens_[fewer.texts_.size()]);
            }
            const RuleGroupHandle group = buildRuleGroup(*fewer.set_);
            return group != nullptr && differs(*group, fewer.reference_);
        };
        return describe(stillDiffer(texts_) ? shrink(texts_, stillDiffer) : texts_);
    }

private:
    void add(const std::string& text, uint32_t ruleValue, void* userData) {
        const auto ruleId = static_cast<uint32_t>(1001 + texts_.size());
        const ExactText exact(text);
        const int32_t expected = reference_.add(text, ruleValue, ruleId, userData);
        ASSERT_EQ(expected, rs_addRuleToRuleSetEx(set_.get(), exact.data(), exact.size(), ruleValue,
                                                  ruleId, userData))
            << ::testing::PrintToString(text);
        if (expected == RULE_OK) {
            texts_.push_back(text);
        }
    }

    static std::string describe(const std::vector<std::string>& texts) {
        std::ostringstream out;
        out << texts.size() << " rules";
        for (size_t i = 0; i < texts.size() && i < 40; ++i) {
            out << '\n' << i + 1 << ' ' << ::testing::PrintToString(texts[i]);
        }
        return out.str();
    }

    RuleSetHandle set_;
    Reference reference_;
    std::vector<std::string> texts_;
    std::vector<char> tokens_;
};

// What a lookup of a name or URL answered, with the fields of the result that mean something then.
struct TextLookup {
    int32_t status;
    MatchResult result;
};

inline TextLookup lookUp(MatchText match, const RuleGroup& group, std::string_view key) {
    const ExactText text(key);
    TextLookup lookup{0, UNTOUCHED};
    lookup.status = match(&group, text.data(), text.size(), &lookup.result);
    return lookup;
}

// Whether a lookup answered what the reference did, which names a status and a winner.
template <typename Answer>
bool isSameAnswer(const Answer& expected, const TextLookup& lookup) {
    const MatchResult& result = lookup.result;
    if (lookup.status != expected.status) {
        return false;
    }
    if (lookup.status == 1) {
        return result.ruleIndex == expected.winner->ruleIndex &&
               result.ruleValue == expected.winner->ruleValue &&
               result.ruleId == expected.winner->ruleId &&
               result.userData == expected.winner->userData;
    }
    return lookup.status != 0 || result.ruleIndex == 0;
}

// Compares a lookup with find(reference), and shrinks key and rules when they differ.
template <typename Pair, typename Find>
void expectSameAnswer(const Pair& pair, const RuleGroup& group, const std::string& key,
                      MatchText match, const Find& find) {
    const TextLookup lookup = lookUp(match, group, key);
    const auto expected = find(pair.reference(), key);
    if (isSameAnswer(expected, lookup)) {
        return;
    }
    const auto differs = [&](const RuleGroup& fewer, const auto& reference,
                             const std::string& text) {
        return !text.empty() && !isSameAnswer(find(reference, text), lookUp(match, fewer, text));
    };
    const std::string shortest = shrink(
        key, [&](const std::string& text) { return differs(group, pair.reference(), text); });
    FAIL() << ::testing::PrintToString(key) << ": status " << lookup.status << " and not "
           << expected.status << ", rule " << lookup.result.ruleIndex << " and not "
           << (expected.winner == nullptr ? 0 : expected.winner->ruleIndex) << "; the same with "
           << ::testing::PrintToString(shortest) << " and "
           << pair.describeFewest([&](const RuleGroup& fewer, const auto& reference) {
                  return differs(fewer, reference, shortest);
              });
}

// A lookup of names or URLs, and what it is called in the count of comparisons.
struct CountedLookup {
    const char* name;
    MatchText match;
};

// Compares a lookup with the walk over the rules, and that with the index of the reference.
template <typename Pair>
void checkByWalk(const CountedLookup& lookup, const RuleGroup& group, const std::string& key,
                 const Pair& pair) {
    expectSameAnswer(
        pair, group, key, lookup.match,
        [](const auto& reference, const std::string& text) { return reference.find(text); });
    EXPECT_EQ(pair.reference().find(key).winner, pair.reference().findByIndex(key).winner)
        << ::testing::PrintToString(key);
    countComparisons(lookup.name);
}

// The same with the index alone, for sets that are too large for a walk.
template <typename Pair>
void checkByIndex(const CountedLookup& lookup, const RuleGroup& group, const std::string& key,
                  const Pair& pair) {
    expectSameAnswer(
        pair, group, key, lookup.match,
        [](const auto& reference, const std::string& text) { return reference.findByIndex(text); });
    countComparisons(lookup.name);
}

// A set of ruleCount random rules, asked for keyCount keys, of which the first are walked for.
template <typename Pair, typename NextRule, typename NextKey>
void checkLargeSet(const CountedLookup& lookup, size_t ruleCount, size_t keyCount,
                   RandomSource& random, const NextRule& nextRule, const NextKey& nextKey) {
    constexpr size_t WALKS = 200;
    Pair pair(ruleCount);
    for (size_t i = 0; i < ruleCount && !::testing::Test::HasFatalFailure(); ++i) {
        pair.add(nextRule(random), random);
    }
    pair.checkBuild([&](const RuleGroup& group) {
        for (size_t i = 0; i < keyCount && !::testing::Test::HasFatalFailure(); ++i) {
            const std::string key = nextKey(pair.texts(), random);
            if (i < WALKS) {
                checkByWalk(lookup, group, key, pair);
            } else {
                checkByIndex(lookup, group, key, pair);
            }
        }
    });
}

}  // namespace rs::test
