// One large set of overlapping rules, asked at the edges of its rules.
#include <ruleset.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "core/rule_group.h"
#include "ip/ip_match.h"
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

constexpr uint64_t RULE_COUNT = 100000;
constexpr uint64_t QUERY_COUNT = 1000000;
constexpr uint64_t SAMPLE_COUNT = 1000;

// The winner for every address, found in one sweep over the edges of the rules from the lowest up:
//
//     rule 2      |--------|                    at an edge rules come in and go out; between
//     rule 1           |-------|                edges the smallest of those that are in wins
//     winner      2    1       none
class Sweep {
public:
    Sweep(const std::vector<ReferenceRule>& rules, bool isIpv4View) {
        std::vector<Edge> edges;
        for (const ReferenceRule& rule : rules) {
            if (isIpv4View && !rule.range.isInIpv4View()) {
                continue;
            }
            edges.push_back({rule.range.low, &rule, true});
            if (rule.range.high != LAST_ADDRESS) {
                edges.push_back({rule.range.high + 1, &rule, false});
            }
        }
        std::sort(edges.begin(), edges.end(),
                  [](const Edge& left, const Edge& right) { return left.address < right.address; });
        // The rules stand in one vector, so that the first in memory is the earliest.
        std::set<const ReferenceRule*> rulesInside;
        for (const Edge& edge : edges) {
            if (edge.comesIn) {
                rulesInside.insert(edge.rule);
            } else {
                rulesInside.erase(edge.rule);
            }
            depth_ = std::max(depth_, rulesInside.size());
            if (stretches_.empty() || stretches_.back().start != edge.address) {
                stretches_.push_back({edge.address, nullptr});
            }
            stretches_.back().winner = rulesInside.empty() ? nullptr : *rulesInside.begin();
        }
    }

    const ReferenceRule* winnerAt(Number128 address) const {
        const auto next = std::upper_bound(
            stretches_.begin(), stretches_.end(), address,
            [](Number128 key, const Stretch& stretch) { return key < stretch.start; });
        return next == stretches_.begin() ? nullptr : (next - 1)->winner;
    }

    // The largest number of rules that cover one address.
    size_t depth() const { return depth_; }

private:
    struct Edge {
        Number128 address;
        const ReferenceRule* rule;
        bool comesIn;
    };

    // From start up to the start of the next one the winner stays the same.
    struct Stretch {
        Number128 start;
        const ReferenceRule* winner;
    };

    std::vector<Stretch> stretches_;
    size_t depth_ = 0;
};

// A range of the large set. There is room for 2^32 IPv4 addresses, and as many blocks of 2^64 IPv6
// ones; a third of all ranges crowds in one 1024th of that. Widths are such that a range overlaps
// some tens or hundreds of others.
AddressRange randomLargeSetRange(RandomSource& random) {
    uint64_t position = random.bits32();
    uint64_t width = uint64_t{16} << random.below(20);
    if (random.oneIn(3)) {
        position = position >> 10U | 0x0A000000U;
        width >>= 4U;
    } else if (random.oneIn(2000)) {
        width = uint64_t{1} << 24U;
    }
    const uint64_t end = std::min<uint64_t>(position + random.below(width), UINT32_MAX);
    switch (random.below(10)) {
        case 0:
        case 1:
        case 2: {
            const Number128 host = mappedNumber(static_cast<uint32_t>(position));
            return {host, host, false};
        }
        case 3: {
            const Number128 host = makeNumber(0x20010DB800000000U + position, end);
            return {host, host, true};
        }
        case 4: {
            // A prefix, of IPv4.
            const Number128 rest = width - 1;
            const Number128 low = mappedNumber(static_cast<uint32_t>(position)) & ~rest;
            return {low, low | rest, false};
        }
        case 5: {
            // Around the addresses of IPv4 and over their ends.
            const Number128 low = FIRST_MAPPED + position - (uint64_t{1} << 31U);
            return {low, low + random.below(width), true};
        }
        case 6:
        case 7:
            return {makeNumber(0x20010DB800000000U + position, random.bits()),
                    makeNumber(0x20010DB800000000U + end + 1, random.bits()), true};
        default:
            return {mappedNumber(static_cast<uint32_t>(position)),
                    mappedNumber(static_cast<uint32_t>(end)), false};
    }
}

