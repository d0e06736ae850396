// Compiled groups of IP:Port rules against the walk over the rules one by one.
//
//     RULESET_PROPERTY_CASES=5      makes more than a million comparisons of each lookup in small
//                                   sets, and writes how many
#include <ruleset.h>
#include <ruleset_static.h>

#include <cstddef>
#include <cstdint>
#include <string>

#include <gtest/gtest.h>

#include "support/endpoint_pair.h"
#include "support/random_endpoints.h"
#include "support/random_source.h"
#include "support/reference_endpoint.h"

namespace rs::test {

namespace {

// The four lookups, each compared and counted.
class IpPortComparisons {
public:
    void checkKeys(const RuleGroup& group, const EndpointPair& pair, RandomEndpoints& endpoints,
                   size_t count) {
        for (size_t i = 0; i < count && !::testing::Test::HasFatalFailure(); ++i) {
            checkPair4(group, pair, endpoints.nextMappedKey());
            // IPv4 addresses are looked up as mapped ones, too.
            checkPair6(group, pair, i % 3 == 0 ? endpoints.nextMappedKey() : endpoints.nextKey());
            checkSecond(group, pair, endpoints.nextMappedKey(), endpoints.nextKey());
        }
    }

    const ComparisonCount& pair4() const { return pair4_; }
    const ComparisonCount& pair6() const { return pair6_; }
    uint64_t hidden() const { return hidden_; }

private:
    void checkPair4(const RuleGroup& group, const EndpointPair& pair, const EndpointKey& key) {
        const ReferenceEndpointRule* winner = pair.reference().findPair4(key);
        MatchResult result = freshResult();
        const int32_t status = matchIpPortPair4(
            &group, static_cast<uint32_t>(key.firstAddress), key.firstPort,
            static_cast<uint32_t>(key.secondAddress), key.secondPort, key.mask, &result);
        expectPairAnswer(winner, status, result, key, pair);
        pair4_.add(winner != nullptr);
    }

    void checkPair6(const RuleGroup& group, const EndpointPair& pair, const EndpointKey& key) {
        const ReferenceEndpointRule* winner = pair.reference().findPair6(key);
        MatchResult result = freshResult();
        const int32_t status =
            matchIpPortPair6(&group, addressWords(key.firstAddress), key.firstPort,
                             addressWords(key.secondAddress), key.secondPort, key.mask, &result);
        expectPairAnswer(winner, status, result, key, pair);
        pair6_.add(winner != nullptr);
        hidden_ += pair.reference().isWinnerHidden(key) ? 1 : 0;
    }

    void checkSecond(const RuleGroup& group, const EndpointPair& pair, const EndpointKey& mapped,
                     const EndpointKey& wide) {
        const bool is4 = pair.reference().coversSecond4(mapped.firstAddress, mapped.firstPort);
        ASSERT_EQ(is4 ? 1 : 0,
                  matchSecondEndpoint4(&group, static_cast<uint32_t>(mapped.firstAddress),
                                       mapped.firstPort))
            << describeKey(mapped) << pair.describe();
        second4_.add(is4);
        const bool is6 = pair.reference().coversSecond6(wide.firstAddress, wide.firstPort);
        ASSERT_EQ(is6 ? 1 : 0,
                  matchSecondEndpoint6(&group, addressWords(wide.firstAddress), wide.firstPort))
            << describeKey(wide) << pair.describe();
        second6_.add(is6);
    }

