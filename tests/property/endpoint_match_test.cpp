// Compiled groups of IP:Port and of packet filter rules against the walk over the rules one by one.
//
//     RULESET_PROPERTY_CASES=5      makes more than a million comparisons of each lookup in small
//                                   sets, and writes how many
#include <ruleset.h>
#include <ruleset_static.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "support/endpoint_pair.h"
#include "support/ipv6_option.h"
#include "support/match_result.h"
#include "support/random_endpoints.h"
#include "support/random_source.h"
#include "support/reference_endpoint.h"

namespace rs::test {

namespace {

// The four lookups, each compared and counted.
class IpPortComparisons {
public:
    static constexpr int32_t TYPE = RULE_TYPE_IP_PORT;
    static constexpr uint64_t ONE_IN = 10;  // of mutated rules is still one, at least

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
        MatchResult result = UNTOUCHED;
        const int32_t status = matchIpPortPair4(
            &group, static_cast<uint32_t>(key.firstAddress), key.firstPort,
            static_cast<uint32_t>(key.secondAddress), key.secondPort, key.mask, &result);
        expectPairAnswer(winner, status, result, key, pair);
        pair4_.add(winner != nullptr);
    }

    void checkPair6(const RuleGroup& group, const EndpointPair& pair, const EndpointKey& key) {
        const ReferenceEndpointRule* winner = pair.reference().findPair6(key);
        MatchResult result = UNTOUCHED;
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

// Both lookups, each compared and counted.
class PacketFilterComparisons {
public:
    static constexpr int32_t TYPE = RULE_TYPE_PACKET_FILTER;
    static constexpr uint64_t ONE_IN = 20;  // of mutated rules is still one, at least

    void checkKeys(const RuleGroup& group, const EndpointPair& pair, RandomEndpoints& endpoints,
                   size_t count) {
        for (size_t i = 0; i < count && !::testing::Test::HasFatalFailure(); ++i) {
            checkPair4(group, pair, endpoints.nextMappedKey());
            // IPv4 addresses are looked up as mapped ones, too.
            checkPair6(group, pair, i % 3 == 0 ? endpoints.nextMappedKey() : endpoints.nextKey());
        }
    }

    const ComparisonCount& pair4() const { return pair4_; }
    const ComparisonCount& pair6() const { return pair6_; }
    uint64_t hidden() const { return hidden_; }

private:
    void checkPair4(const RuleGroup& group, const EndpointPair& pair, const EndpointKey& key) {
        const ReferenceEndpointRule* winner = pair.reference().findPair4(key);
        MatchResult result = UNTOUCHED;
        const int32_t status =
            matchPacketFilter4(&group, static_cast<uint32_t>(key.firstAddress), key.firstPort,
                               static_cast<uint32_t>(key.secondAddress), key.secondPort, &result);
        expectPairAnswer(winner, status, result, key, pair);
        pair4_.add(winner != nullptr);
    }

    void checkPair6(const RuleGroup& group, const EndpointPair& pair, const EndpointKey& key) {
        const ReferenceEndpointRule* winner = pair.reference().findPair6(key);
        MatchResult result = UNTOUCHED;
        const int32_t status =
            matchPacketFilter6(&group, addressWords(key.firstAddress), key.firstPort,
                               addressWords(key.secondAddress), key.secondPort, &result);
        expectPairAnswer(winner, status, result, key, pair);
        pair6_.add(winner != nullptr);
        hidden_ += pair.reference().isWinnerHidden(key) ? 1 : 0;
    }

    ComparisonCount pair4_{"matchPacketFilter4"};
    ComparisonCount pair6_{"matchPacketFilter6"};
    uint64_t hidden_ = 0;
};

template <int32_t TYPE>
bool isEndpointRule(std::string_view text) {
    return TYPE == RULE_TYPE_IP_PORT ? readIpPortRule(text).has_value()
                                     : readPacketFilterRule(text).has_value();
}

// How a test is named for its type.
class TypeNames {
public:
    template <typename Comparisons>
    static std::string GetName(int /*index*/) {
        return Comparisons::TYPE == RULE_TYPE_IP_PORT ? "IpPort" : "PacketFilter";
    }
};

using EndpointTypes = ::testing::Types<IpPortComparisons, PacketFilterComparisons>;

}  // namespace

template <typename Comparisons>
class EndpointMatchProperty : public ::testing::Test {};
TYPED_TEST_SUITE(EndpointMatchProperty, EndpointTypes, TypeNames);

template <typename Comparisons>
class EndpointTextProperty : public ::testing::Test {};
TYPED_TEST_SUITE(EndpointTextProperty, EndpointTypes, TypeNames);

TYPED_TEST(EndpointMatchProperty, OfSmallSetsAgreesWithReference) {
    TypeParam comparisons;
    forEachCase(3000, [&comparisons](RandomSource& random) {
        RandomEndpoints endpoints(TypeParam::TYPE, random.between(1, 8), random);
        const auto count = static_cast<size_t>(random.between(1, random.oneIn(8) ? 80 : 12));
        EndpointPair pair(TypeParam::TYPE, count + 1);
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

TYPED_TEST(EndpointMatchProperty, OfLargeSetsAgreesWithReference) {
    TypeParam comparisons;
    forEachCase(12, [&comparisons](RandomSource& random) {
        RandomEndpoints endpoints(TypeParam::TYPE, random.between(100, 1500), random);
        const auto count = static_cast<size_t>(random.between(300, 4000));
        EndpointPair pair(TypeParam::TYPE, count + 1);
        addRandomRules(
            pair, count, [&endpoints] { return endpoints.nextRule(); }, random);
        pair.checkBuild(
            [&](const RuleGroup& group) { comparisons.checkKeys(group, pair, endpoints, 500); });
    });
}

TYPED_TEST(EndpointMatchProperty, OfSharedGroupsAgreesWithReference) {
    TypeParam comparisons;
    forEachCase(500, [&comparisons](RandomSource& random) {
        RandomEndpoints endpoints(TypeParam::TYPE, random.between(1, 8), random);
        EndpointPair pair(TypeParam::TYPE, 13);
        addRandomRules(
            pair, 12, [&endpoints] { return endpoints.nextRule(); }, random);
        pair.checkSharedBuild(random.oneIn(2), [&](const RuleGroup& group) {
            comparisons.checkKeys(group, pair, endpoints, 30);
        });
    });
}

// A rule gives no structure an entry that one of its own covers already.
TEST(IpPortMatchProperty, OfRepeatedFirstAddressesAgreesWithReference) {
    IpPortComparisons comparisons;
    forEachCase(1500, [&comparisons](RandomSource& random) {
        RandomEndpoints endpoints(RULE_TYPE_IP_PORT, random.between(1, 12), random);
        const auto count = static_cast<size_t>(random.between(1, 8));
        EndpointPair pair(RULE_TYPE_IP_PORT, count + 1);
        addRandomRules(
            pair, count, [&endpoints] { return endpoints.nextRepeatingRule(); }, random);
        pair.checkBuild(
            [&](const RuleGroup& group) { comparisons.checkKeys(group, pair, endpoints, 80); });
    });
    EXPECT_LT(comparisons.pair4().compared() / 20, comparisons.pair4().found());
    EXPECT_LT(comparisons.pair6().compared() / 20, comparisons.pair6().found());
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

// A build rewrites addresses in the records of the set: the next one, with rules added in between,
// must not notice.
TEST(PacketFilterMatchProperty, OfLaterBuildsAgreesWithReference) {
    PacketFilterComparisons comparisons;
    forEachCase(500, [&comparisons](RandomSource& random) {
        RandomEndpoints endpoints(RULE_TYPE_PACKET_FILTER, random.between(1, 8), random);
        EndpointPair pair(RULE_TYPE_PACKET_FILTER, 25);
        const auto useGroup = [&](const RuleGroup& group) {
            comparisons.checkKeys(group, pair, endpoints, 30);
        };
        for (int build = 0; build < 3; ++build) {
            addRandomRules(
                pair, 8, [&endpoints] { return endpoints.nextRule(); }, random);
            pair.checkBuild(useGroup);
        }
        const Ipv6Option withoutIpv6(false);
        pair.checkBuild(useGroup);
    });
}

// Both groups live at once: what the second build rewrites is not what the first group reads.
TEST(PacketFilterMatchProperty, OfTwoGroupsOfOneSetIsTheSame) {
    PacketFilterComparisons comparisons;
    forEachCase(500, [&comparisons](RandomSource& random) {
        RandomEndpoints endpoints(RULE_TYPE_PACKET_FILTER, random.between(1, 8), random);
        EndpointPair pair(RULE_TYPE_PACKET_FILTER, 13);
        addRandomRules(
            pair, 12, [&endpoints] { return endpoints.nextRule(); }, random);
        pair.checkBuild([&](const RuleGroup& first) {
            // Without a callback of its own, so that only the first group hands anything back.
            rs_registerRuleCallback(&pair.set(), RULE_CALLBACK_RELEASE, nullptr, nullptr);
            const RuleGroupHandle second = buildRuleGroup(pair.set());
            ASSERT_NE(nullptr, second);
            comparisons.checkKeys(first, pair, endpoints, 20);
            comparisons.checkKeys(*second, pair, endpoints, 20);
        });
    });
}

TYPED_TEST(EndpointTextProperty, MutatedRulesReadAlike) {
    uint64_t accepted = 0;
    forEachCase(50000, [&accepted](RandomSource& random) {
        RandomEndpoints endpoints(TypeParam::TYPE, 3, random);
        std::string text = endpoints.nextRule();
        checkTextStatus(TypeParam::TYPE, text, random);
        text = mutateEndpointRule(text, random);
        checkTextStatus(TypeParam::TYPE, text, random);
        accepted += isEndpointRule<TypeParam::TYPE>(text) ? 1 : 0;
    });
    EXPECT_LT(propertyCases(50000) / TypeParam::ONE_IN, accepted);
}

TYPED_TEST(EndpointTextProperty, LongRulesReadAlike) {
    forEachCase(600, [](RandomSource& random) {
        const std::string text =
            longEndpointRule(TypeParam::TYPE, random.between(4085, 4105), random);
        checkTextStatus(TypeParam::TYPE, text, random);
        checkTextStatus(TypeParam::TYPE, mutateEndpointRule(text, random), random);
    });
}

}  // namespace rs::test