// The lookups of one address, in all views that have it.
void checkQuery(const RuleGroup& group, Number128 address, const Sweep& ipv4View,
                const Sweep& ipv6View) {
    const AddressBytes bytes = bytesOf(address);
    MatchResult result = UNTOUCHED;
    int32_t status = rs_matchIPRuleGroupEx(&group, 6, bytes.data(), &result);
    countComparisons("rs_matchIPRuleGroupEx, family 6");
    if (!isExpectedMatch(ipv6View.winnerAt(address), status, result)) {
        ADD_FAILURE() << "family 6 of " << ::testing::PrintToString(bytes) << " names rule "
                      << result.ruleIndex;
    }
    if (isMappedNumber(address)) {
        result = UNTOUCHED;
        status = rs_matchIPRuleGroup(&group, static_cast<uint32_t>(address), &result);
        countComparisons("rs_matchIPRuleGroup");
        if (!isExpectedMatch(ipv4View.winnerAt(address), status, result)) {
            ADD_FAILURE() << "IPv4 of " << ::testing::PrintToString(bytes) << " names rule "
                          << result.ruleIndex;
        }
    }
}

class LargeIpSetProperty : public ::testing::Test {
protected:
    LargeIpSetProperty() : tokens(propertySize(RULE_COUNT)), set(newRuleSet(RULE_TYPE_IP)) {}

    void SetUp() override {
        ASSERT_EQ(RULE_OK, recorder.registerOn(*set));
        std::vector<AddressRange> ranges;
        for (char& token : tokens) {
            const bool isRepeated = !ranges.empty() && random.oneIn(10);
            ranges.push_back(isRepeated ? random.pick(ranges) : randomLargeSetRange(random));
            const std::string text = writeRange(ranges.back(), random);
            const uint32_t ruleValue = random.below32(5);
            const uint32_t ruleId = random.bits32() | 1U;
            ASSERT_EQ(RULE_OK, addRule(*set, text, ruleValue, ruleId, &token)) << text;
            ASSERT_TRUE(reference.add(text, ruleValue, ruleId, &token)) << text;
        }
    }

    Number128 randomEdge() { return random.pick(edgesOf(random.pick(reference.rules()).range)); }

    void checkSweeps(const Sweep& ipv4View, const Sweep& ipv6View) {
        for (uint64_t i = 0; i < SAMPLE_COUNT; ++i) {
            const Number128 address = randomEdge();
            EXPECT_EQ(reference.findIpv6(address), ipv6View.winnerAt(address));
            if (isMappedNumber(address)) {
                EXPECT_EQ(reference.findIpv4(static_cast<uint32_t>(address)),
                          ipv4View.winnerAt(address));
            }
        }
    }

    // The walk is slow, so that lookups for one ruleValue are only sampled.
    void checkLookupsWithValue(const RuleGroup& group) {
        for (uint64_t i = 0; i < SAMPLE_COUNT; ++i) {
            const Number128 address = randomEdge();
            const uint32_t ruleValue = random.below32(6);
            MatchResult result = UNTOUCHED;
            int32_t status =
                matchIpv6WithValue(*group.ipTable, wordsOf(address), ruleValue, result);
            EXPECT_TRUE(isExpectedMatch(reference.findIpv6(address, ruleValue), status, result));
            if (isMappedNumber(address)) {
                const auto ipv4 = static_cast<uint32_t>(address);
                result = UNTOUCHED;
                status = matchIpv4WithValue(*group.ipTable, ipv4, ruleValue, result);
                EXPECT_TRUE(isExpectedMatch(reference.findIpv4(ipv4, ruleValue), status, result));
            }
        }
    }

    // Every userData has gone back, and none twice.
    void checkHandedBack() {
        std::vector<void*> handedBack = recorder.order();
        std::sort(handedBack.begin(), handedBack.end());
        ASSERT_EQ(tokens.size(), handedBack.size());
        for (size_t i = 0; i < tokens.size(); ++i) {
            ASSERT_EQ(&tokens[i], handedBack[i]) << "rule " << i + 1;
        }
    }

    RandomSource random{propertySeed()};
    std::vector<char> tokens;
    ReleaseRecorder recorder;
    RuleSetHandle set;
    ReferenceIpRules reference;
};

TEST_F(LargeIpSetProperty, AnswersLikeTheSweepAtTheEdgesOfItsRules) {
    SCOPED_TRACE(::testing::Message() << "RULESET_PROPERTY_SEED=" << propertySeed());
    const Sweep ipv4View(reference.rules(), true);
    const Sweep ipv6View(reference.rules(), false);
    RecordProperty("ipv4Depth", static_cast<int>(ipv4View.depth()));
    RecordProperty("ipv6Depth", static_cast<int>(ipv6View.depth()));
    checkSweeps(ipv4View, ipv6View);

    RuleGroupHandle group = buildRuleGroup(*set);
    ASSERT_NE(nullptr, group);
    set.reset();
    const uint64_t queries = propertyCases(QUERY_COUNT);
    for (uint64_t i = 0; i < queries && !HasFailure(); ++i) {
        checkQuery(*group, randomEdge(), ipv4View, ipv6View);
    }
    checkLookupsWithValue(*group);
    group.reset();
    checkHandedBack();
}

}  // namespace

}  // namespace rs::test