    ComparisonCount pair4_{"matchIpPortPair4"};
    ComparisonCount pair6_{"matchIpPortPair6"};
    ComparisonCount second4_{"matchSecondEndpoint4"};
    ComparisonCount second6_{"matchSecondEndpoint6"};
    uint64_t hidden_ = 0;
};

}  // namespace

TEST(IpPortMatchProperty, OfSmallSetsAgreesWithReference) {
    IpPortComparisons comparisons;
    forEachCase(3000, [&comparisons](RandomSource& random) {
        RandomEndpoints endpoints(RULE_TYPE_IP_PORT, random.between(1, 8), random);
        const auto count = static_cast<size_t>(random.between(1, random.oneIn(8) ? 80 : 12));
        EndpointPair pair(RULE_TYPE_IP_PORT, count + 1);
        addRandomRules(
            pair, count, [&endpoints] { return endpoints.nextRule(); }, random);
        pair.checkBuild(
            [&](const RuleGroup& group) { comparisons.checkKeys(group, pair, endpoints, 80); });
    });
    // What is asked finds rules, and the rule about ranges that hide others has its cases.
    EXPECT_LT(comparisons.pair4().compared() / 20, comparisons.pair4().found());
    EXPECT_LT(comparisons.pair6().compared() / 20, comparisons.pair6().found());
    EXPECT_LT(0U, comparisons.hidden());
}

TEST(IpPortMatchProperty, OfLargeSetsAgreesWithReference) {
    IpPortComparisons comparisons;
    forEachCase(12, [&comparisons](RandomSource& random) {
        RandomEndpoints endpoints(RULE_TYPE_IP_PORT, random.between(100, 1500), random);
        const auto count = static_cast<size_t>(random.between(300, 4000));
        EndpointPair pair(RULE_TYPE_IP_PORT, count + 1);
        addRandomRules(
            pair, count, [&endpoints] { return endpoints.nextRule(); }, random);
        pair.checkBuild(
            [&](const RuleGroup& group) { comparisons.checkKeys(group, pair, endpoints, 500); });
    });
}

// The option is read when a rule is added; a build reads the texts as they were read then.
TEST(IpPortMatchProperty, OfSecondBuildWithoutIpv6AgreesWithReference) {
    IpPortComparisons comparisons;
    forEachCase(500, [&comparisons](RandomSource& random) {
        RandomEndpoints endpoints(RULE_TYPE_IP_PORT, random.between(1, 8), random);
        EndpointPair pair(RULE_TYPE_IP_PORT, 21);
        addRandomRules(
            pair, 20, [&endpoints] { return endpoints.nextRule(); }, random);
        const auto useGroup = [&](const RuleGroup& group) {
            comparisons.checkKeys(group, pair, endpoints, 30);
        };
        pair.checkBuild(useGroup);
        const Ipv6Option withoutIpv6(false);
        pair.checkBuild(useGroup);
    });
}

TEST(IpPortMatchProperty, OfSharedGroupsAgreesWithReference) {
    IpPortComparisons comparisons;
    forEachCase(500, [&comparisons](RandomSource& random) {
        RandomEndpoints endpoints(RULE_TYPE_IP_PORT, random.between(1, 8), random);
        EndpointPair pair(RULE_TYPE_IP_PORT, 13);
        addRandomRules(
            pair, 12, [&endpoints] { return endpoints.nextRule(); }, random);
        pair.checkSharedBuild(random.oneIn(2), [&](const RuleGroup& group) {
            comparisons.checkKeys(group, pair, endpoints, 30);
        });
    });
}

TEST(IpPortTexts, MutatedRulesReadAlike) {
    uint64_t accepted = 0;
    forEachCase(50000, [&accepted](RandomSource& random) {
        RandomEndpoints endpoints(RULE_TYPE_IP_PORT, 3, random);
        std::string text = endpoints.nextRule();
        checkTextStatus(RULE_TYPE_IP_PORT, text, random);
        text = mutateEndpointRule(text, random);
        checkTextStatus(RULE_TYPE_IP_PORT, text, random);
        accepted += readIpPortRule(text).has_value() ? 1 : 0;
    });
    EXPECT_LT(propertyCases(50000) / 10, accepted);
}

TEST(IpPortTexts, LongRulesReadAlike) {
    forEachCase(600, [](RandomSource& random) {
        const std::string text =
            longEndpointRule(RULE_TYPE_IP_PORT, random.between(4085, 4105), random);
        checkTextStatus(RULE_TYPE_IP_PORT, text, random);
        checkTextStatus(RULE_TYPE_IP_PORT, mutateEndpointRule(text, random), random);
    });
}

}  // namespace rs::test
